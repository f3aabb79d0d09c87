#include <gtest/gtest.h>

#include "CameraCases.h"
#include "CameraModel/DistortionTraits.h"
#include "testing/LogCapture.h"

namespace CamModel {
namespace {

TEST(Derivatives, AgreeWithDifferences) {
  for (const CameraCase& c : kCases) {
    SCOPED_TRACE(c.name);
    const auto& traits = *findTraits<double>(c.model);
    const RDVec<double> k = makeCamera<double>(c.model, c.k).radialDistortion;
    for (const double x : {5e-6, 0.00005, 0.0002, 0.01, 0.09, 0.36, 1.0, 9.0}) {
      SCOPED_TRACE(x);
      const bool small = x < 0.0001;
      RDVec<double> J;
      RDVec<double> unused;
      double dFdx = 0;
      double ignored = 0;
      const double F = traits.derivative(k, x, J, dFdx);
      EXPECT_NEAR(F, traits.factor(k, x), small ? x : 1e-12);
      const double h = 1e-3 * x;
      const double dF = (traits.factor(k, x + h) - traits.factor(k, x - h)) / (2 * h);
      EXPECT_NEAR(dFdx, dF, (1 + std::abs(dF)) * (small ? 2e-4 : 1e-6));
      for (int i = 0; i < traits.maxCoeffs; ++i) {
        RDVec<double> above = k;
        RDVec<double> below = k;
        above[i] += 1e-6;
        below[i] -= 1e-6;
        const double dFdk = (traits.derivative(above, x, unused, ignored) -
                             traits.derivative(below, x, unused, ignored)) /
                            2e-6;
        EXPECT_NEAR(J[i], dFdk, (1 + std::abs(dFdk)) * 1e-6) << i;
      }
      for (int i = traits.maxCoeffs; i < MAX_RD_PARAMS; ++i) EXPECT_EQ(J[i], 0) << i;

      RDVec<float> J_float;
      float dFdx_float = 0;
      findTraits<float>(c.model)->derivative(k.cast<float>(), float(x), J_float, dFdx_float);
      EXPECT_NEAR(dFdx_float, dFdx, 2e-3 * (1 + std::abs(dFdx)));
      EXPECT_LT(norm(J_float.cast<double>() - J), 1e-4 * (1 + norm(J)));
    }
  }
}

TEST(Derivatives, FourParameterFisheyeNearTheCentreIsThePolynomialAlone) {
  const RDVec<double> k(0.3, 0.0, 0.0, 0.0, 0.0, 0.0);
  RDVec<double> J;
  double dFdx = 0;
  const double x = 0.00009;
  const double q = std::pow(std::atan(std::sqrt(x)), 2);
  EXPECT_DOUBLE_EQ(findTraits<double>(FISHEYE_4_PARAMETERS)->derivative(k, x, J, dFdx),
                   1 + 0.3 * q);
  EXPECT_DOUBLE_EQ(dFdx, 0.3 - 1.0 / 3);
}

TEST(Derivatives, OmegaOutOfRangeIsReportedAndBoundedBelow) {
  rectiline::testing::LogCapture log;
  const auto& traits = *findTraits<double>(FISHEYE_1_PARAMETER);
  RDVec<double> J;
  double dFdx = 0;
  int reports = 0;
  for (const double omega : {-1.0, 0.0, 3.15, std::nan("")}) {
    const double F = traits.derivative(RDVec<double>(omega, 0, 0, 0, 0, 0), 0.5, J, dFdx);
    EXPECT_EQ(log.count("omega > 0 && omega < P(AR_PI)"), ++reports) << omega;
    if (!(omega <= 0)) continue;
    EXPECT_NEAR(F, 1, 1e-6);
    EXPECT_EQ(J[0], 0);
  }
}

}  // namespace
}  // namespace CamModel
