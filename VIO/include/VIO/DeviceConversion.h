#pragma once

#include "AR/CV/Camera/StereoCamera.h"
#include "AR/Math/SE3.h"
#include "rectiline/CalibrationRecords.h"

namespace VIO {

/// An inertial unit as the device record carries it. Nothing in this library computes with it.
template <typename P>
struct IMUCalibration {
  bool isPresent = false;
  AR::Math::Vec<P, 3> vectors[6];  // in the record's order
  AR::Math::SE3<P> T_imu_ref;      // device reference frame into the unit's frame, metres
};

/// Converts a device record into a rig of initialised cameras.
///
/// Camera 0 is named "trackingA0", camera 1 "trackingB1"; the others keep their record's name, or
/// become "default_cam_2" and so on when that is empty. Only the first num_cameras camera records
/// are read, and the inertial unit only when its count is at least 1; a quaternion of the latter
/// that is not of unit length gives the identity.
///
/// Refused: a camera count outside 0 to 6, a distortion model outside 0 to 8, a field that is not
/// finite in single precision, a camera pose whose squared quaternion norm differs from 1 by 0.001
/// or more, and intrinsics that no camera can be made of (those are logged by the camera).
/// @return false, with `rig` and `imu` in an unspecified but valid state, when refused
bool deviceFromIdl(const DeviceCalibrationZEL& record,
                   AR::CV::FullStereoCameraCalibration<float>& rig, IMUCalibration<float>& imu);

/// Writes a rig of at most six cameras into a device record: header zeroed but for the device UID
/// (127 characters), the inertial unit if there is one, and then the cameras. Camera records beyond
/// the rig's are not touched.
void calibrationToIdlFormat(const AR::CV::FullStereoCameraCalibration<float>& rig,
                            const IMUCalibration<float>& imu, DeviceCalibrationZEL& record);

}  // namespace VIO
