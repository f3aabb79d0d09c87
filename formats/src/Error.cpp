#include "Error.h"

#include <sstream>

#include "rectiline_formats/Calibration.h"

namespace rectiline::formats {
namespace {

std::string lineOf(const Place& place, const std::string& expected, const std::string& found) {
  std::string line;
  const auto append = [&line](const std::string& prefix, const std::string& text) {
    if (!text.empty()) line += prefix + text + ": ";
  };
  append("", shown(place.file));
  append("camera ", shown(place.camera));
  append("", shown(place.field));
  line += "expected " + expected;
  return found.empty() ? line : line + ", found " + found;
}

}  // namespace

FormatError::FormatError(Place place, const std::string& expected, const std::string& found)
    : std::runtime_error(lineOf(place, expected, found)), mPlace(std::move(place)) {}

std::string shown(std::string_view text) {
  constexpr std::size_t kMost = 200;
  std::string result;
  for (const char c : text.substr(0, kMost)) {
    const bool isControl = static_cast<unsigned char>(c) < 0x20 || c == 0x7f;
    result += isControl ? '?' : c;
  }
  return text.size() > kMost ? result + "..." : result;
}

std::string shown(double value) {
  std::ostringstream out;
  out.imbue(std::locale::classic());
  out << value;
  return out.str();
}

}  // namespace rectiline::formats
