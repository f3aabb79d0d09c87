#pragma once

#include <string>

#include "rectiline/CalibrationRecords.h"

namespace rectiline::tool {

/// Writes the cameras of a device as a rig file of the library's own format. Throws Error.
void saveRig(const std::string& path, const DeviceCalibrationZEL& device);

}  // namespace rectiline::tool
