// What the hot paths allocate: this program counts every operator new.

#include <gtest/gtest.h>

#include <atomic>
#include <cstdlib>
#include <new>
#include <vector>

#include "AR/CV/Camera/PinholeModel.h"
#include "AR/CV/Map/MapJob.h"
#include "Kel/kelRemapu8.h"
#include "LibraryCamera.h"

namespace {

std::atomic<int> allocations{0};
std::atomic<std::size_t> allocatedBytes{0};

void* counted(void* memory, std::size_t size) {
  ++allocations;
  allocatedBytes += size;
  if (memory == nullptr) std::abort();
  return memory;
}

}  // namespace

void* operator new(std::size_t size) { return counted(std::malloc(size), size); }
void* operator new(std::size_t size, std::align_val_t alignment) {
  const auto align = static_cast<std::size_t>(alignment);
  return counted(std::aligned_alloc(align, (size + align - 1) / align * align), size);
}
void operator delete(void* memory) noexcept { std::free(memory); }
void operator delete(void* memory, std::size_t) noexcept { std::free(memory); }
void operator delete(void* memory, std::align_val_t) noexcept { std::free(memory); }
void operator delete(void* memory, std::size_t, std::align_val_t) noexcept { std::free(memory); }

namespace rectiline::acceptance {
namespace {

using AR::CV::ImageFloat;

constexpr std::size_t kTableBytes = 16 * 1024;

struct Allocated {
  int count;
  std::size_t bytes;
};

template <typename F>
Allocated allocatedBy(F&& f) {
  const int countBefore = allocations;
  const std::size_t bytesBefore = allocatedBytes;
  f();
  return {allocations - countBefore, allocatedBytes - bytesBefore};
}

/// Maps of an image that is small enough for one thread, and of one that is not.
class Allocations : public ::testing::TestWithParam<int> {
 protected:
  const int mWidth = GetParam();
  const int mHeight = mWidth * 3 / 4;
  std::vector<float> mX = std::vector<float>(static_cast<std::size_t>(mWidth * mHeight));
  std::vector<float> mY = mX;
};

TEST_P(Allocations, AMapTakesOneTable) {
  const AR::CV::Camera<float> source =
      makeCamera<float>(testing::intrinsicsOf(lensNamed("fisheye_rational strong")));
  const auto size = [this](float scale) {
    return AR::Math::Vec<float, 2>(static_cast<float>(mWidth), static_cast<float>(mHeight)) * scale;
  };
  AR::CV::Camera<float> target;
  ASSERT_TRUE(target.init(AR::CV::pinholeModel<float>(size(1), size(0.5F), size(0.5F))));
  const AR::CV::MapJob<float> job(source, target, AR::Math::Mat<float, 3, 3>::identity(),
                                  AR::CV::DepthRule::InFront, false);
  ImageFloat X(mX.data(), {mWidth, mHeight}, false), Y(mY.data(), {mWidth, mHeight}, false);
  fillMap(job, true, X, Y);  // starts the worker pools
  const Allocated map = allocatedBy([&] { fillMap(job, true, X, Y); });
  EXPECT_LE(map.count, 1);
  EXPECT_LE(map.bytes, kTableBytes);
}

TEST_P(Allocations, ARemapTakesNone) {
  std::vector<std::uint8_t> source(mX.size()), target(mX.size());
  const auto remap = [&] {
    EXPECT_EQ(0, kelRemapu8(source.data(), mWidth, mHeight, mWidth, target.data(), mWidth, mHeight,
                            mWidth, mX.data(), mY.data(), 4 * mWidth, 1));
  };
  remap();
  EXPECT_EQ(0, allocatedBy(remap).count);
}

INSTANTIATE_TEST_SUITE_P(Widths, Allocations, ::testing::Values(64, 1280));

}  // namespace
}  // namespace rectiline::acceptance
