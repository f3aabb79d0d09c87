#pragma once

#include <gtest/gtest.h>

#include <cmath>
#include <type_traits>
#include <vector>

#include "AR/Math/SE3.h"

namespace AR::Math::testing {

/// Both precisions, and the error that a handful of operations on values around 1 may leave.
using Precisions = ::testing::Types<float, double>;
template <typename P>
inline constexpr double kTolerance = std::is_same_v<P, float> ? 3e-6 : 1e-14;

/// The largest difference between elements; infinite when one of them is NaN.
template <typename A>
double maxDifference(const A& a, const A& b) {
  double largest = 0;
  for (size_t i = 0; i < a.size(); ++i) {
    const double d = std::fabs(double(a.data()[i]) - double(b.data()[i]));
    if (!(d <= largest)) largest = d == d ? d : INFINITY;
  }
  return largest;
}

/// Unit axes: along the coordinate axes, nearly so, and oblique.
template <typename P>
std::vector<Vec<P, 3>> axes() {
  using V = Vec<P, 3>;
  return {{1, 0, 0},   {0, 1, 0},           {0, 0, 1},         {-1, 0, 0},          {0, 0, -1},
          {.6, .8, 0}, unit(V(1, 1e-4, 0)), unit(V(1, -2, 3)), unit(V(-3, -2, 2.9))};
}

/// Rotation angles: none, both sides of the series' thresholds and of the changes at pi/4 and
/// 3/4 pi, and up to pi.
inline const std::vector<double> kAngles = {0,      1e-30,  1e-12,  1e-8,  0.9e-5,
                                            1.1e-5, 0.0099, 0.0101, 0.785, 0.786,
                                            2.356,  2.3565, 3.1,    3.141, AR_PI};

}  // namespace AR::Math::testing
