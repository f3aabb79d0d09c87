// One camera from its configuration node.

#include "CameraConfig.h"

#include <cmath>

#include "AR/Common/Macros.h"
#include "AR/Math/Matrix.h"
#include "ConfigReading.h"

namespace AR::CV {
namespace {

using Common::ConfigNode;
using Common::ParseResult;
using Math::Vec;

constexpr char kPoseComment[] = "pose of the camera";

/// The pose from the "Rig" child. One that is missing altogether is reported and left as it is.
template <typename P>
bool readPose(const ConfigNode& cameraNode, Math::SE3<P>& T_local_ref) {
  const ConfigNode* const rig = cameraNode.getChild("Rig");
  bool given = false;
  for (const char* key : {"stereoRig", "stereo_rig", "rowMajorRotationMat", "translation"}) {
    given = given || (rig != nullptr && rig->doesAttributeExists(key));
  }
  if (given) return FullStereoCameraCalibration<P>::loadStereoExtrinsics(*rig, T_local_ref);
  logConfigError("no extrinsics (SFConfig.Rig.stereo_rig or rotation/translation)");
  return true;
}

template <typename P>
ParseResult readLieElement(const ConfigNode& node, Vec<P, 6>& lieElement) {
  const ParseResult result = readFiniteConfig(node, "stereoRig", lieElement, kPoseComment);
  if (result != ParseResult::Missing) return result;
  return readFiniteConfig(node, "stereo_rig", lieElement, kPoseComment);
}

/// Whether the parts of a node make up one pose; reported when they do not.
bool isOnePose(const ParseResult hasLie, const ParseResult hasRotation,
               const ParseResult hasTranslation) {
  for (const ParseResult result : {hasLie, hasRotation, hasTranslation}) {
    if (result == ParseResult::Malformed) return false;
  }
  const int parts = (hasRotation == ParseResult::Exists) + (hasTranslation == ParseResult::Exists);
  const bool givenTwice = hasLie == ParseResult::Exists && parts > 0;
  const bool incomplete = hasLie == ParseResult::Missing && parts < 2;
  if (givenTwice) {
    logConfigError(
        "Stereo calibration given twice in config--only specify either Lie element or [rotation "
        "and translation]");
  }
  if (incomplete) {
    logConfigError(
        "Incomplete stereo calibration in config--no extrinsics (SFConfig.Rig.stereoRig)");
  }
  return !givenTwice && !incomplete;
}

/// Whether R's rows are of unit length and at right angles; false when R holds NaN.
template <typename P>
bool isOrthonormal(const Math::Mat<P, 3, 3>& R) {
  for (std::size_t i = 0; i < 3; ++i) {
    for (std::size_t j = i; j < 3; ++j) {
      const P error = std::fabs(Math::dot(R.row(i), R.row(j)) - (i == j ? P(1) : P(0)));
      if (!(error < P(0.0001))) return false;
    }
  }
  return true;
}

template <typename P>
bool poseFromMatrix(Math::Mat<P, 3, 3> rotation, const Vec<P, 3>& translation, Math::SE3<P>& pose) {
  if (!isOrthonormal(rotation)) {
    logConfigError("Stereo calibration is not a 3x3 rotation matrix");
    return false;
  }
  Math::enforceRotation(rotation);
  pose = Math::SE3<P>(Math::SO3<P>(rotation), translation);
  return true;
}

/// Refuses an element too large for its exponential; such a one has no finite translation.
template <typename P>
bool poseFromLieElement(const Vec<P, 6>& lieElement, Math::SE3<P>& pose) {
  const Math::SE3<P> T = Math::SE3<P>::exp(lieElement);
  if (!isFinite(T.translation())) {
    logConfigError("Stereo calibration is not finite");
    return false;
  }
  pose = T;
  return true;
}

}  // namespace

template <typename P>
bool FullStereoCameraCalibration<P>::loadCaptureDetails(const ConfigNode& cameraNode,
                                                        CaptureDetails& captureDetails) {
  const ConfigNode* const node = cameraNode.getChild("CaptureDetails");
  if (node == nullptr) return true;
  CaptureDetails& d = captureDetails;
  const auto found = [node](const char* key, std::int32_t& value) {
    return readConfig(*node, key, value, "capture details") == ParseResult::Exists;
  };
  return found("nativeSensorWidth", d.nativeSensorWidth) &&
         found("nativeSensorHeight", d.nativeSensorHeight) && found("cropL", d.cropL) &&
         found("cropR", d.cropR) && found("cropT", d.cropT) && found("cropB", d.cropB) &&
         found("binningH", d.binningH) && found("binningV", d.binningV);
}

template <typename P>
bool FullStereoCameraCalibration<P>::loadRollingShutterConfig(const ConfigNode& cameraNode,
                                                              bool& isRollingShutter, P& lineTime) {
  if (cameraNode.getChild("RollingShutter") == nullptr) return true;
  const ParseResult found = readConfig(cameraNode, "RollingShutter.isRollingShutter",
                                       isRollingShutter, "rows are exposed one after the other");
  if (found != ParseResult::Exists || !isRollingShutter) return true;
  if (readFiniteConfig(cameraNode, "RollingShutter.linetime", lineTime, "seconds per row") !=
      ParseResult::Exists) {
    logConfigError(
        "FullStereoCameraCalibration::loadRollingShutterConfig() - Unable to determine linetime of "
        "rolling shutter camera.");
    return false;
  }
  if (!(lineTime > 0)) {
    logConfigError(
        "FullStereoCameraCalibration::loadRollingShutterConfig() - Rolling shutter is enabled but "
        "line time is set to <= 0. Set isRollingShutter = false in Camera Configuration");
    return false;
  }
  return true;
}

template <typename P>
bool FullStereoCameraCalibration<P>::loadStereoExtrinsics(const ConfigNode& node,
                                                          Math::SE3<P>& pose) {
  Vec<P, 6> lieElement;
  Math::Mat<P, 3, 3> rotation;
  Vec<P, 3> translation;
  const ParseResult hasLie = readLieElement(node, lieElement);
  const ParseResult hasRotation = readConfig(node, "rowMajorRotationMat", rotation, kPoseComment);
  const ParseResult hasTranslation =
      readFiniteConfig(node, "translation", translation, kPoseComment);
  if (!isOnePose(hasLie, hasRotation, hasTranslation)) return false;
  if (hasLie == ParseResult::Exists) return poseFromLieElement(lieElement, pose);
  AR_CHECK(hasRotation == ParseResult::Exists && hasTranslation == ParseResult::Exists,
           "hasRotation == AR::Common::ParseResult::Exists && hasTranslation == "
           "AR::Common::ParseResult::Exists",
           kConfigSource);
  return poseFromMatrix(rotation, translation, pose);
}

template <typename P>
bool FullStereoCameraCalibration<P>::loadTimeAlignment(const ConfigNode& cameraNode,
                                                       double& delta) {
  const ConfigNode* const node = cameraNode.getChild("TimeAlignment");
  return node == nullptr ||
         readFiniteConfig(*node, "delta", delta, "time offset, seconds") == ParseResult::Exists;
}

template <typename P>
bool loadCameraConfig(const ConfigNode& cameraNode, const CamImageId& id, FullCamera<P>& camera) {
  using Rig = FullStereoCameraCalibration<P>;
  CamModel::CameraModel<P> model;
  Math::SE3<P> T_local_ref;
  CaptureDetails captureDetails{};
  bool isRollingShutter = false;
  P lineTime = 0;
  double delta = 0;
  if (!loadModelConfig(cameraNode, model) || !readPose(cameraNode, T_local_ref)) return false;
  if (!Rig::loadCaptureDetails(cameraNode, captureDetails)) {
    logConfigError("Failed to read CaptureDetails tag. All attributes are required.");
    return false;
  }
  if (!Rig::loadTimeAlignment(cameraNode, delta)) {
    logConfigError("Failed to read TimeAlignment tag. The attribute delta is required.");
    return false;
  }
  return Rig::loadRollingShutterConfig(cameraNode, isRollingShutter, lineTime) &&
         camera.init(model, T_local_ref, id, isRollingShutter, lineTime, captureDetails, delta);
}

template bool FullStereoCameraCalibration<float>::loadCaptureDetails(const ConfigNode&,
                                                                     CaptureDetails&);
template bool FullStereoCameraCalibration<float>::loadRollingShutterConfig(const ConfigNode&, bool&,
                                                                           float&);
template bool FullStereoCameraCalibration<float>::loadStereoExtrinsics(const ConfigNode&,
                                                                       Math::SE3<float>&);
template bool FullStereoCameraCalibration<float>::loadTimeAlignment(const ConfigNode&, double&);
template bool loadCameraConfig(const ConfigNode&, const CamImageId&, FullCamera<float>&);
template bool FullStereoCameraCalibration<double>::loadCaptureDetails(const ConfigNode&,
                                                                      CaptureDetails&);
template bool FullStereoCameraCalibration<double>::loadRollingShutterConfig(const ConfigNode&,
                                                                            bool&, double&);
template bool FullStereoCameraCalibration<double>::loadStereoExtrinsics(const ConfigNode&,
                                                                        Math::SE3<double>&);
template bool FullStereoCameraCalibration<double>::loadTimeAlignment(const ConfigNode&, double&);
template bool loadCameraConfig(const ConfigNode&, const CamImageId&, FullCamera<double>&);

}  // namespace AR::CV
