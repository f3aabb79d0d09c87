#include "AR/CV/Camera/Hermite.h"

#include <algorithm>
#include <cmath>
#include <limits>

#include "AR/Common/Logger.h"
#include "AR/Common/Macros.h"

namespace AR::CV {
namespace {

using AR::Common::Logger;

constexpr char kSource[] = "CV/src/../include/AR/CV/Camera/Hermite";
constexpr std::size_t INIT_BINS = 1;
// Room for a fit from the start; the factors of most lenses need no more.
constexpr std::size_t kUsualBins = 32;

// std::max would lose a NaN or keep it, depending on the order of its arguments.
template <typename P>
P largerOrNaN(P a, P b) {
  return a >= b || std::isnan(a) ? a : b;
}

/// The cubic in powers of x - x0 that has these values and slopes at x0 and at x0 + 1 / s.
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

/// Puts one item of `between` between every two of `all`.
template <typename SAMPLE>
void interleave(std::vector<SAMPLE>& all, const std::vector<SAMPLE>& between) {
  all.resize(all.size() + between.size());
  for (std::size_t i = between.size(); i > 0; --i) {
    all[2 * i] = all[i];
    all[2 * i - 1] = between[i - 1];
  }
}

/// Samples fn at argument(0), argument(1), ..., into all of `samples`.
template <typename P, typename SAMPLE, typename FUNCTION, typename ARGUMENT>
void sampleAt(const FUNCTION& fn, const ARGUMENT& argument, std::span<SAMPLE> samples) {
  P x[kSamplesAtOnce];
  for (std::size_t first = 0; first < samples.size(); first += kSamplesAtOnce) {
    const std::size_t count = std::min(kSamplesAtOnce, samples.size() - first);
    for (std::size_t i = 0; i < count; ++i) x[i] = argument(first + i);
    fn({x, count}, samples.subspan(first, count));
  }
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
void HermiteSplineInterpolation<P>::sampleRightEnds(const Function& fn, std::size_t bins,
                                                    std::size_t stride, std::size_t first,
                                                    std::vector<ResultAndDeriv>& samples) const {
  const P h = (rangeMax - rangeMin) / static_cast<P>(bins);
  samples.resize(first + (bins - 1) / stride + 1);
  sampleAt<P>(
      fn, [&](std::size_t i) { return rangeMin + static_cast<P>(i * stride) * h + h; },
      Samples(samples).subspan(first));
}

template <typename P>
void HermiteSplineInterpolation<P>::setupHermiteCoeffsInt(const Function& fn, std::size_t bins,
                                                          std::vector<ResultAndDeriv>& samples) {
  if (2 * samples.size() == bins + 2) {
    std::vector<ResultAndDeriv> between;
    sampleRightEnds(fn, bins, 2, 0, between);
    interleave(samples, between);
  } else if (samples.size() != bins + 1) {
    samples.resize(1);
    fn({&rangeMin, 1}, samples);
    sampleRightEnds(fn, bins, 1, 1, samples);
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
auto HermiteSplineInterpolation<P>::testAccuracy(const Function& fn, bool scaleErrorByRadius,
                                                 std::size_t firstBin, std::size_t endBin,
                                                 std::vector<ResultAndDeriv>& truths) const
    -> FitErrors {
  const P h = (rangeMax - rangeMin) / static_cast<P>(coeffs.size());
  const auto middle = [&](std::size_t i) { return coeffs[firstBin + i].x0 + h / 2; };
  truths.resize(std::max(firstBin, endBin) - firstBin);
  sampleAt<P>(fn, middle, Samples(truths));
  const bool verbose = isVerbose();
  FitErrors errors;
  for (std::size_t i = 0; i < truths.size(); ++i) {
    const P x = middle(i);
    const P truth = truths[i].value;
    P spline = std::numeric_limits<P>::quiet_NaN();
    // The report of evaluate() is for a spline that is not fitted; the others need no call.
    AR::Common::assertSuccess(isInit() ? tryEvaluate(x, spline) : evaluate(x, spline));
    errors.beforeLast = largerOrNaN(errors.beforeLast, errors.last);
    errors.last = std::abs(truth - spline) * (scaleErrorByRadius ? std::sqrt(x) : P(1));
    if (verbose) {
      AR_LOGF(Logger::VERBOSE, kSource, "Hermite approximation errors:\t%f\t%f\t%f\t%f",
              static_cast<double>(x), static_cast<double>(spline), static_cast<double>(truth),
              static_cast<double>(errors.last));
    }
  }
  return errors;
}

template <typename P>
P HermiteSplineInterpolation<P>::testAccuracy(const Function& fn, bool scaleErrorByRadius,
                                              std::size_t firstBin, std::size_t endBin) const {
  std::vector<ResultAndDeriv> truths;
  const FitErrors errors =
      testAccuracy(fn, scaleErrorByRadius, firstBin, std::min(endBin, coeffs.size()), truths);
  return largerOrNaN(errors.beforeLast, errors.last);
}

// A pole or a turn just beyond the range spoils the last bin alone: rather a little less range than
// a bad table. Not as long as another doubling may help, nor when the last bin is good.
template <typename P>
P HermiteSplineInterpolation<P>::trimmedError(const FitErrors& errors, std::size_t MAX_BINS,
                                              P eps) {
  const bool isRefined = 2 * coeffs.size() <= MAX_BINS && errors.beforeLast >= eps;
  if (isRefined || errors.last < eps) {
    return largerOrNaN(errors.beforeLast, errors.last);
  }
  rangeMax = coeffs.back().x0;
  coeffs.pop_back();
  return errors.beforeLast;
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
  coeffs.reserve(kUsualBins);
  samples.reserve(kUsualBins + 1);
  truths.reserve(kUsualBins);
  for (std::size_t bins = INIT_BINS;; bins *= 2) {
    setupHermiteCoeffsInt(fn, bins, samples);
    const FitErrors errors = testAccuracy(fn, scaleErrorByRadius, 0, bins, truths);
    const P err = bins < minBinsForTrim ? largerOrNaN(errors.beforeLast, errors.last)
                                        : trimmedError(errors, MAX_BINS, eps);
    if (!(err >= eps && bins * 2 <= MAX_BINS)) {
      return err;
    }
    // The middles of these bins are the new knots of the next fit.
    interleave(samples, truths);
  }
}

template class HermiteSplineInterpolation<float>;
template class HermiteSplineInterpolation<double>;

}  // namespace AR::CV
