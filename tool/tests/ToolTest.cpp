// The command as a user runs it: what it writes, what it says, how it fails.

#include <gtest/gtest.h>
#include <sys/wait.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <cmath>
#include <cstdio>
#include <filesystem>
#include <fstream>
#include <string>

#include "files/RigFile.h"
#include "images/ImageFile.h"
#include "rectiline/rectiline.h"

namespace rectiline::tool {
namespace {

namespace fs = std::filesystem;

struct Outcome {
  int exitCode;
  std::string output;  // standard output and standard error
};

Outcome run(const std::string& arguments) {
  const std::string command = std::string(RECTILINE_COMMAND) + " " + arguments + " 2>&1";
  Outcome result{-1, ""};
  FILE* const pipe = popen(command.c_str(), "r");
  if (pipe == nullptr) return result;
  std::array<char, 512> buffer;
  while (std::fgets(buffer.data(), buffer.size(), pipe) != nullptr) result.output += buffer.data();
  const int status = pclose(pipe);
  result.exitCode = WIFEXITED(status) ? WEXITSTATUS(status) : -1;
  return result;
}

const std::string kRigs = RECTILINE_RIGS;

DeviceCalibrationZEL loadRig(const std::string& file) {
  DeviceCalibrationZEL device{};
  EXPECT_EQ(rectiline_rig_from_file(file.c_str(), &device), RECTILINE_OK) << file;
  return device;
}

GreyImage readGrey(const std::string& file) { return greyOf(ImageFile(file).decode()); }

/// A directory of its own for each test, gone afterwards.
class ToolTest : public ::testing::Test {
 protected:
  ToolTest()
      : mDir(fs::temp_directory_path() / ("rectiline_tool_test_" + std::to_string(getpid()))) {
    fs::create_directories(mDir);
  }
  ~ToolTest() override { fs::remove_all(mDir); }

  [[nodiscard]] std::string path(const std::string& name) const { return (mDir / name).string(); }

  void writeText(const std::string& name, const std::string& text) const {
    std::ofstream(path(name)) << text;
  }

 private:
  fs::path mDir;
};

TEST_F(ToolTest, RenderedPairIsRectified) {
  const std::string rig = kRigs + "/fisheye_512x512.rig.xml";
  const Outcome render = run("render " + rig + " -o " + path("raw"));
  ASSERT_EQ(render.exitCode, 0) << render.output;
  const Outcome rectify =
      run("rectify " + rig + " " + path("raw/left.png") + " " + path("raw/right.png") +
          " --points " + path("raw/points.csv") + " -o " + path("out"));
  EXPECT_EQ(rectify.exitCode, 0) << rectify.output;
  for (const char* word : {"size", "focal length", "depth", "valid pixels", "time", "row error"}) {
    EXPECT_NE(rectify.output.find(word), std::string::npos) << word << "\n" << rectify.output;
  }
  const GreyImage left = readGrey(path("out/left.png"));
  EXPECT_EQ(left.width, 512);
  EXPECT_EQ(readGrey(path("out/pair.png")).width, 1024);

  const DeviceCalibrationZEL pair = loadRig(path("out/rectified.rig.xml"));
  EXPECT_EQ(pair.cameras[1].intrinsics.distortion_model, 0);
  // Both cameras have the same axes, and the baseline lies along x.
  const XrPosedZEL_t& leftPose = pair.cameras[0].pose;
  const XrPosedZEL_t& right = pair.cameras[1].pose;
  EXPECT_NEAR(right.position.x, -0.10109, 1e-4);
  EXPECT_EQ(leftPose.position.x, 0);
  EXPECT_EQ(leftPose.orientation.x, right.orientation.x);
  EXPECT_NEAR(leftPose.orientation.w, 1, 1e-2);
}

TEST_F(ToolTest, SwappedImagesMissTheKnownPoints) {
  const std::string rig = kRigs + "/radtan_752x480.rig.xml";
  ASSERT_EQ(run("render " + rig + " -o " + path("raw")).exitCode, 0);
  const Outcome swapped =
      run("rectify " + rig + " " + path("raw/right.png") + " " + path("raw/left.png") +
          " --points " + path("raw/points.csv") + " -o " + path("out"));
  EXPECT_EQ(swapped.exitCode, 3) << swapped.output;
}

TEST_F(ToolTest, UndistortedImagesAreThoseOfPinholeCameras) {
  const std::string rig = kRigs + "/radtan_752x480.rig.xml";
  ASSERT_EQ(run("render " + rig + " -o " + path("raw")).exitCode, 0);
  const Outcome one =
      run("undistort " + rig + " " + path("raw/left.png") + " --whole -o " + path("out"));
  EXPECT_EQ(one.exitCode, 0) << one.output;
  EXPECT_EQ(readGrey(path("out/left.png")).width, 752);
  EXPECT_FALSE(fs::exists(path("out/right.png")));
  const DeviceCalibrationZEL linear = loadRig(path("out/linear.rig.xml"));
  EXPECT_EQ(linear.cameras[0].intrinsics.distortion_model, 0);
  EXPECT_LT(linear.cameras[0].intrinsics.focal_length_y, 457);
}

TEST_F(ToolTest, VerifyTellsGoodMapsFromThoseOfAnotherRig) {
  const std::string rig = kRigs + "/radtan_752x480.rig.xml";
  EXPECT_EQ(run("verify " + rig + " --limit 0.02").exitCode, 0);
  EXPECT_EQ(run("verify " + rig + " --limit 0.000001").exitCode, 3);

  // The same rig with its right camera turned by 0.1 degrees about its x-axis.
  DeviceCalibrationZEL turned = loadRig(rig);
  const double half = 0.05 * M_PI / 180;
  QuaternionZEL& q = turned.cameras[1].pose.orientation;
  const double c = std::cos(half), d = std::sin(half);
  q = {c * q.x + d * q.w, c * q.y - d * q.z, c * q.z + d * q.y, c * q.w - d * q.x};
  saveRig(path("turned.xml"), turned);
  const Outcome wrong = run("verify " + path("turned.xml") + " --truth " + rig + " --limit 0.02");
  EXPECT_EQ(wrong.exitCode, 3) << wrong.output;
  EXPECT_NE(wrong.output.find("above the limit"), std::string::npos) << wrong.output;
}

TEST_F(ToolTest, ReportSpeaksOfEveryCameraAndMap) {
  const Outcome report = run("report " + kRigs + "/fisheye_512x512.rig.xml");
  EXPECT_EQ(report.exitCode, 0) << report.output;
  for (const char* word : {"camera left", "camera right", "left map", "right map", "row error"}) {
    EXPECT_NE(report.output.find(word), std::string::npos) << word << "\n" << report.output;
  }
}

TEST_F(ToolTest, ResultsReplaceNoInputAndStayInTheirDirectory) {
  DeviceCalibrationZEL device = loadRig(kRigs + "/radtan_752x480.rig.xml");
  saveRig(path("rig.xml"), device);
  std::snprintf(device.cameras[1].name, sizeof device.cameras[1].name, "../outside");
  saveRig(path("escaping.xml"), device);
  GreyImage image(752, 480);
  std::fill(image.data.begin(), image.data.end(), std::uint8_t{77});
  writeImage(path("left.png"), Image(image));
  writeImage(path("right.png"), Image(image));
  const std::string images = " " + path("left.png") + " " + path("right.png") + " -o ";
  fs::create_directory(path("sub"));
  fs::create_directory(path("full"));
  writeText("full/linear.rig.xml", "");
  const struct {
    int exitCode;
    std::string arguments, message;
  } rows[] = {
      {4, "rectify " + path("rig.xml") + images + path("sub/.. --force"), "is an input"},
      {4, "undistort " + path("rig.xml") + images + path(" --force"), "is an input"},
      {4, "undistort " + path("rig.xml") + images + path("full"), "is there already"},
      {1, "undistort " + path("escaping.xml") + images + path("sub"), "is no name for a file"},
      {2, "rectify " + path("rig.xml") + images + "''", "is empty"},
  };
  for (const auto& row : rows) {
    SCOPED_TRACE(row.arguments);
    const Outcome r = run(row.arguments);
    EXPECT_EQ(r.exitCode, row.exitCode);
    EXPECT_NE(r.output.find(row.message), std::string::npos) << r.output;
    EXPECT_EQ(readGrey(path("left.png")).data, image.data);
    EXPECT_EQ(readGrey(path("right.png")).data, image.data);
    EXPECT_TRUE(fs::is_empty(path("sub")));
  }
}

TEST_F(ToolTest, BadInputGivesOneLineAndAFailure) {
  const std::string rig = kRigs + "/radtan_752x480.rig.xml";
  writeImage(path("grey.png"), Image(GreyImage(752, 480)));
  writeImage(path("small.png"), Image(GreyImage(640, 480)));
  writeText("text.png", "not an image");
  writeText("broken.xml", "<DeviceConfiguration><Camera></DeviceConfiguration>");
  writeText("foreign.xml", "<svg/>");
  writeText("empty.xml", "<DeviceConfiguration/>");
  writeText("one.xml",
            "<DeviceConfiguration><Camera cam_name='left'><Calibration size='64 48' "
            "principal_point='32 24' focal_length='50 50' model='LINEAR' "
            "radial_distortion='0 0 0 0 0 0'/><Rig translation='0 0 0' "
            "rowMajorRotationMat='1 0 0 0 1 0 0 0 1'/></Camera></DeviceConfiguration>");
  const std::string good = path("grey.png");
  const struct {
    std::string rig, left, right, message;
  } rows[] = {
      {path("none.xml"), good, good, "none.xml: expected a file, found nothing"},
      {path("broken.xml"), good, good, "broken.xml: expected a camera that can be used"},
      {path("foreign.xml"), good, good, "foreign.xml: expected a calibration of a known format"},
      {path("empty.xml"), good, good, "empty.xml: expected a camera that can be used"},
      {path("one.xml"), good, good, "has only one camera"},
      {rig, path("none.png"), good, "cannot be read"},
      {rig, path("text.png"), good, "is no PNG, JPEG, PGM or PPM image"},
      {rig, good, path("small.png"), "is 640x480, camera right has 752x480"},
  };
  for (const auto& row : rows) {
    SCOPED_TRACE(row.message);
    const Outcome r =
        run("rectify " + row.rig + " " + row.left + " " + row.right + " -o " + path("o"));
    EXPECT_EQ(r.exitCode, 1);
    EXPECT_NE(r.output.find(row.message), std::string::npos) << r.output;
    EXPECT_EQ(std::count(r.output.begin(), r.output.end(), '\n'), 1) << r.output;
  }
}

}  // namespace
}  // namespace rectiline::tool
