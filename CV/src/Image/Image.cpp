#include "AR/CV/Image/Image.h"

#include <algorithm>

#include "AR/Common/Macros.h"
#include "AR/Common/OS.h"

namespace AR::CV {
namespace {

constexpr char kImageSource[] = "AR/CV/Image/Image";
// So that every byte offset within an image fits 32 bits.
constexpr std::int64_t kMaxBytes = 0x7fffffff;
constexpr std::size_t kMaxAlignment = 4096;

std::int64_t product(const Math::Vec<int, 2>& size) {
  return static_cast<std::int64_t>(size(0)) * size(1);
}

}  // namespace

template <typename T>
Image<T>::Image(T* pixels, Size size, bool owns) {
  set(pixels, size, size, owns);
}

template <typename T>
Image<T>::~Image() {
  release();
}

template <typename T>
void Image<T>::set(T* pixels, Size size, Size bufSize, bool owns) {
  if (pixels != mPixels) release();
  mPixels = pixels;
  for (std::size_t i = 0; i < 2; ++i) {
    mBufSize(i) = std::max(bufSize(i), 0);
    mSize(i) = std::clamp(size(i), 0, mBufSize(i));
  }
  mOwnsPixels = owns;
  mAlignment = static_cast<int>(std::min(Common::OS::getAlignment(pixels), kMaxAlignment));
  describe();
}

template <typename T>
bool Image<T>::allocPixels(Size size, MEMORY_ALIGNMENT alignment, bool reallocate) {
  const std::int64_t needed = product(size);
  if (size(0) < 0 || size(1) < 0 || needed > kMaxBytes / static_cast<std::int64_t>(sizeof(T))) {
    return false;
  }
  // Memory of somebody else's is taken as it is: its alignment is the caller's business.
  const bool replaceable = mOwnsPixels || mPixels == nullptr;
  const bool misaligned = replaceable && mAlignment < alignment;
  const bool keep = !reallocate && needed <= capacity() && !misaligned && tryReshape(size);
  if (!keep && !reallocatePixels(size, alignment)) return false;
  mSize = size;
  describe();
  return true;
}

/// Finds a row length that holds `size` within the present capacity and divides it exactly.
template <typename T>
bool Image<T>::tryReshape(Size size) {
  if (size(0) <= mBufSize(0) && size(1) <= mBufSize(1)) return true;
  const std::int64_t room = capacity();
  if (room > kMaxBytes) return false;
  const std::int64_t rows = std::max(size(1), 1);
  for (std::int64_t w = std::max(size(0), 1); w * rows <= room; ++w) {
    if (room % w != 0) continue;
    mBufSize = Size(static_cast<int>(w), static_cast<int>(room / w));
    return true;
  }
  return false;
}

template <typename T>
bool Image<T>::reallocatePixels(Size size, MEMORY_ALIGNMENT alignment) {
  release();
  const std::int64_t needed = product(size);
  if (needed >= 1) {
    const std::size_t bytes = static_cast<std::size_t>(needed) * sizeof(T);
    mPixels = static_cast<T*>(Common::OS::allocAligned(bytes, static_cast<std::size_t>(alignment)));
    if (mPixels == nullptr) {
      describe();
      return false;
    }
    mOwnsPixels = true;
    mAlignment = alignment;
  }
  mBufSize = size;
  return true;
}

template <typename T>
void Image<T>::release() {
  if (mOwnsPixels) Common::OS::freeAligned(mPixels);
  mPixels = nullptr;
  mOwnsPixels = false;
  mAlignment = 0;
  mSize = Size();
  mBufSize = Size();
}

template <typename T>
void Image<T>::describe() {
  mStride = static_cast<std::int64_t>(mBufSize(0)) * static_cast<std::int64_t>(sizeof(T));
  mDescriptor.width = mSize(0);
  mDescriptor.height = mSize(1);
  mDescriptor.format = mFormat == kGenericFormat ? kDescriptorFormat : mFormat;
  mDescriptor.data = mPixels;
  mDescriptor.bytes = mStride * mBufSize(1);
  mDescriptor.stride = mStride;
}

template <typename T>
void Image<T>::setFormat(std::uint32_t format) {
  mFormat = format;
  describe();
}

template <typename T>
void Image<T>::clear(T value) {
  if (mPixels == nullptr) return;
  for (int y = 0; y < mSize(1); ++y) std::fill_n(row(y), mSize(0), value);
}

template <typename T>
bool Image<T>::checkBounds(int nX, int nY) const {
  const bool pixels = AR_CHECK(mPixels, "mPixels", kImageSource);
  const bool column =
      AR_CHECK(nX >= 0 && nX < mSize(0), "nX >= 0 && nX<(int)(mSize(0))", kImageSource);
  const bool line =
      AR_CHECK(nY >= 0 && nY < mSize(1), "nY >= 0 && nY<(int)(mSize(1))", kImageSource);
  const bool buffer = AR_CHECK(nX + offset(nY) < capacity(),
                               "(nX + nY*mBufSize(0)) < (mBufSize(0)*mBufSize(1))", kImageSource);
  return pixels && column && line && buffer;
}

template <typename T>
std::size_t Image<T>::numPixels() const {
  return static_cast<std::size_t>(product(mSize));
}

template class Image<float>;
template class Image<double>;
template class Image<unsigned char>;

}  // namespace AR::CV
