#pragma once

#include <stdexcept>

namespace rectiline::tool {

/// What the command prints as its one line before it exits with a failure.
class Error : public std::runtime_error {
 public:
  using std::runtime_error::runtime_error;
};

}  // namespace rectiline::tool
