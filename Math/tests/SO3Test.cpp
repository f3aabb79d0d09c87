#include "AR/Math/SO3.h"
#include "MathTesting.h"

namespace AR::Math {
namespace {

template <typename P>
class SO3Test : public ::testing::Test {};
TYPED_TEST_SUITE(SO3Test, testing::Precisions);

// At pi both signs of the axis are right: there it is compared through the rotation it makes only.
TYPED_TEST(SO3Test, AxisAndAngleMakeTheRotationAgain) {
  using P = TypeParam;
  for (const Vec<P, 3>& axis : testing::axes<P>()) {
    for (const double theta : testing::kAngles) {
      SCOPED_TRACE(to_string(axis) + " " + std::to_string(theta));
      const Vec<P, 3> w = P(theta) * axis;
      const SO3<P> R = SO3<P>::exp(w);
      Vec<P, 3> found;
      P angle = -1;
      matrix2AxisAngle(R.matrix(), found, angle);
      EXPECT_NEAR(double(angle), double(norm(w)), testing::kTolerance<P> * theta);
      EXPECT_LE(angle, P(AR_PI));
      EXPECT_LT(testing::maxDifference(SO3<P>::exp(angle * found).matrix(), R.matrix()),
                testing::kTolerance<P>);
      if (theta < 3.1411) {
        EXPECT_LE(testing::maxDifference(SO3<P>::ln(R), w), testing::kTolerance<P> * theta);
      }
    }
  }
}

TYPED_TEST(SO3Test, ExactHalfTurns) {
  using P = TypeParam;
  const struct {
    Mat<P, 3, 3> R;
    Vec<P, 3> axis;
  } kCases[] = {
      {{1, 0, 0, 0, -1, 0, 0, 0, -1}, {1, 0, 0}},
      {{-1, 0, 0, 0, 1, 0, 0, 0, -1}, {0, 1, 0}},
      {{-1, 0, 0, 0, -1, 0, 0, 0, 1}, {0, 0, 1}},
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

TYPED_TEST(SO3Test, FromTo) {
  using P = TypeParam;
  using V = Vec<P, 3>;
  EXPECT_EQ(makeso3FromTo(V(1, 0, 0), V(-1, 0, 0)), V(0, 0, P(AR_PI)));
  EXPECT_EQ(makeso3FromTo(V(0, 3, 0), V(0, -1, 0)), V(0, 0, P(-AR_PI)));
  EXPECT_EQ(makeso3FromTo(V(1, 2, 3), V(1, 2, 3)), V());
  EXPECT_EQ(makeso3FromTo(V(2, 0, 0), V(0, 0, 5)), V(0, P(-AR_PI / 2), 0));
  for (const V& from : testing::axes<P>()) {
    for (const V& to : testing::axes<P>()) {
      const V turned = SO3<P>::exp(makeso3FromTo(from, P(2) * to)) * from;
      // The arc cosine of the angle is good to about the root of the precision only.
      EXPECT_LT(testing::maxDifference(turned, to), std::sqrt(testing::kTolerance<P>))
          << to_string(from) << to_string(to);
    }
  }
  EXPECT_DEATH(makeso3FromTo(V(), V(1, 0, 0)), "!isZero\\(from\\) Math/src/../include/AR/Math/SO3");
  EXPECT_DEATH(makeso3FromTo(V(1, 0, 0), V()), "!isZero\\(to\\)");
  EXPECT_DEATH(makeso3FromTo(V(NAN, 0, 0), V(1, 0, 0)), "length>0");
}

}  // namespace
}  // namespace AR::Math
