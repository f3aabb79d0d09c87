#pragma once

#include <string>

#include "CameraPair.h"
#include "rectiline_check/Check.h"

namespace rectiline::check {

/// What a result means, for a person.
std::string describe(const CheckResult& result, const CameraPair& cameras);

}  // namespace rectiline::check
