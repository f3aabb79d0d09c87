// Two identical pinhole cameras side by side are rectified already: the maps must be the identity.

#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <cstdio>

#include "DeviceRecords.h"
#include "testing/LogCapture.h"

namespace rectiline::acceptance {
namespace {

struct Size {
  int width;
  int height;
};

DeviceCalibrationZEL idealPair(const Size& size, double f, double B) {
  IntrinsicCameraCalibrationZEL pinhole{};
  pinhole.width = size.width;
  pinhole.height = size.height;
  pinhole.principal_point_x = size.width / 2.0;
  pinhole.principal_point_y = size.height / 2.0;
  pinhole.focal_length_x = pinhole.focal_length_y = f;
  return pairRecord(cameraRecord("left", pinhole, pose(0, 0, 0, 0, 0, 0)),
                    cameraRecord("right", pinhole, pose(0, 0, 0, -B, 0, 0)));
}

struct MapDeviation {
  double worst = 0;  // pixels
  int lost = 0;

  void add(const testing::GuardedBuffer<float>& X, const testing::GuardedBuffer<float>& Y,
           const Size& size) {
    for (int y = 0; y < size.height; ++y) {
      for (int x = 0; x < size.width; ++x) {
        const auto i = static_cast<std::size_t>(y) * static_cast<std::size_t>(size.width) +
                       static_cast<std::size_t>(x);
        if (X[i] == -1 || Y[i] == -1) ++lost;
        worst = std::max({worst, std::fabs(static_cast<double>(X[i]) - x),
                          std::fabs(static_cast<double>(Y[i]) - y)});
      }
    }
  }
};

TEST(IdealPair, MapsAreTheIdentity) {
  double worst = 0;
  double worstDepth = 0;
  int pairs = 0;
  for (const Size& size : {Size{640, 480}, Size{752, 480}, Size{1280, 960}}) {
    for (const double f : {300.0, 450.0, 500.0, 512.5, 600.0}) {
      for (const double B : {0.052, 0.056, 0.064, 0.098, 0.169}) {
        SCOPED_TRACE(::testing::Message()
                     << size.width << "x" << size.height << " f " << f << " B " << B);
        const testing::LogCapture log;
        const RectifiedPair pair(idealPair(size, f, B));
        MapDeviation deviation;
        deviation.add(pair.leftX, pair.leftY, size);
        deviation.add(pair.rightX, pair.rightY, size);
        const double depthError = std::fabs(static_cast<double>(pair.depthConstant) / (f * B) - 1);
        EXPECT_TRUE(pair.returned);
        EXPECT_TRUE(pair.intact());
        EXPECT_EQ(deviation.lost, 0);
        EXPECT_LE(deviation.worst, 1e-3);
        EXPECT_LE(depthError, 1e-5);
        EXPECT_EQ(log.failedChecks(), 0) << log.text();
        worst = std::max(worst, deviation.worst);
        worstDepth = std::max(worstDepth, depthError);
        ++pairs;
      }
    }
  }
  std::printf("%d ideal pairs: greatest deviation %.2e px, greatest relative depth error %.1e\n",
              pairs, worst, worstDepth);
}

}  // namespace
}  // namespace rectiline::acceptance
