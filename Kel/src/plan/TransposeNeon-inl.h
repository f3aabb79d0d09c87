// Squares of 8 x 8 bytes, transposed in registers.

#if defined(RECTILINE_PLAN_TRANSPOSE_NEON_INL_H_) == defined(HWY_TARGET_TOGGLE)
#ifdef RECTILINE_PLAN_TRANSPOSE_NEON_INL_H_
#undef RECTILINE_PLAN_TRANSPOSE_NEON_INL_H_
#else
#define RECTILINE_PLAN_TRANSPOSE_NEON_INL_H_
#endif

#include <arm_neon.h>
#include <hwy/highway.h>

#include "plan/BlockTarget.h"

HWY_BEFORE_NAMESPACE();
namespace kel::plan::HWY_NAMESPACE {

constexpr int kSquare = 8;

/// Exchanges the off-diagonal quarters of all 2 x 2 matrices of bytes, of pairs, then of fours.
HWY_INLINE void transposeSquare(uint8x8_t (&v)[kSquare]) {
  for (int i = 0; i < kSquare; i += 2) {
    const uint8x8x2_t t = vtrn_u8(v[i], v[i + 1]);
    v[i] = t.val[0];
    v[i + 1] = t.val[1];
  }
  for (const int i : {0, 1, 4, 5}) {
    const uint16x4x2_t t = vtrn_u16(vreinterpret_u16_u8(v[i]), vreinterpret_u16_u8(v[i + 2]));
    v[i] = vreinterpret_u8_u16(t.val[0]);
    v[i + 2] = vreinterpret_u8_u16(t.val[1]);
  }
  for (int i = 0; i < kSquare / 2; ++i) {
    const uint32x2x2_t t = vtrn_u32(vreinterpret_u32_u8(v[i]), vreinterpret_u32_u8(v[i + 4]));
    v[i] = vreinterpret_u8_u32(t.val[0]);
    v[i + 4] = vreinterpret_u8_u32(t.val[1]);
  }
}

/// A turned block to its place in the target.
HWY_INLINE void storeSquares(const TurnedBlock& turned, const BlockView& block) {
  const int wholeColumns = block.columns / kSquare * kSquare;
  const int wholeRows = block.rows / kSquare * kSquare;
  for (int row = 0; row < wholeRows; row += kSquare) {
    for (int column = 0; column < wholeColumns; column += kSquare) {
      uint8x8_t v[kSquare];
      for (int i = 0; i < kSquare; ++i) {
        v[i] = vld1_u8(turned.pixels + (column + i) * kGroup + row);
      }
      transposeSquare(v);
      std::uint8_t* to = block.target.start + row * block.target.stride + column;
      for (int i = 0; i < kSquare; ++i, to += block.target.stride) vst1_u8(to, v[i]);
    }
  }
  storeColumns(turned, block, wholeColumns, block.columns, 0);
  storeColumns(turned, block, 0, wholeColumns, wholeRows);
}

}  // namespace kel::plan::HWY_NAMESPACE
HWY_AFTER_NAMESPACE();

#endif
