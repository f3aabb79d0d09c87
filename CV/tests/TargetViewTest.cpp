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

TEST(TargetView, AMapWiderThanItHasNoSourceBeyond) {
  Camera<float> source;
  ASSERT_TRUE(source.init(pinholeModel<float>({320, 240}, {158, 121}, {100, 101})));
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

TEST(TargetView, PlainRowsHaveNoRay90DegreesOffTheAxis) {
  Camera<float> source;
  ASSERT_TRUE(source.init(pinholeModel<float>({320, 240}, {158, 121}, {100, 101})));
  for (const int axis : {0, 1}) {
    const MapJob<float> job(source, view(TargetProjection::LatitudeLongitude, axis),
                            Math::Mat<float, 3, 3>::identity(), DepthRule::InFront, true);
    MapRowReport report;
    float u, v;
    const MapRow<float> row(job, axis == 0 ? 100 : 270);
    EXPECT_EQ(row.source(axis == 0 ? 300 : 150, u, v, report), PixelSource::NoInverse);
  }
}

}  // namespace
}  // namespace AR::CV
