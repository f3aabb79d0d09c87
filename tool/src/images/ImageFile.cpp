#include "images/ImageFile.h"

#include <algorithm>
#include <array>
#include <fstream>
#include <string_view>
#include <utility>

#include "cli/Error.h"
#include "files/Outputs.h"
#include "files/PlainFile.h"
#include "images/Codecs.h"

namespace rectiline::tool {
namespace {

struct Codec {
  const char* name;
  bool (*recognises)(std::string_view);
  ImageHeader (*readHeader)(std::string_view);
  Image (*decode)(std::string_view);
  std::string (*encode)(const Image&);
};

/// In the order of ImageFormat.
constexpr std::array<Codec, 3> kCodecs{{
    {"png", isPng, readPngHeader, decodePng, encodePng},
    {"jpeg", isJpeg, readJpegHeader, decodeJpeg, encodeJpeg},
    {"pgm", isPnm, readPnmHeader, decodePnm, encodePnm},
}};

std::string readBytes(const std::string& path) {
  std::ifstream in = openPlainFile(path);
  std::string bytes(sizeOfRest(in), '\0');
  in.read(bytes.data(), static_cast<std::streamsize>(bytes.size()));
  if (!in) throw Error(path + ": cannot be read");
  return bytes;
}

std::size_t codecOf(const std::string& path, std::string_view bytes) {
  const auto codec = std::find_if(kCodecs.begin(), kCodecs.end(),
                                  [bytes](const Codec& c) { return c.recognises(bytes); });
  if (codec == kCodecs.end()) throw Error(path + ": is no PNG, JPEG, PGM or PPM image");
  return static_cast<std::size_t>(codec - kCodecs.begin());
}

/// What `work` returns; errors get the file's name.
template <typename Work>
auto named(const std::string& path, Work work) {
  try {
    return work();
  } catch (const Error& error) {
    throw Error(path + ": " + error.what(), error.code());
  }
}

}  // namespace

std::vector<std::string> imageFormatNames() {
  std::vector<std::string> names;
  for (const Codec& codec : kCodecs) names.emplace_back(codec.name);
  return names;
}

ImageFormat imageFormatFromName(const std::string& name) {
  const auto codec = std::find_if(kCodecs.begin(), kCodecs.end(),
                                  [&name](const Codec& c) { return name == c.name; });
  return static_cast<ImageFormat>(codec - kCodecs.begin());
}

std::string extensionOf(ImageFormat format, rectiline_format pixels) {
  if (format == ImageFormat::Png) return ".png";
  if (format == ImageFormat::Jpeg) return ".jpg";
  return pixels == RECTILINE_RGB8 || pixels == RECTILINE_RGBA8 ? ".ppm" : ".pgm";
}

RawSize rawSizeOf(const CameraCalibrationZEL& camera) {
  return {camera.name, camera.intrinsics.width, camera.intrinsics.height};
}

ImageFile::ImageFile(std::string path)
    : mPath(std::move(path)),
      mBytes(readBytes(mPath)),
      mCodec(codecOf(mPath, mBytes)),
      mHeader(named(mPath, [this] { return kCodecs[mCodec].readHeader(mBytes); })) {}

void ImageFile::requireSize(const RawSize& size) const {
  if (mHeader.width == size.width && mHeader.height == size.height) return;
  throw Error(mPath + ": is " + std::to_string(mHeader.width) + "x" +
              std::to_string(mHeader.height) + ", camera " + size.camera + " has " +
              std::to_string(size.width) + "x" + std::to_string(size.height));
}

Image ImageFile::decode() const {
  return named(mPath, [this] { return kCodecs[mCodec].decode(mBytes); });
}

GreyImage readImage(const std::string& path, const CameraCalibrationZEL& camera) {
  const ImageFile file(path);
  file.requireSize(rawSizeOf(camera));
  return greyOf(file.decode());
}

void writeImage(const std::string& path, const Image& image, ImageFormat format) {
  const Codec& codec = kCodecs[static_cast<std::size_t>(format)];
  writeFile(path, named(path, [&] { return codec.encode(image); }));
}

}  // namespace rectiline::tool
