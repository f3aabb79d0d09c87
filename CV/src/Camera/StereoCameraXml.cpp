// Rigs and cameras as calibration documents: root "DeviceConfiguration", one "Camera" per camera.

#include <cstdio>
#include <memory>
#include <string>

#include "AR/CV/Camera/StereoCamera.h"
#include "AR/CV/Camera/XmlText.h"
#include "AR/Common/Logger.h"
#include "AR/Common/Macros.h"
#include "AR/Common/TinyXml.h"

namespace AR::CV {
namespace {

constexpr char kSource[] = "CV/src/Camera/StereoCamera";

std::unique_ptr<TiXmlElement> poseElement(const std::string& lieElement) {
  auto rig = std::make_unique<TiXmlElement>("Rig");
  rig->SetAttribute("stereo_rig", lieElement.c_str());
  return rig;
}

std::unique_ptr<TiXmlElement> poseElement(const std::string& translation,
                                          const std::string& rotation) {
  auto rig = std::make_unique<TiXmlElement>("Rig");
  rig->SetAttribute("translation", translation.c_str());
  rig->SetAttribute("rowMajorRotationMat", rotation.c_str());
  return rig;
}

bool hasDefaultName(const CamImageId& id) {
  return FullStereoCameraCalibration<float>::noCameraIdsProvided({&id, 1});
}

// TiXmlDocument's own saving by name does not notice what fails only when the file is closed.
bool trySave(const TiXmlDocument& document, const std::string& filename) {
  std::FILE* const file = std::fopen(filename.c_str(), "w");
  if (file == nullptr) return false;
  const bool isWritten = document.SaveFile(file);
  return std::fclose(file) == 0 && isWritten;
}

}  // namespace

template <typename P>
std::unique_ptr<TiXmlElement> FullCamera<P>::toXMLNode(bool useLieElement, XMLFormat format,
                                                       bool writeNameAndId, int index) const {
  AR_CHECK(mCamId.isInit(), "mCamId.isInit()", kSource);
  const std::string name = getNameStr();
  auto camera = std::make_unique<TiXmlElement>("Camera");
  if (!hasDefaultName(mCamId)) camera->SetAttribute("cam_name", name.c_str());
  if (writeNameAndId) {
    camera->SetAttribute("name", name.c_str());
    camera->SetAttribute("id", index);
  }
  const Math::SE3<P>& T_local_ref = mCamReferenceToLocal;
  auto rig = useLieElement
                 ? poseElement(vecToXMLString(Math::SE3<P>::ln(T_local_ref)))
                 : poseElement(vecToXMLString(T_local_ref.translation()),
                               matrixToRowMajorXMLString<3, 3>(T_local_ref.rotation().matrix()));
  camera->LinkEndChild(mIntrinsics.toXMLNode(format).release());
  camera->LinkEndChild(rig.release());
  return camera;
}

template <typename P>
void FullStereoCameraCalibration<P>::saveCalibration(TiXmlElement* deviceConfig, bool useLieElement,
                                                     bool writeNameAndId, XMLFormat format) const {
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
  TiXmlDocument document;
  document.LinkEndChild(std::make_unique<TiXmlDeclaration>("1.0", "UTF-8", "").release());
  auto root = std::make_unique<TiXmlElement>("DeviceConfiguration");
  saveCalibration(root.get(), false, false, XMLFormat::Current);
  document.LinkEndChild(root.release());
  AR_LOGF(Common::Logger::DEBUG, kSource, "Saving camera calibration to %s", filename.c_str());
  return trySave(document, filename);
}

#define AR_INSTANTIATE(P)                                                                     \
  template std::unique_ptr<TiXmlElement> FullCamera<P>::toXMLNode(bool, XMLFormat, bool, int) \
      const;                                                                                  \
  template void FullStereoCameraCalibration<P>::saveCalibration(TiXmlElement*, bool, bool,    \
                                                                XMLFormat) const;             \
  template bool FullStereoCameraCalibration<P>::saveCalibration(const std::string&) const;
AR_INSTANTIATE(float)
AR_INSTANTIATE(double)
#undef AR_INSTANTIATE

}  // namespace AR::CV
