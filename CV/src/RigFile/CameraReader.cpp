// One camera from its configuration node.

#include <cmath>

#include "AR/Common/Macros.h"
#include "AttributeTable.h"
#include "CameraModel/ModelFault.h"
#include "RigFile.h"

namespace AR::CV {
namespace RigFile {
namespace {

// ---- the pose -----------------------------------------------------------------------------------

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
bool poseFromMatrix(PoseForms<P>& forms, Math::SE3<P>& pose, std::string& why) {
  Math::Mat<P, 3, 3>& R = forms.rotation;
  if (!isOrthonormal(R)) {
    AR_LOG(Common::Logger::ERR, kSource, "Stereo calibration is not a 3x3 rotation matrix");
    return refuse(why, "rowMajorRotationMat: expected rows of length 1 at right angles");
  }
  if (Math::dot(Math::cross(R.row(0), R.row(1)), R.row(2)) < 0) {
    refuse(why, "rowMajorRotationMat: expected a rotation, found a reflection");
  }
  Math::enforceRotation(R);
  pose = Math::SE3<P>(Math::SO3<P>(R), forms.translation);
  return true;
}

/// Refuses an element too large for its exponential; such a one has no finite translation.
template <typename P>
bool poseFromLieElement(const PoseForms<P>& forms, Math::SE3<P>& pose, std::string& why) {
  const Math::SE3<P> T = Math::SE3<P>::exp(forms.lieElement);
  if (!isFinite(T.translation())) {
    AR_LOG(Common::Logger::ERR, kSource, "Stereo calibration is not finite");
    return refuse(why, "stereo_rig: expected a smaller Lie element");
  }
  pose = T;
  return true;
}

/// Reads T_local_ref from the attributes of `node`.
template <typename P>
bool readPose(const ConfigNode& node, Math::SE3<P>& T_local_ref, std::string& why) {
  PoseForms<P> forms;
  const auto read = [&](const auto& row) { return readAttribute(node, "", row, forms, why); };
  ParseResult hasLie = read(kOldLieElement<P>);
  if (hasLie == ParseResult::Missing) hasLie = read(kLieElement<P>[0]);
  if (hasLie == ParseResult::Malformed) return false;
  const ParseResult hasRotation = read(kTranslationAndRotation<P>[1]);
  const ParseResult hasTranslation = read(kTranslationAndRotation<P>[0]);
  if (hasRotation == ParseResult::Malformed || hasTranslation == ParseResult::Malformed)
    return false;
  const bool hasPart = hasRotation == ParseResult::Exists || hasTranslation == ParseResult::Exists;
  if (hasLie == ParseResult::Exists && hasPart) {
    AR_LOG(Common::Logger::ERR, kSource,
           "Stereo calibration given twice in config--only specify either Lie element or [rotation "
           "and translation]");
    return refuse(why, "stereo_rig: expected alone, found with a rotation or translation");
  }
  if (hasLie == ParseResult::Exists) return poseFromLieElement(forms, T_local_ref, why);
  if (hasRotation == ParseResult::Missing || hasTranslation == ParseResult::Missing) {
    AR_LOG(Common::Logger::ERR, kSource,
           "Incomplete stereo calibration in config--no extrinsics (SFConfig.Rig.stereoRig)");
    return refuse(why, "rowMajorRotationMat: expected together with translation");
  }
  AR_CHECK(hasRotation == ParseResult::Exists && hasTranslation == ParseResult::Exists,
           "hasRotation == AR::Common::ParseResult::Exists && hasTranslation == "
           "AR::Common::ParseResult::Exists",
           kSource);
  return poseFromMatrix(forms, T_local_ref, why);
}

template <typename P>
bool hasPose(const ConfigNode& rig) {
  const auto has = [&rig](const auto& row) { return rig.doesAttributeExists(row.name); };
  return has(kOldLieElement<P>) || has(kLieElement<P>[0]) || has(kTranslationAndRotation<P>[0]) ||
         has(kTranslationAndRotation<P>[1]);
}

/// The pose from the "Rig" child. One that is missing altogether is reported and left as it is.
template <typename P>
bool readRig(const ConfigNode& cameraNode, Math::SE3<P>& T_local_ref, std::string& why) {
  const ConfigNode* rig = nullptr;
  if (!findOnlyChild(cameraNode, "Rig", rig, why)) return false;
  if (rig == nullptr || !hasPose<P>(*rig)) {
    AR_LOG(Common::Logger::ERR, kSource,
           "no extrinsics (SFConfig.Rig.stereo_rig or rotation/translation)");
    return true;
  }
  std::string reason;
  const bool isRead = readPose(*rig, T_local_ref, reason);
  if (!reason.empty()) refuse(why, "Rig." + reason);
  return isRead;
}

// ---- children that may be absent; what they would set is then left as it is ---------------------

template <typename RECORD, std::size_t N>
bool readOptionalChild(const ConfigNode& cameraNode, const char* name,
                       const Attribute<RECORD> (&rows)[N], RECORD& record, std::string& why) {
  const ConfigNode* child = nullptr;
  if (!findOnlyChild(cameraNode, name, child, why)) return false;
  std::string reason;
  return child == nullptr || readAttributes(*child, "", rows, record, reason) ||
         refuse(why, name + ("." + reason));
}

bool readCaptureDetails(const ConfigNode& cameraNode, CaptureDetails& details, std::string& why) {
  return readOptionalChild(cameraNode, "CaptureDetails", kCaptureDetails, details, why);
}

bool readTimeAlignment(const ConfigNode& cameraNode, double& delta, std::string& why) {
  return readOptionalChild(cameraNode, "TimeAlignment", kDelta, delta, why);
}

template <typename P>
bool readRollingShutter(const ConfigNode& cameraNode, RollingShutterCorrector<P>& corrector,
                        std::string& why) {
  constexpr char kPrefix[] = "RollingShutter.";
  const ConfigNode* child = nullptr;
  if (!findOnlyChild(cameraNode, "RollingShutter", child, why)) return false;
  // What is no Boolean is no rolling shutter.
  const bool isGiven = child != nullptr && readAttribute(cameraNode, kPrefix, kIsRollingShutter<P>,
                                                         corrector, why) == ParseResult::Exists;
  if (!isGiven || !corrector.isRollingShutter) return true;
  if (readAttribute(cameraNode, kPrefix, kLineTime<P>, corrector, why) != ParseResult::Exists) {
    AR_LOG(Common::Logger::ERR, kSource,
           "FullStereoCameraCalibration::loadRollingShutterConfig() - Unable to determine linetime "
           "of rolling shutter camera.");
    return false;
  }
  if (!(corrector.lineTime > 0)) {
    AR_LOG(Common::Logger::ERR, kSource,
           "FullStereoCameraCalibration::loadRollingShutterConfig() - Rolling shutter is enabled "
           "but line time is set to <= 0. Set isRollingShutter = false in Camera Configuration");
    return refuse(why, expectation(cameraNode, "RollingShutter.linetime", kLineTime<P>.meaning));
  }
  return true;
}

/// Why no camera can be made of a model.
template <typename P>
std::string faultOf(const CamModel::CameraModel<P>& model) {
  const auto fault = CamModel::findFault(model);
  return fault ? fault->sentence : "expected limits within which the distortion can be inverted";
}

}  // namespace

template <typename P>
bool readCamera(const ConfigNode& cameraNode, const CamImageId& id, FullCamera<P>& camera,
                std::string& why) {
  CamModel::CameraModel<P> model;
  Math::SE3<P> T_local_ref;
  CaptureDetails details{};
  RollingShutterCorrector<P> corrector;
  double delta = 0;
  if (!readModel(cameraNode, model, why) || !readRig(cameraNode, T_local_ref, why)) return false;
  if (!readCaptureDetails(cameraNode, details, why)) {
    AR_LOG(Common::Logger::ERR, kSource,
           "Failed to read CaptureDetails tag. All attributes are required.");
    return false;
  }
  if (!readTimeAlignment(cameraNode, delta, why)) {
    AR_LOG(Common::Logger::ERR, kSource,
           "Failed to read TimeAlignment tag. The attribute delta is required.");
    return false;
  }
  if (!readRollingShutter(cameraNode, corrector, why)) return false;
  return camera.init(model, T_local_ref, id, corrector.isRollingShutter, corrector.lineTime,
                     details, delta) ||
         refuse(why, "Calibration: " + faultOf(model));
}

template bool readCamera(const ConfigNode&, const CamImageId&, FullCamera<float>&, std::string&);
template bool readCamera(const ConfigNode&, const CamImageId&, FullCamera<double>&, std::string&);

}  // namespace RigFile

template <typename P>
bool FullStereoCameraCalibration<P>::loadCaptureDetails(const Common::ConfigNode& cameraNode,
                                                        CaptureDetails& captureDetails) {
  std::string why;
  return RigFile::readCaptureDetails(cameraNode, captureDetails, why);
}

template <typename P>
bool FullStereoCameraCalibration<P>::loadRollingShutterConfig(const Common::ConfigNode& cameraNode,
                                                              bool& isRollingShutter, P& lineTime) {
  RollingShutterCorrector<P> corrector;
  corrector.isRollingShutter = isRollingShutter;
  corrector.lineTime = lineTime;
  std::string why;
  const bool isRead = RigFile::readRollingShutter(cameraNode, corrector, why);
  isRollingShutter = corrector.isRollingShutter;
  lineTime = corrector.lineTime;
  return isRead;
}

template <typename P>
bool FullStereoCameraCalibration<P>::loadStereoExtrinsics(const Common::ConfigNode& node,
                                                          Math::SE3<P>& pose) {
  std::string why;
  return RigFile::readPose(node, pose, why);
}

template <typename P>
bool FullStereoCameraCalibration<P>::loadTimeAlignment(const Common::ConfigNode& cameraNode,
                                                       double& delta) {
  std::string why;
  return RigFile::readTimeAlignment(cameraNode, delta, why);
}

#define AR_INSTANTIATE(RIG, P)                                                       \
  template bool RIG::loadCaptureDetails(const Common::ConfigNode&, CaptureDetails&); \
  template bool RIG::loadRollingShutterConfig(const Common::ConfigNode&, bool&, P&); \
  template bool RIG::loadStereoExtrinsics(const Common::ConfigNode&, Math::SE3<P>&); \
  template bool RIG::loadTimeAlignment(const Common::ConfigNode&, double&);
AR_INSTANTIATE(FullStereoCameraCalibration<float>, float)
AR_INSTANTIATE(FullStereoCameraCalibration<double>, double)
#undef AR_INSTANTIATE

}  // namespace AR::CV
