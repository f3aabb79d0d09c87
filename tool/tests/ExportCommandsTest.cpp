// What the command writes for other programs: calibrations, maps, depth.

#include <gmock/gmock.h>
#include <zip.h>

#include <cmath>
#include <cstring>
#include <regex>
#include <vector>

#include "RunCommand.h"
#include "SmallRig.h"
#include "arrays/Array.h"
#include "images/ImageFile.h"
#include "maps/Maps.h"

namespace rectiline::tool {
namespace {

using nlohmann::json;
using ::testing::ElementsAreArray;
using ::testing::HasSubstr;

constexpr int kWidth = 376;
constexpr int kHeight = 240;

class ExportCommands : public CommandTest {
 protected:
  ExportCommands() { writeText("rig.xml", kSmallRig); }

  const std::string mRig = path("rig.xml");
};

TEST_F(ExportCommands, ConvertedCalibrationsReadBackAsTheyWere) {
  const struct {
    const char* format;
    double limit;  // pixels
  } rows[] = {{"kalibr", 1e-6}, {"opencv", 1e-6}, {"ros", 1e-6},
              {"basalt", 1e-6}, {"colmap", 1e-6}, {"rectiline", 5e-5}};
  for (const auto& row : rows) {
    SCOPED_TRACE(row.format);
    const std::string target = path(std::string("to.") + row.format);
    const Outcome converted =
        run("convert --json " + mRig + " --to " + row.format + " -o " + target);
    EXPECT_EQ(converted.exitCode, 0) << converted.errors;
    const json written = converted.json();
    EXPECT_LT(written["greatest_difference_pixels"], row.limit);

    std::string files;
    for (const std::string file : written["files"]) files += (files.empty() ? "" : ",") + file;
    const json rig =
        run("info --json --size 376x240 --from " + std::string(row.format) + " " + files).json();
    EXPECT_NEAR(rig["cameras"][1]["R"][5], 0.014089836, 1e-7);
    EXPECT_NEAR(rig["baseline"], 0.1100778, 1e-6);
  }
}

TEST_F(ExportCommands, ConvertRefusesWhatTheFormatCannotHold) {
  std::string limited = kSmallRig;
  const std::string model = "model=\"RADIAL_2_PARAMETERS\"";
  limited.replace(limited.find(model), model.size(),
                  model + " distortion_limit=\"1.1\" undistortion_limit=\"0.9\"");
  writeText("limited.xml", limited);
  const struct {
    std::string rig, format, field;
  } rows[] = {{path("limited.xml"), "kalibr", "distortion_limit"},
              {mRig, "opencv-fisheye", "model"}};
  for (const auto& row : rows) {
    SCOPED_TRACE(row.format);
    const std::string command =
        "convert --json " + row.rig + " --to " + row.format + " -o " + path(row.format);
    const Outcome refused = run(command);
    EXPECT_EQ(refused.exitCode, 1);
    EXPECT_THAT(refused.errors, HasSubstr(row.field));
    EXPECT_FALSE(std::filesystem::exists(path(row.format)));
    const Outcome lossy = run(command + " --lossy");
    EXPECT_EQ(lossy.exitCode, 0) << lossy.errors;
    EXPECT_FALSE(lossy.json()["notes"].empty());
  }
}

/// A member of an archive.
std::string memberOf(const std::string& archive, const std::string& name) {
  zip_t* const zip = zip_open(archive.c_str(), ZIP_RDONLY, nullptr);
  zip_stat_t status;
  std::string bytes;
  if (zip != nullptr && zip_stat(zip, name.c_str(), 0, &status) == 0) {
    bytes.resize(status.size);
    zip_file_t* const file = zip_fopen(zip, name.c_str(), 0);
    zip_fread(file, bytes.data(), bytes.size());
    zip_fclose(file);
  }
  if (zip != nullptr) zip_discard(zip);
  return bytes;
}

TEST_F(ExportCommands, MapsAreThoseOfTheLibrary) {
  DeviceCalibrationZEL device{};
  ASSERT_EQ(rectiline_rig_from_file(mRig.c_str(), &device), RECTILINE_OK);
  const PairMaps maps = createPairMaps(device);
  const rectiline_map right = maps.right.view();
  constexpr std::size_t kPixels = static_cast<std::size_t>(kWidth) * kHeight;

  const json about = run("maps --json " + mRig + " -o " + path("maps.npz")).json();
  EXPECT_NEAR(about["baseline"], 0.1100778, 1e-6);
  writeText("x.npy", memberOf(path("maps.npz"), "right_x.npy"));
  const Pixels<float> x = readNpy(path("x.npy"), {});
  EXPECT_EQ(x.width, kWidth);
  EXPECT_THAT(x.data, ElementsAreArray(right.x, kPixels));
  const std::string reasons = memberOf(path("maps.npz"), "right_reasons.npy");
  EXPECT_EQ(reasons.substr(reasons.size() - kPixels),
            std::string(reinterpret_cast<const char*>(right.reasons), kPixels));
  const json meanings = json::parse(memberOf(path("maps.npz"), "about.json"), nullptr, false);
  EXPECT_EQ(meanings["arrays"], about["arrays"]);

  EXPECT_EQ(run("maps " + mRig + " -o " + path("maps.yml")).exitCode, 0);
  const std::string yaml = contentOf(path("maps.yml"));
  std::smatch match;
  ASSERT_TRUE(std::regex_search(
      yaml, match,
      std::regex(R"(right_y: !!opencv-matrix\n   rows: 240\n   cols: 376\n   dt: f\n)"
                 R"(   data: \[ ([^,]+),)")));
  EXPECT_EQ(std::stof(match[1]), right.y[0]);
  // OpenCV reads strings of up to 4096 bytes.
  const std::size_t aboutStart = yaml.find("about: ");
  EXPECT_LT(yaml.find('\n', aboutStart) - aboutStart, 4096U);
}

TEST_F(ExportCommands, MapsOfASingleCameraUndistort) {
  const std::string one =
      std::string(kSmallRig).substr(0, std::string(kSmallRig).find("</Camera>"));
  writeText("one.xml", one + "</Camera></DeviceConfiguration>");
  const json about = run("maps --json " + path("one.xml") + " -o " + path("one.npz")).json();
  EXPECT_EQ(about["arrays"].size(), 3U);
  EXPECT_FALSE(memberOf(path("one.npz"), "camera_y.npy").empty());
  EXPECT_EQ(run("maps " + mRig + " -o " + path("maps.txt")).exitCode, 2);
}

/// A NumPy file as NumPy writes it.
std::string npy(const std::vector<float>& values, int rows, int columns) {
  std::string header = "{'descr': '<f4', 'fortran_order': False, 'shape': (" +
                       std::to_string(rows) + ", " + std::to_string(columns) + "), }";
  header.resize(117, ' ');
  std::string bytes("\x93NUMPY\x01\x00\x76\x00", 10);
  bytes += header + '\n';
  bytes.append(reinterpret_cast<const char*>(values.data()), values.size() * sizeof(float));
  return bytes;
}

TEST_F(ExportCommands, DepthIsFocalLengthTimesBaselineOverDisparity) {
  std::vector<float> disparity(static_cast<std::size_t>(kWidth) * kHeight, 8.F);
  disparity[1] = 0;
  disparity[2] = -3;
  disparity[3] = NAN;
  disparity[4] = 0.0001F;  // farther than 16 bits of millimetres
  writeText("d.npy", npy(disparity, kHeight, kWidth));
  const std::string command = "depth --json " + mRig + " " + path("d.npy") + " -o ";
  const Outcome made = run(command + path("z.npy"));
  EXPECT_EQ(made.exitCode, 0) << made.errors;
  const json facts = made.json();
  const double expected = facts["depth_constant"].get<double>() / 8;
  EXPECT_NEAR(expected * 8 / 0.1100778, 215, 15);  // the rectified focal length
  const Pixels<float> depth = readNpy(path("z.npy"), {});
  EXPECT_NEAR(static_cast<double>(depth(5, 0)), expected, 1e-5);
  for (const int x : {1, 2, 3}) EXPECT_TRUE(std::isnan(depth(x, 0)));

  EXPECT_EQ(run(command + path("z.png")).exitCode, 0);
  const Image image = ImageFile(path("z.png")).decode();
  std::uint16_t first[5];
  std::memcpy(first, image.data.data(), sizeof first);
  EXPECT_EQ(first[0], std::lround(1000 * expected));
  EXPECT_EQ(first[3], 0);
  EXPECT_EQ(first[4], 0);

  EXPECT_EQ(run(command + path("z.ply")).exitCode, 0);
  const std::string ply = contentOf(path("z.ply"));
  EXPECT_THAT(ply, HasSubstr("element vertex 90237\n"));
  EXPECT_EQ(ply.size() - ply.find("end_header\n") - 11, 90237U * 12);
}

TEST_F(ExportCommands, DepthRefusesWhatIsNoDisparityOfTheRig) {
  Pixels<std::uint16_t> scaled(kWidth, kHeight);
  for (std::uint16_t& value : scaled.data) value = 128;
  writeImage(path("d.png"), Image(scaled));
  writeText("small.npy", npy({1, 2, 3, 4}, 2, 2));
  writeText("short.npy", npy({1, 2, 3}, 2, 2));
  writeText("text.npy", "no array");
  writeText("vast.npy", npy({1}, 90000, 90000));
  const std::string out = " -o " + path("z.npy");
  const Outcome scaledDepth =
      run("depth --json " + mRig + " " + path("d.png") + " --scale-disparity 16" + out);
  const json facts = scaledDepth.json();
  EXPECT_NEAR(facts["median"].get<double>(), facts["depth_constant"].get<double>() / 8, 1e-5);
  const struct {
    std::string arguments, message;
    int exitCode;
  } rows[] = {
      {path("d.png") + out, "--scale-disparity", 2},
      {path("d.png") + " --scale-disparity 16 -o " + path("z.txt"), ".npy (metres)", 2},
      {path("small.npy") + out + "2", ".npy (metres)", 2},
      {path("small.npy") + " --force" + out, "the rectified images of the rig are 376x240", 1},
      {path("short.npy") + " --force" + out, "more or less than its header says", 1},
      {path("text.npy") + " --force" + out, "is no .npy file", 1},
      {path("vast.npy") + " --force" + out, "above the limit", 1},
      {"/dev/zero --force" + out, "is no plain file", 1},
      {path("d.png") + " --scale-disparity 16" + out, "--force", 4},
  };
  for (const auto& row : rows) {
    const Outcome refused = run("depth " + mRig + " " + row.arguments);
    EXPECT_EQ(refused.exitCode, row.exitCode) << row.message;
    EXPECT_THAT(refused.errors, HasSubstr(row.message));
  }
}

}  // namespace
}  // namespace rectiline::tool
