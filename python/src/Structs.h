#pragma once

#include <pybind11/pybind11.h>

#include <cstddef>
#include <cstring>
#include <string>

#include "rectiline_calls/Calls.h"

namespace rectiline::python {

namespace py = pybind11;

/// Text of a field that need not end with a zero.
template <std::size_t N>
std::string textOf(const char (&field)[N]) {
  std::size_t length = 0;
  while (length < N && field[length] != '\0') ++length;
  return {field, length};
}

/// Plain records as their bytes, for processes that exchange them.
template <typename Record>
auto pickleAsBytes() {
  return py::pickle(
      [](const Record& r) { return py::bytes(reinterpret_cast<const char*>(&r), sizeof r); },
      [](const py::bytes& pickled) {
        const auto bytes = pickled.cast<std::string>();
        Record r;
        if (bytes.size() != sizeof r)
          throw py::value_error("the pickled bytes are not of this class");
        std::memcpy(&r, bytes.data(), sizeof r);
        return r;
      });
}

}  // namespace rectiline::python
