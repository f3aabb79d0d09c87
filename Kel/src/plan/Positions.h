#pragma once

#include <cstdint>

#include "plan/PlanContent.h"

namespace kel::plan {

/// A square of the target, row by row, pixel by pixel: where its neighbours lie.
struct Positions {
  static constexpr int kCount = kGroup * kGroup;

  alignas(64) std::int32_t left[kCount];  // column of the left neighbours; any where there is none
  alignas(64) std::int32_t top[kCount];   // row of the upper ones
  alignas(64) std::uint8_t weightRight[kCount];
  alignas(64) std::uint8_t weightLower[kCount];
  alignas(64) std::uint8_t isInside[kCount];  // 0 or 1
  alignas(64) std::uint16_t gain[kCount];     // of a plan with gains
};

/// Of a source, pixels.
struct Extent {
  int width;
  int height;
};

/// Positions of kGroup pixels, which become row `row` of the square.
void findGroup(const float* x, const float* y, const Extent& source, int row, Positions& positions);

/// The same by the functions that decide for every remap: the plain form.
void findGroupPlain(const float* x, const float* y, const Extent& source, int row,
                    Positions& positions);

/// Rows become columns.
void transpose(const Positions& positions, Positions& transposed);

}  // namespace kel::plan
