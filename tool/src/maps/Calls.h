#pragma once

#include <cstdint>
#include <string>

#include "cli/Error.h"
#include "rectiline_calls/Calls.h"

namespace rectiline::tool {

/// What the library says, with the command's options in the place of the interface's fields.
std::string inTermsOfOptions(std::string text);

/// Throws Error with the library's reason when a call of it failed.
inline void check(std::int32_t status) {
  if (status == RECTILINE_OK) return;
  throw Error(inTermsOfOptions(lastErrorText()));
}

}  // namespace rectiline::tool
