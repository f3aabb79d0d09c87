// The intrinsics of a camera from its configuration node.

#include <algorithm>
#include <string>

#include "AR/CV/Camera/CameraUtil.h"
#include "AR/Common/SaturatingCast.h"
#include "CameraConfig.h"
#include "ConfigReading.h"

namespace AR::CV {
namespace {

using Common::ConfigNode;
using Common::ParseResult;
using Math::Vec;

/// The forms in which a node can give the distortion.
enum class Form { Current, Combined8, Combined4, None, Incomplete };

Form formOf(const ConfigNode& node) {
  const bool hasModel = node.existsDescendentAttribute("Calibration.model");
  const bool hasRadial = node.existsDescendentAttribute("Calibration.radial_distortion");
  if (hasModel && hasRadial) return Form::Current;
  if (node.existsDescendentAttribute("Calibration.radial_distortion_8")) return Form::Combined8;
  if (node.existsDescendentAttribute("Calibration.radial_distortion_4")) return Form::Combined4;
  const bool needsRadial = hasModel && node.getDescendentAttribute("Calibration.model") !=
                                           CamModel::modelName(CamModel::LINEAR);
  return hasRadial || needsRadial ? Form::Incomplete : Form::None;
}

/// What every form has in common.
template <typename P>
bool readGeometry(const ConfigNode& node, CamModel::CameraModel<P>& model) {
  const auto found = [&node](const char* key, Vec<P, 2>& value, const char* comment) {
    return readFiniteConfig(node, key, value, comment) == ParseResult::Exists;
  };
  return found("Calibration.size", model.size, "width and height, pixels") &&
         found("Calibration.focal_length", model.focalLength, "fx and fy, pixels") &&
         found("Calibration.principal_point", model.principalPoint, "cx and cy, pixels");
}

/// Radii where both are given, otherwise computed limits.
template <typename P>
void setLimits(const P radius, const P distortedRadius, CamModel::CameraModel<P>& model) {
  if (radius > 0 && distortedRadius > 0) {
    model.limits = {radius * radius, distortedRadius * distortedRadius};
  } else {
    model.setupValidDistortionRange({}, false);
  }
}

template <typename P>
bool readCurrentForm(const ConfigNode& node, CamModel::CameraModel<P>& model) {
  P radius = 0;
  P distortedRadius = 0;
  const auto wellFormed = [&node](const char* key, auto& value, const char* comment) {
    return readFiniteConfig(node, key, value, comment) != ParseResult::Malformed;
  };
  std::string name;
  readConfig(node, "Calibration.model", name, "distortion model");
  const bool isRead =
      radialDistortionModelStringToEnum(name, model.model) &&
      wellFormed("Calibration.radial_distortion", model.radialDistortion, "k0 to k5") &&
      wellFormed("Calibration.tangential_distortion", model.tangentialDistortion, "p1 and p2") &&
      wellFormed("Calibration.distortion_limit", radius, "largest ideal radius") &&
      wellFormed("Calibration.undistortion_limit", distortedRadius, "largest distorted radius");
  if (isRead) setLimits(radius, distortedRadius, model);
  return isRead;
}

/// The combined vector of eight values, or its first N.
template <int N, typename P>
bool readCombinedForm(const ConfigNode& node, const char* key, CamModel::CameraModel<P>& model) {
  Vec<P, N> given;
  bool isFisheye = false;
  if (readFiniteConfig(node, key, given, "radial, tangential, radial") != ParseResult::Exists ||
      readConfig(node, "Calibration.fish_eye", isFisheye, "fisheye lens") ==
          ParseResult::Malformed) {
    return false;
  }
  Vec<P, 8> distortion;
  std::copy(given.begin(), given.end(), distortion.begin());
  const Vec<int, 2> size(Common::saturatingCast<int>(model.size[0]),
                         Common::saturatingCast<int>(model.size[1]));
  model = FullStereoCameraCalibration<P>::initIntrinsics(distortion, isFisheye, size,
                                                         model.focalLength, model.principalPoint);
  return true;
}

/// The distortion, for a model that has its geometry.
template <typename P>
bool readDistortion(const ConfigNode& node, const Form form, CamModel::CameraModel<P>& model) {
  switch (form) {
    case Form::Current:
      return readCurrentForm(node, model);
    case Form::Combined8:
      AR_LOG(Common::Logger::DEBUG, kConfigSource,
             "Loading old combined 8D radial+tangential distortion.");
      return readCombinedForm<8>(node, "Calibration.radial_distortion_8", model);
    case Form::Combined4:
      return readCombinedForm<4>(node, "Calibration.radial_distortion_4", model);
    default:
      logConfigError(
          "None of radial_distortion, radial_distortion_8, or radial_distortion_4 found");
      model.setupValidDistortionRange({}, false);
      return true;
  }
}

}  // namespace

template <typename P>
bool loadModelConfig(const ConfigNode& cameraNode, CamModel::CameraModel<P>& model) {
  const Form form = formOf(cameraNode);
  if (form == Form::Incomplete || !readGeometry(cameraNode, model)) {
    logConfigError("Can't find camera calibration detail attributes");
    return false;
  }
  return readDistortion(cameraNode, form, model);
}

template bool loadModelConfig(const ConfigNode&, CamModel::CameraModel<float>&);
template bool loadModelConfig(const ConfigNode&, CamModel::CameraModel<double>&);

}  // namespace AR::CV
