#include "Views.h"

#include <algorithm>
#include <cmath>

#include "AR/Math/Matrix.h"
#include "Boundary.h"
#include "Structs.h"

namespace rectiline::capi {
namespace {

using AR::CV::TargetProjection;
using AR::Math::SO3;
using Mat3 = AR::Math::Mat<double, 3, 3>;

[[noreturn]] void refuseMember(const char* name, const char* member, double value,
                               const char* expected) {
  refuseArgument({name, member}, value, "is %g; it must be %s", value, expected);
}

void requirePositive(double value, const char* name, const char* member) {
  if (!(value > 0 && std::isfinite(value))) refuseMember(name, member, value, "above 0");
}

void requireFinite(double value, const char* name, const char* member) {
  if (!std::isfinite(value)) refuseMember(name, member, value, "a finite position, in pixels");
}

TargetProjection checkedProjection(const rectiline_view& view, const char* name) {
  if (view.projection == RECTILINE_PINHOLE) return TargetProjection::Pinhole;
  if (view.projection == RECTILINE_LATITUDE_LONGITUDE) return TargetProjection::LatitudeLongitude;
  refuseMember(name, "projection", view.projection, "a rectiline_projection, 0 or 1");
}

/// A caller may have kept the matrix in single precision or in text.
SO3<double> checkedRotation(const double (&elements)[9], const char* name) {
  constexpr double kTolerance = 1e-5;
  Mat3 R;
  std::copy_n(elements, 9, R.data());
  const Mat3 deviation = R * AR::Math::transpose(R) - Mat3::identity();
  double worst = 0;
  for (std::size_t i = 0; i < 9; ++i) {
    worst = std::isnan(deviation.data()[i]) ? INFINITY
                                            : std::max(worst, std::fabs(deviation.data()[i]));
  }
  const double determinant = AR::Math::dot(R.row(0), AR::Math::cross(R.row(1), R.row(2)));
  if (!(worst < kTolerance && determinant > 0)) {
    refuseArgument({name, "R_camera_view"}, worst,
                   "is no rotation: its rows are off from unit length and right angles by %g",
                   worst);
  }
  return SO3<double>() * SO3<double>(R);
}

}  // namespace

View checkedView(const rectiline_view& view, const char* name) {
  requirePositive(view.width, name, "width");
  requirePositive(view.height, name, "height");
  requirePositive(view.fx, name, "fx");
  requirePositive(view.fy, name, "fy");
  requireFinite(view.cx, name, "cx");
  requireFinite(view.cy, name, "cy");
  if (view.axis != 0 && view.axis != 1) refuseMember(name, "axis", view.axis, "0 or 1");
  requireZero(view.reserved0, {name, "reserved0"});
  for (const double reserved : view.reserved) requireZero(reserved, {name, "reserved"});
  return {{checkedProjection(view, name), view.axis, view.width, view.height, view.fx, view.fy,
           view.cx, view.cy},
          checkedRotation(view.R_camera_view, name)};
}

rectiline_view toCallersView(const View& view) {
  const AR::CV::TargetView& target = view.target;
  rectiline_view callers{};
  callers.struct_size = sizeof callers;
  callers.projection = target.projection == TargetProjection::Pinhole
                           ? RECTILINE_PINHOLE
                           : RECTILINE_LATITUDE_LONGITUDE;
  callers.width = target.width;
  callers.height = target.height;
  callers.fx = target.fx;
  callers.fy = target.fy;
  callers.cx = target.cx;
  callers.cy = target.cy;
  callers.axis = target.baselineAxis;
  std::copy_n(view.R_cv.matrix().data(), 9, callers.R_camera_view);
  return callers;
}

}  // namespace rectiline::capi
