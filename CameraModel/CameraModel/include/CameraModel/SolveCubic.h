#pragma once

#include <vector>

namespace CamModel {

/// The real roots of a x^3 + b x^2 + c x + d, in ascending order, by Cardano's formula with one
/// chosen branch of the complex square root; a root counts as real when its imaginary part is at
/// most a thousandth of its real part. A triple root (and any cubic whose chosen branch
/// vanishes) is reported as no root. `a` must not be 0. Instantiated for float and double.
template <typename P>
[[nodiscard]] std::vector<P> solveCubic(P a, P b, P c, P d);

}  // namespace CamModel
