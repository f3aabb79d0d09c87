#include <algorithm>
#include <bit>
#include <cstring>
#include <fstream>
#include <regex>

#include "arrays/Array.h"
#include "cli/Error.h"
#include "files/PlainFile.h"

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
  bool isDouble;
  int rows;
  int columns;

  [[nodiscard]] std::uint64_t bytes() const {
    return static_cast<std::uint64_t>(rows) * static_cast<std::uint64_t>(columns) *
           (isDouble ? sizeof(double) : sizeof(float));
  }
};

[[noreturn]] void refuse(const std::string& name) {
  throw Error(name +
              ": expected a NumPy array of two dimensions of little-endian float32 or "
              "float64, row by row");
}

/// The text of the header. `source` stands at the data then.
std::string readHeaderText(const ByteSource& source) {
  constexpr std::size_t kLongest = 1024;  // NumPy's own have 118 bytes
  char start[kHeaderStart] = {};
  if (source.size >= sizeof start) source.read(start, sizeof start);
  if (std::memcmp(start, kMagic, 6) != 0) throw Error(source.name + ": is no .npy file");
  const auto byte = [&start](std::size_t i) { return static_cast<unsigned char>(start[i]); };
  std::string text(byte(8) + 256U * byte(9), '\0');
  if (byte(6) != 1 || text.size() > kLongest) refuse(source.name);
  source.read(text.data(), text.size());
  return text;
}

NpyHeader readHeader(const ByteSource& source, const PixelLimit& limit) {
  const std::string text = readHeaderText(source);
  static const std::regex pattern(
      R"(.*'descr': *'<f([48])'.*'fortran_order': *False.*'shape': *\((\d{1,6}), *(\d{1,6}),?\).*)");
  std::smatch match;
  if (!std::regex_search(text, match, pattern)) refuse(source.name);
  const NpyHeader header{match[1] == "8", std::stoi(match[2]), std::stoi(match[3])};
  limit.require(source.name, header.columns, header.rows);
  if (source.size != kHeaderStart + text.size() + header.bytes()) {
    throw Error(source.name + ": holds more or less than its header says");
  }
  return header;
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

Pixels<float> readNpy(const ByteSource& source, const PixelLimit& limit) {
  const NpyHeader header = readHeader(source, limit);
  Pixels<float> pixels(header.columns, header.rows);
  if (!header.isDouble) {
    source.read(pixels.data.data(), header.bytes());
    return pixels;
  }
  std::vector<double> row(static_cast<std::size_t>(header.columns));
  for (std::size_t i = 0; i < pixels.data.size(); i += row.size()) {
    source.read(row.data(), row.size() * sizeof(double));
    std::transform(row.begin(), row.end(), &pixels.data[i],
                   [](double value) { return static_cast<float>(value); });
  }
  return pixels;
}

Pixels<float> readNpy(const std::string& file, const PixelLimit& limit) {
  std::ifstream in = openPlainFile(file);
  return readNpy({file, sizeOfRest(in),
                  [&in, &file](void* to, std::size_t count) {
                    in.read(static_cast<char*>(to), static_cast<std::streamsize>(count));
                    if (!in) throw Error(file + ": ends early");
                  }},
                 limit);
}

}  // namespace rectiline::tool
