#include <gtest/gtest.h>

#include <algorithm>

#include "PairCall.h"
#include "TestModels.h"

namespace VIO {
namespace {

using testing::PairCall;
using testing::PairFunction;

TEST(UndistortMap, SeesWhatAPinholeCameraOfTheScaledFocalLengthSees) {
  for (const testing::ModelCase& c : testing::kModels) {
    for (const double fovFactor : {0.5, 1.0, 2.5}) {
      SCOPED_TRACE(c.name);
      PairCall call(PairFunction::Undistort, PairCall::Sizes(4, 320 * 240));
      call.record = testing::device(c);
      call.record.cameras[1].intrinsics.principal_point_x = 150;
      call.record.cameras[1].pose.orientation = {0.5, 0.5, 0.5, 0.5};  // poses do not enter
      call.factor = static_cast<float>(fovFactor);
      call.keepOutside = 1;
      ASSERT_TRUE(call.run(false));
      const IntrinsicCameraCalibrationZEL& in = call.record.cameras[1].intrinsics;
      const CamModel::CameraModel<double> exact(in);
      const double scale = exact.distortionFactor(0.0) * fovFactor;
      const double error = testing::tableError(testing::rigOf(call.record).at(1).getIntrinsics());
      const double bound = std::max(0.01, 2 * error * in.focal_length_y);
      int tested = 0;
      for (std::size_t i = 0; i < 320 * 240; i += 7) {
        if (call.maps[2][i] == -1) continue;
        const double x = (static_cast<double>(i % 320) - 150) / (in.focal_length_x * scale);
        const double y = (static_cast<double>(i / 320) - 119.5) / (in.focal_length_y * scale);
        const auto pixel = testing::exactPixel(exact, x, y);
        ASSERT_NEAR(call.maps[2][i], pixel(0), bound) << i;
        ASSERT_NEAR(call.maps[3][i], pixel(1), bound) << i;
        ++tested;
      }
      EXPECT_GT(tested, 4000);
    }
  }
}

}  // namespace
}  // namespace VIO
