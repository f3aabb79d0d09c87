#include <gtest/gtest.h>

#include <algorithm>
#include <atomic>
#include <thread>
#include <vector>

#include "AR/Common/RowBands.h"

namespace AR::Common {
namespace {

/// Whether every row of an image came in exactly one band.
bool coversEachRowOnce(int rows, int width) {
  std::vector<std::atomic<int>> visits(static_cast<std::size_t>(rows));
  forEachRowBand(rows, width, [&](int first, int end) {
    for (int y = first; y < end; ++y) ++visits.at(static_cast<std::size_t>(y));
  });
  return std::all_of(visits.begin(), visits.end(), [](const auto& n) { return n == 1; });
}

TEST(RowBands, CoverEachRowOnceWhateverTheSizeAndWhoeverCalls) {
  constexpr int kRows[] = {0, 1, 2, 15, 16, 17, 31, 33, 1000, 1921};
  std::atomic<int> failures{0};
  std::vector<std::thread> callers;
  for (int i = 0; i < 8; ++i) {
    callers.emplace_back([&] {
      for (const int rows : kRows) {
        for (const int width : {1, 640, INT32_MAX}) {
          failures += coversEachRowOnce(rows, width) ? 0 : 1;
        }
      }
    });
  }
  for (std::thread& caller : callers) caller.join();
  EXPECT_EQ(failures, 0);
}

}  // namespace
}  // namespace AR::Common
