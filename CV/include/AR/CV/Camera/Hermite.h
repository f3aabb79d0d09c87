#pragma once

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <functional>
#include <span>
#include <type_traits>
#include <utility>
#include <vector>

#include "AR/Common/Macros.h"
#include "AR/Math/Vector.h"

namespace AR::CV {

/// The most arguments that a spline's function is sampled at in one call.
inline constexpr std::size_t kSamplesAtOnce = 64;

/// A function of one variable as a piecewise cubic over uniform bins, fitted so that value and
/// slope agree with the function at every knot. The interval is half open: rangeMax is outside.
/// Fitting and copying throw std::bad_alloc.
template <typename P>
class AR_EXPORT HermiteSplineInterpolation {
 public:
  /// One bin's cubic c0 + d (c1 + d (c2 + c3 d)), d = x - x0, x0 the bin's left end.
  struct Coeffs {
    P c0, c1, c2, c3, x0;

    [[nodiscard]] P valueAt(P x) const {
      const P d = x - x0;
      return c0 + d * (c1 + d * (c2 + c3 * d));
    }
  };

  /// One sample of the function to approximate.
  struct ResultAndDeriv {
    P value;
    P deriv;
  };
  using Arguments = std::span<const P>;
  using Samples = std::span<ResultAndDeriv>;

  /// The function to approximate: a callable that samples one argument, fn(x), or one that samples
  /// up to kSamplesAtOnce side by side, fn(std::span<const P> x, std::span<ResultAndDeriv>
  /// samples).
  class Function {
   public:
    template <typename CALLABLE>
    Function(CALLABLE fn) {
      if constexpr (std::is_invocable_v<CALLABLE, Arguments, Samples>) {
        mSample = std::move(fn);
      } else {
        mSample = [fn = std::move(fn)](Arguments x, Samples samples) {
          std::transform(x.begin(), x.end(), samples.begin(), fn);
        };
      }
    }

    /// `samples` has the size of x.
    void operator()(Arguments x, Samples samples) const { mSample(x, samples); }

   private:
    std::function<void(Arguments, Samples)> mSample;
  };

  std::vector<Coeffs> coeffs;  ///< one entry per bin, ascending x0
  P rangeMin = 0;
  P rangeMax = 0;     ///< rangeMin <= rangeMax; an empty spline has an empty range
  P invBinWidth = 0;  ///< 1 / width of a bin; 0 until fitted

  [[nodiscard]] bool isInit() const { return !coeffs.empty() && invBinWidth > 0; }

  /// The spline's value at `x`. False when `x` is outside [rangeMin, rangeMax) or NaN; `out` is
  /// untouched then. Reports an error when the spline has not been fitted.
  [[nodiscard]] bool evaluate(P x, P& out) const;

  /// As evaluate(), without a report: a spline that has not been fitted refuses every `x`.
  [[nodiscard]] bool tryEvaluate(P x, P& out) const {
    if (!(x >= rangeMin && x < rangeMax) || coeffs.empty()) {
      return false;
    }
    out = coeffs[binAt(x)].valueAt(x);
    return true;
  }

  /// The value at any `x`, continued by the outermost cubics. NaN when there is no bin.
  [[nodiscard]] P evaluateClamped(P x) const;
  /// The same at every x, into `out` of the same size.
  void evaluateClamped(Arguments x, P* out) const;

  /// Fits `fn` (value and first derivative) over [rangeForApprox(0), rangeForApprox(1)], doubling
  /// the number of bins from 1 until the error measured in the middle of the bins is below `eps`
  /// or another doubling would exceed `MAX_BINS`. Every argument is evaluated once: the middles of
  /// the bins are knots of the next fit.
  ///
  /// Where the fit ends with at least `minBinsForTrim` bins and its last bin alone misses `eps`,
  /// that bin is dropped and rangeMax shrinks by its width: so the spline stops short of a pole.
  ///
  /// `scaleErrorByRadius` multiplies each error by sqrt(x): for a factor over a squared radius that
  /// is the error of the radius. Returns the largest error; NaN when `fn` was NaN; infinity, and an
  /// empty spline, when the range is empty, reversed or not finite, or `MAX_BINS` is 0.
  P setupHermiteCoeffs(const Function& fn, const AR::Math::Vec<P, 2>& rangeForApprox,
                       bool scaleErrorByRadius, std::size_t MAX_BINS, P eps,
                       std::size_t minBinsForTrim);

  /// Fits `fn` with `bins` uniform bins over [rangeMin, rangeMax]. `samples` are those of this fit
  /// or of the one with half as many bins, which are not evaluated again, or empty; on return, this
  /// fit's `bins` + 1 samples.
  void setupHermiteCoeffsInt(const Function& fn, std::size_t bins,
                             std::vector<ResultAndDeriv>& samples);

  /// The largest |fn - spline| over the midpoints of the bins [firstBin, endBin), scaled as
  /// setupHermiteCoeffs() says. 0 for no bin; NaN when any of the errors is NaN.
  [[nodiscard]] P testAccuracy(const Function& fn, bool scaleErrorByRadius, std::size_t firstBin,
                               std::size_t endBin) const;

 private:
  /// Index of the bin around `x`, clamped before the conversion; NaN gives the first bin.
  [[nodiscard]] std::size_t binAt(P x) const {
    const auto last = static_cast<std::int32_t>(coeffs.size()) - 1;
    const P position = (x - rangeMin) * invBinWidth;
    if (!(position >= 0)) {
      return 0;
    }
    const auto bin = position < static_cast<P>(last) ? static_cast<std::int32_t>(position) : last;
    return static_cast<std::size_t>(bin);
  }

  /// The largest errors of a fit.
  struct FitErrors {
    P beforeLast = 0;  ///< of all bins but the last
    P last = 0;
  };

  /// Samples fn at the right ends of every bin of a fit with `bins` bins, or of every second one
  /// from the first, into `samples` from its index `first` on.
  void sampleRightEnds(const Function& fn, std::size_t bins, std::size_t stride, std::size_t first,
                       std::vector<ResultAndDeriv>& samples) const;
  /// Fits by doubling; the loop of setupHermiteCoeffs().
  [[nodiscard]] P refine(const Function& fn, bool scaleErrorByRadius, std::size_t MAX_BINS, P eps,
                         std::size_t minBinsForTrim);
  /// Takes the largest of the bins' errors and drops the last bin where it alone is to blame.
  [[nodiscard]] P trimmedError(const FitErrors& errors, std::size_t MAX_BINS, P eps);
  /// The errors in the middles of these bins, and the samples of fn there.
  [[nodiscard]] FitErrors testAccuracy(const Function& fn, bool scaleErrorByRadius,
                                       std::size_t firstBin, std::size_t endBin,
                                       std::vector<ResultAndDeriv>& truths) const;
};

extern template class HermiteSplineInterpolation<float>;
extern template class HermiteSplineInterpolation<double>;

}  // namespace AR::CV
