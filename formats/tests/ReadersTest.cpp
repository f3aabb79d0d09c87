// Files of real devices against projections and poses that were computed outside this code base: in
// double precision from the same files, and held against OpenCV 4.6 (2e-11 pixels) where it has the
// model.

#include <gmock/gmock.h>

#include <cmath>

#include "Excerpts.h"
#include "TestFiles.h"
#include "rectiline/rectiline.h"

namespace rectiline::formats {
namespace {

struct Projection {
  int camera;
  double x, y;  // ideal point
  double u, v;  // pixel
};

struct Pose7 {
  double t[3];
  double q[4];  // x y z w
};

struct Case {
  const char* name;
  std::vector<std::string> texts;
  PixelSize size;  // 0: the file says it
  Format format;
  std::vector<Projection> projections;
  std::vector<Pose7> secondPose;  // of camera 1 from camera 0; empty: one camera
  std::string pair = "";
};

constexpr Pose7 kEurocPose{
    {-0.110073808127, 0.000399121547025, -0.000853702503357},
    {-0.00704530576094, 0.000179854892821, -0.00115733024591, 0.999974495628}};
const std::vector<Projection> kEurocPixels{{0, -0.3, 0.25, 235.318372892, 357.977943264},
                                           {0, 0.6, 0.1, 616.35623476, 289.80785316},
                                           {1, -0.3, 0.25, 248.425599186, 364.524994427},
                                           {1, 0.6, 0.1, 628.510558682, 296.508399459}};

// From the same pose: R^T and -R^T t.
constexpr Pose7 kEurocInverse{
    {0.110074137801, -0.000156612054403, 0.000889382785436},
    {0.00704530576094, -0.000179854892821, 0.00115733024591, 0.999974495628}};
const std::vector<Projection> kFisheyePixels{{0, -0.3, 0.25, 200.283242746, 302.436596142},
                                             {1, 0.6, 0.1, 355.370344838, 272.04499192}};
constexpr Pose7 kFisheyePose{
    {-0.101061102752, -0.00197645758734, -0.0011756424802},
    {0.0234543370804, -0.000337637333687, 0.000403874094267, 0.999724770604}};

/// The published file, but without the depth camera's centre and cross terms.
std::string azureWithoutWhatIsNotOurs() {
  std::string text = kAzure;
  for (const char* const number :
       {"-0.000482909323181957", "-5.453524863696657e-05", "6.388901238096878e-05",
        "-8.999171404866502e-05", "0.001088816556148231", "0.0010363152250647545",
        "-8.56648402987048e-05", "0.0008326934766955674"}) {
    text = edited(text, number, "0");
  }
  return text;
}

const std::vector<Case>& cases() {
  static const std::vector<Case> list{
      {"transforms out of the cameras into a body",
       {kEurocLeft, kEurocRight},
       {},
       Format::EuRoC,
       kEurocPixels,
       {kEurocPose}},
      {"Windows line ends and a byte-order mark",
       {"\xEF\xBB\xBF" + replacedAll(kEurocLeft, "\n", "\r\n"), kEurocRight},
       {},
       Format::EuRoC,
       kEurocPixels,
       {kEurocPose}},
      {"T_imu_cam", {kKalibrImuCam}, {}, Format::Kalibr, kEurocPixels, {kEurocPose}},
      {"T_cam_imu", {kKalibrCamImu}, {}, Format::Kalibr, kFisheyePixels, {kFisheyePose}},
      {"T_cn_cnm1 and the FOV model",
       {kKalibrChain},
       {},
       Format::Kalibr,
       {{0, -0.3, 0.25, 264.895147488, 338.318722963}, {1, 0.6, 0.1, 562.834096167, 262.945166363}},
       {{{-0.117229237504, 0.000165884605949, -0.00023282229353},
         {-0.00103940152885, -0.00173494294094, -0.00133491228879, 0.999997063809}}}},
      {"intrinsics and extrinsics",
       {kOpenCvIntrinsics, kOpenCvExtrinsics},
       {640, 480},
       Format::OpenCv,
       {{0, -0.3, 0.25, 189.060049937, 362.717357562}, {1, 0.6, 0.1, 619.694426337, 298.458193086}},
       {{{-0.083176370512, 0.000919769433454, -0.000118162892422},
         {0.00356339887165, 0.00210009740895, -0.00175953313264, 0.99998989786}}}},
      {"FileStorage in XML",
       {kOpenCvXml},
       {},
       Format::OpenCv,
       {{0, -0.3, 0.25, 189.060049937, 362.717357562}, {0, 0.6, 0.1, 632.831653172, 283.353390391}},
       {}},
      {"the rational model",
       {kOpenCvRational},
       {},
       Format::OpenCv,
       {{0, -0.3, 0.25, 371.33201426, 624.153884964}, {0, 0.6, 0.1, 785.813286172, 549.343472142}},
       {}},
      {"a pose from what rectifies the pair",
       {kRosLeft, kRosRight},
       {},
       Format::Ros,
       {{0, -0.3, 0.25, 394.29163577, 372.684871897}, {1, 0.6, 0.1, 1108.15782597, 232.537350351}},
       {{{-0.22805764322, 0.00030468152525, -0.000488086611486},
         {-0.00843958769444, 0.0150703072716, -0.000333033771107, 0.999850763008}}}},
      {"an older pair by what rectifies it",
       {kOrbSlamRectified},
       {},
       Format::OrbSlam,
       kEurocPixels,
       {kEurocPose}},
      {"T_c1_c2 in single precision",
       {kOrbSlamTwo},
       {},
       Format::OrbSlam,
       kFisheyePixels,
       {kFisheyePose}},
      {"T_B_C", {kSvo}, {}, Format::Svo, kEurocPixels, {kEurocPose}},
      {"poses by named quaternions",
       {kBasaltFisheye},
       {},
       Format::Basalt,
       {{0, -0.3, 0.25, 345.964430932, 582.103232002}, {1, 0.6, 0.1, 707.495687674, 524.460827204}},
       {{{-0.133331722092, 0.00317508915635, -0.0105058019496},
         {0.00763078081234, -0.0764665689561, -0.0037189334111, 0.997036009656}}}},
      {"R and T from camera 00",
       {kKitti},
       {},
       Format::Kitti,
       {{0, -0.3, 0.25, 423.031032105, 451.260098456}, {1, 0.6, 0.1, 1176.46414129, 304.433585613}},
       {{{-0.532600552891, 0.00658611908726, -0.00900165326733},
         {-0.000641000057829, -0.00985164810095, -0.0111586832506, 0.999889002808}}},
       "01,02"},
      {"sockets and centimetres", {kOak}, {}, Format::Oak, kEurocPixels, {kEurocPose}, "1,2"},
      {"the other way along the chain", {kOak}, {}, Format::Oak, {}, {kEurocInverse}, "2,1"},
      {"corner origin",
       {kColmapCameras, kColmapRigs},
       {},
       Format::Colmap,
       kEurocPixels,
       {kEurocPose},
       "name:1,name:2"},
      {"corner origin of eight coefficients",
       {kColmapCameras},
       {},
       Format::Colmap,
       {{0, -0.3, 0.25, 189.02882461, 362.703473371}},
       {},
       "7"},
      {"shares of the size in lines",
       {kFovLines},
       {},
       Format::Fov,
       {{0, -0.3, 0.25, 233.305744751, 341.302252287}, {0, 0.6, 0.1, 586.132633135, 277.70097936}},
       {}},
      {"pixels in lines",
       {"FOV 396.55 397.1 355.6 239.2 0.928161\n752 480\nfull\n640 480\n"},
       {},
       Format::Fov,
       {{0, 0, 0, 355.6, 239.2}},
       {}},
      {"PTAM", {kFovPtam}, {}, Format::Fov, {{0, -0.3, 0.25, 197.796535939, 398.912529528}}, {}},
      {"SVO's arctangent",
       {kFovSvo},
       {},
       Format::Fov,
       {{0, -0.3, 0.25, 235.393510121, 364.019558411}},
       {}},
      {"shares and the corner of the factory's file",
       {azureWithoutWhatIsNotOurs()},
       {},
       Format::Azure,
       {{0, -0.3, 0.25, 377.5796863513642, 632.1630714471256},
        {0, 0.6, 0.1, 793.5534133850978, 557.0637733252019}},
       {{{-0.0319669172168, -0.00193755945656, 0.00424535805359},
         {-0.0525752710557, 0.000166461907094, -0.00207736117342, 0.998614789463}}}},
  };
  return list;
}

void expectPose(const XrPosedZEL_t& pose, const Pose7& expected) {
  // Rotations of seven digits are made ones in more than one way.
  constexpr double kDigits = 2e-9;
  const auto& [q, p] = pose;
  EXPECT_NEAR(p.x, expected.t[0], kDigits);
  EXPECT_NEAR(p.y, expected.t[1], kDigits);
  EXPECT_NEAR(p.z, expected.t[2], kDigits);
  const double cosine =
      q.x * expected.q[0] + q.y * expected.q[1] + q.z * expected.q[2] + q.w * expected.q[3];
  EXPECT_NEAR(q.x * cosine, expected.q[0], kDigits);
  EXPECT_NEAR(q.y * cosine, expected.q[1], kDigits);
  EXPECT_NEAR(q.z * cosine, expected.q[2], kDigits);
  EXPECT_NEAR(q.w * cosine, expected.q[3], kDigits);
}

class ReadersTest : public FilesTest {};

TEST_F(ReadersTest, ReadsWhatWasComputedElsewhere) {
  for (const Case& c : cases()) {
    SCOPED_TRACE(c.name);
    ReadOptions options;
    if (c.size.width > 0) options.size = c.size;
    options.pair = c.pair;
    const Calibration read = readCalibration(filesOf(c.texts), options);
    EXPECT_EQ(read.format, c.format);
    ASSERT_EQ(read.device.num_cameras, c.secondPose.empty() ? 1 : 2);
    for (const Projection& p : c.projections) {
      const double ray[3] = {p.x, p.y, 1};
      double pixel[2] = {};
      ASSERT_EQ(rectiline_rays_to_pixels(&read.device.cameras[p.camera], 1, ray, pixel, nullptr),
                RECTILINE_OK);
      EXPECT_NEAR(pixel[0], p.u, 1e-8);
      EXPECT_NEAR(pixel[1], p.v, 1e-8);
    }
    for (const CameraReading& camera : read.cameras) {
      ASSERT_TRUE(camera.greatestDifference.has_value());
      EXPECT_LT(*camera.greatestDifference, 1e-9);
    }
    expectPose(read.device.cameras[0].pose, {{0, 0, 0}, {0, 0, 0, 1}});
    if (!c.secondPose.empty()) expectPose(read.device.cameras[1].pose, c.secondPose[0]);
  }
}

TEST_F(ReadersTest, TakesTheSmallestModelThatHoldsTheCoefficients) {
  const auto modelOf = [this](const std::string& coefficients) {
    const std::string text =
        edited(kRosLeft, "-0.251963, 0.096396, -0.002254, -0.001636, 0.000000", coefficients);
    return readCalibration(filesOf({text})).device.cameras[0].intrinsics.distortion_model;
  };
  EXPECT_EQ(modelOf("0, 0, 0, 0, 0"), 0);
  EXPECT_EQ(modelOf("0, 0, 1e-4, 0, 0"), 1);
  EXPECT_EQ(modelOf("-0.2, 0, 0, 0, 0"), 1);
  EXPECT_EQ(modelOf("-0.2, 0, 0, 0, 1e-9"), 2);
}

TEST_F(ReadersTest, TakesCamerasByNameOrByIndex) {
  const auto withPair = [](const std::string& pair) {
    ReadOptions options;
    options.pair = pair;
    return options;
  };
  const auto chosen = [&](const std::vector<std::string>& files, const std::string& pair) {
    std::string names;
    for (const CameraReading& camera : readCalibration(files, withPair(pair)).cameras) {
      names += camera.name + " ";
    }
    return names;
  };
  const std::vector<std::string> chain = filesOf({kKalibrChain});
  EXPECT_EQ(chosen(chain, "cam1,0"), "cam1 cam0 ");
  // Cameras 1, 2, 5 and 7: numbers that are names, indices, or both.
  const std::vector<std::string> numbered = {file("numbered", kColmapCameras)};
  const struct {
    const char *pair, *cameras;
  } rows[] = {{"0,1", "1 2 "}, {"7,1", "7 1 "},       {"0,3", "1 7 "},
              {"5,0", "5 1 "}, {"index:1,5", "2 5 "}, {"name:1,name:2", "1 2 "}};
  for (const auto& row : rows) EXPECT_EQ(chosen(numbered, row.pair), row.cameras) << row.pair;
  EXPECT_THAT(refusalOf(numbered, withPair("1,2")),
              ::testing::HasSubstr("name:1,name:2 or index:1,index:2"));
  // Sockets 4, 1 and 2.
  const std::string oak = edited(edited(kOak, "[0, {", "[4, {"), "Socket\": 0", "Socket\": 4");
  EXPECT_THAT(refusalOf(filesOf({oak}), withPair("0,1")), ::testing::EndsWith("found 0"));
}

TEST_F(ReadersTest, TakesUnitsPairsAndImageSizes) {
  const std::vector<std::string> files = filesOf({kKalibrChain});
  ReadOptions options;
  options.metresPerUnit = metresPerUnitFromText("mm");
  options.pair = "cam1,0";
  options.imageSize = PixelSize{376, 240};
  const Calibration read = readCalibration(files, options);
  ASSERT_EQ(read.device.num_cameras, 2);
  const CameraCalibrationZEL& left = read.device.cameras[0];
  EXPECT_STREQ(left.name, "cam1");
  EXPECT_EQ(left.intrinsics.width, 376);
  EXPECT_NEAR(left.intrinsics.focal_length_x, 330.66005261900216 / 2, 1e-12);
  EXPECT_NEAR(left.intrinsics.principal_point_x, (371.03802575515203 + 0.5) / 2 - 0.5, 1e-12);
  // The other way round, the inverse of what the file holds; in millimetres.
  EXPECT_NEAR(read.device.cameras[1].pose.position.x, 0.1172297e-3, 1e-9);
}

TEST_F(ReadersTest, SaysWhenNothingTellsHowCamerasLie) {
  const std::string identity = "1, 0, 0, 0, 1, 0, 0, 0, 1";
  const std::string left = edited(
      kRosLeft,
      "0.999479, -0.000960, 0.032258, 0.000688, 0.999964, 0.008463, -0.032265, -0.008436, 0.999444",
      identity);
  const std::string right = edited(left, "narrow_stereo/left", "right");
  const Calibration read = readCalibration(filesOf({left, right}));
  EXPECT_FALSE(read.hasPoses);
  ASSERT_EQ(read.notes.size(), 1);
  EXPECT_NE(read.notes[0].find("no two as a pair"), std::string::npos);
}

TEST(Units, AreWordsOrNumbers) {
  EXPECT_EQ(metresPerUnitFromText("cm"), 0.01);
  EXPECT_EQ(metresPerUnitFromText("0.025"), 0.025);
  for (const char* const text : {"", "inch", "0", "-1", "nan", "1e999", "1 m"}) {
    EXPECT_THROW((void)metresPerUnitFromText(text), FormatError) << text;
  }
}

}  // namespace
}  // namespace rectiline::formats
