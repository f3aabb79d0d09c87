#pragma once

#include "AR/CV/Camera/Camera.h"
#include "rectify/PairGeometry.h"
#include "rectiline/rectiline.h"

namespace rectiline::capi {

/// Refuses records of a pair of which no cameras can be made, and poses that are none.
void requirePair(const DeviceCalibrationZEL& device, const CameraPair& pair);

struct SourceCameras {
  AR::CV::Camera<float> left;
  AR::CV::Camera<float> right;
};

/// Both cameras of a pair, made side by side. Refuses as above.
SourceCameras sourceCameras(const DeviceCalibrationZEL& device, const CameraPair& pair);

}  // namespace rectiline::capi
