// Squares of 16 x 16 bytes, transposed in registers.

#if defined(RECTILINE_PLAN_TRANSPOSE_INL_H_) == defined(HWY_TARGET_TOGGLE)
#ifdef RECTILINE_PLAN_TRANSPOSE_INL_H_
#undef RECTILINE_PLAN_TRANSPOSE_INL_H_
#else
#define RECTILINE_PLAN_TRANSPOSE_INL_H_
#endif

#include <hwy/highway.h>

#include "plan/BlockTarget.h"

HWY_BEFORE_NAMESPACE();
namespace kel::plan::HWY_NAMESPACE {

namespace hn = hwy::HWY_NAMESPACE;

/// One square in every 16-byte block of a vector.
using Squares = hn::CappedTag<std::uint8_t, 2 * kGroup>;
constexpr int kSquareColumns = static_cast<int>(hn::MaxLanes(Squares()));

/// Column i of all squares, the first of which begins at `columns`.
HWY_INLINE hn::Vec<Squares> loadColumn(const std::uint8_t* columns, int i) {
  const hn::FixedTag<std::uint8_t, kGroup> one;
  const auto first = hn::Load(one, columns + i * kGroup);
#if HWY_ARCH_X86 && HWY_TARGET <= HWY_AVX2
  return hn::Combine(Squares(), hn::Load(one, columns + (kGroup + i) * kGroup), first);
#else
  return first;
#endif
}

/// Interleaving both halves of the rows moves every byte's index by one bit: done four times, it
/// exchanges rows and columns.
template <class V>
HWY_INLINE void transposeSquares(V (&v)[kGroup]) {
  for (int round = 0; round < 4; ++round) {
    V mixed[kGroup];
    for (int i = 0; i < kGroup / 2; ++i) {
      mixed[2 * i] = hn::InterleaveLower(Squares(), v[i], v[i + kGroup / 2]);
      mixed[2 * i + 1] = hn::InterleaveUpper(Squares(), v[i], v[i + kGroup / 2]);
    }
    for (int i = 0; i < kGroup; ++i) v[i] = mixed[i];
  }
}

/// A turned block to its place in the target.
HWY_INLINE void storeSquares(const TurnedBlock& turned, const BlockView& block) {
  int column = 0;
  for (; column + kSquareColumns <= block.columns; column += kSquareColumns) {
    hn::Vec<Squares> v[kGroup];
    for (int i = 0; i < kGroup; ++i) v[i] = loadColumn(turned.pixels + column * kGroup, i);
    transposeSquares(v);
    std::uint8_t* const to = block.target.start + column;
    for (int i = 0; i < kGroup; ++i) {
      if (i < block.rows) hn::StoreU(v[i], Squares(), to + i * block.target.stride);
    }
  }
  storeColumns(turned, block, column, block.columns, 0);
}

}  // namespace kel::plan::HWY_NAMESPACE
HWY_AFTER_NAMESPACE();

#endif
