#pragma once

// Is this calibration right for these images?

#include <cstddef>
#include <cstdint>
#include <functional>
#include <span>
#include <string>
#include <vector>

#include "rectiline/rectiline.h"

namespace rectiline::check {

/// An 8-bit grey image in the caller's memory, rows from top to bottom.
struct GreyView {
  const std::uint8_t* data = nullptr;
  int width = 0;  // pixels
  int height = 0;
  std::size_t stride = 0;  // bytes from row to row; 0: width
};

/// What the two cameras saw at the same time, as the cameras gave it: not undistorted.
struct PairImages {
  GreyView left;  // of the left camera's size
  GreyView right;
};

/// Pairs that need not be in memory at once.
struct PairSource {
  std::size_t count = 0;
  /// The pair with an index below `count`, which is asked for several times; valid until the next
  /// call. What it throws is passed on.
  std::function<PairImages(std::size_t)> fetch;
};

struct CheckOptions {
  int leftCamera = 0;  // index in the device record of the camera that PairImages::left is from
  int rightCamera = 1;
  int maxCorners = 800;  // looked for in each pair
};

enum class Verdict {
  Ok,          // median row error at most 0.5 px, no significant turn above 0.1 degrees
  Inaccurate,  // not ok, and none of the usual mistakes explains it
  SwappedImages,
  SameImage,
  SwappedCameras,
  InvertedPoses,  // the relative one, or each camera's own
  TransposedRotation,
  NegatedTranslation,
  WrongDistortion,  // ignored, applied to images without any, or radial for fisheye and vice versa
  TooFewMatches     // below 30
};

/// "ok", "inaccurate", "swapped-images", "same-image", "swapped-cameras", "inverted-poses",
/// "transposed-rotation", "negated-translation", "wrong-distortion", "too-few-matches".
const char* verdictText(Verdict verdict);

/// A position in an image, pixels.
struct Position {
  double x;
  double y;
};

/// A point found in both images of a pair.
struct Match {
  Position rawLeft;  // in the images that were given
  Position rawRight;
  Position left;  // after rectification by the rig as it was given, in CheckResult::rectification
  Position right;
  double rowError;   // left minus right position across the baseline, rectified pixels
  double disparity;  // left minus right position along it, times the rectification's sign: positive
                     // in front of the cameras
  bool inlier;       // agrees with the trend of the row errors; others are not measured with
};

struct CheckResult {
  Verdict verdict = Verdict::TooFewMatches;
  int matches = 0;  // inliers in all pairs; everything below is measured with them
  // Of the absolute row errors of the rig as it was given, rectified pixels; NaN when it cannot be
  // rectified or nothing was matched.
  double rowErrorMedian;
  double rowErrorRms;
  // The turn of the right camera about the axes of the rectified frame (x right, y down, z forward)
  // that would best remove the row errors, right-handed, degrees, and its standard errors. A point
  // (x, y, 1) in front of the right camera moves across by w_y x y + w_z x - w_x (1 + y^2) when
  // rows are compared, and by w_y (1 + x^2) - w_x x y - w_z y when columns are. NaN as above.
  double turnDegrees[3];
  double turnSigma[3];
  double positiveDisparities;         // share of the matches; NaN as above
  double rowErrorMedianUndone;        // without the mistake that the verdict names; NaN without one
  std::vector<Verdict> alternatives;  // other mistakes that explain the images nearly as well
  std::string sentence;               // for a person
  std::vector<std::vector<Match>> pairs;  // the matches of each pair, for pictures
  bool isRectified = false;               // the rig as given can be rectified; if so:
  rectiline_options view;                 // what it was rectified with, for rectiline_rectify()
  rectiline_rectification rectification;
};

/**
 * Judges two cameras of a device by what they see: corners of one image are searched in the other
 * along the rows of the rectified pair. A right rig has rows that agree and positive disparities.
 * For a rig that is not right, the usual mistakes are undone one at a time; the verdict names the
 * one that leaves rows within 1 px and positive disparities.
 *
 * Images alone cannot tell the length of the baseline. What they show of a camera is best spread
 * over the whole image and several depths: all pairs are judged together.
 *
 * Throws std::invalid_argument when cameras or images are not what they should be, with a sentence
 * for a person.
 */
CheckResult checkPairs(const DeviceCalibrationZEL& device, const CheckOptions& options,
                       std::span<const PairImages> pairs);

/// The same with one pair in memory at a time. Nothing but the matches is kept, about 100 kB for a
/// pair.
CheckResult checkFetchedPairs(const DeviceCalibrationZEL& device, const CheckOptions& options,
                              const PairSource& pairs);

}  // namespace rectiline::check
