#include "plan/ApplyPlain.h"

#include "plan/Arithmetic.h"

namespace kel::plan {
namespace {

/// From a left upper neighbour to the others, bytes.
struct Steps {
  std::ptrdiff_t right;
  std::ptrdiff_t lower;
};

int interpolate(const std::uint8_t* pixel, const Steps& to, int weightRight, int weightLower) {
  const std::uint8_t* const lower = pixel + to.lower;
  return interpolateRows(interpolateRow(pixel[0], pixel[to.right], weightRight),
                         interpolateRow(lower[0], lower[to.right], weightRight), weightLower);
}

/// A window for every `pixelsPerWindow` pixels. `gains` is null in a plan without.
template <int pixelsPerWindow>
void applyRecord(const PlanContent& plan, const std::uint32_t* windows, const Lookup& lookup,
                 unsigned valid, const std::uint16_t* gains, const std::uint8_t* source,
                 std::uint8_t* target) {
  const Steps steps{plan.rightStep(), plan.lowerStep()};
  for (int i = 0; i < kGroup; ++i) {
    if ((valid >> i & 1U) == 0) {
      target[i] = plan.layout.border[0];
      continue;
    }
    const int place = lookup.place[i];
    const std::uint8_t* const pixel = source + windows[i / pixelsPerWindow] +
                                      place / kWindowColumns * steps.lower + place % kWindowColumns;
    const int value = interpolate(pixel, steps, lookup.weightRight[i], lookup.weightLower[i]);
    target[i] = gains == nullptr ? toByte(value) : toByte(value, gains[i], plan.gainShift);
  }
}

const std::uint16_t* gainsOf(const std::vector<std::uint16_t>& gains, std::size_t record) {
  return gains.empty() ? nullptr : &gains[record * kGroup];
}

void applyPairs(const PlanContent& plan, const std::vector<PairRecord>& pairs,
                const std::vector<std::uint16_t>& gains, std::size_t first, std::size_t end,
                const std::uint8_t* source, const Sink& sink) {
  for (std::size_t i = first; i < end; ++i) {
    const PairRecord& pair = pairs[i];
    applyRecord<kGroup / 2>(plan, pair.windows, pair.lookup, pair.valid, gainsOf(gains, i), source,
                            sink.at(pair.target));
  }
}

void applyParts(const PlanContent& plan, const BlockView& block, const std::uint8_t* source,
                const Sink& sink) {
  const Block& begin = *block.begin;
  const Block& end = *block.end;
  applyPairs(plan, plan.pairs, plan.pairGains, begin.firstPair, end.firstPair, source, sink);
  applyPairs(plan, plan.maskedPairs, plan.maskedPairGains, begin.firstMaskedPair,
             end.firstMaskedPair, source, sink);
  for (std::size_t i = begin.firstQuad; i < end.firstQuad; ++i) {
    const QuadRecord& quad = plan.quads[i];
    applyRecord<kGroup / 4>(plan, quad.windows, quad.lookup, quad.valid, gainsOf(plan.quadGains, i),
                            source, sink.at(quad.target));
  }
  for (std::size_t i = begin.firstChain; i < end.firstChain; ++i) {
    followChainPlain(plan, plan.chains[i], 0, plan.chains[i].start, source, sink);
  }
  fillSpans(plan, block, sink);
}

void applyBlock(const PlanContent& plan, const BlockView& block, const std::uint8_t* source) {
  if (!plan.gathersColumns()) return applyParts(plan, block, source, block.target);
  TurnedBlock turned;
  applyParts(plan, block, source, turned.sink());
  storeColumns(turned, block, 0, block.columns, 0);
}

}  // namespace

void followChainPlain(const PlanContent& plan, const Chain& chain, int first, std::int64_t offset,
                      const std::uint8_t* source, const Sink& sink) {
  const Steps steps{plan.rightStep(), plan.lowerStep()};
  std::uint8_t* target = sink.at(chain.target) + std::ptrdiff_t{plan.channels} * first;
  for (std::size_t i = chain.firstLink + first; i < chain.firstLink + chain.count; ++i) {
    const Link& link = plan.links[i];
    offset += link.step;
    for (int c = 0; c < plan.channels; ++c) {
      const int value = interpolate(source + static_cast<std::ptrdiff_t>(offset) + c, steps,
                                    link.weightRight, link.weightLower);
      *target++ = plan.hasGains ? toByte(value, plan.linkGains[i], plan.gainShift) : toByte(value);
    }
  }
}

void applyRowsPlain(const PlanContent& plan, const Images& images, int first, int end) {
  plan.forEachBlock(first, end, [&](int row, int column) {
    applyBlock(plan, blockAt(plan, images, row, column), images.source);
  });
}

}  // namespace kel::plan
