#include <gtest/gtest.h>

#include <cstdint>

#include "AR/CV/Image/Image.h"
#include "testing/GuardedBuffer.h"
#include "testing/LogCapture.h"

namespace AR::CV {
namespace {

using rectiline::testing::GuardedBuffer;
using rectiline::testing::LogCapture;
using Size = ImageFloat::Size;

// The capacity is 12 x 8 = 96 pixels of somebody else's memory, at an odd multiple of 4 bytes.
TEST(Image, AllocPixelsKeepsReshapesOrReplacesTheBuffer) {
  const struct {
    Size size;
    bool reallocate, ok, keeps;
    Size bufSize;
  } kCases[] = {
      {{12, 8}, false, true, true, {12, 8}},   // fits, whatever its alignment
      {{5, 3}, false, true, true, {12, 8}},    // smaller
      {{16, 6}, false, true, true, {16, 6}},   // same capacity, other shape
      {{13, 5}, false, true, true, {16, 6}},   // 16 is the first divisor of 96 from 13 on
      {{17, 5}, false, true, false, {17, 5}},  // no divisor of 96 from 17 on leaves 5 rows
      {{12, 8}, true, true, false, {12, 8}},
      {{0, 9}, false, true, true, {1, 96}},
      {{200, 0}, false, true, false, {200, 0}},
      {{-1, 4}, false, false, true, {12, 8}},
      {{-3, -3}, false, false, true, {12, 8}},
      {{65536, 65536}, false, false, true, {12, 8}},  // 0 in 32 bits
      {{32768, 16384}, false, false, true, {12, 8}},  // 2 GiB and more
  };
  for (const auto& c : kCases) {
    SCOPED_TRACE(::testing::Message() << c.size(0) << "x" << c.size(1) << " " << c.reallocate);
    GuardedBuffer<float> buffer(96, 1.0F, 4);
    ImageFloat image(buffer.data(), {12, 8}, false);
    EXPECT_EQ(image.allocPixels(c.size, MEMORY_ALIGNMENT_16, c.reallocate), c.ok);
    EXPECT_EQ(image.pixels() == buffer.data(), c.keeps);
    EXPECT_TRUE(image.size() == (c.ok ? c.size : Size(12, 8)));
    EXPECT_TRUE(image.bufSize() == c.bufSize);
    EXPECT_EQ(image.ownsPixels(), !c.keeps && image.numPixels() > 0);
    EXPECT_EQ(image.pixels() == nullptr, !c.keeps && image.numPixels() == 0);
    image.clear(2);
    EXPECT_TRUE(buffer.intact());
  }
}

TEST(Image, AllocPixelsAlignsItsOwnMemory) {
  ImageFloat image(nullptr, {12, 8}, false);
  EXPECT_TRUE(image.allocPixels({12, 8}, MEMORY_ALIGNMENT_16, false));
  EXPECT_EQ(image.alignment(), 16);
  EXPECT_TRUE(image.allocPixels({12, 8}, MEMORY_ALIGNMENT_64, false));
  EXPECT_EQ(image.alignment(), 64);
  EXPECT_EQ(reinterpret_cast<std::uintptr_t>(image.pixels()) % 64, 0U);
  EXPECT_TRUE(image.allocPixels({3, 3}, MEMORY_ALIGNMENT_16, false));
  EXPECT_EQ(image.descriptor().stride, 48);
}

TEST(Image, WrapsPaddedRowsAndDescribesThem) {
  GuardedBuffer<unsigned char> buffer(24, 1);
  ImageByte image;
  image.set(buffer.data(), {4, 3}, {6, 4}, false);
  image.clear(9);
  for (std::size_t i = 0; i < buffer.size(); ++i) {
    EXPECT_EQ(buffer[i], i % 6 < 4 && i / 6 < 3 ? 9 : 1) << i;
  }
  EXPECT_TRUE(buffer.intact());
  const ImageDescriptor& d = image.descriptor();
  EXPECT_EQ(d.data, buffer.data());
  EXPECT_EQ(d.width + 10 * d.height + 100 * d.stride + 10000 * d.bytes, 4 + 30 + 600 + 240000);
  EXPECT_EQ(d.format, 0x10001104U);
  image.setFormat(0x10001101);
  EXPECT_EQ(d.format, 0x10001101U);
  image.set(buffer.data(), {7, -3}, {6, 4}, false);
  EXPECT_TRUE(image.size() == Size(6, 0));
}

TEST(Image, ReportsPixelsOutside) {
  float pixels[6] = {};
  ImageFloat image(pixels, {3, 2}, false);
  ImageFloat absent(nullptr, {3, 2}, false);
  const struct {
    ImageFloat& image;
    int x, y;
    const char* text;
  } kCases[] = {{image, 3, 0, "nX >= 0 && nX<(int)(mSize(0))"},
                {image, -1, 1, "nX >= 0 && nX<(int)(mSize(0))"},
                {image, 0, 2, "(nX + nY*mBufSize(0)) < (mBufSize(0)*mBufSize(1))"},
                {absent, 0, 0, "mPixels"}};
  for (const auto& c : kCases) {
    LogCapture log;
    EXPECT_FALSE(c.image.checkBounds(c.x, c.y));
    EXPECT_EQ(log.count(std::string(c.text) + " AR/CV/Image/Image("), 1) << log.text();
    c.image.setPixel(c.x, c.y, 5);
    EXPECT_EQ(c.image.getPixel(c.x, c.y), 0);
  }
  image.setPixel(2, 1, 5);
  EXPECT_EQ(image.getPixel(2, 1), 5);
}

}  // namespace
}  // namespace AR::CV
