// Maps of random cameras at random poses: every instruction set against the plain form, and the
// plain form, in single precision, against the lenses' formulas in double.

#include <cstdio>
#include <optional>

#include "../acceptance/LibraryCamera.h"
#include "../acceptance/MapAgreement.h"
#include "AR/CV/Camera/PinholeModel.h"
#include "AR/Math/SO3.h"
#include "Finding.h"
#include "FuzzInput.h"
#include "Records.h"
#include "VIO/quality/CameraCertificate.h"

namespace {

using namespace rectiline::acceptance;
using namespace rectiline::fuzz;
using AR::CV::Camera;
using AR::CV::DepthRule;
using AR::CV::TargetProjection;
using AR::CV::TargetView;
using Mat3 = AR::Math::Mat<float, 3, 3>;
using Vec3 = AR::Math::Vec<float, 3>;
using Vec3d = AR::Math::Vec<double, 3>;

std::optional<Camera<float>> usableCameraFrom(FuzzInput& input) {
  Camera<float> camera;
  const CamModel::CameraModel<float> model(intrinsicsFrom(input, 700));
  if (!camera.init(model)) return std::nullopt;
  return camera;
}

Mat3 turnFrom(FuzzInput& input) {
  const double largest = input.once(4) ? 3 : 0.4;
  Vec3 w;
  for (std::size_t i = 0; i < 3; ++i) w(i) = static_cast<float>(input.between(-largest, largest));
  return AR::Math::SO3<float>::exp(w).matrix();
}

TargetView viewFrom(FuzzInput& input, int width, int height) {
  TargetView view;
  view.projection = input.flip() ? TargetProjection::LatitudeLongitude : TargetProjection::Pinhole;
  view.baselineAxis = input.from(0, 1);
  view.width = width;
  view.height = height;
  view.fx = view.fy = input.between(10, 400);
  view.cx = width * input.between(0, 1);
  view.cy = height * input.between(0, 1);
  return view;
}

/// What every job of a run is varied by.
struct Wishes {
  explicit Wishes(FuzzInput& input)
      : rule(input.flip() ? DepthRule::NonZero : DepthRule::InFront), keepOutside(input.flip()) {
    if (!input.once(4)) return;
    for (std::size_t i = 0; i < 3; ++i) offset(i) = static_cast<float>(input.between(-0.5, 0.5));
  }

  DepthRule rule;
  bool keepOutside;
  Vec3 offset{0, 0, 0};
};

void expectVectorFormsAgree(const Job& job, int width, int height) {
  forEachVectorForm(job, width, height, [&](const Maps& plain, const Maps& maps) {
    const std::string difference = disagreement(job, plain, maps);
    if (!difference.empty()) std::fprintf(stderr, "%s\n", difference.c_str());
    FUZZ_EXPECT(difference.empty());
  });
}

/// The greatest distance that a position may have from its formula's, in pixels: what the camera is
/// certified to be off by, and what the ray's rounding in single precision makes of it.
struct Bound {
  explicit Bound(const Camera<float>& camera) : exact(camera.toIDL()) {
    VIO::CameraCertificate certificate{};
    FUZZ_EXPECT(VIO::certifyCamera(exact.in, certificate));
    constexpr double kBetweenSamples = 1.1;  // of the certificate
    table = 0.001 + kBetweenSamples * certificate.maxDistortionError;
  }

  /// Of the ideal point (x, y), each of which rounding may have moved by `reach`.
  [[nodiscard]] double at(double x, double y, double reach) const {
    const rectiline::testing::Point2 p = exact.pixel(x, y);
    return table + exact.distance(x + reach, y, p.x, p.y) + exact.distance(x, y + reach, p.x, p.y);
  }

  ExactModel exact;
  double table;
};

void expectFormulas(const Job& job, const TargetView& view, const Bound& bound) {
  const Maps maps = plainMaps(job, view.width, view.height);
  for (std::size_t i = 0; i < maps.count(); ++i) {
    if (!maps.hasSource(i)) continue;
    const auto column = static_cast<double>(static_cast<int>(i) % view.width);
    const auto row = static_cast<double>(static_cast<int>(i) / view.width);
    Vec3d ray_t;
    FUZZ_EXPECT(view.tryRay({column, row}, ray_t));
    const Vec3d ray_s = job.R_st.cast<double>() * ray_t + job.offset_s.cast<double>();
    const double x = ray_s(0) / ray_s(2), y = ray_s(1) / ray_s(2);
    constexpr double kRounding = 0x1p-21;  // a few operations in single precision
    const double terms = AR::Math::norm(ray_t) + AR::Math::norm(job.offset_s.cast<double>());
    const double reach = kRounding * terms / std::fabs(ray_s(2)) * (1 + std::hypot(x, y));
    const double limit = bound.at(x, y, reach);
    const double distance =
        bound.exact.distance(x, y, static_cast<double>(maps.X[i]), static_cast<double>(maps.Y[i]));
    if (!(distance <= limit)) {
      std::fprintf(stderr, "(%g, %g): %g pixels from the formula, bound %g\n", column, row,
                   distance, limit);
    }
    FUZZ_EXPECT(distance <= limit);
  }
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  FuzzInput input(data, size);
  const std::optional<Camera<float>> source = usableCameraFrom(input);
  if (!source) return 0;
  const int width = input.from(1, 90), height = input.from(1, 12);
  const Mat3 R_st = turnFrom(input);
  const Wishes wishes(input);
  const auto adjusted = [&](Job job) {
    job.offset_s = wishes.offset;
    return job;
  };
  if (input.flip()) {
    const std::optional<Camera<float>> target = usableCameraFrom(input);
    if (!target) return 0;
    expectVectorFormsAgree(adjusted({*source, *target, R_st, wishes.rule, wishes.keepOutside}),
                           width, height);
    return 0;
  }
  const TargetView view = viewFrom(input, width, height);
  const Job job = adjusted({*source, view, R_st, wishes.rule, wishes.keepOutside});
  expectVectorFormsAgree(job, width, height);
  expectFormulas(job, view, Bound(*source));
  return 0;
}
