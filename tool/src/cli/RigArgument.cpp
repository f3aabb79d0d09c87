#include "cli/RigArgument.h"

#include <CLI/CLI.hpp>
#include <cstdio>
#include <sstream>
#include <utility>

#include "cli/Error.h"
#include "cli/LimitOption.h"
#include "cli/StandardOutput.h"

namespace rectiline::tool {
namespace {

double scaleFromText(const std::string& text) {
  try {
    return formats::metresPerUnitFromText(text);
  } catch (const formats::FormatError& error) {
    throw CLI::ValidationError(error.what());
  }
}

}  // namespace

formats::PixelSize sizeFromText(const std::string& text) {
  formats::PixelSize size;
  char separator = 0;
  std::istringstream in(text);
  const bool isSize = (in >> size.width >> separator >> size.height) && in.peek() == EOF &&
                      (separator == 'x' || separator == ',') && size.width > 0 && size.height > 0;
  if (!isSize) throw CLI::ValidationError("\"" + text + "\" is no size: expected one like 752x480");
  return size;
}

void RigArgument::declare(CLI::App& command, SizeOption size) {
  mSizeOption = size;
  command.add_option("RIG", mText, "calibration: one file, or several with commas between them")
      ->required();
  const auto option = [&command](const char* name, const char* help, auto set) {
    return command.add_option_function<std::string>(name, set, help)
        ->group("How to read the calibration");
  };
  option("--from", "its format, where its content does not tell", [this](const std::string& text) {
    mOptions.from = formats::formatFromName(text);
  })->check(CLI::IsMember(formats::formatNames()));
  option("--pair", "cameras to take, LEFT,RIGHT by name or index",
         [this](const std::string& text) { mOptions.pair = text; });
  option("--size",
         size == SizeOption::OfCalibration
             ? "size of the calibrated images, WxH, for files that do not say it"
             : "size of the results, WxH; of the calibrated images for files that do not say it",
         [this](const std::string& text) { mOptions.size = sizeFromText(text); });
  option("--image-size", "size of images that were scaled from the calibrated size, WxH",
         [this](const std::string& text) { mOptions.imageSize = sizeFromText(text); });
  option("--scale", "unit of its translations: mm, cm, m or a number of metres",
         [this](const std::string& text) { mOptions.metresPerUnit = scaleFromText(text); });
  command.add_flag("--fit", mOptions.fit, "take the closest lens model for one that cannot be had")
      ->group("How to read the calibration");
  declareLimit(command, mLimit)->group("How to read the calibration");
}

Rig RigArgument::readFiles() const {
  if (mSizeOption == SizeOption::OfCalibration) {
    return {formats::readCalibration(mText, mOptions), std::nullopt};
  }
  formats::ReadOptions withoutSize = mOptions;
  withoutSize.size.reset();
  try {
    return {formats::readCalibration(mText, withoutSize), mOptions.size};
  } catch (const formats::FormatError& error) {
    const bool lacksSize = mOptions.size && error.place().field == "size";
    if (!lacksSize) throw;
  }
  return {formats::readCalibration(mText, mOptions), std::nullopt};
}

Rig RigArgument::accepted(Rig rig) const {
  for (const std::string& sentence : rig.notes) note(sentence);
  for (int i = 0; i < rig.device.num_cameras; ++i) {
    const CameraCalibrationZEL& camera = rig.device.cameras[i];
    mLimit.require(std::string("camera ") + camera.name, camera.intrinsics.width,
                   camera.intrinsics.height);
  }
  return rig;
}

Rig RigArgument::read() const { return accepted(readFiles()); }

Rig RigArgument::readPairOrSingle() const {
  Rig rig = readFiles();
  if (!rig.hasPoses) throw Error(mText + ": does not say how its cameras lie to each other");
  return accepted(std::move(rig));
}

Rig RigArgument::readPair() const {
  Rig rig = readPairOrSingle();
  if (rig.device.num_cameras < 2)
    throw Error(mText +
                ": has only one camera, a pair needs two (several files: left.yaml,right.yaml)");
  return rig;
}

DeviceCalibrationZEL RigArgument::readTruth(const std::string& files) {
  return formats::readCalibration(files).device;
}

std::vector<std::string> RigArgument::files() const {
  std::vector<std::string> files;
  std::istringstream names(mText);
  for (std::string name; std::getline(names, name, ',');) files.push_back(name);
  return files;
}

}  // namespace rectiline::tool
