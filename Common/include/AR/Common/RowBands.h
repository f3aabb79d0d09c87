#pragma once

#include <algorithm>
#include <cstdint>

#include "AR/Common/WorkerPool.h"

namespace AR::Common {

/// Work on fewer pixels than this stays on the caller's thread: waking the workers costs as much.
inline constexpr std::int64_t kMinPixelsForBands = 600'000;

/// Calls f(firstRow, endRow) for bands of rows that make up [0, rows) together: one band on the
/// caller's thread for a small image, otherwise several on the worker pool, while the caller waits.
/// The bands depend on the size alone. `f` must only touch what belongs to its rows.
template <typename F>
void forEachRowBand(int rows, int width, F&& f) {
  constexpr int kBands = 4 * WORKERPOOL_DEFAULT_WORKERS;
  if (static_cast<std::int64_t>(rows) * width < kMinPixelsForBands) return f(0, rows);
  const int step = std::max(1, (rows + kBands - 1) / kBands);
  const auto band = [&f, rows, step](unsigned i) {
    const int first = static_cast<int>(i) * step;
    f(first, std::min(first + step, rows));
  };
  WorkerPools::dispatch(band, static_cast<unsigned>((rows + step - 1) / step));
}

}  // namespace AR::Common
