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

// The caller's records, copied: what is checked is then what is used, whoever writes the caller's.

/// Refuses a null device and a number of cameras that is below `least` or that no device has. The
/// cameras are not looked at.
[[nodiscard]] DeviceCalibrationZEL readDevice(const DeviceCalibrationZEL* callers, int least);

/// Refuses a null camera, and nothing else.
[[nodiscard]] CameraCalibrationZEL readCamera(const CameraCalibrationZEL* callers);

/// The camera of a record with its tables, as the map functions set it up. Refuses what
/// requireIntrinsics() refuses and a lens whose tables cannot be made.
AR::CV::Camera<float> makeCamera(const CameraCalibrationZEL& record, int camera);

}  // namespace rectiline::capi
