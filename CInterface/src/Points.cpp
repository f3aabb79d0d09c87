// Single points by the exact formulas: pixels, rays, pixels of a view.

#include <cmath>
#include <cstring>

#include "Boundary.h"
#include "Memory.h"
#include "Records.h"
#include "Structs.h"
#include "VIO/quality/ExactCamera.h"
#include "Views.h"
#include "rectify/ViewSource.h"
#include "rectiline/rectiline.h"

namespace {

using namespace rectiline::capi;
using VIO::ExactCamera;
using VIO::PixelPosition;
using Vec3 = AR::Math::Vec<double, 3>;

/// A camera's formulas within the range of its tables.
class PointCamera {
 public:
  explicit PointCamera(const CameraCalibrationZEL& record)
      : mTables(makeCamera(record, kAlone)), mExact(*ExactCamera::fromRecord(record.intrinsics)) {}

  /// The pixel of a ray in the camera's frame. As in maps, rays less than 0.01 in front of the
  /// camera graze it.
  rectiline_pixel project(const Vec3& ray, PixelPosition& pixel) const {
    constexpr double kMinDepth = 0.01;
    if (!(ray(2) >= kMinDepth)) return RECTILINE_PIXEL_BEHIND_CAMERA;
    const double x = ray(0) / ray(2);
    const double y = ray(1) / ray(2);
    if (!(x * x + y * y < mTables.getDistortionSpline().rangeMax)) {
      return RECTILINE_PIXEL_BEYOND_DISTORTION;
    }
    pixel = mExact.pixel(x, y);
    return placeInImage(pixel, mTables.getSize()(0), mTables.getSize()(1));
  }

  /// The ray of unit length of a pixel.
  rectiline_pixel unproject(const PixelPosition& pixel, Vec3& ray) const {
    AR::Math::Vec<float, 2> start;
    if (!mTables.tryPixel2ideal(pixel.cast<float>(), start)) {
      return RECTILINE_PIXEL_BEYOND_DISTORTION;
    }
    PixelPosition ideal = start.cast<double>();
    if (!mExact.tryUnproject(pixel, ideal)) return RECTILINE_PIXEL_BEYOND_DISTORTION;
    ray = Vec3(ideal(0), ideal(1), 1.0);
    ray = ray / AR::Math::norm(ray);
    return placeInImage(pixel, mTables.getSize()(0), mTables.getSize()(1));
  }

  /// Where a position lies in an image. Maps count positions within the rounding of single
  /// precision below 0 as 0; so does this.
  static rectiline_pixel placeInImage(const PixelPosition& pixel, double width, double height) {
    constexpr double kRounding = 4 * 1.2e-7;  // units in the last place of the image size
    const double u = pixel(0);
    const double v = pixel(1);
    if (!(u >= -kRounding * width && v >= -kRounding * height && u < width && v < height)) {
      return RECTILINE_PIXEL_OUTSIDE_IMAGE;
    }
    return u > width - 1 || v > height - 1 ? RECTILINE_PIXEL_OK_PAST_LAST_CENTRE
                                           : RECTILINE_PIXEL_OK;
  }

 private:
  AR::CV::Camera<float> mTables;
  ExactCamera mExact;
};

template <int N>
using Point = AR::Math::Vec<double, N>;

/// Whether maps of a view go as far as a ray of it.
bool isInReach(const AR::CV::TargetView& view, const Vec3& ray_v) {
  if (view.projection != AR::CV::TargetProjection::Pinhole) return true;
  const double x = ray_v(0) / ray_v(2);
  const double y = ray_v(1) / ray_v(2);
  return x * x + y * y < kPinholeRange;
}

/// n points of N coordinates each.
template <int N>
Rows checkedPoints(std::size_t n, const double* points, const char* name) {
  return checkedArray(points, n, N * sizeof(double), alignof(double), name);
}

template <int N>
Point<N> pointAt(const double* points, std::size_t i) {
  Point<N> point;
  for (int k = 0; k < N; ++k) point(k) = points[i * N + static_cast<std::size_t>(k)];
  return point;
}

template <int N>
void setPoint(double* points, std::size_t i, const Point<N>& point) {
  for (int k = 0; k < N; ++k) points[i * N + static_cast<std::size_t>(k)] = point(k);
}

bool isAnswer(rectiline_pixel reason) {
  return reason == RECTILINE_PIXEL_OK || reason == RECTILINE_PIXEL_OK_PAST_LAST_CENTRE ||
         reason == RECTILINE_PIXEL_OUTSIDE_IMAGE;
}

template <int IN, int OUT>
void checkBuffers(std::size_t n, const double* from, const char* fromName, double* to,
                  const char* toName, std::uint8_t* reasons) {
  const Rows input = checkedPoints<IN>(n, from, fromName);
  const Rows output = checkedPoints<OUT>(n, to, toName);
  const bool sameMemory = IN == OUT && input.start == output.start;
  if (!sameMemory) requireApart(output, input, toName);
  if (reasons == nullptr) return;
  const Rows why = checkedArray(reasons, n, 1, 1, "reasons");
  requireApart(why, input, "reasons");
  requireApart(why, output, "reasons");
}

/// Converts n points, each by reason = convert(point, result).
template <int IN, int OUT, typename Convert>
void convertPoints(std::size_t n, const double* from, double* to, std::uint8_t* reasons,
                   Convert&& convert) {
  for (std::size_t i = 0; i < n; ++i) {
    Point<OUT> result;
    rectiline_pixel reason = convert(pointAt<IN>(from, i), result);
    if (!isAnswer(reason)) {
      for (int k = 0; k < OUT; ++k) result(k) = kNoValue;
    }
    setPoint<OUT>(to, i, result);
    if (reasons != nullptr) reasons[i] = static_cast<std::uint8_t>(reason);
  }
}

/// A direction of unit length; what has none stays as it is.
Vec3 normalized(const Vec3& v) {
  const double length = std::hypot(v(0), v(1), v(2));
  return length > 0 ? v / length : v;
}

}  // namespace

std::int32_t rectiline_pixels_to_rays(const CameraCalibrationZEL* camera, std::size_t n,
                                      const double* pixels, double* rays, std::uint8_t* reasons) {
  return guarded([&] {
    const PointCamera from(readCamera(camera));
    if (n == 0) return;
    checkBuffers<2, 3>(n, pixels, "pixels", rays, "rays", reasons);
    convertPoints<2, 3>(n, pixels, rays, reasons, [&](const PixelPosition& pixel, Vec3& ray) {
      return from.unproject(pixel, ray);
    });
  });
}

std::int32_t rectiline_rays_to_pixels(const CameraCalibrationZEL* camera, std::size_t n,
                                      const double* rays, double* pixels, std::uint8_t* reasons) {
  return guarded([&] {
    const PointCamera to(readCamera(camera));
    if (n == 0) return;
    checkBuffers<3, 2>(n, rays, "rays", pixels, "pixels", reasons);
    convertPoints<3, 2>(n, rays, pixels, reasons, [&](const Vec3& ray, PixelPosition& pixel) {
      return to.project(normalized(ray), pixel);
    });
  });
}

std::int32_t rectiline_pixels_to_view(const CameraCalibrationZEL* camera,
                                      const rectiline_view* view, std::size_t n,
                                      const double* pixels, double* view_pixels,
                                      std::uint8_t* reasons) {
  return guarded([&] {
    const PointCamera from(readCamera(camera));
    const View to = checkedView(readStruct(view, "view"), "view");
    if (n == 0) return;
    checkBuffers<2, 2>(n, pixels, "pixels", view_pixels, "view_pixels", reasons);
    const auto R_vc = to.R_cv.inverse();
    const auto convert = [&](const PixelPosition& pixel, PixelPosition& viewPixel) {
      Vec3 ray;
      const rectiline_pixel reason = from.unproject(pixel, ray);
      if (!isAnswer(reason)) return reason;
      const Vec3 ray_v = R_vc * ray;
      if (!to.target.tryPixel(ray_v, viewPixel) || !isInReach(to.target, ray_v)) {
        return RECTILINE_PIXEL_BEHIND_CAMERA;
      }
      return PointCamera::placeInImage(viewPixel, to.target.width, to.target.height);
    };
    convertPoints<2, 2>(n, pixels, view_pixels, reasons, convert);
  });
}

std::int32_t rectiline_view_to_pixels(const CameraCalibrationZEL* camera,
                                      const rectiline_view* view, std::size_t n,
                                      const double* view_pixels, double* pixels,
                                      std::uint8_t* reasons) {
  return guarded([&] {
    const PointCamera to(readCamera(camera));
    const View from = checkedView(readStruct(view, "view"), "view");
    if (n == 0) return;
    checkBuffers<2, 2>(n, view_pixels, "view_pixels", pixels, "pixels", reasons);
    const auto convert = [&](const PixelPosition& viewPixel, PixelPosition& pixel) {
      Vec3 ray_view;
      if (!from.target.tryRay(viewPixel, ray_view) || !isInReach(from.target, ray_view)) {
        return RECTILINE_PIXEL_NO_INVERSE;
      }
      return to.project(from.R_cv * ray_view, pixel);
    };
    convertPoints<2, 2>(n, view_pixels, pixels, reasons, convert);
  });
}
