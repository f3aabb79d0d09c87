#include "Sentence.h"

#include <cmath>
#include <cstdio>
#include <numbers>

namespace rectiline::check {
namespace {

template <typename... Values>
std::string format(const char* text, Values... values) {
  char buffer[512];
  std::snprintf(buffer, sizeof buffer, text, values...);
  return buffer;
}

/// What was done wrong, and what to do.
const char* meaning(Verdict verdict) {
  switch (verdict) {
    case Verdict::Ok:
      return "The calibration is right for these images";
    case Verdict::Inaccurate:
      return "The calibration does not fit these images, and none of the usual mistakes explains "
             "it: calibrate again";
    case Verdict::SwappedImages:
      return "The images are swapped: the first is of the right camera";
    case Verdict::SameImage:
      return "Both images are the same one";
    case Verdict::SwappedCameras:
      return "The cameras are swapped: the rig's first camera took the second image";
    case Verdict::InvertedPoses:
      return "The poses are inverted: they map from camera to reference, not from reference to "
             "camera";
    case Verdict::TransposedRotation:
      return "The rotation is transposed, while the translation is right";
    case Verdict::NegatedTranslation:
      return "The translation has the wrong sign, while the rotation is right";
    case Verdict::WrongDistortion:
      return "The distortion is wrong: ignored, applied to images without any, or radial "
             "coefficients taken for fisheye ones or the reverse";
    case Verdict::TooFewMatches:
      return "Too few points were found in both images for a verdict: give pairs with more "
             "texture, "
             "taken at the same time";
  }
  return "";
}

std::string measured(const CheckResult& r) {
  if (r.matches == 0) return "";
  std::string text = format(" (%d points", r.matches);
  if (r.isRectified) {
    text += format(", rows differ by %.2f px in the median", r.rowErrorMedian);
    if (r.positiveDisparities < 0.5) text += ", most disparities are negative";
  } else {
    text += ", as given it cannot be rectified";
  }
  if (r.rowErrorMedianUndone >= 0) {
    text += format("; without the mistake rows differ by %.2f px", r.rowErrorMedianUndone);
  }
  return text + ")";
}

std::string others(const CheckResult& r) {
  std::string text;
  for (const Verdict v : r.alternatives) {
    text += text.empty() ? ". Explained nearly as well by: " : ", ";
    text += verdictText(v);
  }
  return text;
}

/// What a turn may come from instead.
std::string aboutTurn(const CheckResult& r, const CameraPair& cameras) {
  if (r.verdict != Verdict::Ok && r.verdict != Verdict::Inaccurate) return "";
  const double perPixel =
      std::atan(1 / cameras.right.intrinsics.focal_length_y) * 180 / std::numbers::pi;
  return format(
      ". The right camera would have to turn by %.3f, %.3f, %.3f degrees about x, y, z to remove "
      "the trend of the row errors; a shifted principal point or a wrong focal length can look "
      "like such a turn: 1 px of cy like %.2f degrees about x",
      r.turnDegrees[0], r.turnDegrees[1], r.turnDegrees[2], perPixel);
}

}  // namespace

std::string describe(const CheckResult& result, const CameraPair& cameras) {
  return meaning(result.verdict) + measured(result) + others(result) + aboutTurn(result, cameras) +
         ".";
}

}  // namespace rectiline::check
