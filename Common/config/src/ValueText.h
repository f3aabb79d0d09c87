#pragma once

#include <string>
#include <string_view>

namespace AR::Common {

// Values as text, read and written the same way whatever locale the process has chosen.

/// Outcome of reading a value from text.
enum class ScanResult {
  Read,        ///< The value was read.
  NoValue,     ///< The text does not begin with such a value.
  OutOfRange,  ///< It does, but the type cannot hold it (integers only).
};

/// Reads a number from the front of `text` after any white space, as the scanf conversions %d and
/// %f do, and on success moves `text` past it. What follows the number is not looked at.
///
/// Integers are decimal with an optional sign; a negative number is out of the range of an unsigned
/// type. Reals may be hexadecimal, "inf" or "nan"; one too large becomes an infinity, one too small
/// a zero, each with its sign. `value` changes only with the result Read.
///
/// T is float, double, unsigned char, or a signed or unsigned int, long or long long.
template <typename T>
[[nodiscard]] ScanResult scanNumber(std::string_view& text, T& value);

/// Reads "true" or "false", in any letter case, as the whole of `text`. `value` changes only with
/// the result Read.
[[nodiscard]] ScanResult scanBoolean(std::string_view text, bool& value);

/// `text` without the white space at its front.
[[nodiscard]] std::string_view skipWhiteSpace(std::string_view text);

/// As printf's "%f": six digits after the point.
[[nodiscard]] std::string toFixedText(double value);

}  // namespace AR::Common
