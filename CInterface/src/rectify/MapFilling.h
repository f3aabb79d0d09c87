#pragma once

#include <optional>

#include "AR/CV/Map/MapJob.h"
#include "Memory.h"
#include "rectiline/rectiline.h"

namespace rectiline::capi {

/// The maps that a call is to write; none when only a result is asked for.
struct TargetMaps {
  std::optional<Map> left;
  std::optional<Map> right;

  void fillNotMade() const {
    if (left) left->fillNotMade();
    if (right) right->fillNotMade();
  }
};

/// Two maps that may be written. Null ones are not there.
TargetMaps checkedTargets(const rectiline_map* left, const rectiline_map* right);

/// Refuses a map that has not the size of its target.
void requireSize(const Map& map, int width, int height, const char* name);

/// Has a map made in the caller's memory.
void addMap(AR::CV::MapJob<float> job, const Map& map, AR::CV::MapBatch<float>& batch);

/// Runs make(); when that refuses, the maps say so before the refusal goes on.
template <typename Make>
void orFillNotMade(const TargetMaps& maps, Make&& make) {
  try {
    make();
  } catch (...) {
    maps.fillNotMade();
    throw;
  }
}

}  // namespace rectiline::capi
