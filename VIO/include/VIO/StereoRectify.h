#pragma once

#include <cstdint>

#include "AR/CV/Camera/StereoCamera.h"
#include "AR/CV/Image/Image.h"
#include "AR/CV/Map/MapJob.h"
#include "AR/Common/ArrayView.h"
#include "AR/Math/SE3.h"
#include "AR/Math/SO3.h"

// Pixel maps between a virtual (target) and a real (source) camera. A map pair is two float images
// of the target's size: mapXY[0] holds source columns, mapXY[1] source rows. Integer coordinates
// are pixel positions. Pixels without a source hold -1 in both.
//
// `keepOutside` keeps positions that fall outside the source image; otherwise they become -1.
// Checks are reported with the source "VIO/src/StereoRectify". Where one fails, both maps are
// cleared to -1 and filled as far as they reach: the pixels that target and both images have.
//
// With a batch, the checks are made at once and the pixels by its fill(): so the maps of both
// cameras of a pair are made side by side.

namespace VIO {

/// Fills the maps of one camera of a rectified pair.
///
/// The images are given the target's size. Rays less than 0.01 in front of the source camera have
/// no source.
/// @param R_oltl  rotates directions of the target left frame into the source left frame
void setupRectifyMap(const AR::CV::FullCamera<float>& source, bool keepOutside,
                     const AR::CV::FullCamera<float>& target, const AR::Math::SO3<float>& R_oltl,
                     AR::Common::ArrayView<AR::CV::Image<float>>& mapXY);
void setupRectifyMap(const AR::CV::FullCamera<float>& source, bool keepOutside,
                     const AR::CV::FullCamera<float>& target, const AR::Math::SO3<float>& R_oltl,
                     AR::Common::ArrayView<AR::CV::Image<float>>& mapXY,
                     AR::CV::MapBatch<float>& batch);

/// The job of setupFixedPlaneMap(): `source` and `eye` must outlive it.
[[nodiscard]] AR::CV::MapJob<float> fixedPlaneJob(const AR::CV::Camera<float>& source,
                                                  const AR::CV::Camera<float>& eye,
                                                  const AR::Math::SE3<float>& T_source_eye,
                                                  float planeDistance, bool keepOutside);

/// Fills the maps of an eye that looks at a plane parallel to its image, `planeDistance` metres in
/// front of it, as a real camera sees that plane. Images as for setupRectifyMap; points less than
/// 0.01 m in front of the source camera and pixels that the eye has no ray for have no source. An
/// infinite distance leaves the rotation.
void setupFixedPlaneMap(const AR::CV::FullCamera<float>& source, bool keepOutside,
                        const AR::CV::FullCamera<float>& eye, float planeDistance,
                        AR::Common::ArrayView<AR::CV::Image<float>>& mapXY);
void setupFixedPlaneMap(const AR::CV::FullCamera<float>& source, bool keepOutside,
                        const AR::CV::FullCamera<float>& eye, float planeDistance,
                        AR::Common::ArrayView<AR::CV::Image<float>>& mapXY,
                        AR::CV::MapBatch<float>& batch);

/// The pinhole model of a camera's size and principal point, its corrected focal lengths times
/// `focalScale`.
[[nodiscard]] CamModel::CameraModel<float> pinholeModelOf(const AR::CV::Camera<float>& source,
                                                          float focalScale);

/// Fills the maps from one camera to another at the same place. The images must already have the
/// target's size. Only rays of depth exactly 0 are refused: rays from behind are mirrored.
/// @param R_st  rotates directions of the target frame into the source frame
void setupUndistortMap(const AR::CV::Camera<float>& source, const AR::CV::Camera<float>& target,
                       bool keepOutside, const AR::Math::SO3<float>& R_st,
                       AR::Common::ArrayView<AR::CV::Image<float>>& mapXY);
void setupUndistortMap(const AR::CV::Camera<float>& source, const AR::CV::Camera<float>& target,
                       bool keepOutside, const AR::Math::SO3<float>& R_st,
                       AR::Common::ArrayView<AR::CV::Image<float>>& mapXY,
                       AR::CV::MapBatch<float>& batch);

/// As above, to a pinhole camera of the source's size and principal point whose focal lengths are
/// the source's corrected ones times `focalScale`.
void setupUndistortMap(const AR::CV::Camera<float>& source, bool keepOutside,
                       const AR::Math::SO3<float>& R_st, float focalScale,
                       AR::Common::ArrayView<AR::CV::Image<float>>& mapXY);

/// Fills `scale`, given the source's size, with the gains that undo the radial fall-off of a
/// 640 x 480 sensor, each in [0, 255]. The fall-off is fixed: the calibrations do not enter.
void setupVignettingMap(const AR::CV::Camera<float>& source, const AR::CV::Camera<float>& target,
                        AR::CV::Image<float>& scale);

/// Copies a map pair into dense caller-owned arrays whose element counts must be the maps'.
/// An array of another size is reported; a larger one is still copied to, a smaller one is not.
void copyMapToArrays(const AR::Common::ArrayView<AR::CV::Image<float>>& mapXY, float* mapXOut,
                     std::uint32_t mapXOut_size, float* mapYOut, std::uint32_t mapYOut_size);

/// Copies an image into a dense array of width times height elements. A null array is reported.
void copyImageToArray(const AR::CV::Image<float>& image, float* out);

/// Makes a rotated camera 0 the reference frame of a rig.
///
/// Only the rotation is looked at: a camera 0 that is merely translated stays where it is. A rig
/// without a camera 1 is reported ("index<current_size").
/// @param pose  a pose in the rig's reference frame; re-expressed when the rig was moved
/// @return whether camera 0's rotation is now exactly the identity
bool moveLeftCameraToOrigin(AR::CV::FullStereoCameraCalibration<float>& calib,
                            AR::Math::SE3<float>& pose);

}  // namespace VIO
