#include <array>
#include <cstdio>
#include <string_view>

#include "arrays/Array.h"

namespace rectiline::tool {
namespace {

char typeLetter(Element element) {
  return element == Element::UInt8 ? 'u' : element == Element::Float32 ? 'f' : 'd';
}

/// Digits that give the same value when read again. OpenCV reads "1" in a matrix of floats as 1.
std::string_view valueText(const NamedArray& array, std::size_t index, std::array<char, 32>& text) {
  int length = 0;
  switch (array.element) {
    case Element::UInt8:
      length = std::snprintf(text.data(), text.size(), "%d",
                             static_cast<const std::uint8_t*>(array.data)[index]);
      break;
    case Element::Float32:
      length = std::snprintf(text.data(), text.size(), "%.9g",
                             static_cast<double>(static_cast<const float*>(array.data)[index]));
      break;
    case Element::Float64:
      length = std::snprintf(text.data(), text.size(), "%.17g",
                             static_cast<const double*>(array.data)[index]);
      break;
  }
  return {text.data(), static_cast<std::size_t>(length)};
}

void append(const NamedArray& array, std::string& yaml) {
  constexpr std::size_t kValuesPerLine = 8;
  yaml += array.name + ": !!opencv-matrix\n   rows: " + std::to_string(array.rows) +
          "\n   cols: " + std::to_string(array.columns) + "\n   dt: " + typeLetter(array.element) +
          "\n   data: [ ";
  std::array<char, 32> text;
  for (std::size_t i = 0; i < array.count(); ++i) {
    if (i > 0) yaml += i % kValuesPerLine == 0 ? ",\n       " : ", ";
    yaml += valueText(array, i, text);
  }
  yaml += " ]\n";
}

std::string quoted(const std::string& text) {
  std::string result = "\"";
  for (const char c : text) {
    if (c == '"' || c == '\\') result += '\\';
    result += c;
  }
  return result + '"';
}

}  // namespace

std::string toFileStorage(const ArrayFile& file) {
  std::string yaml = "%YAML:1.0\n---\nabout: " + quoted(file.about) + "\n";
  for (const NamedArray& array : file.arrays) append(array, yaml);
  return yaml;
}

}  // namespace rectiline::tool
