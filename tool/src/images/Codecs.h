#pragma once

// One file per format: recognised by its first bytes, its header, its pixels, and back.
// What is wrong with the bytes is thrown as Error without the name of the file.

#include <string>
#include <string_view>

#include "images/Image.h"

namespace rectiline::tool {

bool isPng(std::string_view bytes);
ImageHeader readPngHeader(std::string_view bytes);
Image decodePng(std::string_view bytes);
/// Compressed fast rather than small.
std::string encodePng(const Image& image);

bool isJpeg(std::string_view bytes);
ImageHeader readJpegHeader(std::string_view bytes);
Image decodeJpeg(std::string_view bytes);
/// Quality 95. Throws Error for 16 bits.
std::string encodeJpeg(const Image& image);

/// Binary PGM and PPM. Samples are taken as they are, whatever the greatest one that a file claims.
bool isPnm(std::string_view bytes);
ImageHeader readPnmHeader(std::string_view bytes);
Image decodePnm(std::string_view bytes);
std::string encodePnm(const Image& image);

}  // namespace rectiline::tool
