#pragma once

// The calibration records that callers and this library exchange: plain data, little-endian,
// IEEE 754 doubles, every record aligned to 8 bytes, for C99 and for C++11 and later. Their layout
// is part of the binary interface; a RECTILINE_LAYOUT below that fires means that the interface has
// been broken: restore the layout.
//
// Poses read x_camera = R x_reference + t (metres): they map the device's reference frame into the
// frame of the camera or inertial unit.

#include <stddef.h>
#include <stdint.h>

#ifdef __cplusplus
#include <type_traits>

// 32-bit x86 aligns a double to 4 bytes, 32-bit ARM to 8: the alignment is asked for by name.
#define RECTILINE_ALIGNED_8 alignas(8)
#define RECTILINE_LAYOUT(condition) static_assert(condition, #condition)
#define RECTILINE_RECORD(record, size, alignment)                               \
  RECTILINE_LAYOUT(sizeof(record) == (size) && alignof(record) == (alignment)); \
  static_assert(std::is_trivially_copyable<record>::value, #record)
#else
#ifdef __GNUC__
#define RECTILINE_ALIGNED_8 __attribute__((aligned(8)))
#else
#define RECTILINE_ALIGNED_8
#endif
// C99 has no static_assert; a negative array size is an error there, and any number of these
// declarations are one and the same.
#define RECTILINE_LAYOUT(condition) extern const char rectiline_layout[(condition) ? 1 : -1]
#define RECTILINE_RECORD(record, size, alignment) RECTILINE_LAYOUT(sizeof(record) == (size))
#endif

/// How many units a device record holds.
enum { RECTILINE_MAX_IMUS = 2, RECTILINE_MAX_CAMERAS = 6 };

/// A rotation as a quaternion of unit length, its scalar part w last.
typedef struct QuaternionZEL {
  double x, y, z, w;
} QuaternionZEL;

/// A position in metres.
typedef struct PositionZEL {
  double x, y, z;
} PositionZEL;

/// A rigid pose.
typedef struct RECTILINE_ALIGNED_8 XrPosedZEL_t {
  QuaternionZEL orientation;
  PositionZEL position;
} XrPosedZEL_t;

RECTILINE_LAYOUT(offsetof(XrPosedZEL_t, orientation.w) == 24);
RECTILINE_LAYOUT(offsetof(XrPosedZEL_t, position) == 32);
RECTILINE_RECORD(XrPosedZEL_t, 56, 8);

/// One camera's intrinsics. An integer pixel coordinate is the position of that pixel.
typedef struct RECTILINE_ALIGNED_8 IntrinsicCameraCalibrationZEL {
  int32_t width;             // pixels
  int32_t height;            // pixels
  double principal_point_x;  // pixels
  double principal_point_y;
  double focal_length_x;  // pixels
  double focal_length_y;
  double distortion[8];       // six radial coefficients, then the tangential p1, p2
  double distortion_limit;    // largest undistorted radius, normalised; 0 or less: not given
  double undistortion_limit;  // largest distorted radius, normalised; 0 or less: not given
  int32_t distortion_model;   // DistortionModel, 0 to 8
  int32_t reserved;
} IntrinsicCameraCalibrationZEL;

RECTILINE_LAYOUT(offsetof(IntrinsicCameraCalibrationZEL, width) == 0);
RECTILINE_LAYOUT(offsetof(IntrinsicCameraCalibrationZEL, height) == 4);
RECTILINE_LAYOUT(offsetof(IntrinsicCameraCalibrationZEL, principal_point_x) == 8);
RECTILINE_LAYOUT(offsetof(IntrinsicCameraCalibrationZEL, principal_point_y) == 16);
RECTILINE_LAYOUT(offsetof(IntrinsicCameraCalibrationZEL, focal_length_x) == 24);
RECTILINE_LAYOUT(offsetof(IntrinsicCameraCalibrationZEL, focal_length_y) == 32);
RECTILINE_LAYOUT(offsetof(IntrinsicCameraCalibrationZEL, distortion) == 40);
RECTILINE_LAYOUT(offsetof(IntrinsicCameraCalibrationZEL, distortion_limit) == 104);
RECTILINE_LAYOUT(offsetof(IntrinsicCameraCalibrationZEL, undistortion_limit) == 112);
RECTILINE_LAYOUT(offsetof(IntrinsicCameraCalibrationZEL, distortion_model) == 120);
RECTILINE_LAYOUT(offsetof(IntrinsicCameraCalibrationZEL, reserved) == 124);
RECTILINE_RECORD(IntrinsicCameraCalibrationZEL, 128, 8);

#ifdef __cplusplus
namespace AR {
namespace CV {
#endif

/// How the sensor's image was cropped and binned. Carried along; nothing here computes with it.
typedef struct CaptureDetails {
  int32_t nativeSensorWidth;   // pixels
  int32_t nativeSensorHeight;  // pixels
  int32_t cropL;               // pixels cropped at the left
  int32_t cropR;
  int32_t cropT;
  int32_t cropB;
  int32_t binningH;  // horizontal binning factor
  int32_t binningV;

#if defined(__cplusplus) && __cplusplus >= 202002L
  friend bool operator==(const CaptureDetails&, const CaptureDetails&) = default;
#endif
} CaptureDetails;

#ifdef __cplusplus
}  // namespace CV
}  // namespace AR
using AR::CV::CaptureDetails;
#endif

RECTILINE_LAYOUT(offsetof(CaptureDetails, nativeSensorHeight) == 4);
RECTILINE_LAYOUT(offsetof(CaptureDetails, cropL) == 8 && offsetof(CaptureDetails, cropR) == 12);
RECTILINE_LAYOUT(offsetof(CaptureDetails, cropT) == 16 && offsetof(CaptureDetails, cropB) == 20);
RECTILINE_LAYOUT(offsetof(CaptureDetails, binningH) == 24);
RECTILINE_LAYOUT(offsetof(CaptureDetails, binningV) == 28);
RECTILINE_RECORD(CaptureDetails, 32, 4);

/// One camera: intrinsics, pose, shutter.
typedef struct RECTILINE_ALIGNED_8 CameraCalibrationZEL {
  char name[64];  // zero-terminated
  IntrinsicCameraCalibrationZEL intrinsics;
  XrPosedZEL_t pose;      // device reference frame into camera frame
  uint64_t line_time_ns;  // rolling shutter: nanoseconds per sensor row; 0: global shutter
  int32_t rs_center_row;  // rolling shutter: the row that the frame's time stamp refers to
  CaptureDetails capture_details;
  int32_t reserved;
} CameraCalibrationZEL;

RECTILINE_LAYOUT(offsetof(CameraCalibrationZEL, intrinsics) == 64);
RECTILINE_LAYOUT(offsetof(CameraCalibrationZEL, pose) == 192);
RECTILINE_LAYOUT(offsetof(CameraCalibrationZEL, line_time_ns) == 248);
RECTILINE_LAYOUT(offsetof(CameraCalibrationZEL, rs_center_row) == 256);
RECTILINE_LAYOUT(offsetof(CameraCalibrationZEL, capture_details) == 260);
RECTILINE_LAYOUT(offsetof(CameraCalibrationZEL, reserved) == 292);
RECTILINE_RECORD(CameraCalibrationZEL, 296, 8);

/// One inertial unit.
typedef struct RECTILINE_ALIGNED_8 ImuCalibrationZEL {
  char name[64];
  double vectors[6][3];  // six 3-vectors, carried in this order
  double reserved0[9];
  XrPosedZEL_t pose;  // device reference frame into the inertial unit's frame
  double reserved1[4];
} ImuCalibrationZEL;

RECTILINE_LAYOUT(offsetof(ImuCalibrationZEL, vectors) == 64);
RECTILINE_LAYOUT(offsetof(ImuCalibrationZEL, reserved0) == 208);
RECTILINE_LAYOUT(offsetof(ImuCalibrationZEL, pose) == 280);
RECTILINE_LAYOUT(offsetof(ImuCalibrationZEL, reserved1) == 336);
RECTILINE_RECORD(ImuCalibrationZEL, 368, 8);

/// A whole device. For CreateRectifyMap() and its kin camera 0 is the left camera of the tracking
/// pair and must be the reference frame itself (identity pose), camera 1 the right one;
/// rectiline/rectiline.h takes any two cameras, by their poses relative to each other.
typedef struct RECTILINE_ALIGNED_8 DeviceCalibrationZEL {
  char header[128];  // device UID as zero-terminated text; otherwise the platform's own
  int32_t num_imus;  // inertial units are read only when this is at least 1
  int32_t reserved0;
  ImuCalibrationZEL imus[RECTILINE_MAX_IMUS];
  int32_t num_cameras;  // camera records that are valid, 0 to 6; no other one is touched
  int32_t reserved1;
  CameraCalibrationZEL cameras[RECTILINE_MAX_CAMERAS];
} DeviceCalibrationZEL;

RECTILINE_LAYOUT(offsetof(DeviceCalibrationZEL, header) == 0);
RECTILINE_LAYOUT(offsetof(DeviceCalibrationZEL, num_imus) == 128);
RECTILINE_LAYOUT(offsetof(DeviceCalibrationZEL, reserved0) == 132);
RECTILINE_LAYOUT(offsetof(DeviceCalibrationZEL, imus) == 136);
RECTILINE_LAYOUT(offsetof(DeviceCalibrationZEL, imus[0].vectors) == 200);
RECTILINE_LAYOUT(offsetof(DeviceCalibrationZEL, imus[0].pose) == 416);
RECTILINE_LAYOUT(offsetof(DeviceCalibrationZEL, num_cameras) == 872);
RECTILINE_LAYOUT(offsetof(DeviceCalibrationZEL, reserved1) == 876);
RECTILINE_LAYOUT(offsetof(DeviceCalibrationZEL, cameras) == 880);
RECTILINE_LAYOUT(offsetof(DeviceCalibrationZEL, cameras[0].pose) == 1072);
RECTILINE_RECORD(DeviceCalibrationZEL, 2656, 8);

#undef RECTILINE_ALIGNED_8
#undef RECTILINE_LAYOUT
#undef RECTILINE_RECORD
