#pragma once

#include <string>

namespace rectiline::tool {

struct RectifyOptions {
  std::string rigFile;
  std::string leftFile;
  std::string rightFile;
  std::string directory;
  std::string pointsFile;  // points.csv of a rendered scene; empty: no check
};

/// Rectifies an image pair of the rig's first two cameras and prints what it did. Writes into the
/// directory: left.png, right.png, pair.png (both side by side, or one above the other for a
/// vertical rig, with lines along which they must agree) and rectified.rig.xml. With a points file
/// also measures the points in the rectified images and prints row and depth errors. Throws Error,
/// after writing, when the points are not where they should be.
void rectify(const RectifyOptions& options);

}  // namespace rectiline::tool
