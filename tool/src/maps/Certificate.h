#pragma once

#include <nlohmann/json.hpp>

#include "maps/Maps.h"

namespace rectiline::tool {

/// Measures rectification maps against the exact formulas of a device. Throws Error.
rectiline_certificate certify(const PairMaps& maps, const DeviceCalibrationZEL& truth);

void printCertificate(const rectiline_certificate& c);
nlohmann::ordered_json toJson(const rectiline_certificate& c);

}  // namespace rectiline::tool
