#include "rectify/OpenCvTerms.h"

#include <algorithm>
#include <iterator>
#include <limits>

namespace rectiline::capi {
namespace {

void setMatrix(const AR::Math::SO3<double>& R, double (&elements)[9]) {
  std::copy_n(R.matrix().data(), 9, elements);
}

}  // namespace

void setOpenCvTerms(const PairGeometry& geometry, const AR::CV::TargetView& view,
                    rectiline_rectification& result) {
  setMatrix(geometry.R_oltl.inverse(), result.R1);
  setMatrix(geometry.R_ortl.inverse(), result.R2);
  if (view.projection != AR::CV::TargetProjection::Pinhole) {
    constexpr double kNaN = std::numeric_limits<double>::quiet_NaN();
    std::fill(std::begin(result.P1), std::end(result.P1), kNaN);
    std::fill(std::begin(result.P2), std::end(result.P2), kNaN);
    std::fill(std::begin(result.Q), std::end(result.Q), kNaN);
    return;
  }
  // The right camera's x (y) of a point of the left view's frame is shifted by this.
  const double shift = -geometry.sign * geometry.baseline;
  const double f = view.fx;
  const double P[12] = {f, 0, view.cx, 0, 0, view.fy, view.cy, 0, 0, 0, 1, 0};
  std::copy_n(P, 12, result.P1);
  std::copy_n(P, 12, result.P2);
  result.P2[geometry.axis == 0 ? 3 : 7] = f * shift;
  const double Q[16] = {1, 0, 0, -view.cx, 0, 1, 0, -view.cy, 0, 0, 0, f, 0, 0, -1 / shift, 0};
  std::copy_n(Q, 16, result.Q);
}

}  // namespace rectiline::capi
