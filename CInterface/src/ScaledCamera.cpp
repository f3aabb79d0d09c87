// Calibrations of images that were scaled, binned or cropped.

#include <algorithm>
#include <cmath>
#include <cstdint>
#include <limits>

#include "AR/Common/SaturatingCast.h"
#include "Boundary.h"
#include "Records.h"
#include "rectiline/rectiline.h"

namespace {

using namespace rectiline::capi;

/// One axis of an image that is scaled and then cut.
struct Cut {
  double scale;
  std::int32_t offset;  // of what is kept, scaled pixels

  [[nodiscard]] double position(double p) const { return (p + 0.5) * scale - 0.5 - offset; }
};

void requireScale(double scale, const char* field) {
  if (!(scale > 0 && std::isfinite(scale))) {
    refuseArgument(field, scale, "is %g; it must be a finite number above 0", scale);
  }
}

/// The size that is left: `wanted`, or where that is 0 all from the offset on.
std::int32_t keptSize(std::int32_t size, const Cut& cut, std::int32_t wanted,
                      const char* offsetField, const char* sizeField) {
  const double scaled = size * cut.scale;
  const double whole = std::max(1.0, std::round(scaled));
  if (whole > std::numeric_limits<std::int32_t>::max()) {
    refuseArgument(sizeField, whole, "would be %g pixels after scaling, which is too many", whole);
  }
  if (cut.offset < 0 || cut.offset >= whole) {
    refuseArgument(offsetField, cut.offset, "is %d; the scaled image has pixels 0 to %.0f",
                   cut.offset, whole - 1);
  }
  if (wanted == 0) return static_cast<std::int32_t>(whole) - cut.offset;
  // Whoever scales may have rounded a broken pixel up.
  if (wanted < 0 || wanted > std::max(whole, std::ceil(scaled)) - cut.offset) {
    refuseArgument(sizeField, wanted, "is %d; the scaled image has %.0f pixels from %d on", wanted,
                   whole - cut.offset, cut.offset);
  }
  return wanted;
}

/// A principal point outside what is left makes no camera that can be used.
void requireInside(double principalPoint, std::int32_t size, const char* offsetField) {
  if (!(principalPoint > 0 && principalPoint < size)) {
    refuseArgument(offsetField, principalPoint,
                   "leaves the principal point at %g, outside the %d pixels that are kept; it must "
                   "be inside",
                   principalPoint, size);
  }
}

}  // namespace

std::int32_t rectiline_scaled_camera(const CameraCalibrationZEL* camera, double scale_x,
                                     double scale_y, std::int32_t crop_x, std::int32_t crop_y,
                                     std::int32_t width, std::int32_t height,
                                     CameraCalibrationZEL* scaled) {
  return guarded([&] {
    CameraCalibrationZEL result = readCamera(camera);
    requirePointer(scaled, "scaled");
    requireIntrinsics(result, kAlone);
    requireScale(scale_x, "scale_x");
    requireScale(scale_y, "scale_y");
    const Cut x{scale_x, crop_x};
    const Cut y{scale_y, crop_y};
    IntrinsicCameraCalibrationZEL& in = result.intrinsics;
    in.width = keptSize(in.width, x, width, "crop_x", "width");
    in.height = keptSize(in.height, y, height, "crop_y", "height");
    in.principal_point_x = x.position(in.principal_point_x);
    in.principal_point_y = y.position(in.principal_point_y);
    requireInside(in.principal_point_x, in.width, "crop_x");
    requireInside(in.principal_point_y, in.height, "crop_y");
    in.focal_length_x *= scale_x;
    in.focal_length_y *= scale_y;
    result.line_time_ns = AR::Common::saturatingCast<std::uint64_t>(
        std::round(static_cast<double>(result.line_time_ns) / scale_y));
    result.rs_center_row =
        AR::Common::saturatingCast<std::int32_t>(std::round(y.position(result.rs_center_row)));
    *scaled = result;
  });
}
