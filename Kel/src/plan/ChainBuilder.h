#pragma once

#include "plan/PlanContent.h"
#include "plan/Positions.h"

namespace kel::plan {

/// Appends pixels to a plan one by one. What follows in the target, and near in the source, joins
/// the chain or span before it, if that is of the same block.
class ChainBuilder {
 public:
  explicit ChainBuilder(PlanContent& content);

  /// `count` pixels of a square, from pixel `first` on; those without a source too.
  void add(const Positions& positions, int first, int count, Place target);

  /// Pixels without a source.
  void addSpan(int count, Place target);

 private:
  void addLink(const Positions& positions, int i, Place target);
  [[nodiscard]] bool canJoin(std::int64_t offset, bool isAtEnd, Place target) const;

  PlanContent& mContent;
  std::int64_t mLastOffset = 0;
};

}  // namespace kel::plan
