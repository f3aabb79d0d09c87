#pragma once

// The calibration records that callers and this library exchange: plain data, little-endian,
// IEEE 754 doubles, every record aligned to 8 bytes. Their layout is part of the binary interface;
// a static_assert below that fires means that the interface has been broken: restore the layout.
//
// Poses read x_camera = R x_reference + t (metres): they map the device's reference frame into the
// frame of the camera or inertial unit.

#include <cstddef>
#include <cstdint>
#include <type_traits>

/// A rigid pose. The quaternion is of unit length, its scalar part w last.
struct alignas(8) XrPosedZEL_t {
  struct Quaternion {
    double x, y, z, w;
  } orientation;
  struct Position {
    double x, y, z;  // metres
  } position;
};

static_assert(offsetof(XrPosedZEL_t, orientation.w) == 24);
static_assert(offsetof(XrPosedZEL_t, position) == 32);
static_assert(sizeof(XrPosedZEL_t) == 56 && alignof(XrPosedZEL_t) == 8);
static_assert(std::is_trivially_copyable_v<XrPosedZEL_t>);

/// One camera's intrinsics. An integer pixel coordinate is the position of that pixel.
struct alignas(8) IntrinsicCameraCalibrationZEL {
  std::int32_t width;        // pixels
  std::int32_t height;       // pixels
  double principal_point_x;  // pixels
  double principal_point_y;
  double focal_length_x;  // pixels
  double focal_length_y;
  double distortion[8];           // six radial coefficients, then the tangential p1, p2
  double distortion_limit;        // largest undistorted radius, normalised; 0 or less: not given
  double undistortion_limit;      // largest distorted radius, normalised; 0 or less: not given
  std::int32_t distortion_model;  // DistortionModel, 0 to 8
  std::int32_t reserved;
};

static_assert(offsetof(IntrinsicCameraCalibrationZEL, width) == 0);
static_assert(offsetof(IntrinsicCameraCalibrationZEL, height) == 4);
static_assert(offsetof(IntrinsicCameraCalibrationZEL, principal_point_x) == 8);
static_assert(offsetof(IntrinsicCameraCalibrationZEL, principal_point_y) == 16);
static_assert(offsetof(IntrinsicCameraCalibrationZEL, focal_length_x) == 24);
static_assert(offsetof(IntrinsicCameraCalibrationZEL, focal_length_y) == 32);
static_assert(offsetof(IntrinsicCameraCalibrationZEL, distortion) == 40);
static_assert(offsetof(IntrinsicCameraCalibrationZEL, distortion_limit) == 104);
static_assert(offsetof(IntrinsicCameraCalibrationZEL, undistortion_limit) == 112);
static_assert(offsetof(IntrinsicCameraCalibrationZEL, distortion_model) == 120);
static_assert(offsetof(IntrinsicCameraCalibrationZEL, reserved) == 124);
static_assert(sizeof(IntrinsicCameraCalibrationZEL) == 128);
static_assert(alignof(IntrinsicCameraCalibrationZEL) == 8);
static_assert(std::is_trivially_copyable_v<IntrinsicCameraCalibrationZEL>);

namespace AR::CV {

/// How the sensor's image was cropped and binned. Carried along; nothing here computes with it.
struct CaptureDetails {
  std::int32_t nativeSensorWidth = 0;   // pixels
  std::int32_t nativeSensorHeight = 0;  // pixels
  std::int32_t cropL = 0;               // pixels cropped at the left
  std::int32_t cropR = 0;
  std::int32_t cropT = 0;
  std::int32_t cropB = 0;
  std::int32_t binningH = 0;  // horizontal binning factor
  std::int32_t binningV = 0;

  friend bool operator==(const CaptureDetails&, const CaptureDetails&) = default;
};

static_assert(offsetof(CaptureDetails, nativeSensorHeight) == 4);
static_assert(offsetof(CaptureDetails, cropL) == 8 && offsetof(CaptureDetails, cropR) == 12);
static_assert(offsetof(CaptureDetails, cropT) == 16 && offsetof(CaptureDetails, cropB) == 20);
static_assert(offsetof(CaptureDetails, binningH) == 24 && offsetof(CaptureDetails, binningV) == 28);
static_assert(sizeof(CaptureDetails) == 32 && alignof(CaptureDetails) == 4);
static_assert(std::is_trivially_copyable_v<CaptureDetails>);

}  // namespace AR::CV

/// One camera: intrinsics, pose, shutter.
struct alignas(8) CameraCalibrationZEL {
  char name[64];  // zero-terminated
  IntrinsicCameraCalibrationZEL intrinsics;
  XrPosedZEL_t pose;           // device reference frame into camera frame
  std::uint64_t line_time_ns;  // rolling shutter: nanoseconds per sensor row; 0: global shutter
  std::int32_t rs_center_row;  // rolling shutter: the row that the frame's time stamp refers to
  AR::CV::CaptureDetails capture_details;
  std::int32_t reserved;
};

static_assert(offsetof(CameraCalibrationZEL, intrinsics) == 64);
static_assert(offsetof(CameraCalibrationZEL, pose) == 192);
static_assert(offsetof(CameraCalibrationZEL, line_time_ns) == 248);
static_assert(offsetof(CameraCalibrationZEL, rs_center_row) == 256);
static_assert(offsetof(CameraCalibrationZEL, capture_details) == 260);
static_assert(offsetof(CameraCalibrationZEL, reserved) == 292);
static_assert(sizeof(CameraCalibrationZEL) == 296 && alignof(CameraCalibrationZEL) == 8);
static_assert(std::is_trivially_copyable_v<CameraCalibrationZEL>);

/// One inertial unit.
struct alignas(8) ImuCalibrationZEL {
  char name[64];
  double vectors[6][3];  // six 3-vectors, carried in this order
  double reserved0[9];
  XrPosedZEL_t pose;  // device reference frame into the inertial unit's frame
  double reserved1[4];
};

static_assert(offsetof(ImuCalibrationZEL, vectors) == 64);
static_assert(offsetof(ImuCalibrationZEL, reserved0) == 208);
static_assert(offsetof(ImuCalibrationZEL, pose) == 280);
static_assert(offsetof(ImuCalibrationZEL, reserved1) == 336);
static_assert(sizeof(ImuCalibrationZEL) == 368 && alignof(ImuCalibrationZEL) == 8);
static_assert(std::is_trivially_copyable_v<ImuCalibrationZEL>);

/// A whole device. Camera 0 is the left camera of the tracking pair and must be the reference frame
/// itself (identity pose); camera 1 is the right one.
struct alignas(8) DeviceCalibrationZEL {
  static constexpr int kMaxImus = 2;
  static constexpr int kMaxCameras = 6;

  char header[128];       // device UID as zero-terminated text; otherwise the platform's own
  std::int32_t num_imus;  // inertial units are read only when this is at least 1
  std::int32_t reserved0;
  ImuCalibrationZEL imus[kMaxImus];
  std::int32_t num_cameras;  // camera records that are valid, 0 to 6; no other one is touched
  std::int32_t reserved1;
  CameraCalibrationZEL cameras[kMaxCameras];
};

static_assert(offsetof(DeviceCalibrationZEL, header) == 0);
static_assert(offsetof(DeviceCalibrationZEL, num_imus) == 128);
static_assert(offsetof(DeviceCalibrationZEL, reserved0) == 132);
static_assert(offsetof(DeviceCalibrationZEL, imus) == 136);
static_assert(offsetof(DeviceCalibrationZEL, imus[0].vectors) == 200);
static_assert(offsetof(DeviceCalibrationZEL, imus[0].pose) == 416);
static_assert(offsetof(DeviceCalibrationZEL, num_cameras) == 872);
static_assert(offsetof(DeviceCalibrationZEL, reserved1) == 876);
static_assert(offsetof(DeviceCalibrationZEL, cameras) == 880);
static_assert(offsetof(DeviceCalibrationZEL, cameras[0].pose) == 1072);
static_assert(sizeof(DeviceCalibrationZEL) == 2656 && alignof(DeviceCalibrationZEL) == 8);
static_assert(std::is_trivially_copyable_v<DeviceCalibrationZEL>);
