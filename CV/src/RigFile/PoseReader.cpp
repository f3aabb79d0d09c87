// The "Rig" element, read: where a camera is.

#include <cmath>

#include "AR/Common/Macros.h"
#include "AttributeTable.h"
#include "RigFile.h"

namespace AR::CV {
namespace RigFile {
namespace {

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
  // Orthonormal rows may still be those of a mirror: said to who asks, and loaded.
  if (Math::dot(Math::cross(R.row(0), R.row(1)), R.row(2)) < 0) {
    refuse(why, "rowMajorRotationMat: expected a rotation, found a reflection");
  }
  // A document holds R to a few digits; what is made of it is a rotation to the last one.
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
bool readPoseForms(const ConfigNode& node, Math::SE3<P>& T_local_ref, std::string& why) {
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

}  // namespace

template <typename P>
bool readPose(const ConfigNode& cameraNode, Math::SE3<P>& T_local_ref, std::string& why) {
  const ConfigNode* rig = nullptr;
  if (!findOnlyChild(cameraNode, "Rig", rig, why)) return false;
  if (rig == nullptr || !hasPose<P>(*rig)) {
    AR_LOG(Common::Logger::ERR, kSource,
           "no extrinsics (SFConfig.Rig.stereo_rig or rotation/translation)");
    return true;
  }
  std::string reason;
  const bool isRead = readPoseForms(*rig, T_local_ref, reason);
  if (!reason.empty()) refuse(why, "Rig." + reason);
  return isRead;
}

template bool readPose(const ConfigNode&, Math::SE3<float>&, std::string&);
template bool readPose(const ConfigNode&, Math::SE3<double>&, std::string&);

}  // namespace RigFile

template <typename P>
bool FullStereoCameraCalibration<P>::loadStereoExtrinsics(const Common::ConfigNode& node,
                                                          Math::SE3<P>& pose) {
  std::string why;
  return RigFile::readPoseForms(node, pose, why);
}

template bool FullStereoCameraCalibration<float>::loadStereoExtrinsics(const Common::ConfigNode&,
                                                                       Math::SE3<float>&);
template bool FullStereoCameraCalibration<double>::loadStereoExtrinsics(const Common::ConfigNode&,
                                                                        Math::SE3<double>&);

}  // namespace AR::CV
