#pragma once

#include <cstdint>

#include "AR/Common/RefCounter.h"
#include "AR/Common/SmartPtr.h"
#include "AR/Math/Vector.h"

namespace AR::Common {

/// An object that owns pixel memory which images share; released with the last of them.
class Image : public RefCounterT<AccessProtector_ThreadSafe> {
 public:
  ~Image() override = default;
};

}  // namespace AR::Common

namespace AR::CV {

/// Alignment of pixel memory in bytes.
enum MEMORY_ALIGNMENT : int {
  MEMORY_ALIGNMENT_1 = 1,
  MEMORY_ALIGNMENT_4 = 4,
  MEMORY_ALIGNMENT_16 = 16,
  MEMORY_ALIGNMENT_64 = 64,
};

/// An image as the kernel library sees it.
struct ImageDescriptor {
  int width = 0;             // pixels
  int height = 0;            // pixels
  std::uint32_t format = 0;  // pixel-format code of the kernel library
  void* data = nullptr;      // first pixel
  std::int64_t bytes = 0;    // stride times allocated rows
  std::int64_t stride = 0;   // bytes from one row to the next
};

/// A two-dimensional pixel buffer: its own memory, or a caller's that it wraps without owning.
///
/// Pixel (x, y) lives at element x + y * bufSize(0), so rows may be longer than the image. Integer
/// coordinates are pixel positions. Instantiated for float (`ImageFloat`) and unsigned char.
template <typename T>
class Image : public Common::RefCounterT<Common::AccessProtector_NoProtection> {
 public:
  using Size = Math::Vec<int, 2>;

  /// The pixel format until another is set; the descriptor records it as kDescriptorFormat.
  static constexpr std::uint32_t kGenericFormat = 0x10001100;
  static constexpr std::uint32_t kDescriptorFormat = 0x10001104;

  Image() = default;
  /// Wraps `size(0) * size(1)` dense pixels; with `owns` they are freed as aligned memory.
  Image(T* pixels, Size size, bool owns);
  ~Image() override;
  Image(const Image&) = delete;
  Image& operator=(const Image&) = delete;

  /// Replaces the pixels: `bufSize` is the allocated width and height. A negative extent counts as
  /// 0, and of a `size` beyond `bufSize` only what lies in the buffer is kept.
  void set(T* pixels, Size size, Size bufSize, bool owns);

  /// Gives the image `size`, reusing its memory where that is large enough.
  ///
  /// Memory that the image does not own is never given up for its alignment alone.
  /// @param reallocate  take new memory even when the old would do
  /// @return false, with nothing changed, for a negative size or one beyond 2 GiB; false, with an
  ///         empty image, when memory has run out
  bool allocPixels(Size size, MEMORY_ALIGNMENT alignment, bool reallocate);

  /// Sets every pixel of the image, not of the padding behind its rows.
  void clear(T value);

  /// Reported checks that (x, y) is a pixel of this image; true when it is.
  [[nodiscard]] bool checkBounds(int nX, int nY) const;

  /// One pixel; a position outside is reported and gives a default pixel (reads) or nothing.
  [[nodiscard]] T getPixel(int x, int y) const { return checkBounds(x, y) ? row(y)[x] : T(); }
  void setPixel(int x, int y, T value) {
    if (checkBounds(x, y)) row(y)[x] = value;
  }

  /// First pixel of row y, which must be a row of the image.
  [[nodiscard]] T* row(int y) { return mPixels + offset(y); }
  [[nodiscard]] const T* row(int y) const { return mPixels + offset(y); }

  [[nodiscard]] T* pixels() { return mPixels; }
  [[nodiscard]] const T* pixels() const { return mPixels; }
  [[nodiscard]] const Size& size() const { return mSize; }
  [[nodiscard]] const Size& bufSize() const { return mBufSize; }
  [[nodiscard]] std::size_t numPixels() const;
  [[nodiscard]] std::int64_t stride() const { return mStride; }
  [[nodiscard]] bool ownsPixels() const { return mOwnsPixels; }
  [[nodiscard]] int alignment() const { return mAlignment; }
  [[nodiscard]] const ImageDescriptor& descriptor() const { return mDescriptor; }

  void setFormat(std::uint32_t format);
  void setOwner(const Common::SmartPtr<Common::Image>& owner) { mOwner = owner; }

 private:
  [[nodiscard]] std::int64_t offset(int y) const {
    return static_cast<std::int64_t>(y) * mBufSize(0);
  }
  [[nodiscard]] std::int64_t capacity() const {
    return static_cast<std::int64_t>(mBufSize(0)) * mBufSize(1);
  }
  bool tryReshape(Size size);
  bool reallocatePixels(Size size, MEMORY_ALIGNMENT alignment);
  void release();
  void describe();

  T* mPixels = nullptr;
  Size mSize;
  Size mBufSize;
  std::int64_t mStride = 0;
  bool mOwnsPixels = false;
  int mAlignment = 0;
  std::uint32_t mFormat = kGenericFormat;
  ImageDescriptor mDescriptor;
  Common::SmartPtr<Common::Image> mOwner;
};

using ImageFloat = Image<float>;
using ImageByte = Image<unsigned char>;

extern template class Image<float>;
extern template class Image<double>;
extern template class Image<unsigned char>;

}  // namespace AR::CV
