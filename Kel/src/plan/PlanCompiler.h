#pragma once

#include <memory>

#include "plan/PlanContent.h"

namespace kel::plan {

/// Compiles a map pair. See RemapPlan::make.
std::unique_ptr<const PlanContent> compile(const ConstMap& map, const PlanLayout& layout,
                                           const SourceGains& gains);

}  // namespace kel::plan
