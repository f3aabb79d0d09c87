#pragma once

// Callers' camera records: checked, with the field that is at fault named, and as cameras.

#include "AR/CV/Camera/Camera.h"
#include "rectiline/rectiline.h"

namespace rectiline::capi {

/// The index of a camera that was given alone.
inline constexpr int kAlone = -1;

/// Refuses intrinsics that are not those of a camera, for all that can be told without fitting its
/// tables.
void requireIntrinsics(const CameraCalibrationZEL& record, int camera);

/// Refuses a pose that is no rigid transform.
void requirePose(const CameraCalibrationZEL& record, int camera);

/// Refuses a null device and a number of cameras that is below `least` or that no device has. The
/// cameras are not looked at.
void requireDevice(const DeviceCalibrationZEL* device, int least);

/// The camera of a record with its tables, as the map functions set it up. Refuses what
/// requireIntrinsics() refuses and a lens whose tables cannot be made.
AR::CV::Camera<float> makeCamera(const CameraCalibrationZEL& record, int camera);

}  // namespace rectiline::capi
