#pragma once

#include <cstddef>

#include "VIO/quality/MapView.h"
#include "rectiline/CalibrationRecords.h"

namespace VIO {

/// When each target pixel was exposed by a rolling shutter: (source row - rs_center_row) times the
/// line time, seconds; 0 for a global shutter. Pixels without a source, or with a broken position,
/// get NaN.
/// @param seconds  a value per pixel, rows `stride` floats apart; may not overlap the maps
void writeRowTimes(const CameraCalibrationZEL& camera, const MapView& map, float* seconds,
                   std::ptrdiff_t stride);

}  // namespace VIO
