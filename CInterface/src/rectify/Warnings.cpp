#include "rectify/Warnings.h"

#include <algorithm>
#include <cmath>
#include <cstdarg>
#include <cstdio>
#include <optional>

#include "AR/Math/Constants.h"
#include "VIO/quality/ExactCamera.h"

namespace rectiline::capi {
namespace {

constexpr int kThePair = -1;
constexpr double kMaxTurn = 30 * AR_PI / 180;
constexpr double kLongBaseline = 5;       // metres
constexpr double kShortBaseline = 0.001;  // metres
constexpr double kFewSources = 0.5;
constexpr double kMaxTableError = 0.01;  // pixels

__attribute__((format(printf, 5, 6))) void warn(rectiline_rectification& result,
                                                rectiline_warning_code code, int camera,
                                                double value, const char* format, ...) {
  if (result.warning_count >= RECTILINE_MAX_WARNINGS) return;
  rectiline_warning& warning = result.warnings[result.warning_count++];
  warning.code = code;
  warning.camera = camera;
  warning.value = value;
  std::va_list arguments;
  va_start(arguments, format);
  std::vsnprintf(warning.text, sizeof warning.text, format, arguments);
  va_end(arguments);
}

void warnOfSide(const PairGeometry& geometry, rectiline_rectification& result) {
  if (geometry.sign > 0) return;
  const bool isVertical = geometry.axis == 1;
  warn(result, RECTILINE_WARNING_RIGHT_IS_LEFT, kThePair, -geometry.baseline,
       "The right camera (%d) stands %g m %s the left one (%d): disparities and the depth constant "
       "are negative. If that is not so, the cameras are swapped or their poses inverted; a pose "
       "reads x_camera = R x_reference + t.",
       result.right_camera, geometry.baseline, isVertical ? "above" : "left of",
       result.left_camera);
}

void warnOfTurn(int camera, const AR::Math::SO3<double>& R_cv, rectiline_rectification& result) {
  const double turn = turnOf(R_cv);
  if (!(turn > kMaxTurn)) return;
  warn(result, RECTILINE_WARNING_TURNED, camera, turn,
       "The view of camera %d is turned by %.1f degrees from where the camera looks; more than 30 "
       "is unusual for a pair. Check the rotations of the poses.",
       camera, turn * 180 / AR_PI);
}

void warnOfBaseline(double baseline, rectiline_rectification& result) {
  if (baseline > kLongBaseline) {
    warn(result, RECTILINE_WARNING_LONG_BASELINE, kThePair, baseline,
         "The baseline is %g m long, more than 5 m. Translations are in metres; check their unit.",
         baseline);
  }
  if (baseline < kShortBaseline) {
    warn(result, RECTILINE_WARNING_SHORT_BASELINE, kThePair, baseline,
         "The baseline is %g m long, less than 1 mm. Translations are in metres; check their unit.",
         baseline);
  }
}

void warnOfShare(int camera, double share, rectiline_rectification& result) {
  if (!(share < kFewSources)) return;
  warn(result, RECTILINE_WARNING_FEW_SOURCES, camera, share,
       "Only %.1f percent of the map of camera %d has a source in its image. Check the poses, or "
       "choose another focal length or coverage.",
       share * 100, camera);
}

}  // namespace

double tableError(const AR::CV::Camera<float>& camera,
                  const IntrinsicCameraCalibrationZEL& record) {
  constexpr std::size_t kMaxSamples = 256;
  const auto exact = VIO::ExactCamera::fromRecord(record);
  if (!exact) return 0;
  const auto& spline = camera.getDistortionSpline();
  const std::size_t bins = spline.coeffs.size();
  const std::size_t samples = std::min(bins, kMaxSamples);
  double worst = 0;
  for (std::size_t i = 0; i < samples; ++i) {
    // The middle of a bin, where a cubic through both its ends is farthest from the function.
    const double middle =
        (static_cast<double>(i * bins / samples) + 0.5) / static_cast<double>(bins);
    const auto along =
        static_cast<float>(std::sqrt(static_cast<double>(spline.rangeMax) * middle / 2));
    const AR::Math::Vec<float, 2> ideal(along, along);
    AR::Math::Vec<float, 2> pixel;
    if (!camera.tryIdeal2pixel(ideal, pixel)) continue;
    const auto x = static_cast<double>(along);
    worst = std::max(worst, AR::Math::norm(exact->pixel(x, x) - pixel.cast<double>()));
  }
  return worst;
}

void warnOfGeometry(const PairGeometry& geometry, rectiline_rectification& result) {
  warnOfSide(geometry, result);
  warnOfTurn(result.left_camera, geometry.R_oltl, result);
  warnOfTurn(result.right_camera, geometry.R_ortl, result);
  warnOfBaseline(geometry.baseline, result);
}

void warnOfTables(const ViewSource& source, const IntrinsicCameraCalibrationZEL& record,
                  rectiline_rectification& result) {
  const double error = tableError(source.camera, record);
  if (error <= kMaxTableError) return;
  warn(result, RECTILINE_WARNING_TABLE_ERROR, source.index, error,
       "The tables of camera %d are off from its formula by up to %.3g pixels; positions in its "
       "map may be, too. Check its distortion coefficients, or give the distortion limits of what "
       "its image shows.",
       source.index, error);
}

void warnOfShares(rectiline_rectification& result) {
  warnOfShare(result.left_camera, result.left_share, result);
  warnOfShare(result.right_camera, result.right_share, result);
}

void warnOfFailedChecks(rectiline_rectification& result) {
  if (result.failed_checks == 0) return;
  warn(result, RECTILINE_WARNING_FAILED_CHECKS, kThePair, static_cast<double>(result.failed_checks),
       "%llu checks failed in this call; rectiline_failed_checks() tells which.",
       static_cast<unsigned long long>(result.failed_checks));
}

}  // namespace rectiline::capi
