// The "Calibration" element, read.

#include <algorithm>
#include <string>

#include "AR/Common/SaturatingCast.h"
#include "AttributeTable.h"
#include "RigFile.h"

namespace AR::CV::RigFile {
namespace {

using CamModel::CameraModel;

constexpr char kPrefix[] = "Calibration.";

bool has(const ConfigNode& cameraNode, const char* name) {
  return cameraNode.existsDescendentAttribute(std::string(kPrefix) + name);
}

template <typename P>
bool readCurrentForm(const ConfigNode& node, CameraModel<P>& model, std::string& why) {
  CurrentDistortion<P> current;
  if (!readAttributes(node, kPrefix, kCurrent<P>, current, why)) return false;
  const auto refuseRow = [&](const Attribute<CurrentDistortion<P>>& row) {
    return refuse(why, expectation(node, std::string(kPrefix) + row.name, row.meaning));
  };
  if (!radialDistortionModelStringToEnum(current.model, model.model)) {
    return refuseRow(kCurrent<P>[0]);
  }
  const bool isComplete = model.model == CamModel::LINEAR || has(node, kCurrent<P>[1].name);
  if (!isComplete) return refuseRow(kCurrent<P>[1]);
  model.radialDistortion = current.radial;
  model.tangentialDistortion = current.tangential;
  // One limit alone says nothing of where the other one lies.
  if (current.distortionRadius > 0 && current.undistortionRadius > 0) {
    const auto squared = [](const double radius) {
      const P r = static_cast<P>(std::min(radius, 1e30));  // more than a float may not be cast
      return r * r;
    };
    model.limits = {.distortionLimit = squared(current.distortionRadius),
                    .undistortionLimit = squared(current.undistortionRadius)};
  } else {
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
  auto& [isFisheye, values, firstHalf] = combined;
  const bool isHalf = !has(node, kCombined8<P>[1].name);
  if (isHalf) std::copy(firstHalf.begin(), firstHalf.end(), values.begin());
  const Math::Vec<int, 2> size(Common::saturatingCast<int>(model.size[0]),
                               Common::saturatingCast<int>(model.size[1]));
  model = FullStereoCameraCalibration<P>::initIntrinsics(values, isFisheye, size, model.focalLength,
                                                         model.principalPoint);
  return true;
}

/// The distortion, for a model that has its geometry.
template <typename P>
bool readDistortion(const ConfigNode& node, CameraModel<P>& model, std::string& why) {
  const bool hasModel = has(node, "model"), hasRadial = has(node, "radial_distortion");
  if (hasModel && hasRadial) return readCurrentForm(node, model, why);
  if (has(node, "radial_distortion_8")) {
    AR_LOG(Common::Logger::DEBUG, kSource, "Loading old combined 8D radial+tangential distortion.");
    return readCombinedForm(node, kCombined8<P>, model, why);
  }
  if (has(node, "radial_distortion_4")) return readCombinedForm(node, kCombined4<P>, model, why);
  if (hasRadial) {
    AR_LOG(Common::Logger::ERR, kSource, "Can't find camera calibration detail attributes");
  } else {
    AR_LOG(Common::Logger::ERR, kSource,
           "None of radial_distortion, radial_distortion_8, or radial_distortion_4 found");
  }
  if (hasModel || hasRadial) return readCurrentForm(node, model, why);
  model.setupValidDistortionRange({}, false);
  return true;
}

}  // namespace

template <typename P>
bool readModel(const ConfigNode& cameraNode, CameraModel<P>& model, std::string& why) {
  const ConfigNode* element = nullptr;
  if (!findOnlyChild(cameraNode, "Calibration", element, why) ||
      !readAttributes(cameraNode, kPrefix, kGeometry<P>, model, why)) {
    AR_LOG(Common::Logger::ERR, kSource, "Can't find camera calibration detail attributes");
    return false;
  }
  return readDistortion(cameraNode, model, why);
}

template bool readModel(const ConfigNode&, CameraModel<float>&, std::string&);
template bool readModel(const ConfigNode&, CameraModel<double>&, std::string&);

}  // namespace AR::CV::RigFile
