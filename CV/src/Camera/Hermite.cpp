#include "AR/CV/Camera/Hermite.h"

#include <algorithm>
#include <cmath>
#include <limits>
#include <numeric>

#include "AR/Common/Logger.h"
#include "AR/Common/Macros.h"

namespace AR::CV {
namespace {

using AR::Common::Logger;

constexpr char kSource[] = "CV/src/../include/AR/CV/Camera/Hermite";
constexpr std::size_t INIT_BINS = 1;

// std::max would lose a NaN or keep it, depending on the order of its arguments.
template <typename P>
P largerOrNaN(P a, P b) {
  return a >= b || std::isnan(a) ? a : b;
}

template <typename SAMPLE, typename COEFFS, typename P>
COEFFS cubicThrough(const SAMPLE& left, const SAMPLE& right, P x0, P s) {
  const P vL = left.value;
  const P dL = left.deriv;
  const P vR = right.value;
  const P dR = right.deriv;
  return {.c0 = vL,
          .c1 = dL,
          .c2 = 3 * s * s * (vR - vL) - 2 * s * dL - s * dR,
          .c3 = -2 * s * s * s * (vR - vL) + s * s * (dL + dR),
          .x0 = x0};
}

bool isVerbose() { return Logger::VERBOSE <= Logger::getInstance().getLevel(); }

template <typename P>
P largest(std::span<const P> errors) {
  return std::accumulate(errors.begin(), errors.end(), P(0), largerOrNaN<P>);
}

/// a[0], b[0], a[1], b[1], ... a.back(); `a` has one item more than `b`.
template <typename SAMPLE>
std::vector<SAMPLE> interleave(const std::vector<SAMPLE>& a, const std::vector<SAMPLE>& b) {
  std::vector<SAMPLE> both;
  both.reserve(a.size() + b.size());
  for (std::size_t i = 0; i < b.size(); ++i) {
    both.push_back(a[i]);
    both.push_back(b[i]);
  }
  both.push_back(a.back());
  return both;
}

}  // namespace

template <typename P>
bool HermiteSplineInterpolation<P>::evaluate(P x, P& out) const {
  if (!AR_CHECK(isInit(), "isInit()", kSource)) [[unlikely]] {
    AR_LOG(Logger::ERR, kSource, "HermiteSplineInterpolation::Evaluate() - not initialized");
  }
  return tryEvaluate(x, out);
}

template <typename P>
P HermiteSplineInterpolation<P>::evaluateClamped(P x) const {
  return coeffs.empty() ? std::numeric_limits<P>::quiet_NaN() : coeffs[binAt(x)].valueAt(x);
}

template <typename P>
void HermiteSplineInterpolation<P>::evaluateClamped(Arguments x, P* out) const {
  if (coeffs.empty()) {
    std::fill_n(out, x.size(), std::numeric_limits<P>::quiet_NaN());
    return;
  }
  for (std::size_t i = 0; i < x.size(); ++i) {
    out[i] = coeffs[binAt(x[i])].valueAt(x[i]);
  }
}

template <typename P>
std::vector<P> HermiteSplineInterpolation<P>::rightEnds(std::size_t bins,
                                                        std::size_t stride) const {
  const P h = (rangeMax - rangeMin) / static_cast<P>(bins);
  std::vector<P> x;
  x.reserve(bins);
  for (std::size_t i = 0; i < bins; i += stride) {
    x.push_back(rangeMin + static_cast<P>(i) * h + h);
  }
  return x;
}

template <typename P>
void HermiteSplineInterpolation<P>::setupHermiteCoeffsInt(const Function& fn, std::size_t bins,
                                                          std::vector<ResultAndDeriv>& samples) {
  if (2 * samples.size() == bins + 2) {
    samples = interleave(samples, fn(rightEnds(bins, 2)));
  } else if (samples.size() != bins + 1) {
    samples = fn({&rangeMin, 1});
    const std::vector<ResultAndDeriv> others = fn(rightEnds(bins, 1));
    samples.insert(samples.end(), others.begin(), others.end());
  }

  const P h = (rangeMax - rangeMin) / static_cast<P>(bins);
  const bool verbose = isVerbose();
  coeffs.resize(bins);
  invBinWidth = 1 / h;
  for (std::size_t i = 0; i < bins; ++i) {
    const ResultAndDeriv& left = samples[i];
    const ResultAndDeriv& right = samples[i + 1];
    if (verbose) {
      AR_LOGF(Logger::VERBOSE, kSource, "Hermite approximation v0:%e v0.d:%e v1:%e v1.d:%e",
              static_cast<double>(left.value), static_cast<double>(left.deriv),
              static_cast<double>(right.value), static_cast<double>(right.deriv));
    }
    const P x0 = rangeMin + static_cast<P>(i) * h;
    coeffs[i] = cubicThrough<ResultAndDeriv, Coeffs>(left, right, x0, invBinWidth);
  }
  static_cast<void>(AR_CHECK(isInit(), "isInit()", kSource));
}

template <typename P>
std::vector<P> HermiteSplineInterpolation<P>::testAccuracy(
    const Function& fn, bool scaleErrorByRadius, std::size_t firstBin, std::size_t endBin,
    std::vector<ResultAndDeriv>& truths) const {
  const P h = (rangeMax - rangeMin) / static_cast<P>(coeffs.size());
  std::vector<P> x;
  for (std::size_t i = firstBin; i < endBin; ++i) x.push_back(coeffs[i].x0 + h / 2);
  truths = fn(x);
  const bool verbose = isVerbose();
  std::vector<P> errors(x.size());
  for (std::size_t i = 0; i < x.size(); ++i) {
    const P truth = truths[i].value;
    P spline = std::numeric_limits<P>::quiet_NaN();
    AR::Common::assertSuccess(evaluate(x[i], spline));
    errors[i] = std::abs(truth - spline) * (scaleErrorByRadius ? std::sqrt(x[i]) : P(1));
    if (verbose) {
      AR_LOGF(Logger::VERBOSE, kSource, "Hermite approximation errors:\t%f\t%f\t%f\t%f",
              static_cast<double>(x[i]), static_cast<double>(spline), static_cast<double>(truth),
              static_cast<double>(errors[i]));
    }
  }
  return errors;
}

template <typename P>
P HermiteSplineInterpolation<P>::testAccuracy(const Function& fn, bool scaleErrorByRadius,
                                              std::size_t firstBin, std::size_t endBin) const {
  std::vector<ResultAndDeriv> truths;
  return largest<P>(
      testAccuracy(fn, scaleErrorByRadius, firstBin, std::min(endBin, coeffs.size()), truths));
}

// A pole or a turn just beyond the range spoils the last bin alone: rather a little less range than
// a bad table. Not as long as another doubling may help, nor when the last bin is good.
template <typename P>
P HermiteSplineInterpolation<P>::trimmedError(std::span<const P> errors, std::size_t MAX_BINS,
                                              P eps) {
  const std::size_t bins = coeffs.size();
  const P err = largest(errors.first(bins - 1));
  const P errLast = errors.back();
  const bool isRefined = 2 * bins <= MAX_BINS && err >= eps;
  if (isRefined || errLast < eps) {
    return largerOrNaN(err, errLast);
  }
  rangeMax = coeffs.back().x0;
  coeffs.pop_back();
  return err;
}

template <typename P>
P HermiteSplineInterpolation<P>::setupHermiteCoeffs(const Function& fn,
                                                    const AR::Math::Vec<P, 2>& rangeForApprox,
                                                    bool scaleErrorByRadius, std::size_t MAX_BINS,
                                                    P eps, std::size_t minBinsForTrim) {
  *this = {};
  const P width = rangeForApprox(1) - rangeForApprox(0);
  const bool hasRange = AR_CHECK(width > 0, "rangeForApprox(1) > rangeForApprox(0)", kSource);
  const bool hasBins = AR_CHECK(MAX_BINS >= INIT_BINS, "MAX_BINS >= INIT_BINS", kSource);
  static_cast<void>(AR_CHECK(eps > 0, "eps > 0", kSource));
  if (!hasRange || !hasBins || !std::isfinite(width)) {
    return std::numeric_limits<P>::infinity();
  }

  rangeMin = rangeForApprox(0);
  rangeMax = rangeForApprox(1);
  const P err = refine(fn, scaleErrorByRadius, MAX_BINS, eps, minBinsForTrim);
  AR_LOGF(Logger::DEBUG, kSource,
          "Fitted Hermite spline with %zu bins, maximum approximation error %f", coeffs.size(),
          static_cast<double>(err));
  return err;
}

template <typename P>
P HermiteSplineInterpolation<P>::refine(const Function& fn, bool scaleErrorByRadius,
                                        std::size_t MAX_BINS, P eps, std::size_t minBinsForTrim) {
  std::vector<ResultAndDeriv> samples;
  std::vector<ResultAndDeriv> truths;
  for (std::size_t bins = INIT_BINS;; bins *= 2) {
    setupHermiteCoeffsInt(fn, bins, samples);
    const std::vector<P> errors = testAccuracy(fn, scaleErrorByRadius, 0, bins, truths);
    const P err = bins < minBinsForTrim ? largest<P>(errors) : trimmedError(errors, MAX_BINS, eps);
    if (!(err >= eps && bins * 2 <= MAX_BINS)) {
      return err;
    }
    // The middles of these bins are the new knots of the next fit.
    samples = interleave(samples, truths);
  }
}

template class HermiteSplineInterpolation<float>;
template class HermiteSplineInterpolation<double>;

}  // namespace AR::CV
