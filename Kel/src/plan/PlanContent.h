#pragma once

// What a plan holds.
//
// The target is cut into blocks of kBlockRows rows. Within a block, pixels are looked after in
// groups of 16: neighbours along a row, or, in a plan that is turned, along a column, whichever
// stays in fewer rows of the source; the bytes of a turned block are gathered and then transposed.
// Groups of one kind follow each other, since what decides about a kind once per group is
// mispredicted:
//
//   pairs   two windows of the source, 16 pixels by 3 rows, hold the neighbours of 8 pixels each
//   quads   four windows hold those of 4 pixels each
//   chains  any other pixels, one by one, and all those of images with several channels
//   spans   pixels without a source
//
// Windows lie inside the source, which has at least their size: otherwise there are chains only.
// Records hold 4 bytes a pixel: its place in its window, and two weights (see Arithmetic.h).

#include <cstddef>
#include <cstdint>
#include <vector>

#include "Kel/RemapPlan.h"

namespace kel {
namespace plan {

inline constexpr int kGroup = 16;  // pixels
inline constexpr int kWindowColumns = 16;
inline constexpr int kWindowRows = 3;
inline constexpr int kBlockRows = kGroup;
inline constexpr int kBlockColumns = 4096;  // at least; the last block of a row takes the rest
inline constexpr int kTurnedBlockColumns = 1024;  // likewise; a block's bytes are put on the stack
inline constexpr int kMaxTurnedBlock = 2 * kTurnedBlockColumns - 1;

/// Where a group goes: rows and columns from its block's first pixel. In a turned block, row 0 and
/// 16 times the column.
struct Place {
  std::uint16_t row;
  std::uint16_t column;
};

/// Of every pixel of a group: its left upper neighbour is kWindowColumns * row + column of its
/// window, row being 0 or 1 and column at most kWindowColumns - 2.
struct Lookup {
  std::uint8_t place[kGroup];
  std::uint8_t weightRight[kGroup];
  std::uint8_t weightLower[kGroup];
};

struct PairRecord {
  std::uint32_t windows[2];  // bytes from the source's first one
  Place target;
  std::uint16_t valid;  // bit i: pixel i has a source
  std::uint16_t unused;
  Lookup lookup;
};

struct QuadRecord {
  std::uint32_t windows[4];
  Lookup lookup;
  Place target;
  std::uint16_t valid;
  std::uint16_t unused[5];
};

static_assert(sizeof(PairRecord) == 64 && sizeof(QuadRecord) == 80);

/// The next pixel of a chain: `step` bytes behind the one before it.
struct Link {
  std::int16_t step;
  std::uint8_t weightRight;
  std::uint8_t weightLower;
};

/// What vector code reads at once of a row of a chain's pixel, which may be more than two pixels.
inline int linkBytes(int channels) { return channels == 1 ? 2 : 8; }

/// Pixels that follow each other in the target.
struct Chain {
  std::int64_t
      start;  // bytes from the source's first one to the first pixel's left upper neighbour
  std::size_t firstLink;
  Place target;
  std::uint16_t count;
  std::uint16_t isAtEnd;  // fewer than linkBytes() can be read there
};

/// Pixels that follow each other in the target and have no source.
struct Span {
  Place target;
  std::uint16_t count;
};

/// Where a block's parts begin; they end where those of the next begin.
struct Block {
  std::size_t firstPair = 0;        // all pixels have a source
  std::size_t firstMaskedPair = 0;  // not all
  std::size_t firstQuad = 0;
  std::size_t firstChain = 0;
  std::size_t firstSpan = 0;
};

}  // namespace plan

struct PlanContent {
  PlanLayout layout;
  int channels;
  int width;  // of the target
  int height;
  bool isTurned;
  int blockColumns;  // blocks beside each other
  int blockRows;
  std::ptrdiff_t ahead;  // from what a block looks up to what the block below it does, bytes
  std::vector<plan::PairRecord> pairs;
  std::vector<plan::PairRecord> maskedPairs;
  std::vector<plan::QuadRecord> quads;
  std::vector<plan::Chain> chains;
  std::vector<plan::Link> links;
  std::vector<plan::Span> spans;
  std::vector<plan::Block> blocks;  // by blockIndex(), and one behind the last

  /// Of a plan with gains: 16 for every record and one for every link, in 2^-gainShift.
  bool hasGains;
  int gainShift;  // 8 to 15
  std::vector<std::uint16_t> pairGains;
  std::vector<std::uint16_t> maskedPairGains;
  std::vector<std::uint16_t> quadGains;
  std::vector<std::uint16_t> linkGains;

  /// From a pixel to its right and lower neighbour, bytes; 0 in a source of one column or row.
  [[nodiscard]] std::ptrdiff_t rightStep() const { return layout.width > 1 ? channels : 0; }
  [[nodiscard]] std::ptrdiff_t lowerStep() const { return layout.height > 1 ? layout.stride : 0; }

  /// Whether source and target are such that groups have windows.
  [[nodiscard]] bool canHaveWindows() const {
    const std::int64_t lastRow = (layout.height - 1) * std::int64_t{layout.stride};
    return channels == 1 && layout.width >= plan::kWindowColumns &&
           layout.height >= plan::kWindowRows && lastRow + layout.width <= std::int64_t{UINT32_MAX};
  }
  /// Whether blocks are made column by column and then transposed.
  [[nodiscard]] bool gathersColumns() const { return isTurned && canHaveWindows(); }

  [[nodiscard]] int columnsPerBlock() const {
    return isTurned ? plan::kTurnedBlockColumns : plan::kBlockColumns;
  }
  /// Where a block is among all, in the order in which they are applied.
  [[nodiscard]] std::size_t blockIndex(int row, int column) const {
    return isTurned ? static_cast<std::size_t>(column) * static_cast<std::size_t>(blockRows) +
                          static_cast<std::size_t>(row)
                    : static_cast<std::size_t>(row) * static_cast<std::size_t>(blockColumns) +
                          static_cast<std::size_t>(column);
  }
  /// Calls f(row, column) for all blocks in rows [first, end), in the order of blockIndex().
  template <typename F>
  void forEachBlock(int first, int end, F&& f) const {
    const int outer = isTurned ? blockColumns : end - first;
    const int inner = isTurned ? end - first : blockColumns;
    for (int i = 0; i < outer; ++i) {
      for (int j = 0; j < inner; ++j) isTurned ? f(first + j, i) : f(first + i, j);
    }
  }
  /// Columns of the target in a block of column `i`.
  [[nodiscard]] int blockWidth(int i) const {
    return i + 1 < blockColumns ? columnsPerBlock() : width - i * columnsPerBlock();
  }
};

}  // namespace kel
