#include <gtest/gtest.h>

#include <cmath>
#include <limits>
#include <set>
#include <string>
#include <tuple>
#include <vector>

#include "AR/CV/Camera/Hermite.h"
#include "AR/Common/Logger.h"
#include "testing/LogCapture.h"

namespace AR::CV {
namespace {

using AR::Common::Logger;
using rectiline::testing::LogCapture;

template <typename P>
struct HermiteTest : ::testing::Test {
  using Spline = HermiteSplineInterpolation<P>;
  using Sample = typename Spline::ResultAndDeriv;

  static constexpr P kNan = std::numeric_limits<P>::quiet_NaN();
  static constexpr P kInf = std::numeric_limits<P>::infinity();

  static Sample cubic(P x) { return {2 + x * (-3 + x * (1 + 4 * x)), -3 + x * (2 + 12 * x)}; }
  static Sample wave(P x) { return {std::sin(x), std::cos(x)}; }
  // A pole just outside [0, 1].
  static Sample pole(P x) { return {1 / (P(1.001) - x), 1 / ((P(1.001) - x) * (P(1.001) - x))}; }

  Spline mSpline;
};
using Precisions = ::testing::Types<float, double>;
TYPED_TEST_SUITE(HermiteTest, Precisions);

TYPED_TEST(HermiteTest, ReproducesCubicsInOneBinOverAHalfOpenRange) {
  using P = TypeParam;
  auto& spline = this->mSpline;
  const P tolerance = 3000 * std::numeric_limits<P>::epsilon();
  EXPECT_LT(spline.setupHermiteCoeffs(this->cubic, {-1, 2}, false, 1024, P(1e-3), 32), tolerance);
  ASSERT_EQ(spline.coeffs.size(), 1U);
  P out = 0;
  for (P x = -1; x < 2; x += P(0.37)) {
    ASSERT_TRUE(spline.evaluate(x, out));
    EXPECT_NEAR(out, this->cubic(x).value, tolerance) << x;
  }
  for (const P x : {P(2), std::nextafter(P(-1), P(-2)), this->kNan, this->kInf, -this->kInf}) {
    EXPECT_FALSE(spline.evaluate(x, out)) << x;
  }
  EXPECT_NEAR(spline.evaluateClamped(P(3)), this->cubic(3).value, 10 * tolerance);
  EXPECT_TRUE(std::isnan(spline.evaluateClamped(this->kNan)));
}

TYPED_TEST(HermiteTest, EvaluatesEachArgumentOnceWhileDoubling) {
  using P = TypeParam;
  std::vector<P> arguments;
  const auto recorded = [&](P x) {
    arguments.push_back(x);
    return this->wave(x);
  };
  EXPECT_LT(this->mSpline.setupHermiteCoeffs(recorded, {0, 7}, false, 1024, P(3e-5), 1024), 3e-5);
  EXPECT_EQ(this->mSpline.coeffs.size(), 32U);
  EXPECT_EQ(arguments.size(), 33U + 32U) << "knots and the middles of the last fit";
  EXPECT_EQ(std::set<P>(arguments.begin(), arguments.end()).size(), arguments.size());
}

TYPED_TEST(HermiteTest, DropsTheLastBinOnlyFromTheGivenCountAndOnlyAtTheEnd) {
  using P = TypeParam;
  auto& spline = this->mSpline;
  for (const std::size_t maxBins : {16U, 32U}) {
    const P err = spline.setupHermiteCoeffs(this->pole, {0, 1}, false, maxBins, P(1e-6), 32);
    const std::size_t bins = maxBins == 32 ? 31 : 16;
    EXPECT_EQ(spline.coeffs.size(), bins);
    EXPECT_EQ(spline.rangeMax, static_cast<P>(bins) / static_cast<P>(maxBins));
    EXPECT_EQ(spline.testAccuracy(this->pole, false, 0, maxBins), err);
  }
  const auto poleOnTheLeft = [this](P x) {
    return typename TestFixture::Sample{this->pole(1 - x).value, -this->pole(1 - x).deriv};
  };
  (void)spline.setupHermiteCoeffs(poleOnTheLeft, {0, 1}, false, 32, P(1e-6), 32);
  EXPECT_EQ(spline.coeffs.size(), 32U);
  (void)spline.setupHermiteCoeffs(this->pole, {0, 1}, false, 32, P(1e-6), 16);
  EXPECT_EQ(spline.rangeMax, P(31) / 32) << "dropped once, after the last doubling";
}

TYPED_TEST(HermiteTest, ScalesErrorsByTheRadiusAndKeepsNaN) {
  using P = TypeParam;
  auto& spline = this->mSpline;
  const auto nanInTheMiddle = [&](P x) {
    return x > 2 && x < 4 ? typename TestFixture::Sample{this->kNan, 0} : this->wave(x);
  };
  (void)spline.setupHermiteCoeffs(this->wave, {0, 8}, false, 4, P(1e-6), 32);
  EXPECT_NEAR(spline.testAccuracy(this->wave, true, 1, 2),
              spline.testAccuracy(this->wave, false, 1, 2) * std::sqrt(P(3)), P(1e-6));
  EXPECT_EQ(spline.testAccuracy(this->wave, true, 2, 2), 0);
  EXPECT_TRUE(std::isnan(spline.testAccuracy(nanInTheMiddle, false, 0, 4)));
}

TYPED_TEST(HermiteTest, ReportsBadRequestsAndStaysEmpty) {
  using P = TypeParam;
  auto& spline = this->mSpline;
  const char* const kRange = "rangeForApprox(1) > rangeForApprox(0)";
  const std::tuple<P, std::size_t, std::string> kCases[] = {{0, 8, kRange},
                                                            {this->kNan, 8, kRange},
                                                            {this->kInf, 8, ""},
                                                            {1, 0, "MAX_BINS >= INIT_BINS"}};
  for (const auto& [end, maxBins, report] : kCases) {
    const LogCapture log;
    P out;
    EXPECT_EQ(spline.setupHermiteCoeffs(this->wave, {0, end}, true, maxBins, 1, 32), this->kInf);
    EXPECT_EQ(log.failedChecks(), report.empty() ? 0 : log.count(report)) << log.text();
    EXPECT_EQ(log.lines().empty(), report.empty());
    EXPECT_FALSE(spline.tryEvaluate(0, out) || spline.evaluate(0, out));
    EXPECT_TRUE(std::isnan(spline.evaluateClamped(0)));
    EXPECT_EQ(log.count("HermiteSplineInterpolation::Evaluate() - not initialized"), 1);
    EXPECT_EQ(log.count("isInit()"), 1);
  }
}

TYPED_TEST(HermiteTest, LogsEveryBinWhenVerbose) {
  Logger& logger = Logger::getInstance();
  logger.setLevel(Logger::VERBOSE);
  logger.setFlag(Logger::kFlagFunction, true);
  const LogCapture log;
  (void)this->mSpline.setupHermiteCoeffs(this->wave, {0, 8}, false, 2, TypeParam(1e-6), 32);
  EXPECT_EQ(log.count("Fitted Hermite spline with 2 bins, maximum approximation error 0."), 1);
  EXPECT_EQ(log.count("Hermite approximation v0:"), 3);
  EXPECT_EQ(log.count("Hermite approximation errors:\t"), 3);
  EXPECT_EQ(log.count("::setupHermiteCoeffs"), 4);
  EXPECT_EQ(log.count("::testAccuracy"), 3);
  logger.setFlag(Logger::kFlagFunction, false);
  logger.setLevel(Logger::DEBUG);
}

}  // namespace
}  // namespace AR::CV
