#pragma once

#include "AR/CV/Camera/StereoCamera.h"
#include "AR/Common/ConfigNode.h"

namespace AR::CV {

/// Reads the intrinsics of a "Camera" node. "model" with "radial_distortion" goes before
/// "radial_distortion_8", and that before "radial_distortion_4"; without any of them that is
/// reported and the camera is LINEAR. Limits that are absent are computed for a field of view of
/// 180 degrees. False, and reported, when something else is missing or malformed.
template <typename P>
[[nodiscard]] bool loadModelConfig(const Common::ConfigNode& cameraNode,
                                   CamModel::CameraModel<P>& model);

/// Reads a "Camera" node into a camera with the given identity. A missing pose is reported and
/// stays the identity. False, and reported, when something else is missing or malformed.
template <typename P>
[[nodiscard]] bool loadCameraConfig(const Common::ConfigNode& cameraNode, const CamImageId& id,
                                    FullCamera<P>& camera);

}  // namespace AR::CV
