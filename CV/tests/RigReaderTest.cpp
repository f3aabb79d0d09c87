// What is read from calibration documents, and why others are refused.

#include <gtest/gtest.h>

#include <cmath>
#include <iterator>
#include <sstream>
#include <string>
#include <vector>

#include "AR/CV/Camera/StereoCamera.h"
#include "AR/CV/RigDocument.h"
#include "AR/Common/ConfigNode.h"
#include "testing/LogCapture.h"

namespace AR::CV {
namespace {

using namespace CamModel;
using rectiline::testing::LogCapture;
using Ids = std::vector<CamImageId>;
using Rig = FullStereoCameraCalibration<double>;

const std::string kGeometry = "size='640 480' principal_point='318 243' focal_length='410 400' ";
const std::string kRadial = "model='RADIAL_2_PARAMETERS' radial_distortion='0.1 0.01 0 0 0 0' ";
const std::string kBad = "model='RADIAL_2_PARAMETERS' radial_distortion='0 0 1 0 0 0'";
const std::string kIntrinsics = "<Calibration " + kGeometry + kRadial + "/>";
const std::string kIdentity = "<Rig translation='0 0 0' rowMajorRotationMat='1 0 0 0 1 0 0 0 1'/>";
const std::string kSevenDetails =
    "nativeSensorWidth='1' nativeSensorHeight='2' cropL='3' cropR='4' cropT='5' cropB='6' "
    "binningH='7' ";

const std::string kNone =
    "None of radial_distortion, radial_distortion_8, or radial_distortion_4 found";
const std::string kNoRotation = "Stereo calibration is not a 3x3 rotation matrix";

std::string device(const std::string& cameras) {
  return "<DeviceConfiguration deviceUID='uid'><Other/>" + cameras + "</DeviceConfiguration>";
}

// Documents with one camera: of these children, attributes of its calibration or its pose, or with
// a further child.
std::string oneCamera(const std::string& children) {
  return device("<Camera cam_name='left'>" + children + "</Camera>");
}
std::string calibration(const std::string& attributes) {
  return oneCamera("<Calibration " + kGeometry + attributes + "/>" + kIdentity);
}
std::string pose(const std::string& attributes) {
  return oneCamera(kIntrinsics + "<Rig " + attributes + "/>");
}
std::string rotation(const std::string& R) {
  return pose("translation='0 0 0' rowMajorRotationMat='" + R + "'");
}
std::string with(const std::string& child) { return oneCamera(kIntrinsics + kIdentity + child); }

Common::ConfigNode parse(const std::string& xml) {
  Common::ConfigNode node;
  EXPECT_TRUE(node.setFromXMLString(xml.c_str())) << xml;
  return node;
}

struct RigReader : ::testing::Test {
  bool load(const std::string& xml, const Ids& ids = {}, const bool requireAllIds = false) {
    rig = Rig(CalibrationInfo(CalibrationInfo::UNKNOWN, 0));
    log.clear();
    return rig.loadCameraCalibFromDeviceConfig(parse(xml), ids, requireAllIds);
  }

  void expectRefused(const std::string& document, const std::string& reason) {
    SCOPED_TRACE(document);
    log.clear();
    rig.setDeviceUID("kept");
    std::string why;
    EXPECT_FALSE(tryRigFromXml(document.data(), document.size(), rig, why));
    EXPECT_NE(why.find(reason), std::string::npos) << why;
    EXPECT_EQ(rig.getDeviceUID(), "kept");
  }

  void expectLogged(const std::string& part) {
    EXPECT_GT(log.count(part), 0) << part << " not in\n" << log.text();
  }

  Rig rig{CalibrationInfo(CalibrationInfo::UNKNOWN, 0)};
  LogCapture log;
};

TEST_F(RigReader, LoadsAWholeCamera) {
  ASSERT_TRUE(
      load(oneCamera(kIntrinsics + "<Rig stereoRig='1 2 3 0 0 0'/><TimeAlignment delta='0.25'/>" +
                     "<RollingShutter isRollingShutter='TRUE' linetime='0.5'/><CaptureDetails " +
                     kSevenDetails + "binningV='8'/>")));
  EXPECT_EQ(rig.getDeviceUID(), "uid");
  EXPECT_EQ(rig[0].getCamReferenceToLocal().translation()(1), 2);
  EXPECT_EQ(rig[0].getDelta(), 0.25);
  EXPECT_TRUE(rig[0].getRSCorrector().isRollingShutter);
  EXPECT_EQ(rig[0].getRSCorrector().lineTime, 0.5);
  EXPECT_EQ(rig[0].getCaptureDetails(), (CaptureDetails{1, 2, 3, 4, 5, 6, 7, 8}));
  expectLogged("deviceNode.getName 'DeviceConfiguration',  deviceNode.getNumChildren 2");
  expectLogged("Loading camera calibration from config file (name left)");
  EXPECT_EQ(log.failedChecks(), 0) << log.text();
  ASSERT_TRUE(load(with("<RollingShutter isRollingShutter='false'/>")));
  // What is not quite a rotation is made one.
  ASSERT_TRUE(load(rotation("1 0.00008 0 0 1 0 0 0 1")));
  EXPECT_EQ(log.count("they're all at"), 0) << log.text();
  const auto& R = rig[0].getCamReferenceToLocal().rotation().matrix();
  EXPECT_LT(std::fabs(Math::dot(R.row(0), R.row(1))), 1e-8);
}

TEST_F(RigReader, RefusesBadCameras) {
  const std::string kNoDetails = "Can't find camera calibration detail attributes";
  const std::string kLong(60, 'x');
  const std::string kLine = "RollingShutter.linetime: expected seconds per row, above 0, found ";
  const struct {
    std::string document, why, message;
    bool isLetPass = false;  // by load(), which takes what a document may not hold
  } kCases[] = {
      {oneCamera(kIdentity), "size: expected width and height, pixels, found no such", kNoDetails},
      {calibration("radial_distortion='0 0 0 0 0 0'"), "Calibration.model: expected", kNoDetails},
      {calibration("model='RADIAL_2_PARAMETERS'"), ".radial_distortion: expected k0 to k5", kNone},
      {calibration("model='Linear' radial_distortion='0 0 0 0 0 0'"), "\"Linear\"",
       "not supported"},
      {calibration(kBad), "Calibration: Radial distortion", "Cannot initialize camera from inv"},
      {calibration(kRadial + "distortion_limit='" + kLong + "x'"), "found \"" + kLong + "...\"",
       "parsing float"},
      {calibration("radial_distortion_8='0 0 0 0 0 0 0 nan'"), "found \"0 0 0 0", "not finite"},
      {calibration("radial_distortion_4='1 0 0 0' fish_eye='1'"), "found \"1\"", "true/false"},
      {pose("stereo_rig='0 0 0 0 0 0' translation='0 0 0'"), "Rig.stereo_rig: expected alone",
       "Stereo calibration given twice in config--only specify either Lie element or [rotation "
       "and"},
      {pose("stereoRig='1' translation='0 0 0' rowMajorRotationMat='1 0 0 0 1 0 0 0 1'"),
       "Rig.stereoRig: expected the six", "Vec6D"},
      {pose("translation='0 0 0'"), "Rig.rowMajorRotationMat: expected together with translation",
       "Incomplete stereo calibration in config--no extrinsics (SFConfig.Rig.stereoRig)"},
      {pose("stereo_rig='1 0 0 1e30 1e300 0'"), "Rig.stereo_rig: expected a smaller", "not finite"},
      {pose("translation='0 inf 0'"), "Rig.translation: expected x, y and z", "is not finite"},
      {rotation("1 1e-3 0 0 1 0 0 0 1"), "at right angles", kNoRotation},
      {rotation("1 0 0 0 1 0 0 0 1.001"), "rows of length 1", kNoRotation},
      {rotation("1 0 0 0 nan 0 0 0 1"), "Rig.rowMajorRotationMat: expected rows", kNoRotation},
      {with(kIdentity), "expected one Rig element, found 2", "Duplicate tag 'Rig'."},
      {with(kIntrinsics), "expected one Calibration element, found 2", kNoDetails},
      {with("<CaptureDetails " + kSevenDetails + "/>"),
       "CaptureDetails.binningV: expected the vert",
       "Failed to read CaptureDetails tag. All attributes are required."},
      {with("<TimeAlignment/>"), "TimeAlignment.delta: expected", "Failed to read TimeAlignment t"},
      {with("<RollingShutter isRollingShutter='true'/>"), kLine + "no such attribute",
       "loadRollingShutterConfig() - Unable to determine linetime of rolling shutter camera."},
      {with("<RollingShutter isRollingShutter='true' linetime='0'/>"), kLine + "\"0\"",
       "Rolling shutter is enabled but line time is set to <= 0. Set isRollingShutter = false in "},
      {with("<RollingShutter isRollingShutter='1'/>"), "RollingShutter.isRollingShutter: expected",
       "true/false", true},
      {rotation("1 0 0 0 1 0 0 0 -1"), "expected a rotation, found a reflection", "", true},
  };
  for (const auto& [document, why, message, isLetPass] : kCases) {
    expectRefused(document, "camera 0: ");
    expectRefused(document, why);
    expectLogged(message);
    EXPECT_EQ(log.count("No cameras loaded from config under element 'Dev"), isLetPass ? 0 : 1);
    EXPECT_EQ(log.failedChecks() > 0, why.ends_with("found 2")) << log.text();
    EXPECT_EQ(load(document), isLetPass);
    EXPECT_EQ(rig.empty(), !isLetPass);
  }
}

TEST_F(RigReader, RefusesBadDocuments) {
  const std::string kCamera = "<Camera>" + kIntrinsics + "</Camera>";
  std::string seven;
  for (int i = 0; i < 7; ++i) seven += kCamera;
  const std::pair<std::string, std::string> kCases[] = {
      {"", "no root element, line 1, column 1"},
      {"<DeviceConfiguration>\n<Camera></DeviceConfiguration>", ", line 2, column "},
      {"<Device/>", "expected the root element DeviceConfiguration, found \"Device\""},
      {device(""), "expected a Camera element, found none"},
      {device(seven), "camera 6: expected at most 6 cameras"},
      {device("<Camera cam_name='a'>" + kIntrinsics + "</Camera><Camera cam_name='a'/>"),
       "camera 1: cam_name: expected another name than that of an earlier camera"},
      {device(kCamera + "<Camera/><Camera cam_name='x'/>"), "camera 1: Calibration.size: expected"},
  };
  for (const auto& [document, why] : kCases) expectRefused(document, why);
  std::string why;
  EXPECT_FALSE(tryRigFromXml(nullptr, 0, rig, why));
  EXPECT_EQ(why, "expected a document, found none");
}

TEST_F(RigReader, PrefersTheNewerFormAndTakesLimitsInPairs) {
  const std::string kEight = "radial_distortion_8='0.3 0.03 0.003 0 0 0 0 0' ";
  const std::string kFour = "radial_distortion_4='0.4 0.04 0.004 0.0004' ";
  const std::string kOld = "Loading old combined 8D radial+tangential distortion.";
  const std::string kLimit = "model='LINEAR' distortion_limit='0.5' ";
  const struct {
    std::string attributes;
    DistortionModel model;
    double k0, k3, p1, p2;
    std::string message;
    double limit = 0;  // 0: what a view of 180 degrees gives
  } kCases[] = {
      {kEight + kRadial + kFour, RADIAL_2_PARAMETERS, 0.1, 0, 0, 0, "RADIAL_2_PARAMETERS"},
      {kEight + kFour, RADIAL_2_PARAMETERS, 0.3, 0, 0.003, 0, kOld},
      {kEight + "radial_distortion='1 0 0 0 0 0'", RADIAL_2_PARAMETERS, 0.3, 0, 0.003, 0, kOld},
      {kFour, RADIAL_2_PARAMETERS, 0.4, 0, 0.004, 0.0004, "radial_distortion_4"},
      {kFour + "fish_eye='True'", FISHEYE_4_PARAMETERS, 0.4, 0.0004, 0, 0, "fish_eye"},
      {"radial_distortion_4='0.9 0 0 0'", FISHEYE_1_PARAMETER, 0.9, 0, 0, 0, "fish_eye"},
      {"", LINEAR, 0, 0, 0, 0, kNone},
      {kLimit + "undistortion_limit='0.5'", LINEAR, 0, 0, 0, 0, kNone, 0.25},
      {kLimit, LINEAR, 0, 0, 0, 0, kNone},
      {kLimit + "undistortion_limit='0'", LINEAR, 0, 0, 0, 0, kNone},
      {kLimit + "undistortion_limit='-0.5'", LINEAR, 0, 0, 0, 0, kNone},
      {"model='LINEAR' tangential_distortion='0.01 0'", LINEAR, 0, 0, 0.01, 0, kNone},
  };
  for (const auto& c : kCases) {
    SCOPED_TRACE(c.attributes);
    ASSERT_TRUE(load(calibration(c.attributes)));
    const auto& model = rig[0].getIntrinsics().getCamModel();
    EXPECT_EQ(model.model, c.model);
    EXPECT_EQ(model.radialDistortion(0), c.k0);
    EXPECT_EQ(model.radialDistortion(3), c.k3);
    EXPECT_EQ(model.tangentialDistortion, (Math::Vec<double, 2>(c.p1, c.p2)));
    EXPECT_TRUE(c.limit > 0 ? model.limits.distortionLimit == c.limit
                            : model.limits.distortionLimit > 0.3);
    expectLogged(c.message);
  }
}

std::vector<std::string> words(const std::string& text) {
  std::istringstream stream(text);
  return {std::istream_iterator<std::string>(stream), {}};
}

TEST_F(RigReader, GivesEveryCameraItsNode) {
  const std::string kTwice = "is already initialized--is there a duplicate id in the config file?";
  const struct {
    std::string nodes;         // names in document order; "-": nameless, "bad": refused
    std::string ids, cameras;  // a camera is followed by the number of its node, or "-"
    bool ok, okIfAllRequired;
    std::string message;
  } kCases[] = {
      {"a a b", "", "a 0 b 2 ", true, true, "Camera a " + kTwice},
      {"bad -", "", "default_cam_0 1 ", false, false, "Cannot initialize camera"},
      {"default_cam_1 -", "", "default_cam_1 0 ", true, true, kTwice},
      {"a b c d e f g", "", "a 0 b 1 c 2 d 3 e 4 f 5 ", true, true, "new_size<=MAX_SIZE"},
      {"b c", "default_cam_0", "b 0 ", true, true, "ids not specified (camIds.size: 1).  Use"},
      {"right x left", "left right", "left 2 right 0 ", true, true, "camIds[1].name: right"},
      {"- - -", "left right", "left 0 right 1 ", true, true, "cam_name attribute not found."},
      {"left left", "left right", "left 0 right - ", true, false,
       "Incorrect number of cameras loaded:  loaded: 1  camIds size: 2"},
      {"left", "left right", "left 0 right - ", true, false,
       "Camera with id 1 not initialized (not loaded from in the config file)"},
      {"x", "left", "left - ", false, false, "No cameras loaded from config under element"},
  };
  for (const auto& c : kCases) {
    SCOPED_TRACE(c.nodes + " for " + c.ids);
    std::string xml;
    int index = 0;
    for (const std::string& node : words(c.nodes)) {
      xml += node == "-" ? "<Camera>" : "<Camera cam_name='" + node + "'>";
      xml += "<Calibration " + kGeometry + (node == "bad" ? kBad : kRadial) + "/>";
      xml += "<TimeAlignment delta='" + std::to_string(index++) + "'/></Camera>";
    }
    Ids ids;
    for (const std::string& id : words(c.ids)) ids.emplace_back(id.c_str());
    EXPECT_EQ(load(device(xml), ids, true), c.okIfAllRequired);
    EXPECT_EQ(load(device(xml), ids, false), c.ok);
    expectLogged(c.message);
    std::string cameras;
    int numLoaded = 0;
    for (const auto& camera : rig) {
      numLoaded += camera.isInitialized();
      const std::string node = std::to_string(static_cast<int>(camera.getDelta()));
      cameras += camera.getNameStr() + (camera.isInitialized() ? " " + node + " " : " - ");
    }
    EXPECT_EQ(cameras, c.cameras);
    EXPECT_EQ(log.count("they're all at 0,0,0"), numLoaded > 1) << log.text();
  }
}

TEST_F(RigReader, ReportsCamerasInOnePlaceAndARigOfOtherOrigin) {
  const std::string kNode = "<Camera>" + kIntrinsics + "</Camera>";
  EXPECT_TRUE(load(device(kNode + kNode)));
  EXPECT_EQ(log.count("no extrinsics (SFConfig.Rig.stereo_rig or rotation/translation)"), 2);
  expectLogged("2/2 cameras have no stereo extrinsic calibration (they're all at 0,0,0)");
  rig.setInfo(CalibrationInfo(CalibrationInfo::XR_CALIB, 0));
  EXPECT_FALSE(rig.loadOneCamera(parse(kNode), {}));
  EXPECT_TRUE(rig.loadCameraCalibFromDeviceConfig(parse(device(kNode)), {}, true));
  expectLogged("AR_ASSERT origin.getOrigin() == CalibrationInfo::UNKNOWN");
  rig.setupEmptyCalibrationWithDefaultIds(1);
  EXPECT_TRUE(rig.loadOneCamera(parse(kNode), {}));
}

}  // namespace
}  // namespace AR::CV
