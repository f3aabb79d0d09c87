#pragma once

// How good is a map? Answers for callers of the functions in VIO/StereoRectifyWrapper.h: which
// checks failed although a call returned true, what a map covers, why a pixel has no source, how
// far a set of rectification maps is from the truth, how well a camera is approximated, and when
// each rectified pixel was exposed.
//
// Conventions: all records and buffers are the caller's; nothing here allocates memory of image
// size; a function that needs a pointer returns false, and writes nothing, when it is null. Maps
// are dense and row-major, integer coordinates are pixel positions, and -1 in both maps of a pair
// means that the pixel has no source.

#include <cstddef>
#include <cstdint>

#include "AR/Common/Macros.h"
#include "VIO/StereoRectifyWrapper.h"
#include "VIO/quality/CameraCertificate.h"
#include "VIO/quality/MapReport.h"
#include "VIO/quality/RectificationCertificate.h"
#include "rectiline/CalibrationRecords.h"

using VIO::CameraCertificate;
using VIO::CertificatePlace;
using VIO::MapReport;
using VIO::RectificationCertificate;

// ---- failed checks ------------------------------------------------------------------------------

/// One failed check. The texts are cut to their fields and zero-terminated.
struct FailedCheck {
  char expression[256];
  char source[96];  // module-relative path of the code
  std::int32_t line;
};

/// Number of checks that failed in calls made by this thread since the thread's last reset, or
/// since it began. A call counts what its worker threads found. Counting does not depend on the
/// logger's settings.
AR_EXPORT std::uint64_t GetFailedCheckCount();

/// Copies the most recent failed checks of this thread since its last reset, the latest first; at
/// most 16 are kept.
/// @param checks  room for `capacity` records; may be null when that is 0
/// @return the number of records written
AR_EXPORT std::uint32_t GetFailedChecks(FailedCheck* checks, std::uint32_t capacity);

/// Forgets this thread's failed checks.
AR_EXPORT void ResetFailedChecks();

// ---- report of a map ----------------------------------------------------------------------------

/// Reports on any map pair of width x height pixels.
/// @return false, with `report` untouched, for a null pointer, a size of 0 or above 2^31 - 1, or
///     maps that hold fewer floats than width x height
AR_EXPORT bool CreateMapReport(const float* mapX, std::uint32_t mapX_size, const float* mapY,
                               std::uint32_t mapY_size, std::uint32_t width, std::uint32_t height,
                               MapReport* report);

// ---- reasons ------------------------------------------------------------------------------------

/// Why a target pixel has a source position, or has none.
enum MapPixelReason : std::uint8_t {
  MAP_PIXEL_OK = 0,
  MAP_PIXEL_OK_PAST_LAST_CENTRE = 1,  // in the image, but past its last column or row of centres
  MAP_PIXEL_BEHIND_CAMERA = 2,        // the ray lies behind the source camera or grazes it
  MAP_PIXEL_BEYOND_DISTORTION = 3,    // the ray lies outside the range of the distortion
  MAP_PIXEL_NO_INVERSE = 4,           // the target camera has no ray for the pixel
  MAP_PIXEL_OUTSIDE_IMAGE = 5,        // the position lies outside the source image
  MAP_PIXEL_NOT_MADE = 255,           // the map could not be made at all
};

/// A caller's plane of MapPixelReason, one byte per target pixel. `data` may be null: then the
/// reasons are not asked for. A plane of less than width x height bytes is filled with
/// MAP_PIXEL_NOT_MADE.
struct ReasonPlane {
  std::uint8_t* data;
  std::uint32_t size;
};

// The map functions of VIO/StereoRectifyWrapper.h with reasons: the same maps, the same results.

AR_EXPORT bool CreateRectifyMapWithReasons(const DeviceCalibrationZEL* deviceCalibration,
                                           std::uint32_t keepOutside, float* mapLeftX,
                                           std::uint32_t mapLeftX_size, float* mapLeftY,
                                           std::uint32_t mapLeftY_size, float* mapRightX,
                                           std::uint32_t mapRightX_size, float* mapRightY,
                                           std::uint32_t mapRightY_size, float* depthConstant,
                                           CameraCalibrationZEL* rectifiedCam,
                                           ReasonPlane leftReasons, ReasonPlane rightReasons);

AR_EXPORT bool CreateUndistortMapWithReasons(const DeviceCalibrationZEL* deviceCalibration,
                                             std::uint32_t keepOutside, const float fovFactor,
                                             float* mapLeftX, std::uint32_t mapLeftX_size,
                                             float* mapLeftY, std::uint32_t mapLeftY_size,
                                             float* mapRightX, std::uint32_t mapRightX_size,
                                             float* mapRightY, std::uint32_t mapRightY_size,
                                             ReasonPlane leftReasons, ReasonPlane rightReasons);

AR_EXPORT bool CreateFixedPlaneVSTMapsWithReasons(
    const DeviceCalibrationZEL* deviceCalibration,
    const DeviceCalibrationZEL* seeThroughCalibration, std::uint32_t keepOutside,
    float planeDistance, float* mapLeftX, std::uint32_t mapLeftX_size, float* mapLeftY,
    std::uint32_t mapLeftY_size, float* mapRightX, std::uint32_t mapRightX_size, float* mapRightY,
    std::uint32_t mapRightY_size, ReasonPlane leftReasons, ReasonPlane rightReasons);

/// `reasons`: one plane per camera of the configuration, or null.
AR_EXPORT void CreateUndistortMapWithReasons(
    const AR::CV::FullStereoCameraCalibration<float>& source,
    const AR::CV::FullStereoCameraCalibration<float>& target, const CalibrationMapConfig& config,
    UndistortionMap* maps, const ReasonPlane* reasons);

/// `undistortionReasons`, `inverseReasons`: one plane per camera of the configuration, or null.
AR_EXPORT int CreateCalibrationMapWithReasons(const DeviceCalibrationZEL& source,
                                              const DeviceCalibrationZEL& target,
                                              const CalibrationMapConfig& config,
                                              CalibrationMap& map,
                                              const ReasonPlane* undistortionReasons,
                                              const ReasonPlane* inverseReasons);

// ---- certificate of a rectification -------------------------------------------------------------

/// Measures maps that claim to belong to a device, together with the depth constant and the
/// rectified camera that claim to belong to them. Nothing that made them is trusted: rays of the
/// claimed camera go through the exact formulas of the record's cameras, in double.
///
/// Row and depth errors are measured over a grid of the left image and depths from 0.3 m to 30 m:
/// both maps are searched for where the point's exact source positions appear in the rectified
/// images. A point that is not found in both is left out, so judge the map errors too: they cover
/// every pixel of a map that has a source, and they alone show a shift of both images together. The
/// claimed right camera has the left one's intrinsics and orientation.
/// @param device  two to six cameras; 0 and 1 are used, by their pose relative to each other
/// @param mapLeftX ...  the rectified camera's width x height floats each (`..._size`)
/// @param rectifiedCam  free of distortion; its orientation turns its rays into camera 0's frame,
///     its position is not used
/// @return false, with `certificate` untouched, for null pointers, maps of another size, or a
///     record or camera that is not one (as CreateRectifyMap refuses it); also when not a single
///     point could be found, as in maps that are not of this device at all
AR_EXPORT bool CertifyRectification(const DeviceCalibrationZEL* device, const float* mapLeftX,
                                    std::uint32_t mapLeftX_size, const float* mapLeftY,
                                    std::uint32_t mapLeftY_size, const float* mapRightX,
                                    std::uint32_t mapRightX_size, const float* mapRightY,
                                    std::uint32_t mapRightY_size, float depthConstant,
                                    const CameraCalibrationZEL* rectifiedCam,
                                    RectificationCertificate* certificate);

// ---- certificate of a camera --------------------------------------------------------------------

/// Measures one camera as the entry points would set it up (single precision). Its pose is not
/// read.
/// @return false, with `certificate` untouched, for null pointers and for a record that no camera
///     can be made of
AR_EXPORT bool CertifyCamera(const CameraCalibrationZEL* camera, CameraCertificate* certificate);

// ---- time of exposure ---------------------------------------------------------------------------

/// When each target pixel was exposed by a rolling shutter: (source row - rs_center_row) times the
/// line time, seconds; 0 for a global shutter. Pixels without a source, or with a position that is
/// not finite, get NaN.
/// @param mapX, mapY  the map pair that made the image, `count` floats each
/// @param seconds     receives `count` floats; may not overlap the maps
/// @return false, with nothing written, for a null pointer
AR_EXPORT bool CreateRowTimePlane(const CameraCalibrationZEL* camera, const float* mapX,
                                  const float* mapY, std::uint32_t count, float* seconds);
