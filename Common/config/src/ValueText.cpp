#include "ValueText.h"

#include <algorithm>
#include <array>
#include <charconv>
#include <concepts>
#include <cstdint>
#include <cstdlib>
#include <limits>
#include <system_error>

#include "AR/PL/PlainLocale.h"

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

template <std::integral T>
ScanResult scanInteger(std::string_view& text, T& value) {
  std::string_view rest = skipWhiteSpace(text);
  const bool negative = rest.starts_with('-');
  if (negative || rest.starts_with('+')) rest.remove_prefix(1);
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

/// The real at the front of `text`, zero-terminated, and how many characters it takes; 0 for none.
template <std::floating_point T>
size_t readReal(const std::string& text, T& value) {
  char* end = nullptr;
  if constexpr (std::same_as<T, float>) {
    value = std::strtof(text.c_str(), &end);
  } else {
    value = std::strtod(text.c_str(), &end);
  }
  return static_cast<size_t>(end - text.c_str());
}

// Through strtod: from_chars for reals is missing from libc++ before 20, and streams know neither
// infinities nor hexadecimal digits.
template <std::floating_point T>
ScanResult scanReal(std::string_view& text, T& value) {
  const PL::PlainLocale locale;
  const std::string_view rest = skipWhiteSpace(text);
  // Up to the next space only, so that a long list is not copied for each of its numbers.
  std::string number(rest.substr(0, rest.find_first_of(kWhiteSpace)));
  T read{};
  const size_t length = readReal(number, read);
  if (length == 0) return ScanResult::NoValue;

  // scanf takes "e", "0x" and the like for the beginning of a part of the number and fails when no
  // digit follows, where strtod gives what stands before: a digit there would be taken, too.
  if (length < number.size()) {
    T longer{};
    number.replace(length + 1, std::string::npos, "1");
    if (readReal(number, longer) > length) return ScanResult::NoValue;
  }
  value = read;
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
