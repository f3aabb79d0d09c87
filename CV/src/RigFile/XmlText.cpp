#include "XmlText.h"

#include <charconv>

namespace AR::CV {
namespace {

// Long enough for a sign, 8 digits, a point and an exponent of 3 digits.
constexpr std::size_t kMaxNumberLength = 32;

// printf would write the decimal point of the process's locale.
void appendNumber(double value, int significantDigits, std::string& text) {
  char buffer[kMaxNumberLength];
  const auto end = std::to_chars(buffer, buffer + kMaxNumberLength, value,
                                 std::chars_format::general, significantDigits);
  text.append(buffer, end.ptr);
}

}  // namespace

void appendXMLNumber(double value, std::string& text) {
  appendNumber(value, 8, text);
  text += ' ';
}

std::string toXMLString(const bool value) { return value ? "true" : "false"; }

std::string toXMLString(const std::int32_t value) { return std::to_string(value); }

std::string toXMLString(const double value) {
  std::string text;
  appendNumber(value, 6, text);
  return text;
}

}  // namespace AR::CV
