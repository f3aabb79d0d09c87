// The command as a user runs it: what it writes, what it says, how it fails.

#include <gtest/gtest.h>
#include <sys/wait.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <cstdio>
#include <filesystem>
#include <fstream>
#include <string>

#include "Png.h"
#include "Rig.h"

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

  const Rig rectified = loadRig(path("out/rectified.rig.xml"), 2);
  const DeviceCalibrationZEL pair = pairRecord(rectified);
  EXPECT_EQ(pair.cameras[1].intrinsics.distortion_model, CamModel::LINEAR);
  EXPECT_NEAR(pair.cameras[1].pose.position.x, -0.10109, 1e-4);
  EXPECT_NEAR(pair.cameras[1].pose.orientation.w, 1, 1e-9);
}

TEST_F(ToolTest, SwappedImagesMissTheKnownPoints) {
  const std::string rig = kRigs + "/radtan_752x480.rig.xml";
  ASSERT_EQ(run("render " + rig + " -o " + path("raw")).exitCode, 0);
  const Outcome swapped =
      run("rectify " + rig + " " + path("raw/right.png") + " " + path("raw/left.png") +
          " --points " + path("raw/points.csv") + " -o " + path("out"));
  EXPECT_EQ(swapped.exitCode, 1) << swapped.output;
}

TEST_F(ToolTest, UndistortedImagesAreThoseOfPinholeCameras) {
  const std::string rig = kRigs + "/radtan_752x480.rig.xml";
  ASSERT_EQ(run("render " + rig + " -o " + path("raw")).exitCode, 0);
  const Outcome one =
      run("undistort " + rig + " " + path("raw/left.png") + " --largest -o " + path("out"));
  EXPECT_EQ(one.exitCode, 0) << one.output;
  EXPECT_EQ(readGrey(path("out/left.png")).width, 752);
  EXPECT_FALSE(fs::exists(path("out/right.png")));
  const Rig linear = loadRig(path("out/linear.rig.xml"), 2);
  EXPECT_EQ(linear.at(0).getIntrinsics().getRadialDistortionModel(), CamModel::LINEAR);
  EXPECT_LT(linear.at(0).getIntrinsics().getOriginalFocalLength()(1), 457);
}

TEST_F(ToolTest, VerifyTellsGoodMapsFromThoseOfAnotherRig) {
  const std::string rig = kRigs + "/radtan_752x480.rig.xml";
  EXPECT_EQ(run("verify " + rig + " --limit 0.02").exitCode, 0);
  EXPECT_EQ(run("verify " + rig + " --limit 0.000001").exitCode, 1);

  // The same rig with its right camera turned by 0.1 degrees about its x-axis.
  Rig turned = loadRig(rig, 2);
  const AR::Math::SE3<double> turn = AR::Math::SE3<double>::exp({0, 0, 0, 0.1 * M_PI / 180, 0, 0});
  turned.at(1).setExtrinsics(turn * turned.at(1).getCamReferenceToLocal());
  ASSERT_TRUE(turned.saveCalibration(path("turned.xml")));
  const Outcome wrong = run("verify " + path("turned.xml") + " --truth " + rig + " --limit 0.02");
  EXPECT_EQ(wrong.exitCode, 1) << wrong.output;
  EXPECT_NE(wrong.output.find("above the limit"), std::string::npos) << wrong.output;
}

TEST_F(ToolTest, ReportSpeaksOfEveryCameraAndMap) {
  const Outcome report = run("report " + kRigs + "/fisheye_512x512.rig.xml");
  EXPECT_EQ(report.exitCode, 0) << report.output;
  for (const char* word : {"camera left", "camera right", "left map", "right map", "row error"}) {
    EXPECT_NE(report.output.find(word), std::string::npos) << word << "\n" << report.output;
  }
}

TEST_F(ToolTest, BadInputGivesOneLineAndAFailure) {
  const std::string rig = kRigs + "/radtan_752x480.rig.xml";
  writeGrey(path("grey.png"), GreyImage(752, 480));
  writeGrey(path("small.png"), GreyImage(640, 480));
  writeDepth(path("deep.png"), DepthImage(752, 480));
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
      {path("none.xml"), good, good, "no such file"},
      {path("broken.xml"), good, good, "not a well-formed XML file"},
      {path("foreign.xml"), good, good, "not a device configuration"},
      {path("empty.xml"), good, good, "cannot be loaded as a rig"},
      {path("one.xml"), good, good, "has no two cameras"},
      {rig, path("none.png"), good, "cannot be read as PNG"},
      {rig, path("text.png"), good, "cannot be read as PNG"},
      {rig, good, path("small.png"), "is 640x480, camera right has 752x480"},
      {rig, good, path("deep.png"), "16 bits per channel"},
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
