// What is refused, and that one line says where, what was expected and what was found.

#include "Excerpts.h"
#include "TestFiles.h"

namespace rectiline::formats {
namespace {

struct Refusal {
  const char* name;
  std::string text;
  std::vector<std::string> says;
};

const std::string kColmapMore =
    "11 PINHOLE 64 48 50 50 32 24\n12 SIMPLE_PINHOLE 64 48 50 32 24\n13 PINHOLE 64 48 50 50 32 "
    "24\n";

class RefusalsTest : public FilesTest {};

TEST_F(RefusalsTest, NameFileCameraFieldAndWhatWasExpected) {
  const std::string coefficients = "[-0.28340811, 0.07395907, 0.00019359, 1.76187114e-05]";
  const Refusal refusals[] = {
      {"a coefficient missing",
       edited(kKalibrImuCam, coefficients, "[-0.28340811, 0.07395907, 0.00019359]"),
       {"camera cam0", "distortion_coeffs", "expected 4 numbers (k1 k2 p1 p2)", "found 3"}},
      {"a coefficient too many",
       edited(kKalibrCamImu, "0.0003299517423931039]", "0.1, 0.2]"),
       {"camera cam1", "distortion_coeffs", "expected 4 numbers (k1 k2 k3 k4)", "found 5"}},
      {"no number", edited(kKalibrImuCam, "458.654", "4x8"), {"cam0", "intrinsics", "\"4x8\""}},
      {"not finite", edited(kKalibrImuCam, "458.654", ".nan"), {"intrinsics", "finite", ".nan"}},
      {"too large for a number",
       edited(kKalibrImuCam, "458.654", "1e999"),
       {"intrinsics", "1e999"}},
      {"another model",
       edited(kKalibrImuCam, "radtan", "radtam"),
       {"cam0", "distortion_model", "pinhole-radtan, pinhole-equidistant", "pinhole-radtam"}},
      {"no rotation",
       edited(kKalibrChain, "0.999994275307285", "0.899994275307285"),
       {"camera cam1", "T_cn_cnm1", "expected a rotation", "found rows"}},
      {"a reflection",
       edited(kKalibrChain, "[0.9999904159643447, 0.0026734233431591698, -0.0034",
              "[-0.9999904159643447, -0.0026734233431591698, 0.0034"),
       {"T_cn_cnm1", "a reflection"}},
      {"another last row",
       edited(kKalibrChain, "[0.0, 0.0, 0.0, 1.0]", "[0.0, 0.0, 1.0, 1.0]"),
       {"cam1", "T_cn_cnm1", "last row 0 0 0 1"}},
      {"a camera twice", edited(kKalibrChain, "cam1:", "cam0:"), {"cam0", "once", "twice"}},
      {"a gap", edited(kKalibrChain, "cam1:", "cam2:"), {"without a gap", "cam2"}},
      {"a pose missing", edited(kKalibrChain, "T_cn_cnm1", "T_cn_cnm2"), {"cam1", "T_cn_cnm1"}},
      {"a size that is none",
       edited(kKalibrChain, "[752, 480]", "[752, 480.5]"),
       {"cam0", "resolution", "480.5"}},
      {"a principal point outside",
       edited(kKalibrChain, "368.20264278064553", "1368.2"),
       {"cam0", "principal_point_x", "inside the image"}},
      {"an omnidirectional lens",
       edited(edited(kKalibrImuCam, "camera_model: pinhole", "camera_model: omni"), "[458.654,",
              "[1.2, 458.654,"),
       {"camera cam0", "--fit", "omnidirectional"}},
      {"skew",
       edited(kOpenCvXml, "5.3341652746401496e+02 0.", "5.3341652746401496e+02 0.25"),
       {"camera1", "skew of 0.25"}},
      {"no size", edited(kOpenCvRational, "img_size", "other"), {"camera1", "size", "--size"}},
      {"four coefficients without a model",
       edited(edited(kOpenCvXml, "<rows>5", "<rows>4"), " 1.1910205945921751e-01", ""),
       {"distortion_coefficients", "--from opencv-fisheye"}},
      {"a matrix of another shape",
       edited(kOpenCvXml, "<rows>5", "<rows>4"),
       {"distortion_coefficients", "expected 4 numbers", "found 5"}},
      {"a lens with thin prism terms",
       edited(edited(kOpenCvRational, "rows: 8", "rows: 12"), "6.3248715614073373e-02",
              "6.3248715614073373e-02, 1e-4, 0, 0, 0"),
       {"camera1", "thin prism"}},
      {"a double sphere", kBasaltDoubleSphere, {"camera cam0", "--fit", "double sphere"}},
      {"a distortion centre", kAzure, {"camera D0", "Rational6KT", "codx"}},
      {"cross terms",
       edited(edited(kAzure, "-0.000482909323181957", "0"), "-5.453524863696657e-05", "0"),
       {"camera D0", "cross terms p1, p2"}},
      {"a name too many",
       edited(kBasaltFisheye, "\"k4\"", "\"k5\": 0, \"k4\""),
       {"cam0", "k5", "no more than fx fy cx cy k1 k2 k3 k4"}},
      {"a name missing",
       edited(kBasaltFisheye, "\"k3\"", "\"K3\""),
       {"cam0", "k3", "found nothing"}},
      {"a quaternion that is none",
       edited(kBasaltFisheye, "0.712037792460365", "0.2"),
       {"cam0", "T_imu_cam[0]", "quaternion"}},
      {"a size missing",
       edited(kBasaltFisheye, ", [960, 960]]", "]"),
       {"resolution", "2", "found 1"}},
      {"a coefficient of another camera type",
       kOrbSlamTwo + "Camera1.p1: 0.1\n",
       {"Camera1.p1", "no more than"}},
      {"a transform missing",
       edited(kOrbSlamTwo, "Stereo.T_c1_c2", "Stereo.T_c1_c3"),
       {"Camera2", "Stereo.T_c1_c2"}},
      {"a parameter too many",
       kColmapCameras + "9 PINHOLE 64 48 50 50 32 24 0.1\n",
       {"camera 9", "expected 4 numbers (fx fy cx cy)", "found 5"}},
      {"too many cameras",
       kColmapCameras + kColmapMore,
       {"at most 6 cameras", "--pair", "found 7"}},
      {"sockets in a circle",
       edited(kOak, "\"toCameraSocket\": -1", "\"toCameraSocket\": 1"),
       {"toCameraSocket", "a chain of sockets that ends"}},
      {"a misspelt attribute",
       edited(kRigXml, "radial_distortion=", "distortion_limt=\"3\" radial_distortion="),
       {"camera left", "Calibration.distortion_limt", "distortion_limit", "found distortion_limt"}},
      {"a misspelt element",
       edited(kRigXml, "</Camera>", "<RolingShutter/></Camera>"),
       {"camera left", "RollingShutter", "found RolingShutter"}},
      {"a rig file that the library refuses",
       edited(kRigXml, "458.654", "-1"),
       {"camera 0", "Focal"}},
      {"two cameras of one name", edited(kRigXml, "\"right\"", "\"left\""), {"another name"}},
      {"binned images", kRosLeft + "binning_x: 2\n", {"binning_x", "not binned"}},
      {"an alias", "cam0: &a\n  camera_model: pinhole\ncam1: *a\n", {"line 3", "an alias"}},
      {"nested too deep", "b: " + replacedAll(std::string(40, 'x'), "x", "{a: "), {"nested"}},
      {"JSON that is cut off", "{\"value0\": [1, 2", {"JSON"}},
      {"JSON nested too deep", "{\"a\":" + std::string(100000, '['), {"nested"}},
      {"XML nested too deep",
       "<opencv_storage>" + replacedAll(std::string(100000, 'x'), "x", "<a>"),
       {"tags"}},
      {"XML that is cut off", "<?xml version=\"1.0\"?><opencv_storage><M1>", {"XML"}},
      {"an unclosed list", "cam0: [1, 2\n", {"line", "YAML"}},
      {"a list of images",
       "<?xml version=\"1.0\"?><opencv_storage><imagelist>\"a.png\" \"b.png\"</imagelist>"
       "</opencv_storage>",
       {"known format", "kalibr"}},
      {"some bytes", std::string("\x01\x00\xff\xfe\x80", 5), {"expected"}},
      {"nothing", " \n", {"empty file"}},
  };
  for (const Refusal& refusal : refusals) {
    SCOPED_TRACE(refusal.name);
    const std::vector<std::string> files = filesOf({refusal.text});
    const std::string line = refusalOf(files);
    EXPECT_EQ(line.rfind(files[0], 0), 0) << line;
    EXPECT_NE(line.find("expected"), std::string::npos) << line;
    EXPECT_EQ(line.find('\n'), std::string::npos) << line;
    for (const std::string& part : refusal.says) {
      EXPECT_NE(line.find(part), std::string::npos) << part << " in: " << line;
    }
  }
}

TEST_F(RefusalsTest, OfFilesAndOptions) {
  const std::string chain = file("chain.yaml", kKalibrChain);
  const auto expectSays = [](const std::string& line, const std::string& part) {
    EXPECT_NE(line.find(part), std::string::npos) << line;
  };
  expectSays(refusalOf({}), "expected a calibration file");
  expectSays(refusalOf({chain + "x"}), "found nothing");
  expectSays(refusalOf({std::filesystem::temp_directory_path().string()}), "found a folder");
  expectSays(refusalOf({"/dev/zero"}), "found something else");
  expectSays(refusalOf({file("large", std::string(5 << 20, ' '))}), "at most 4 MiB");
  expectSays(refusalOf({chain, chain}),
             "T_cam_imu: several files have the inertial unit in common");
  expectSays(refusalOf({chain, file("left", kRosLeft)}), "expected kalibr");
  expectSays(refusalOf(filesOf({kRosLeft, kRosLeft})), "another name");
  const auto withPair = [](const std::string& pair) {
    ReadOptions options;
    options.pair = pair;
    return options;
  };
  expectSays(refusalOf({chain}, withPair("cam0,cam7")), "some of cam0, cam1");
  expectSays(refusalOf({chain}, withPair("cam0,0")), "another name");
  expectSays(refusalOf({chain}, withPair("cam0,-1")), "found -1");
  ReadOptions options;
  options.size = PixelSize{640, 480};
  expectSays(refusalOf({chain}, options), "expected 752 x 480");
  options = {};
  options.from = Format::Ros;
  expectSays(refusalOf({chain}, options), "expected it to be there");
}

TEST_F(RefusalsTest, TakeAnyFileForAnyFormat) {
  std::size_t refused = 0;
  for (const std::string& text : {kEurocLeft, kKalibrChain, kOpenCvXml, kRosLeft, kOak, kAzure,
                                  kBasaltFisheye, kOrbSlamRectified, kKitti, kSvo, kRigXml,
                                  kColmapRigs, kFovLines, kFovPtam, std::string("# nothing\n")}) {
    const std::string name = file("any", text);
    for (const std::string& format : formatNames()) {
      ReadOptions options;
      options.from = formatFromName(format);
      refused += refusalOf({name}, options).empty() ? 0 : 1;
    }
  }
  // A text is read as its own format, and as little else.
  EXPECT_GE(refused, 15 * (formatNames().size() - 1) - 5);
}

TEST_F(RefusalsTest, TakeNoWrongTurnAtAnyCutOrByte) {
  // Whatever becomes of these files, they are read or refused.
  for (const std::string& text : {kEurocLeft, kKalibrChain, kOpenCvXml, kOpenCvRational, kRosLeft,
                                  kOak, kBasaltFisheye, kRigXml, kColmapCameras, kFovLines}) {
    std::size_t refused = 0;
    for (std::size_t at = 0; at < text.size(); at += 17) {
      std::string broken = text;
      broken[at] = static_cast<char>(broken[at] ^ 0x15);
      refused += refusalOf({file("cut", text.substr(0, at))}).empty() ? 0 : 1;
      refused += refusalOf({file("broken", broken)}).empty() ? 0 : 1;
    }
    EXPECT_GT(refused, text.size() / 30);
  }
}

}  // namespace
}  // namespace rectiline::formats
