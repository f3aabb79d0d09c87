#include <gtest/gtest.h>

#include <array>
#include <cmath>
#include <cstring>
#include <limits>
#include <vector>

#include "TestModels.h"
#include "VIO/StereoRectifyWrapper.h"

namespace VIO {
namespace {

using testing::device;
using testing::ModelCase;

constexpr CalibrationTransform kNone{nullptr, nullptr, 0};

DeviceCalibrationZEL filled(int byte) {
  DeviceCalibrationZEL record;
  std::memset(static_cast<void*>(&record), byte, sizeof record);
  return record;
}

bool areEqual(const void* a, const void* b, std::size_t bytes) {
  return std::memcmp(a, b, bytes) == 0;
}

std::array<double, 6> parameters(const DeviceCalibrationZEL& record, int i) {
  const IntrinsicCameraCalibrationZEL& in = record.cameras[i].intrinsics;
  return {double(in.width),  double(in.height),    in.focal_length_x,
          in.focal_length_y, in.principal_point_x, in.principal_point_y};
}

void expectNear(const std::array<double, 6>& a, const std::array<double, 6>& b) {
  for (std::size_t i = 0; i < 6; ++i) EXPECT_NEAR(a[i], b[i], 1e-4) << i;
}

TEST(LinearCalibration, SameFocalLengthKeepsAllButTheDistortion) {
  for (const ModelCase& c : testing::kModels) {
    SCOPED_TRACE(c.name);
    DeviceCalibrationZEL source = device(c, 210);
    source.num_cameras = 3;
    source.cameras[1].pose = {{0.1, 0.2, 0.3, std::sqrt(1 - 0.14)}, {-0.1, 0.2, 0.3}};
    DeviceCalibrationZEL target = filled(0x55);
    SameFocalLengthLinearCalibration(&source, kNone, &target);
    ASSERT_EQ(target.num_cameras, 3);
    for (int i = 0; i < 3; ++i) {
      expectNear(parameters(target, i), parameters(source, i));
      const IntrinsicCameraCalibrationZEL& in = target.cameras[i].intrinsics;
      EXPECT_EQ(in.distortion_model, CamModel::LINEAR);
      EXPECT_EQ(in.distortion_limit, 25);
      EXPECT_EQ(in.undistortion_limit, 25);
      for (const double k : in.distortion) EXPECT_EQ(k, 0);
      EXPECT_STREQ(target.cameras[i].name,
                   (std::array{"trackingA0", "trackingB1", "c"}[static_cast<std::size_t>(i)]));
    }
    EXPECT_NEAR(target.cameras[1].pose.orientation.z, 0.3, 1e-6);
    EXPECT_NEAR(target.cameras[1].pose.position.y, 0.2, 1e-6);
  }
}

TEST(LinearCalibration, WritesNothingButTheHeaderAndItsCameras) {
  const DeviceCalibrationZEL source = device(2);
  const DeviceCalibrationZEL before = filled(0x55);
  DeviceCalibrationZEL target = before;
  LargestLinearCalibration(&source, kNone, &target);
  for (const char c : target.header) EXPECT_EQ(c, '\0');
  EXPECT_EQ(target.num_imus, 0);
  EXPECT_TRUE(areEqual(target.imus, before.imus, sizeof before.imus));
  EXPECT_TRUE(areEqual(target.cameras + 2, before.cameras + 2, 4 * sizeof before.cameras[0]));
  DeviceCalibrationZEL inPlace = source;
  LargestLinearCalibration(&inPlace, kNone, &inPlace);
  EXPECT_TRUE(areEqual(inPlace.cameras, target.cameras, 2 * sizeof target.cameras[0]));
}

/// The exact source row that the linear camera sees at `row` of the column of its centre.
double sourceRow(const CamModel::CameraModel<double>& source, const DeviceCalibrationZEL& linear,
                 double row) {
  const IntrinsicCameraCalibrationZEL& in = linear.cameras[0].intrinsics;
  const double y = (row - in.principal_point_y) / in.focal_length_y;
  return testing::exactPixel(source, 0, y)(1);
}

TEST(LinearCalibration, LargestPutsTheEndThatSpreadsLessOnTheBorder) {
  int unequal = 0;
  for (const ModelCase& c : testing::kModels) {
    for (const double cy : {119.5, 90.0, 140.0}) {
      SCOPED_TRACE(std::string(c.name) + " " + std::to_string(cy));
      DeviceCalibrationZEL source = device(c);
      IntrinsicCameraCalibrationZEL& in = source.cameras[0].intrinsics;
      in.principal_point_y = cy;
      in.distortion[6] = in.distortion[7] = 0;
      DeviceCalibrationZEL linear{};
      LargestLinearCalibration(&source, kNone, &linear);
      std::array<double, 6> expected = parameters(source, 0);
      expected[3] = linear.cameras[0].intrinsics.focal_length_y;
      expected[2] = expected[3] / 1.02;
      expectNear(parameters(linear, 0), expected);
      const CamModel::CameraModel<double> exact(in);
      const double top = sourceRow(exact, linear, 0);
      const double bottom = 239 - sourceRow(exact, linear, 239);
      EXPECT_NEAR(std::min(top, bottom), 0, 0.05);
      if (cy == 119.5) {
        EXPECT_NEAR(std::max(top, bottom), 0, 0.05);
      } else {
        // Barrel distortion spreads the far end more, so the near one decides.
        const bool isBarrel = c.model == CamModel::RADIAL_2_PARAMETERS;
        EXPECT_NEAR(isBarrel ? (cy < 119 ? top : bottom) : 0, 0, 0.05);
        unequal += std::max(top, bottom) > 0.5;
      }
    }
  }
  EXPECT_GT(unequal, 8);
}

TEST(LinearCalibration, TransformsReplaceSizesAndIntrinsics) {
  const std::vector<std::int32_t> wide = {128, 48, 64, 96};
  const std::vector<std::int32_t> one = {128, 48};
  const std::vector<float> given = {10, 20, 30, 40, 50, 60, 33, 44};
  const std::array<double, 6> same = {64, 48, 50, 50, 32, 24};
  const struct {
    CalibrationTransform transform;
    std::array<double, 6> left, right;
  } kCases[] = {{{wide.data(), given.data(), 0}, same, same},
                {{nullptr, nullptr, 255}, same, same},
                {{one.data(), nullptr, 1}, {128, 48, 100, 50, 64, 24}, same},
                {{wide.data(), nullptr, 2}, {128, 48, 100, 50, 64, 24}, {64, 96, 50, 100, 32, 48}},
                {{nullptr, given.data(), 2}, {64, 48, 10, 20, 30, 40}, {64, 48, 50, 60, 33, 44}},
                {{wide.data(), given.data(), 1}, {128, 48, 10, 20, 30, 40}, same}};
  for (const auto& c : kCases) {
    for (const bool largest : {false, true}) {  // the same for a camera without distortion
      const DeviceCalibrationZEL source = device(2);
      DeviceCalibrationZEL target{};
      getLinearCalibration(&source, largest, c.transform, &target);
      ASSERT_EQ(target.num_cameras, 2);
      expectNear(parameters(target, 0), c.left);
      expectNear(parameters(target, 1), c.right);
    }
  }
}

TEST(LinearCalibration, AnyFailureLeavesTheTargetAlone) {
  const std::int32_t noSize[] = {64, 48, 0, 48};
  const std::int32_t negative[] = {64, 48, 64, -48};
  const float noFocal[] = {50, 50, 32, 24, 0, 50, 32, 24};
  const float nan[] = {50, 50, 32, 24, 50, 50, std::numeric_limits<float>::quiet_NaN(), 24};
  DeviceCalibrationZEL broken = device(2);
  broken.cameras[1].intrinsics.distortion_model = 9;
  DeviceCalibrationZEL upsideDown = device(testing::kModels[4]);  // no ray for its bottom row
  upsideDown.cameras[1].intrinsics.distortion_limit = 0.4;
  upsideDown.cameras[1].intrinsics.undistortion_limit = 0.4;
  const DeviceCalibrationZEL good = device(2);
  const DeviceCalibrationZEL tooMany = device(7);
  const DeviceCalibrationZEL before = filled(0x55);
  const struct {
    const DeviceCalibrationZEL* source;
    CalibrationTransform transform;
  } kCases[] = {{nullptr, kNone},
                {&broken, kNone},
                {&tooMany, kNone},
                {&upsideDown, kNone},
                {&good, {noSize, nullptr, 2}},
                {&good, {negative, nullptr, 2}},
                {&good, {nullptr, noFocal, 2}},
                {&good, {nullptr, nan, 2}}};
  for (const auto& c : kCases) {
    DeviceCalibrationZEL target = before;
    LargestLinearCalibration(c.source, c.transform, &target);
    EXPECT_TRUE(areEqual(&target, &before, sizeof before)) << &c - kCases;
    LargestLinearCalibration(c.source, c.transform, nullptr);
  }
}

}  // namespace
}  // namespace VIO
