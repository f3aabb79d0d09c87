// rectiline_certify_rectification: maps against the exact cameras.

#include <cmath>
#include <cstdint>

#include "Boundary.h"
#include "Records.h"
#include "Structs.h"
#include "VIO/quality/RectificationCertificate.h"
#include "Views.h"
#include "rectify/MapFilling.h"
#include "rectify/SourceCameras.h"
#include "rectify/ViewWishes.h"

namespace rectiline::capi {
namespace {

using AR::CV::TargetProjection;

rectiline_place toPlace(const VIO::CertificatePlace& place) {
  return {static_cast<double>(place.x), static_cast<double>(place.y),
          static_cast<double>(place.depth)};
}

rectiline_certificate toCallers(const VIO::RectificationCertificate& measured) {
  rectiline_certificate callers{};
  callers.points = measured.points;
  callers.max_row_error = measured.maxRowError;
  callers.rms_row_error = measured.rmsRowError;
  callers.max_depth_error = measured.maxDepthError;
  callers.max_map_error_left = measured.maxMapErrorLeft;
  callers.max_map_error_right = measured.maxMapErrorRight;
  callers.worst_row = toPlace(measured.worstRow);
  callers.worst_depth = toPlace(measured.worstDepth);
  callers.worst_map_left = toPlace(measured.worstMapLeft);
  callers.worst_map_right = toPlace(measured.worstMapRight);
  return callers;
}

/// The claim's cameras, named as options name them but for cameras 0 and 0.
CameraPair claimedPair(const rectiline_rectification& claim, const DeviceCalibrationZEL& device) {
  for (const int index : {claim.left_camera, claim.right_camera}) {
    if (index >= 0 && index < device.num_cameras && index < RECTILINE_MAX_CAMERAS) continue;
    refuseArgument(index == claim.left_camera ? "claim.left_camera" : "claim.right_camera", index,
                   "is %d; the device has %d cameras", index, device.num_cameras);
  }
  return {claim.left_camera, claim.right_camera};
}

void requireSameView(const AR::CV::TargetView& left, const AR::CV::TargetView& right) {
  const bool isSame = left.projection == right.projection &&
                      left.baselineAxis == right.baselineAxis && left.width == right.width &&
                      left.height == right.height && left.fx == right.fx && left.fy == right.fy &&
                      left.cx == right.cx && left.cy == right.cy;
  if (!isSame) {
    refuseArgument("claim.right", kNoValue,
                   "differs from claim.left by more than R_camera_view; both views of a pair are "
                   "the same");
  }
}

VIO::RectificationCertificate certificateOf(const DeviceCalibrationZEL& device,
                                            const rectiline_rectification& claim, const Map& left,
                                            const Map& right) {
  const CameraPair pair = claimedPair(claim, device);
  requirePair(device, pair);
  const View viewL = checkedView(claim.left, "claim.left");
  const View viewR = checkedView(claim.right, "claim.right");
  requireSameView(viewL.target, viewR.target);
  requireSize(left, viewL.target.width, viewL.target.height, "left");
  requireSize(right, viewL.target.width, viewL.target.height, "right");
  VIO::RectificationClaim measured{device.cameras[pair.left],
                                   device.cameras[pair.right],
                                   viewL.target,
                                   viewL.R_cv,
                                   std::nullopt,
                                   viewOf(left),
                                   viewOf(right),
                                   viewR.R_cv,
                                   claim.disparity_sign * claim.baseline};
  if (viewL.target.projection == TargetProjection::Pinhole) {
    measured.depthConstant = claim.depth_constant;
  }
  VIO::RectificationCertificate certificate{};
  if (!VIO::certifyRectification(measured, certificate)) {
    refuse(RECTILINE_CANNOT_RECTIFY,
           "Not a single point was found in both rectified images: the maps are not of cameras %d "
           "and %d of this device, or have hardly any sources.",
           pair.left, pair.right);
  }
  return certificate;
}

}  // namespace
}  // namespace rectiline::capi

std::int32_t rectiline_certify_rectification(const DeviceCalibrationZEL* device,
                                             const rectiline_rectification* claim,
                                             const rectiline_map* left, const rectiline_map* right,
                                             rectiline_certificate* certificate) {
  using namespace rectiline::capi;
  return guarded([&] {
    const DeviceCalibrationZEL cameras = readDevice(device, 2);
    const rectiline_rectification claimed = readStruct(claim, "claim");
    requireStruct(certificate, "certificate");
    const Map mapL = checkedMap(left, "left");
    const Map mapR = checkedMap(right, "right");
    writeStruct(certificate, "certificate", toCallers(certificateOf(cameras, claimed, mapL, mapR)));
  });
}
