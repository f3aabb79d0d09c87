#include "AR/CV/Map/MapJob.h"

#include <algorithm>
#include <cmath>
#include <limits>
#include <numbers>
#include <utility>

#include "CameraModel/DistortionTraits.h"

namespace AR::CV {
namespace {

/// True for a model that has no coefficients, and no tangential terms either.
template <typename P>
bool isWithoutDistortion(const Camera<P>& camera) {
  const auto* const traits = CamModel::findTraits<P>(camera.getRadialDistortionModel());
  return traits != nullptr && traits->maxCoeffs == 0 &&
         Math::isZero(camera.getTangentialDistortionCoeffs());
}

/// Four units in the last place of `size`: what rounding can put a position of exactly 0 below 0.
template <typename P>
P snapDistance(P size) {
  return 4 * (std::nextafter(size, std::numeric_limits<P>::infinity()) - size);
}

/// Sines and cosines of the columns' angles, from double. Where the columns are the angle in the
/// epipolar plane, those of 90 degrees and more get none.
template <typename P>
void setupColumns(MapTarget<P>& target) {
  // A whole vector of the widest instruction set may begin at any column.
  constexpr std::size_t kPadding = 64;
  const TargetView& view = target.view;
  const std::size_t width = static_cast<std::size_t>(std::max(view.width, 0));
  target.sine.resize(width + kPadding);
  target.cosine.resize(width + kPadding);
  for (std::size_t i = 0; i < width; ++i) {
    const double angle = (static_cast<double>(i) - view.cx) / view.fx;
    if (view.baselineAxis == 0 && !(std::fabs(angle) < std::numbers::pi / 2)) continue;
    target.sine[i] = static_cast<P>(std::sin(angle));
    target.cosine[i] = static_cast<P>(std::cos(angle));
  }
}

}  // namespace

template <typename P>
MapTarget<P>::MapTarget(const Camera<P>& target)
    : kind(isWithoutDistortion(target) ? TargetKind::Pinhole : TargetKind::Distorted),
      cx(target.getPrincipalPoint()(0)),
      cy(target.getPrincipalPoint()(1)),
      invFx(1 / target.getOriginalFocalLength()(0)),
      invFy(1 / target.getOriginalFocalLength()(1)),
      rangeMax(target.getUndistortionSpline().rangeMax),
      camera(&target) {}

template <typename P>
MapTarget<P>::MapTarget(const TargetView& target)
    : kind(target.projection == TargetProjection::Pinhole ? TargetKind::Pinhole
                                                          : TargetKind::LatitudeLongitude),
      cx(static_cast<P>(target.cx)),
      cy(static_cast<P>(target.cy)),
      invFx(1 / static_cast<P>(target.fx)),
      invFy(1 / static_cast<P>(target.fy)),
      rangeMax(std::numeric_limits<P>::infinity()),
      view(target) {
  if (kind == TargetKind::LatitudeLongitude) setupColumns(*this);
}

template <typename P>
MapJob<P>::MapJob(const Camera<P>& sourceCamera, MapTarget<P> mapTarget,
                  const Math::Mat<P, 3, 3>& rotation_st, DepthRule rule, bool keep)
    : source(sourceCamera),
      target(std::move(mapTarget)),
      R_st(rotation_st),
      width(sourceCamera.getSize()(0)),
      height(sourceCamera.getSize()(1)),
      snapX(snapDistance(width)),
      snapY(snapDistance(height)),
      depthRule(rule),
      keepOutside(keep) {}

template <typename P>
MapJob<P>::MapJob(const Camera<P>& sourceCamera, const Camera<P>& targetCamera,
                  const Math::Mat<P, 3, 3>& rotation_st, DepthRule rule, bool keep)
    : MapJob(sourceCamera, MapTarget<P>(targetCamera), rotation_st, rule, keep) {}

template <typename P>
MapJob<P>::MapJob(const Camera<P>& sourceCamera, const TargetView& view,
                  const Math::Mat<P, 3, 3>& rotation_st, DepthRule rule, bool keep)
    : MapJob(sourceCamera, MapTarget<P>(view), rotation_st, rule, keep) {}

template struct MapTarget<float>;
template struct MapTarget<double>;
template struct MapJob<float>;
template struct MapJob<double>;

}  // namespace AR::CV
