// The "Calibration" element, read.

#include <string>

#include "AR/Common/SaturatingCast.h"
#include "AttributeTable.h"
#include "RigFile.h"

namespace AR::CV::RigFile {
namespace {

using CamModel::CameraModel;

constexpr char kElement[] = "Calibration";
constexpr char kPrefix[] = "Calibration.";

bool has(const ConfigNode& cameraNode, const std::string& name) {
  return cameraNode.existsDescendentAttribute(kPrefix + name);
}

/// The forms in which a node can give the distortion.
enum class Form { Current, Combined8, Combined4, None, Incomplete };

Form formOf(const ConfigNode& node) {
  const bool hasModel = has(node, "model");
  const bool hasRadial = has(node, "radial_distortion");
  if (hasModel && hasRadial) return Form::Current;
  if (has(node, "radial_distortion_8")) return Form::Combined8;
  if (has(node, "radial_distortion_4")) return Form::Combined4;
  const bool isLinear = hasModel && node.getDescendentAttribute("Calibration.model") ==
                                        CamModel::modelName(CamModel::LINEAR);
  if (isLinear) return Form::Current;
  return hasModel || hasRadial ? Form::Incomplete : Form::None;
}

template <typename P>
bool readCurrentForm(const ConfigNode& node, CameraModel<P>& model, std::string& why) {
  model.limits = {.distortionLimit = 0, .undistortionLimit = 0};
  if (!readAttributes(node, kPrefix, kDistortion<P>, model, why)) return false;
  // One limit alone says nothing of where the other one lies.
  if (!(model.limits.distortionLimit > 0 && model.limits.undistortionLimit > 0)) {
    model.limits = {};
    model.setupValidDistortionRange({}, false);
  }
  return true;
}

/// `rows`: those of one of the combined forms.
template <typename P>
bool readCombinedForm(const ConfigNode& node, const Attribute<CombinedDistortion<P>> (&rows)[2],
                      CameraModel<P>& model, std::string& why) {
  CombinedDistortion<P> combined;
  if (!readAttributes(node, kPrefix, rows, combined, why)) return false;
  const Math::Vec<int, 2> size(Common::saturatingCast<int>(model.size[0]),
                               Common::saturatingCast<int>(model.size[1]));
  model = FullStereoCameraCalibration<P>::initIntrinsics(combined.values, combined.isFisheye, size,
                                                         model.focalLength, model.principalPoint);
  return true;
}

/// The distortion, for a model that has its geometry.
template <typename P>
bool readDistortion(const ConfigNode& node, const Form form, CameraModel<P>& model,
                    std::string& why) {
  const bool isLinear = form == Form::Current && !has(node, "radial_distortion");
  if (form == Form::None || isLinear) {
    AR_LOG(Common::Logger::ERR, kSource,
           "None of radial_distortion, radial_distortion_8, or radial_distortion_4 found");
  }
  switch (form) {
    case Form::Current:
      return readCurrentForm(node, model, why);
    case Form::Combined8:
      AR_LOG(Common::Logger::DEBUG, kSource,
             "Loading old combined 8D radial+tangential distortion.");
      return readCombinedForm(node, kCombined8<P>, model, why);
    case Form::Combined4:
      return readCombinedForm(node, kCombined4<P>, model, why);
    default:
      model.setupValidDistortionRange({}, false);
      return true;
  }
}

}  // namespace

template <typename P>
bool readModel(const ConfigNode& cameraNode, CameraModel<P>& model, std::string& why) {
  const ConfigNode* element = nullptr;
  const bool isUnique = findOnlyChild(cameraNode, kElement, element, why);
  const Form form = formOf(cameraNode);
  if (form == Form::Incomplete) {
    refuse(why, "Calibration: expected both model and radial_distortion, found one of them");
  }
  if (!isUnique || form == Form::Incomplete ||
      !readAttributes(cameraNode, kPrefix, kGeometry<P>, model, why)) {
    AR_LOG(Common::Logger::ERR, kSource, "Can't find camera calibration detail attributes");
    return false;
  }
  return readDistortion(cameraNode, form, model, why);
}

template bool readModel(const ConfigNode&, CameraModel<float>&, std::string&);
template bool readModel(const ConfigNode&, CameraModel<double>&, std::string&);

}  // namespace AR::CV::RigFile
