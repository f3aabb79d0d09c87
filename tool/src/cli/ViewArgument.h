#pragma once

#include "cli/RigArgument.h"
#include "rectiline/rectiline.h"

namespace rectiline::tool {

/// How the virtual cameras are to be that results are seen with.
class ViewArgument {
 public:
  void declare(CLI::App& command);

  /// In the library's terms, with the size that `--size` asks for.
  [[nodiscard]] rectiline_options options(const Rig& rig) const;

 private:
  double mFocalLength = 0;         // pixels; 0: not given
  double mFieldOfViewDegrees = 0;  // 0: not given
  rectiline_coverage mCoverage = RECTILINE_COVERAGE_AUTOMATIC;
  double mAlpha = 0;
  rectiline_projection mProjection = RECTILINE_PINHOLE;
  bool mKeepOutside = false;
};

}  // namespace rectiline::tool
