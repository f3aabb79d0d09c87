#include <cmath>

#include "AR/CV/Stereo/MidPoint.h"
#include "AR/Common/Macros.h"
#include "RectifyInternal.h"

namespace AR::CV::Internal {
namespace {

// Twice the disparities that rectified maps are made for, so that nearer points are checked too.
constexpr int kCheckedDisparities = 128;

/// Depth, in the target left frame, of the image centre at one disparity along the baseline axis.
/// False when a pixel has no ideal point or the rays are parallel.
template <typename F>
bool tryDepthAtDisparity(const Math::Vec<F, 2>& size, const FullStereoCameraCalibration<F>& target,
                         const Math::SE3<F>& T_tltr, std::size_t baselineIdx, int disp, F& depth) {
  const Math::Vec<F, 2> pixelL = size / F(2);
  Math::Vec<F, 2> pixelR = pixelL;
  pixelR(baselineIdx) -= static_cast<F>(disp);
  Math::Vec<F, 2> idealL;
  Math::Vec<F, 2> idealR;
  if (!target.at(0).getIntrinsics().tryPixel2ideal(pixelL, idealL)) return false;
  if (!target.at(1).getIntrinsics().tryPixel2ideal(pixelR, idealR)) return false;
  const Math::Vec<F, 3> rayL_tl(idealL(0), idealL(1), F(1));
  const Math::Vec<F, 3> rayR_tl = T_tltr.rotation() * Math::Vec<F, 3>(idealR(0), idealR(1), F(1));
  Math::Vec<F, 3> point_tl;
  const Math::Vec<F, 3> origin;
  if (!MidPoint::twoPoints<F>(origin, rayL_tl, T_tltr.translation(), rayR_tl, point_tl))
    return false;
  depth = point_tl(2);
  return true;
}

/// Projection of a point of the reference frame, reporting a point that has none.
template <typename F>
Math::Vec<F, 2> project(const Common::CallSite& site, const FullCamera<F>& camera,
                        const Math::Vec<F, 3>& point_ref) {
  Math::Vec<F, 2> pixel;
  const bool success = camera.projectCameraToDevicePix(point_ref, pixel);
  AR_CHECK_AT(site, success, "success", kRectifySource);
  return pixel;
}

}  // namespace

template <typename F>
void checkMappingFactor(const Math::Vec<F, 2>& size, const FullStereoCameraCalibration<F>& target,
                        const DepthParams<F>& depthParams) {
  const std::size_t baselineIdx = getBaselineIdx(target);
  if (baselineIdx > 1) return;
  AR_LOG(Common::Logger::VERBOSE, kRectifySource, "\tDisparity\tDepth");
  const Math::SE3<F> T_tltr = target.at(1).getLocalToCamReference();
  // Disparity 0 is skipped where the depth range has no far end: its rays are parallel.
  for (int disp = 0; disp < kCheckedDisparities; ++disp) {
    F depth;
    if (!tryDepthAtDisparity(size, target, T_tltr, baselineIdx, disp, depth)) continue;
    const F product = (static_cast<F>(disp) + depthParams.offsetX) * depth;
    AR_CHECK(
        std::fabs(product - depthParams.constant) < 0.0001F,
        "AR::Math::fabs((disp + depthParams.offsetX) * depth - depthParams.constant) < 0.0001f",
        kRectifySource);
    AR_LOGF(Common::Logger::VERBOSE, kRectifySource, "\t%d\t%f", disp, static_cast<double>(depth));
  }
}

template <typename F>
void validateStereoRectify(const FullStereoCameraCalibration<F>& source,
                           const FullStereoCameraCalibration<F>& target,
                           const Math::SO3<F>& R_oltl) {
  const Math::Vec<F, 3> P_ol(F(0), F(0), F(1));
  const Math::Vec<F, 2> x_ol = project(AR_HERE, source.at(0), P_ol);
  project(AR_HERE, source.at(1), P_ol);  // whether it is seen; where says nothing about the target
  const Math::Vec<F, 3> P_tl = R_oltl.inverse() * P_ol;
  const Math::Vec<F, 2> x_tl = project(AR_HERE, target.at(0), P_tl);
  const Math::Vec<F, 2> x_tr = project(AR_HERE, target.at(1), P_tl);
  logVector("x_tl=", x_tl, Common::Logger::INFO);
  logVector("x_tr=", x_tr, Common::Logger::INFO);
  const std::size_t baselineIdx = getBaselineIdx(target);
  if (baselineIdx > 1) return;
  AR_CHECK(std::fabs(x_tl(1 - baselineIdx) - x_tr(1 - baselineIdx)) < 1e-2,
           "AR::Math::fabs(x_tl(1-baselineIdx) - x_tr(1-baselineIdx)) < 1e-2", kRectifySource);
  Math::Vec<F, 2> ideal_tl;
  const bool success = target.at(0).getIntrinsics().tryPixel2ideal(x_tl, ideal_tl);
  AR_CHECK(success, "success", kRectifySource);
  const Math::Vec<F, 3> ray_ol = R_oltl * Math::Vec<F, 3>(ideal_tl(0), ideal_tl(1), F(1));
  const Math::Vec<F, 2> x_ol_reproj = project(AR_HERE, source.at(0), ray_ol);
  AR_CHECK(Math::norm(x_ol_reproj - x_ol) < 1e-1, "AR::Math::norm(x_ol_reproj - x_ol) < 1e-1",
           kRectifySource);
}

template void checkMappingFactor(const Math::Vec<float, 2>&,
                                 const FullStereoCameraCalibration<float>&,
                                 const DepthParams<float>&);
template void validateStereoRectify(const FullStereoCameraCalibration<float>&,
                                    const FullStereoCameraCalibration<float>&,
                                    const Math::SO3<float>&);

}  // namespace AR::CV::Internal
