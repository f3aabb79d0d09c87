// The library's headers need these in front of them.
// clang-format off
#include <cstddef>
#include <cstdio>
#include <jpeglib.h>
#include <jerror.h>
// clang-format on

#include <array>
#include <csetjmp>
#include <cstdlib>

#include "cli/Error.h"
#include "images/Codecs.h"

namespace rectiline::tool {
namespace {

/// The library's errors. After one it jumps: no object that would have to be destroyed may be made
/// between guarded() and what it runs.
struct Errors : jpeg_error_mgr {
  Errors() {
    jpeg_std_error(this);
    error_exit = [](j_common_ptr jpeg) { static_cast<Errors*>(jpeg->err)->escapeFrom(jpeg); };
    emit_message = [](j_common_ptr jpeg, int level) {
      // What is missing of a picture would be grey; other oddities are common and harmless.
      const int code = jpeg->err->msg_code;
      const bool isCutOff = level < 0 && (code == JWRN_JPEG_EOF || code == JWRN_HIT_MARKER);
      if (isCutOff) static_cast<Errors*>(jpeg->err)->escapeFrom(jpeg);
    };
  }

  [[noreturn]] void escapeFrom(j_common_ptr jpeg) {
    format_message(jpeg, message.data());
    std::longjmp(escape, 1);
  }

  std::jmp_buf escape;
  std::array<char, JMSG_LENGTH_MAX> message{};
};

/// A picture can be sent in any number of refinements, each of which costs as much as the whole:
/// those of cameras have one, progressive ones up to about ten.
struct ScanLimit : jpeg_progress_mgr {
  ScanLimit() : jpeg_progress_mgr{} {
    progress_monitor = [](j_common_ptr jpeg) {
      constexpr int kMost = 100;
      const auto* const reader = reinterpret_cast<j_decompress_ptr>(jpeg);
      if (!jpeg->is_decompressor || reader->input_scan_number <= kMost) return;
      auto& errors = *static_cast<Errors*>(jpeg->err);
      std::snprintf(errors.message.data(), errors.message.size(), "more than %d scans", kMost);
      std::longjmp(errors.escape, 1);
    };
  }
};

template <typename Work>
void guarded(Errors& errors, Work work) {
  if (setjmp(errors.escape) != 0) {
    throw Error(std::string("cannot be used as JPEG: ") + errors.message.data());
  }
  work();
}

class JpegReader {
 public:
  explicit JpegReader(std::string_view bytes) : JpegReader() {
    guarded(mErrors, [this, bytes] {
      jpeg_mem_src(&mJpeg, reinterpret_cast<const unsigned char*>(bytes.data()), bytes.size());
      jpeg_read_header(&mJpeg, TRUE);
    });
  }
  ~JpegReader() { jpeg_destroy_decompress(&mJpeg); }
  JpegReader(const JpegReader&) = delete;
  JpegReader& operator=(const JpegReader&) = delete;

  [[nodiscard]] ImageHeader header() const {
    return {static_cast<int>(mJpeg.image_width), static_cast<int>(mJpeg.image_height),
            mJpeg.num_components == 1 ? RECTILINE_GREY8 : RECTILINE_RGB8};
  }

  void decode(Image& image) {
    guarded(mErrors, [this, &image] {
      mJpeg.out_color_space = image.format == RECTILINE_GREY8 ? JCS_GRAYSCALE : JCS_RGB;
      jpeg_start_decompress(&mJpeg);
      while (mJpeg.output_scanline < mJpeg.output_height) {
        JSAMPROW row = image.row(static_cast<int>(mJpeg.output_scanline));
        jpeg_read_scanlines(&mJpeg, &row, 1);
      }
      jpeg_finish_decompress(&mJpeg);
    });
  }

 private:
  JpegReader() {
    mJpeg.err = &mErrors;
    jpeg_create_decompress(&mJpeg);
    mJpeg.progress = &mScans;
  }

  Errors mErrors;
  ScanLimit mScans;
  jpeg_decompress_struct mJpeg{};
};

class JpegWriter {
 public:
  JpegWriter() {
    mJpeg.err = &mErrors;
    jpeg_create_compress(&mJpeg);
  }
  ~JpegWriter() {
    jpeg_destroy_compress(&mJpeg);
    std::free(mBytes);
  }
  JpegWriter(const JpegWriter&) = delete;
  JpegWriter& operator=(const JpegWriter&) = delete;

  std::string encode(const Image& image) {
    guarded(mErrors, [this, &image] {
      constexpr int kQuality = 95;
      jpeg_mem_dest(&mJpeg, &mBytes, &mSize);
      mJpeg.image_width = static_cast<JDIMENSION>(image.width);
      mJpeg.image_height = static_cast<JDIMENSION>(image.height);
      mJpeg.input_components = static_cast<int>(image.channels());
      mJpeg.in_color_space = image.format == RECTILINE_GREY8 ? JCS_GRAYSCALE : JCS_RGB;
      jpeg_set_defaults(&mJpeg);
      jpeg_set_quality(&mJpeg, kQuality, TRUE);
      jpeg_start_compress(&mJpeg, TRUE);
      for (int y = 0; y < image.height; ++y) {
        auto* row = const_cast<JSAMPROW>(image.row(y));
        jpeg_write_scanlines(&mJpeg, &row, 1);
      }
      jpeg_finish_compress(&mJpeg);
    });
    return {reinterpret_cast<const char*>(mBytes), mSize};
  }

 private:
  Errors mErrors;
  jpeg_compress_struct mJpeg{};
  unsigned char* mBytes = nullptr;
  unsigned long mSize = 0;
};

}  // namespace

bool isJpeg(std::string_view bytes) { return bytes.starts_with("\xFF\xD8\xFF"); }

ImageHeader readJpegHeader(std::string_view bytes) { return JpegReader(bytes).header(); }

Image decodeJpeg(std::string_view bytes) {
  JpegReader reader(bytes);
  Image image(reader.header());
  reader.decode(image);
  return image;
}

std::string encodeJpeg(const Image& image) {
  if (image.format == RECTILINE_GREY16) throw Error("JPEG cannot hold 16 bits");
  return JpegWriter().encode(withoutAlpha(image));
}

}  // namespace rectiline::tool
