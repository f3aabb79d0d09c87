#pragma once

#include <string>
#include <vector>

namespace rectiline::tool {

struct UndistortOptions {
  std::string rigFile;
  std::vector<std::string> imageFiles;  // of the rig's first cameras, in rig order
  std::string directory;
  bool whole = false;  // keep the whole image instead of the focal length
};

/// Turns images of a rig's first cameras into images of pinhole cameras. Writes NAME.png per camera
/// and linear.rig.xml into the directory. Throws Error.
void undistort(const UndistortOptions& options);

}  // namespace rectiline::tool
