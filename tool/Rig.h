#pragma once

#include <string>

#include "AR/CV/Camera/StereoCamera.h"
#include "rectiline/CalibrationRecords.h"

namespace rectiline::tool {

using Rig = AR::CV::FullStereoCameraCalibration<double>;

/// Loads a device configuration with at least `minCameras` cameras, 1 or 2. Throws Error with the
/// library's reason.
Rig loadRig(const std::string& file, std::size_t minCameras);

/// All cameras as a device record relative to the left one, whose pose is exactly the identity.
DeviceCalibrationZEL deviceRecord(const Rig& rig);

/// The first two cameras of deviceRecord.
DeviceCalibrationZEL pairRecord(const Rig& rig);

}  // namespace rectiline::tool
