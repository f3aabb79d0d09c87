// One camera from its configuration node.

#include "AR/Common/Macros.h"
#include "AttributeTable.h"
#include "CameraModel/ModelFault.h"
#include "RigFile.h"

namespace AR::CV {
namespace RigFile {
namespace {

// Children that may be absent; what they would set is then left as it is.

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
  if (!readModel(cameraNode, model, why) || !readPose(cameraNode, T_local_ref, why)) return false;
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
bool FullStereoCameraCalibration<P>::loadTimeAlignment(const Common::ConfigNode& cameraNode,
                                                       double& delta) {
  std::string why;
  return RigFile::readTimeAlignment(cameraNode, delta, why);
}

#define AR_INSTANTIATE(RIG, P)                                                       \
  template bool RIG::loadCaptureDetails(const Common::ConfigNode&, CaptureDetails&); \
  template bool RIG::loadRollingShutterConfig(const Common::ConfigNode&, bool&, P&); \
  template bool RIG::loadTimeAlignment(const Common::ConfigNode&, double&);
AR_INSTANTIATE(FullStereoCameraCalibration<float>, float)
AR_INSTANTIATE(FullStereoCameraCalibration<double>, double)
#undef AR_INSTANTIATE

}  // namespace AR::CV
