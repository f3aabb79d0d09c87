#include <gtest/gtest.h>

#include <array>
#include <cmath>
#include <cstddef>
#include <cstring>
#include <limits>
#include <string>
#include <vector>

#include "TestDevices.h"
#include "VIO/StereoRectifyWrapper.h"
#include "testing/ExactModel.h"
#include "testing/LogCapture.h"

namespace VIO {
namespace {

using rectiline::testing::LogCapture;
using testing::device;
using testing::emptyRig;
using testing::Lens;

constexpr double kNaN = std::numeric_limits<double>::quiet_NaN();
constexpr double kInf = std::numeric_limits<double>::infinity();

bool converts(const DeviceCalibrationZEL& record) { return !testing::rigOf(record).empty(); }

// Every double of a camera record, found by its offset.
TEST(DeviceConversion, RefusesEveryFieldThatIsNotFiniteInSinglePrecision) {
  constexpr std::size_t kIntrinsics = offsetof(CameraCalibrationZEL, intrinsics.principal_point_x);
  constexpr std::size_t kModel = offsetof(CameraCalibrationZEL, intrinsics.distortion_model);
  constexpr std::size_t kPose = offsetof(CameraCalibrationZEL, pose);
  const auto put = [](CameraCalibrationZEL& camera, std::size_t offset, double value) {
    std::memcpy(reinterpret_cast<char*>(&camera) + offset, &value, sizeof value);
  };
  for (std::size_t offset = kIntrinsics; offset < kPose + sizeof(XrPosedZEL_t); offset += 8) {
    if (offset == kModel) continue;
    for (const double value : {kNaN, kInf, 1e39}) {
      DeviceCalibrationZEL record = device();
      put(record.cameras[2], offset, value);
      EXPECT_TRUE(converts(record)) << "a record past the last camera must not be read";
      put(record.cameras[1], offset, value);
      EXPECT_FALSE(converts(record)) << offset << " " << value;
    }
  }
}

TEST(DeviceConversion, RefusesQuaternionsThatAreNotOfUnitLength) {
  const struct {
    double x, w;
    bool ok;
  } kCases[] = {{0, 0, false},     {0, 1.0006, false}, {0, 0.9994, false}, {0, 1.0004, true},
                {0, 0.9996, true}, {0.6, 0.8, true},   {0, -1, true},      {1e200, 1, false}};
  for (const auto& c : kCases) {
    DeviceCalibrationZEL record = device();
    record.cameras[1].pose.orientation.x = c.x;
    record.cameras[1].pose.orientation.w = c.w;
    EXPECT_EQ(converts(record), c.ok) << c.x << " " << c.w;
  }
}

TEST(DeviceConversion, NamesAndFillsTheCameras) {
  DeviceCalibrationZEL record = device(6);
  record.cameras[2].name[0] = '\0';
  std::memset(record.cameras[4].name, 'z', sizeof record.cameras[4].name);
  CameraCalibrationZEL& right = record.cameras[1];
  right.line_time_ns = 16000;
  right.rs_center_row = 17;
  right.capture_details.binningV = 3;
  right.pose.orientation = {0.6, 0, 0, 0.8003};
  const LogCapture log;
  const auto rig = testing::rigOf(record);
  ASSERT_EQ(rig.size(), 6U);
  const std::string kNames[] = {"trackingA0", "trackingB1",         "default_cam_2",
                                "d",          std::string(64, 'z'), "f"};
  for (std::size_t i = 0; i < 6; ++i) EXPECT_EQ(rig.at(i).getName(), kNames[i]);
  EXPECT_GE(log.count("len < fixedLengthString.size()"), 1) << log.text();
  const auto& shutter = rig.at(1).getRSCorrector();
  EXPECT_TRUE(shutter.isRollingShutter && !rig.at(0).getRSCorrector().isRollingShutter);
  EXPECT_FLOAT_EQ(shutter.lineTime, 1.6e-5F);
  EXPECT_EQ(shutter.centerRow, 17);
  EXPECT_EQ(rig.at(1).getCaptureDetails().binningV, 3);
  const auto& T_local_ref = rig.at(1).getCamReferenceToLocal();
  EXPECT_FLOAT_EQ(T_local_ref.translation()(0), -0.1F);
  EXPECT_NEAR(T_local_ref.rotation().matrix()(2, 1), 0.96, 1e-3);
}

TEST(DeviceConversion, ReadsTheInertialUnitOnlyWhenThereIsOne) {
  DeviceCalibrationZEL record = device();
  ImuCalibrationZEL& unit = record.imus[0];
  unit.vectors[5][2] = -42;
  unit.vectors[0][0] = kNaN;
  unit.pose.position.y = 3;
  for (record.num_imus = -1; record.num_imus <= 2; ++record.num_imus) {
    for (const double w : {1.0, kNaN}) {
      unit.pose.orientation.w = w;
      auto rig = emptyRig();
      IMUCalibration<float> imu;
      EXPECT_TRUE(deviceFromIdl(record, rig, imu));
      EXPECT_EQ(imu.vectors[5](2), record.num_imus >= 1 ? -42 : 0);
      EXPECT_EQ(imu.vectors[0](0), 0);
      EXPECT_EQ(imu.T_imu_ref.translation()(1), record.num_imus >= 1 && w == 1 ? 3 : 0);
    }
  }
}

constexpr CalibrationTransform kNone{nullptr, nullptr, 0};

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
  for (const Lens& lens : testing::kLenses) {
    SCOPED_TRACE(lens.name);
    DeviceCalibrationZEL source = device(lens, 210);
    source.num_cameras = 3;
    source.cameras[1].pose = {{0.1, 0.2, 0.3, std::sqrt(1 - 0.14)}, {-0.1, 0.2, 0.3}};
    DeviceCalibrationZEL target{};
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
  const DeviceCalibrationZEL source = device(2), before = testing::filled<DeviceCalibrationZEL>();
  DeviceCalibrationZEL target = before, inPlace = source;
  LargestLinearCalibration(&source, kNone, &target);
  LargestLinearCalibration(&inPlace, kNone, &inPlace);
  EXPECT_TRUE(target.header[0] == 0 && target.num_imus == 0);
  EXPECT_TRUE(testing::areSame(target.imus, before.imus));
  for (int i = 0; i < RECTILINE_MAX_CAMERAS; ++i) {
    EXPECT_TRUE(testing::areSame(target.cameras[i], (i < 2 ? inPlace : before).cameras[i])) << i;
  }
}

TEST(LinearCalibration, LargestPutsTheEndThatSpreadsLessOnTheBorder) {
  for (const Lens& lens : testing::kLenses) {
    for (const double cy : {119.5, 90.0, 140.0}) {
      SCOPED_TRACE(std::string(lens.name) + " " + std::to_string(cy));
      DeviceCalibrationZEL source = device(lens);
      IntrinsicCameraCalibrationZEL& in = source.cameras[0].intrinsics;
      in.principal_point_y = cy;
      in.distortion[6] = in.distortion[7] = 0;
      DeviceCalibrationZEL linear{};
      LargestLinearCalibration(&source, kNone, &linear);
      const double fy = linear.cameras[0].intrinsics.focal_length_y;
      expectNear(parameters(linear, 0), {320, 240, fy / 1.02, fy, 160, cy});
      // How far inside the source the borders of the linear image lie, by the exact formula.
      const rectiline::testing::ExactModel exact(in);
      const double top = exact.pixel(0, -cy / fy).y;
      const double bottom = 239 - exact.pixel(0, (239 - cy) / fy).y;
      EXPECT_NEAR(std::min(top, bottom), 0, 0.05);
      if (lens.model != CamModel::RADIAL_2_PARAMETERS) continue;
      EXPECT_NEAR(cy < 119 ? top : bottom, 0, 0.05) << "of a barrel the near end spreads less";
      EXPECT_EQ(std::max(top, bottom) < 0.05, cy == 119.5);
    }
  }
}

TEST(LinearCalibration, TransformsReplaceSizesAndIntrinsics) {
  const std::vector<std::int32_t> sizes = {128, 48, 64, 96};
  const std::vector<float> given = {10, 20, 30, 40, 50, 60, 33, 44};
  const Parameters same = {64, 48, 50, 50, 32, 24}, wide = {128, 48, 100, 50, 64, 24};
  const struct {
    CalibrationTransform transform;
    Parameters left, right;
  } kCases[] = {{{nullptr, nullptr, 255}, same, same},
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

}  // namespace
}  // namespace VIO
