#pragma once

// Where a position lies between pixels, and the value there, one IEEE single-precision operation
// at a time: the vector forms take the same steps to give the same bytes.

#include <algorithm>

namespace kel {

/// Two neighbouring positions along one axis and the weight of the second: i0 <= p < i0 + 1.
struct Neighbours {
  int i0;
  int i1;
  float weight1;
};

/// In double every int and every float is exact, those too that NEON takes for 0. False for NaN.
inline bool isInside(float p, int size) {
  const auto exact = static_cast<double>(p);
  return exact >= 0.0 && exact < static_cast<double>(size);
}

/// Neighbours of a position inside; the last pixel is its own neighbour.
inline Neighbours neighboursOf(float p, int size) {
  const int i0 = static_cast<int>(p);
  return {i0, std::min(i0 + 1, size - 1), p - static_cast<float>(i0)};
}

inline float interpolate(float a, float b, float weightB) { return a + weightB * (b - a); }

}  // namespace kel
