// The command as a user runs it: what it writes, what it says, how it fails.

#include <gtest/gtest.h>
#include <sys/stat.h>

#include <algorithm>
#include <cmath>
#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <regex>
#include <set>
#include <string>

#include "RunCommand.h"
#include "files/RigFile.h"
#include "images/ImageFile.h"
#include "rectiline/rectiline.h"

namespace rectiline::tool {
namespace {

namespace fs = std::filesystem;

const std::string kRigs = RECTILINE_RIGS;
const std::string kRadtan = kRigs + "/radtan_752x480.rig.xml";

DeviceCalibrationZEL loadRig(const std::string& file) {
  DeviceCalibrationZEL device{};
  EXPECT_EQ(rectiline_rig_from_file(file.c_str(), &device), RECTILINE_OK) << file;
  return device;
}

Image readWhole(const std::string& file) { return ImageFile(file).decode(); }

std::string camera(const std::string& name, double x, const std::string& size = "64 48") {
  return "<Camera cam_name='" + name + "'><Calibration size='" + size +
         "' principal_point='32 24' focal_length='50 50' model='LINEAR' "
         "radial_distortion='0 0 0 0 0 0'/><Rig translation='" +
         std::to_string(x) + " 0 0' rowMajorRotationMat='1 0 0 0 1 0 0 0 1'/></Camera>";
}

std::string rigOf(const std::string& cameras) {
  return "<DeviceConfiguration>" + cameras + "</DeviceConfiguration>";
}

/// Smooth, so that JPEG keeps it, and different in every channel.
Image gradient(rectiline_format format) {
  Image image(ImageHeader{64, 48, format});
  const std::size_t step = image.bytesPerPixel();
  for (std::size_t i = 0; i < image.data.size(); ++i) {
    const std::size_t x = i / step % 64, y = i / step / 64, channel = i % step;
    image.data[i] = static_cast<std::uint8_t>(20 + x + 2 * y + 25 * channel);
  }
  return image;
}

int greatestDifference(const Image& a, const Image& b) {
  int greatest = a.data.size() == b.data.size() ? 0 : 1000;
  for (std::size_t i = 0; greatest < 1000 && i < a.data.size(); ++i) {
    greatest = std::max(greatest, std::abs(a.data[i] - b.data[i]));
  }
  return greatest;
}

/// A few bytes that say they are a grey image of 16 bits and 20000 x 20000 pixels.
std::string vastPng() {
  constexpr char kBytes[] =
      "\x89PNG\r\n\x1a\n\0\0\0\x0dIHDR\0\0\x4e\x20\0\0\x4e\x20\x10\0\0\0\0\x96\x8b\xc5\xa6"
      "\0\0\0\x08IDATx\x9c\x03\0\0\0\0\x01H\x06\x89\xd2\0\0\0\0IEND\xae\x42\x60\x82";
  return {kBytes, sizeof kBytes - 1};
}

/// A progressive grey JPEG whose scans all say the same once more.
std::string repetitiveJpeg(int width, int height, int scans) {
  const auto word = [](int value) {
    return std::string{static_cast<char>(value / 256), static_cast<char>(value % 256)};
  };
  const std::string table("\xff\xc4\0\x14\0\x01\0\0\0\0\0\0\0\0\0\0\0\0\0\0\0\0", 22);
  std::string bytes("\xff\xd8\xff\xdb\0\x43\0", 7);
  bytes += std::string(64, '\1') + std::string("\xff\xc2\0\x0b\x08", 5);
  bytes += word(height) + word(width) + std::string("\1\1\x11\0", 4) + table;
  const std::string scan = std::string("\xff\xda\0\x08\1\1\0\0\0\0", 10) + std::string(6, '\0');
  for (int i = 0; i < scans; ++i) bytes += scan;
  return bytes + "\xff\xd9";
}

/// With a pair of cameras of 64 x 48 pixels that need no correction: images stay as they are.
class ToolTest : public CommandTest {
 protected:
  ToolTest() {
    writeText("one.xml", rigOf(camera("left", 0)));
    writeText("two.xml", rigOf(camera("left", 0) + camera("right", -0.1)));
  }

  /// The files below a folder, and nothing half written among them.
  [[nodiscard]] std::set<std::string> files(const std::string& folder) const {
    std::set<std::string> names;
    const std::string root = path(folder);
    if (!fs::exists(root)) return names;
    for (const auto& entry : fs::recursive_directory_iterator(root)) {
      if (entry.is_regular_file()) names.insert(fs::relative(entry, root).string());
    }
    return names;
  }
};

TEST_F(ToolTest, RenderedPairIsRectifiedAndSwappedImagesMissTheKnownPoints) {
  const std::string rig = kRigs + "/fisheye_512x512.rig.xml";
  const Outcome render = run("render " + rig + " -o " + path("raw"));
  ASSERT_EQ(render.exitCode, 0) << render.errors;
  const std::string left = " " + path("raw/left.png"), right = " " + path("raw/right.png");
  const std::string points = " --points " + path("raw/points.csv") + " -o ";
  const Outcome rectify = run("rectify " + rig + left + right + points + path("out"));
  EXPECT_EQ(rectify.exitCode, 0) << rectify.errors;
  for (const char* word : {"size", "focal length", "depth", "valid pixels", "time", "row error"}) {
    EXPECT_NE(rectify.output.find(word), std::string::npos) << word << "\n" << rectify.output;
  }
  EXPECT_EQ(readWhole(path("out/left.png")).width, 512);
  EXPECT_EQ(readWhole(path("out/pair.png")).width, 1024);

  const DeviceCalibrationZEL pair = loadRig(path("out/rectified.rig.xml"));
  EXPECT_EQ(pair.cameras[1].intrinsics.distortion_model, 0);
  // Both cameras have the same axes, and the baseline lies along x.
  const XrPosedZEL_t& leftPose = pair.cameras[0].pose;
  const XrPosedZEL_t& rightPose = pair.cameras[1].pose;
  EXPECT_NEAR(rightPose.position.x, -0.10109, 1e-4);
  EXPECT_EQ(leftPose.position.x, 0);
  EXPECT_EQ(leftPose.orientation.x, rightPose.orientation.x);
  EXPECT_NEAR(leftPose.orientation.w, 1, 1e-2);

  const Outcome swapped = run("rectify " + rig + right + left + points + path("swapped"));
  EXPECT_EQ(swapped.exitCode, 3) << swapped.errors;
}

TEST_F(ToolTest, UndistortedImagesAreThoseOfPinholeCameras) {
  writeImage(path("grey.png"), Image(GreyImage(752, 480)));
  const Outcome one =
      run("undistort " + kRadtan + " " + path("grey.png") + " --whole -o " + path("out"));
  EXPECT_EQ(one.exitCode, 0) << one.errors;
  EXPECT_EQ(files("out"), (std::set<std::string>{"left.png", "linear.rig.xml"}));
  EXPECT_EQ(readWhole(path("out/left.png")).width, 752);
  const DeviceCalibrationZEL linear = loadRig(path("out/linear.rig.xml"));
  EXPECT_EQ(linear.cameras[0].intrinsics.distortion_model, 0);
  EXPECT_LT(linear.cameras[0].intrinsics.focal_length_y, 457);
}

TEST_F(ToolTest, ImagesOfEveryKindGoThroughEveryFormat) {
  const struct {
    rectiline_format pixels;
    const char *format, *result;
    int tolerance;
  } rows[] = {
      {RECTILINE_GREY8, "png", "left.png", 0},  {RECTILINE_RGB8, "png", "left.png", 0},
      {RECTILINE_RGBA8, "png", "left.png", 0},  {RECTILINE_GREY16, "png", "left.png", 0},
      {RECTILINE_GREY8, "pgm", "left.pgm", 0},  {RECTILINE_RGB8, "pgm", "left.ppm", 0},
      {RECTILINE_GREY16, "pgm", "left.pgm", 0}, {RECTILINE_GREY8, "jpeg", "left.jpg", 3},
      {RECTILINE_RGB8, "jpeg", "left.jpg", 6},
  };
  for (const auto& row : rows) {
    SCOPED_TRACE(std::string(row.format) + " " + std::to_string(row.pixels));
    const Image image = gradient(row.pixels);
    writeImage(path("in.png"), image);
    const std::string undistort = "undistort --force " + path("one.xml") + " ";
    const Outcome there =
        run(undistort + path("in.png") + " --format " + row.format + " -o " + path("there"));
    ASSERT_EQ(there.exitCode, 0) << there.errors;
    const Outcome back = run(undistort + path("there/") + row.result + " -o " + path("back"));
    ASSERT_EQ(back.exitCode, 0) << back.errors;
    const Image result = readWhole(path("back/left.png"));
    EXPECT_EQ(result.format, row.pixels);
    EXPECT_LE(greatestDifference(result, image), row.tolerance);
  }
}

TEST_F(ToolTest, FoldersAndPatternsAreRectifiedPairByPair) {
  fs::create_directory(path("L"));
  fs::create_directory(path("R"));
  for (const int i : {1, 2, 3}) {
    Image image = gradient(RECTILINE_GREY8);
    image.data[0] = static_cast<std::uint8_t>(i);
    writeImage(path("L/f" + std::to_string(i) + ".png"), image);
    image.data[0] = static_cast<std::uint8_t>(10 * i);
    if (i < 3) writeImage(path("R/f" + std::to_string(i) + ".png"), image);
    if (i < 3) writeImage(path("L/r" + std::to_string(i) + ".png"), image);
  }
  const struct {
    std::string arguments;
    std::set<std::string> files;
    const char* secondRight;
  } rows[] = {
      {path("L") + " " + path("R"),
       {"left/f1.png", "left/f2.png", "right/f1.png", "right/f2.png", "rectified.rig.xml"},
       "right/f2.png"},
      {"'" + path("L/f*.png") + "' '" + path("L/r*.png") + "' --side-by-side --format pgm",
       {"left/f1.pgm", "left/f2.pgm", "right/r1.pgm", "right/r2.pgm", "pair/f1.ppm", "pair/f2.ppm",
        "rectified.rig.xml"},
       "right/r2.pgm"},
  };
  for (const auto& row : rows) {
    SCOPED_TRACE(row.arguments);
    const Outcome r =
        run("rectify " + path("two.xml") + " " + row.arguments + " -o " + path("out"));
    EXPECT_EQ(r.exitCode, 0) << r.errors;
    EXPECT_NE(r.errors.find(" no partner"), std::string::npos) << r.errors;
    EXPECT_EQ(files("out"), row.files);
    EXPECT_EQ(readWhole(path("out/") + row.secondRight).data[0], 20);
    fs::remove_all(path("out"));
  }
  // What is wrong with the maps is said before any work is done with them.
  const Outcome swapped = run("rectify --json " + path("two.xml") + " " + path("L") + " " +
                              path("R") + " --pair 1,0 -o " + path("out"));
  EXPECT_EQ(swapped.exitCode, 3) << swapped.errors;
  EXPECT_EQ(swapped.json()["baseline"], 0.1);
  EXPECT_EQ(files("out"), std::set<std::string>{});
  // Of a single camera every argument names images.
  const Outcome mono = run("undistort " + path("one.xml") + " " + path("L/f1.png") + " '" +
                           path("L/r*.png") + "' -o " + path("out"));
  EXPECT_EQ(mono.exitCode, 0) << mono.errors;
  EXPECT_EQ(files("out"),
            (std::set<std::string>{"left/f1.png", "left/r1.png", "left/r2.png", "linear.rig.xml"}));
}

TEST_F(ToolTest, OptionsChooseWhatIsSeen) {
  writeImage(path("in.png"), gradient(RECTILINE_GREY8));
  writeImage(path("half.png"), Image(GreyImage(32, 24)));
  const struct {
    std::string image, options, expected;
  } rows[] = {
      {"in.png", "--size 40x30", R"("width":40,"height":30,"projection":"pinhole")"},
      {"in.png", "--focal 25", R"("focal_length":25.0)"},
      {"in.png", "--fov 90 --size 100,48", R"("focal_length":50.0)"},
      {"in.png", "--coverage valid", R"("left_share":1.0,"right_share":1.0)"},
      {"in.png", "--projection latlon", R"("projection":"latlon")"},
      {"half.png", "--image-size 32x24", R"("width":32,"height":24)"},
      {"in.png", "--pair 0,1 --keep-outside", R"("baseline":0.1)"},
  };
  for (const auto& row : rows) {
    SCOPED_TRACE(row.options);
    const std::string images = " " + path(row.image) + " " + path(row.image) + " ";
    Outcome r = run("rectify --json --force " + path("two.xml") + images + row.options + " -o " +
                    path("out"));
    EXPECT_EQ(r.exitCode, 0) << r.errors;
    std::erase_if(r.output, [](char c) { return c == ' ' || c == '\n'; });
    EXPECT_NE(r.output.find(row.expected), std::string::npos) << r.output;
    EXPECT_EQ(r.output.front(), '{');
    EXPECT_EQ(r.output.back(), '}');
  }
}

TEST_F(ToolTest, VerifyTellsGoodMapsFromThoseOfAnotherRig) {
  EXPECT_EQ(run("verify " + kRadtan + " --limit 0.02").exitCode, 0);
  EXPECT_EQ(run("verify " + kRadtan + " --limit 0.000001").exitCode, 3);

  // The same rig with its right camera turned by 0.1 degrees about its x-axis.
  DeviceCalibrationZEL turned = loadRig(kRadtan);
  const double half = 0.05 * M_PI / 180;
  QuaternionZEL& q = turned.cameras[1].pose.orientation;
  const double c = std::cos(half), d = std::sin(half);
  q = {c * q.x + d * q.w, c * q.y - d * q.z, c * q.z + d * q.y, c * q.w - d * q.x};
  saveRig(path("turned.xml"), turned);
  const Outcome wrong =
      run("verify " + path("turned.xml") + " --truth " + kRadtan + " --limit 0.02");
  EXPECT_EQ(wrong.exitCode, 3) << wrong.errors;
  EXPECT_NE(wrong.errors.find("above the limit"), std::string::npos) << wrong.errors;
}

TEST_F(ToolTest, ReportSpeaksOfEveryCameraAndMap) {
  const Outcome report = run("report " + kRigs + "/fisheye_512x512.rig.xml");
  EXPECT_EQ(report.exitCode, 0) << report.output;
  for (const char* word : {"camera left", "camera right", "left map", "right map", "row error"}) {
    EXPECT_NE(report.output.find(word), std::string::npos) << word << "\n" << report.output;
  }
}

TEST_F(ToolTest, EveryHelpShowsAnExample) {
  const std::string help = run("--help").output;
  EXPECT_EQ(run("help").output, help);
  EXPECT_NE(help.find("Exit codes"), std::string::npos) << help;
  for (const char* command : {"rectify", "undistort", "report", "verify", "render"}) {
    EXPECT_NE(help.find(command), std::string::npos) << command;
    const Outcome r = run(std::string(command) + " --help");
    EXPECT_EQ(r.exitCode, 0);
    EXPECT_NE(r.output.find("Example:\n  rectiline " + std::string(command)), std::string::npos);
  }
}

TEST_F(ToolTest, CtrlCLeavesNothingHalfDone) {
  const std::string size = "4000 3000";  // takes minutes
  writeText("large.xml", rigOf(camera("left", 0, size) + camera("right", -0.1, size)));
  const Outcome r = run("render " + path("large.xml") + " -o " + path("out"),
                        "timeout --preserve-status -s INT 1 ");
  EXPECT_EQ(r.exitCode, 130) << r.errors;
  EXPECT_EQ(files("out"), std::set<std::string>{});
}

TEST_F(ToolTest, ResultsReplaceNothingUnasked) {
  DeviceCalibrationZEL device = loadRig(path("two.xml"));
  std::snprintf(device.cameras[1].name, sizeof device.cameras[1].name, "../outside");
  saveRig(path("escaping.xml"), device);
  const Image image = gradient(RECTILINE_GREY8);
  writeImage(path("left.png"), image);
  writeImage(path("right.png"), image);
  fs::create_directory(path("sub"));
  fs::create_directory(path("full"));
  writeText("full/linear.rig.xml", "");
  const std::string images = " " + path("left.png") + " " + path("right.png") + " -o ";
  const struct {
    int exitCode;
    std::string arguments, message;
  } rows[] = {
      {4, "rectify " + path("two.xml") + images + path("sub/.. --force"), "is an input"},
      {4, "undistort " + path("two.xml") + images + path(" --force"), "is an input"},
      {4, "undistort " + path("two.xml") + images + path("full"), "is there already"},
      {4, "rectify " + path("two.xml") + images + path("two.xml"), "no directory can be made"},
      {2, "rectify " + path("two.xml") + images + "''", "is empty"},
  };
  for (const auto& row : rows) {
    SCOPED_TRACE(row.arguments);
    const Outcome r = run(row.arguments);
    EXPECT_EQ(r.exitCode, row.exitCode);
    EXPECT_NE(r.errors.find(row.message), std::string::npos) << r.errors;
    EXPECT_EQ(readWhole(path("left.png")).data, image.data);
    EXPECT_EQ(readWhole(path("right.png")).data, image.data);
    EXPECT_TRUE(fs::is_empty(path("sub")));
    EXPECT_EQ(files("full"), std::set<std::string>{"linear.rig.xml"});
  }
  EXPECT_EQ(run("undistort " + path("escaping.xml") + images + path("sub")).exitCode, 0);
  EXPECT_EQ(files("sub"), (std::set<std::string>{"left.png", ".._outside.png", "linear.rig.xml"}));
}

TEST_F(ToolTest, EveryFailureIsOneLineAndItsExitCode) {
  writeImage(path("good.png"), gradient(RECTILINE_GREY8));
  writeImage(path("small.png"), Image(GreyImage(32, 48)));
  writeText("text.png", "not an image");
  writeText("huge.pgm", "P5 40000 30000 255\n");
  writeText("vast.png", vastPng());
  writeText("vast.jpg", repetitiveJpeg(60000, 60000, 1));
  writeText("scans.jpg", repetitiveJpeg(64, 48, 101));
  writeText("short.pgm", "P5 64 48 255\n12345");
  fs::copy(path("good.png"), path("cut.png"));
  fs::resize_file(path("cut.png"), 60);
  writeImage(path("good.jpg"), gradient(RECTILINE_GREY8), ImageFormat::Jpeg);
  fs::copy(path("good.jpg"), path("cut.jpg"));
  fs::resize_file(path("cut.jpg"), fs::file_size(path("good.jpg")) - 100);
  ASSERT_EQ(mkfifo(path("pipe").c_str(), 0600), 0);
  writeText("broken.xml", "<DeviceConfiguration><Camera></DeviceConfiguration>");
  writeText("foreign.xml", "<svg/>");
  writeText("empty.xml", "<DeviceConfiguration/>");
  writeText("twins.xml", rigOf(camera("left", 0) + camera("left", -0.1)));
  writeText("together.xml", rigOf(camera("left", 0) + camera("right", 0)));
  writeText("outside.xml", rigOf(camera("left", 0, "20 48") + camera("right", 1)));
  writeText("unplaced.xml", std::regex_replace(rigOf(camera("left", 0) + camera("right", 1)),
                                               std::regex("<Rig[^>]*>"), ""));
  writeText("swapped.xml", rigOf(camera("left", 0) + camera("right", 0.1)));
  writeText("vast.xml", rigOf(camera("left", 0, "40000 30000") + camera("right", 1)));
  const auto rectify = [this](const std::string& rig, const std::string& left,
                              const std::string& more = "") {
    return "rectify " + path(rig) + " " + path(left) + " " + path("good.png") + " -o " +
           path("out") + more;
  };
  const std::string good = rectify("two.xml", "good.png");
  const struct {
    int exitCode;
    std::string arguments, message, before, outputTo;
  } rows[] = {
      {2, "rectfy", "the nearest is \"rectify\"", "", ""},
      {2, "", "subcommand is required", "", ""},
      {2, "rectify " + path("two.xml"), "LEFT is required (see rectiline rectify --help)", "", ""},
      {2, good + " --frce", "--frce", "", ""},
      {2, good + " --size 12", "is no size", "", ""},
      {2, good + " --coverage 2", "--coverage", "", ""},
      {2, good + " --focal 3 --fov 60", "excludes", "", ""},
      {2, good + " --fov 200", "--projection latlon may have more", "", ""},
      {2, good + " more.png", "patterns need quotes", "", ""},
      {2, "rectify " + path("two.xml") + " " + path("") + " " + path("") + " -o " + path("out"),
       "is given for both sides", "", ""},
      {1, rectify("none.xml", "good.png"), "none.xml: expected a file, found nothing", "", ""},
      {1, rectify("", "good.png"), "found a folder", "", ""},
      {1, rectify("pipe", "good.png"), "expected a file", "", ""},
      {1, rectify("broken.xml", "good.png"), "broken.xml: expected a camera", "", ""},
      {1, rectify("foreign.xml", "good.png"), "of a known format", "", ""},
      {1, rectify("empty.xml", "good.png"), "empty.xml: expected a camera", "", ""},
      {1, rectify("twins.xml", "good.png"), "another name", "", ""},
      {1, rectify("together.xml", "good.png"), "same", "", ""},
      {1, rectify("one.xml", "good.png"), "has only one camera", "", ""},
      {1, rectify("outside.xml", "good.png"), "should be inside the image", "", ""},
      {1, rectify("unplaced.xml", "good.png"), "how its cameras lie to each other", "", ""},
      {1, rectify("vast.xml", "good.png"), "above the limit of 100000000", "", ""},
      {1, good + " --size 90x50 --max-pixels 4000", "above the limit of 4000", "", ""},
      {1, good + " --pair left,middle", "--pair", "", ""},
      {1, rectify("two.xml", "none.png"), "none.png: cannot be read", "", ""},
      {1, rectify("two.xml", "pipe"), "is no plain file", "", ""},
      {1, rectify("two.xml", "text.png"), "is no PNG, JPEG, PGM or PPM image", "", ""},
      {1, rectify("two.xml", "small.png"), "is 32x48, camera left has 64x48", "", ""},
      {1, rectify("two.xml", "huge.pgm"), "is 40000x30000", "", ""},
      {1, rectify("two.xml", "vast.png"), "is 20000x20000", "", ""},
      {1, rectify("two.xml", "vast.jpg"), "is 60000x60000", "", ""},
      {1, rectify("two.xml", "scans.jpg"), "more than 100 scans", "", ""},
      {1, "depth " + path("two.xml") + " " + path("vast.png") + " --scale-disparity 16 -o z.npy",
       "is 20000x20000, the rectified images", "", ""},
      {1, rectify("two.xml", "short.pgm"), "ends early", "", ""},
      {1, rectify("two.xml", "cut.png"), "is a damaged PNG: the file ends early", "", ""},
      {1, rectify("two.xml", "cut.jpg"), "cannot be used as JPEG", "", ""},
      {4, good + " --format pgm", "cannot be written: File too large", "ulimit -f 2; ", ""},
      {4, "report " + kRadtan, "standard output cannot be written", "", "/dev/full"},
      {4, "report " + kRadtan, "standard output cannot be written", "", "&-"},
      {3, rectify("swapped.xml", "good.png"), "stands 0.1 m left", "", ""},
      {3, good + " --force --fov 178", "of the rectified left image have a source", "", ""},
  };
  for (const auto& row : rows) {
    SCOPED_TRACE(row.arguments);
    const Outcome r = run(row.arguments, row.before, row.outputTo);
    EXPECT_EQ(r.exitCode, row.exitCode) << r.errors;
    EXPECT_NE(r.errors.find(row.message), std::string::npos) << r.errors;
    if (row.exitCode == 3) continue;  // warnings may stand before the verdict
    EXPECT_EQ(std::count(r.errors.begin(), r.errors.end(), '\n'), 1) << r.errors;
    EXPECT_EQ(files("out"), std::set<std::string>{});
  }
}

TEST_F(ToolTest, TooLittleMemoryIsOneLineAndAnExitCode) {
#ifdef RECTILINE_SANITIZED
  GTEST_SKIP() << "sanitizers take all addresses for themselves";
#endif
  const Outcome r = run("maps " + path("two.xml") + " --size 9000x9000 -o " + path("out.npz"),
                        "ulimit -v 1000000; ");
  EXPECT_EQ(r.exitCode, 1);
  EXPECT_EQ(r.errors, "rectiline: out of memory\n");
  EXPECT_FALSE(fs::exists(path("out.npz")));
  // Where not even threads can be made, other threads do the work, or it is refused in a line.
  writeImage(path("in.png"), gradient(RECTILINE_GREY8));
  for (const int kilobytes : {32000, 40000, 60000, 100000, 200000}) {
    const Outcome small =
        run("undistort " + path("one.xml") + " " + path("in.png") + " --force -o " + path("out"),
            "ulimit -v " + std::to_string(kilobytes) + "; ");
    EXPECT_TRUE(small.exitCode == 0 || small.exitCode == 1) << kilobytes << small.errors;
    EXPECT_LE(std::count(small.errors.begin(), small.errors.end(), '\n'), 1) << small.errors;
  }
}

}  // namespace
}  // namespace rectiline::tool
