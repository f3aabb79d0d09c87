#include <gtest/gtest.h>

#include <array>
#include <cmath>
#include <cstring>
#include <limits>
#include <vector>

#include "TestModels.h"
#include "VIO/StereoRectifyWrapper.h"
#include "testing/LogCapture.h"

namespace VIO {
namespace {

using testing::device;
using testing::ModelCase;

constexpr CalibrationTransform kNone{nullptr, nullptr, 0};

DeviceCalibrationZEL filled() {
  DeviceCalibrationZEL record;
  std::memset(static_cast<void*>(&record), 0x55, sizeof record);
  return record;
}

/// Width, height, fx, fy, cx, cy.
using Parameters = std::array<double, 6>;

Parameters parameters(const DeviceCalibrationZEL& record, int i) {
  const IntrinsicCameraCalibrationZEL& in = record.cameras[i].intrinsics;
  return {double(in.width),  double(in.height),    in.focal_length_x,
          in.focal_length_y, in.principal_point_x, in.principal_point_y};
}

void expectNear(const Parameters& a, const Parameters& b) {
  for (std::size_t i = 0; i < 6; ++i) EXPECT_NEAR(a[i], b[i], 1e-4) << i;
}

TEST(LinearCalibration, SameFocalLengthKeepsAllButTheDistortion) {
  for (const ModelCase& c : testing::kModels) {
    SCOPED_TRACE(c.name);
    DeviceCalibrationZEL source = device(c, 210);
    source.num_cameras = 3;
    source.cameras[1].pose = {{0.1, 0.2, 0.3, std::sqrt(1 - 0.14)}, {-0.1, 0.2, 0.3}};
    DeviceCalibrationZEL target = filled();
    SameFocalLengthLinearCalibration(&source, kNone, &target);
    ASSERT_EQ(target.num_cameras, 3);
    for (int i = 0; i < 3; ++i) {
      expectNear(parameters(target, i), parameters(source, i));
      const IntrinsicCameraCalibrationZEL& in = target.cameras[i].intrinsics;
      EXPECT_EQ(in.distortion_model, CamModel::LINEAR);
      EXPECT_EQ(in.distortion_limit + in.undistortion_limit, 25 + 25);
      for (const double k : in.distortion) EXPECT_EQ(k, 0);
    }
    EXPECT_STREQ(target.cameras[1].name, "trackingB1");
    EXPECT_STREQ(target.cameras[2].name, "c");
    EXPECT_NEAR(target.cameras[1].pose.orientation.z, 0.3, 1e-6);
    EXPECT_NEAR(target.cameras[1].pose.position.y, 0.2, 1e-6);
  }
}

TEST(LinearCalibration, WritesNothingButTheHeaderAndItsCameras) {
  const DeviceCalibrationZEL source = device(2), before = filled();
  DeviceCalibrationZEL target = before, inPlace = source;
  LargestLinearCalibration(&source, kNone, &target);
  LargestLinearCalibration(&inPlace, kNone, &inPlace);
  for (const char c : target.header) EXPECT_EQ(c, '\0');
  EXPECT_EQ(target.num_imus, 0);
  EXPECT_EQ(std::memcmp(target.imus, before.imus, sizeof before.imus), 0);
  EXPECT_EQ(std::memcmp(target.cameras + 2, before.cameras + 2, 4 * sizeof before.cameras[0]), 0);
  EXPECT_EQ(std::memcmp(inPlace.cameras, target.cameras, 2 * sizeof target.cameras[0]), 0);
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
      const double fy = linear.cameras[0].intrinsics.focal_length_y;
      expectNear(parameters(linear, 0), {320, 240, fy / 1.02, fy, 160, cy});
      // How far inside the source the borders of the linear image lie, by the exact formula.
      const CamModel::CameraModel<double> exact(in);
      const double top = testing::exactPixel(exact, 0, -cy / fy)(1);
      const double bottom = 239 - testing::exactPixel(exact, 0, (239 - cy) / fy)(1);
      EXPECT_NEAR(std::min(top, bottom), 0, 0.05);
      if (c.model != CamModel::RADIAL_2_PARAMETERS) continue;
      std::printf("barrel, cy %.1f: top %.4f, bottom %.4f px inside\n", cy, top, bottom);
      EXPECT_NEAR(cy < 119 ? top : bottom, 0, 0.05) << "of a barrel the near end spreads less";
      const bool isCentred = cy == 119.5;
      EXPECT_EQ(std::max(top, bottom) < 0.05, isCentred);
      unequal += !isCentred;
    }
  }
  EXPECT_EQ(unequal, 2);
}

TEST(LinearCalibration, TransformsReplaceSizesAndIntrinsics) {
  const std::vector<std::int32_t> sizes = {128, 48, 64, 96}, one = {128, 48};
  const std::vector<float> given = {10, 20, 30, 40, 50, 60, 33, 44};
  const Parameters same = {64, 48, 50, 50, 32, 24}, wide = {128, 48, 100, 50, 64, 24};
  const struct {
    CalibrationTransform transform;
    Parameters left, right;
  } kCases[] = {{{sizes.data(), given.data(), 0}, same, same},
                {{nullptr, nullptr, 255}, same, same},
                {{one.data(), nullptr, 1}, wide, same},
                {{sizes.data(), nullptr, 2}, wide, {64, 96, 50, 100, 32, 48}},
                {{nullptr, given.data(), 2}, {64, 48, 10, 20, 30, 40}, {64, 48, 50, 60, 33, 44}},
                {{sizes.data(), given.data(), 1}, {128, 48, 10, 20, 30, 40}, same}};
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
  const std::int32_t noSize[] = {64, 48, 0, 48}, negative[] = {64, 48, 64, -48};
  const float noFocal[] = {50, 50, 32, 24, 0, 50, 32, 24};
  const float nan[] = {50, 50, 32, 24, 50, 50, std::numeric_limits<float>::quiet_NaN(), 24};
  const DeviceCalibrationZEL good = device(2), tooMany = device(7), before = filled();
  DeviceCalibrationZEL unknown = device(2), noBottom = device(2);
  unknown.cameras[1].intrinsics.distortion_model = 9;
  noBottom.cameras[1].intrinsics.distortion_limit = 0.4;
  noBottom.cameras[1].intrinsics.undistortion_limit = 0.4;
  const struct {
    const DeviceCalibrationZEL* source;
    CalibrationTransform transform;
  } kCases[] = {{nullptr, kNone},
                {&unknown, kNone},
                {&tooMany, kNone},
                {&noBottom, kNone},
                {&good, {noSize, nullptr, 2}},
                {&good, {negative, nullptr, 2}},
                {&good, {nullptr, noFocal, 2}},
                {&good, {nullptr, nan, 2}}};
  const rectiline::testing::LogCapture log;
  for (const auto& c : kCases) {
    DeviceCalibrationZEL target = before;
    LargestLinearCalibration(c.source, c.transform, &target);
    EXPECT_EQ(std::memcmp(&target, &before, sizeof before), 0) << &c - kCases;
    LargestLinearCalibration(c.source, c.transform, nullptr);
  }
}

}  // namespace
}  // namespace VIO
