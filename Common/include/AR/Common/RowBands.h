#pragma once

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <span>

#include "AR/Common/WorkerPool.h"

namespace AR::Common {

/// Work on fewer pixels than this, of all images together, stays on the caller's thread. With
/// vector kernels a 640 x 480 map takes about as long as waking the workers; 960 x 720 is where two
/// processors begin to pay.
inline constexpr std::int64_t kMinPixelsForBands = 600'000;

/// What there is of one image.
struct ImageRows {
  int rows;
  int width;
};

/// Calls f(image, firstRow, endRow) for bands of rows that make up all rows of all images together:
/// image after image on the caller's thread where they are small, otherwise in several bands each
/// on the worker pool, while the caller waits. `f` must only touch what belongs to its rows. What
/// it throws is thrown to the caller; rows that were not begun then are left out.
/// @param images  at least one
template <typename F>
void forEachRowBand(std::span<const ImageRows> images, F&& f) {
  // More bands than workers: rows differ in their cost, and whoever is done takes the next band.
  const int bands = std::max(4 * WORKERPOOL_DEFAULT_WORKERS / static_cast<int>(images.size()), 1);
  std::int64_t pixels = 0;
  for (const ImageRows& image : images) {
    pixels += static_cast<std::int64_t>(image.rows) * image.width;
  }
  if (pixels < kMinPixelsForBands) {
    for (std::size_t i = 0; i < images.size(); ++i) f(i, 0, images[i].rows);
    return;
  }
  const auto band = [&](unsigned item) {
    const std::size_t image = item / static_cast<unsigned>(bands);
    const int rows = images[image].rows;
    const int step = (rows - 1) / bands + 1;
    const std::int64_t first =
        static_cast<std::int64_t>(item % static_cast<unsigned>(bands)) * step;
    if (first < rows)
      f(image, static_cast<int>(first),
        static_cast<int>(std::min<std::int64_t>(first + step, rows)));
  };
  WorkerPools::dispatch(band, static_cast<unsigned>(bands) * static_cast<unsigned>(images.size()));
}

/// The same for one image: calls f(firstRow, endRow).
template <typename F>
void forEachRowBand(int rows, int width, F&& f) {
  const ImageRows image[] = {{rows, width}};
  forEachRowBand(image, [&f](std::size_t, int firstRow, int endRow) { f(firstRow, endRow); });
}

}  // namespace AR::Common
