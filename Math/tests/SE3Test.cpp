#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <limits>
#include <vector>

#include "AR/Math/SE3.h"

namespace AR::Math {
namespace {

/// Both precisions, and the error that a handful of operations on values around 1 may leave.
using Precisions = ::testing::Types<float, double>;
template <typename P>
constexpr double kTolerance = std::is_same_v<P, float> ? 3e-6 : 1e-14;

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
  return {{1, 0, 0},           {0, 1, 0},         {0, 0, 1},         {-1, 0, 0},
          unit(V(1, 1e-4, 0)), unit(V(1, 3, -2)), unit(V(1, -2, 3)), unit(V(-3, -2, 2.9))};
}

template <typename P>
class SE3Test : public ::testing::Test {};
TYPED_TEST_SUITE(SE3Test, Precisions);

/// Tangent vectors: every axis with no angle, angles on both sides of the series' thresholds and of
/// the changes at pi/4 and 3/4 pi, and angles up to pi, all with a translation of about 1; and one
/// with a long translation.
template <typename P>
std::vector<Vec<P, 6>> tangents() {
  std::vector<Vec<P, 6>> all = {{500, -2, 300, 0.1, -0.2, 0.3}};
  for (const Vec<P, 3>& axis : axes<P>()) {
    for (const double angle : {0.0, 1e-30, 1e-12, 1e-8, 0.9e-5, 1.1e-5, 0.0099, 0.0101, 0.785,
                               0.786, 2.356, 2.3565, 3.1, 3.141, AR_PI}) {
      const Vec<P, 3> w = P(angle) * axis;
      all.push_back({0.3, -0.5, 0.8, w(0), w(1), w(2)});
    }
  }
  return all;
}

/// The error allowed for `v`. Just above the series' threshold 1 - cos(theta) keeps few digits.
template <typename P>
double toleranceFor(const Vec<P, 6>& v) {
  return (std::is_same_v<P, float> ? 3e-6 : 5e-12) * (1 + double(norm(v)));
}

template <typename P>
double difference(const SE3<P>& a, const SE3<P>& b) {
  return std::max(maxDifference(a.rotation().matrix(), b.rotation().matrix()),
                  maxDifference(a.translation(), b.translation()));
}

/// The definition of exp(v) applied to p: the power series of [[omega]x upsilon; 0 0].
Vec<double, 3> slowExp(const Vec<double, 6>& v, const Vec<double, 3>& p) {
  const Vec<double, 3> omega(v(3), v(4), v(5));
  Vec<double, 3> term = cross(omega, p) + Vec<double, 3>(v(0), v(1), v(2));
  Vec<double, 3> sum = p + term;
  for (int k = 2; k < 60; ++k) {
    term = cross(omega, term) / k;
    sum += term;
  }
  return sum;
}

TYPED_TEST(SE3Test, ExpIsTheMatrixExponential) {
  using P = TypeParam;
  for (const Vec<P, 6>& v : tangents<P>()) {
    const SE3<double> T = SE3<P>::exp(v).template cast<double>();
    for (const Vec<double, 3>& p : {Vec<double, 3>(), {1, 0, 0}, {0, 1, 0}, {0, 0, 1}}) {
      EXPECT_LT(maxDifference(T * p, slowExp(v.template cast<double>(), p)), toleranceFor(v))
          << to_string(v);
    }
  }
}

TYPED_TEST(SE3Test, LnInvertsExpInAGroup) {
  using P = TypeParam;
  const SE3<P> b = SE3<P>::exp({0.1, -2, 0.3, 1, -0.5, 0.2});
  for (const Vec<P, 6>& v : tangents<P>()) {
    SCOPED_TRACE(to_string(v));
    const SE3<P> T = SE3<P>::exp(v);
    const Vec<P, 6> back = SE3<P>::ln(T);
    const double tolerance = 2 * toleranceFor(v);
    EXPECT_LT(difference(SE3<P>::exp(back), T), tolerance);
    EXPECT_LT(difference(T * T.inverse(), SE3<P>()), tolerance);
    EXPECT_LT(maxDifference((T * b) * Vec<P, 3>(1, 2, 3), T * (b * Vec<P, 3>(1, 2, 3))),
              4 * tolerance);
    const Vec<P, 3> w(v(3), v(4), v(5));
    if (norm(w) > 3.1411) continue;  // at pi the sign of the axis is free
    EXPECT_LT(maxDifference(back, v), tolerance);
    EXPECT_LE(maxDifference(SO3<P>::ln(T.rotation()), w), kTolerance<P> * norm(w));
  }
}

TYPED_TEST(SE3Test, LongProductsStayRotations) {
  using P = TypeParam;
  const SE3<P> step = SE3<P>::exp({0.001, 0, 0, 0.1, 0.2, -0.3});
  SE3<P> T;
  for (int i = 0; i < 100000; ++i) T = T * step;
  const Mat<P, 3, 3> R = T.rotation().matrix();
  EXPECT_LT(maxDifference(R * transpose(R), Mat<P, 3, 3>::identity()), kTolerance<P>);
}

TYPED_TEST(SE3Test, IdentityIsExactAndNaNIsFatal) {
  using P = TypeParam;
  EXPECT_TRUE(isIdentity(SE3<P>::exp({}).rotation().matrix()));
  EXPECT_TRUE(isZero(SE3<P>::ln(SE3<P>() * SE3<P>().inverse())));
  const P tiny = std::numeric_limits<P>::min();  // its square is 0
  EXPECT_EQ(SE3<P>::exp({1, 0, 0, 0, 0, tiny}).translation(), (Vec<P, 3>(1, 0, 0)));
  const SE3<P> bad = SE3<P>::exp({0, 0, 0, NAN, 0, 0});
  EXPECT_DEATH((void)SE3<P>::ln(bad), "tanLen >= 0 Math/src/../include/AR/Math/SE3");
}

TYPED_TEST(SE3Test, ExactHalfTurns) {
  using P = TypeParam;
  const struct {
    Mat<P, 3, 3> R;
    Vec<P, 3> axis;
  } kCases[] = {
      {{1, 0, 0, 0, -1, 0, 0, 0, -1}, {1, 0, 0}},
      {{-1, 0, 0, 0, 1, 0, 0, 0, -1}, {0, 1, 0}},
      {{0, -1, 0, -1, 0, 0, 0, 0, -1}, unit(Vec<P, 3>(1, -1, 0))},  // a tie: the lower index
  };
  for (const auto& c : kCases) {
    Vec<P, 3> axis;
    P angle = 0;
    matrix2AxisAngle(c.R, axis, angle);
    EXPECT_EQ(axis, c.axis) << to_string(axis);
    EXPECT_EQ(angle, P(AR_PI));
  }
}

TYPED_TEST(SE3Test, FromTo) {
  using P = TypeParam;
  using V = Vec<P, 3>;
  EXPECT_EQ(makeso3FromTo(V(1, 0, 0), V(-1, 0, 0)), V(0, 0, P(AR_PI)));
  EXPECT_EQ(makeso3FromTo(V(0, 3, 0), V(0, -1, 0)), V(0, 0, P(-AR_PI)));
  EXPECT_EQ(makeso3FromTo(V(1, 2, 3), V(1, 2, 3)), V());
  for (const V& from : axes<P>()) {
    for (const V& to : axes<P>()) {
      const V turned = SO3<P>::exp(makeso3FromTo(from, P(2) * to)) * from;
      // The arc cosine of the angle is good to about the root of the precision only.
      EXPECT_LT(maxDifference(turned, to), std::sqrt(kTolerance<P>))
          << to_string(from) << to_string(to);
    }
  }
  // Squared lengths whose product is beyond single precision.
  EXPECT_NEAR(makeso3FromTo(V(P(1e15), 0, 0), V(P(1e5), 1000, 0))(2), std::atan(0.01), 1e-4);
  EXPECT_DEATH(makeso3FromTo(V(), V(1, 0, 0)), "!isZero\\(from\\) Math/src/../include/AR/Math/SO3");
  EXPECT_DEATH(makeso3FromTo(V(1, 0, 0), V()), "!isZero\\(to\\)");
}

}  // namespace
}  // namespace AR::Math
