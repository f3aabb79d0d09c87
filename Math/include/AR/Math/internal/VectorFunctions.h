#pragma once

// Included by AR/Math/Vector.h; include that.

#include <charconv>
#include <cmath>
#include <concepts>
#include <cstddef>
#include <string>
#include <type_traits>

#include "AR/Common/Macros.h"
#include "AR/Math/Vector.h"

namespace AR::Math {

namespace internal {

inline constexpr char kVectorFunctionsSource[] =
    "Math/src/../include/AR/Math/internal/VectorFunctions";

template <typename A>
inline constexpr bool kIsVector = false;
template <typename T, int N, typename LAYOUT, typename STORAGE>
inline constexpr bool kIsVector<Vector<T, N, LAYOUT, STORAGE>> = true;

}  // namespace internal

/// A vector of any element type, size and storage.
template <typename A>
concept AnyVector = internal::kIsVector<A>;

/// A vector of N elements, of any storage.
template <typename A, int N>
concept VectorOf = AnyVector<A> && A::kSize == N;

/// Two vectors of the same element type and size; their storages may differ.
template <typename A, typename B>
concept SameShape = AnyVector<A> && AnyVector<B> &&
                    A::kSize == B::kSize&& std::is_same_v<typename A::Element, typename B::Element>;

/// The owning vector with the elements of A.
template <AnyVector A>
using OwnerOf = Vec<typename A::Element, A::kSize>;

namespace internal {

/// A vector of zeros as large as `a`.
template <AnyVector A>
constexpr OwnerOf<A> zerosLike(const A& a) {
  if constexpr (A::kSize == kRunTimeSize) {
    return OwnerOf<A>(a.size());
  } else {
    return {};
  }
}

/// The size that two vectors share. Run-time sizes that differ are fatal, "nIdx<this->size()".
template <typename A, typename B>
requires SameShape<A, B>
constexpr size_t commonSize(const A& a, const B& b) {
  AR_REQUIRE(a.size() == b.size(), "nIdx<this->size()", kVectorBaseSource);
  return a.size();
}

template <AnyVector A, typename Function>
constexpr OwnerOf<A> elementwise(const A& a, Function f) {
  OwnerOf<A> result = zerosLike(a);
  for (size_t i = 0; i < a.size(); ++i) result(i) = f(a(i));
  return result;
}

template <typename A, typename B, typename Function>
constexpr OwnerOf<A> elementwise(const A& a, const B& b, Function f) {
  OwnerOf<A> result = zerosLike(a);
  const size_t n = commonSize(a, b);
  for (size_t i = 0; i < n; ++i) result(i) = f(a(i), b(i));
  return result;
}

}  // namespace internal

/// True when every element equals its partner exactly; vectors of different run-time sizes differ.
template <typename A, typename B>
requires SameShape<A, B>
constexpr bool operator==(const A& a, const B& b) {
  if (a.size() != b.size()) return false;
  for (size_t i = 0; i < a.size(); ++i) {
    if (!(a(i) == b(i))) return false;
  }
  return true;
}

template <typename A, typename B>
requires SameShape<A, B>
constexpr OwnerOf<A> operator+(const A& a, const B& b) {
  using T = typename A::Element;
  return internal::elementwise(a, b, [](T x, T y) { return static_cast<T>(x + y); });
}

template <typename A, typename B>
requires SameShape<A, B>
constexpr OwnerOf<A> operator-(const A& a, const B& b) {
  using T = typename A::Element;
  return internal::elementwise(a, b, [](T x, T y) { return static_cast<T>(x - y); });
}

template <AnyVector A>
constexpr OwnerOf<A> operator-(const A& a) {
  using T = typename A::Element;
  return internal::elementwise(a, [](T x) { return static_cast<T>(-x); });
}

template <AnyVector A>
constexpr OwnerOf<A> operator*(const A& a, typename A::Element s) {
  using T = typename A::Element;
  return internal::elementwise(a, [s](T x) { return static_cast<T>(x * s); });
}

template <AnyVector A>
constexpr OwnerOf<A> operator*(typename A::Element s, const A& a) {
  return a * s;
}

/// Every element divided by `nVal`; a divisor of exactly 0 is fatal, "nVal != 0".
template <AnyVector A>
constexpr OwnerOf<A> operator/(const A& a, typename A::Element nVal) {
  using T = typename A::Element;
  AR_REQUIRE(nVal != 0, "nVal != 0", internal::kVectorFunctionsSource);
  return internal::elementwise(a, [nVal](T x) { return static_cast<T>(x / nVal); });
}

/// Element by element; a divisor of exactly 0 is fatal, "nVec2(i) != 0".
template <typename A, typename B>
requires SameShape<A, B>
constexpr OwnerOf<A> operator/(const A& nVec1, const B& nVec2) {
  using T = typename A::Element;
  return internal::elementwise(nVec1, nVec2, [](T x, T y) {
    AR_REQUIRE(y != 0, "nVec2(i) != 0", internal::kVectorFunctionsSource);
    return static_cast<T>(x / y);
  });
}

/// Element by element.
template <typename A, typename B>
requires SameShape<A, B>
constexpr OwnerOf<A> elementProduct(const A& a, const B& b) {
  using T = typename A::Element;
  return internal::elementwise(a, b, [](T x, T y) { return static_cast<T>(x * y); });
}

template <typename A, typename B>
requires SameShape<A, B>
constexpr A& operator+=(A& a, const B& b) { return a = a + b; }

template <typename A, typename B>
requires SameShape<A, B>
constexpr A& operator-=(A& a, const B& b) { return a = a - b; }

template <AnyVector A>
constexpr A& operator*=(A& a, typename A::Element s) {
  return a = a * s;
}

template <AnyVector A>
constexpr A& operator/=(A& a, typename A::Element nVal) {
  return a = a / nVal;
}

/// The scalar product, summed in the order of the elements.
template <typename A, typename B>
requires SameShape<A, B>
constexpr typename A::Element dot(const A& a, const B& b) {
  typename A::Element sum = 0;
  const size_t n = internal::commonSize(a, b);
  for (size_t i = 0; i < n; ++i) sum += a(i) * b(i);
  return sum;
}

template <VectorOf<3> A, VectorOf<3> B>
requires SameShape<A, B>
constexpr OwnerOf<A> cross(const A& a, const B& b) {
  return {a(1) * b(2) - a(2) * b(1), a(2) * b(0) - a(0) * b(2), a(0) * b(1) - a(1) * b(0)};
}

template <AnyVector A>
constexpr typename A::Element normSquared(const A& a) {
  return dot(a, a);
}

/// The Euclidean length.
template <AnyVector A>
requires std::floating_point<typename A::Element>
typename A::Element norm(const A& a) { return std::sqrt(normSquared(a)); }

/// True when every element is exactly 0.
template <AnyVector A>
constexpr bool isZero(const A& a) {
  for (const auto& x : a) {
    if (!(x == 0)) return false;
  }
  return true;
}

/// The absolute value of a real.
template <std::floating_point T>
T fabs(T x) {
  return std::fabs(x);
}

/// Scales `v` to length 1. A length that is not above 0, NaN included, is fatal, "length>0".
template <AnyVector A>
requires std::floating_point<typename A::Element>
void normalize(A& v) {
  const auto length = norm(v);
  AR_REQUIRE(length > 0, "length>0", internal::kVectorFunctionsSource);
  v *= 1 / length;
}

/// `v` scaled to length 1; fatal as in `normalize`.
template <AnyVector A>
OwnerOf<A> unit(const A& v) {
  OwnerOf<A> result = v;
  normalize(result);
  return result;
}

/// The angle in [0, pi] between two directions, neither of which is zero, in radians. It is
/// computed in double precision as atan2(|u x v|, u . v), which unlike the arc cosine keeps its
/// accuracy at small angles and near pi. A zero direction gives 0.
template <VectorOf<3> A, VectorOf<3> B>
double angleBetween(const A& u, const B& v) {
  const Vec<double, 3> a = u.template cast<double>();
  const Vec<double, 3> b = v.template cast<double>();
  return std::atan2(norm(cross(a, b)), dot(a, b));
}

/// A unit vector perpendicular to the unit vector `v`, as close to `t` as possible: the part of `t`
/// perpendicular to `v`, scaled to length 1. If `t` has no such part, any unit vector
/// perpendicular to `v`. Fatal if the result is not of length 1 within 1e-4 (as with NaN), or if
/// its dot product with `v` is 1e-4 or more; a negative dot product always passes.
template <VectorOf<3> A, VectorOf<3> B>
requires SameShape<A, B> OwnerOf<A> perpendicular(const A& v, const B& t) {
  using V = OwnerOf<A>;
  V p = t - v * dot(v, t);
  if (norm(p) == 0) {
    const V h = v(0) != 0 ? V(0, 1, 0) : V(1, 0, 0);
    p = h - v * dot(v, h);
  }
  const V perpendicular = p / norm(p);
  AR_REQUIRE(Math::fabs(Math::norm(perpendicular) - 1) < 1e-4,
             "Math::fabs(Math::norm(perpendicular) - 1) < 1e-4", internal::kVectorFunctionsSource);
  AR_REQUIRE(dot(v, perpendicular) < 1e-4, "dot(v, perpendicular) < 1e-4",
             internal::kVectorFunctionsSource);
  return perpendicular;
}

namespace internal {

/// Six digits after the point for reals; never in the notation of the process's locale.
template <typename T>
void appendDecimal(std::string& text, T x) {
  char buffer[512];  // the longest: a sign and 309 digits before the point of a double
  std::to_chars_result result;
  if constexpr (std::floating_point<T>) {
    result = std::to_chars(buffer, buffer + sizeof buffer, x, std::chars_format::fixed, 6);
  } else {
    result = std::to_chars(buffer, buffer + sizeof buffer, x);
  }
  text.append(buffer, result.ptr);
}

}  // namespace internal

/// The text form "(a,b,c)", reals with six digits after the point.
template <AnyVector A>
std::string to_string(const A& v) {
  std::string text = "(";
  for (size_t i = 0; i < v.size(); ++i) {
    if (i > 0) text += ',';
    internal::appendDecimal(text, v(i));
  }
  return text + ")";
}

}  // namespace AR::Math
