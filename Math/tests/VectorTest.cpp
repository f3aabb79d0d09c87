#include <gtest/gtest.h>

#include <cmath>
#include <vector>

#include "AR/Math/LU.h"
#include "AR/Math/MathDebugging.h"
#include "AR/Math/Matrix.h"
#include "AR/Math/Vector.h"
#include "testing/LogCapture.h"

namespace AR::Math {
namespace {

using Vec3 = Vec<double, 3>;
using View3 = Vector<double, 3, Linear, VectorReference>;

// The algebra holds at compile time too.
constexpr Vec3 kA(1, 2, 3);
constexpr Vec3 kB(4, -5, 6);
static_assert(kA + kB == Vec3(5, -3, 9) && kA - kB == Vec3(-3, 7, -3) && -kA == Vec3(-1, -2, -3));
static_assert(2 * kA == Vec3(2, 4, 6) && kA * 2 == kA / 0.5 && kB / kA == Vec3(4, -2.5, 2));
static_assert(dot(kA, kB) == 12 && cross(kA, kB) == Vec3(27, 6, -13) && normSquared(kA) == 14);
static_assert(elementProduct(kA, kB) == Vec3(4, -10, 18) && !isZero(kA) && isZero(0 * kA));
static_assert(Vec<int, 2>(7, -9).cast<float>() == Vec<float, 2>(7, -9));
static_assert(!std::is_constructible_v<Vec<int, 2>, double, double>);

constexpr Mat<double, 2, 3> kM(1, 2, 3, 4, 5, 6);
static_assert(kM.row(1) == Vec3(4, 5, 6) && kM.col(2)(1) == 6 && kM.data()[1] == 2);
static_assert(kM * Vec3(1, 0, -1) == Vec<double, 2>(-2, -2) && kM + kM == 2 * kM);
static_assert(kM * transpose(kM) == Mat<double, 2, 2>(14, 32, 32, 77));
static_assert(isIdentity(Mat<float, 4, 4>::identity()) && crossMatrix(kA) * kB == cross(kA, kB));
static_assert(!isIdentity(Mat<double, 2, 2>(1, 0, 1e-300, 1)));

TEST(Vector, ViewsWriteThrough) {
  double memory[] = {9, 1, 2, 3, 9};
  double other[] = {-1, -2, -3};
  View3 view(memory + 1);
  EXPECT_EQ(view, kA);
  view = kB;
  view += kA;
  EXPECT_EQ(Vec3(View3(memory + 1)), kA + kB);
  view = View3(other);  // copies elements, does not view `other` from now on
  other[1] = 0;
  EXPECT_EQ((std::vector<double>(memory, memory + 5)), (std::vector<double>{9, -1, -2, -3, 9}));
}

TEST(Vector, RunTimeSizeAndTextForm) {
  Vec<float, -1> v(2);
  v(1) = -0.25F;
  v.resize(3);
  EXPECT_EQ(to_string(v * 2), "(0.000000,-0.500000,0.000000)");
  EXPECT_DEATH(v + (Vec<float, -1>(2)), "nIdx<this->size\\(\\)");
  EXPECT_EQ(to_string(Vec<int, 3>(0, -1, 2147483647)), "(0,-1,2147483647)");
  EXPECT_EQ(to_string(Vec<double, 2>(NAN, -INFINITY)), "(nan,-inf)");
}

TEST(Vector, AngleBetween) {
  for (const double angle : {0.0, 1e-9, 1e-3, 1.0, AR_PI / 2, 3.0, AR_PI - 1e-9, AR_PI}) {
    const Vec3 v(5 * std::cos(angle), 5 * std::sin(angle), 0);
    EXPECT_NEAR(angleBetween(Vec3(0.1, 0, 0), v), angle, 1e-15 + 1e-15 * angle);
  }
  EXPECT_EQ(angleBetween(Vec<float, 3>(0, 0, 0), Vec<float, 3>(1, 0, 0)), 0);
}

TEST(Vector, Perpendicular) {
  const double r = std::sqrt(0.5);
  const struct {
    Vec3 v, t, expected;
  } kCases[] = {{{0, 0, 1}, {3, 0, 5}, {1, 0, 0}},   // drops the part along v
                {{r, r, 0}, {1, 0, 0}, {r, -r, 0}},  // the closest one
                {{1, 0, 0}, {7, 0, 0}, {0, 1, 0}},   // t along v: any, here from y
                {{0, 1, 0}, {0, -2, 0}, {1, 0, 0}}};
  for (const auto& c : kCases) EXPECT_LT(norm(perpendicular(c.v, c.t) - c.expected), 1e-15);
  // v is not of unit length: only a positive dot product is refused.
  EXPECT_GT(norm(perpendicular(Vec3(0.9, 0, 0), Vec3(-1, 0.1, 0))), 0.99);
  EXPECT_DEATH(perpendicular(Vec3(0.9, 0, 0), Vec3(1, 0.1, 0)), "dot\\(v, perpendicular\\) < 1e-4");
  EXPECT_DEATH(perpendicular(Vec3(NAN, 0, 0), kA), "fabs\\(Math::norm\\(perpendicular\\) - 1\\)");
}

TEST(Vector, FatalChecks) {
  Vec3 v;
  EXPECT_DEATH(unit(v), "length>0 Math/src/../include/AR/Math/internal/VectorFunctions");
  EXPECT_DEATH(unit(Vec3(1, NAN, 0)), "length>0");
  EXPECT_DEATH(v(3), "nIdx<this->size\\(\\) Math/src/../include/AR/Math/internal/VectorBase");
  EXPECT_DEATH(kM(0, 3), "nIdx<this->size\\(\\)");
  EXPECT_DEATH(kA / Vec3(1, 0, 1), "nVec2\\(i\\) != 0");
  EXPECT_DEATH(v /= 0, "nVal != 0");
}

TEST(Matrix, EnforceRotationSquaresTheError) {
  for (const double e : {1e-2, 1e-3, 1e-4, 0.0}) {
    Mat<double, 3, 3> R(1, e, 0, 0, 1 + e, e, e, 0, 1);
    enforceRotation(R);
    const Mat<double, 3, 3> error = R * transpose(R) - Mat<double, 3, 3>::identity();
    for (size_t i = 0; i < 3; ++i) EXPECT_LE(norm(error.row(i)), 8 * e * e);
  }
}

// Products of small integer factors, so that every step is exact. The solution may replace b.
TEST(LU, SolvesExactly) {
  const Mat<double, 4, 4> L(2, 0, 0, 0, -1, 4, 0, 0, 3, 1, -2, 0, 5, 0, 7, 8);
  const Mat<double, 4, 4> U(1, 2, -3, 4, 0, 1, 5, -1, 0, 0, 1, 6, 0, 0, 0, 1);
  LU<double, 4> lu;
  for (const Mat<double, 4, 4>& A : {Mat<double, 4, 4>::identity(), L * U}) {
    lu.compute(A);
    for (const Vec<double, 4>& expected : {Vec<double, 4>(1, -2, 3, 4), {-8, 0, 0.5, 1}}) {
      Vec<double, 4> x = A * expected;
      lu.solve(x, Vector<double, 4, Linear, VectorReference>(x.data()));
      EXPECT_EQ(x, expected);
    }
  }
}

TEST(GoodNum, BadOnesAreLoggedWithTheirPlace) {
  const struct {
    double x;
    bool good, goodWithTiny;
  } kCases[] = {{0, true, true},      {-9e-31, false, true}, {-1.0001e15, false, false},
                {1e-30F, true, true}, {1e15F, true, true},   {NAN, false, false}};
  for (const auto& c : kCases) {
    const rectiline::testing::LogCapture log;
    EXPECT_EQ(isGoodNum(c.x), c.good) << c.x;
    EXPECT_EQ(isGoodNum(float(c.x)), c.good) << c.x;
    EXPECT_EQ(isGoodVector(Vec3(1, c.x, c.x), true), c.goodWithTiny) << c.x;
    EXPECT_EQ(log.count("Bad float: "), 2 * !c.good + !c.goodWithTiny) << log.text();
    EXPECT_EQ(log.count("(element 1 in vector)"), !c.goodWithTiny) << log.text();
  }
  const rectiline::testing::LogCapture log;
  EXPECT_FALSE(isGoodNum(0x1p60));
  EXPECT_EQ(log.count("Bad float: 0x1p+60 is nan or inf or denormal or uninitialised"), 1);
}

}  // namespace
}  // namespace AR::Math
