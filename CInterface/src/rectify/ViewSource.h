#pragma once

#include "AR/CV/Camera/Camera.h"
#include "AR/CV/Map/MapJob.h"
#include "AR/CV/Map/TargetView.h"
#include "AR/Math/SO3.h"

namespace rectiline::capi {

/// The squared radius at which pinhole views end: that of the pinhole cameras of
/// CreateRectifyMap().
inline constexpr float kPinholeRange = CamModel::kMaxSquaredRadius;

/// A real camera that a view is made from. "s" is its frame, "t" the view's.
struct ViewSource {
  int index;  // in the device record; -1: given alone
  const AR::CV::Camera<float>& camera;
  AR::Math::SO3<float> R_st;

  [[nodiscard]] AR::CV::MapJob<float> job(const AR::CV::TargetView& view, bool keepOutside) const {
    AR::CV::MapJob<float> job(camera, view, R_st.matrix(), AR::CV::DepthRule::InFront, keepOutside);
    if (view.projection == AR::CV::TargetProjection::Pinhole) job.target.rangeMax = kPinholeRange;
    return job;
  }
};

}  // namespace rectiline::capi
