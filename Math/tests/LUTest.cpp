#include "AR/Math/LU.h"
#include "MathTesting.h"
#include "testing/GuardedBuffer.h"

namespace AR::Math {
namespace {

using Vec4 = Vec<double, 4>;
using View4 = Vector<double, 4, Linear, VectorReference>;

// Products of small integer factors, so that every step is exact. The solution replaces b.
TEST(LU, SolvesExactlyAndInPlace) {
  const Mat<double, 4, 4> L(2, 0, 0, 0, -1, 4, 0, 0, 3, 1, -2, 0, 5, 0, 7, 8);
  const Mat<double, 4, 4> U(1, 2, -3, 4, 0, 1, 5, -1, 0, 0, 1, 6, 0, 0, 0, 1);
  LU<double, 4> lu;
  for (const Mat<double, 4, 4>& A : {Mat<double, 4, 4>::identity(), L * U}) {
    lu.compute(A);
    for (const Vec4& expected : {Vec4(1, -2, 3, 4), Vec4(), Vec4(-8, 0, 0.5, 1)}) {
      rectiline::testing::GuardedBuffer<double> buffer(4);
      View4 x(buffer.data());
      x = A * expected;
      lu.solve(x, x);
      EXPECT_EQ(Vec4(x), expected);
      EXPECT_TRUE(buffer.intact());
    }
  }
}

// Rows are not exchanged: this matrix is regular, but its first pivot is 0.
TEST(LU, ZeroPivotIsSilentlyNotFinite) {
  LU<double, 4> lu;
  lu.compute(Mat<double, 4, 4>(0, 1, 0, 0, 1, 0, 0, 0, 0, 0, 1, 0, 0, 0, 0, 1));
  Vec4 x;
  lu.solve(Vec4(1, 2, 3, 4), View4(x.data()));
  EXPECT_FALSE(std::isfinite(x(0)));
}

}  // namespace
}  // namespace AR::Math
