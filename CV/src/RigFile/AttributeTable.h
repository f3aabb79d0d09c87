#pragma once

// Every attribute of a calibration document, by the element that holds it and in the order in which
// it is written. A further attribute is one row here.

#include <string>

#include "AR/CV/Camera/CameraUtil.h"
#include "AR/CV/Camera/FullCamera.h"
#include "Attribute.h"

namespace AR::CV::RigFile {

// ---- the root and "Camera" ----------------------------------------------------------------------

/// The row of an attribute that is a record by itself.
template <typename T>
constexpr Attribute<T> whole(const char* name, const char* meaning, const bool isRequired) {
  return {name, meaning, isRequired, readFinite<T>, [](const T& v) { return toXMLString(v); }};
}

/// Read, but never written.
inline constexpr Attribute<std::string> kDeviceUID[] = {
    whole<std::string>("deviceUID", "the unique identifier of the device", kOptional)};

inline constexpr Attribute<std::string> kName[] = {
    whole<std::string>("cam_name", "the name of the camera", kOptional)};

// ---- "Calibration" ------------------------------------------------------------------------------

template <typename P>
inline constexpr Attribute<CamModel::CameraModel<P>> kGeometry[] = {
    field<&CamModel::CameraModel<P>::size>("size", "width and height, pixels"),
    field<&CamModel::CameraModel<P>::principalPoint>("principal_point", "cx and cy, pixels"),
    field<&CamModel::CameraModel<P>::focalLength>("focal_length", "fx and fy, pixels")};

/// The current form of distortion. A document holds limits as radii, a model their squares; one
/// that is not above 0 is not given.
template <typename P>
struct CurrentDistortion {
  std::string model;
  CamModel::RDVec<P> radial;
  double distortionRadius = 0;
  double undistortionRadius = 0;
  Math::Vec<P, 2> tangential;
};

template <typename P>
inline constexpr Attribute<CurrentDistortion<P>> kCurrent[] = {
    field<&CurrentDistortion<P>::model>("model", "the name of a distortion model, in upper case"),
    // Required of every model but LINEAR, which has none.
    field<&CurrentDistortion<P>::radial>("radial_distortion", "k0 to k5", kOptional),
    field<&CurrentDistortion<P>::distortionRadius>("distortion_limit", "the largest ideal radius",
                                                   kOptional),
    field<&CurrentDistortion<P>::undistortionRadius>("undistortion_limit",
                                                     "the largest distorted radius", kOptional),
    fieldUnlessZero<&CurrentDistortion<P>::tangential>("tangential_distortion", "p1 and p2")};

/// The legacy form, one vector: radial k0, k1, tangential p1, p2, radial k2 to k5; or k0 to k3 of a
/// fisheye lens. Some documents give its first half alone.
template <typename P>
struct CombinedDistortion {
  bool isFisheye = false;
  Math::Vec<P, 8> values;
  Math::Vec<P, 4> firstHalf;
};

template <typename P>
inline constexpr auto kFishEye = fieldUnlessZero<&CombinedDistortion<P>::isFisheye>(
    "fish_eye", "true for the four-parameter fisheye model, or false");

template <typename P>
inline constexpr Attribute<CombinedDistortion<P>> kCombined8[] = {
    kFishEye<P>, field<&CombinedDistortion<P>::values>("radial_distortion_8", "eight numbers")};

/// Read, but never written.
template <typename P>
inline constexpr Attribute<CombinedDistortion<P>> kCombined4[] = {
    kFishEye<P>, field<&CombinedDistortion<P>::firstHalf>("radial_distortion_4", "four numbers")};

// ---- "Rig" --------------------------------------------------------------------------------------

/// T_local_ref in the two forms that a document may give.
template <typename P>
struct PoseForms {
  Math::Vec<P, 6> lieElement;
  Math::Vec<P, 3> translation;
  Math::Mat<P, 3, 3> rotation;
};

// A document gives one form or the other, so that no attribute alone is required.

template <typename P>
inline constexpr Attribute<PoseForms<P>> kLieElement[] = {field<&PoseForms<P>::lieElement>(
    "stereo_rig", "the six numbers of a Lie element, metres and radians", kOptional)};

/// The legacy spelling.
template <typename P>
inline constexpr auto kOldLieElement = field<&PoseForms<P>::lieElement>("stereoRig",
                                                                        kLieElement<P>[0].meaning,
                                                                        kOptional);

template <typename P>
inline constexpr Attribute<PoseForms<P>> kTranslationAndRotation[] = {
    field<&PoseForms<P>::translation>("translation", "x, y and z, metres", kOptional),
    field<&PoseForms<P>::rotation>("rowMajorRotationMat", "nine numbers, row by row", kOptional)};

// ---- what is read only --------------------------------------------------------------------------

inline constexpr Attribute<CaptureDetails> kCaptureDetails[] = {
    field<&CaptureDetails::nativeSensorWidth>("nativeSensorWidth", "pixels"),
    field<&CaptureDetails::nativeSensorHeight>("nativeSensorHeight", "pixels"),
    field<&CaptureDetails::cropL>("cropL", "pixels cropped at the left"),
    field<&CaptureDetails::cropR>("cropR", "pixels cropped at the right"),
    field<&CaptureDetails::cropT>("cropT", "pixels cropped at the top"),
    field<&CaptureDetails::cropB>("cropB", "pixels cropped at the bottom"),
    field<&CaptureDetails::binningH>("binningH", "the horizontal binning factor"),
    field<&CaptureDetails::binningV>("binningV", "the vertical binning factor")};

template <typename P>
inline constexpr auto kIsRollingShutter = field<&RollingShutterCorrector<P>::isRollingShutter>(
    "isRollingShutter", "true when rows are exposed one after the other", kOptional);

template <typename P>
inline constexpr auto kLineTime =
    field<&RollingShutterCorrector<P>::lineTime>("linetime", "seconds per row, above 0");

inline constexpr Attribute<double> kDelta[] = {
    whole<double>("delta", "the time offset, seconds", kRequired)};

}  // namespace AR::CV::RigFile
