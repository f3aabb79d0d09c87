#pragma once

#include <cmath>
#include <cstddef>
#include <cstdint>
#include <vector>

#include "Calls.h"

namespace rectiline::capi::testing {

/// A map and its planes. The rows lie apart, and what lies between them must stay as it was: that
/// is seen to when the map goes.
class OwnMap {
 public:
  OwnMap(int width, int height)
      : mWidth(width),
        mRow(static_cast<std::size_t>(width + kGap)),
        x(mRow * static_cast<std::size_t>(height), NAN),
        y(x),
        reasons(x.size(), kNoReason) {
    map.width = width;
    map.height = height;
    map.x = x.data();
    map.y = y.data();
    map.stride = mRow * sizeof(float);
    map.reasons = reasons.data();
    map.reasons_stride = mRow;
  }
  explicit OwnMap(const rectiline_view& view) : OwnMap(view.width, view.height) {}
  OwnMap(const OwnMap&) = delete;
  OwnMap& operator=(const OwnMap&) = delete;
  ~OwnMap() {
    bool isUntouched = true;
    for (std::size_t i = 0; i < x.size(); ++i) {
      const bool isGap = i % mRow >= static_cast<std::size_t>(mWidth);
      const bool asItWas = std::isnan(x[i]) && std::isnan(y[i]) && reasons[i] == kNoReason;
      isUntouched = isUntouched && (asItWas || !isGap);
    }
    EXPECT_TRUE(isUntouched) << "between the rows";
  }

  [[nodiscard]] std::size_t index(int column, int row) const {
    return static_cast<std::size_t>(row) * mRow + static_cast<std::size_t>(column);
  }
  void set(int column, int row, float sourceX, float sourceY) {
    x[index(column, row)] = sourceX;
    y[index(column, row)] = sourceY;
  }

  /// A plane's rows, one after the other.
  template <typename T>
  [[nodiscard]] std::vector<T> dense(const std::vector<T>& plane) const {
    std::vector<T> rows;
    for (std::size_t i = 0; i < plane.size(); i += mRow) {
      rows.insert(rows.end(), &plane[i], &plane[i] + mWidth);
    }
    return rows;
  }

 private:
  static constexpr int kGap = 3;  // elements
  static constexpr std::uint8_t kNoReason = 77;

  int mWidth;
  std::size_t mRow;

 public:
  std::vector<float> x, y;
  std::vector<std::uint8_t> reasons;
  rectiline_map map = sized<rectiline_map>();
};

/// A map of a refused call: without a source and without a reason.
inline void expectNotMade(const OwnMap& map) {
  const std::vector<float> none(map.dense(map.x).size(), -1);
  EXPECT_TRUE(map.dense(map.x) == none && map.dense(map.y) == none);
  const std::vector<std::uint8_t> notMade(none.size(), RECTILINE_PIXEL_NOT_MADE);
  EXPECT_EQ(map.dense(map.reasons), notMade);
}

}  // namespace rectiline::capi::testing
