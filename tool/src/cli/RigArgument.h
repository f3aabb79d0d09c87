#pragma once

#include <optional>
#include <string>
#include <vector>

#include "images/PixelLimit.h"
#include "rectiline_formats/Calibration.h"

namespace CLI {
class App;
}

namespace rectiline::tool {

/// "752x480" or "752,480". Throws CLI::ValidationError.
formats::PixelSize sizeFromText(const std::string& text);

/// A calibration as it was read.
struct Rig : formats::Calibration {
  /// The size for results that `--size` asks for. Nothing when the calibration needed it.
  std::optional<formats::PixelSize> sizeOfResults;
};

/// The calibration that a subcommand works with: the argument RIG and the options that say how to
/// read it. The same for all of them.
class RigArgument {
 public:
  /// What `--size` may be for besides the calibrated size of files that do not say it.
  enum class SizeOption { OfCalibration, AlsoOfResults };

  void declare(CLI::App& command, SizeOption size = SizeOption::OfCalibration);

  /// Reads the rig, and prints what its reader had to assume. Throws when it cannot be read, or has
  /// a larger image than --max-pixels allows.
  [[nodiscard]] Rig read() const;

  /// The same for a rig of one camera, or that says how its cameras lie to each other.
  [[nodiscard]] Rig readPairOrSingle() const;

  /// The same for a rig of at least two cameras.
  [[nodiscard]] Rig readPair() const;

  /// Another calibration, that RIG is compared with, as its content says.
  [[nodiscard]] static DeviceCalibrationZEL readTruth(const std::string& files);

  /// The files behind RIG: results may not replace them.
  [[nodiscard]] std::vector<std::string> files() const;

  /// RIG as it was given.
  [[nodiscard]] const std::string& text() const { return mText; }

  /// What --max-pixels allows.
  [[nodiscard]] const PixelLimit& limit() const { return mLimit; }

 private:
  [[nodiscard]] Rig readFiles() const;
  [[nodiscard]] Rig accepted(Rig rig) const;

  std::string mText;
  formats::ReadOptions mOptions;
  SizeOption mSizeOption = SizeOption::OfCalibration;
  PixelLimit mLimit;
};

}  // namespace rectiline::tool
