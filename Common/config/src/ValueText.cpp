#include "ValueText.h"

#include <algorithm>
#include <array>
#include <charconv>
#include <concepts>
#include <cstdint>
#include <limits>
#include <system_error>

namespace AR::Common {

namespace {

// White space and letter case as in the "C" locale; isspace and tolower follow the process.
constexpr std::string_view kWhiteSpace = " \t\n\v\f\r";

constexpr char toLower(char c) {
  return c >= 'A' && c <= 'Z' ? static_cast<char>(c - 'A' + 'a') : c;
}

bool equalsIgnoringCase(std::string_view text, std::string_view lowerCase) {
  return std::equal(text.begin(), text.end(), lowerCase.begin(), lowerCase.end(),
                    [](char a, char b) { return toLower(a) == b; });
}

bool isSign(char c) { return c == '+' || c == '-'; }

bool beginsWithSign(std::string_view text) { return !text.empty() && isSign(text.front()); }

/// Moves `text` past white space and one sign. Returns whether the sign is a minus.
bool takeSign(std::string_view& text) {
  text = skipWhiteSpace(text);
  if (!beginsWithSign(text)) return false;
  const bool negative = text.front() == '-';
  text.remove_prefix(1);
  return negative;
}

template <std::integral T>
ScanResult scanInteger(std::string_view& text, T& value) {
  std::string_view rest = text;
  const bool negative = takeSign(rest);
  uint64_t magnitude = 0;
  const auto [end, error] = std::from_chars(rest.data(), rest.data() + rest.size(), magnitude);
  if (error == std::errc::invalid_argument) return ScanResult::NoValue;

  constexpr uint64_t kMax = static_cast<uint64_t>(std::numeric_limits<T>::max());
  const uint64_t limit = !negative ? kMax : std::signed_integral<T> ? kMax + 1 : 0;
  if (error == std::errc::result_out_of_range || magnitude > limit) return ScanResult::OutOfRange;

  value = static_cast<T>(negative ? 0 - magnitude : magnitude);
  text = rest.substr(static_cast<size_t>(end - rest.data()));
  return ScanResult::Read;
}

/// Whether the hexadecimal digits of a real follow. Then moves `text` past their "0x".
bool takeHexPrefix(std::string_view& text) {
  constexpr std::string_view kHexStart = "0123456789abcdefABCDEF.";
  const bool isHex = text.size() > 2 && text[0] == '0' && toLower(text[1]) == 'x' &&
                     kHexStart.find(text[2]) != std::string_view::npos;
  if (isHex) text.remove_prefix(2);
  return isHex;
}

/// Whether an unsigned real that no type can hold is too large rather than too small: by the place
/// of its first digit that is not 0, moved by its exponent.
bool isHuge(std::string_view real, bool isHex) {
  const size_t mark = real.find_first_of(isHex ? "pP" : "eE");
  const std::string_view mantissa = real.substr(0, mark);
  const size_t point = std::min(mantissa.find('.'), mantissa.size());
  const size_t first = std::min(mantissa.find_first_not_of("0."), mantissa.size());
  const int64_t place = static_cast<int64_t>(point) - static_cast<int64_t>(first);
  if (mark == std::string_view::npos) return place > 0;

  std::string_view exponentText = real.substr(mark + 1);
  int exponent = 0;
  const bool isMinus = exponentText.starts_with('-');
  if (scanInteger(exponentText, exponent) == ScanResult::OutOfRange) return !isMinus;
  return place * (isHex ? 4 : 1) + exponent > 0;
}

template <std::floating_point T>
ScanResult scanReal(std::string_view& text, T& value) {
  std::string_view rest = text;
  const bool negative = takeSign(rest);
  if (beginsWithSign(rest)) return ScanResult::NoValue;
  const bool isHex = takeHexPrefix(rest);

  T magnitude{};
  const auto [end, error] =
      std::from_chars(rest.data(), rest.data() + rest.size(), magnitude,
                      isHex ? std::chars_format::hex : std::chars_format::general);
  if (error == std::errc::invalid_argument) return ScanResult::NoValue;
  const size_t length = static_cast<size_t>(end - rest.data());
  // scanf takes the mark of an exponent for a part of the number and fails when none follows.
  if (!isHex && length < rest.size() && toLower(rest[length]) == 'e') return ScanResult::NoValue;
  if (error == std::errc::result_out_of_range) {
    magnitude = isHuge(rest.substr(0, length), isHex) ? std::numeric_limits<T>::infinity() : T(0);
  }
  value = negative ? -magnitude : magnitude;
  text = rest.substr(length);
  return ScanResult::Read;
}

}  // namespace

template <typename T>
ScanResult scanNumber(std::string_view& text, T& value) {
  if constexpr (std::floating_point<T>) {
    return scanReal(text, value);
  } else {
    return scanInteger(text, value);
  }
}

template ScanResult scanNumber(std::string_view&, float&);
template ScanResult scanNumber(std::string_view&, double&);
template ScanResult scanNumber(std::string_view&, unsigned char&);
template ScanResult scanNumber(std::string_view&, int&);
template ScanResult scanNumber(std::string_view&, unsigned int&);
template ScanResult scanNumber(std::string_view&, long&);
template ScanResult scanNumber(std::string_view&, unsigned long&);
template ScanResult scanNumber(std::string_view&, long long&);
template ScanResult scanNumber(std::string_view&, unsigned long long&);

ScanResult scanBoolean(std::string_view text, bool& value) {
  const bool isTrue = equalsIgnoringCase(text, "true");
  if (!isTrue && !equalsIgnoringCase(text, "false")) return ScanResult::NoValue;
  value = isTrue;
  return ScanResult::Read;
}

std::string_view skipWhiteSpace(std::string_view text) {
  return text.substr(std::min(text.find_first_not_of(kWhiteSpace), text.size()));
}

std::string toFixedText(double value) {
  // The longest has a sign, 309 digits, the point and 6 more digits.
  std::array<char, 320> text;
  const auto result =
      std::to_chars(text.data(), text.data() + text.size(), value, std::chars_format::fixed, 6);
  return {text.data(), result.ptr};
}

}  // namespace AR::Common
