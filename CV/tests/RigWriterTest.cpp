// What is written into calibration documents, and that it is read again.

#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <cstdio>
#include <fstream>
#include <limits>
#include <string>
#include <vector>

#include "AR/CV/RigDocument.h"
#include "AR/Common/ConfigNode.h"
#include "AR/Common/TinyXml.h"
#include "CameraModel/DistortionTraits.h"
#include "TestCameras.h"
#include "testing/Lenses.h"
#include "testing/LogCapture.h"
#include "testing/TemporaryFile.h"

namespace AR::CV {
namespace {

using rectiline::testing::kLenses;
using rectiline::testing::Lens;
using rectiline::testing::LogCapture;
using rectiline::testing::temporaryFile;

std::string textOf(const TiXmlElement& element) {
  TiXmlPrinter printer;
  printer.SetStreamPrinting();
  element.Accept(&printer);
  return printer.Str();
}

void expectNear(const std::vector<double>& a, const std::vector<double>& b, const double bound) {
  ASSERT_EQ(a.size(), b.size());
  for (std::size_t i = 0; i < a.size(); ++i) {
    EXPECT_NEAR(a[i], b[i], bound * std::fabs(a[i])) << "number " << i;
  }
}

template <typename P>
FullStereoCameraCalibration<P> rigOf(const std::vector<CameraCalibrationZEL>& records) {
  FullStereoCameraCalibration<P> rig(CalibrationInfo(CalibrationInfo::UNKNOWN, 0));
  rig.setFromIdl(records, rig.getInfo());
  return rig;
}

/// Three cameras, the first without tangential terms, the last without a name of its own. They have
/// nothing that is read but not written.
std::vector<CameraCalibrationZEL> recordsOf(const Lens& lens, const bool hasTangential) {
  std::vector<CameraCalibrationZEL> records;
  for (const char* const name : {"left", "right", "default_cam_2"}) {
    const std::size_t i = records.size();
    CameraCalibrationZEL record = testing::cameraRecord(name, testing::kPoses[i]);
    IntrinsicCameraCalibrationZEL& intrinsics = record.intrinsics;
    intrinsics.principal_point_x += 0.12345678 + static_cast<double>(i);
    intrinsics.distortion_limit = 0;
    intrinsics.distortion_model = lens.model;
    // As many digits as a calibration has.
    const auto manyDigits = [](double k) { return k * 1.00012345678; };
    std::transform(lens.k.begin(), lens.k.end(), intrinsics.distortion, manyDigits);
    if (!hasTangential || i == 0) intrinsics.distortion[6] = intrinsics.distortion[7] = 0;
    record.capture_details = {};
    record.rs_center_row = intrinsics.height / 2;
    records.push_back(record);
  }
  return records;
}

template <typename P>
struct RigWriter : ::testing::Test {
  static void expectLoaded(const FullStereoCameraCalibration<P>& rig,
                           const Common::ConfigNode& config) {
    // Logarithm and exponential lose a few units in the last place.
    constexpr double kPoseBound = 1e-7 + 20 * std::numeric_limits<P>::epsilon();
    auto back = rigOf<P>({});
    ASSERT_TRUE(back.loadCameraCalibFromDeviceConfig(config, {}, true));
    ASSERT_EQ(back.size(), rig.size());
    for (std::size_t i = 0; i < rig.size(); ++i) {
      FullCamera<P> a = rig[i], b = back[i];
      EXPECT_EQ(a.getNameStr(), b.getNameStr());
      const Math::SE3<P> T = a.getCamReferenceToLocal() * b.getLocalToCamReference();
      EXPECT_LT(Math::norm(Math::SE3<P>::ln(T)), kPoseBound);
      a.setExtrinsics({});
      b.setExtrinsics({});
      expectNear(testing::fieldsOf(a), testing::fieldsOf(b), 1e-7);
      const auto x = a.getIntrinsics().toIDL(), y = b.getIntrinsics().toIDL();
      expectNear({x.distortion_limit, x.undistortion_limit},
                 {y.distortion_limit, y.undistortion_limit}, 1e-5);
    }
  }

  LogCapture log;
};
using Precisions = ::testing::Types<float, double>;
TYPED_TEST_SUITE(RigWriter, Precisions);

TYPED_TEST(RigWriter, WritesWhatIsLoaded) {
  int withoutOldForm = 0;
  for (const Lens& lens : kLenses) {
    const auto& legacy = CamModel::findTraits<double>(lens.model)->legacy;
    withoutOldForm += legacy.mode < 0 ? 1 : 0;
    for (const XMLFormat format : {XMLFormat::Current, XMLFormat::Old, XMLFormat::Both}) {
      const bool isOld = format == XMLFormat::Old;
      if (isOld && legacy.mode < 0) continue;
      SCOPED_TRACE(lens.name + std::to_string(static_cast<int>(format)));
      // The old form holds the tangential terms of the models that it knows them for.
      const bool isTangential = legacy.modeWithTangential != legacy.mode;
      const auto rig = rigOf<TypeParam>(recordsOf(lens, isTangential || !isOld));
      ASSERT_TRUE(rig.isInitialized());
      TiXmlElement root("DeviceConfiguration");
      rig.saveCalibration(&root, isOld, isOld, format);
      Common::ConfigNode config;
      ASSERT_TRUE(config.setFromXMLString(textOf(root).c_str()));
      this->expectLoaded(rig, config);
      const Common::ConfigNode& last = *config.getChildAt(2);
      EXPECT_TRUE(!isOld || last.getAttributeAsString("id") == "2");
    }
  }
  // Three cameras of each lens that has no old form to write.
  EXPECT_EQ(this->log.count("Unhandled enum option"), 3 * withoutOldForm);
  EXPECT_EQ(this->log.failedChecks(), 3 * withoutOldForm) << this->log.text();
}

using RigFileWriter = RigWriter<double>;

TEST_F(RigFileWriter, SavesFilesAndReportsWhatItCannot) {
  const std::string file = temporaryFile("rig.xml");
  const auto rig = rigOf<double>(recordsOf(kLenses[0], true));
  ASSERT_TRUE(rig.saveCalibration(file));
  std::string declaration;
  std::getline(std::ifstream(file), declaration);
  EXPECT_EQ(declaration, R"(<?xml version="1.0" encoding="UTF-8" ?>)");
  expectLoaded(rig, Common::ConfigNode(file.c_str()));
  std::remove(file.c_str());
  EXPECT_EQ(log.failedChecks(), 0) << log.text();
  EXPECT_FALSE(rig.saveCalibration("/no/such/folder/rig.xml") || rig.saveCalibration("") ||
               rig.saveCalibration("/dev/full") || rigOf<double>({}).saveCalibration("/dev/full"));
  rig.saveCalibration(nullptr, false, false, XMLFormat::Current);
  const std::pair<std::string, int> kLines[] = {{"Saving camera calibration to " + file, 1},
                                                {"AR_ASSERT filename.length() > 0", 1},
                                                {"AR_ASSERT isInitialized()", 2},
                                                {"AR_ASSERT deviceConfig", 1}};
  for (const auto& [line, count] : kLines) EXPECT_EQ(log.count(line), count) << log.text();
}

TEST(RigElements, AreWrittenInEveryFormat) {
  const std::string kSize =
      "<Calibration size='640 480 ' principal_point='318.5 243 ' focal_length='410 400 '";
  const std::string kLimits = " distortion_limit='1' undistortion_limit='1.01235'";
  const std::string kRadial =
      " model='RADIAL_2_PARAMETERS' radial_distortion='0.0625 0.03125 0 0 0 0 '" + kLimits +
      " tangential_distortion='0.25 -0.5 '";
  const std::string kFisheye =
      " fish_eye='true' radial_distortion_8='0.0625 0.03125 0.125 0.25 0 0 0 0 '"
      " model='FISHEYE_4_PARAMETERS' radial_distortion='0.0625 0.03125 0.125 0.25 0 0 '" +
      kLimits;
  const std::string kPose =
      " /><Rig translation='0.125 -0.25 2 ' rowMajorRotationMat='1 0 0 0 1 0 0 0 1 ' />";
  const struct {
    const char* name;
    bool isFisheye, useLieElement, writeNameAndId;
    int format;
    std::string expected;
  } kCases[] = {{"left", false, false, false, 0, " cam_name='left'>" + kSize + kRadial + kPose},
                {"left", false, true, true, 1,
                 " cam_name='left' name='left' id='4'>" + kSize +
                     " radial_distortion_8='0.0625 0.03125 0.25 -0.5 0 0 0 0 ' />"
                     "<Rig stereo_rig='0.125 -0.25 2 0 0 0 ' />"},
                {"default_cam_3", true, false, true, 2,
                 " name='default_cam_3' id='4'>" + kSize + kFisheye + kPose},
                {"default_cam_3", false, false, false, 3, ">" + kSize + kPose}};
  for (const auto& c : kCases) {
    CamModel::CameraModel<double> model(testing::cameraRecord("").intrinsics);
    model.principalPoint[0] = 318.5;
    model.model = c.isFisheye ? CamModel::FISHEYE_4_PARAMETERS : CamModel::RADIAL_2_PARAMETERS;
    model.radialDistortion = {0.0625, 0.03125, c.isFisheye * 0.125, c.isFisheye * 0.25, 0, 0};
    model.tangentialDistortion = {!c.isFisheye * 0.25, !c.isFisheye * -0.5};
    model.limits = {1, 1.01234567 * 1.01234567};
    FullCamera<double> camera;
    ASSERT_TRUE(camera.init(model, Math::SE3<double>({}, {0.125, -0.25, 2}), CamImageId(c.name),
                            false, 0, {}, 0));
    const auto format = static_cast<XMLFormat>(c.format);
    std::string text = textOf(*camera.toXMLNode(c.useLieElement, format, c.writeNameAndId, 4));
    std::replace(text.begin(), text.end(), '"', '\'');
    EXPECT_EQ(text, "<Camera" + c.expected + "</Camera>");
  }
}

TEST(RigDocument, ReturnsEveryName) {
  const LogCapture log;
  const char* const kNames[] = {"M\xFCnchen", "\xC3\xA4\xE4\xB8\xAD", "&#x41; <&>\"' &#xzz&#x",
                                "\x01\t\n\xF0", "&#x;"};
  for (const char* const name : kNames) {
    const auto rig = rigOf<double>({testing::cameraRecord(name), testing::cameraRecord("right")});
    std::string bytes, why;
    ASSERT_TRUE(tryRigToXml(rig, bytes, why)) << why;
    auto back = rig;
    ASSERT_TRUE(tryRigFromXml(bytes.data(), bytes.size(), back, why)) << why;
    EXPECT_EQ(back[0].getNameStr(), name);
  }
}

TEST(RigDocument, IsNotMadeOfARigThatCouldNotBeRead) {
  const LogCapture log;
  const auto rig = rigOf<double>({testing::cameraRecord("left"), testing::cameraRecord("left")});
  auto misplaced = rig, empty = rig;
  misplaced[1].setCamId(CamImageId("right"));
  misplaced[1].setExtrinsics({{}, {0, NAN, 0}});
  empty[1].clearIntrinsics();
  const std::pair<FullStereoCameraCalibration<double>, std::string> kCases[] = {
      {rigOf<double>({}), "expected a camera, found none"},
      {rig, "camera 1: cam_name: expected another name than that of an earlier camera"},
      {misplaced, "camera 1: Rig.translation: expected x, y and z, metres, found \"0 nan 0 \""},
      {empty, "camera 1: expected a name and intrinsics"}};
  for (const auto& [refused, reason] : kCases) {
    std::string bytes = "kept", why;
    EXPECT_FALSE(tryRigToXml(refused, bytes, why));
    EXPECT_EQ(why, reason);
    EXPECT_EQ(bytes, "kept");
  }
}

}  // namespace
}  // namespace AR::CV
