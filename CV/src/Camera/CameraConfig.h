#pragma once

#include "AR/CV/Camera/StereoCamera.h"
#include "AR/Common/ConfigNode.h"

namespace AR::CV {

/// What a "Camera" node says of one camera, apart from its name.
template <typename P>
struct CameraConfig {
  CamModel::CameraModel<P> model;
  Math::SE3<P> T_local_ref;  // x_local = R x_ref + t, metres
  bool isRollingShutter = false;
  P lineTime = 0;  // seconds per row
  CaptureDetails captureDetails;
  double delta = 0;  // seconds
};

/// Reads a "Camera" node. A missing pose is reported and stays the identity, missing distortion is
/// reported and read as LINEAR; anything else that is missing or malformed is reported and refused.
template <typename P>
[[nodiscard]] bool loadCameraConfig(const Common::ConfigNode& cameraNode, CameraConfig<P>& config);

}  // namespace AR::CV
