#pragma once

#include <cstdint>

#include "cli/Error.h"
#include "rectiline_calls/Calls.h"

namespace rectiline::tool {

/// Throws Error with the library's reason when a call of it failed.
inline void check(std::int32_t status) {
  if (status == RECTILINE_OK) return;
  throw Error(lastErrorText());
}

}  // namespace rectiline::tool
