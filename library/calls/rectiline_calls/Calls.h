#pragma once

// What every caller of rectiline.h in C++ needs. Callers add how they want to hear of failures.

#include <string>

#include "rectiline/rectiline.h"

namespace rectiline {

/// A struct of the interface, ready to be filled.
template <typename Struct>
Struct sized() {
  Struct s{};
  s.struct_size = sizeof s;
  return s;
}

/// Why the last call of this thread failed, a sentence.
inline std::string lastErrorText() {
  auto error = sized<rectiline_error>();
  rectiline_last_error(&error);
  return error.text;
}

}  // namespace rectiline
