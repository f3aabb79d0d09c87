#include "LensGuesses.h"

#include <algorithm>
#include <cmath>
#include <initializer_list>
#include <limits>

#include "Rows.h"

namespace rectiline::check {
namespace {

/// Numbers of models in records.
enum Model : std::int32_t { kLinear = 0, kRadial2 = 1, kRadial3 = 2, kRadial6 = 3, kFisheye4 = 5 };

/// Coefficients as records hold them.
constexpr int kP1 = 6;
constexpr int kP2 = 7;

CameraCalibrationZEL withLens(CameraCalibrationZEL camera, Model model,
                              std::initializer_list<double> radial, double p1 = 0, double p2 = 0) {
  IntrinsicCameraCalibrationZEL& in = camera.intrinsics;
  in.distortion_model = model;
  in.distortion_limit = in.undistortion_limit = 0;
  std::fill(std::begin(in.distortion), std::end(in.distortion), 0.0);
  std::copy(radial.begin(), radial.end(), in.distortion);
  in.distortion[kP1] = p1;
  in.distortion[kP2] = p2;
  return camera;
}

CameraCalibrationZEL bare(const CameraCalibrationZEL& camera) {
  return withLens(camera, kLinear, {});
}

CameraCalibrationZEL equidistant(const CameraCalibrationZEL& camera) {
  return withLens(camera, kFisheye4, {});
}

/// The coefficients keep their meaning as far as both kinds have it.
CameraCalibrationZEL radialToFisheye(const CameraCalibrationZEL& camera) {
  const double(&k)[8] = camera.intrinsics.distortion;
  return withLens(camera, kFisheye4, {k[0], k[1], k[2], k[3]}, k[kP1], k[kP2]);
}

CameraCalibrationZEL fisheyeToRadial(const CameraCalibrationZEL& camera) {
  const double(&k)[8] = camera.intrinsics.distortion;
  return withLens(camera, kRadial3, {k[0], k[1], k[2]}, k[kP1], k[kP2]);
}

/// Four numbers in a row are k1 k2 k3 k4 of a fisheye lens or k1 k2 p1 p2 of a radial one.
CameraCalibrationZEL fourToFisheye(const CameraCalibrationZEL& camera) {
  const double(&k)[8] = camera.intrinsics.distortion;
  return withLens(camera, kFisheye4, {k[0], k[1], k[kP1], k[kP2]});
}

CameraCalibrationZEL fourToRadial(const CameraCalibrationZEL& camera) {
  const double(&k)[8] = camera.intrinsics.distortion;
  return withLens(camera, kRadial2, {k[0], k[1]}, k[2], k[3]);
}

bool isPlain(const CameraCalibrationZEL& camera) {
  const auto& k = camera.intrinsics.distortion;
  return std::all_of(std::begin(k), std::end(k), [](double c) { return c == 0; });
}

/// A lens of two coefficients for both cameras.
struct Lens {
  Model model;
  double k[2];
};

CameraPair withLens(const CameraPair& cameras, const Lens& lens) {
  return {withLens(cameras.left, lens.model, {lens.k[0], lens.k[1]}),
          withLens(cameras.right, lens.model, {lens.k[0], lens.k[1]})};
}

constexpr double kFarthest = 8;  // pixels: an error above this counts as this one

/// The row errors with a lens; those that are unknown or great are kFarthest. Empty for a lens that
/// cannot be.
std::vector<double> errorsWith(const CameraPair& given, const Lens& lens,
                               std::span<const RawMatch> matches) {
  const std::optional<Frame> frame = Frame::tryMake(withLens(given, lens));
  std::vector<double> errors;
  if (!frame) return errors;
  for (const Row& row : placeMatches(*frame, matches)) {
    const bool known = std::fabs(row.error) < kFarthest;
    errors.push_back(known ? row.error : kFarthest);
  }
  return errors;
}

double costOf(const std::vector<double>& errors) {
  if (errors.empty()) return std::numeric_limits<double>::infinity();
  double cost = 0;
  for (const double e : errors) cost += std::fabs(e);
  return cost;
}

/// One Gauss-Newton step of least absolute errors, with differences for derivatives.
Lens stepFrom(const CameraPair& given, const Lens& lens, const std::vector<double>& errors,
              std::span<const RawMatch> matches) {
  constexpr double kDifference = 1e-3;
  constexpr double kSmall = 0.1;  // pixels: smaller errors weigh no more than this one
  std::vector<double> moved[2];
  for (int i = 0; i < 2; ++i) {
    Lens other = lens;
    other.k[i] += kDifference;
    moved[i] = errorsWith(given, other, matches);
    if (moved[i].empty()) return lens;
  }
  double xx = 1e-6, xy = 0, yy = 1e-6, xe = 0, ye = 0;
  for (std::size_t n = 0; n < errors.size(); ++n) {
    if (errors[n] == kFarthest || moved[0][n] == kFarthest || moved[1][n] == kFarthest) continue;
    const double x = (moved[0][n] - errors[n]) / kDifference;
    const double y = (moved[1][n] - errors[n]) / kDifference;
    const double weight = 1 / std::max(std::fabs(errors[n]), kSmall);
    xx += weight * x * x;
    xy += weight * x * y;
    yy += weight * y * y;
    xe += weight * x * errors[n];
    ye += weight * y * errors[n];
  }
  const double determinant = xx * yy - xy * xy;
  return {lens.model,
          {lens.k[0] - (yy * xe - xy * ye) / determinant,
           lens.k[1] - (xx * ye - xy * xe) / determinant}};
}

Lens fit(const CameraPair& given, Lens lens, std::span<const RawMatch> matches) {
  constexpr int kIterations = 12;
  constexpr int kHalvings = 5;
  std::vector<double> errors = errorsWith(given, lens, matches);
  for (int iteration = 0; iteration < kIterations && !errors.empty(); ++iteration) {
    Lens next = stepFrom(given, lens, errors, matches);
    std::vector<double> nextErrors = errorsWith(given, next, matches);
    for (int i = 0; i < kHalvings && !(costOf(nextErrors) < costOf(errors)); ++i) {
      for (int c = 0; c < 2; ++c) next.k[c] = (next.k[c] + lens.k[c]) / 2;
      nextErrors = errorsWith(given, next, matches);
    }
    if (!(costOf(nextErrors) < costOf(errors))) break;
    lens = next;
    errors = std::move(nextErrors);
  }
  return lens;
}

}  // namespace

std::vector<CameraPair> guessLenses(const CameraPair& given) {
  std::vector<CameraPair> guesses;
  const auto add = [&](auto change) {
    guesses.push_back({change(given.left), change(given.right)});
  };
  const bool plain = isPlain(given.left) && isPlain(given.right);
  const int model = given.left.intrinsics.distortion_model;
  if (!plain) add(bare);
  if (plain && model != kFisheye4) add(equidistant);
  if (!plain && (model == kRadial2 || model == kRadial3 || model == kRadial6)) {
    add(radialToFisheye);
    add(fourToFisheye);
  }
  if (!plain && model == kFisheye4) {
    add(fisheyeToRadial);
    add(fourToRadial);
  }
  return guesses;
}

std::vector<CameraPair> fitLenses(const CameraPair& given, std::span<const RawMatch> matches) {
  if (!isPlain(given.left) || !isPlain(given.right)) return {};
  std::vector<CameraPair> fitted;
  for (const Model model : {kRadial2, kFisheye4}) {
    fitted.push_back(withLens(given, fit(given, {model, {0, 0}}, matches)));
  }
  return fitted;
}

}  // namespace rectiline::check
