#include "Rig.h"

#include <filesystem>

#include "AR/Common/ConfigNode.h"
#include "Error.h"
#include "LibraryLog.h"

namespace rectiline::tool {
namespace {

[[noreturn]] void fail(const std::string& file, const std::string& what, const LibraryLog& log) {
  const std::string reason = log.firstError();
  throw Error(file + ": " + what + (reason.empty() ? "" : " (" + reason + ")"));
}

}  // namespace

Rig loadRig(const std::string& file, std::size_t minCameras) {
  if (!std::filesystem::exists(file)) throw Error(file + ": no such file");
  const LibraryLog log;
  AR::Common::ConfigNode config;
  if (!config.setFromXMLFile(file.c_str())) fail(file, "not a well-formed XML file", log);
  if (config.getName() != "DeviceConfiguration") {
    throw Error(file + ": not a device configuration, its root is <" + config.getName() + ">");
  }
  Rig rig(AR::CV::CalibrationInfo(AR::CV::CalibrationInfo::UNKNOWN, 0));
  if (!rig.loadCameraCalibFromDeviceConfig(config, {}, false)) {
    fail(file, "cannot be loaded as a rig", log);
  }
  if (rig.size() < minCameras) throw Error(file + ": has no two cameras");
  return rig;
}

DeviceCalibrationZEL deviceRecord(const Rig& rig) {
  DeviceCalibrationZEL device{};
  const AR::Math::SE3<double> T_ol_ref = rig.at(0).getCamReferenceToLocal();
  for (std::size_t i = 0; i < rig.size(); ++i) device.cameras[i] = rig.at(i).toIdl(T_ol_ref);
  device.cameras[0].pose = {{0, 0, 0, 1}, {0, 0, 0}};
  device.num_cameras = static_cast<std::int32_t>(rig.size());
  return device;
}

DeviceCalibrationZEL pairRecord(const Rig& rig) {
  DeviceCalibrationZEL device = deviceRecord(rig);
  device.num_cameras = 2;
  return device;
}

}  // namespace rectiline::tool
