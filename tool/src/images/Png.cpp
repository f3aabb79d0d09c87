#include "images/Png.h"

#include <png.h>

#include "cli/Error.h"

namespace rectiline::tool {
namespace {

png_image emptyImage() {
  png_image image{};
  image.version = PNG_IMAGE_VERSION;
  return image;
}

void write(const std::string& file, int width, int height, png_uint_32 format, const void* data) {
  png_image image = emptyImage();
  image.width = static_cast<png_uint_32>(width);
  image.height = static_cast<png_uint_32>(height);
  image.format = format;
  // PNG's 16-bit samples are written as they are, not as linear light.
  image.flags = PNG_IMAGE_FLAG_COLORSPACE_NOT_sRGB;
  if (png_image_write_to_file(&image, file.c_str(), 0, data, 0, nullptr) == 0) {
    throw Error(file + ": cannot be written: " + image.message);
  }
}

}  // namespace

GreyImage readGrey(const std::string& file) {
  png_image image = emptyImage();
  if (png_image_begin_read_from_file(&image, file.c_str()) == 0) {
    throw Error(file + ": cannot be read as PNG: " + image.message);
  }
  if ((image.format & PNG_FORMAT_FLAG_LINEAR) != 0) {
    png_image_free(&image);
    throw Error(file + ": has 16 bits per channel, 8 are needed");
  }
  image.format = PNG_FORMAT_GRAY;
  GreyImage grey(static_cast<int>(image.width), static_cast<int>(image.height));
  if (png_image_finish_read(&image, nullptr, grey.data.data(), 0, nullptr) == 0) {
    throw Error(file + ": cannot be read as PNG: " + image.message);
  }
  return grey;
}

void writeGrey(const std::string& file, const GreyImage& image) {
  write(file, image.width, image.height, PNG_FORMAT_GRAY, image.data.data());
}

void writeColour(const std::string& file, const GreyImage& image) {
  write(file, image.width, image.height, PNG_FORMAT_RGB, image.data.data());
}

void writeDepth(const std::string& file, const DepthImage& image) {
  write(file, image.width, image.height, PNG_FORMAT_LINEAR_Y, image.data.data());
}

}  // namespace rectiline::tool
