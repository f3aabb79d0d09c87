#include <gtest/gtest.h>

#include <cmath>
#include <limits>
#include <numeric>
#include <set>
#include <vector>

#include "AR/CV/Camera/CamImageId.h"
#include "AR/CV/Camera/FullCamera.h"
#include "AR/CV/Camera/Interchange.h"
#include "AR/CV/Camera/StereoCamera.h"
#include "AR/Common/Logger.h"
#include "TestCameras.h"
#include "testing/LogCapture.h"

namespace AR::CV {
namespace {

using Common::Logger;
using rectiline::testing::LogCapture;
using testing::cameraRecord;
using Ids = std::vector<CamImageId>;
using Names = std::vector<std::string>;

const CamImageId kLeft("left"), kRight("right"), kUnknown("nobody");

TEST(CamImageId, ComparesHashesOfNames) {
  // From a separate program that reproduces published MurmurHash2 values.
  const std::pair<const char*, std::uint32_t> kHashes[] = {
      {"", 0}, {"abc", 0x13577c9b}, {"right", 0x6ef9e3a6}, {"trackingA0", 0xe4409cf2}};
  for (const auto& [name, hash] : kHashes) EXPECT_EQ(CamImageId(name).getHash(), hash);
  EXPECT_NE(kLeft, kRight);
  EXPECT_EQ(CamImageId("cam61156"), CamImageId("cam140467"));  // the same hash
}

TEST(CamImageId, ReadsNoNameBeyondItsBound) {
  const std::vector<char> unterminated(64, 'n');
  const std::string n63(63, 'n'), n99(99, 'n');
  const std::pair<const char*, std::size_t> kNames[] = {
      {nullptr, 0}, {n63.c_str(), 63}, {n99.c_str(), 64}, {unterminated.data(), 64}};
  for (const auto& [text, length] : kNames) {
    LogCapture log;
    const CamImageId id(text);
    EXPECT_EQ(id.isInit(), length > 0);
    EXPECT_EQ(log.count("ASSERT len < fixedLengthString.size()"), length > 63) << log.text();
    EXPECT_EQ(id.getName(), std::string(length, 'n'));
    EXPECT_EQ(log.count("ASSERT strnlen(fixedLengthString"), length > 63) << log.text();
  }
}

TEST(CalibrationInfo, ChecksVersionAndOriginAndLogsItsEnd) {
  LogCapture log;
  Logger::getInstance().setLevel(Logger::INFO);
  EXPECT_EQ(CalibrationInfo(CalibrationInfo::ONLINE_CALIBRATION, 3).getVersion(), 3);
  EXPECT_EQ(log.failedChecks(), 0) << log.text();
  EXPECT_EQ(CalibrationInfo(CalibrationInfo::XR_CALIB, 3).getVersion(), 3);
  EXPECT_EQ(log.count("ONLINE_CALIBRATION || version == 0"), 1) << log.text();
  EXPECT_EQ(log.count("origin=XRCalib version=3"), 1) << log.text();
  EXPECT_STREQ(CalibrationInfo::originName(static_cast<CalibrationInfo::Origin>(8)), "");
  EXPECT_EQ(log.count("unhandled enum"), 1) << log.text();
  Logger::getInstance().setLevel(Logger::DEBUG);
}

constexpr double kNaN = std::numeric_limits<double>::quiet_NaN();

template <typename P>
struct FullCameraTest : ::testing::Test {
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
    CameraCalibrationZEL record = cameraRecord("left", testing::kPoses[0]);
    record.intrinsics.focal_length_y *= valid ? 1 : 0;
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

TYPED_TEST(FullCameraTest, ProjectsWhatIsInFrontOfItAndInRange) {
  using P = TypeParam;
  const struct {
    double x, z;
    bool projects;
  } kCases[] = {{0, 0.0101, true}, {0, 0.0099, false}, {0, -1, false},
                {0.99, 1, true},   {1.01, 1, false},   {0, kNaN, false}};
  for (const auto& c : kCases) {
    LogCapture log;
    Math::Vec<P, 2> pixel(-7, -7), expected(-7, -7);
    const Math::Vec<P, 3> objPos_l(static_cast<P>(c.x), 0, static_cast<P>(c.z));
    EXPECT_EQ(this->camera.getIntrinsics().tryProjectToPix(objPos_l, expected), c.projects);
    EXPECT_EQ(this->camera.projectCameraToDevicePix(
                  this->camera.getLocalToCamReference() * objPos_l, pixel),
              c.projects)
        << c.x << " " << c.z;
    EXPECT_LT(Math::norm(pixel - expected), 0.002);
    EXPECT_EQ(log.failedChecks(), std::isnan(c.z) ? 2 : 0) << log.text();
  }
}

TYPED_TEST(FullCameraTest, CarriesEveryFieldIntoAnotherPrecision) {
  using P = TypeParam;
  using Q = std::conditional_t<std::is_same_v<P, float>, double, float>;
  // Numbers that both precisions hold; of the angles only these are the same in both.
  CamModel::CameraModel<P> model(cameraRecord("").intrinsics);
  model.focalLength = {P(410.5), P(400.25)};
  model.radialDistortion = {P(0.0625), P(-0.125), 0, 0, 0, 0};
  model.tangentialDistortion = {P(0.25), P(-0.5)};
  model.limits = {P(0.75), P(0.875)};
  const Math::SE3<P> T_local_ref(Math::SO3<P>({0, 1, 0, 0, 0, 1, 1, 0, 0}), {1, 2, P(-0.5)});
  ASSERT_TRUE(this->camera.init(model, T_local_ref, CamImageId("left"), true, P(0.125),
                                {1, 2, 3, 4, 5, 6, 7, 8}, 0.5));
  auto& corrector = this->camera.getRSCorrector();
  corrector.centerRow = 17;
  corrector.mode = 3;
  std::iota(corrector.workingState.begin(), corrector.workingState.end(), P(1));
  const FullCamera<Q> other = this->camera.template cast<Q>();
  EXPECT_EQ(testing::fieldsOf(other), testing::fieldsOf(this->camera));
  EXPECT_EQ(other.getIntrinsics().getCamModel().limits.distortionLimit, Q(0.75));
  EXPECT_EQ(other.getIntrinsics().getCamModel().limits.undistortionLimit, Q(0.875));
  EXPECT_EQ(other.getNameStr(), "left");
  this->camera.setCamId(CamImageId());
  EXPECT_FALSE(this->camera.isInitialized());
}

TYPED_TEST(FullCameraTest, HashesTellTurnsShiftsAndSeedsApart) {
  using P = TypeParam;
  std::set<std::uint64_t> hashes = {this->camera.getHash(1), this->camera.getHash(2)};
  for (std::size_t i = 0; i < 6; ++i) {
    Math::Vec<P, 3> rotation, translation;
    (i < 3 ? rotation : translation)(i % 3) = P(0.001);
    this->camera.setExtrinsics({Math::SO3<P>::exp(rotation), translation});
    hashes.insert(this->camera.getHash(1));
    this->camera.setCamId(kRight);
    hashes.insert(this->camera.getHash(1));  // the same: the name takes no part
  }
  EXPECT_EQ(hashes.size(), 8U);
}

TYPED_TEST(FullCameraTest, TurnsAsItsRecordSaysAndReturnsIt) {
  using P = TypeParam;
  for (const testing::PoseCase& pose : testing::kPoses) {
    CameraCalibrationZEL in = cameraRecord("left", pose);
    in.line_time_ns = 16000;
    in.rs_center_row = -17;
    FullCamera<P> first, again;
    first.setFromIdl(in);
    const Math::Vec<double, 3> axis(pose.x, pose.y, pose.z);
    const auto R = Math::SO3<double>::exp(pose.angle * Math::unit(axis)).matrix();
    const Math::Mat<P, 3, 3>& R_local_ref = first.getCamReferenceToLocal().rotation().matrix();
    for (std::size_t i = 0; i < 9; ++i) {
      EXPECT_NEAR(R_local_ref.data()[i], R.data()[i], this->kTolerance);
    }
    const CameraCalibrationZEL out = first.toIdl({});
    again.setFromIdl(out);
    in.line_time_ns = 0;  // must not switch the shutter off
    again.setFromIdl(in);
    EXPECT_TRUE(again.getRSCorrector().isRollingShutter);
    EXPECT_STREQ(out.name, "left");
    EXPECT_EQ(again.toIdl({}).line_time_ns, 16000U);
    EXPECT_EQ(out.rs_center_row, -17);
    EXPECT_EQ(out.capture_details, in.capture_details);
    EXPECT_NEAR(out.intrinsics.distortion[7], -0.002, 1e-9);
    const auto& q = out.pose.orientation;
    EXPECT_NEAR(q.x * q.x + q.y * q.y + q.z * q.z + q.w * q.w, 1, 1e-15);
    const auto T = first.getCamReferenceToLocal() * idl2se3<P>(out.pose).inverse();
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

TEST(InterchangeDeathTest, AQuaternionWithoutLengthIsFatal) {
  EXPECT_DEATH(static_cast<void>(toXRRD({})), "length>0");
}

template <typename P>
struct RigTest : ::testing::Test {
  void fill(const unsigned n) {
    std::vector<CameraCalibrationZEL> records;
    for (unsigned i = 0; i < n; ++i) records.push_back(cameraRecord(cameraIdToString(i).c_str()));
    rig.setFromIdl(records, CalibrationInfo(CalibrationInfo::XR_CALIB, 0));
  }

  FullStereoCameraCalibration<P> rig{CalibrationInfo(CalibrationInfo::UNKNOWN, 0)};
  LogCapture log;
};
TYPED_TEST_SUITE(RigTest, Precisions);

Names names(const auto& rig) {
  Names result;
  for (const auto& camera : rig) result.push_back(camera.getNameStr());
  return result;
}

TYPED_TEST(RigTest, TakesUpToSixCamerasAndKnowsNoOther) {
  EXPECT_FALSE(this->rig.isInitialized());
  this->fill(2);
  this->fill(2);
  EXPECT_TRUE(this->rig.isInitialized());
  EXPECT_EQ(this->log.failedChecks(), 0) << this->log.text();
  this->fill(8);
  EXPECT_EQ(this->rig.size(), 6U);
  EXPECT_EQ(this->rig.back().getNameStr(), "cam5");
  EXPECT_EQ(this->log.count("this->empty()"), 1) << this->log.text();
  EXPECT_EQ(this->log.count("new_size<=MAX_SIZE"), 1) << this->log.text();
  EXPECT_EQ(this->log.count("index<current_size"), 2) << this->log.text();
  this->rig[kUnknown].setCamId(CamImageId("written"));
  EXPECT_FALSE(this->rig[kUnknown].getCamId().isInit());
  EXPECT_FALSE(std::as_const(this->rig)[kUnknown].isInitialized());
  EXPECT_EQ(this->log.count("camId nobody not found in FullStereoCameraCalibration"), 3);
  EXPECT_EQ(this->log.count("AR_ASSERT 0 "), 3) << this->log.text();
}

TYPED_TEST(RigTest, OnlyAnEmptyRigTakesGivenIdsAndCollectsThemOnce) {
  EXPECT_TRUE(this->rig.trySetupEmptyCalibration(Ids{kLeft, kRight}));
  EXPECT_EQ(this->rig.getCamIds()[1], kRight);
  EXPECT_EQ(this->log.failedChecks(), 0) << this->log.text();
  EXPECT_FALSE(this->rig.trySetupEmptyCalibration(Ids{kUnknown, kLeft}));
  EXPECT_EQ(this->log.count("std::find_if"), 1) << this->log.text();
  EXPECT_EQ(names(this->rig), (Names{"left", "right"}));
  EXPECT_TRUE(this->rig.noCameraIdsProvided(Ids{kLeft, CamImageId("default_cam_3")}));
  EXPECT_FALSE(this->rig.noCameraIdsProvided(Ids{kLeft, CamImageId("default_cam")}));
  this->fill(4);
  this->rig[kRight].setCamId(kUnknown);
  EXPECT_EQ(this->rig.getCamIds()[1], kRight);
  EXPECT_EQ(this->log.count("camIdVec[i]"), 3) << this->log.text();
}

TYPED_TEST(RigTest, SelectsInRigOrderAndInAnyPrecision) {
  this->fill(3);
  this->rig.setDeviceUID("uid");
  const std::pair<Ids, Names> kCases[] = {
      {{kRight, kLeft}, {"left", "right"}}, {{}, {"left", "right", "cam2"}}, {{kUnknown}, {}}};
  for (const auto& [ids, selected] : kCases) {
    EXPECT_EQ(names(this->rig.template selectCameras<float>(ids)), selected);
    const auto asDouble = this->rig.template selectCameras<double>(ids);
    EXPECT_EQ(names(asDouble), selected);
    EXPECT_EQ(asDouble.isInitialized(), !selected.empty());
    EXPECT_EQ(asDouble.getDeviceUID(), "uid");
    EXPECT_EQ(asDouble.getInfo().getOrigin(), CalibrationInfo::XR_CALIB);
  }
}

TYPED_TEST(RigTest, InitialisesEveryCameraItCan) {
  const CamModel::CameraModel<TypeParam> good(cameraRecord("").intrinsics);
  auto bad = good;
  bad.focalLength[1] = 0;
  this->fill(3);
  EXPECT_FALSE(this->rig.initIntrinsicsMT(std::vector{good, bad, good}));
  EXPECT_TRUE(this->rig[0].hasIntrinsics() && this->rig[2].hasIntrinsics());
  EXPECT_FALSE(this->rig[1].hasIntrinsics());
  EXPECT_TRUE(this->rig.initIntrinsicsMT(std::vector{good, good}));
  EXPECT_FALSE(this->rig.initIntrinsicsMT(std::vector(7, good)));
  EXPECT_EQ(this->log.count("index<current_size"), 4) << this->log.text();
}

}  // namespace
}  // namespace AR::CV
