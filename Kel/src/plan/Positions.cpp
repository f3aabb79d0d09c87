// Decides positions, 16 at a time, by the functions that decide for every remap. The loops are
// plain; compiled for every instruction set, they become vector code.

#include "plan/Positions.h"

#include <algorithm>
#include <cstring>

#include "bilinear.h"
#include "plan/Arithmetic.h"

#undef HWY_TARGET_INCLUDE
#define HWY_TARGET_INCLUDE "plan/Positions.cpp"
#include <hwy/foreach_target.h>
#include <hwy/highway.h>

HWY_BEFORE_NAMESPACE();
namespace kel::plan::HWY_NAMESPACE {

/// Along one axis: the first neighbour and the weight of the second.
HWY_INLINE void findAxis(const float* p, const std::uint8_t* inside, int size,
                         std::int32_t* HWY_RESTRICT first, std::uint8_t* HWY_RESTRICT weight) {
  const int last = std::max(size - 2, 0);
  alignas(64) std::int32_t weights[kGroup];
  for (int i = 0; i < kGroup; ++i) {
    const Neighbours n = neighboursOf(inside[i] != 0 ? p[i] : 0.0F, size);
    first[i] = std::min(n.i0, last);
    weights[i] = n.i0 > last ? kFullWeight : toWeight(n.weight1);
  }
  for (int i = 0; i < kGroup; ++i) weight[i] = static_cast<std::uint8_t>(weights[i]);
}

HWY_INLINE void findGroup(const float* x, const float* y, int width, int height, int first,
                          Positions& positions) {
  std::uint8_t* const inside = positions.isInside + first;
  for (int i = 0; i < kGroup; ++i) {
    // Both are looked at, so that there is no branch.
    inside[i] = static_cast<std::uint8_t>(int{isInside(x[i], width)} & int{isInside(y[i], height)});
  }
  findAxis(x, inside, width, positions.left + first, positions.weightRight + first);
  findAxis(y, inside, height, positions.top + first, positions.weightLower + first);
}

void findRowSimd(const float* x, const float* y, int count, int width, int height, int row,
                 Positions& positions) {
  if (count == kGroup) return findGroup(x, y, width, height, row * kGroup, positions);
  float padded[2][kGroup];
  for (auto& plane : padded) std::fill_n(plane, kGroup, -1.0F);
  std::copy_n(x, count, padded[0]);
  std::copy_n(y, count, padded[1]);
  findGroup(padded[0], padded[1], width, height, row * kGroup, positions);
}

}  // namespace kel::plan::HWY_NAMESPACE
HWY_AFTER_NAMESPACE();

#if HWY_ONCE
namespace kel::plan {
namespace {

template <typename T>
void transposePlane(const T* from, T* to) {
  for (int i = 0; i < kGroup; ++i) {
    for (int j = 0; j < kGroup; ++j) to[i * kGroup + j] = from[j * kGroup + i];
  }
}

}  // namespace

HWY_EXPORT(findRowSimd);

void findRow(const float* x, const float* y, int count, int width, int height, int row,
             Positions& positions) {
  HWY_DYNAMIC_DISPATCH(findRowSimd)(x, y, count, width, height, row, positions);
}

void transpose(const Positions& from, Positions& to) {
  transposePlane(from.left, to.left);
  transposePlane(from.top, to.top);
  transposePlane(from.weightRight, to.weightRight);
  transposePlane(from.weightLower, to.weightLower);
  transposePlane(from.isInside, to.isInside);
  transposePlane(from.gain, to.gain);
}

}  // namespace kel::plan
#endif
