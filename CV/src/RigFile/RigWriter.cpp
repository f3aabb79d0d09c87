// Calibration documents, written.

#include <cmath>
#include <fstream>
#include <memory>
#include <utility>

#include "AR/CV/RigDocument.h"
#include "AR/Common/Macros.h"
#include "AttributeTable.h"

namespace AR::CV {

using namespace RigFile;

namespace {

template <typename P>
CurrentDistortion<P> currentForm(const CamModel::CameraModel<P>& model) {
  const auto radius = [](const P limit) { return std::sqrt(static_cast<double>(limit)); };
  return {CamModel::modelName(model.model), model.radialDistortion,
          radius(model.limits.distortionLimit), radius(model.limits.undistortionLimit),
          model.tangentialDistortion};
}

template <typename P>
CombinedDistortion<P> combinedForm(const CamModel::CameraModel<P>& model) {
  CombinedDistortion<P> result;
  OLD_DISTORTION_MODE mode = OLD_LINEAR;
  getOldDistortionVec<P>(model.model, model.tangentialDistortion, model.radialDistortion,
                         result.values, mode);
  result.isFisheye = mode == OLD_FISHEYE_4;
  return result;
}

template <typename P>
std::unique_ptr<TiXmlElement> rigElement(const Math::SE3<P>& T_local_ref,
                                         const bool useLieElement) {
  auto element = std::make_unique<TiXmlElement>("Rig");
  if (useLieElement) {
    writeAttributes(kLieElement<P>, {Math::SE3<P>::ln(T_local_ref), {}, {}}, *element);
  } else {
    writeAttributes(kTranslationAndRotation<P>,
                    {{}, T_local_ref.translation(), T_local_ref.rotation().matrix()}, *element);
  }
  return element;
}

template <typename P>
std::string documentText(const FullStereoCameraCalibration<P>& rig,
                         const std::string& deviceUID = {}) {
  TiXmlDocument document;
  document.LinkEndChild(std::make_unique<TiXmlDeclaration>("1.0", "UTF-8", "").release());
  auto root = std::make_unique<TiXmlElement>(kRootElement);
  if (!deviceUID.empty()) writeAttributes(kDeviceUID, deviceUID, *root);
  rig.saveCalibration(root.get(), false, false, XMLFormat::Current);
  document.LinkEndChild(root.release());
  TiXmlPrinter printer;
  document.Accept(&printer);
  return printer.Str();
}

}  // namespace

template <typename P>
std::unique_ptr<TiXmlElement> Camera<P>::toXMLNode(const XMLFormat format) const {
  auto element = std::make_unique<TiXmlElement>("Calibration");
  writeAttributes(kGeometry<P>, mModel, *element);
  if (format == XMLFormat::Old || format == XMLFormat::Both) {
    writeAttributes(kCombined8<P>, combinedForm(mModel), *element);
  }
  if (format == XMLFormat::Current || format == XMLFormat::Both) {
    writeAttributes(kCurrent<P>, currentForm(mModel), *element);
  }
  return element;
}

template <typename P>
std::unique_ptr<TiXmlElement> FullCamera<P>::toXMLNode(const bool useLieElement,
                                                       const XMLFormat format,
                                                       const bool writeNameAndId,
                                                       const int index) const {
  AR_CHECK(mCamId.isInit(), "mCamId.isInit()", kSource);
  auto camera = std::make_unique<TiXmlElement>(kCameraElement);
  // A name that was made up for want of one is made up again by the loader.
  const bool isMadeUp = FullStereoCameraCalibration<P>::noCameraIdsProvided({&mCamId, 1});
  if (!isMadeUp) writeAttributes(kName, getNameStr(), *camera);
  if (writeNameAndId) {
    writeAttribute("name", getNameStr(), *camera);
    writeAttribute("id", toXMLString(index), *camera);
  }
  camera->LinkEndChild(mIntrinsics.toXMLNode(format).release());
  camera->LinkEndChild(rigElement(mCamReferenceToLocal, useLieElement).release());
  return camera;
}

template <typename P>
void FullStereoCameraCalibration<P>::saveCalibration(TiXmlElement* const deviceConfig,
                                                     const bool useLieElement,
                                                     const bool writeNameAndId,
                                                     const XMLFormat format) const {
  const bool haveParent = AR_CHECK(deviceConfig, "deviceConfig", kSource);
  AR_CHECK(isInitialized(), "isInitialized()", kSource);
  if (!haveParent) return;
  int index = 0;
  for (const FullCamera<P>& camera : *this) {
    deviceConfig->LinkEndChild(
        camera.toXMLNode(useLieElement, format, writeNameAndId, index++).release());
  }
}

template <typename P>
bool FullStereoCameraCalibration<P>::saveCalibration(const std::string& filename) const {
  AR_CHECK(isInitialized(), "isInitialized()", kSource);
  AR_CHECK(filename.length() > 0, "filename.length() > 0", kSource);
  const std::string document = documentText(*this);
  AR_LOGF(Common::Logger::DEBUG, kSource, "Saving camera calibration to %s", filename.c_str());
  std::ofstream file(filename, std::ios::binary);
  file << document;
  file.close();  // what fails only now, as on a full disk, is a failure too
  return file.good();
}

#define AR_INSTANTIATE(P)                                                                     \
  template std::unique_ptr<TiXmlElement> Camera<P>::toXMLNode(XMLFormat) const;               \
  template std::unique_ptr<TiXmlElement> FullCamera<P>::toXMLNode(bool, XMLFormat, bool, int) \
      const;                                                                                  \
  template void FullStereoCameraCalibration<P>::saveCalibration(TiXmlElement*, bool, bool,    \
                                                                XMLFormat) const;             \
  template bool FullStereoCameraCalibration<P>::saveCalibration(const std::string&) const;
AR_INSTANTIATE(float)
AR_INSTANTIATE(double)
#undef AR_INSTANTIATE

bool tryRigToXml(const FullStereoCameraCalibration<double>& rig, std::string& bytes,
                 std::string& why) {
  why.clear();
  if (rig.empty()) return refuse(why, "expected a camera, found none");
  for (std::size_t i = 0; i < rig.size(); ++i) {
    if (rig[i].isInitialized()) continue;
    return refuse(why, "camera " + std::to_string(i) + ": expected a name and intrinsics");
  }
  std::string document = documentText(rig, rig.getDeviceUID());
  // Rounding to the document's digits may carry a value over the edge of what is accepted.
  FullStereoCameraCalibration<double> again(rig.getInfo());
  if (!tryRigFromXml(document.data(), document.size(), again, why)) return false;
  bytes = std::move(document);
  return true;
}

}  // namespace AR::CV
