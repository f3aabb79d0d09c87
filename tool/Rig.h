#pragma once

#include <string>

#include "AR/CV/Camera/StereoCamera.h"
#include "rectiline/CalibrationRecords.h"

namespace rectiline::tool {

using Rig = AR::CV::FullStereoCameraCalibration<double>;

/// Loads a device configuration with at least two cameras. Throws Error with the library's reason.
Rig loadRig(const std::string& file);

/// The first two cameras as a device record relative to the left one, whose pose is exactly the
/// identity.
DeviceCalibrationZEL pairRecord(const Rig& rig);

}  // namespace rectiline::tool
