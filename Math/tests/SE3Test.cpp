#include <limits>

#include "AR/Math/SE3.h"
#include "MathTesting.h"

namespace AR::Math {
namespace {

template <typename P>
class SE3Test : public ::testing::Test {};
TYPED_TEST_SUITE(SE3Test, testing::Precisions);

/// Tangent vectors: every axis and angle with a translation of about 1, some with other lengths.
template <typename P>
std::vector<Vec<P, 6>> tangents() {
  std::vector<Vec<P, 6>> all = {{}, {1e-8, 0, -1e-8, 0, 0, 0}, {500, -2, 300, 0.1, -0.2, 0.3}};
  for (const Vec<P, 3>& axis : testing::axes<P>()) {
    for (const double angle : testing::kAngles) {
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
  return std::max(testing::maxDifference(a.rotation().matrix(), b.rotation().matrix()),
                  testing::maxDifference(a.translation(), b.translation()));
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
      EXPECT_LT(testing::maxDifference(T * p, slowExp(v.template cast<double>(), p)),
                toleranceFor(v))
          << to_string(v);
    }
  }
}

TYPED_TEST(SE3Test, LnInvertsExp) {
  using P = TypeParam;
  for (const Vec<P, 6>& v : tangents<P>()) {
    const SE3<P> T = SE3<P>::exp(v);
    const Vec<P, 6> back = SE3<P>::ln(T);
    const double tolerance = 2 * toleranceFor(v);
    EXPECT_LT(difference(SE3<P>::exp(back), T), tolerance) << to_string(v);
    if (norm(Vec<P, 3>(v(3), v(4), v(5))) < 3.1411) {  // at pi the sign of the axis is free
      EXPECT_LT(testing::maxDifference(back, v), tolerance) << to_string(v);
    }
  }
}

TYPED_TEST(SE3Test, GroupLaws) {
  using P = TypeParam;
  const Vec<P, 3> p(0.1, -2, 3);
  const std::vector<Vec<P, 6>> all = tangents<P>();
  for (size_t i = 0; i + 1 < all.size(); ++i) {
    const SE3<P> a = SE3<P>::exp(all[i]);
    const SE3<P> b = SE3<P>::exp(all[i + 1]);
    const double tolerance = 2 * toleranceFor(all[i]) + toleranceFor(all[i + 1]);
    EXPECT_LT(difference(a * a.inverse(), SE3<P>()), tolerance) << to_string(all[i]);
    EXPECT_LT(difference((a * b) * a, a * (b * a)), tolerance) << to_string(all[i]);
    EXPECT_LT(testing::maxDifference((a * b) * p, a * (b * p)), tolerance) << to_string(all[i]);
  }
}

TYPED_TEST(SE3Test, LongProductsStayRotations) {
  using P = TypeParam;
  const SE3<P> step = SE3<P>::exp({0.001, 0, 0, 0.1, 0.2, -0.3});
  SE3<P> T;
  for (int i = 0; i < 100000; ++i) T = T * step;
  const Mat<P, 3, 3> R = T.rotation().matrix();
  EXPECT_LT(testing::maxDifference(R * transpose(R), Mat<P, 3, 3>::identity()),
            testing::kTolerance<P>);
}

TYPED_TEST(SE3Test, IdentityIsExactAndNaNIsFatal) {
  using P = TypeParam;
  EXPECT_TRUE(isIdentity(SE3<P>::exp({}).rotation().matrix()));
  EXPECT_TRUE(isIdentity((SE3<P>() * SE3<P>().inverse()).rotation().matrix()));
  EXPECT_TRUE(isZero(SE3<P>::ln(SE3<P>())));
  const P tiny = std::numeric_limits<P>::min();  // its square is 0
  EXPECT_EQ(SE3<P>::exp({1, 0, 0, 0, 0, tiny}).translation(), (Vec<P, 3>(1, 0, 0)));
  const SE3<P> bad = SE3<P>::exp({0, 0, 0, NAN, 0, 0});
  EXPECT_DEATH((void)SE3<P>::ln(bad), "tanLen >= 0 Math/src/../include/AR/Math/SE3");
}

}  // namespace
}  // namespace AR::Math
