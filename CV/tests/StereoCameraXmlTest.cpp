#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <cstdio>
#include <fstream>
#include <limits>
#include <string>
#include <vector>

#include "AR/CV/Camera/CameraUtil.h"
#include "AR/CV/Camera/StereoCamera.h"
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

using namespace CamModel;
using rectiline::testing::kLenses;
using rectiline::testing::Lens;
using rectiline::testing::LogCapture;

template <typename P>
class CameraUtil : public ::testing::Test {};
using Precisions = ::testing::Types<float, double>;
TYPED_TEST_SUITE(CameraUtil, Precisions);

TEST(CameraUtilNames, AreThoseOfTheModelsInUpperCase) {
  LogCapture log;
  DistortionModel model = LINEAR;
  for (const DistortionModel expected : {FISHEYE_RATIONAL, RADIAL_6_PARAMETERS, LINEAR}) {
    EXPECT_TRUE(radialDistortionModelStringToEnum(modelName(expected), model));
    EXPECT_EQ(model, expected);
  }
  EXPECT_STREQ(modelName(CHEBYSHEV_4_PARAMETERS), "CHEBYSHEV_4_PARAMETERS");
  EXPECT_FALSE(radialDistortionModelStringToEnum("linear%s", model));
  EXPECT_EQ(log.count("Radial distortion model linear%s not supported (use UPPERCASE)."), 1);
}

constexpr float kMark = 1e-8F;  // stands for 0
constexpr int kNoMode = 15;

struct LegacyCase {
  DistortionModel model;
  int mode, modeWithTangential;
  double k[6];
  double oldVec[8];
};

// clang-format off
constexpr LegacyCase kLegacyCases[] = {
    {LINEAR, 0, 0, {1, 2, 3, 4, 5, 6}, {0, 0, 7, 8}},
    {RADIAL_2_PARAMETERS, 2, 3, {1, 0}, {1, kMark, 7, 8}},
    {RADIAL_3_PARAMETERS, 4, 5, {1, 0, 0}, {1, kMark, 7, 8, kMark}},
    {RADIAL_6_PARAMETERS, 6, 7, {1, 2, 3, 4, 0, 6}, {1, 2, 7, 8, 3, 4, kMark, 6}},
    {FISHEYE_1_PARAMETER, 1, 1, {2}, {2, 0, 7, 8}},
    {FISHEYE_4_PARAMETERS, 8, 8, {1, 2, 0, 4}, {1, 2, kMark, 4}},
    // Without a legacy form: reported, the mode unchanged.
    {CHEBYSHEV_4_PARAMETERS, kNoMode, kNoMode, {1, 2, 3, 4}, {0, 0, 7, 8}},
    {DistortionModel(-1), kNoMode, kNoMode, {1}, {0, 0, 7, 8}},
};
// clang-format on

TYPED_TEST(CameraUtil, LegacyVectorReturnsWhatItHolds) {
  using P = TypeParam;
  using Tangential = Math::Vec<P, 2>;
  for (const LegacyCase& c : kLegacyCases) {
    SCOPED_TRACE(int(c.model));
    LogCapture log;
    RDVec<P> k;
    std::copy_n(c.k, 6, k.begin());
    Math::Vec<P, 8> expected, oldVec;
    std::copy_n(c.oldVec, 8, expected.begin());
    auto mode = OLD_DISTORTION_MODE(kNoMode);
    getOldDistortionVec(c.model, Tangential(), k, oldVec, mode);
    EXPECT_EQ(mode, c.mode);
    getOldDistortionVec(c.model, Tangential(7, 8), k, oldVec, mode);
    EXPECT_EQ(mode, c.modeWithTangential);
    EXPECT_EQ(oldVec, expected);
    EXPECT_EQ(log.count("0 && \"Unhandled enum option\""), c.mode == kNoMode ? 2 : 0);
    if (c.mode == kNoMode) continue;

    DistortionModel model;
    Tangential tangential;
    RDVec<P> radial;
    getNewDistortionVec(oldVec, mode == OLD_FISHEYE_4, model, tangential, radial);
    EXPECT_EQ(model, c.model);
    EXPECT_EQ(tangential, c.mode >= 2 && c.mode < 8 ? Tangential(7, 8) : Tangential());
    for (int i = 0; i < 6; ++i) EXPECT_NEAR(radial[i], model == LINEAR ? 0 : c.k[i], 1.1e-8);
  }
}

TYPED_TEST(CameraUtil, ChebyshevFormIsTheSameFunction) {
  using P = TypeParam;
  CameraModel<P> models[2];
  CameraModel<P>& fisheye = models[1];
  fisheye.size = {640.5, 480};
  fisheye.radialDistortion = {0.05, -0.02, 0.01, -0.003, 1, 0};
  fisheye.model = FISHEYE_4_PARAMETERS;
  const CameraModel<P> before = fisheye;
  LogCapture log;
  convert4ParamFisheyeModelToChebyshev<P>(models);
  EXPECT_EQ(log.count("Convert camera to CHEBYSHEV_4_PARAMETERS model"), 1);
  EXPECT_EQ(models[0].model, LINEAR);
  EXPECT_EQ(fisheye.model, CHEBYSHEV_4_PARAMETERS);
  EXPECT_EQ(fisheye.size[0], 640);
  EXPECT_EQ(fisheye.radialDistortion[4], 0);
  for (const P x : {P(0), P(0.00005), P(0.5), P(20)}) {
    EXPECT_NEAR(fisheye.distortionFactor(x), before.distortionFactor(x),
                8 * std::numeric_limits<P>::epsilon());
  }
}

using Figures = std::vector<double>;

std::string textOf(const TiXmlElement& element) {
  TiXmlPrinter printer;
  printer.SetStreamPrinting();
  element.Accept(&printer);
  return printer.Str();
}

void expectNear(const Figures& a, const Figures& b, const double bound, const double least = 0) {
  ASSERT_EQ(a.size(), b.size());
  for (std::size_t i = 0; i < a.size(); ++i) {
    EXPECT_NEAR(a[i], b[i], bound * std::max(std::fabs(a[i]), least)) << "figure " << i;
  }
}

template <typename P>
class RigXmlTest : public ::testing::Test {
 protected:
  using Rig = FullStereoCameraCalibration<P>;

  static Rig emptyRig() { return Rig(CalibrationInfo(CalibrationInfo::UNKNOWN, 0)); }

  /// Three cameras, the first without tangential terms, the last without a name of its own.
  static Rig rigOf(const Lens& lens, const bool hasTangential) {
    const char* const kNames[] = {"left", "right", "default_cam_2"};
    CameraCalibrationZEL records[3];
    for (int i = 0; i < 3; ++i) {
      records[i] = testing::cameraRecord(kNames[i], testing::kPoses[i]);
      auto& intrinsics = records[i].intrinsics;
      intrinsics.principal_point_x += 0.12345678 + i;
      intrinsics.distortion_limit = 0;
      intrinsics.distortion_model = lens.model;
      // As many digits as a calibration has.
      const auto manyDigits = [](double k) { return k * 1.00012345678; };
      std::transform(lens.k.begin(), lens.k.end(), intrinsics.distortion, manyDigits);
      if (!hasTangential || i == 0) intrinsics.distortion[6] = intrinsics.distortion[7] = 0;
    }
    Rig rig = emptyRig();
    rig.setFromIdl(records, CalibrationInfo(CalibrationInfo::UNKNOWN, 0));
    return rig;
  }

  /// `poseBound` is relative to metres and radians.
  static void expectLoaded(const Rig& rig, const Common::ConfigNode& config,
                           const double poseBound) {
    Rig back = emptyRig();
    ASSERT_TRUE(back.loadCameraCalibFromDeviceConfig(config, {}, true));
    ASSERT_EQ(back.size(), rig.size());
    for (std::size_t i = 0; i < rig.size(); ++i) {
      EXPECT_EQ(rig[i].getNameStr(), back[i].getNameStr());
      const auto a = rig[i].getIntrinsics().toIDL(), b = back[i].getIntrinsics().toIDL();
      EXPECT_EQ(a.distortion_model, b.distortion_model);
      expectNear({a.principal_point_x, a.focal_length_y}, {b.principal_point_x, b.focal_length_y},
                 1e-7);
      expectNear(Figures(a.distortion, a.distortion + 8), Figures(b.distortion, b.distortion + 8),
                 1e-7);
      expectNear({a.distortion_limit, a.undistortion_limit},
                 {b.distortion_limit, b.undistortion_limit}, 1e-5);
      const auto &S = rig[i].getCamReferenceToLocal(), &T = back[i].getCamReferenceToLocal();
      const P *R = S.rotation().matrix().data(), *Q = T.rotation().matrix().data();
      expectNear(Figures(R, R + 9), Figures(Q, Q + 9), poseBound, 1);
      const P *t = S.translation().data(), *u = T.translation().data();
      expectNear(Figures(t, t + 3), Figures(u, u + 3), poseBound, 1);
    }
  }

  rectiline::testing::LogCapture log;
};
TYPED_TEST_SUITE(RigXmlTest, Precisions);

TYPED_TEST(RigXmlTest, WritesElementsInEveryFormat) {
  using P = TypeParam;
  const std::string kSize =
      R"(<Calibration size="640 480 " principal_point="318.5 243 " focal_length="410 400 ")";
  const auto current = [](const std::string& model) {
    return " model=\"" + model + R"(" radial_distortion="0.0625 0.03125 0 0 0 0 ")" +
           R"( distortion_limit="1" undistortion_limit="1.01235")";
  };
  const std::string kOld = R"( radial_distortion_8="0.0625 0.03125 0.25 -0.5 0 0 0 0 ")";
  const std::string kOldFisheye =
      R"( fish_eye="true" radial_distortion_8="0.0625 0.03125 9.9999999e-09 9.9999999e-09 0 0 0 0 ")";
  const std::string kTangential = R"( tangential_distortion="0.25 -0.5 ")";
  const std::string kPose =
      R"( /><Rig translation="0.125 -0.25 2 " rowMajorRotationMat="1 0 0 0 1 0 0 0 1 " />)";
  const struct {
    const char* name;
    bool isFisheye, useLieElement, writeNameAndId;
    int format;
    std::string expected;
  } kCases[] = {
      {"left", false, false, false, 0,
       " cam_name=\"left\">" + kSize + current("RADIAL_2_PARAMETERS") + kTangential + kPose},
      {"left", false, true, true, 1,
       R"( cam_name="left" name="left" id="4">)" + kSize + kOld +
           R"( /><Rig stereo_rig="0.125 -0.25 2 0 0 0 " />)"},
      {"default_cam_3", true, false, true, 2,
       R"( name="default_cam_3" id="4">)" + kSize + kOldFisheye + current("FISHEYE_4_PARAMETERS") +
           kPose},
      {"default_cam_3", false, false, false, 3, ">" + kSize + kPose}};
  for (const auto& c : kCases) {
    CameraModel<P> model;
    model.size = {640, 480};
    model.principalPoint = {P(318.5), 243};
    model.focalLength = {410, 400};
    model.model = c.isFisheye ? FISHEYE_4_PARAMETERS : RADIAL_2_PARAMETERS;
    model.radialDistortion = {P(0.0625), P(0.03125), 0, 0, 0, 0};
    if (!c.isFisheye) model.tangentialDistortion = {P(0.25), P(-0.5)};
    model.limits = {1, P(1.01234567 * 1.01234567)};
    FullCamera<P> camera;
    ASSERT_TRUE(camera.init(model, Math::SE3<P>({}, {P(0.125), P(-0.25), 2}), CamImageId(c.name),
                            false, 0, {}, 0));
    const auto format = static_cast<XMLFormat>(c.format);
    EXPECT_EQ(textOf(*camera.toXMLNode(c.useLieElement, format, c.writeNameAndId, 4)),
              "<Camera" + c.expected + "</Camera>");
  }
}

TYPED_TEST(RigXmlTest, LoadsWhatItWrites) {
  // Logarithm and exponential lose a few units in the last place.
  constexpr double kLieBound = 1e-7 + 4 * std::numeric_limits<TypeParam>::epsilon();
  int withoutOldForm = 0;
  for (const Lens& lens : kLenses) {
    const LegacyForm& legacy = findTraits<double>(lens.model)->legacy;
    withoutOldForm += legacy.mode < 0 ? 1 : 0;
    for (const XMLFormat format : {XMLFormat::Current, XMLFormat::Old, XMLFormat::Both}) {
      const bool isOld = format == XMLFormat::Old;
      if (isOld && legacy.mode < 0) continue;
      SCOPED_TRACE(lens.name + std::to_string(static_cast<int>(format)));
      // The old form holds the tangential terms of the models that it knows them for.
      const bool isTangential = legacy.modeWithTangential != legacy.mode;
      const auto rig = this->rigOf(lens, isTangential || !isOld);
      ASSERT_TRUE(rig.isInitialized());
      TiXmlElement root("DeviceConfiguration");
      rig.saveCalibration(&root, isOld, isOld, format);
      Common::ConfigNode config;
      ASSERT_TRUE(config.setFromXMLString(textOf(root).c_str()));
      this->expectLoaded(rig, config, isOld ? kLieBound : 1e-7);
    }
  }
  // Three cameras of each lens that has no old form to write.
  EXPECT_EQ(this->log.count("Unhandled enum option"), 3 * withoutOldForm);
  EXPECT_EQ(this->log.failedChecks(), 3 * withoutOldForm) << this->log.text();
}

TEST(RigDocument, ReturnsEveryName) {
  const LogCapture log;
  const char* const kNames[] = {"M\xFCnchen", "\xC3\xA4\xE4\xB8\xAD", "&#x41; <&>\"' &#xzz&#x",
                                "\x01\t\n\xF0", "&#x;"};
  for (const char* const name : kNames) {
    const CameraCalibrationZEL records[] = {testing::cameraRecord(name),
                                            testing::cameraRecord("right")};
    FullStereoCameraCalibration<double> rig(CalibrationInfo(CalibrationInfo::UNKNOWN, 0));
    rig.setFromIdl(records, rig.getInfo());
    std::string bytes, why;
    ASSERT_TRUE(tryRigToXml(rig, bytes, why)) << why;
    auto back = rig;
    ASSERT_TRUE(tryRigFromXml(bytes.data(), bytes.size(), back, why)) << why;
    EXPECT_EQ(back[0].getNameStr(), name);
  }
}

TEST(RigDocument, WritesNoRigThatCouldNotBeRead) {
  const LogCapture log;
  const CameraCalibrationZEL record = testing::cameraRecord("left");
  FullStereoCameraCalibration<double> rig(CalibrationInfo(CalibrationInfo::UNKNOWN, 0));
  std::string bytes = "kept", why;
  EXPECT_FALSE(tryRigToXml(rig, bytes, why));
  EXPECT_EQ(why, "expected a camera, found none");
  rig.setFromIdl(std::vector{record, record}, rig.getInfo());
  EXPECT_FALSE(tryRigToXml(rig, bytes, why));
  EXPECT_EQ(why, "camera 1: cam_name: expected another name than that of an earlier camera");
  rig[1].setCamId(CamImageId("right"));
  rig[1].setExtrinsics({{}, {0, NAN, 0}});
  EXPECT_FALSE(tryRigToXml(rig, bytes, why));
  EXPECT_NE(why.find("camera 1: Rig.translation: expected x, y and z"), std::string::npos) << why;
  rig[1].clearIntrinsics();
  EXPECT_FALSE(tryRigToXml(rig, bytes, why));
  EXPECT_EQ(why, "camera 1: expected a name and intrinsics");
  EXPECT_EQ(bytes, "kept");
}

TYPED_TEST(RigXmlTest, SavesFiles) {
  const std::string file = rectiline::testing::temporaryFile("rig.xml");
  const auto rig = this->rigOf(kLenses[0], true);
  ASSERT_TRUE(rig.saveCalibration(file));
  EXPECT_EQ(this->log.count("Saving camera calibration to " + file), 1) << this->log.text();
  std::string declaration;
  std::getline(std::ifstream(file), declaration);
  EXPECT_EQ(declaration, R"(<?xml version="1.0" encoding="UTF-8" ?>)");
  this->expectLoaded(rig, Common::ConfigNode(file.c_str()), 1e-7);
  std::remove(file.c_str());
  EXPECT_EQ(this->log.failedChecks(), 0) << this->log.text();

  EXPECT_FALSE(rig.saveCalibration("/dev/full"));
  EXPECT_FALSE(rig.saveCalibration("/no/such/folder/rig.xml") || rig.saveCalibration(""));
  EXPECT_EQ(this->log.count("AR_ASSERT filename.length() > 0"), 1) << this->log.text();
  EXPECT_FALSE(this->emptyRig().saveCalibration("/dev/full"));
  EXPECT_EQ(this->log.count("AR_ASSERT isInitialized()"), 2) << this->log.text();
  rig.saveCalibration(nullptr, false, false, XMLFormat::Current);
  EXPECT_EQ(this->log.count("AR_ASSERT deviceConfig"), 1) << this->log.text();
}

}  // namespace
}  // namespace AR::CV
