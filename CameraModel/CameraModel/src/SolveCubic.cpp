#include "CameraModel/SolveCubic.h"

#include <algorithm>
#include <cmath>
#include <complex>

namespace CamModel {
namespace {

/// sqrt(3) / 2 in single precision, for both precisions.
constexpr double kHalfSqrt3 = 0.8660253882408142;

/// The principal cube root, also of a value that is not finite.
template <typename P>
std::complex<P> complexCbrt(const std::complex<P>& z) {
  const P modulus = std::cbrt(std::abs(z));
  const P angle = std::arg(z) / 3;
  return {modulus * std::cos(angle), modulus * std::sin(angle)};
}

}  // namespace

template <typename P>
std::vector<P> solveCubic(const P a, const P b, const P c, const P d) {
  const P D0 = b * b - 3 * a * c;
  const P D1 = 2 * b * b * b - 9 * a * b * c + 27 * a * a * d;
  const std::complex<P> discriminant(D1 * D1 - 4 * D0 * D0 * D0);
  // The other two cube roots are this one turned by 120 and 240 degrees (xi).
  const std::complex<P> C = complexCbrt<P>((D1 - std::sqrt(discriminant)) / P(2));
  std::vector<P> roots;
  if (C == std::complex<P>()) return roots;

  const std::complex<P> xi(P(-0.5), P(kHalfSqrt3));
  std::complex<P> Ck = C;
  for (int k = 1; k <= 3; ++k) {
    Ck *= xi;
    const std::complex<P> root = -(b + Ck + D0 / Ck) / (3 * a);
    // Rounding leaves a real root some imaginary part.
    if (std::abs(root.imag() / root.real()) <= P(0.001)) roots.push_back(root.real());
  }
  std::sort(roots.begin(), roots.end());
  return roots;
}

template std::vector<float> solveCubic(float a, float b, float c, float d);
template std::vector<double> solveCubic(double a, double b, double c, double d);

}  // namespace CamModel
