// Applies plans with vector instructions: groups in windows by the code for the instruction set at
// hand, and what belongs to all of them.

#include <hwy/cache_control.h>

#include <algorithm>
#include <cstring>

#include "plan/Apply.h"
#include "plan/ApplyPlain.h"
#include "plan/BlockTarget.h"
#include "plan/ChainReader.h"

#undef HWY_TARGET_INCLUDE
#define HWY_TARGET_INCLUDE "plan/ApplySimd.cpp"
#include <hwy/foreach_target.h>
#include <hwy/highway.h>

#undef RECTILINE_PLAN_IS_PLAIN
#if HWY_TARGET == HWY_SCALAR || HWY_TARGET == HWY_EMU128
#define RECTILINE_PLAN_IS_PLAIN
#elif HWY_ARCH_X86
#include "plan/ChainsX86-inl.h"
#include "plan/Transpose-inl.h"
#include "plan/WindowsX86-inl.h"
#elif HWY_ARCH_ARM
#include "plan/Neon-inl.h"
#include "plan/TransposeNeon-inl.h"
#else
#define RECTILINE_PLAN_IS_PLAIN
#endif

HWY_BEFORE_NAMESPACE();
namespace kel::plan::HWY_NAMESPACE {

#ifdef RECTILINE_PLAN_IS_PLAIN

void applyRowsSimd(const PlanContent& plan, const Images& images, int first, int end) {
  applyRowsPlain(plan, images, first, end);
}

#else

/// What all groups of a plan share.
struct Shared {
  const std::uint8_t* source;
  std::ptrdiff_t stride;
  std::ptrdiff_t ahead;
  int gainShift;
  std::uint8_t border;
};

HWY_INLINE Group16 withBorder(Group16 values, unsigned valid, std::uint8_t border) {
  const hn::FixedTag<std::uint8_t, kGroup> u8;
  std::uint8_t bits[8] = {static_cast<std::uint8_t>(valid), static_cast<std::uint8_t>(valid >> 8)};
  return hn::IfThenElse(hn::LoadMaskBits(u8, bits), values, hn::Set(u8, border));
}

/// Fetches what the block below will look up.
HWY_INLINE void prefetchBelow(const Shared& shared, const std::uint8_t* pixel) {
  const auto at = reinterpret_cast<std::uintptr_t>(pixel);
  hwy::Prefetch(
      reinterpret_cast<const std::uint8_t*>(at + static_cast<std::uintptr_t>(shared.ahead)));
}

template <bool isMasked, bool hasGains, class Record>
HWY_INLINE void applyRecords(const Shared shared, const Record* record, const Record* end,
                             const std::uint16_t* gains, const Sink sink) {
  const hn::FixedTag<std::uint8_t, kGroup> u8;
  for (; record != end; ++record) {
    prefetchBelow(shared, shared.source + record->windows[0]);
    Group16 values =
        interpolateGroup<hasGains>(*record, gains, shared.source, shared.stride, shared.gainShift);
    if constexpr (isMasked) values = withBorder(values, record->valid, shared.border);
    hn::StoreU(values, u8, sink.start + record->target.row * sink.stride + record->target.column);
    if constexpr (hasGains) gains += kGroup;
  }
}

template <bool hasGains>
HWY_INLINE void applyWindows(const PlanContent& plan, const Shared& shared, const BlockView& block,
                             const Sink& sink) {
  const Block& begin = *block.begin;
  const Block& end = *block.end;
  const auto gainsAt = [](const std::vector<std::uint16_t>& gains, std::size_t record) {
    return hasGains ? gains.data() + record * kGroup : nullptr;
  };
  applyRecords<false, hasGains>(shared, plan.pairs.data() + begin.firstPair,
                                plan.pairs.data() + end.firstPair,
                                gainsAt(plan.pairGains, begin.firstPair), sink);
  applyRecords<true, hasGains>(shared, plan.maskedPairs.data() + begin.firstMaskedPair,
                               plan.maskedPairs.data() + end.firstMaskedPair,
                               gainsAt(plan.maskedPairGains, begin.firstMaskedPair), sink);
  applyRecords<true, hasGains>(shared, plan.quads.data() + begin.firstQuad,
                               plan.quads.data() + end.firstQuad,
                               gainsAt(plan.quadGains, begin.firstQuad), sink);
}

/// Whole groups of a chain, then the rest one by one.
template <int channels, bool hasGains>
HWY_INLINE void applyChain(const PlanContent& plan, const Shared& shared, const Chain& chain,
                           const Sink& sink) {
  const Link* const links = plan.links.data() + chain.firstLink;
  const std::uint16_t* const gains = hasGains ? plan.linkGains.data() + chain.firstLink : nullptr;
  std::uint8_t* const target = sink.at(chain.target);
  ChainReader pixels(shared.source, chain, links, plan.lowerStep());
  int done = 0;
  for (; done + kChainGroup<channels> <= chain.count; done += kChainGroup<channels>) {
    prefetchBelow(shared, pixels.latest());
    applyLinks<channels, hasGains>(pixels, links + done, hasGains ? gains + done : nullptr,
                                   shared.gainShift, target + done * channels);
  }
  followChainPlain(plan, chain, done, pixels.latest() - shared.source, shared.source, sink);
}

template <int channels, bool hasGains>
HWY_INLINE void applyChains(const PlanContent& plan, const Shared& shared, const BlockView& block,
                            const Sink& sink) {
  for (std::size_t i = block.begin->firstChain; i < block.end->firstChain; ++i) {
    const Chain& chain = plan.chains[i];
    if (chain.isAtEnd != 0) {
      followChainPlain(plan, chain, 0, chain.start, shared.source, sink);
    } else {
      applyChain<channels, hasGains>(plan, shared, chain, sink);
    }
  }
}

/// All parts of a block.
template <int channels, bool hasGains>
HWY_INLINE void applyParts(const PlanContent& plan, const Shared& shared, const BlockView& block,
                           const Sink& sink) {
  if constexpr (channels == 1) applyWindows<hasGains>(plan, shared, block, sink);
  applyChains<channels, hasGains>(plan, shared, block, sink);
  fillSpans(plan, block, sink);
}

template <int channels, bool hasGains>
void applyBlock(const PlanContent& plan, const Shared& shared, const BlockView& block) {
  if (!plan.gathersColumns()) {
    return applyParts<channels, hasGains>(plan, shared, block, block.target);
  }
  TurnedBlock turned;
  applyParts<channels, hasGains>(plan, shared, block, turned.sink());
  storeSquares(turned, block);
}

template <int channels>
void applyBlocks(const PlanContent& plan, const Images& images, int first, int end) {
  const Shared shared{images.source, plan.layout.stride, plan.ahead, plan.gainShift,
                      plan.layout.border[0]};
  plan.forEachBlock(first, end, [&](int row, int column) {
    const BlockView block = blockAt(plan, images, row, column);
    if (plan.hasGains) {
      applyBlock<channels, true>(plan, shared, block);
    } else {
      applyBlock<channels, false>(plan, shared, block);
    }
  });
}

void applyRowsSimd(const PlanContent& plan, const Images& images, int first, int end) {
  if (plan.channels == 3) return applyBlocks<3>(plan, images, first, end);
  if (plan.channels == 4) return applyBlocks<4>(plan, images, first, end);
  applyBlocks<1>(plan, images, first, end);
}

#endif

}  // namespace kel::plan::HWY_NAMESPACE
HWY_AFTER_NAMESPACE();

#if HWY_ONCE
namespace kel::plan {

HWY_EXPORT(applyRowsSimd);

void applyRows(const PlanContent& plan, const Images& images, int first, int end) {
  HWY_DYNAMIC_DISPATCH(applyRowsSimd)(plan, images, first, end);
}

}  // namespace kel::plan
#endif
