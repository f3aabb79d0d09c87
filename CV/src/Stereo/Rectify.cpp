#include "AR/CV/Stereo/Rectify.h"

#include <cmath>
#include <limits>

#include "AR/CV/Camera/PinholeModel.h"
#include "AR/Common/Macros.h"
#include "AR/Common/SaturatingCast.h"
#include "AR/Math/Constants.h"
#include "AR/Math/Matrix.h"
#include "CameraModel/IntrinsicRecord.h"
#include "RectifyInternal.h"

namespace AR::CV {
namespace {

using Common::assertSuccess;
using Common::CallSite;
using Common::Logger;
using Internal::kRectifySource;

template <typename F>
F targetWidth(const CallSite& site, std::uint32_t targetImageWidth, const Math::Vec<F, 2>& size) {
  if (targetImageWidth == 0) return size(0);
  AR_CHECK_AT(site, targetImageWidth <= Common::saturatingCast<std::uint32_t>(size(0)),
              "targetImageWidth == 0u || targetImageWidth <= static_cast<uint32_t>(size(0))",
              kRectifySource);
  return static_cast<F>(targetImageWidth);
}

template <typename F>
void initTargetCamera(FullCamera<F>& camera, const CamModel::CameraModel<F>& model,
                      const Math::Vec<F, 3>& translation, const char* name) {
  const Math::SE3<F> T_local_ref(Math::SO3<F>(), translation);
  assertSuccess(
      camera.init(model, T_local_ref, CamImageId(name), false, F(0), CaptureDetails(), 0));
}

/// Reports a source rig whose left camera is not the reference frame itself.
template <typename F>
void checkLeftCameraAtOrigin(const CallSite& site, const Math::SE3<F>& T_olol) {
  AR_CHECK_AT(site, Math::isIdentity(T_olol.rotation().matrix()),
              "Math::isIdentity(T_olol.rotation().matrix())", kRectifySource);
  AR_CHECK_AT(site, Math::norm(T_olol.translation()) == 0, "Math::norm(T_olol.translation())==0",
              kRectifySource);
}

/// Half of the rotation R_orol: turned by it, each camera looks half-way towards the other.
template <typename F>
Math::SO3<F> halfRotation(const Math::SO3<F>& R_orol) {
  Math::Vec<F, 3> axis;
  F angle;
  Math::matrix2AxisAngle(R_orol.matrix(), axis, angle);
  const Math::Vec<F, 3> rotation = angle != 0 ? axis * angle : axis;
  return Math::SO3<F>::exp(rotation * F(0.5));
}

/// Turns the target pair about its baseline so that its axis comes as close to `dir_ol` as it can:
/// the rectification stays, the view moves.
template <typename F>
void turnTowards(const CallSite& site, const Math::Vec<F, 3>& dir_ol,
                 const Math::Vec<F, 3>& baselineDir, Math::SO3<F>& R_oltl) {
  const Math::Vec<F, 3> newDir_tl(F(0), F(0), F(1));
  const Math::Vec<F, 3> currentDir_tl = Math::unit(R_oltl.inverse() * dir_ol);
  const double angleFromTargetBefore = Math::angleBetween(currentDir_tl, newDir_tl);
  AR_CHECK_AT(site, angleFromTargetBefore < AR_PI / 4, "angleFromTargetBefore < FloatType(AR_PI/4)",
              kRectifySource);
  AR_CHECK_AT(site, Math::dot(currentDir_tl, newDir_tl) > 0,
              "Math::dot(currentDir_tl, newDir_tl) > 0", kRectifySource);
  const Math::Vec<F, 3> nearCurrentDir_tl = Math::perpendicular(baselineDir, currentDir_tl);
  const Math::Vec<F, 3> nearNewDir_tl = Math::perpendicular(baselineDir, newDir_tl);
  AR_CHECK_AT(site, Math::dot(nearNewDir_tl, nearCurrentDir_tl) > 0,
              "Math::dot(nearNewDir_tl, nearCurrentDir_tl) > 0", kRectifySource);
  R_oltl = R_oltl * Math::SO3<F>::exp(Math::makeso3FromTo(nearNewDir_tl, nearCurrentDir_tl));
  const double angleFromTargetAfter = Math::angleBetween(R_oltl.inverse() * dir_ol, newDir_tl);
  AR_CHECK_AT(site, angleFromTargetBefore > angleFromTargetAfter,
              "angleFromTargetBefore > angleFromTargetAfter", kRectifySource);
  AR_LOGF(Logger::DEBUG, kRectifySource,
          "Target calibration angle from desired direction %frads; was %frads.",
          angleFromTargetAfter, angleFromTargetBefore);
}

/// Gives both target cameras the principal point `pixel`. The right camera's disparity offset is
/// deliberately not applied again.
template <typename F>
void movePrincipalPoint(const Math::Vec<F, 2>& pixel, FullStereoCameraCalibration<F>& target) {
  for (FullCamera<F>& camera : target) {
    IntrinsicCameraCalibrationZEL record = CamModel::toRecord(camera.getIntrinsics().getCamModel());
    record.principal_point_x = static_cast<double>(pixel(0));
    record.principal_point_y = static_cast<double>(pixel(1));
    assertSuccess(camera.initIntrinsics(CamModel::CameraModel<F>(record)));
  }
}

/// Turns the target pair towards `desiredDir` and puts that direction into the principal point.
template <typename F>
void repoint(const CallSite& site, const Math::SE3<F>& T_ref, const Math::Vec<F, 3>& desiredDir,
             const Math::Vec<F, 3>& baselineDir, FullStereoCameraCalibration<F>& target,
             Math::SO3<F>& R_oltl) {
  const Math::Vec<F, 3> dir_ol = T_ref.rotation().inverse() * desiredDir;
  turnTowards(site, dir_ol, baselineDir, R_oltl);
  const Math::Vec<F, 3> dir_tl = R_oltl.inverse() * dir_ol;
  Math::Vec<F, 2> pixel;
  const bool projected = target.at(0).getIntrinsics().tryProjectToPix(dir_tl, pixel);
  if (AR_CHECK_AT(site, projected, "0 && \"Principal point moved outside FOV. Rotation too large\"",
                  kRectifySource)) {
    movePrincipalPoint(pixel, target);
  }
}

}  // namespace

template <typename F>
double Internal::centreColumnExtent(const Camera<F>& camera) {
  const Math::Vec<F, 2>& size = camera.getSize();
  Math::Vec<F, 2> top;
  Math::Vec<F, 2> bottom;
  const bool found = camera.tryPixel2ideal(Math::Vec<F, 2>(size(0) / 2, F(0)), top) &&
                     camera.tryPixel2ideal(Math::Vec<F, 2>(size(0) / 2, size(1)), bottom);
  return found ? Math::norm(bottom.template cast<double>() - top.template cast<double>()) : 0;
}

template <typename F>
std::size_t Internal::baselineAxis(const Math::Vec<F, 3>& t) {
  const F x = std::fabs(t(0));
  const F y = std::fabs(t(1));
  if (std::max(x, y) < std::fabs(t(2))) return 2;
  return x < y ? 1 : 0;
}

template <typename F>
Math::SO3<F> Internal::alignment(const Math::Vec<double, 3>& from, const Math::Vec<double, 3>& to) {
  const Math::Vec<double, 3> u = Math::unit(from);
  const Math::Vec<double, 3> v = Math::unit(to);
  Math::Vec<double, 3> axis = Math::cross(u, v);
  const double sinAngle = Math::norm(axis);
  const double angle = std::atan2(sinAngle, Math::dot(u, v));
  axis = sinAngle == 0 ? Math::Vec<double, 3>(-u(1), u(0), u(2)) : axis / sinAngle;
  return Math::SO3<F>::exp((axis * angle).template cast<F>());
}

template <typename F>
Math::SO3<F> Internal::rectifyingRotation(const CallSite& site, const Math::SE3<F>& T_orol,
                                          const Math::Vec<F, 3>& baselineDir_t) {
  const Math::SO3<F> R_half = halfRotation(T_orol.rotation());
  const Math::SE3<double> T = T_orol.template cast<double>();
  const Math::Vec<double, 3> baselineVec_ol = T.rotation().inverse() * T.translation();
  const Math::Vec<double, 3> baselineVec_half = R_half.template cast<double>() * baselineVec_ol;
  const Math::Vec<double, 3> dir_t = baselineDir_t.template cast<double>();
  Internal::logVector("", baselineVec_half, Logger::DEBUG);
  const Math::SO3<F> R_tlol = alignment<F>(baselineVec_half, dir_t) * R_half;
  const Math::Vec<double, 3> baselineVec_tl = R_tlol.template cast<double>() * baselineVec_ol;
  Internal::logVector("", baselineVec_tl, Logger::DEBUG);
  AR_CHECK_AT(site, std::fabs(Math::dot(Math::unit(baselineVec_tl), dir_t) - 1) < 0.0001,
              "(Math::fabs(Math::dot(Math::unit(R_oltl.inverse()*baselineVec_ol), "
              "baselineDir_target_t) - 1)) < 0.0001",
              kRectifySource);
  return R_tlol.inverse();
}

template <typename F>
TargetIntrinsicsParams<F> Internal::setupTargetIntrinsics(std::uint32_t numDisparities, F minDepth,
                                                          F maxDepth, F focalTimesBaseline) {
  AR_CHECK(minDepth <= maxDepth, "minDepth <= maxDepth", kRectifySource);
  if (!(minDepth > 0)) return {F(1), F(0)};
  // (d + offsetX) Z = C with d = 0 at maxDepth and d = numDisparities at minDepth, solved for
  // offsetX; the scale stretches f B, which C would be, to offsetX maxDepth.
  const F offsetX = static_cast<F>(numDisparities) / (maxDepth / minDepth - 1);
  return {offsetX * maxDepth / focalTimesBaseline, offsetX};
}

template <typename F>
std::size_t Internal::getBaselineIdx(const FullStereoCameraCalibration<F>& calib) {
  const std::size_t baselineIdx = baselineAxis(calib.at(1).getCamReferenceToLocal().translation());
  AR_CHECK(baselineIdx <= 1, "baselineIdx <= 1", kRectifySource);
  return baselineIdx;
}

template <typename F>
void makeTargetCalibration(const FullStereoCameraCalibration<F>& calib,
                           std::uint32_t numDisparities, F minDepth, F maxDepth,
                           std::uint32_t targetImageWidth, const Math::SE3<F>& T_ref,
                           const Math::Vec<F, 3>& desiredDir,
                           FullStereoCameraCalibration<F>& target, Math::SO3<F>& R_oltl,
                           DepthParams<F>& depthParams) {
  const FullCamera<F>& left = calib.at(0);
  const FullCamera<F>& right = calib.at(1);
  if (calib.size() < 2) return;  // reported by the lookup
  const Math::SE3<F> T_orol = right.getCamReferenceToLocal();
  // In double: the square of a length may be 0 or infinite in single precision where it is neither.
  const double length = Math::norm(T_orol.translation().template cast<double>());
  const double extent = Internal::centreColumnExtent(left.getIntrinsics());
  if (!AR_CHECK(extent > 0, "0", kRectifySource)) return;
  // Translations that single precision holds may be further apart than it holds.
  if (!assertSuccess(length <= static_cast<double>(std::numeric_limits<F>::max()))) return;
  const F B = static_cast<F>(length);
  const Math::Vec<F, 2> sourceSize = left.getIntrinsics().getSize();
  const F f = static_cast<F>(static_cast<double>(sourceSize(1)) / extent);
  const TargetIntrinsicsParams<F> params =
      Internal::setupTargetIntrinsics(numDisparities, minDepth, maxDepth, f * B);
  const Math::Vec<F, 2> size(targetWidth(AR_HERE, targetImageWidth, sourceSize), sourceSize(1));
  // Only along the rows: the depth range is to fit, and the rows to keep their field of view.
  const Math::Vec<F, 2> focal(f * params.scale, f);

  const std::size_t baselineIdx = Internal::getBaselineIdx(calib);
  AR_LOGF(Logger::DEBUG, kRectifySource, "Baseline is parallel to axis %zu", baselineIdx);
  Math::Vec<F, 3> baselineDir_t;
  baselineDir_t(baselineIdx) = -1;
  target.setupEmptyCalibrationWithDefaultIds(2);
  const Math::Vec<F, 2> centre = size / F(2);
  const Math::Vec<F, 2> centreR(centre(0) + params.offsetX, centre(1));
  initTargetCamera(target.at(0), pinholeModel(size, centre, focal), Math::Vec<F, 3>(), "left");
  initTargetCamera(target.at(1), pinholeModel(size, centreR, focal), baselineDir_t * B, "right");
  if (!target.isInitialized()) return;

  checkLeftCameraAtOrigin(AR_HERE, left.getCamReferenceToLocal());
  R_oltl = Internal::rectifyingRotation(AR_HERE, T_orol, baselineDir_t);
  if (!Math::isZero(desiredDir)) {
    repoint(AR_HERE, T_ref, desiredDir, baselineDir_t, target, R_oltl);
    if (!target.isInitialized()) return;
  }
  depthParams.offsetX = params.offsetX;
  depthParams.constant = f * B * params.scale;
  Internal::checkMappingFactor(size, target, depthParams);
  Internal::validateStereoRectify(calib, target, R_oltl);
}

template void makeTargetCalibration(const FullStereoCameraCalibration<float>&, std::uint32_t, float,
                                    float, std::uint32_t, const Math::SE3<float>&,
                                    const Math::Vec<float, 3>&, FullStereoCameraCalibration<float>&,
                                    Math::SO3<float>&, DepthParams<float>&);

template TargetIntrinsicsParams<float> Internal::setupTargetIntrinsics(std::uint32_t, float, float,
                                                                       float);
template double Internal::centreColumnExtent(const Camera<float>&);
template std::size_t Internal::baselineAxis(const Math::Vec<float, 3>&);
template Math::SO3<float> Internal::alignment(const Math::Vec<double, 3>&,
                                              const Math::Vec<double, 3>&);
template Math::SO3<double> Internal::alignment(const Math::Vec<double, 3>&,
                                               const Math::Vec<double, 3>&);
template Math::SO3<float> Internal::rectifyingRotation(const CallSite&, const Math::SE3<float>&,
                                                       const Math::Vec<float, 3>&);
template std::size_t Internal::getBaselineIdx(const FullStereoCameraCalibration<float>&);

}  // namespace AR::CV
