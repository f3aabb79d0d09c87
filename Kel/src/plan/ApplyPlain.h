#pragma once

#include "plan/BlockTarget.h"

namespace kel::plan {

/// Links [first, count) of a chain, the pixel before the first of them being `offset` bytes from
/// the source's first one. The plain form, and for what the vector form leaves.
void followChainPlain(const PlanContent& plan, const Chain& chain, int first, std::int64_t offset,
                      const std::uint8_t* source, const Sink& sink);

}  // namespace kel::plan
