#include <png.h>
#include <zlib.h>

#include <bit>
#include <csetjmp>
#include <cstring>

#include "cli/Error.h"
#include "images/Codecs.h"

namespace rectiline::tool {
namespace {

/// What libpng's callbacks are given. After an error it jumps: no object that would have to be
/// destroyed may be made between guarded() and what it runs.
struct Stream {
  std::jmp_buf escape;
  char message[128] = "";
  std::string_view source;        // still to be read
  std::string* target = nullptr;  // to be written to
};

[[noreturn]] void onError(png_structp png, png_const_charp message) {
  auto& stream = *static_cast<Stream*>(png_get_error_ptr(png));
  std::strncpy(stream.message, message, sizeof stream.message - 1);
  std::longjmp(stream.escape, 1);
}

void onWarning(png_structp /*png*/, png_const_charp /*message*/) {}

void onRead(png_structp png, png_bytep bytes, png_size_t count) {
  auto& stream = *static_cast<Stream*>(png_get_io_ptr(png));
  if (count > stream.source.size()) png_error(png, "the file ends early");
  std::memcpy(bytes, stream.source.data(), count);
  stream.source.remove_prefix(count);
}

void onWrite(png_structp png, png_bytep bytes, png_size_t count) {
  static_cast<Stream*>(png_get_io_ptr(png))
      ->target->append(reinterpret_cast<const char*>(bytes), count);
}

void onFlush(png_structp /*png*/) {}

template <typename Work>
void guarded(Stream& stream, Work work) {
  if (setjmp(stream.escape) != 0) throw Error(std::string("is a damaged PNG: ") + stream.message);
  work();
}

class PngReader {
 public:
  explicit PngReader(std::string_view bytes) : PngReader() {
    mStream.source = bytes;
    png_set_read_fn(mPng, &mStream, onRead);
    guarded(mStream, [this] { readInfo(); });
  }
  ~PngReader() { png_destroy_read_struct(&mPng, &mInfo, nullptr); }
  PngReader(const PngReader&) = delete;
  PngReader& operator=(const PngReader&) = delete;

  [[nodiscard]] ImageHeader header() const {
    ImageHeader header;
    header.width = static_cast<int>(png_get_image_width(mPng, mInfo));
    header.height = static_cast<int>(png_get_image_height(mPng, mInfo));
    header.format = format();
    return header;
  }

  void decode(png_bytep* rows) {
    guarded(mStream, [this, rows] {
      png_read_image(mPng, rows);
      png_read_end(mPng, nullptr);
    });
  }

 private:
  PngReader()
      : mPng(png_create_read_struct(PNG_LIBPNG_VER_STRING, &mStream, onError, onWarning)),
        mInfo(png_create_info_struct(mPng)) {}

  /// Values are kept as they are: no gamma, no background; transparent colours are opaque.
  void readInfo() {
    png_read_info(mPng, mInfo);
    const int colours = png_get_color_type(mPng, mInfo);
    if (colours == PNG_COLOR_TYPE_PALETTE) png_set_palette_to_rgb(mPng);
    if (colours == PNG_COLOR_TYPE_GRAY) png_set_expand_gray_1_2_4_to_8(mPng);
    if (colours == PNG_COLOR_TYPE_GRAY_ALPHA) png_set_strip_alpha(mPng);
    if (std::endian::native == std::endian::little) png_set_swap(mPng);
    png_set_interlace_handling(mPng);
    png_read_update_info(mPng, mInfo);
  }

  [[nodiscard]] rectiline_format format() const {
    const int channels = png_get_channels(mPng, mInfo);
    const bool isDeep = png_get_bit_depth(mPng, mInfo) == 16;
    if (isDeep && channels > 1) {
      throw Error("has colours of 16 bits; 8 bits of colour or 16 bits of grey can be used");
    }
    if (isDeep) return RECTILINE_GREY16;
    if (channels == 1) return RECTILINE_GREY8;
    return channels == 3 ? RECTILINE_RGB8 : RECTILINE_RGBA8;
  }

  Stream mStream;
  png_structp mPng;
  png_infop mInfo;
};

class PngWriter {
 public:
  explicit PngWriter(std::string& target)
      : mPng(png_create_write_struct(PNG_LIBPNG_VER_STRING, &mStream, onError, onWarning)),
        mInfo(png_create_info_struct(mPng)) {
    mStream.target = &target;
    png_set_write_fn(mPng, &mStream, onWrite, onFlush);
  }
  ~PngWriter() { png_destroy_write_struct(&mPng, &mInfo); }
  PngWriter(const PngWriter&) = delete;
  PngWriter& operator=(const PngWriter&) = delete;

  void encode(const Image& image) {
    guarded(mStream, [this, &image] {
      png_set_IHDR(mPng, mInfo, static_cast<png_uint_32>(image.width),
                   static_cast<png_uint_32>(image.height),
                   image.format == RECTILINE_GREY16 ? 16 : 8, colours(image.format),
                   PNG_INTERLACE_NONE, PNG_COMPRESSION_TYPE_DEFAULT, PNG_FILTER_TYPE_DEFAULT);
      // One filter, and matches of one length, cost a fraction of the default's time.
      png_set_filter(mPng, PNG_FILTER_TYPE_BASE, PNG_FILTER_SUB);
      png_set_compression_level(mPng, 1);
      png_set_compression_strategy(mPng, Z_RLE);
      png_write_info(mPng, mInfo);
      if (std::endian::native == std::endian::little) png_set_swap(mPng);
      for (int y = 0; y < image.height; ++y) png_write_row(mPng, image.row(y));
      png_write_end(mPng, nullptr);
    });
  }

 private:
  static int colours(rectiline_format format) {
    if (format == RECTILINE_RGB8) return PNG_COLOR_TYPE_RGB;
    return format == RECTILINE_RGBA8 ? PNG_COLOR_TYPE_RGB_ALPHA : PNG_COLOR_TYPE_GRAY;
  }

  Stream mStream;
  png_structp mPng;
  png_infop mInfo;
};

}  // namespace

bool isPng(std::string_view bytes) { return bytes.starts_with("\x89PNG\r\n\x1a\n"); }

ImageHeader readPngHeader(std::string_view bytes) { return PngReader(bytes).header(); }

Image decodePng(std::string_view bytes) {
  PngReader reader(bytes);
  Image image(reader.header());
  std::vector<png_bytep> rows;
  for (int y = 0; y < image.height; ++y) rows.push_back(image.row(y));
  reader.decode(rows.data());
  return image;
}

std::string encodePng(const Image& image) {
  std::string bytes;
  PngWriter(bytes).encode(image);
  return bytes;
}

}  // namespace rectiline::tool
