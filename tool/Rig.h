#pragma once

#include <string>

#include "rectiline/CalibrationRecords.h"

namespace rectiline::tool {

/// Loads a device configuration with at least `minCameras` cameras, 1 or 2. Throws Error with the
/// library's reason.
DeviceCalibrationZEL loadRig(const std::string& file, int minCameras);

/// Writes the cameras of a device as such a file. Throws Error.
void saveRig(const std::string& file, const DeviceCalibrationZEL& device);

}  // namespace rectiline::tool
