#include <cmath>
#include <string>

#include "AR/CV/Camera/Camera.h"
#include "AR/CV/Camera/CameraUtil.h"
#include "AR/CV/Camera/XmlText.h"
#include "AR/Common/TinyXml.h"

namespace AR::CV {
namespace {

template <typename P>
void writeOldForm(const CamModel::CameraModel<P>& model, TiXmlElement& node) {
  AR::Math::Vec<P, 8> oldVec;
  OLD_DISTORTION_MODE mode = OLD_LINEAR;
  getOldDistortionVec<P>(model.model, model.tangentialDistortion, model.radialDistortion, oldVec,
                         mode);
  if (mode == OLD_FISHEYE_4) {
    node.SetAttribute("fish_eye", "true");
  }
  node.SetAttribute("radial_distortion_8", vecToXMLString(oldVec));
}

// The limits are written as tinyxml writes a double attribute, but for the process's locale.
template <typename P>
std::string limitToXMLString(P squaredRadius) {
  return realToXMLString(std::sqrt(static_cast<double>(squaredRadius)));
}

template <typename P>
void writeCurrentForm(const CamModel::CameraModel<P>& model, TiXmlElement& node) {
  node.SetAttribute("model", CamModel::modelName(model.model));
  node.SetAttribute("radial_distortion", vecToXMLString(model.radialDistortion));
  node.SetAttribute("distortion_limit", limitToXMLString(model.limits.distortionLimit));
  node.SetAttribute("undistortion_limit", limitToXMLString(model.limits.undistortionLimit));
  if (!isZero(model.tangentialDistortion)) {
    node.SetAttribute("tangential_distortion", vecToXMLString(model.tangentialDistortion));
  }
}

}  // namespace

template <typename P>
std::unique_ptr<TiXmlElement> Camera<P>::toXMLNode(XMLFormat format) const {
  auto node = std::make_unique<TiXmlElement>("Calibration");
  node->SetAttribute("size", vecToXMLString(mModel.size));
  node->SetAttribute("principal_point", vecToXMLString(mModel.principalPoint));
  node->SetAttribute("focal_length", vecToXMLString(mModel.focalLength));
  if (format == XMLFormat::Old || format == XMLFormat::Both) {
    writeOldForm(mModel, *node);
  }
  if (format == XMLFormat::Current || format == XMLFormat::Both) {
    writeCurrentForm(mModel, *node);
  }
  return node;
}

template std::unique_ptr<TiXmlElement> Camera<float>::toXMLNode(XMLFormat) const;
template std::unique_ptr<TiXmlElement> Camera<double>::toXMLNode(XMLFormat) const;

}  // namespace AR::CV
