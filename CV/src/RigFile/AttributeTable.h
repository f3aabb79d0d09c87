#pragma once

// Every attribute of a calibration document, by the element that holds it and in the order in which
// it is written. A further attribute is one row here.

#include <algorithm>
#include <cmath>
#include <string>

#include "AR/CV/Camera/CameraUtil.h"
#include "AR/CV/Camera/FullCamera.h"
#include "AR/Math/Matrix.h"
#include "Attribute.h"

namespace AR::CV::RigFile {

// ---- the root, "Camera"
// -----------------------------------------------------------------------------------

template <typename T>
ParseResult readItself(const ConfigNode& node, const std::string& path, const char* meaning,
                       T& value) {
  return readFinite(node, path, meaning, value);
}

inline std::string itself(const std::string& text) { return text; }

/// Read, but never written.
inline constexpr Attribute<std::string> kDeviceUID[] = {
    {"deviceUID", "the unique identifier of the device", kOptional, readItself<std::string>,
     nullptr}};

inline constexpr Attribute<std::string> kName[] = {
    {"cam_name", "the name of the camera", kOptional, readItself<std::string>, itself}};

// ---- "Calibration" ------------------------------------------------------------------------------

template <typename P>
inline constexpr Attribute<CamModel::CameraModel<P>> kGeometry[] = {
    field<&CamModel::CameraModel<P>::size>("size", "width and height, pixels"),
    field<&CamModel::CameraModel<P>::principalPoint>("principal_point", "cx and cy, pixels"),
    field<&CamModel::CameraModel<P>::focalLength>("focal_length", "fx and fy, pixels")};

template <typename P>
ParseResult readModelName(const ConfigNode& node, const std::string& path, const char* meaning,
                          CamModel::CameraModel<P>& model) {
  std::string name;
  const ParseResult result = readFinite(node, path, meaning, name);
  if (result != ParseResult::Exists) return result;
  return radialDistortionModelStringToEnum(name, model.model) ? result : ParseResult::Malformed;
}

/// A document holds limits as radii, a model their squares. One that is not above 0 is not given,
/// and 0 in the model.
template <typename P, auto LIMIT>
ParseResult readLimit(const ConfigNode& node, const std::string& path, const char* meaning,
                      CamModel::CameraModel<P>& model) {
  P radius = 0;
  const ParseResult result = readFinite(node, path, meaning, radius);
  if (result == ParseResult::Exists) model.limits.*LIMIT = radius > 0 ? radius * radius : P(0);
  return result;
}

template <typename P, auto LIMIT>
std::string limitText(const CamModel::CameraModel<P>& model) {
  return toXMLString(std::sqrt(static_cast<double>(model.limits.*LIMIT)));
}

template <typename P>
inline constexpr Attribute<CamModel::CameraModel<P>> kDistortion[] = {
    {"model", "the name of a distortion model, in upper case", kRequired, readModelName<P>,
     [](const CamModel::CameraModel<P>& model) {
       return std::string(CamModel::modelName(model.model));
     }},
    // Required of every model but LINEAR, which has none.
    field<&CamModel::CameraModel<P>::radialDistortion>("radial_distortion", "k0 to k5", kOptional),
    {"distortion_limit", "the largest ideal radius", kOptional,
     readLimit<P, &CamModel::RadiusLimits<P>::distortionLimit>,
     limitText<P, &CamModel::RadiusLimits<P>::distortionLimit>},
    {"undistortion_limit", "the largest distorted radius", kOptional,
     readLimit<P, &CamModel::RadiusLimits<P>::undistortionLimit>,
     limitText<P, &CamModel::RadiusLimits<P>::undistortionLimit>},
    fieldUnlessZero<&CamModel::CameraModel<P>::tangentialDistortion>("tangential_distortion",
                                                                     "p1 and p2")};

/// The legacy form of distortion, one vector: radial k0, k1, tangential p1, p2, radial k2 to k5; or
/// k0 to k3 of a fisheye lens.
template <typename P>
struct CombinedDistortion {
  bool isFisheye = false;
  Math::Vec<P, 8> values;
};

template <typename P>
ParseResult readFirstHalf(const ConfigNode& node, const std::string& path, const char* meaning,
                          CombinedDistortion<P>& combined) {
  Math::Vec<P, 4> half;
  const ParseResult result = readFinite(node, path, meaning, half);
  if (result == ParseResult::Exists) std::copy(half.begin(), half.end(), combined.values.begin());
  return result;
}

template <typename P>
inline constexpr auto kFishEye = fieldUnlessZero<&CombinedDistortion<P>::isFisheye>(
    "fish_eye", "true for the four-parameter fisheye model, or false");

template <typename P>
inline constexpr Attribute<CombinedDistortion<P>> kCombined8[] = {
    kFishEye<P>, field<&CombinedDistortion<P>::values>("radial_distortion_8", "eight numbers")};

/// Read, but never written.
template <typename P>
inline constexpr Attribute<CombinedDistortion<P>> kCombined4[] = {
    kFishEye<P>, {"radial_distortion_4", "four numbers", kRequired, readFirstHalf<P>, nullptr}};

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
    {"delta", "the time offset, seconds", kRequired, readItself<double>,
     [](const double& delta) { return toXMLString(delta); }}};

}  // namespace AR::CV::RigFile
