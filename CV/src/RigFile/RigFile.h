#pragma once

// Calibration documents: a root, one "Camera" element per camera, in it "Calibration", "Rig" and
// what else is known of a camera. What the classes offer of documents is defined here, beside
// tryRigFromXml() and tryRigToXml() of AR/CV/RigDocument.h, which other modules include.
//
// The readers log what they refuse, and say in `why`, which is to be empty before, what a person
// can mend: the element, the attribute, what was expected of it and what was found. They may say
// so of what they let pass too; whoever asked for the reason takes it as a refusal.

#include <string>

#include "AR/CV/Camera/StereoCamera.h"
#include "AR/Common/ConfigNode.h"

namespace AR::CV::RigFile {

/// Reads the "Calibration" child. "model" with "radial_distortion" goes before
/// "radial_distortion_8", and that before "radial_distortion_4"; a LINEAR model needs no
/// coefficients, and without model and coefficients a camera is LINEAR, which is reported. Limits
/// that are absent are computed for a field of view of 180 degrees.
template <typename P>
[[nodiscard]] bool readModel(const Common::ConfigNode& cameraNode, CamModel::CameraModel<P>& model,
                             std::string& why);

/// Reads T_local_ref from the "Rig" child: a Lie element, or a rotation and a translation. A pose
/// that is missing altogether is reported and left as it is.
template <typename P>
[[nodiscard]] bool readPose(const Common::ConfigNode& cameraNode, Math::SE3<P>& T_local_ref,
                            std::string& why);

/// Reads a "Camera" node into a camera with the given identity. Without a pose it is that of the
/// reference frame.
template <typename P>
[[nodiscard]] bool readCamera(const Common::ConfigNode& cameraNode, const CamImageId& id,
                              FullCamera<P>& camera, std::string& why);

}  // namespace AR::CV::RigFile
