#include <gtest/gtest.h>

#include <cmath>
#include <random>

#include "AR/CV/Camera/PinholeModel.h"
#include "AR/CV/Map/TargetView.h"
#include "AR/Math/SO3.h"
#include "Map/MapRow.h"

namespace AR::CV {
namespace {

using Vec2 = Math::Vec<double, 2>;
using Vec3 = Math::Vec<double, 3>;

TargetView view(TargetProjection projection, int axis) {
  return {projection, axis, 320, 240, 90, 90, 150.5, 121};
}

constexpr TargetProjection kBoth[] = {TargetProjection::Pinhole,
                                      TargetProjection::LatitudeLongitude};

TEST(TargetView, RaysAndPixelsAreEachOthersInverse) {
  for (const TargetProjection projection : kBoth) {
    for (const int axis : {0, 1}) {
      const TargetView target = view(projection, axis);
      int tested = 0;
      for (int i = 0; i < 320 * 240; i += 7) {
        const Vec2 pixel(i % 320, i / 320);
        Vec3 ray;
        Vec2 back;
        if (!target.tryRay(pixel, ray)) continue;
        ASSERT_TRUE(target.tryPixel(0.7 * ray, back));
        ASSERT_LT(Math::norm(back - pixel), 1e-10) << i;
        ++tested;
      }
      // 90 degrees are 141.4 pixels: some columns have no ray, and no row of a vertical pair lacks
      // one.
      const bool cut = projection == TargetProjection::LatitudeLongitude && axis == 0;
      EXPECT_NEAR(tested, (cut ? 282 : 320) * 240 / 7, 320);
    }
  }
}

TEST(TargetView, RefusesWhatItDoesNotShow) {
  Vec3 ray(7, 7, 7);
  Vec2 pixel(7, 7);
  EXPECT_FALSE(view(TargetProjection::Pinhole, 0).tryPixel({0, 0, -1}, pixel));
  EXPECT_FALSE(view(TargetProjection::LatitudeLongitude, 0).tryPixel({1, 0, 0}, pixel));
  EXPECT_FALSE(view(TargetProjection::LatitudeLongitude, 1).tryPixel({0, -1, 0}, pixel));
  EXPECT_FALSE(view(TargetProjection::LatitudeLongitude, 0).tryRay({150.5 + 141.4, 0}, ray));
  EXPECT_FALSE(view(TargetProjection::LatitudeLongitude, 1).tryRay({0, 121 - 141.4}, ray));
  EXPECT_FALSE(view(TargetProjection::LatitudeLongitude, 0).tryRay({NAN, 0}, ray));
  EXPECT_EQ(ray(0) + pixel(0), 14);
  EXPECT_TRUE(view(TargetProjection::LatitudeLongitude, 0).tryPixel({0, 1, -1}, pixel));
}

TEST(TargetView, APairSeesAPointInOneRowAndTheColumnsTellItsRange) {
  std::mt19937 random(7);
  std::uniform_real_distribution<double> coordinate(-2, 2);
  for (const TargetProjection projection : kBoth) {
    for (const int axis : {0, 1}) {
      for (const double baseline : {0.06, -0.3}) {
        const TargetView target = view(projection, axis);
        const auto along = static_cast<std::size_t>(axis);
        for (int i = 0; i < 200; ++i) {
          const bool isPinhole = projection == TargetProjection::Pinhole;
          Vec3 point(coordinate(random), coordinate(random), coordinate(random));
          if (isPinhole) point(2) = std::fabs(point(2)) + 0.1;
          Vec3 fromRight = point;
          fromRight(along) -= baseline;
          Vec2 left, right;
          ASSERT_TRUE(target.tryPixel(point, left) && target.tryPixel(fromRight, right));
          ASSERT_NEAR(left(1 - along), right(1 - along), 1e-9 * target.fx);
          const double range = isPinhole ? point(2) : Math::norm(point);
          ASSERT_NEAR(target.rangeFrom(baseline, left(along), right(along)) / range, 1, 1e-9);
        }
      }
    }
  }
}

/// A camera that sees up to 84 degrees off its axis.
template <typename P>
Camera<P> fisheye() {
  CamModel::CameraModel<P> model;
  model.size = {320, 240};
  model.principalPoint = {158, 121};
  model.focalLength = {100, 101};
  model.model = CamModel::FISHEYE_4_PARAMETERS;
  model.radialDistortion = {P(-0.01), P(0.002), 0, 0, 0, 0};
  model.tangentialDistortion = {P(1e-3), P(-5e-4)};
  model.limits = {100, P(2.2)};
  Camera<P> camera;
  EXPECT_TRUE(camera.init(model));
  return camera;
}

/// Whether the plain rows of a map agree with the definition of the view, in double. `mustSee`: how
/// many pixels have a source at least.
void expectMapOfView(const TargetView& target, const Math::SO3<double>& R_st, int mustSee) {
  const Camera<float> source = fisheye<float>();
  const Camera<double> exact = fisheye<double>();
  const MapJob<float> job(source, target, R_st.cast<float>().matrix(), DepthRule::InFront, true);
  int seen = 0;
  for (int y = 0; y < target.height; ++y) {
    const MapRow<float> row(job, y);
    for (int x = 0; x < target.width; ++x) {
      Vec3 ray_t;
      Vec2 expected;
      float u = 0, v = 0;
      MapRowReport report;
      const PixelSource reason = row.source(x, u, v, report);
      const bool hasRay = target.tryRay(Vec2(x, y), ray_t);
      ASSERT_EQ(reason == PixelSource::NoInverse, !hasRay) << x << " " << y;
      const bool hasSource = hasRay && exact.tryProjectToPix(R_st * ray_t, expected);
      const double depth = hasRay ? (R_st * ray_t)(2) : 0;
      if (std::fabs(depth - 0.01) < 1e-6) continue;  // rounding decides
      if (hasSource != (reason == PixelSource::Inside || reason == PixelSource::OutsideImage)) {
        ASSERT_EQ(reason, PixelSource::BeyondDistortion) << x << " " << y;
        ASSERT_LT(depth, 0.11) << "at the limit of 100 of the squared radius";
        continue;
      }
      if (!hasSource) continue;
      ASSERT_NEAR(u, expected(0), 2e-3) << x << " " << y;
      ASSERT_NEAR(v, expected(1), 2e-3) << x << " " << y;
      ++seen;
    }
  }
  EXPECT_GT(seen, mustSee);
}

TEST(TargetView, MapsShowWhatItSays) {
  const Math::SO3<double> I;
  const auto R_turned = Math::SO3<double>::exp({0.4, -0.7, 0.2});
  for (const TargetProjection projection : kBoth) {
    for (const int axis : {0, 1}) {
      SCOPED_TRACE(axis);
      expectMapOfView(view(projection, axis), I, 40000);
      expectMapOfView(view(projection, axis), R_turned, 30000);
    }
  }
}

TEST(TargetView, AMapWiderThanItHasNoSourceBeyond) {
  const Camera<float> source = fisheye<float>();
  TargetView target = view(TargetProjection::LatitudeLongitude, 0);
  target.cy = 0;
  const MapJob<float> job(source, target, Math::Mat<float, 3, 3>::identity(), DepthRule::InFront,
                          true);
  ImageFloat X, Y;
  ASSERT_TRUE(X.allocPixels({500, 2}, MEMORY_ALIGNMENT_16, true));
  ASSERT_TRUE(Y.allocPixels({500, 2}, MEMORY_ALIGNMENT_16, true));
  fillMap(job, false, X, Y);
  EXPECT_NE(X.getPixel(280, 1), -1);
  for (int x = 320; x < 500; ++x) ASSERT_EQ(X.getPixel(x, 1), -1) << x;
}

}  // namespace
}  // namespace AR::CV
