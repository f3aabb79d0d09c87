// check: whether a calibration is right for images.

#include "rectiline_check/Check.h"

#include <CLI/CLI.hpp>
#include <memory>
#include <optional>
#include <stdexcept>
#include <string>
#include <vector>

#include "cli/Error.h"
#include "cli/RigArgument.h"
#include "cli/StandardOutput.h"
#include "commands/Commands.h"
#include "files/FramePairs.h"
#include "files/Interrupt.h"
#include "images/ImageFile.h"
#include "work/Progress.h"

namespace rectiline::tool {
namespace {

using Json = nlohmann::ordered_json;

struct Arguments {
  RigArgument rig;
  std::string left;
  std::string right;
};

check::GreyView viewOf(const GreyImage& image) {
  return {image.data.data(), image.width, image.height, 0};
}

/// Reads the pairs one at a time, as often as they are asked for, and shows how far it is: every
/// look at all of them is a line of progress of its own.
class PairReader {
 public:
  PairReader(const DeviceCalibrationZEL& device, const std::vector<FramePair>& files)
      : mDevice(device), mFiles(files) {}

  check::PairImages fetch(std::size_t i) {
    throwIfInterrupted();
    if (!mProgress || i <= mLast) mProgress.emplace(mFiles.size(), "pairs");
    mLast = i;
    mProgress->show(i);
    mLeft = readImage(mFiles[i].left, mDevice.cameras[0]);
    mRight = readImage(mFiles[i].right, mDevice.cameras[1]);
    return {viewOf(mLeft), viewOf(mRight)};
  }

 private:
  const DeviceCalibrationZEL& mDevice;
  const std::vector<FramePair>& mFiles;
  GreyImage mLeft;
  GreyImage mRight;
  std::size_t mLast = 0;
  std::optional<Progress> mProgress;
};

check::CheckResult judge(const DeviceCalibrationZEL& device, const std::vector<FramePair>& files) {
  PairReader reader(device, files);
  try {
    return check::checkFetchedPairs(
        device, {}, {files.size(), [&reader](std::size_t i) { return reader.fetch(i); }});
  } catch (const std::invalid_argument& error) {
    throw Error(error.what());
  }
}

Json toJson(const check::CheckResult& result) {
  Json alternatives = Json::array();
  for (const check::Verdict verdict : result.alternatives) {
    alternatives.push_back(check::verdictText(verdict));
  }
  return {{"verdict", check::verdictText(result.verdict)},
          {"pairs", result.pairs.size()},
          {"matches", result.matches},
          {"row_error_median", result.rowErrorMedian},
          {"row_error_rms", result.rowErrorRms},
          {"turn_degrees", result.turnDegrees},
          {"turn_sigma", result.turnSigma},
          {"alternatives", alternatives},
          {"sentence", result.sentence}};
}

void printFigures(const check::CheckResult& result) {
  print("  pairs         %zu, with %d points found in both images\n", result.pairs.size(),
        result.matches);
  if (!result.isRectified || result.matches == 0) return;
  const double(&turn)[3] = result.turnDegrees;
  const double(&sigma)[3] = result.turnSigma;
  print("  row error     median %.3f px, rms %.3f px\n", result.rowErrorMedian, result.rowErrorRms);
  print("  turn          x %.3f +- %.3f, y %.3f +- %.3f, z %.3f +- %.3f degrees\n", turn[0],
        sigma[0], turn[1], sigma[1], turn[2], sigma[2]);
}

Result checkImages(const Arguments& arguments) {
  const DeviceCalibrationZEL device = arguments.rig.readPair().device;
  const check::CheckResult result = judge(device, findFramePairs(arguments.left, arguments.right));
  print("%s\n", arguments.rig.text().c_str());
  printFigures(result);
  print("  verdict       %s\n", check::verdictText(result.verdict));
  const bool isOk = result.verdict == check::Verdict::Ok;
  if (isOk) print("%s\n", result.sentence.c_str());
  return {toJson(result), isOk ? "" : result.sentence};
}

}  // namespace

Run declareCheck(CLI::App& command) {
  const auto arguments = std::make_shared<Arguments>();
  arguments->rig.declare(command);
  command.add_option("LEFT", arguments->left, "left raw image, folder or pattern")->required();
  command.add_option("RIGHT", arguments->right, "right raw image, folder or pattern")->required();
  return [arguments] { return checkImages(*arguments); };
}

}  // namespace rectiline::tool
