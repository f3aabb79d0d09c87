#include "CameraConfig.h"

#include <cmath>
#include <string>

#include "AR/CV/Camera/CameraUtil.h"
#include "AR/Common/Logger.h"
#include "AR/Common/Macros.h"
#include "AR/Common/SaturatingCast.h"
#include "AR/Math/Matrix.h"
#include "AR/Math/Vector.h"

namespace AR::CV {
namespace {

using Common::ConfigNode;
using Common::Logger;
using Common::ParseResult;
using Math::Vec;

constexpr char kSource[] = "CV/src/Camera/StereoCamera";

void logError(const char* message) { AR_LOG(Logger::ERR, kSource, message); }

template <typename T>
ParseResult read(const ConfigNode& node, const char* key, T& value, const char* comment) {
  return node.ifExistsGetDescendentAttribute(key, value, comment);
}

/// What every form of the intrinsics has in common.
struct Geometry {
  Vec<double, 2> size;
  Vec<double, 2> focalLength;
  Vec<double, 2> principalPoint;
};

bool readGeometry(const ConfigNode& node, Geometry& g) {
  const bool found =
      read(node, "Calibration.size", g.size, "image size, pixels") == ParseResult::Exists &&
      read(node, "Calibration.focal_length", g.focalLength, "focal length, pixels") ==
          ParseResult::Exists &&
      read(node, "Calibration.principal_point", g.principalPoint, "principal point, pixels") ==
          ParseResult::Exists;
  if (!found) logError("Can't find camera calibration detail attributes");
  return found;
}

IntrinsicCameraCalibrationZEL geometryRecord(const Geometry& g) {
  IntrinsicCameraCalibrationZEL record{};
  record.width = Common::saturatingCast<std::int32_t>(g.size(0));
  record.height = Common::saturatingCast<std::int32_t>(g.size(1));
  record.principal_point_x = g.principalPoint(0);
  record.principal_point_y = g.principalPoint(1);
  record.focal_length_x = g.focalLength(0);
  record.focal_length_y = g.focalLength(1);
  return record;
}

/// A form of the distortion attributes: absent, read into a model, or malformed (reported).
enum class Form { Absent, Read, Malformed };

/// "model" with "radial_distortion" and, if there, tangential terms and limits. Limits that are
/// absent are computed.
template <typename P>
Form readCurrentForm(const ConfigNode& node, const Geometry& g, CamModel::CameraModel<P>& model) {
  std::string name;
  Vec<double, 6> radial;
  Vec<double, 2> tangential;
  IntrinsicCameraCalibrationZEL record = geometryRecord(g);
  const ParseResult hasRadial =
      read(node, "Calibration.radial_distortion", radial, "radial distortion");
  if (read(node, "Calibration.model", name, "distortion model") == ParseResult::Missing ||
      hasRadial == ParseResult::Missing) {
    return Form::Absent;
  }
  const bool wellFormed = hasRadial == ParseResult::Exists &&
                          read(node, "Calibration.tangential_distortion", tangential,
                               "tangential distortion") != ParseResult::Malformed &&
                          read(node, "Calibration.distortion_limit", record.distortion_limit,
                               "largest undistorted radius") != ParseResult::Malformed &&
                          read(node, "Calibration.undistortion_limit", record.undistortion_limit,
                               "largest distorted radius") != ParseResult::Malformed;
  CamModel::DistortionModel distortionModel;
  if (!wellFormed || !radialDistortionModelStringToEnum(name, distortionModel)) {
    return Form::Malformed;
  }
  record.distortion_model = distortionModel;
  for (std::size_t i = 0; i < radial.size(); ++i) record.distortion[i] = radial(i);
  for (std::size_t i = 0; i < tangential.size(); ++i) record.distortion[6 + i] = tangential(i);
  model = CamModel::CameraModel<P>(record);
  return Form::Read;
}

template <typename P>
CamModel::CameraModel<P> oldModel(const Geometry& g, const Vec<P, 8>& distortion, bool isFisheye) {
  const Vec<int, 2> size(Common::saturatingCast<int>(g.size(0)),
                         Common::saturatingCast<int>(g.size(1)));
  return FullStereoCameraCalibration<P>::initIntrinsics(distortion, isFisheye, size,
                                                        g.focalLength.template cast<P>(),
                                                        g.principalPoint.template cast<P>());
}

/// The combined vector of eight values, or its first four.
template <typename P>
Form readOldForm(const ConfigNode& node, const Geometry& g, CamModel::CameraModel<P>& model) {
  Vec<P, 8> distortion;
  ParseResult found =
      read(node, "Calibration.radial_distortion_8", distortion, "combined distortion");
  if (found == ParseResult::Missing) {
    Vec<P, 4> four;
    found = read(node, "Calibration.radial_distortion_4", four, "combined distortion");
    for (std::size_t i = 0; i < four.size(); ++i) distortion(i) = four(i);
  }
  if (found == ParseResult::Missing) return Form::Absent;
  bool isFisheye = false;
  const bool wellFormed =
      found == ParseResult::Exists &&
      read(node, "Calibration.fish_eye", isFisheye, "fisheye lens") != ParseResult::Malformed;
  if (!wellFormed) return Form::Malformed;
  AR_LOG(Logger::DEBUG, kSource, "Loading old combined 8D radial+tangential distortion.");
  model = oldModel(g, distortion, isFisheye);
  return Form::Read;
}

/// Coefficients without their model, or a model that needs coefficients without them.
bool hasHalfOfCurrentForm(const ConfigNode& node) {
  if (node.existsDescendentAttribute("Calibration.radial_distortion")) return true;
  return node.existsDescendentAttribute("Calibration.model") &&
         node.getDescendentAttribute("Calibration.model") != CamModel::modelName(CamModel::LINEAR);
}

template <typename P>
bool readIntrinsics(const ConfigNode& node, CamModel::CameraModel<P>& model) {
  Geometry g;
  if (!readGeometry(node, g)) return false;
  Form form = readCurrentForm(node, g, model);
  if (form == Form::Absent) form = readOldForm(node, g, model);
  if (form == Form::Absent && hasHalfOfCurrentForm(node)) {
    logError("Can't find camera calibration detail attributes");
    return false;
  }
  if (form == Form::Absent) {
    logError("None of radial_distortion, radial_distortion_8, or radial_distortion_4 found");
    model = CamModel::CameraModel<P>(geometryRecord(g));
  }
  return form != Form::Malformed;
}

/// The pose from the "Rig" child. One that is missing altogether is reported and left as it is.
template <typename P>
bool readPose(const ConfigNode& cameraNode, Math::SE3<P>& T_local_ref) {
  const ConfigNode* const rig = cameraNode.getChild("Rig");
  bool given = false;
  for (const char* key : {"stereoRig", "stereo_rig", "rowMajorRotationMat", "translation"}) {
    given = given || (rig != nullptr && rig->doesAttributeExists(key));
  }
  if (given) return FullStereoCameraCalibration<P>::loadStereoExtrinsics(*rig, T_local_ref);
  logError("no extrinsics (SFConfig.Rig.stereo_rig or rotation/translation)");
  return true;
}

/// The largest deviation of R's rows from unit length and right angles.
template <typename P>
P orthonormalityError(const Math::Mat<P, 3, 3>& R) {
  P worst = 0;
  for (std::size_t i = 0; i < 3; ++i) {
    for (std::size_t j = i; j < 3; ++j) {
      const P error = std::fabs(Math::dot(R.row(i), R.row(j)) - (i == j ? P(1) : P(0)));
      if (!(error <= worst)) worst = error;  // NaN sticks
    }
  }
  return worst;
}

template <typename P>
bool poseFromMatrix(Math::Mat<P, 3, 3> rotation, const Vec<P, 3>& translation, Math::SE3<P>& pose) {
  if (!(orthonormalityError(rotation) < P(0.0001))) {
    logError("Stereo calibration is not a 3x3 rotation matrix");
    return false;
  }
  Math::enforceRotation(rotation);
  pose = Math::SE3<P>(Math::SO3<P>(rotation), translation);
  return true;
}

}  // namespace

template <typename P>
bool FullStereoCameraCalibration<P>::loadCaptureDetails(const ConfigNode& cameraNode,
                                                        CaptureDetails& captureDetails) {
  const ConfigNode* const node = cameraNode.getChild("CaptureDetails");
  if (node == nullptr) return true;
  CaptureDetails& d = captureDetails;
  const auto readInt = [node](const char* key, std::int32_t& value) {
    return read(*node, key, value, "capture details") == ParseResult::Exists;
  };
  return readInt("nativeSensorWidth", d.nativeSensorWidth) &&
         readInt("nativeSensorHeight", d.nativeSensorHeight) && readInt("cropL", d.cropL) &&
         readInt("cropR", d.cropR) && readInt("cropT", d.cropT) && readInt("cropB", d.cropB) &&
         readInt("binningH", d.binningH) && readInt("binningV", d.binningV);
}

template <typename P>
bool FullStereoCameraCalibration<P>::loadRollingShutterConfig(const ConfigNode& cameraNode,
                                                              bool& isRollingShutter, P& lineTime) {
  if (cameraNode.getChild("RollingShutter") == nullptr) return true;
  const ParseResult found = read(cameraNode, "RollingShutter.isRollingShutter", isRollingShutter,
                                 "rows are exposed one after the other");
  if (found != ParseResult::Exists || !isRollingShutter) return true;
  if (read(cameraNode, "RollingShutter.linetime", lineTime, "seconds per row") !=
      ParseResult::Exists) {
    logError(
        "FullStereoCameraCalibration::loadRollingShutterConfig() - Unable to determine linetime of "
        "rolling shutter camera.");
    return false;
  }
  if (!(lineTime > 0)) {
    logError(
        "FullStereoCameraCalibration::loadRollingShutterConfig() - Rolling shutter is enabled but "
        "line time is set to <= 0. Set isRollingShutter = false in Camera Configuration");
    return false;
  }
  return true;
}

template <typename P>
bool FullStereoCameraCalibration<P>::loadStereoExtrinsics(const ConfigNode& node,
                                                          Math::SE3<P>& pose) {
  constexpr char kComment[] = "pose of the camera";
  Vec<P, 6> lieElement;
  Math::Mat<P, 3, 3> rotation;
  Vec<P, 3> translation;
  ParseResult hasLie = read(node, "stereoRig", lieElement, kComment);
  if (hasLie == ParseResult::Missing) hasLie = read(node, "stereo_rig", lieElement, kComment);
  const ParseResult hasRotation = read(node, "rowMajorRotationMat", rotation, kComment);
  const ParseResult hasTranslation = read(node, "translation", translation, kComment);
  for (const ParseResult result : {hasLie, hasRotation, hasTranslation}) {
    if (result == ParseResult::Malformed) return false;
  }
  const bool anyMatrix =
      hasRotation == ParseResult::Exists || hasTranslation == ParseResult::Exists;
  if (hasLie == ParseResult::Exists) {
    if (anyMatrix) {
      logError(
          "Stereo calibration given twice in config--only specify either Lie element or [rotation "
          "and translation]");
      return false;
    }
    pose = Math::SE3<P>::exp(lieElement);
    return true;
  }
  if (hasRotation == ParseResult::Missing || hasTranslation == ParseResult::Missing) {
    logError("Incomplete stereo calibration in config--no extrinsics (SFConfig.Rig.stereoRig)");
    return false;
  }
  AR_CHECK(hasRotation == ParseResult::Exists && hasTranslation == ParseResult::Exists,
           "hasRotation == AR::Common::ParseResult::Exists && hasTranslation == "
           "AR::Common::ParseResult::Exists",
           kSource);
  return poseFromMatrix(rotation, translation, pose);
}

template <typename P>
bool FullStereoCameraCalibration<P>::loadTimeAlignment(const ConfigNode& cameraNode,
                                                       double& delta) {
  const ConfigNode* const node = cameraNode.getChild("TimeAlignment");
  return node == nullptr ||
         read(*node, "delta", delta, "time offset, seconds") == ParseResult::Exists;
}

template <typename P>
bool loadCameraConfig(const ConfigNode& cameraNode, CameraConfig<P>& config) {
  using Rig = FullStereoCameraCalibration<P>;
  if (!readIntrinsics(cameraNode, config.model) || !readPose(cameraNode, config.T_local_ref)) {
    return false;
  }
  if (!Rig::loadCaptureDetails(cameraNode, config.captureDetails)) {
    logError("Failed to read CaptureDetails tag. All attributes are required.");
    return false;
  }
  return Rig::loadRollingShutterConfig(cameraNode, config.isRollingShutter, config.lineTime) &&
         Rig::loadTimeAlignment(cameraNode, config.delta);
}

#define AR_INSTANTIATE(P)                                                                          \
  template bool FullStereoCameraCalibration<P>::loadCaptureDetails(const ConfigNode&,              \
                                                                   CaptureDetails&);               \
  template bool FullStereoCameraCalibration<P>::loadRollingShutterConfig(const ConfigNode&, bool&, \
                                                                         P&);                      \
  template bool FullStereoCameraCalibration<P>::loadStereoExtrinsics(const ConfigNode&,            \
                                                                     Math::SE3<P>&);               \
  template bool FullStereoCameraCalibration<P>::loadTimeAlignment(const ConfigNode&, double&);     \
  template bool loadCameraConfig(const ConfigNode&, CameraConfig<P>&);
AR_INSTANTIATE(float)
AR_INSTANTIATE(double)
#undef AR_INSTANTIATE

}  // namespace AR::CV
