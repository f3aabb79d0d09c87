#include <bit>
#include <cctype>
#include <cstring>
#include <utility>

#include "cli/Error.h"
#include "images/Codecs.h"

namespace rectiline::tool {
namespace {

/// The numbers of a header: separated by white space, with comments to the end of their line.
class HeaderReader {
 public:
  explicit HeaderReader(std::string_view bytes) : mRest(bytes) {}

  int number() {
    constexpr int kMost = 1'000'000;
    skipSpace();
    int value = 0;
    bool isNumber = false;
    while (isDigit(next()) && value < kMost) {
      value = 10 * value + (next() - '0');
      isNumber = true;
      mRest.remove_prefix(1);
    }
    if (!isNumber || isDigit(next())) throw Error("has no PGM or PPM header");
    return value;
  }

  /// What follows the one white space after the last number.
  [[nodiscard]] std::string_view pixels() const {
    if (std::isspace(next()) == 0) throw Error("has no PGM or PPM header");
    return mRest.substr(1);
  }

 private:
  [[nodiscard]] int next() const {
    return mRest.empty() ? -1 : static_cast<unsigned char>(mRest.front());
  }
  static bool isDigit(int c) { return c >= '0' && c <= '9'; }

  void skipSpace() {
    while (next() == '#' || (next() >= 0 && std::isspace(next()) != 0)) {
      const std::size_t length = next() == '#' ? mRest.find('\n') : 1;
      mRest.remove_prefix(std::min(length, mRest.size()));
    }
  }

  std::string_view mRest;
};

struct Parsed {
  ImageHeader header;
  std::string_view pixels;
};

Parsed parse(std::string_view bytes) {
  HeaderReader in(bytes.substr(2));
  const bool isColour = bytes[1] == '6';
  Parsed parsed;
  parsed.header.width = in.number();
  parsed.header.height = in.number();
  const int greatest = in.number();
  parsed.pixels = in.pixels();
  if (parsed.header.width == 0 || parsed.header.height == 0 || greatest == 0 || greatest > 65535) {
    throw Error("has no PGM or PPM header");
  }
  if (isColour && greatest > 255) {
    throw Error("has colours of 16 bits; 8 bits of colour or 16 bits of grey can be used");
  }
  if (isColour) parsed.header.format = RECTILINE_RGB8;
  if (greatest > 255) parsed.header.format = RECTILINE_GREY16;
  return parsed;
}

/// Files have the upper byte of a sample first.
void swapForFile(std::uint8_t* bytes, std::size_t count) {
  if (std::endian::native == std::endian::big) return;
  for (std::size_t i = 0; i + 1 < count; i += 2) std::swap(bytes[i], bytes[i + 1]);
}

}  // namespace

bool isPnm(std::string_view bytes) { return bytes.starts_with("P5") || bytes.starts_with("P6"); }

ImageHeader readPnmHeader(std::string_view bytes) { return parse(bytes).header; }

Image decodePnm(std::string_view bytes) {
  const Parsed parsed = parse(bytes);
  const auto rows = static_cast<std::size_t>(parsed.header.height);
  if (parsed.pixels.size() < rows * parsed.header.stride()) throw Error("ends early");
  Image image(parsed.header);
  std::memcpy(image.data.data(), parsed.pixels.data(), image.data.size());
  if (image.format == RECTILINE_GREY16) swapForFile(image.data.data(), image.data.size());
  return image;
}

std::string encodePnm(const Image& source) {
  Image image = withoutAlpha(source);
  std::string bytes = image.format == RECTILINE_RGB8 ? "P6\n" : "P5\n";
  bytes += std::to_string(image.width) + " " + std::to_string(image.height) + "\n";
  bytes += image.format == RECTILINE_GREY16 ? "65535\n" : "255\n";
  if (image.format == RECTILINE_GREY16) swapForFile(image.data.data(), image.data.size());
  return bytes.append(reinterpret_cast<const char*>(image.data.data()), image.data.size());
}

}  // namespace rectiline::tool
