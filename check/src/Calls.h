#pragma once

#include <cstdint>
#include <stdexcept>

#include "rectiline_calls/Calls.h"

namespace rectiline::check {

/// Throws the library's reason when a call of it failed.
inline void require(std::int32_t status) {
  if (status == RECTILINE_OK) return;
  throw std::invalid_argument(lastErrorText());
}

}  // namespace rectiline::check
