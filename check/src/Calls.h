#pragma once

#include <cstdint>
#include <stdexcept>

#include "rectiline/rectiline.h"

namespace rectiline::check {

/// A struct of the library's interface, ready to be filled.
template <typename Struct>
Struct sized() {
  Struct s{};
  s.struct_size = sizeof s;
  return s;
}

/// Throws the library's reason when a call of it failed.
inline void require(std::int32_t status) {
  if (status == RECTILINE_OK) return;
  auto error = sized<rectiline_error>();
  rectiline_last_error(&error);
  throw std::invalid_argument(error.text);
}

}  // namespace rectiline::check
