#pragma once

#include <string>
#include <string_view>

namespace rectiline::formats {

/// A piece of a file for a message: on one line, printable and not long.
std::string shown(std::string_view text);

/// A number as a person reads it: up to 6 digits.
std::string shown(double value);

}  // namespace rectiline::formats
