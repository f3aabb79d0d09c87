#include "AR/Math/Matrix.h"
#include "MathTesting.h"

namespace AR::Math {
namespace {

constexpr Mat<double, 2, 3> kM(1, 2, 3, 4, 5, 6);
static_assert(kM.row(1) == Vec<double, 3>(4, 5, 6) && kM.col(2) == Vec<double, 2>(3, 6));
static_assert(kM * Vec<double, 3>(1, 0, -1) == Vec<double, 2>(-2, -2));
static_assert(kM * transpose(kM) == Mat<double, 2, 2>(14, 32, 32, 77));
static_assert(kM + kM == 2 * kM && isIdentity(Mat<float, 4, 4>::identity()));
static_assert(!isIdentity(Mat<double, 2, 2>(1, 0, 1e-300, 1)));
static_assert(crossMatrix(Vec<int, 3>(1, 2, 3)) * Vec<int, 3>(4, 5, 6) == Vec<int, 3>(-3, 6, -3));

TEST(Matrix, IndexBeyondARowIsFatal) {
  EXPECT_EQ(kM(1, 0), 4);
  EXPECT_DEATH(kM(0, 3), "nIdx<this->size\\(\\)");
  EXPECT_DEATH(kM(2, 0), "nIdx<this->size\\(\\)");
}

TEST(Matrix, EnforceRotationSquaresTheError) {
  for (const double e : {1e-2, 1e-3, 1e-4, 0.0}) {
    Mat<double, 3, 3> R(1, e, 0, 0, 1 + e, e, e, 0, 1);
    enforceRotation(R);
    const Mat<double, 3, 3> error = R * transpose(R) - Mat<double, 3, 3>::identity();
    EXPECT_LE(testing::maxDifference(error, {}), 5 * e * e);
  }
}

}  // namespace
}  // namespace AR::Math
