// What the hot paths allocate, on every thread.

#include <gtest/gtest.h>

#include <cstdint>
#include <functional>
#include <vector>

#include "AR/CV/Camera/PinholeModel.h"
#include "AR/CV/Map/MapJob.h"
#include "LibraryCamera.h"
#include "TestDevices.h"
#include "VIO/StereoRectifyWrapper.h"
#include "rectiline/rectiline.h"
#include "testing/Faults.h"

namespace rectiline::acceptance {
namespace {

namespace allocations = testing::allocationFaults;
using AR::CV::ImageFloat;

constexpr std::int64_t kTableBytes = 16 * 1024;

struct Allocated {
  std::int64_t count;
  std::int64_t bytes;
};

/// What a call allocates once it has been made before.
Allocated allocatedBy(const std::function<void()>& call) {
  call();
  const std::int64_t countBefore = allocations::count();
  const std::int64_t bytesBefore = allocations::bytes();
  call();
  return {allocations::count() - countBefore, allocations::bytes() - bytesBefore};
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
  const Allocated map = allocatedBy([&] { fillMap(job, true, X, Y); });
  EXPECT_LE(map.count, 1);
  EXPECT_LE(map.bytes, kTableBytes);
}

TEST_P(Allocations, AFrameTakesNone) {
  std::vector<std::uint8_t> source(mX.size()), target(mX.size());
  std::vector<float> gains(mX.size(), 0.5F);
  const auto width = static_cast<std::uint32_t>(mWidth),
             height = static_cast<std::uint32_t>(mHeight);
  Image from{source.data(), width, height, 0}, to{target.data(), width, height, 0};
  UndistortionMap maps{mX.data(), width, height, mY.data(), width, height};
  VignettingMap gainMaps{gains.data(), width, height};
  const CalibrationMap map{&maps, nullptr, &gainMaps, 1};
  const rectiline_map cMap{sizeof cMap, mWidth, mHeight, 0, mX.data(), mY.data(), 0, nullptr, 0};
  const auto image = [&](std::vector<std::uint8_t>& pixels) {
    return rectiline_image{
        sizeof(rectiline_image), RECTILINE_GREY8, mWidth, mHeight, pixels.data(), 0};
  };
  const rectiline_image cFrom = image(source), cTo = image(target);
  rectiline_plan_options options{};
  options.struct_size = sizeof options;
  options.format = RECTILINE_GREY8;
  options.source_width = mWidth;
  options.source_height = mHeight;
  rectiline_plan* plan = nullptr;
  ASSERT_EQ(rectiline_plan_create(&cMap, &options, &plan), RECTILINE_OK);
  const std::function<int()> frames[] = {[&] { return ApplyUndistortionMap(&from, 1, map, &to); },
                                         [&] { return ApplyCalibrationMap(&from, 1, map, &to); },
                                         [&] { return rectiline_remap(&cFrom, &cMap, &cTo); },
                                         [&] { return rectiline_correct(&cTo, gains.data(), 0); },
                                         [&] { return rectiline_plan_apply(plan, &cFrom, &cTo); }};
  for (const auto& frame : frames) {
    EXPECT_EQ(allocatedBy([&] { EXPECT_EQ(frame(), 0); }).count, 0) << &frame - frames;
  }
  rectiline_plan_destroy(plan);
}

INSTANTIATE_TEST_SUITE_P(Widths, Allocations, ::testing::Values(64, 1280));

TEST(RectificationAllocations, AreFewForEveryLens) {
  constexpr std::uint32_t kPixels = 320 * 240;
  std::vector<float> maps[4];
  for (auto& map : maps) map.resize(kPixels);
  for (const Lens& lens : kLenses) {
    const DeviceCalibrationZEL device = VIO::testing::device(lens);
    CameraCalibrationZEL rectified;
    const auto rectify = [&] {
      CreateRectifyMap(&device, 0, maps[0].data(), kPixels, maps[1].data(), kPixels, maps[2].data(),
                       kPixels, maps[3].data(), kPixels, nullptr, &rectified);
    };
    EXPECT_LE(allocatedBy(rectify).count, 82) << lens.name;
  }
}

}  // namespace
}  // namespace rectiline::acceptance
