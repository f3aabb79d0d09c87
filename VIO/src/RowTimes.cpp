// When each pixel of a mapped image was exposed.

#include <limits>

#include "MapPosition.h"
#include "VIO/MapQuality.h"

bool CreateRowTimePlane(const CameraCalibrationZEL* camera, const float* mapX, const float* mapY,
                        std::uint32_t count, float* seconds) {
  if (camera == nullptr || mapX == nullptr || mapY == nullptr || seconds == nullptr) return false;
  constexpr double kSecondsPerNanosecond = 1e-9;
  const double lineTime = static_cast<double>(camera->line_time_ns) * kSecondsPerNanosecond;
  const double centerRow = camera->rs_center_row;
  for (std::uint32_t i = 0; i < count; ++i) {
    seconds[i] = VIO::hasSource(mapX[i], mapY[i])
                     ? static_cast<float>((static_cast<double>(mapY[i]) - centerRow) * lineTime)
                     : std::numeric_limits<float>::quiet_NaN();
  }
  return true;
}
