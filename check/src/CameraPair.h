#pragma once

#include "rectiline/rectiline.h"

namespace rectiline::check {

/// The two cameras of a rig, each with the image that is taken to be its own.
struct CameraPair {
  CameraCalibrationZEL left;
  CameraCalibrationZEL right;
};

}  // namespace rectiline::check
