#pragma once

#include <numbers>

/// The ratio of a circle's circumference to its diameter.
inline constexpr double AR_PI = std::numbers::pi;

namespace AR::Math {

/// cos(pi/4): where the sine stops and the cosine starts to be the better measure of an angle.
inline constexpr double kCosQuarterPi = 0.7071067811865476;

/// The square of the largest angle that a rotation vector needs.
inline constexpr double kPiSquared = 9.869604401089358;

}  // namespace AR::Math
