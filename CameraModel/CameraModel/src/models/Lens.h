#pragma once

#include <cmath>
#include <cstddef>
#include <span>

#include "CameraModel/Arctangent.h"
#include "LensRow.h"

// How a distortion model is written down: one file, which specialises Lens for the model's
// enumerator and ends with the two rows made of it. Formulas are pure: they neither print nor log,
// but for what they are told to report.

namespace CamModel {

/// One distortion model. Required static members, templates over the precision P:
///
///   kMaxCoeffs                      leading radial coefficients that may be nonzero
///   P factor(k, x)                  distorted over ideal radius at the squared ideal radius x
///   P derivative(k, x, J, dFdx)     the factor, with J by the six coefficients and dF/dx
///
/// and, where the model has them, with the meaning that the row gives them (DistortionTraits.h):
///
///   P inverse(k, y)                 ideal over distorted radius at the squared distorted radius y
///   bool accepts(k), kRefusal       a check of the coefficients beyond how many there are
///   kValidEverywhere                no radius is too large
///   void closedFormRange(k, limits) the valid radii
///   std::optional<Pole<P>> findPole(k), kPoleText
///   kLegacy                         its form in the legacy vector
template <DistortionModel MODEL>
struct Lens;

/// Places of all coefficients in the legacy vector, around the tangential ones.
inline constexpr int kLegacySlots[] = {0, 1, 4, 5, 6, 7};

// The loops over many radii are made of the same formula as the single form. It is wholly inlined,
// so that the loop can be vectorised.

template <typename LENS, typename P>
[[gnu::flatten]] void factorAtEach(const RDVec<P>& k, std::span<const P> x, P* F) {
  const RDVec<P> coeffs = k;  // a copy, so that no output can be taken for a coefficient
  for (std::size_t i = 0; i < x.size(); ++i) F[i] = LENS::factor(coeffs, x[i]);
}

template <typename LENS, typename P>
[[gnu::flatten]] void derivativeAtEach(const RDVec<P>& k, std::span<const P> x, P* F, P* dFdx) {
  const RDVec<P> coeffs = k;
  RDVec<P> J;
  for (std::size_t i = 0; i < x.size(); ++i) F[i] = LENS::derivative(coeffs, x[i], J, dFdx[i]);
}

template <typename LENS, typename P>
constexpr DistortionTraits<P> rowOf() {
  DistortionTraits<P> row;
  row.maxCoeffs = LENS::kMaxCoeffs;
  row.factor = {LENS::template factor<P>, factorAtEach<LENS, P>};
  row.derivative = {LENS::template derivative<P>, derivativeAtEach<LENS, P>};
  if constexpr (requires { LENS::template inverse<P>; }) row.inverse = LENS::template inverse<P>;
  if constexpr (requires { LENS::template accepts<P>; }) {
    row.accepts = LENS::template accepts<P>;
    row.refusal = LENS::kRefusal;
  }
  if constexpr (requires { LENS::kValidEverywhere; }) row.validEverywhere = LENS::kValidEverywhere;
  if constexpr (requires { LENS::template closedFormRange<P>; }) {
    row.closedFormRange = LENS::template closedFormRange<P>;
  }
  if constexpr (requires { LENS::template findPole<P>; }) {
    row.findPole = LENS::template findPole<P>;
    row.poleText = LENS::kPoleText;
  }
  if constexpr (requires { LENS::kLegacy; }) row.legacy = LENS::kLegacy;
  return row;
}

template <DistortionModel MODEL, typename P>
const DistortionTraits<P>& LensRow<MODEL, P>::get() noexcept {
  static constexpr DistortionTraits<P> kRow = rowOf<Lens<MODEL>, P>();
  return kRow;
}

}  // namespace CamModel
