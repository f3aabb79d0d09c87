#include <cstdio>

#include "AR/Math/MathDebugging.h"
#include "MathTesting.h"
#include "testing/LogCapture.h"

namespace AR::Math {
namespace {

template <typename P>
class GoodNum : public ::testing::Test {};
TYPED_TEST_SUITE(GoodNum, testing::Precisions);

TYPED_TEST(GoodNum, RangesAndLines) {
  using P = TypeParam;
  const struct {
    P x;
    bool good, goodWithTiny;
  } kCases[] = {
      {P(0), true, true},          {P(-0.0), true, true},        {P(1), true, true},
      {P(1e-35), false, true},     {P(-1e-35), false, true},     {P(1e-30F), true, true},
      {P(1e15F), true, true},      {P(-1e15F), true, true},      {P(1.0001e15), false, false},
      {P(INFINITY), false, false}, {P(-INFINITY), false, false}, {P(NAN), false, false},
  };
  for (const auto& c : kCases) {
    const rectiline::testing::LogCapture log;
    EXPECT_EQ(isGoodNum(c.x), c.good) << c.x;
    EXPECT_EQ(isGoodNum(c.x, true), c.goodWithTiny) << c.x;
    char expected[128];
    std::snprintf(expected, sizeof expected,
                  "Bad float: %a is nan or inf or denormal or uninitialised", double(c.x));
    EXPECT_EQ(log.count(expected), !c.good + !c.goodWithTiny) << log.text();
  }
}

TYPED_TEST(GoodNum, VectorsNameTheirFirstBadElement) {
  using P = TypeParam;
  const rectiline::testing::LogCapture log;
  EXPECT_TRUE(isGoodVector(Vec<P, 3>(1, 0, -2)));
  EXPECT_TRUE(isGoodVector(Vec<P, 2>(1e-35, 1), true));
  EXPECT_FALSE(isGoodVector(Vec<P, 3>(1, NAN, INFINITY)));
  ASSERT_EQ(log.lines().size(), 2U) << log.text();
  EXPECT_EQ(log.lines()[1].priority, ANDROID_LOG_ERROR);
  EXPECT_EQ(log.lines()[1].tag, "AR");
  EXPECT_EQ(log.count("(element 1 in vector)"), 1);
}

}  // namespace
}  // namespace AR::Math
