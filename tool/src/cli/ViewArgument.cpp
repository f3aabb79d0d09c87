#include "cli/ViewArgument.h"

#include <CLI/CLI.hpp>
#include <cmath>
#include <string>

#include "cli/Error.h"
#include "maps/Maps.h"

namespace rectiline::tool {

void ViewArgument::declare(CLI::App& command) {
  constexpr char kGroup[] = "How the results are to be";
  CLI::Option* const focal = command.add_option("--focal", mFocalLength, "focal length, pixels")
                                 ->check(CLI::PositiveNumber)
                                 ->group(kGroup);
  CLI::Option* const fov =
      command.add_option("--fov", mFieldOfViewDegrees, "field of view across the width, degrees")
          ->check(CLI::PositiveNumber)
          ->excludes(focal)
          ->group(kGroup);
  command
      .add_option_function<std::string>(
          "--coverage",
          [this](const std::string& text) {
            mCoverage = RECTILINE_COVERAGE_BETWEEN;
            if (text == "valid") mCoverage = RECTILINE_COVERAGE_VALID;
            if (text == "whole") mCoverage = RECTILINE_COVERAGE_WHOLE;
            if (mCoverage == RECTILINE_COVERAGE_BETWEEN) mAlpha = std::stod(text);
          },
          "valid: no pixel without a source; whole: all of the source; or 0 to 1 in between")
      ->check(CLI::IsMember({"valid", "whole"}) | CLI::Range(0.0, 1.0))
      ->excludes(focal)
      ->excludes(fov)
      ->group(kGroup);
  command
      .add_option_function<std::string>(
          "--projection",
          [this](const std::string& text) {
            mProjection = text == "latlon" ? RECTILINE_LATITUDE_LONGITUDE : RECTILINE_PINHOLE;
          },
          "latlon is for lenses near and beyond 180 degrees")
      ->check(CLI::IsMember({"pinhole", "latlon"}))
      ->group(kGroup);
  command
      .add_flag("--keep-outside", mKeepOutside,
                "keep positions outside the source image in the maps")
      ->group(kGroup);
}

rectiline_options ViewArgument::options(const Rig& rig) const {
  if (mProjection == RECTILINE_PINHOLE && mFieldOfViewDegrees >= 180) {
    throw Error(
        "--fov: a pinhole view has less than 180 degrees; --projection latlon may have more",
        ExitCode::Usage);
  }
  rectiline_options options = automaticOptions();
  options.projection = mProjection;
  if (rig.sizeOfResults) {
    options.width = rig.sizeOfResults->width;
    options.height = rig.sizeOfResults->height;
  }
  options.focal_length = mFocalLength;
  options.field_of_view = mFieldOfViewDegrees * M_PI / 180;
  options.coverage = mCoverage;
  options.alpha = mAlpha;
  options.keep_outside = mKeepOutside ? 1 : 0;
  return options;
}

}  // namespace rectiline::tool
