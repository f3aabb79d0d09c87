// What the command says about calibrations: in words, in JSON, by its exit code.

#include <gmock/gmock.h>

#include <algorithm>
#include <regex>

#include "RunCommand.h"
#include "SmallRig.h"

namespace rectiline::tool {
namespace {

using nlohmann::json;
using ::testing::AllOf;
using ::testing::HasSubstr;
using ::testing::IsEmpty;
using ::testing::Not;

constexpr char kKalibrMono[] = R"(cam0:
  camera_model: pinhole
  intrinsics: [190.97, 190.96, 254.93, 256.89]
  distortion_model: equidistant
  distortion_coeffs: [0.0034823894, 0.00071503485, -0.0020532361, 0.00020293674]
  resolution: [512, 512]
)";

class CalibrationCommands : public CommandTest {
 protected:
  CalibrationCommands() { writeText("rig.xml", kSmallRig); }

  const std::string mRig = path("rig.xml");
};

TEST_F(CalibrationCommands, InfoGivesEveryNumberFromTheFirstCamera) {
  const json rig = run("info --json " + mRig).json();
  ASSERT_EQ(rig["cameras"].size(), 2U);
  const json& right = rig["cameras"][1];
  EXPECT_EQ(right["name"], "right");
  EXPECT_EQ(right["model"], "RADIAL_2_PARAMETERS");
  EXPECT_EQ(right["width"], 376);
  EXPECT_NEAR(right["fy"], 228.1, 1e-9);
  EXPECT_EQ(right["radial"].size(), 6U);
  EXPECT_NEAR(right["radial"][1], 0.07451284, 1e-12);
  EXPECT_NEAR(rig["cameras"][0]["tangential"][0], 0.00019359, 1e-12);
  EXPECT_NEAR(right["R"][5], 0.014089836, 1e-7);  // row 1, column 2
  EXPECT_NEAR(right["t"][0], -0.11007381, 1e-9);
  EXPECT_NEAR(rig["baseline"], 0.1100778, 1e-6);
  EXPECT_THAT(rig["warnings"], IsEmpty());

  // The same from the other camera: R^T and -R^T t.
  const json swapped = run("info --json --pair right,left " + mRig).json();
  EXPECT_EQ(swapped["cameras"][0]["name"], "right");
  EXPECT_NEAR(swapped["cameras"][1]["R"][7], 0.014089836, 1e-7);
  EXPECT_GT(swapped["cameras"][1]["t"][0], 0.11);
  EXPECT_EQ(swapped["warnings"].size(), 1U) << swapped;
}

TEST_F(CalibrationCommands, InfoSaysInWordsWhatACalibrationHolds) {
  const Outcome pair = run("info " + mRig);
  EXPECT_EQ(pair.exitCode, 0);
  EXPECT_THAT(pair.output, AllOf(HasSubstr("376x240"), HasSubstr("plumb_bob"),
                                 HasSubstr("mm to the right"), HasSubstr("baseline")));
  writeText("half.xml", std::regex_replace(std::string(kSmallRig),
                                           std::regex("<Rig translation=\"-0[^>]*>"), ""));
  EXPECT_THAT(run("info " + path("half.xml")).errors, HasSubstr("Camera right has no Rig"));
  writeText("mono.yaml", kKalibrMono);
  const Outcome mono = run("info " + path("mono.yaml"));
  EXPECT_THAT(mono.output,
              AllOf(HasSubstr("kalibr, 1 camera\n"), HasSubstr("Kannala-Brandt"),
                    HasSubstr("from the formula of its format"), Not(HasSubstr("baseline"))));
  const json rig = run("info --json " + path("mono.yaml")).json();
  EXPECT_TRUE(rig["baseline"].is_null());
  EXPECT_NEAR(rig["cameras"][0]["field_of_view_degrees"][0], 153, 2);
}

TEST_F(CalibrationCommands, CheckTellsRightFromWrong) {
  ASSERT_EQ(run("render " + mRig + " -o " + path("raw")).exitCode, 0);
  const std::string left = " " + path("raw/left.png");
  const std::string right = " " + path("raw/right.png");
  const Outcome ok = run("check " + mRig + left + right);
  EXPECT_EQ(ok.exitCode, 0) << ok.errors;
  EXPECT_THAT(ok.output, AllOf(HasSubstr("verdict       ok"), HasSubstr("is right for")));

  const Outcome measured = run("check --json " + mRig + left + right);
  const json figures = measured.json();
  EXPECT_LT(figures["row_error_median"], 0.5);
  EXPECT_GE(figures["matches"], 30);
  EXPECT_EQ(figures["turn_degrees"].size(), 3U);
  EXPECT_EQ(figures["turn_sigma"].size(), 3U);
  EXPECT_TRUE(figures["alternatives"].is_array());
  EXPECT_THAT(figures["sentence"].get<std::string>(), HasSubstr("1 px of cy like"));

  const struct {
    std::string arguments, verdict;
  } rows[] = {
      {mRig + right + left, "swapped-images"},
      {mRig + left + left, "same-image"},
      {mRig + left + right + " --pair right,left", "swapped-cameras"},
  };
  for (const auto& row : rows) {
    SCOPED_TRACE(row.verdict);
    const Outcome wrong = run("check --json " + row.arguments);
    EXPECT_EQ(wrong.exitCode, 3);
    EXPECT_EQ(wrong.json()["verdict"], row.verdict);
    EXPECT_EQ(std::count(wrong.errors.begin(), wrong.errors.end(), '\n'), 1) << wrong.errors;
  }
}

TEST_F(CalibrationCommands, CheckTakesFoldersAndPatterns) {
  ASSERT_EQ(run("render " + mRig + " -o " + path("raw")).exitCode, 0);
  namespace fs = std::filesystem;
  for (const char* folder : {"l", "r", "seq"}) fs::create_directories(path(folder));
  for (const char* name : {"7.png", "8.png"}) {
    fs::copy(path("raw/left.png"), path(std::string("l/") + name));
    fs::copy(path("raw/right.png"), path(std::string("r/") + name));
  }
  fs::copy(path("raw/left.png"), path("l/alone.png"));
  fs::copy(path("raw/left.png"), path("seq/left7.png"));
  fs::copy(path("raw/right.png"), path("seq/right7.png"));
  const Outcome folders = run("check --json " + mRig + " " + path("l") + " " + path("r"));
  EXPECT_EQ(folders.exitCode, 0) << folders.errors;
  EXPECT_EQ(folders.json()["pairs"], 2);
  EXPECT_THAT(folders.errors, HasSubstr("1 file has no partner"));
  const Outcome patterns =
      run("check --json " + mRig + " '" + path("seq/left*.png") + "' '" + path("seq/right*.png'"));
  EXPECT_EQ(patterns.json()["pairs"], 1) << patterns.errors;

  const struct {
    std::string arguments, message;
    int exitCode;
  } rows[] = {
      {path("l") + " " + path("raw/right.png"), "two files, two folders or two patterns", 2},
      {path("l") + " " + path("raw"), "no frames belong together", 1},
      {path("none.png") + " " + path("raw/right.png"), "none.png", 1},
      {"'" + path("l/*.p*g") + "' " + path("r"), "a pattern has one '*'", 2},
  };
  for (const auto& row : rows) {
    const Outcome refused = run("check " + mRig + " " + row.arguments);
    EXPECT_EQ(refused.exitCode, row.exitCode) << row.message;
    EXPECT_THAT(refused.errors, HasSubstr(row.message));
  }
}

}  // namespace
}  // namespace rectiline::tool
