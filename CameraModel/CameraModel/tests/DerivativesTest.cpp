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
      RDVec<double> J, unused;
      double dFdx, ignored;
      const double F = traits.derivative(k, x, J, dFdx);
      // Near the centre the four-parameter fisheye gives its polynomial alone.
      const double offset = small && c.model == FISHEYE_4_PARAMETERS ? x / 3 : 0;
      EXPECT_NEAR(F, traits.factor(k, x) + offset, 1e-10);
      const double h = 1e-3 * x;
      const double dF = (traits.factor(k, x + h) - traits.factor(k, x - h)) / (2 * h);
      EXPECT_NEAR(dFdx, dF, (1 + std::abs(dF)) * (small ? 2e-4 : 1e-6));
      for (int i = 0; i < traits.maxCoeffs; ++i) {
        RDVec<double> above = k, below = k;
        above[i] += 1e-6;
        below[i] -= 1e-6;
        const double dFdk = (traits.derivative(above, x, unused, ignored) -
                             traits.derivative(below, x, unused, ignored)) /
                            2e-6;
        EXPECT_NEAR(J[i], dFdk, (1 + std::abs(dFdk)) * 1e-6) << i;
      }
      for (int i = traits.maxCoeffs; i < MAX_RD_PARAMS; ++i) EXPECT_EQ(J[i], 0) << i;

      RDVec<float> J_float;
      float dFdx_float;
      findTraits<float>(c.model)->derivative(k.cast<float>(), float(x), J_float, dFdx_float);
      EXPECT_NEAR(dFdx_float, dFdx, 2e-3 * (1 + std::abs(dFdx)));
      EXPECT_LT(norm(J_float.cast<double>() - J), 1e-4 * (1 + norm(J)));
    }
  }
}

TEST(Derivatives, OmegaOutOfRangeIsReportedAndBoundedBelow) {
  rectiline::testing::LogCapture log;
  RDVec<double> J;
  double dFdx;
  int reports = 0;
  for (const double omega : {3.15, std::nan(""), -1.0, 0.0}) {
    const RDVec<double> k(omega, 0, 0, 0, 0, 0);
    const double F = findTraits<double>(FISHEYE_1_PARAMETER)->derivative(k, 0.5, J, dFdx);
    EXPECT_EQ(log.count("omega > 0 && omega < P(AR_PI)"), ++reports) << omega;
    EXPECT_TRUE(!(omega <= 0) || std::abs(F + J[0] - 1) < 1e-6) << F << J[0];
  }
}

}  // namespace
}  // namespace CamModel
