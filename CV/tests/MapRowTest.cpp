#include <gtest/gtest.h>

#include <algorithm>
#include <vector>

#include "AR/CV/Camera/PinholeModel.h"
#include "AR/CV/Image/ImageOps.h"
#include "Map/MapKernel.h"
#include "testing/LogCapture.h"

namespace AR::CV {
namespace {

using rectiline::testing::LogCapture;
using Mat3 = Math::Mat<float, 3, 3>;

constexpr float kNaN = std::numeric_limits<float>::quiet_NaN();

template <typename P>
Camera<P> camera(const CamModel::CameraModel<P>& model) {
  Camera<P> result;
  EXPECT_TRUE(result.init(model));
  return result;
}

/// 64 x 48 pixels; with powers of two in every place positions come out exactly.
Camera<float> square(float cx = 32, float cy = 24, float f = 64) {
  return camera(pinholeModel<float>({64, 48}, {cx, cy}, {f, f}));
}

struct Mapped {
  PixelSource reason;
  float u = -7;
  float v = -7;
  MapRowReport report;
};

Mapped map(const Camera<float>& source, const Camera<float>& target, const Mat3& R, DepthRule rule,
           int x, int y) {
  Mapped m{};
  const MapJob<float> job(source, target, R, rule, false);
  m.reason = MapRow<float>(job, y).source(x, m.u, m.v, m.report);
  return m;
}

TEST(MapRow, SnapsRoundingErrorsOfZeroAndRefusesTheWidth) {
  constexpr float kSnap = 0x1p-15F;  // four units in the last place of 64
  constexpr float kBelow64 = 0x1p-18F;
  const struct {
    float shift;  // of the source image
    int x;
    bool inside;
    float u;
  } kCases[] = {{0, 0, true, 0},
                {-kSnap / 4, 0, true, 0},
                {-kSnap, 0, true, 0},
                {-kSnap - 0x1p-19F, 0, false, -kSnap - 0x1p-19F},
                {0x1p-15F, 0, true, kSnap},
                {0, 64, false, 64},
                {0, 63, true, 63},
                {-kBelow64, 64, true, 64 - kBelow64},
                {0, -1, false, -1}};
  for (const auto& c : kCases) {
    SCOPED_TRACE(::testing::Message() << c.shift << " " << c.x);
    const Mapped m =
        map(square(32 + c.shift), square(), Mat3::identity(), DepthRule::InFront, c.x, 5);
    EXPECT_EQ(m.reason == PixelSource::OutsideImage, !c.inside);
    EXPECT_EQ(m.u, c.u);
    EXPECT_EQ(m.v, 5);
  }
  const Camera<float> low = square(32, 24 - kSnap / 2);
  EXPECT_EQ(map(low, square(), Mat3::identity(), DepthRule::InFront, 1, 0).v, 0);
  EXPECT_EQ(map(square(), square(), Mat3::identity(), DepthRule::InFront, 1, 48).reason,
            PixelSource::OutsideImage);
}

TEST(MapRow, ANaNIsNeverInside) {
  CamModel::CameraModel<float> model = pinholeModel<float>({64, 48}, {32, 24}, {64, 64});
  model.tangentialDistortion = {kNaN, 0};
  const Mat3 I = Mat3::identity();
  const Mat3 R(kNaN, 0, 0, 0, 1, 0, 0, 0, kNaN);
  for (const DepthRule rule : {DepthRule::InFront, DepthRule::NonZero}) {
    EXPECT_EQ(map(camera(model), square(), I, rule, 3, 3).reason, PixelSource::OutsideImage);
    EXPECT_NE(map(square(), square(), R, rule, 3, 3).reason, PixelSource::Inside);
  }
}

TEST(MapRow, AcceptsRaysByTheirDepth) {
  const Mat3 kBackwards(-1, 0, 0, 0, 1, 0, 0, 0, -1);
  const Mat3 kSideways(0, 0, 1, 0, 1, 0, -1, 0, 0);  // depth = 32 - x in units of 1 / f
  const struct {
    const Mat3& R;
    float f;  // of the target
    int x;
    PixelSource inFront, nonZero;
    int zeroDepth;
  } kCases[] = {
      {kBackwards, 64, 32, PixelSource::BehindCamera, PixelSource::Inside, 0},
      {kSideways, 64, 32, PixelSource::BehindCamera, PixelSource::BehindCamera, 1},
      {kSideways, 128, 31, PixelSource::BehindCamera, PixelSource::BeyondDistortion, 0},  // 0.0078
      {kSideways, 64, 31, PixelSource::BeyondDistortion, PixelSource::BeyondDistortion, 0},
      {kSideways, 64, 33, PixelSource::BehindCamera, PixelSource::BeyondDistortion, 0}};
  for (const auto& c : kCases) {
    CamModel::CameraModel<float> model = pinholeModel<float>({64, 48}, {32, 24}, {64, 64});
    model.limits.distortionLimit = 4;
    const Camera<float> target = square(32, 24, c.f);
    const Mapped front = map(camera(model), target, c.R, DepthRule::InFront, c.x, 24);
    const Mapped any = map(camera(model), target, c.R, DepthRule::NonZero, c.x, 24);
    EXPECT_EQ(front.reason, c.inFront) << c.f << " " << c.x;
    EXPECT_EQ(any.reason, c.nonZero) << c.f << " " << c.x;
    EXPECT_EQ(any.report.zeroDepth, c.zeroDepth);
    EXPECT_EQ(front.report.zeroDepth, 0);
  }
}

TEST(MapRow, ALargeMapIsThatOfItsRowsAndReportsThemWhenAsked) {
  CamModel::CameraModel<float> narrow = pinholeModel<float>({1200, 700}, {600, 350}, {900, 900});
  narrow.limits.undistortionLimit = 0.25;
  const Camera<float> source = square(), target = camera(narrow);
  const MapJob<float> job(source, target, Mat3::identity(), DepthRule::InFront, true);
  ImageFloat X, Y;
  ASSERT_TRUE(X.allocPixels({1200, 700}, MEMORY_ALIGNMENT_16, true));
  ASSERT_TRUE(Y.allocPixels({1200, 700}, MEMORY_ALIGNMENT_16, true));
  LogCapture log;
  fillMap(job, false, X, Y);
  EXPECT_EQ(log.text(), "");
  std::vector<std::uint8_t> reasons(1200 * 700), reasonsOfRow(1200);
  fillMap(job, true, X, Y, {reasons.data(), 1200});
  const MapKernel kernel(job);
  std::vector<float> x(1200), y(1200);
  int noInverse = 0;
  for (int row = 0; row < 700; ++row) {
    noInverse += kernel.row(row, 1200, x.data(), y.data(), reasonsOfRow.data()).noInverse;
    const bool equalReasons =
        std::equal(reasonsOfRow.begin(), reasonsOfRow.end(), &reasons[row * 1200UL]);
    ASSERT_TRUE(std::equal(x.begin(), x.end(), X.row(row)) &&
                std::equal(y.begin(), y.end(), Y.row(row)) && equalReasons)
        << row;
  }
  EXPECT_GT(noInverse, 0);
  EXPECT_EQ(log.count("AR_ASSERT result"), noInverse);
}

TEST(MapRow, ACalibrationMappingHoldsZeroWithoutASource) {
  CamModel::CameraModel<double> narrow = pinholeModel<double>({64, 48}, {32, 24}, {64, 64});
  narrow.limits.distortionLimit = 0.0625;  // 16 pixels
  const Camera<double> source = camera(narrow);
  const Camera<double> target = camera(pinholeModel<double>({20, 40}, {9, 30}, {32, 32}));
  Image<double> mapX, mapY;
  ImageOps::generateCalibrationMapping(source, target, mapX, mapY);
  for (int y = 0; y < 40; ++y) {
    for (int x = 0; x < 20; ++x) {
      const double u = 2.0 * (x - 9), v = 2.0 * (y - 30);
      const bool inRange = u * u + v * v < 256;
      EXPECT_NEAR(mapX.getPixel(x, y), inRange ? 32 + u : 0, 1e-12) << x << " " << y;
      EXPECT_NEAR(mapY.getPixel(x, y), inRange ? 24 + v : 0, 1e-12) << x << " " << y;
    }
  }
}

}  // namespace
}  // namespace AR::CV
