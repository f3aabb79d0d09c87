#include "AR/Math/Vector.h"
#include "MathTesting.h"

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
static_assert(!std::is_constructible_v<Vec3, double, double>);

TEST(Vector, ViewsWriteThrough) {
  double memory[] = {9, 1, 2, 3, 9};
  double other[] = {-1, -2, -3};
  View3 view(memory + 1);
  EXPECT_EQ(view, kA);
  view = kB;
  view += kA;
  EXPECT_EQ(Vec3(View3(memory + 1)), kA + kB);
  view = View3(other);  // copies elements, does not view `other` from now on
  view(1) = 0;
  EXPECT_EQ(View3(other), -kA);
  EXPECT_EQ((std::vector<double>(memory, memory + 5)), (std::vector<double>{9, -1, 0, -3, 9}));
}

TEST(Vector, RunTimeSize) {
  Vec<float, -1> v(2);
  v(1) = 3;
  v.resize(3);
  EXPECT_EQ(to_string(v * 2), "(0.000000,6.000000,0.000000)");
  EXPECT_DEATH(v + (Vec<float, -1>(2)), "nIdx<this->size\\(\\)");
  EXPECT_DEATH(v(3), "nIdx<this->size\\(\\)");
}

TEST(Vector, TextForm) {
  EXPECT_EQ(to_string(Vec<float, 2>(1.5F, -0.25F)), "(1.500000,-0.250000)");
  EXPECT_EQ(to_string(Vec<int, 3>(0, -1, 2147483647)), "(0,-1,2147483647)");
  EXPECT_EQ(to_string(Vec<double, 2>(NAN, -INFINITY)), "(nan,-inf)");
  EXPECT_EQ(to_string(Vec<double, 1>(-1e308)).size(), 2U + 1 + 309 + 7);
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
  } kCases[] = {
      {{0, 0, 1}, {3, 0, 5}, {1, 0, 0}},   // drops the part along v
      {{r, r, 0}, {1, 0, 0}, {r, -r, 0}},  // the closest one
      {{1, 0, 0}, {7, 0, 0}, {0, 1, 0}},   // t along v: any, here from y
      {{0, 1, 0}, {0, -2, 0}, {1, 0, 0}},  // ... and here from x
      {{0, 0, 1}, {0, 0, 0}, {1, 0, 0}},
  };
  for (const auto& c : kCases) {
    EXPECT_LT(testing::maxDifference(perpendicular(c.v, c.t), c.expected), 1e-15) << to_string(c.v);
  }
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
  EXPECT_DEATH(v[static_cast<size_t>(-1)], "nIdx<this->size\\(\\)");
  EXPECT_DEATH(kA / Vec3(1, 0, 1), "nVec2\\(i\\) != 0");
  EXPECT_DEATH(v /= 0, "nVal != 0");
}

}  // namespace
}  // namespace AR::Math
