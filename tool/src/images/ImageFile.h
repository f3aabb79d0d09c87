#pragma once

#include <string>
#include <vector>

#include "images/Image.h"

namespace rectiline::tool {

enum class ImageFormat { Png, Jpeg, Pnm };

/// "png", "jpeg", "pgm"; for options.
std::vector<std::string> imageFormatNames();
ImageFormat imageFormatFromName(const std::string& name);

/// The end of the name of a file of this format, ".png"; colour files of Pnm are ".ppm".
std::string extensionOf(ImageFormat format, rectiline_format pixels);

/// What the raw images of a camera are like.
struct RawSize {
  std::string camera;
  int width;
  int height;
};

RawSize rawSizeOf(const CameraCalibrationZEL& camera);

/// A file of which the header has been read: its size can be judged before memory is taken.
class ImageFile {
 public:
  /// Throws Error for what is no image of a format that is known.
  explicit ImageFile(std::string path);

  [[nodiscard]] const std::string& path() const { return mPath; }
  [[nodiscard]] const ImageHeader& header() const { return mHeader; }

  /// Throws Error when the image is not of the camera's size.
  void requireSize(const RawSize& size) const;

  [[nodiscard]] Image decode() const;

 private:
  std::string mPath;
  std::string mBytes;
  std::size_t mCodec;
  ImageHeader mHeader;
};

/// Reads an image of the camera's size as 8-bit grey. Throws Error.
GreyImage readImage(const std::string& path, const CameraCalibrationZEL& camera);

/// Writes an image, whole or not at all. Throws Error.
void writeImage(const std::string& path, const Image& image, ImageFormat format = ImageFormat::Png);

}  // namespace rectiline::tool
