#pragma once

#include <cstddef>
#include <cstdint>
#include <vector>

#include "AR/CV/Camera/Hermite.h"

namespace AR::CV {

/// A private copy of a camera's spline in the order in which vector code reads it, at most 16 KB.
///
/// Bin i holds the cubic c0 + d (c1 + d (c2 + c3 d)) with d = x - i binWidth, for x from 0 on.
class SplineTable {
 public:
  static constexpr std::size_t kMaxBins = 1024;
  /// Bins that a window spans; planar tables have at least so many.
  static constexpr std::size_t kWindow = 32;

  enum class Layout {
    Interleaved,  ///< c0 c1 c2 c3 of a bin side by side: one load per bin
    Planar,       ///< all c0, then all c1, ...: one load for the c0 of neighbouring bins
  };

  SplineTable() = default;
  SplineTable(const HermiteSplineInterpolation<float>& spline, Layout layout);

  /// False for a spline whose bins this form cannot hold: none, too many, or not at i binWidth.
  [[nodiscard]] bool isUsable() const { return !mCells.empty(); }

  /// The coefficients, aligned to a cache line.
  [[nodiscard]] const float* data() const { return mCells.front().values; }
  /// Values between c0 and c1 of the same bin in a planar table; a multiple of 16.
  [[nodiscard]] std::int32_t stride() const { return mStride; }
  [[nodiscard]] bool isPlanar() const { return mStride > 1; }
  [[nodiscard]] std::int32_t lastBin() const { return mLastBin; }
  [[nodiscard]] float binWidth() const { return mBinWidth; }
  [[nodiscard]] float invBinWidth() const { return mInvBinWidth; }
  [[nodiscard]] float rangeMax() const { return mRangeMax; }

 private:
  struct alignas(64) CacheLine {
    float values[16];
  };

  std::vector<CacheLine> mCells;
  std::int32_t mStride = 0;
  std::int32_t mLastBin = 0;
  float mBinWidth = 0;
  float mInvBinWidth = 0;
  float mRangeMax = 0;
};

}  // namespace AR::CV
