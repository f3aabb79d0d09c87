// The command's image files: what is decoded is what its header says, and survives being encoded.

#include <string_view>

#include "Finding.h"
#include "cli/Error.h"
#include "images/Codecs.h"

namespace {

using namespace rectiline::tool;

constexpr int kMostPixels = 1 << 20;  // the command refuses what is not of the camera's size

bool areSame(const Image& a, const Image& b) {
  return a.width == b.width && a.height == b.height && a.format == b.format && a.data == b.data;
}

void decodeAndEncode(std::string_view bytes, ImageHeader (*readHeader)(std::string_view),
                     Image (*decode)(std::string_view)) {
  const ImageHeader header = readHeader(bytes);
  FUZZ_EXPECT(header.width > 0 && header.height > 0);
  if (header.width > kMostPixels / header.height) return;
  const Image image = decode(bytes);
  FUZZ_EXPECT(image.width == header.width && image.height == header.height);
  FUZZ_EXPECT(image.data.size() == image.stride() * static_cast<std::size_t>(image.height));
  FUZZ_EXPECT(areSame(decodePng(encodePng(image)), image));
  if (image.format != RECTILINE_RGBA8) FUZZ_EXPECT(areSame(decodePnm(encodePnm(image)), image));
  (void)greyOf(image);
  (void)colourOf(image);
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  const std::string_view bytes(reinterpret_cast<const char*>(data), size);
  try {
    if (isPng(bytes)) decodeAndEncode(bytes, readPngHeader, decodePng);
    if (isJpeg(bytes)) decodeAndEncode(bytes, readJpegHeader, decodeJpeg);
    if (isPnm(bytes)) decodeAndEncode(bytes, readPnmHeader, decodePnm);
  } catch (const Error& error) {
    FUZZ_EXPECT(error.what()[0] != '\0');
  }
  return 0;
}
