#include <gtest/gtest.h>

#include <vector>

#include "AR/CV/Camera/StereoCamera.h"
#include "TestCameras.h"
#include "testing/LogCapture.h"

namespace AR::CV {
namespace {

using rectiline::testing::LogCapture;
using Ids = std::vector<CamImageId>;
using Names = std::vector<std::string>;

const CamImageId kLeft("left"), kRight("right"), kUnknown("nobody");

template <typename P>
void fill(FullStereoCameraCalibration<P>& rig, const unsigned n) {
  std::vector<CameraCalibrationZEL> records;
  for (unsigned i = 0; i < n; ++i) {
    records.push_back(testing::cameraRecord(cameraIdToString(i).c_str()));
  }
  rig.setFromIdl(records, CalibrationInfo(CalibrationInfo::XR_CALIB, 0));
}

template <typename P>
Names names(const FullStereoCameraCalibration<P>& rig) {
  Names result;
  for (const FullCamera<P>& camera : rig) result.push_back(camera.getNameStr());
  return result;
}

template <typename P>
class RigTest : public ::testing::Test {
 protected:
  FullStereoCameraCalibration<P> rig{CalibrationInfo(CalibrationInfo::UNKNOWN, 0)};
  LogCapture log;
};
using Precisions = ::testing::Types<float, double>;
TYPED_TEST_SUITE(RigTest, Precisions);

TYPED_TEST(RigTest, TakesCamerasFromRecords) {
  EXPECT_FALSE(this->rig.isInitialized());
  const struct {
    unsigned records, cameras;
    int notEmpty, tooMany, noSuchCamera;
  } kCases[] = {{2, 2, 0, 0, 0}, {2, 2, 0, 0, 0}, {3, 3, 1, 0, 0}, {8, 6, 1, 1, 2}};
  for (const auto& c : kCases) {
    this->log.clear();
    fill(this->rig, c.records);
    EXPECT_TRUE(this->rig.isInitialized());
    EXPECT_EQ(this->rig.size(), c.cameras);
    EXPECT_EQ(this->rig.back().getNameStr(), cameraIdToString(c.cameras - 1));
    EXPECT_EQ(this->log.count("this->empty()"), c.notEmpty) << this->log.text();
    EXPECT_EQ(this->log.count("new_size<=MAX_SIZE"), c.tooMany) << this->log.text();
    EXPECT_EQ(this->log.count("index<current_size"), c.noSuchCamera) << this->log.text();
  }
}

TYPED_TEST(RigTest, HasDefaultIdsForSixCameras) {
  using RigType = FullStereoCameraCalibration<TypeParam>;
  this->rig.setupEmptyCalibrationWithDefaultIds(7);
  EXPECT_EQ(this->log.count("new_size<=MAX_SIZE"), 1) << this->log.text();
  ASSERT_EQ(this->rig.size(), 6U);
  EXPECT_EQ(this->rig[5].getNameStr(), "default_cam_5");
  EXPECT_TRUE(RigType::noCameraIdsProvided({}));
  EXPECT_TRUE(RigType::noCameraIdsProvided(Ids{kLeft, CamImageId("default_cam_3")}));
  EXPECT_FALSE(RigType::noCameraIdsProvided(Ids{kLeft, CamImageId("default_cam")}));
}

TYPED_TEST(RigTest, OnlyAnEmptyRigTakesGivenIdsAndCollectsThemOnce) {
  EXPECT_TRUE(this->rig.trySetupEmptyCalibration(Ids{kLeft, kRight}));
  EXPECT_EQ(this->rig.getCamIds()[1], kRight);
  EXPECT_EQ(this->log.failedChecks(), 0) << this->log.text();
  EXPECT_FALSE(this->rig.trySetupEmptyCalibration(Ids{kUnknown, kLeft}));
  EXPECT_EQ(this->log.count("std::find_if"), 1) << this->log.text();
  EXPECT_EQ(names(this->rig), (Names{"left", "right"}));
  fill(this->rig, 4);
  this->rig[kRight].setCamId(kUnknown);
  EXPECT_EQ(this->rig.getCamIds()[1], kRight);
  EXPECT_EQ(this->log.count("camIdVec[i]"), 3) << this->log.text();
}

TYPED_TEST(RigTest, AnUnknownIdYieldsASpareCamera) {
  for (const unsigned n : {0U, 2U, 6U}) {
    fill(this->rig, n);
    this->log.clear();
    this->rig[kUnknown].setCamId(CamImageId("written"));
    EXPECT_FALSE(this->rig[kUnknown].getCamId().isInit());
    EXPECT_FALSE(std::as_const(this->rig)[kUnknown].isInitialized());
    EXPECT_EQ(this->log.count("camId nobody not found in FullStereoCameraCalibration"), 3);
    EXPECT_EQ(this->log.count("AR_ASSERT 0 "), 3) << this->log.text();
    EXPECT_EQ(this->rig.size(), n);
  }
}

TYPED_TEST(RigTest, SelectsInRigOrderAndInAnyPrecision) {
  fill(this->rig, 3);
  this->rig.setDeviceUID("uid");
  const std::pair<Ids, Names> kCases[] = {{{kRight, kLeft}, {"left", "right"}},
                                          {{}, {"left", "right", "cam2"}},
                                          {{kUnknown, kRight}, {"right"}},
                                          {{kUnknown}, {}}};
  for (const auto& [ids, selected] : kCases) {
    const auto asFloat = this->rig.template selectCameras<float>(ids);
    const auto asDouble = this->rig.template selectCameras<double>(ids);
    EXPECT_EQ(names(asFloat), selected);
    EXPECT_EQ(names(asDouble), selected);
    EXPECT_EQ(asFloat.isInitialized() && asDouble.isInitialized(), !selected.empty());
    EXPECT_EQ(asDouble.getDeviceUID(), "uid");
  }
  EXPECT_EQ(this->log.failedChecks(), 0) << this->log.text();
}

TYPED_TEST(RigTest, InitialisesEveryCameraItCan) {
  const auto& pose = testing::kPoses[0];
  const CamModel::CameraModel<TypeParam> good(testing::cameraRecord("", pose).intrinsics);
  const CamModel::CameraModel<TypeParam> bad(testing::cameraRecord("", pose, false).intrinsics);
  fill(this->rig, 3);
  EXPECT_FALSE(this->rig.initIntrinsicsMT(std::vector{good, bad, good}));
  EXPECT_TRUE(this->rig[0].hasIntrinsics() && this->rig[2].hasIntrinsics());
  EXPECT_FALSE(this->rig[1].hasIntrinsics());
  EXPECT_TRUE(this->rig.initIntrinsicsMT(std::vector{good, good}));
  EXPECT_EQ(this->log.count("index<current_size"), 0) << this->log.text();
  EXPECT_FALSE(this->rig.initIntrinsicsMT(std::vector(7, good)));
  EXPECT_EQ(this->log.count("index<current_size"), 4) << this->log.text();
}

}  // namespace
}  // namespace AR::CV
