#pragma once

// Everything the library knows of a distortion model: all other code reads these rows and none
// branches on the model. A row is made of the model's own file in src/models/.

#include <optional>
#include <span>

#include "CameraModel/DistortionModel.h"

namespace CamModel {

/// How a model is written into the legacy vector of 8 coefficients.
struct LegacyForm {
  int mode = -1;                    ///< number of the legacy mode; -1: the model has no legacy form
  int modeWithTangential = -1;      ///< the same for a camera with tangential coefficients
  int numMarked = 0;                ///< so many leading coefficients must not be written as zero
  std::span<const int> slots = {};  ///< place of coefficient i in the vector, for those written
};

/// A factor's formula in two forms: for one squared ideal radius x, or for each of many.
template <typename P>
struct FactorFunction {
  P (*atOne)(const RDVec<P>& k, P x) = nullptr;
  void (*atEach)(const RDVec<P>& k, std::span<const P> x, P* F) = nullptr;

  P operator()(const RDVec<P>& k, P x) const { return atOne(k, x); }
  /// F has the size of x.
  void operator()(const RDVec<P>& k, std::span<const P> x, P* F) const { atEach(k, x, F); }
};

/// The same for a factor with its derivatives: J by the coefficients (for one x only), dFdx by x.
template <typename P>
struct DerivativeFunction {
  P (*atOne)(const RDVec<P>& k, P x, RDVec<P>& J, P& dFdx) = nullptr;
  void (*atEach)(const RDVec<P>& k, std::span<const P> x, P* F, P* dFdx) = nullptr;

  P operator()(const RDVec<P>& k, P x, RDVec<P>& J, P& dFdx) const { return atOne(k, x, J, dFdx); }
  /// F and dFdx have the size of x.
  void operator()(const RDVec<P>& k, std::span<const P> x, P* F, P* dFdx) const {
    atEach(k, x, F, dFdx);
  }
};

/// Where a formula's denominator comes near 0.
template <typename P>
struct Pole {
  P root;   ///< where it does, in the denominator's own variable
  P limit;  ///< the largest squared ideal radius that stays short of it
};

/// What one model's file says, for precision P.
template <typename P>
struct DistortionTraits {
  int maxCoeffs = 0;  ///< leading radial coefficients that may be nonzero

  /// x: squared ideal radius; the distorted radius is sqrt(x) * factor.
  FactorFunction<P> factor;
  /// The factor with its derivatives.
  DerivativeFunction<P> derivative;
  /// y: squared distorted radius; the ideal radius is sqrt(y) * inverse. Null: no closed form.
  P (*inverse)(const RDVec<P>& k, P y) = nullptr;

  /// Whether the coefficients are ones that the formula takes. Null: any are. The refusal is a
  /// printf format for the leading coefficients.
  bool (*accepts)(const RDVec<P>& k) = nullptr;
  const char* refusal = "";

  // The range of valid radii: none to be found, in closed form, or (where neither is set) by a
  // march outwards in radius, short of a pole if the model can have one. The pole's text is a
  // printf format for the root and the ideal radius that remains.
  bool validEverywhere = false;
  void (*closedFormRange)(const RDVec<P>& k, RadiusLimits<P>& limits) = nullptr;
  std::optional<Pole<P>> (*findPole)(const RDVec<P>& k) = nullptr;
  const char* poleText = "";

  LegacyForm legacy = {};
};

/// The row of `model`, or null when the model is unknown.
template <typename P>
[[nodiscard]] const DistortionTraits<P>* findTraits(DistortionModel model) noexcept;

}  // namespace CamModel
