#pragma once

// The exported entry points.
//
// Conventions:
//  1. Every buffer belongs to the caller; maps are dense, row-major, one float per target pixel.
//     They may start at any 4-byte boundary.
//  2. A map pair holds, at target pixel (x, y), the source column (X) and row (Y) at which to
//     sample. Integer coordinates are pixel positions: there is no half-pixel shift.
//  3. -1 in both maps: the pixel has no source.
//  4. A failed check is logged (tag "AR", text "AR_ASSERT ...") and the call goes on as far as its
//     own memory reaches; each function says below what it leaves behind then.
//  5. Nothing is thrown. A call that runs out of memory is reported ("enough memory") and leaves
//     behind what it leaves for a record that cannot be converted: true with every map -1, 1999998,
//     or an untouched target.
//  6. Records are copied before they are checked: one that another thread writes meanwhile may give
//     any result, but is used as it was checked.
//  7. Lengths in metres, image quantities in pixels, line times in nanoseconds.

#include <cstddef>
#include <cstdint>

#include "AR/Common/Macros.h"
#include "rectiline/CalibrationRecords.h"

namespace AR::CV {
template <typename P>
class FullStereoCameraCalibration;
}

// ---- records ------------------------------------------------------------------------------------
// Plain data with pointers; the layout differs between 32- and 64-bit pointers only.

/// An 8-bit image. `format` must have its three low bits zero: one channel of 8 bits.
struct Image {
  std::uint8_t* data;  // rows packed: width bytes each
  std::uint32_t width;
  std::uint32_t height;
  std::uint8_t format;
};

/// One camera's map pair, width x height floats each.
struct UndistortionMap {
  float* X;  // source column per target pixel
  std::uint32_t X_width;
  std::uint32_t X_height;
  float* Y;  // source row per target pixel
  std::uint32_t Y_width;
  std::uint32_t Y_height;
};

/// One camera's gains, width x height floats: by what each source pixel is multiplied.
struct VignettingMap {
  float* scaleFactors;
  std::uint32_t width;
  std::uint32_t height;
};

/// The maps of a rig; each array has numCameras elements.
struct CalibrationMap {
  UndistortionMap* undistortion;  // at a target pixel the source position: what is applied
  UndistortionMap* inverse;       // at a source pixel the target position
  VignettingMap* vignettingMaps;
  std::uint8_t numCameras;
};

/// How maps between two rigs are made.
struct CalibrationMapConfig {
  std::uint32_t keepOutside;  // non-zero keeps positions outside the source image
  bool vignetting;            // whether CreateCalibrationMap fills the vignetting maps
  const float* rotations;  // axis-angle, radians, three per camera: target frame into source frame;
                           // null: none
  std::uint8_t numCameras;
};

/// What the cameras of a linear calibration are to be instead of what was computed.
struct CalibrationTransform {
  const std::int32_t* imageSizes;  // width, height per camera; null: as they are
  const float* intrinsics;         // fx, fy, cx, cy per camera; null: as they are
  std::uint8_t numCameras;         // cameras 0 to numCameras - 1 are transformed
};

namespace rectiline_layout {
constexpr std::size_t kPtr = sizeof(void*);
constexpr std::size_t rounded(std::size_t bytes) { return (bytes + kPtr - 1) / kPtr * kPtr; }
static_assert(offsetof(Image, width) == kPtr && offsetof(Image, height) == kPtr + 4 &&
              offsetof(Image, format) == kPtr + 8 && sizeof(Image) == rounded(kPtr + 12));
static_assert(offsetof(UndistortionMap, X_width) == kPtr &&
              offsetof(UndistortionMap, X_height) == kPtr + 4 &&
              offsetof(UndistortionMap, Y) == kPtr + 8 &&
              offsetof(UndistortionMap, Y_width) == 2 * kPtr + 8 &&
              offsetof(UndistortionMap, Y_height) == 2 * kPtr + 12 &&
              sizeof(UndistortionMap) == 2 * kPtr + 16);
static_assert(offsetof(VignettingMap, width) == kPtr &&
              offsetof(VignettingMap, height) == kPtr + 4 && sizeof(VignettingMap) == kPtr + 8);
static_assert(offsetof(CalibrationMap, inverse) == kPtr &&
              offsetof(CalibrationMap, vignettingMaps) == 2 * kPtr &&
              offsetof(CalibrationMap, numCameras) == 3 * kPtr &&
              sizeof(CalibrationMap) == 4 * kPtr);
static_assert(offsetof(CalibrationMapConfig, keepOutside) == 0 &&
              offsetof(CalibrationMapConfig, vignetting) == 4 &&
              offsetof(CalibrationMapConfig, rotations) == 8 &&
              offsetof(CalibrationMapConfig, numCameras) == 8 + kPtr &&
              sizeof(CalibrationMapConfig) == 8 + 2 * kPtr);
static_assert(offsetof(CalibrationTransform, intrinsics) == kPtr &&
              offsetof(CalibrationTransform, numCameras) == 2 * kPtr &&
              sizeof(CalibrationTransform) == 3 * kPtr);
}  // namespace rectiline_layout

// ---- functions ----------------------------------------------------------------------------------

/// Makes the maps that rectify a device's stereo pair, and the calibration of the rectified camera.
///
/// @param deviceCalibration  exactly two cameras, 0 left and 1 right; the left one must be the
///     reference frame itself (identity pose). Poses take the reference frame into the camera's, so
///     the right camera of an ordinary pair has the translation (-baseline, 0, 0). More than two,
///     up to six: reported, cameras 0 and 1 are used.
/// @param keepOutside  non-zero keeps positions outside the source image; 0 makes them -1
/// @param mapLeftX, mapLeftY, mapRightX, mapRightY  width x height floats each, of the left
///     camera's image size; may be null (reported): then the other map of that camera is filled
///     with -1 and the other camera's maps are still made
/// @param mapLeftX_size ...  number of floats in each. A size that is not width x height is
///     reported; a pair with room gets its first width x height floats, one without is filled
///     with -1
/// @param depthConstant  depth = depthConstant / disparity; focal length (pixels) times baseline
///     (metres); may be null
/// @param rectifiedCam  the rectified left camera: a pinhole camera whose pose holds, as a
///     quaternion, the rotation R_oltl of directions from the rectified left frame into the real
///     left frame, and no translation. The rectified right camera has the same intrinsics and
///     lies at translation -baseline along the image axis of the baseline (x, or y for a pair
///     mounted vertically), read as x_right = x_left + t. May be null (reported).
/// @return always true. When no target can be computed (null record, fewer than two or more than
///     six cameras, a record that cannot be converted, a pair that cannot be rectified) the failed
///     check is logged, depthConstant is -1, every map is filled with -1 over its declared size and
///     rectifiedCam is zeroed. Two cameras at the same place end the process ("length>0").
AR_EXPORT bool CreateRectifyMap(const DeviceCalibrationZEL* deviceCalibration,
                                std::uint32_t keepOutside, float* mapLeftX,
                                std::uint32_t mapLeftX_size, float* mapLeftY,
                                std::uint32_t mapLeftY_size, float* mapRightX,
                                std::uint32_t mapRightX_size, float* mapRightY,
                                std::uint32_t mapRightY_size, float* depthConstant,
                                CameraCalibrationZEL* rectifiedCam);

/// Converts two device records into rigs, the source first.
/// @return 0, or 1999998 as soon as one cannot be converted; the target then is not
AR_EXPORT std::int32_t copySourceAndTargetCalibration(
    const DeviceCalibrationZEL& source, const DeviceCalibrationZEL& target,
    AR::CV::FullStereoCameraCalibration<float>& sourceCal,
    AR::CV::FullStereoCameraCalibration<float>& targetCal);

/// Makes the maps that undistort a device's two cameras, each to a pinhole camera of its own size
/// and principal point.
///
/// @param fovFactor  multiplies the focal length that the camera has at its centre; above 0
/// All else as for CreateRectifyMap. A right camera of another size than the left one is reported
/// and gets maps of -1.
/// @return false, with every buffer untouched, when fovFactor is not above 0 (logged); else true
AR_EXPORT bool CreateUndistortMap(const DeviceCalibrationZEL* deviceCalibration,
                                  std::uint32_t keepOutside, const float fovFactor, float* mapLeftX,
                                  std::uint32_t mapLeftX_size, float* mapLeftY,
                                  std::uint32_t mapLeftY_size, float* mapRightX,
                                  std::uint32_t mapRightX_size, float* mapRightY,
                                  std::uint32_t mapRightY_size);

/// For each eye the maps that show, at every pixel of the eye's camera, what the matching real
/// camera sees of a plane parallel to the eye's image.
///
/// @param seeThroughCalibration  the eyes: two cameras, 0 left and 1 right, in the frame of the
///     device; a map has its eye's size
/// @param planeDistance  metres in front of each eye, above 0; infinite: only the rotation counts
/// All else as for CreateRectifyMap.
/// @return false, with every buffer untouched, when planeDistance is not above 0 (logged); else
/// true
AR_EXPORT bool CreateFixedPlaneVSTMaps(const DeviceCalibrationZEL* deviceCalibration,
                                       const DeviceCalibrationZEL* seeThroughCalibration,
                                       std::uint32_t keepOutside, float planeDistance,
                                       float* mapLeftX, std::uint32_t mapLeftX_size,
                                       float* mapLeftY, std::uint32_t mapLeftY_size,
                                       float* mapRightX, std::uint32_t mapRightX_size,
                                       float* mapRightY, std::uint32_t mapRightY_size);

/// Writes a device calibration whose cameras are pinhole cameras at the source's poses, named as
/// the source's cameras are once converted: "trackingA0", "trackingB1", the others by their names.
///
/// @param largest  whether the focal length is chosen so that the whole height of the undistorted
///     centre column stays visible; otherwise it is the source's
/// On any failure (null, a record that cannot be converted, a camera that cannot be made) `target`
/// is untouched. A centre column that does not spread at all when `largest` ends the process
/// ("nVal != 0"). A source image size of 0 is no camera: the conversion refuses it.
AR_EXPORT void getLinearCalibration(const DeviceCalibrationZEL* source, bool largest,
                                    const CalibrationTransform& transform,
                                    DeviceCalibrationZEL* target);
AR_EXPORT void LargestLinearCalibration(const DeviceCalibrationZEL* source,
                                        const CalibrationTransform& transform,
                                        DeviceCalibrationZEL* target);
AR_EXPORT void SameFocalLengthLinearCalibration(const DeviceCalibrationZEL* source,
                                                const CalibrationTransform& transform,
                                                DeviceCalibrationZEL* target);

/// Makes the maps from a source device to a target device, camera by camera, with their inverses
/// and, if the configuration asks for them, the vignetting gains.
///
/// map.undistortion must have the sizes of the target's cameras, map.inverse those of the source's;
/// an inverse or a gain map of another size, or null, is reported and skipped.
/// @return 0; -12 when map.undistortion is null; 1999998 when a record cannot be converted, a
///     forward map has another size, the configuration names more cameras than the target has, or
///     memory runs out; maps in the making are then filled with -1
AR_EXPORT int CreateCalibrationMap(const DeviceCalibrationZEL& source,
                                   const DeviceCalibrationZEL& target,
                                   const CalibrationMapConfig& config, CalibrationMap& map);

/// Makes the maps from the cameras of one rig to those of another at the same places, one element
/// of `maps` per camera of the configuration. Null maps, cameras that do not exist and maps of
/// another size than the target camera's are reported; such a map is filled with -1.
AR_EXPORT void CreateUndistortMap(const AR::CV::FullStereoCameraCalibration<float>& source,
                                  const AR::CV::FullStereoCameraCalibration<float>& target,
                                  const CalibrationMapConfig& config, UndistortionMap* maps);

/// Fills map.vignettingMaps, of the sizes of the source's cameras, with gains in [0, 255]; with
/// `enable` false nothing. Null maps and maps of another size are reported and left as they are.
AR_EXPORT void CreateVignettingMap(const AR::CV::FullStereoCameraCalibration<float>& source,
                                   const AR::CV::FullStereoCameraCalibration<float>& target,
                                   bool enable, CalibrationMap& map);

/// Corrects the vignetting of `count` images, in place in the *source* pixels, and remaps them into
/// the targets (bilinear; positions outside the source give 0). The first failure ends the call;
/// the images before it stay written.
/// @return 0; -12 for null images, maps, pixels or gains; 1999999 when count is not map.numCameras
///     or a target is not 8-bit; 1999998 when sizes of images and maps differ or cannot be
///     addressed; 1999997 when the remap refused (source and target overlap, an image is empty)
AR_EXPORT int ApplyCalibrationMap(const Image* sources, unsigned count, const CalibrationMap& map,
                                  Image* targets);

/// As ApplyCalibrationMap without the vignetting: the sources are not modified.
AR_EXPORT int ApplyUndistortionMap(const Image* sources, unsigned count, const CalibrationMap& map,
                                   Image* targets);
