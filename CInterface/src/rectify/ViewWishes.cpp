#include "rectify/ViewWishes.h"

#include <cmath>

#include "AR/Math/Constants.h"
#include "Boundary.h"
#include "Structs.h"

namespace rectiline::capi {
namespace {

using AR::CV::TargetProjection;

[[noreturn]] void refuseOption(const char* name, double value, const char* expected) {
  refuseArgument({"options", name}, value, "is %g; it must be %s", value, expected);
}

TargetProjection checkedProjection(const rectiline_options& options) {
  switch (options.projection) {
    case RECTILINE_PINHOLE:
      return TargetProjection::Pinhole;
    case RECTILINE_LATITUDE_LONGITUDE:
      return TargetProjection::LatitudeLongitude;
    default:
      refuseOption("projection", options.projection, "a rectiline_projection, 0 or 1");
  }
}

std::optional<ViewWishes::Size> checkedSize(const rectiline_options& options) {
  const auto requireSide = [](int side, const char* name) {
    if (side < 0 || side > kMaxSide)
      refuseOption(name, side, "from 1 to 65535, or 0 for automatic");
  };
  requireSide(options.width, "width");
  requireSide(options.height, "height");
  if ((options.width == 0) != (options.height == 0)) {
    refuseOption(options.width == 0 ? "width" : "height", 0,
                 "given when the other side of the image is");
  }
  if (options.width == 0) return std::nullopt;
  return ViewWishes::Size{options.width, options.height};
}

std::optional<AR::Math::Vec<double, 2>> checkedPrincipalPoint(const rectiline_options& options) {
  const auto requireCoordinate = [&](double value, const char* name) {
    if (!(std::fabs(value) <= kMaxPixels)) refuseOption(name, value, "a position, in pixels");
    if (options.has_principal_point == 0 && value != 0) {
      refuseOption(name, value, "0 unless options.has_principal_point is set");
    }
  };
  requireCoordinate(options.cx, "cx");
  requireCoordinate(options.cy, "cy");
  if (options.has_principal_point == 0) return std::nullopt;
  return AR::Math::Vec<double, 2>(options.cx, options.cy);
}

std::optional<double> checkedFocalLength(const rectiline_options& options) {
  const double f = options.focal_length;
  if (f == 0) return std::nullopt;
  if (!isFocalLength(f)) {
    refuseOption("focal_length", f, "from 1e-7 to 1e7, in pixels, or 0 for automatic");
  }
  return f;
}

std::optional<double> checkedFieldOfView(const rectiline_options& options) {
  const double fov = options.field_of_view;
  if (fov == 0) return std::nullopt;
  const bool isPinhole = options.projection == RECTILINE_PINHOLE;
  if (!(fov > 0 && fov < (isPinhole ? AR_PI : 2 * AR_PI))) {
    refuseOption("field_of_view", fov,
                 isPinhole ? "above 0 and below pi, in radians (wider views need the projection "
                             "RECTILINE_LATITUDE_LONGITUDE)"
                           : "above 0 and below 2 pi, in radians");
  }
  return fov;
}

std::optional<double> checkedCoverage(const rectiline_options& options) {
  const bool isBetween = options.coverage == RECTILINE_COVERAGE_BETWEEN;
  if (!isBetween && options.alpha != 0) {
    refuseOption("alpha", options.alpha, "0 unless options.coverage is RECTILINE_COVERAGE_BETWEEN");
  }
  switch (options.coverage) {
    case RECTILINE_COVERAGE_AUTOMATIC:
      return std::nullopt;
    case RECTILINE_COVERAGE_VALID:
      return 0.0;
    case RECTILINE_COVERAGE_WHOLE:
      return 1.0;
    case RECTILINE_COVERAGE_BETWEEN:
      if (!(options.alpha >= 0 && options.alpha <= 1)) {
        refuseOption("alpha", options.alpha, "from 0 to 1");
      }
      return options.alpha;
    default:
      refuseOption("coverage", options.coverage, "a rectiline_coverage, 0 to 3");
  }
}

void requireOneScale(const rectiline_options& options, const ViewWishes& wishes) {
  if (wishes.focalLength && wishes.fieldOfView) {
    refuseOption("field_of_view", options.field_of_view,
                 "0 when options.focal_length is given: both say how large the image is");
  }
  if (wishes.coverage && (wishes.focalLength || wishes.fieldOfView)) {
    refuseOption("coverage", options.coverage,
                 "0 when options.focal_length or options.field_of_view is given: each says how "
                 "large the image is");
  }
}

}  // namespace

rectiline_options readOptions(const rectiline_options* callers) {
  return callers == nullptr ? rectiline_options{} : readStruct(callers, "options");
}

ViewWishes checkedWishes(const rectiline_options& options) {
  requireZero(options.reserved, {"options", "reserved"});
  const ViewWishes wishes{checkedProjection(options),     checkedSize(options),
                          checkedPrincipalPoint(options), checkedFocalLength(options),
                          checkedFieldOfView(options),    checkedCoverage(options),
                          options.keep_outside != 0};
  requireOneScale(options, wishes);
  return wishes;
}

CameraPair checkedPair(const rectiline_options& options, const DeviceCalibrationZEL& device) {
  const int count = device.num_cameras;
  CameraPair pair{options.left_camera, options.right_camera};
  if (pair.left == 0 && pair.right == 0) pair.right = 1;
  const auto requireIndex = [&](int index, const char* name) {
    if (index >= 0 && index < count) return;
    refuseArgument({"options", name}, index, "is %d; the device has cameras 0 to %d", index,
                   count - 1);
  };
  requireIndex(pair.left, "left_camera");
  requireIndex(pair.right, "right_camera");
  if (pair.left == pair.right) {
    refuseArgument("options.right_camera", pair.right,
                   "is %d, as options.left_camera; a pair needs two cameras", pair.right);
  }
  return pair;
}

}  // namespace rectiline::capi
