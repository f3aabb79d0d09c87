#include <gtest/gtest.h>

#include <algorithm>
#include <atomic>
#include <vector>

#include "AR/Common/RowBands.h"

namespace AR::Common {
namespace {

/// Whether every row of an image, and of two that are made with it, came in exactly one band.
bool coversEachRowOnce(int rows, int width) {
  const ImageRows images[] = {{rows, width}, {7, 90'000}, {rows / 2, width}};
  std::vector<std::atomic<int>> visits(static_cast<std::size_t>(rows + 7 + rows / 2));
  forEachRowBand(images, [&](std::size_t image, int first, int end) {
    const int before = image == 0 ? 0 : image == 1 ? rows : rows + 7;
    for (int y = first; y < end; ++y) ++visits.at(static_cast<std::size_t>(before + y));
  });
  return std::all_of(visits.begin(), visits.end(), [](const auto& n) { return n == 1; });
}

TEST(RowBands, CoverEachRowOnceWhateverTheSize) {
  for (const int rows : {0, 1, 2, 15, 16, 17, 31, 33, 1000, 1921}) {
    for (const int width : {1, 640, INT32_MAX}) {
      EXPECT_TRUE(coversEachRowOnce(rows, width)) << rows << " " << width;
    }
  }
}

}  // namespace
}  // namespace AR::Common
