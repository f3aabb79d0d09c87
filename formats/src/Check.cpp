#include "Check.h"

#include <algorithm>
#include <cmath>
#include <numbers>

#include "rectiline/rectiline.h"
#include "rectiline_calls/Calls.h"

namespace rectiline::formats {
namespace {

constexpr int kRadii = 48;
constexpr int kSteps = 24;

/// Rays of one plane through the optical axis.
struct Radius {
  const SourceCamera& camera;
  double azimuth;
  Vec2 centre;

  [[nodiscard]] Vec3 ray(double angle) const {
    return {std::sin(angle) * std::cos(azimuth), std::sin(angle) * std::sin(azimuth),
            std::cos(angle)};
  }

  /// The distance of a pixel from the centre when it is in the image, and in the range for which
  /// the file gives its lens; else a negative number.
  [[nodiscard]] double distance(double angle, Vec2& pixel) const {
    const double limit = camera.lens.limit;
    const bool isCalibrated =
        !(limit > 0) || (angle < std::numbers::pi / 2 && std::tan(angle) < limit);
    if (!isCalibrated || !tryPixel(camera, ray(angle), pixel)) return -1;
    const bool isInside = pixel[0] >= -0.5 && pixel[0] < camera.size->width - 0.5 &&
                          pixel[1] >= -0.5 && pixel[1] < camera.size->height - 0.5;
    return isInside ? std::hypot(pixel[0] - centre[0], pixel[1] - centre[1]) : -1;
  }

  /// The angle up to which positions move outwards within the image.
  [[nodiscard]] double range() const {
    constexpr double kDegree = std::numbers::pi / 180;
    constexpr double kCoarse = kDegree / 4;
    Vec2 pixel;
    double good = 0, last = 0;
    for (double angle = kCoarse; angle < 120 * kDegree; angle += kCoarse) {
      const double next = distance(angle, pixel);
      if (!(next > last)) break;
      good = angle;
      last = next;
    }
    for (double step = kCoarse / 2; step > 1e-9; step /= 2) {
      const double next = distance(good + step, pixel);
      if (!(next > last)) continue;
      good += step;
      last = next;
    }
    return good;
  }
};

}  // namespace

std::vector<Sample> sampleImage(const SourceCamera& camera) {
  std::vector<Sample> samples;
  Vec2 centre;
  if (!tryPixel(camera, {0, 0, 1}, centre)) return samples;
  samples.push_back({{0, 0, 1}, centre});
  for (int i = 0; i < kRadii; ++i) {
    const Radius radius{camera, 2 * std::numbers::pi * i / kRadii, centre};
    const double range = radius.range();
    for (int k = 1; k <= kSteps && range > 0; ++k) {
      Vec2 pixel;
      const double angle = range * k / kSteps;
      if (radius.distance(angle, pixel) < 0) continue;
      samples.push_back({radius.ray(angle), pixel});
    }
  }
  return samples;
}

Comparison compare(const std::vector<Sample>& samples, const CameraCalibrationZEL& ours,
                   const Place& place) {
  std::vector<double> rays;
  for (const Sample& sample : samples) {
    rays.insert(rays.end(), sample.ray.begin(), sample.ray.end());
  }
  std::vector<double> pixels(2 * samples.size());
  const int status =
      rectiline_rays_to_pixels(&ours, samples.size(), rays.data(), pixels.data(), nullptr);
  if (status != RECTILINE_OK) throwLibraryError(place);
  Comparison result;
  std::size_t outside = 0;
  for (std::size_t i = 0; i < samples.size(); ++i) {
    const double difference =
        std::hypot(pixels[2 * i] - samples[i].pixel[0], pixels[2 * i + 1] - samples[i].pixel[1]);
    if (std::isnan(difference)) {
      ++outside;
    } else {
      result.greatestDifference = std::max(result.greatestDifference, difference);
    }
  }
  if (outside == samples.size()) {
    throw FormatError(place, "a lens that sees something", "one without a ray in the image");
  }
  result.shareOutside = static_cast<double>(outside) / static_cast<double>(samples.size());
  return result;
}

double validRadius(const CameraCalibrationZEL& record, const Place& place) {
  rectiline_camera_certificate certificate{};
  certificate.struct_size = sizeof certificate;
  const int status = rectiline_certify_camera(&record, &certificate);
  if (status != RECTILINE_OK) throwLibraryError(place);
  return certificate.valid_radius;
}

std::vector<Sample> sampleRecord(const CameraCalibrationZEL& record, const Place& place) {
  const double range = std::atan(validRadius(record, place));
  std::vector<Sample> grid{{{0, 0, 1}, {}}};
  for (int i = 0; i < kRadii; ++i) {
    const double azimuth = 2 * std::numbers::pi * i / kRadii;
    for (int k = 1; k < 2 * kSteps; ++k) {
      const double angle = range * k / (2 * kSteps);
      const double sine = std::sin(angle);
      grid.push_back({{sine * std::cos(azimuth), sine * std::sin(azimuth), std::cos(angle)}, {}});
    }
  }
  std::vector<double> rays, pixels(2 * grid.size());
  std::vector<std::uint8_t> reasons(grid.size());
  for (const Sample& sample : grid) rays.insert(rays.end(), sample.ray.begin(), sample.ray.end());
  const int status =
      rectiline_rays_to_pixels(&record, grid.size(), rays.data(), pixels.data(), reasons.data());
  if (status != RECTILINE_OK) throwLibraryError(place);
  std::vector<Sample> inImage;
  for (std::size_t i = 0; i < grid.size(); ++i) {
    const bool isInImage =
        reasons[i] == RECTILINE_PIXEL_OK || reasons[i] == RECTILINE_PIXEL_OK_PAST_LAST_CENTRE;
    if (isInImage) inImage.push_back({grid[i].ray, {pixels[2 * i], pixels[2 * i + 1]}});
  }
  return inImage;
}

void throwLibraryError(const Place& place) {
  throw FormatError(place, "a camera that can be used", lastErrorText());
}

}  // namespace rectiline::formats
