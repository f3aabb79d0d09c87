#pragma once

#include <algorithm>
#include <cstdint>
#include <system_error>

#include "AR/Common/WorkerPool.h"

namespace AR::Common {

/// Work on fewer pixels than this stays on the caller's thread. With vector kernels a 640 x 480 map
/// takes about as long as waking the workers; 960 x 720 is where two processors begin to pay.
inline constexpr std::int64_t kMinPixelsForBands = 600'000;

/// Calls f(firstRow, endRow) for bands of rows that make up [0, rows) together: one band on the
/// caller's thread for a small image or where the system gives no threads, otherwise several on the
/// worker pool, while the caller waits. `f` must only touch what belongs to its rows, and not
/// throw.
template <typename F>
void forEachRowBand(int rows, int width, F&& f) {
  // More bands than workers: rows differ in their cost, and whoever is done takes the next band.
  constexpr int kBands = 4 * WORKERPOOL_DEFAULT_WORKERS;
  if (static_cast<std::int64_t>(rows) * width < kMinPixelsForBands) return f(0, rows);
  const int step = (rows - 1) / kBands + 1;
  const auto band = [&f, rows, step](unsigned i) {
    const int first = static_cast<int>(i) * step;
    f(first, first + std::min(step, rows - first));
  };
  try {
    WorkerPools::dispatch(band, static_cast<unsigned>((rows - 1) / step + 1));
  } catch (const std::system_error&) {
    f(0, rows);
  }
}

}  // namespace AR::Common
