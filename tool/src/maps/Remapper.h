#pragma once

#include <map>
#include <memory>
#include <mutex>

#include "images/ImageFile.h"
#include "maps/Maps.h"

namespace rectiline::tool {

/// Takes images of one camera through one map; any number of threads at once. The map is compiled
/// for each kind of 8-bit image when the first of them comes.
class Remapper {
 public:
  Remapper(Map map, RawSize source);

  /// Reads an image of the camera's size. Throws Error.
  [[nodiscard]] Image read(const std::string& file) const;

  [[nodiscard]] Image remap(const Image& source) const;

 private:
  struct Destroy {
    void operator()(rectiline_plan* plan) const { rectiline_plan_destroy(plan); }
  };

  const rectiline_plan* planFor(rectiline_format format) const;

  Map mMap;
  RawSize mSource;
  mutable std::mutex mMutex;
  mutable std::map<rectiline_format, std::unique_ptr<rectiline_plan, Destroy>> mPlans;
};

}  // namespace rectiline::tool
