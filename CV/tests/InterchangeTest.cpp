#include <gtest/gtest.h>

#include <limits>

#include "AR/CV/Camera/Interchange.h"
#include "TestCameras.h"

namespace AR::CV {
namespace {

template <typename P>
class InterchangeTest : public ::testing::Test {};
using Precisions = ::testing::Types<float, double>;
TYPED_TEST_SUITE(InterchangeTest, Precisions);

TYPED_TEST(InterchangeTest, ARecordTurnsAsItSaysAndSurvivesTheRoundTrip) {
  using P = TypeParam;
  const double tolerance = 8 * static_cast<double>(std::numeric_limits<P>::epsilon());
  for (const testing::PoseCase& c : testing::kPoses) {
    const XrPosedZEL_t in = testing::poseRecord(c);
    const Math::SE3<P> T = idl2se3<P>(in);
    const double scale = c.angle / std::hypot(c.x, c.y, c.z);
    const auto R = Math::SO3<double>::exp(scale * Math::Vec<double, 3>(c.x, c.y, c.z)).matrix();
    for (std::size_t i = 0; i < 9; ++i) {
      EXPECT_NEAR(T.rotation().matrix().data()[i], R.data()[i], tolerance);
    }
    const XrPosedZEL_t out = se32idl(T);
    const auto &p = in.orientation, &q = out.orientation;
    EXPECT_NEAR(std::abs(p.x * q.x + p.y * q.y + p.z * q.z + p.w * q.w), 1,
                tolerance * tolerance + 1e-15);
    EXPECT_NEAR(q.x * q.x + q.y * q.y + q.z * q.z + q.w * q.w, 1, 1e-15);
    EXPECT_EQ(out.position.y, static_cast<double>(P(-0.2)));
  }
}

TYPED_TEST(InterchangeTest, TheIdentityIsExact) {
  const Math::SE3<TypeParam> T = idl2se3<TypeParam>({{0, 0, 0, 2}, {0, 0, 0}});
  const auto [x, y, z, w] = se32idl(T).orientation;
  EXPECT_TRUE(x == 0 && y == 0 && z == 0 && w == 1);
}

TEST(InterchangeDeathTest, AQuaternionWithoutLengthIsFatal) {
  EXPECT_DEATH(static_cast<void>(toXRRD({})), "length>0");
}

}  // namespace
}  // namespace AR::CV
