#include <gtest/gtest.h>

#include <cstddef>
#include <cstring>
#include <limits>
#include <string>

#include "TestDevices.h"
#include "VIO/DeviceConversion.h"
#include "VIO/StereoRectifyWrapper.h"
#include "testing/LogCapture.h"

namespace VIO {
namespace {

using rectiline::testing::LogCapture;
using testing::device;
using testing::emptyRig;

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
    for (const double value : {kNaN, kInf, -kInf, 1e39, -1e39, 1e300}) {
      DeviceCalibrationZEL record = device();
      put(record.cameras[2], offset, value);
      EXPECT_TRUE(converts(record)) << "a record past the last camera must not be read";
      put(record.cameras[1], offset, value);
      EXPECT_FALSE(converts(record)) << offset << " " << value;
    }
  }
}

TEST(DeviceConversion, RefusesUnknownModelsAndOddQuaternions) {
  for (const int model :
       {-1, 9, std::numeric_limits<int>::max(), std::numeric_limits<int>::min()}) {
    DeviceCalibrationZEL record = device();
    record.cameras[0].intrinsics.distortion_model = model;
    EXPECT_FALSE(converts(record)) << model;
  }
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

TEST(DeviceConversion, TakesZeroToSixCameras) {
  for (const int count : {std::numeric_limits<int>::min(), -1, 0, 1, 2, 6, 7, 1 << 30}) {
    auto rig = emptyRig();
    IMUCalibration<float> imu;
    const bool inRange = count >= 0 && count <= 6;
    EXPECT_EQ(tryDeviceFromIdl(device(count), rig, imu), inRange) << count;
    EXPECT_EQ(rig.size(), inRange ? static_cast<std::size_t>(count) : 0U);
  }
}

TEST(DeviceConversion, NamesAndFillsTheCameras) {
  DeviceCalibrationZEL record = device(5);
  record.cameras[2].name[0] = '\0';
  std::memset(record.cameras[4].name, 'z', sizeof record.cameras[4].name);
  CameraCalibrationZEL& right = record.cameras[1];
  right.line_time_ns = 16000;
  right.rs_center_row = 17;
  right.capture_details.binningV = 3;
  right.pose.orientation = {0.6, 0, 0, 0.8003};
  LogCapture log;
  const auto rig = testing::rigOf(record);
  ASSERT_EQ(rig.size(), 5U);
  const std::string kNames[] = {"trackingA0", "trackingB1", "default_cam_2", "d",
                                std::string(64, 'z')};
  for (std::size_t i = 0; i < 5; ++i) EXPECT_EQ(rig.at(i).getName(), kNames[i]);
  EXPECT_GE(log.count("len < fixedLengthString.size()"), 1) << log.text();
  EXPECT_TRUE(AR::Math::isIdentity(rig.at(0).getCamReferenceToLocal().rotation().matrix()));
  const auto& shutter = rig.at(1).getRSCorrector();
  EXPECT_TRUE(shutter.isRollingShutter && !rig.at(0).getRSCorrector().isRollingShutter);
  EXPECT_FLOAT_EQ(shutter.lineTime, 1.6e-5F);
  EXPECT_EQ(shutter.centerRow, 17);
  EXPECT_EQ(rig.at(1).getCaptureDetails().binningV, 3);
  const auto& T_local_ref = rig.at(1).getCamReferenceToLocal();
  EXPECT_FLOAT_EQ(T_local_ref.translation()(0), -0.1F);
  EXPECT_NEAR(T_local_ref.rotation().matrix()(1, 1), 0.28, 1e-3);
  EXPECT_NEAR(T_local_ref.rotation().matrix()(2, 1), 0.96, 1e-3);
}

TEST(DeviceConversion, ReadsTheInertialUnitOnlyWhenThereIsOne) {
  for (const int count : {-1, 0, 1, 2}) {
    DeviceCalibrationZEL record = device();
    record.num_imus = count;
    record.imus[0].vectors[5][2] = 42;
    record.imus[0].vectors[0][0] = kNaN;
    record.imus[0].pose.position.y = 3;
    for (const double w : {1.0, 0.0, kNaN}) {
      record.imus[0].pose.orientation.w = w;
      auto rig = emptyRig();
      IMUCalibration<float> imu;
      EXPECT_TRUE(tryDeviceFromIdl(record, rig, imu));
      EXPECT_EQ(imu.vectors[5](2), count >= 1 ? 42 : 0);
      EXPECT_EQ(imu.vectors[0](0), 0);
      EXPECT_EQ(imu.T_imu_ref.translation()(1), count >= 1 && w == 1 ? 3 : 0);
      EXPECT_TRUE(AR::Math::isIdentity(imu.T_imu_ref.rotation().matrix()));
    }
  }
}

TEST(DeviceConversion, CopiesSourceThenTarget) {
  for (const bool goodSource : {true, false}) {
    for (const bool goodTarget : {true, false}) {
      auto source = emptyRig(), target = emptyRig();
      const int status = copySourceAndTargetCalibration(device(goodSource ? 2 : 7),
                                                        device(goodTarget ? 3 : 7), source, target);
      EXPECT_EQ(status, goodSource && goodTarget ? 0 : 1999998);
      EXPECT_EQ(source.size(), goodSource ? 2U : 0U);
      EXPECT_EQ(target.size(), goodSource && goodTarget ? 3U : 0U);
    }
  }
}

}  // namespace
}  // namespace VIO
