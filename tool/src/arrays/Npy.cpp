#include <array>
#include <bit>
#include <cstring>
#include <fstream>
#include <iterator>
#include <regex>

#include "arrays/Array.h"
#include "cli/Error.h"

namespace rectiline::tool {
namespace {

static_assert(std::endian::native == std::endian::little, "arrays are written as they are");

constexpr char kMagic[] = "\x93NUMPY\x01";  // format version 1.0, whose 0 ends the string
constexpr std::size_t kHeaderStart = sizeof kMagic + 2;
constexpr std::size_t kAlignment = 64;

const char* typeName(Element element) {
  switch (element) {
    case Element::UInt8:
      return "|u1";
    case Element::Float32:
      return "<f4";
    case Element::Float64:
      return "<f8";
  }
  return "";
}

struct NpyHeader {
  std::size_t dataStart;
  bool isDouble;
  int rows;
  int columns;
};

[[noreturn]] void refuse(const std::string& file) {
  throw Error(file +
              ": expected a NumPy array of two dimensions of little-endian float32 or "
              "float64, row by row");
}

NpyHeader parseHeader(const std::string& file, const std::string& bytes) {
  if (bytes.size() < kHeaderStart || bytes.compare(0, 6, kMagic, 6) != 0) {
    throw Error(file + ": is no .npy file");
  }
  const auto byte = [&bytes](std::size_t i) { return static_cast<unsigned char>(bytes[i]); };
  const std::size_t dataStart = kHeaderStart + byte(8) + 256U * byte(9);
  if (byte(6) != 1 || dataStart > bytes.size()) refuse(file);
  const std::string text = bytes.substr(kHeaderStart, dataStart - kHeaderStart);
  static const std::regex pattern(
      R"(.*'descr': *'<f([48])'.*'fortran_order': *False.*'shape': *\((\d{1,6}), *(\d{1,6}),?\).*)");
  std::smatch match;
  if (!std::regex_search(text, match, pattern)) refuse(file);
  return {dataStart, match[1] == "8", std::stoi(match[2]), std::stoi(match[3])};
}

template <typename Value>
void copyValues(const char* from, std::vector<float>& to) {
  for (float& target : to) {
    Value value;
    std::memcpy(&value, from, sizeof value);
    target = static_cast<float>(value);
    from += sizeof value;
  }
}

}  // namespace

std::size_t NamedArray::bytes() const {
  const std::size_t size = element == Element::UInt8 ? 1 : element == Element::Float32 ? 4 : 8;
  return count() * size;
}

std::string toNpy(const NamedArray& array) {
  std::string text = std::string("{'descr': '") + typeName(array.element) +
                     "', 'fortran_order': False, 'shape': (" + std::to_string(array.rows) + ", " +
                     std::to_string(array.columns) + "), }";
  const std::size_t unpadded = kHeaderStart + text.size() + 1;
  text.append((kAlignment - unpadded % kAlignment) % kAlignment, ' ');
  text += '\n';
  std::string bytes(kMagic, sizeof kMagic);
  bytes += static_cast<char>(text.size() % 256);
  bytes += static_cast<char>(text.size() / 256);
  bytes += text;
  bytes.append(static_cast<const char*>(array.data), array.bytes());
  return bytes;
}

Pixels<float> readNpy(const std::string& file) {
  std::ifstream in(file, std::ios::binary);
  const std::string bytes((std::istreambuf_iterator<char>(in)), std::istreambuf_iterator<char>());
  if (!in) throw Error(file + ": cannot be read");
  const NpyHeader header = parseHeader(file, bytes);
  const std::size_t size = header.isDouble ? sizeof(double) : sizeof(float);
  const std::size_t count =
      static_cast<std::size_t>(header.rows) * static_cast<std::size_t>(header.columns);
  if (bytes.size() - header.dataStart != count * size) {
    throw Error(file + ": holds more or less than its header says");
  }
  Pixels<float> pixels(header.columns, header.rows);
  const char* const data = bytes.data() + header.dataStart;
  header.isDouble ? copyValues<double>(data, pixels.data) : copyValues<float>(data, pixels.data);
  return pixels;
}

}  // namespace rectiline::tool
