#include "plan/ChainBuilder.h"

#include <limits>

namespace kel::plan {
namespace {

Place behind(Place place, int columns) {
  return {place.row, static_cast<std::uint16_t>(place.column + columns)};
}

bool isSame(Place a, Place b) { return a.row == b.row && a.column == b.column; }

}  // namespace

ChainBuilder::ChainBuilder(PlanContent& content) : mContent(content) {}

void ChainBuilder::add(const Positions& positions, int first, int count, Place target) {
  for (int i = 0; i < count; ++i) {
    if (positions.isInside[first + i] != 0) {
      addLink(positions, first + i, behind(target, i));
    } else {
      addSpan(1, behind(target, i));
    }
  }
}

void ChainBuilder::addSpan(int count, Place target) {
  const bool isFirst = mContent.spans.size() == mContent.blocks.back().firstSpan;
  if (!isFirst &&
      isSame(behind(mContent.spans.back().target, mContent.spans.back().count), target)) {
    mContent.spans.back().count = static_cast<std::uint16_t>(mContent.spans.back().count + count);
  } else {
    mContent.spans.push_back({target, static_cast<std::uint16_t>(count)});
  }
}

void ChainBuilder::addLink(const Positions& positions, int i, Place target) {
  const PlanLayout& layout = mContent.layout;
  const std::int64_t column = std::int64_t{mContent.channels} * positions.left[i];
  const std::int64_t offset = positions.top[i] * std::int64_t{layout.stride} + column;
  const bool isAtEnd =
      column + linkBytes(mContent.channels) > std::int64_t{mContent.channels} * layout.width;
  if (!canJoin(offset, isAtEnd, target)) {
    mContent.chains.push_back({offset, mContent.links.size(), target, 0, isAtEnd});
    mLastOffset = offset;
  }
  ++mContent.chains.back().count;
  mContent.links.push_back({static_cast<std::int16_t>(offset - mLastOffset),
                            positions.weightRight[i], positions.weightLower[i]});
  if (mContent.hasGains) mContent.linkGains.push_back(positions.gain[i]);
  mLastOffset = offset;
}

bool ChainBuilder::canJoin(std::int64_t offset, bool isAtEnd, Place target) const {
  if (mContent.chains.size() == mContent.blocks.back().firstChain) return false;
  const Chain& last = mContent.chains.back();
  const std::int64_t step = offset - mLastOffset;
  return isSame(behind(last.target, last.count), target) && (last.isAtEnd != 0) == isAtEnd &&
         step >= std::numeric_limits<std::int16_t>::min() &&
         step <= std::numeric_limits<std::int16_t>::max();
}

}  // namespace kel::plan
