#pragma once

#include <cstdint>

#include "cli/Error.h"
#include "rectiline/rectiline.h"

namespace rectiline::tool {

/// A struct of the library's interface, ready to be filled.
template <typename Struct>
Struct sized() {
  Struct s{};
  s.struct_size = sizeof s;
  return s;
}

/// Throws Error with the library's reason when a call of it failed.
inline void check(std::int32_t status) {
  if (status == RECTILINE_OK) return;
  auto error = sized<rectiline_error>();
  rectiline_last_error(&error);
  throw Error(error.text);
}

}  // namespace rectiline::tool
