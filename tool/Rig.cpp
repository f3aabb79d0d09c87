#include "Rig.h"

#include "Calls.h"

namespace rectiline::tool {

DeviceCalibrationZEL loadRig(const std::string& file, int minCameras) {
  DeviceCalibrationZEL device;
  check(rectiline_rig_from_file(file.c_str(), &device));
  if (device.num_cameras < minCameras)
    throw Error(file + ": has only one camera, a pair needs two");
  return device;
}

void saveRig(const std::string& file, const DeviceCalibrationZEL& device) {
  check(rectiline_rig_to_file(&device, file.c_str()));
}

}  // namespace rectiline::tool
