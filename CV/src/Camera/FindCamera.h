#pragma once

#include <algorithm>

#include "AR/CV/Camera/StereoCamera.h"

namespace AR::CV {

/// The first camera of a rig, const or not, that `predicate` accepts; null when there is none.
template <typename RIG, typename PREDICATE>
auto findCamera(RIG& rig, const PREDICATE& predicate) -> decltype(rig.begin()) {
  const auto found = std::find_if(rig.begin(), rig.end(), predicate);
  return found == rig.end() ? nullptr : found;
}

template <typename RIG>
auto findCamera(RIG& rig, const CamImageId& camId) {
  return findCamera(rig, [&](const auto& camera) { return camera.getCamId() == camId; });
}

}  // namespace AR::CV
