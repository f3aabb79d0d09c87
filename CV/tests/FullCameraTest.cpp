#include <gtest/gtest.h>

#include <limits>

#include "AR/CV/Camera/FullCamera.h"
#include "TestCameras.h"
#include "testing/LogCapture.h"

namespace AR::CV {
namespace {

using rectiline::testing::LogCapture;
using testing::cameraRecord;

constexpr double kNaN = std::numeric_limits<double>::quiet_NaN();

template <typename P>
class FullCameraTest : public ::testing::Test {
 protected:
  static constexpr double kTolerance = 20 * static_cast<double>(std::numeric_limits<P>::epsilon());

  FullCameraTest() { camera.setFromIdl(cameraRecord("left")); }

  FullCamera<P> camera;
};
using Precisions = ::testing::Types<float, double>;
TYPED_TEST_SUITE(FullCameraTest, Precisions);

TYPED_TEST(FullCameraTest, ARefusedModelLeavesNoIntrinsics) {
  using P = TypeParam;
  for (const bool valid : {true, false}) {
    LogCapture log;
    const CameraCalibrationZEL record = cameraRecord("left", testing::kPoses[0], valid);
    const CamModel::CameraModel<P> model(record.intrinsics);
    EXPECT_EQ(this->camera.init(model, {}, CamImageId("right"), true, 1, {}, 0.5), valid);
    EXPECT_EQ(this->camera.isInitialized(), valid);
    EXPECT_EQ(this->camera.getRSCorrector().centerRow, 240);
    this->camera.setFromIdl(record);
    EXPECT_EQ(log.count("AR_ASSERT result"), !valid) << log.text();
    EXPECT_EQ(this->camera.getIntrinsics().getSize()[0], valid ? 640 : 0);
    EXPECT_EQ(this->camera.getCamReferenceToLocal().translation()[0], P(0.1));
    EXPECT_EQ(log.count("isInitialized()"), valid ? 0 : 2) << log.text();
  }
}

TYPED_TEST(FullCameraTest, ProjectsByTheFormula) {
  using P = TypeParam;
  const double x = 0.3, y = -0.4, r2 = 0.25, d = 1 + 0.05 * r2, p1 = 0.001, p2 = -0.002;
  const double xd = x * d + 2 * p1 * x * y + p2 * (r2 + 2 * x * x);
  const double yd = y * d + p1 * (r2 + 2 * y * y) + 2 * p2 * x * y;
  const Math::Vec<P, 3> objPos_l(P(2 * x), P(2 * y), 2);
  Math::Vec<P, 2> pixel;
  ASSERT_TRUE(this->camera.projectCameraToDevicePix(
      this->camera.getLocalToCamReference() * objPos_l, pixel));
  EXPECT_NEAR(pixel[0], 318 + 410 * xd, 0.005);
  EXPECT_NEAR(pixel[1], 243 + 400 * yd, 0.005);
}

TYPED_TEST(FullCameraTest, ProjectsOnlyWhatIsInFrontAndInRange) {
  using P = TypeParam;
  this->camera.setExtrinsics({});
  const struct {
    double x, z;
    bool projects;
    int checks;
  } kCases[] = {{0, 0.01, true, 0},  {0, 0.0099, false, 0}, {0, -1, false, 0},  {0.99, 1, true, 0},
                {1.01, 1, false, 0}, {kNaN, 1, false, 2},   {0, kNaN, false, 2}};
  for (const auto& c : kCases) {
    LogCapture log;
    Math::Vec<P, 2> pixel(-7, -7);
    const Math::Vec<P, 3> point(static_cast<P>(c.x), 0, static_cast<P>(c.z));
    EXPECT_EQ(this->camera.projectCameraToDevicePix(point, pixel), c.projects) << c.x << " " << c.z;
    EXPECT_EQ(pixel[0] == -7, !c.projects);
    EXPECT_EQ(log.failedChecks(), c.checks) << log.text();
  }
}

TYPED_TEST(FullCameraTest, HashesThePoseButNotTheName) {
  const std::uint64_t hash = this->camera.getHash(1);
  this->camera.setCamId(CamImageId("right"));
  EXPECT_EQ(hash, this->camera.getHash(1));
  this->camera.setExtrinsics({});
  EXPECT_NE(hash, this->camera.getHash(1));
}

TYPED_TEST(FullCameraTest, ARecordSurvivesTheRoundTrip) {
  using P = TypeParam;
  for (const testing::PoseCase& pose : testing::kPoses) {
    CameraCalibrationZEL in = cameraRecord("left", pose);
    in.line_time_ns = 16000;
    in.rs_center_row = -17;
    FullCamera<P> first, again;
    first.setFromIdl(in);
    const CameraCalibrationZEL out = first.toIdl({});
    again.setFromIdl(out);
    in.line_time_ns = 0;  // must not switch the shutter off
    again.setFromIdl(in);
    EXPECT_TRUE(again.getRSCorrector().isRollingShutter);
    EXPECT_NEAR(again.getRSCorrector().lineTime, 1.6e-5, 1e-11);
    EXPECT_STREQ(out.name, "left");
    EXPECT_EQ(out.line_time_ns, 16000U);
    EXPECT_EQ(out.rs_center_row, -17);
    EXPECT_EQ(out.capture_details, in.capture_details);
    EXPECT_NEAR(out.intrinsics.distortion[7], -0.002, 1e-9);
    const auto T = first.getCamReferenceToLocal() * again.getLocalToCamReference();
    EXPECT_LT(Math::norm(Math::SE3<P>::ln(T)), this->kTolerance);
  }
}

TYPED_TEST(FullCameraTest, WritesWhatARecordCanHold) {
  using P = TypeParam;
  this->camera.setCamId(CamImageId(std::string(80, 'n').c_str()));
  this->camera.setExtrinsics({});
  const struct {
    double lineTime, centerRow;
    std::uint64_t lineTimeNs;
    std::int32_t row;
  } kCases[] = {{kNaN, kNaN, 0, 0}, {-1, -1e30, 0, INT32_MIN}, {1e30, 7.9, INT64_MAX, 7}};
  for (const auto& c : kCases) {
    this->camera.getRSCorrector().lineTime = static_cast<P>(c.lineTime);
    this->camera.getRSCorrector().centerRow = static_cast<P>(c.centerRow);
    const auto record = this->camera.toIdl({Math::SO3<P>(), Math::Vec<P, 3>(1, 2, 3)});
    EXPECT_EQ(record.line_time_ns, c.lineTimeNs);
    EXPECT_EQ(record.rs_center_row, c.row);
    EXPECT_EQ(std::string(record.name), std::string(63, 'n'));
    EXPECT_TRUE(record.pose.orientation.w == 1 && record.pose.position.z == -3);
  }
}

}  // namespace
}  // namespace AR::CV
