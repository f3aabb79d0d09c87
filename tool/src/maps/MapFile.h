#pragma once

#include <string>
#include <vector>

#include "images/ImageFile.h"
#include "maps/Maps.h"

namespace rectiline::tool {

/// A map of a file, and the raw images that it is for.
struct StoredMap {
  std::string name;  // of the view: "left", "right", "camera"
  RawSize source;
  Map map;
};

/// Reads the maps that the subcommand "maps" wrote for NumPy or for OpenCV, which the content
/// tells. Throws Error for a file without maps, and for maps above the limit before memory is taken
/// for them.
std::vector<StoredMap> readMaps(const std::string& file, const PixelLimit& limit);

}  // namespace rectiline::tool
