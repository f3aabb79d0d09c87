#include "VIO/quality/RowTimes.h"

#include <limits>

namespace VIO {

void writeRowTimes(const CameraCalibrationZEL& camera, const MapView& map, float* seconds,
                   std::ptrdiff_t stride) {
  constexpr double kSecondsPerNanosecond = 1e-9;
  const double lineTime = static_cast<double>(camera.line_time_ns) * kSecondsPerNanosecond;
  const double centerRow = camera.rs_center_row;
  for (int y = 0; y < map.height; ++y) {
    for (int x = 0; x < map.width; ++x) {
      seconds[y * stride + x] =
          map.hasSource(x, y) ? static_cast<float>((map.source(x, y)(1) - centerRow) * lineTime)
                              : std::numeric_limits<float>::quiet_NaN();
    }
  }
}

}  // namespace VIO
