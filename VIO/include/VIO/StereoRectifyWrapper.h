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
//  5. Lengths in metres, image quantities in pixels, line times in nanoseconds.

#include <cstdint>

#include "AR/Common/Macros.h"
#include "rectiline/CalibrationRecords.h"

namespace AR::CV {
template <typename P>
class FullStereoCameraCalibration;
}

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
