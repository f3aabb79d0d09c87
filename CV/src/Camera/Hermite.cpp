#include "AR/CV/Camera/Hermite.h"

#include <algorithm>
#include <cmath>
#include <limits>
#include <utility>

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

template <typename SAMPLE>
void logEnds(const SAMPLE& left, const SAMPLE& right) {
  AR_LOGF(Logger::VERBOSE, kSource, "Hermite approximation v0:%e v0.d:%e v1:%e v1.d:%e",
          static_cast<double>(left.value), static_cast<double>(left.deriv),
          static_cast<double>(right.value), static_cast<double>(right.deriv));
}

}  // namespace

template <typename P>
void HermiteSplineInterpolation<P>::reportNotInitialized() const {
  static_cast<void>(AR_CHECK(isInit(), "isInit()", kSource));
  AR_LOG(Logger::ERR, kSource, "HermiteSplineInterpolation::Evaluate() - not initialized");
}

template <typename P>
P HermiteSplineInterpolation<P>::evaluateClamped(P x) const {
  return coeffs.empty() ? std::numeric_limits<P>::quiet_NaN() : coeffs[binAt(x)].valueAt(x);
}

template <typename P>
void HermiteSplineInterpolation<P>::setupHermiteCoeffsInt(const Function& fn, std::size_t bins,
                                                          std::vector<ResultAndDeriv>& samples) {
  const P h = (rangeMax - rangeMin) / static_cast<P>(bins);
  const bool isDoubling = 2 * samples.size() == bins + 2;
  const auto sampleAt = [&](std::size_t knot, P x) {
    return isDoubling && knot % 2 == 0 ? samples[knot / 2] : fn(x);
  };

  std::vector<ResultAndDeriv> newSamples(bins + 1);
  coeffs.resize(bins);
  invBinWidth = 1 / h;
  newSamples[0] = sampleAt(0, rangeMin);
  for (std::size_t i = 0; i < bins; ++i) {
    const P x = rangeMin + static_cast<P>(i) * h;
    newSamples[i + 1] = sampleAt(i + 1, x + h);
    logEnds(newSamples[i], newSamples[i + 1]);
    coeffs[i] =
        cubicThrough<ResultAndDeriv, Coeffs>(newSamples[i], newSamples[i + 1], x, invBinWidth);
  }
  samples = std::move(newSamples);
  static_cast<void>(AR_CHECK(isInit(), "isInit()", kSource));
}

template <typename P>
P HermiteSplineInterpolation<P>::errorAtMidpoint(const Function& fn, bool scaleErrorByRadius,
                                                 const Coeffs& bin) const {
  const P x = bin.x0 + P(0.5) / invBinWidth;
  P spline = std::numeric_limits<P>::quiet_NaN();
  AR::Common::assertSuccess(evaluate(x, spline));
  const P truth = fn(x).value;
  const P scale = scaleErrorByRadius ? std::sqrt(x) : P(1);
  const P err = std::abs(truth - spline) * scale;
  AR_LOGF(Logger::VERBOSE, kSource, "Hermite approximation errors:\t%f\t%f\t%f\t%f",
          static_cast<double>(x), static_cast<double>(spline), static_cast<double>(truth),
          static_cast<double>(err));
  return err;
}

template <typename P>
P HermiteSplineInterpolation<P>::testAccuracy(const Function& fn, bool scaleErrorByRadius,
                                              std::size_t firstBin, std::size_t endBin) const {
  P largest = 0;
  for (std::size_t i = firstBin; i < std::min(endBin, coeffs.size()); ++i) {
    largest = largerOrNaN(largest, errorAtMidpoint(fn, scaleErrorByRadius, coeffs[i]));
  }
  return largest;
}

template <typename P>
P HermiteSplineInterpolation<P>::trimmedError(const Function& fn, bool scaleErrorByRadius,
                                              std::size_t MAX_BINS, P eps) {
  const std::size_t bins = coeffs.size();
  const P err = testAccuracy(fn, scaleErrorByRadius, 0, bins - 1);
  const P errLast = testAccuracy(fn, scaleErrorByRadius, bins - 1, bins);
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
  for (std::size_t bins = INIT_BINS;; bins *= 2) {
    setupHermiteCoeffsInt(fn, bins, samples);
    const P err = bins < minBinsForTrim ? testAccuracy(fn, scaleErrorByRadius, 0, bins)
                                        : trimmedError(fn, scaleErrorByRadius, MAX_BINS, eps);
    if (!(err >= eps && bins * 2 <= MAX_BINS)) {
      return err;
    }
  }
}

template class HermiteSplineInterpolation<float>;
template class HermiteSplineInterpolation<double>;

}  // namespace AR::CV
