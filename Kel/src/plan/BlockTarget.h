#pragma once

// What the plain and the vector form of a plan's application share: where a block's pixels go.

#include <algorithm>
#include <cstring>

#include "plan/Apply.h"
#include "plan/PlanContent.h"

namespace kel::plan {

/// Memory that the pixels of a block are written to.
struct Sink {
  std::uint8_t* start;
  std::ptrdiff_t stride;
  int channels;

  [[nodiscard]] std::uint8_t* at(Place place) const {
    return start + place.row * stride + std::ptrdiff_t{channels} * place.column;
  }
};

/// One block of a plan: its parts are those from `begin` to `end`.
struct BlockView {
  const Block* begin;
  const Block* end;
  Sink target;
  int columns;
  int rows;
};

inline BlockView blockAt(const PlanContent& plan, const Images& images, int row, int column) {
  const std::size_t i = plan.blockIndex(row, column);
  const std::ptrdiff_t y = std::ptrdiff_t{kBlockRows} * row;
  const std::ptrdiff_t x = std::ptrdiff_t{plan.columnsPerBlock()} * column;
  return {&plan.blocks[i],
          &plan.blocks[i + 1],
          {images.target + y * images.targetStride + plan.channels * x, images.targetStride,
           plan.channels},
          plan.blockWidth(column),
          static_cast<int>(std::min<std::ptrdiff_t>(kBlockRows, plan.height - y))};
}

/// The pixels of a turned block, column by column.
struct TurnedBlock {
  alignas(64) std::uint8_t pixels[kMaxTurnedBlock * kGroup];

  [[nodiscard]] Sink sink() { return {pixels, 0, 1}; }
};

/// Columns [first, end) of a turned block, from a row on, to their place in the target.
inline void storeColumns(const TurnedBlock& turned, const BlockView& block, int first, int end,
                         int firstRow) {
  for (int row = firstRow; row < block.rows; ++row) {
    std::uint8_t* const to = block.target.start + row * block.target.stride;
    for (int i = first; i < end; ++i) to[i] = turned.pixels[i * kGroup + row];
  }
}

/// The border's value for every pixel of a block that has no source.
inline void fillSpans(const PlanContent& plan, const BlockView& block, const Sink& sink) {
  for (std::size_t i = block.begin->firstSpan; i < block.end->firstSpan; ++i) {
    const Span& span = plan.spans[i];
    std::uint8_t* const pixels = sink.at(span.target);
    if (plan.channels == 1) {
      std::memset(pixels, plan.layout.border[0], span.count);
      continue;
    }
    for (int pixel = 0; pixel < span.count; ++pixel) {
      std::copy_n(plan.layout.border, plan.channels, pixels + plan.channels * pixel);
    }
  }
}

}  // namespace kel::plan
