#pragma once

#include <cstdint>

#include "AR/CV/Camera/StereoCamera.h"
#include "AR/Common/Macros.h"
#include "AR/Math/SE3.h"
#include "AR/Math/SO3.h"

// The rectified, virtual calibration of a stereo pair.
//
// Frames: "ol", "or" are the source left and right cameras; "tl", "tr" the target ones. Both target
// cameras look along R_oltl * (0, 0, 1) and are set apart along one image axis, so that a point is
// seen in the same row of both (in the same column when the pair stands vertically).

namespace AR::CV {

/// Depth of a rectified pixel pair, in the units of the rig's translations:
/// depth = constant / (disparity + offsetX), with the disparity in pixels.
template <typename FloatType>
struct DepthParams {
  FloatType constant = 0;
  FloatType offsetX = 0;
};

/// What a depth range asks of the target intrinsics.
template <typename SFType>
struct TargetIntrinsicsParams {
  SFType scale;    // of the focal length along the baseline
  SFType offsetX;  // of the right camera's principal point, pixels
};

/// Computes the rectified target calibration of a pair, checks it against itself, and reports
/// whatever does not hold (source "AR/CV/Stereo/Rectify").
///
/// @param calib             source rig; camera 0 at the origin with identity rotation
/// @param numDisparities    disparity pixels that [minDepth, maxDepth] is to occupy
/// @param minDepth          0 or less: the focal length is kept, disparity 0 is at infinity
/// @param maxDepth          depth of disparity 0 when minDepth is above 0
/// @param targetImageWidth  pixels, at most the source's; 0: the source's
/// @param T_ref             its inverse rotation takes `desiredDir` into the source left frame
/// @param desiredDir        where the target optical axis is to look; all zero: no preference
/// @param target            an empty rig, given two pinhole cameras "left" and "right"; camera 1's
///                          translation is -(length of the baseline) along its axis. Left
///                          uninitialised when the source camera does not see its whole centre
///                          column, a target camera cannot be made, or the length of the baseline
///                          is out of range
/// @param R_oltl            rotates directions of the target left frame into the source left frame
/// @param depthParams       disparity to depth
///
/// A baseline of length 0 ends the process ("length>0").
/// The construction follows Fusiello, Trucco & Verri, "A compact algorithm for rectification of
/// stereo pairs", 2000, with the half rotation shared between both cameras.
template <typename FloatType>
void makeTargetCalibration(const FullStereoCameraCalibration<FloatType>& calib,
                           std::uint32_t numDisparities, FloatType minDepth, FloatType maxDepth,
                           std::uint32_t targetImageWidth, const Math::SE3<FloatType>& T_ref,
                           const Math::Vec<FloatType, 3>& desiredDir,
                           FullStereoCameraCalibration<FloatType>& target,
                           Math::SO3<FloatType>& R_oltl, DepthParams<FloatType>& depthParams);

namespace Internal {

/// Focal scale and offset that put maxDepth at disparity 0 and minDepth at numDisparities.
/// @param focalTimesBaseline  pixels times length units
template <typename FloatType>
TargetIntrinsicsParams<FloatType> setupTargetIntrinsics(std::uint32_t numDisparities,
                                                        FloatType minDepth, FloatType maxDepth,
                                                        FloatType focalTimesBaseline);

/// How far apart the two ends of the camera's centre column lie in its ideal plane; 0 when an end
/// has no ideal point. A pinhole of h rows and a focal length of h / extent sees exactly that
/// column over its height. In double: the rounding of that focal length in single precision alone
/// would scale every row.
template <typename FloatType>
double centreColumnExtent(const Camera<FloatType>& camera);

/// The axis (0, 1 or 2) along which `t` mostly lies.
template <typename FloatType>
std::size_t baselineAxis(const Math::Vec<FloatType, 3>& t);

/// The rotation that turns direction `from` into direction `to` about their common normal.
/// Lengths and angle in double: acos in single precision costs up to 0.2 pixels of row error, and
/// squares of very short or long baselines leave its range. A length of 0 is fatal ("length>0").
template <typename FloatType>
Math::SO3<FloatType> alignment(const Math::Vec<double, 3>& from, const Math::Vec<double, 3>& to);

/// R_oltl of a pair with pose `T_orol`: each camera is turned half-way towards the other, and then
/// so that the vector from the right camera to the left one lies along the unit vector
/// `baselineDir_t`. Reports, at `site`, a rotation that does not put it there.
template <typename FloatType>
Math::SO3<FloatType> rectifyingRotation(const Common::CallSite& site,
                                        const Math::SE3<FloatType>& T_orol,
                                        const Math::Vec<FloatType, 3>& baselineDir_t);

/// The axis of camera 1's frame (0, 1 or 2) along which the baseline mostly lies.
/// Reports "baselineIdx <= 1" for a baseline along the optical axis.
template <typename FloatType>
std::size_t getBaselineIdx(const FullStereoCameraCalibration<FloatType>& calib);

/// Triangulates 128 disparities of the image centre and reports each whose depth contradicts
/// `depthParams` (absolute tolerance 0.0001).
/// @param size  of the target images, pixels
template <typename FloatType>
void checkMappingFactor(const Math::Vec<FloatType, 2>& size,
                        const FullStereoCameraCalibration<FloatType>& target,
                        const DepthParams<FloatType>& depthParams);

/// Reports a point on the source left axis that the two target cameras do not see in the same row
/// (column), or that does not project back to where the source left camera sees it.
template <typename FloatType>
void validateStereoRectify(const FullStereoCameraCalibration<FloatType>& source,
                           const FullStereoCameraCalibration<FloatType>& target,
                           const Math::SO3<FloatType>& R_oltl);

}  // namespace Internal

extern template void makeTargetCalibration(const FullStereoCameraCalibration<float>&, std::uint32_t,
                                           float, float, std::uint32_t, const Math::SE3<float>&,
                                           const Math::Vec<float, 3>&,
                                           FullStereoCameraCalibration<float>&, Math::SO3<float>&,
                                           DepthParams<float>&);

namespace Internal {
extern template TargetIntrinsicsParams<float> setupTargetIntrinsics(std::uint32_t, float, float,
                                                                    float);
extern template double centreColumnExtent(const Camera<float>&);
extern template std::size_t baselineAxis(const Math::Vec<float, 3>&);
extern template Math::SO3<float> alignment(const Math::Vec<double, 3>&,
                                           const Math::Vec<double, 3>&);
extern template Math::SO3<double> alignment(const Math::Vec<double, 3>&,
                                            const Math::Vec<double, 3>&);
extern template Math::SO3<float> rectifyingRotation(const Common::CallSite&,
                                                    const Math::SE3<float>&,
                                                    const Math::Vec<float, 3>&);
extern template std::size_t getBaselineIdx(const FullStereoCameraCalibration<float>&);
extern template void checkMappingFactor(const Math::Vec<float, 2>&,
                                        const FullStereoCameraCalibration<float>&,
                                        const DepthParams<float>&);
extern template void validateStereoRectify(const FullStereoCameraCalibration<float>&,
                                           const FullStereoCameraCalibration<float>&,
                                           const Math::SO3<float>&);
}  // namespace Internal

}  // namespace AR::CV
