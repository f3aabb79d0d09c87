// What the classes offer of calibration documents.

#include "AR/CV/Camera/Camera.h"
#include "AR/CV/Camera/StereoCamera.h"
#include "AR/Common/Logger.h"
#include "AR/Common/Macros.h"
#include "Attribute.h"
#include "RigFile.h"

namespace AR::CV {

using Common::ConfigNode;
using RigFile::kSource;

template <typename P>
std::unique_ptr<TiXmlElement> Camera<P>::toXMLNode(const XMLFormat format) const {
  return RigFile::calibrationElement(mModel, format);
}

template <typename P>
std::unique_ptr<TiXmlElement> FullCamera<P>::toXMLNode(const bool useLieElement,
                                                       const XMLFormat format,
                                                       const bool writeNameAndId,
                                                       const int index) const {
  AR_CHECK(mCamId.isInit(), "mCamId.isInit()", kSource);
  auto camera = std::make_unique<TiXmlElement>("Camera");
  RigFile::writeNames(mCamId, writeNameAndId, index, *camera);
  camera->LinkEndChild(mIntrinsics.toXMLNode(format).release());
  camera->LinkEndChild(RigFile::rigElement(mCamReferenceToLocal, useLieElement).release());
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
  const std::string document = RigFile::documentText(*this);
  AR_LOGF(Common::Logger::DEBUG, kSource, "Saving camera calibration to %s", filename.c_str());
  return RigFile::trySave(document, filename);
}

template <typename P>
bool FullStereoCameraCalibration<P>::loadCameraCalibFromDeviceConfig(
    const ConfigNode& deviceNode, const Common::ArrayView<const CamImageId> camIds,
    const bool requireAllIds) {
  const CalibrationInfo& origin = mInfo;
  AR_CHECK(origin.getOrigin() == CalibrationInfo::UNKNOWN,
           "origin.getOrigin() == CalibrationInfo::UNKNOWN", kSource);
  AR_LOGF(Common::Logger::DEBUG, kSource, "deviceNode.getName '%s',  deviceNode.getNumChildren %zu",
          deviceNode.getName().c_str(), deviceNode.getNumChildren());
  return RigFile::RigLoader<P>(*this, camIds).load(deviceNode, requireAllIds);
}

template <typename P>
std::optional<CamModel::CameraModel<P>> FullStereoCameraCalibration<P>::loadOneCamera(
    const ConfigNode& cameraNode, const Common::ArrayView<const CamImageId> camIds) {
  const FullCamera<P>* const camera = RigFile::RigLoader<P>(*this, camIds).loadOne(cameraNode);
  if (camera == nullptr) return std::nullopt;
  return camera->getIntrinsics().getCamModel();
}

template <typename P>
bool FullStereoCameraCalibration<P>::loadCaptureDetails(const ConfigNode& cameraNode,
                                                        CaptureDetails& captureDetails) {
  std::string why;
  return RigFile::readCaptureDetails(cameraNode, captureDetails, why);
}

template <typename P>
bool FullStereoCameraCalibration<P>::loadRollingShutterConfig(const ConfigNode& cameraNode,
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
bool FullStereoCameraCalibration<P>::loadStereoExtrinsics(const ConfigNode& node,
                                                          Math::SE3<P>& pose) {
  std::string why;
  return RigFile::readPose(node, pose, why);
}

template <typename P>
bool FullStereoCameraCalibration<P>::loadTimeAlignment(const ConfigNode& cameraNode,
                                                       double& delta) {
  std::string why;
  return RigFile::readTimeAlignment(cameraNode, delta, why);
}

#define AR_INSTANTIATE(P)                                                                          \
  template std::unique_ptr<TiXmlElement> Camera<P>::toXMLNode(XMLFormat) const;                    \
  template std::unique_ptr<TiXmlElement> FullCamera<P>::toXMLNode(bool, XMLFormat, bool, int)      \
      const;                                                                                       \
  template void FullStereoCameraCalibration<P>::saveCalibration(TiXmlElement*, bool, bool,         \
                                                                XMLFormat) const;                  \
  template bool FullStereoCameraCalibration<P>::saveCalibration(const std::string&) const;         \
  template bool FullStereoCameraCalibration<P>::loadCameraCalibFromDeviceConfig(                   \
      const ConfigNode&, Common::ArrayView<const CamImageId>, bool);                               \
  template std::optional<CamModel::CameraModel<P>> FullStereoCameraCalibration<P>::loadOneCamera(  \
      const ConfigNode&, Common::ArrayView<const CamImageId>);                                     \
  template bool FullStereoCameraCalibration<P>::loadCaptureDetails(const ConfigNode&,              \
                                                                   CaptureDetails&);               \
  template bool FullStereoCameraCalibration<P>::loadRollingShutterConfig(const ConfigNode&, bool&, \
                                                                         P&);                      \
  template bool FullStereoCameraCalibration<P>::loadStereoExtrinsics(const ConfigNode&,            \
                                                                     Math::SE3<P>&);               \
  template bool FullStereoCameraCalibration<P>::loadTimeAlignment(const ConfigNode&, double&);
AR_INSTANTIATE(float)
AR_INSTANTIATE(double)
#undef AR_INSTANTIATE

}  // namespace AR::CV
