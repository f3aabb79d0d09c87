// Least squares over the pixels of all samples, by Levenberg's and Marquardt's method with
// differences for derivatives.

#include "Fit.h"

#include <algorithm>
#include <cmath>
#include <limits>

#include "Conventions.h"

namespace rectiline::formats {
namespace {

using Vector = std::vector<double>;

/// A symmetric matrix, row by row, and the right side of normal equations.
struct NormalEquations {
  std::size_t size;
  Vector A, b;
};

/// Cholesky's decomposition with `damping` times the diagonal added to it. False when the matrix is
/// not positive.
bool trySolve(NormalEquations equations, double damping, Vector& x) {
  auto& [n, A, b] = equations;
  for (std::size_t i = 0; i < n; ++i) A[i * n + i] *= 1 + damping;
  for (std::size_t i = 0; i < n; ++i) {
    for (std::size_t j = 0; j <= i; ++j) {
      double sum = A[i * n + j];
      for (std::size_t k = 0; k < j; ++k) sum -= A[i * n + k] * A[j * n + k];
      if (i == j && !(sum > 0)) return false;
      A[i * n + j] = i == j ? std::sqrt(sum) : sum / A[j * n + j];
    }
  }
  x = b;
  for (std::size_t i = 0; i < n; ++i) {
    for (std::size_t k = 0; k < i; ++k) x[i] -= A[i * n + k] * x[k];
    x[i] /= A[i * n + i];
  }
  for (std::size_t i = n; i-- > 0;) {
    for (std::size_t k = i + 1; k < n; ++k) x[i] -= A[k * n + i] * x[k];
    x[i] /= A[i * n + i];
  }
  return true;
}

class Fitter {
 public:
  Fitter(const FitCandidate& candidate, const std::vector<Sample>& samples, LensParameters start)
      : mCandidate(candidate), mSamples(samples), mLens(start) {}

  [[nodiscard]] LensParameters run() {
    constexpr int kSteps = 60;
    double damping = 1e-3;
    double cost = costOf(mLens);
    for (int step = 0; step < kSteps && damping < 1e12; ++step) {
      Vector change;
      LensParameters next = mLens;
      if (trySolve(normalEquations(), damping, change)) {
        Vector values = parameters(mLens, mCandidate.free);
        for (std::size_t i = 0; i < values.size(); ++i) values[i] += change[i];
        setParameters(next, mCandidate.free, values);
      }
      const double nextCost = costOf(next);
      if (nextCost < cost) {
        mLens = next;
        cost = nextCost;
        damping = std::max(damping / 10, 1e-14);
      } else {
        damping *= 10;
      }
    }
    return mLens;
  }

 private:
  /// The pixel by the library's formula; far away where it has none.
  [[nodiscard]] Vec2 pixelOf(const LensParameters& lens, const Vec3& ray) const {
    constexpr Vec2 kFar{1e6, 1e6};
    Vec2 p;
    if (!mCandidate.model->tryProject(lens, ray, p)) return kFar;
    if (mCandidate.model == &kKannalaBrandt) {
      // The library has tangential terms with every model, of the ideal point.
      const double x = ray[0] / ray[2], y = ray[1] / ray[2], r2 = x * x + y * y;
      p[0] += 2 * lens.p1 * x * y + lens.p2 * (r2 + 2 * x * x);
      p[1] += lens.p1 * (r2 + 2 * y * y) + 2 * lens.p2 * x * y;
    }
    return {lens.cx + lens.fx * p[0], lens.cy + lens.fy * p[1]};
  }

  [[nodiscard]] double costOf(const LensParameters& lens) const {
    double cost = 0;
    for (const Sample& sample : mSamples) {
      const Vec2 pixel = pixelOf(lens, sample.ray);
      const double du = pixel[0] - sample.pixel[0], dv = pixel[1] - sample.pixel[1];
      cost += du * du + dv * dv;
    }
    return cost;
  }

  [[nodiscard]] NormalEquations normalEquations() const {
    const Vector values = parameters(mLens, mCandidate.free);
    const std::size_t n = values.size();
    std::vector<LensParameters> up(n, mLens), down(n, mLens);
    Vector steps(n);
    for (std::size_t i = 0; i < n; ++i) {
      steps[i] = 1e-6 * std::max(1.0, std::fabs(values[i]));
      Vector moved = values;
      moved[i] += steps[i];
      setParameters(up[i], mCandidate.free, moved);
      moved[i] -= 2 * steps[i];
      setParameters(down[i], mCandidate.free, moved);
    }
    NormalEquations equations{n, Vector(n * n), Vector(n)};
    Vector Ju(n), Jv(n);
    for (const Sample& sample : mSamples) {
      const Vec2 pixel = pixelOf(mLens, sample.ray);
      const double du = sample.pixel[0] - pixel[0], dv = sample.pixel[1] - pixel[1];
      for (std::size_t i = 0; i < n; ++i) {
        const Vec2 above = pixelOf(up[i], sample.ray), below = pixelOf(down[i], sample.ray);
        Ju[i] = (above[0] - below[0]) / (2 * steps[i]);
        Jv[i] = (above[1] - below[1]) / (2 * steps[i]);
        equations.b[i] += Ju[i] * du + Jv[i] * dv;
        for (std::size_t j = 0; j <= i; ++j)
          equations.A[i * n + j] += Ju[i] * Ju[j] + Jv[i] * Jv[j];
      }
    }
    return equations;
  }

  const FitCandidate& mCandidate;
  const std::vector<Sample>& mSamples;
  LensParameters mLens;
};

/// The focal length along an axis, from the sample nearest to the centre in that direction.
double focalLength(const std::vector<Sample>& samples, std::size_t axis) {
  const Vec2& centre = samples.front().pixel;
  double least = std::numeric_limits<double>::infinity();
  double result = 1;
  for (const Sample& sample : samples) {
    const double along = sample.ray[axis] / sample.ray[2];
    const bool isAlong = std::fabs(sample.ray[axis]) > std::fabs(sample.ray[1 - axis]);
    if (!isAlong || !(std::fabs(along) < least)) continue;
    least = std::fabs(along);
    result = (sample.pixel[axis] - centre[axis]) / along;
  }
  return result;
}

LensParameters startOf(const std::vector<Sample>& samples, const LensParameters& coefficients,
                       const FitCandidate& candidate) {
  LensParameters start;
  if (candidate.model == &kBrownConrady) {
    setParameters(start, candidate.free, parameters(coefficients, candidate.free));
  }
  start.fx = focalLength(samples, 0);
  start.fy = focalLength(samples, 1);
  start.cx = samples.front().pixel[0];
  start.cy = samples.front().pixel[1];
  return start;
}

CameraCalibrationZEL recordOf(const FitCandidate& candidate, const LensParameters& lens,
                              CameraCalibrationZEL record) {
  IntrinsicCameraCalibrationZEL& in = record.intrinsics;
  std::fill(std::begin(in.distortion), std::end(in.distortion), 0);
  (void)candidate.model->convert(lens, in);
  in.distortion[6] = lens.p1;
  in.distortion[7] = lens.p2;
  in.focal_length_x = lens.fx;
  in.focal_length_y = lens.fy;
  in.principal_point_x = lens.cx;
  in.principal_point_y = lens.cy;
  return record;
}

/// What the library sees of a wide lens: rays up to about this radius of its plane.
std::vector<Sample> inReach(const std::vector<Sample>& samples) {
  constexpr double kRadius = 12;
  std::vector<Sample> result;
  std::copy_if(samples.begin(), samples.end(), std::back_inserter(result), [](const Sample& s) {
    return s.ray[2] > 0 && std::hypot(s.ray[0], s.ray[1]) < kRadius * s.ray[2];
  });
  return result;
}

}  // namespace

// FISHEYE_4 first: it follows every lens that is not of Brown's family. Tangential terms grow with
// the squared radius of the ideal plane: wide lenses are better off without.
const std::vector<FitCandidate>& libraryCandidates() {
  static const std::vector<FitCandidate> list{
      {&kKannalaBrandt, "fx fy cx cy k1 k2 k3 k4"},
      {&kKannalaBrandt, "fx fy cx cy k1 k2 k3 k4 p1 p2"},
      {&kBrownConrady, "fx fy cx cy k1 k2 k3 p1 p2"},
      {&kBrownConrady, "fx fy cx cy k1 k2 k3 k4 k5 k6 p1 p2"},
  };
  return list;
}

Comparison fitLens(const std::vector<Sample>& samples, const std::vector<FitCandidate>& candidates,
                   const LensParameters& start, const Place& place, CameraCalibrationZEL& record) {
  const std::vector<Sample> fitted = inReach(samples);
  Comparison best;
  best.greatestDifference = std::numeric_limits<double>::infinity();
  CameraCalibrationZEL bestRecord = record;
  for (const FitCandidate& candidate : candidates) {
    if (best.greatestDifference <= kGreatestDifference) break;
    if (fitted.empty()) break;
    const LensParameters lens = Fitter(candidate, fitted, startOf(fitted, start, candidate)).run();
    const CameraCalibrationZEL trial = recordOf(candidate, lens, record);
    try {
      // Of all samples, so that what the fit cannot reach is told.
      const Comparison comparison = compare(samples, trial, place);
      const Comparison reached = compare(fitted, trial, place);
      const bool isWhole = reached.shareOutside < 0.02;
      if (isWhole && comparison.greatestDifference < best.greatestDifference) {
        best = comparison;
        bestRecord = trial;
      }
    } catch (const FormatError&) {
      continue;  // the library refuses these coefficients; another candidate may do
    }
  }
  if (!std::isfinite(best.greatestDifference)) {
    throw FormatError(place, "a lens that another model can be fitted to", "one that none follows");
  }
  record = bestRecord;
  return best;
}

}  // namespace rectiline::formats
