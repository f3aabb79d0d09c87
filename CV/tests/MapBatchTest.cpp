#include <gtest/gtest.h>

#include <functional>
#include <string>
#include <vector>

#include "AR/CV/Camera/PinholeModel.h"
#include "AR/CV/Map/MapJob.h"
#include "testing/LogCapture.h"

namespace AR::CV {
namespace {

using rectiline::testing::LogCapture;
using Mat3 = Math::Mat<float, 3, 3>;

Camera<float> camera(const CamModel::CameraModel<float>& model) {
  Camera<float> result;
  EXPECT_TRUE(result.init(model));
  return result;
}

/// A large map, made on the worker pool, and a small one, with what was logged meanwhile.
struct Maps {
  std::vector<float> pixels = std::vector<float>(2 * (1000 * 700 + 64 * 48), -7);
  ImageFloat x1{pixels.data(), {1000, 700}, false}, y1{x1.row(700), {1000, 700}, false};
  ImageFloat x2{y1.row(700), {64, 48}, false}, y2{x2.row(48), {64, 48}, false};
  std::string logged;
};

TEST(MapBatch, MakesAndReportsWhatFillMapDoesOfOneAfterTheOther) {
  CamModel::CameraModel<float> narrow = pinholeModel<float>({1000, 700}, {600, 350}, {900, 900});
  narrow.limits.undistortionLimit = 0.59F;  // not the corners
  const Camera<float> large = camera(narrow);
  const Camera<float> source = camera(pinholeModel<float>({64, 48}, {32, 24}, {64, 64})),
                      small = source;
  const Mat3 kSideways(0, 0, 1, 0, 1, 0, -1, 0, 0);
  const MapJob<float> first(source, large, Mat3::identity(), DepthRule::InFront, true);
  const MapJob<float> second(source, small, kSideways, DepthRule::NonZero, false);
  const std::function<void(Maps&)> kSpoilings[] = {
      [](Maps&) {},
      [](Maps& m) {
        m.y2.set(nullptr, {64, 48}, {64, 48}, false);
      },
      [](Maps& m) {
        m.x1.set(nullptr, {1000, 700}, {1000, 700}, false);
      },
      [](Maps& m) {
        m.x2.set(m.x1.row(1), {64, 48}, {64, 48}, false);
      },
      [](Maps& m) {
        m.x1.set(m.y2.pixels(), {1, 20}, {1, 20}, false);
      }};
  for (const auto& spoil : kSpoilings) {
    Maps single, batched;
    const auto make = [&](Maps& maps, const std::function<void()>& fill) {
      spoil(maps);
      const LogCapture log;
      fill();
      maps.logged = log.text();
    };
    make(single, [&] {
      fillMap(first, true, single.x1, single.y1);
      fillMap(second, true, single.x2, single.y2);
    });
    MapBatch<float> batch;
    make(batched, [&] {
      batch.add(first, true, batched.x1, batched.y1);
      batch.add(second, true, batched.x2, batched.y2);
      batch.fill();
    });
    EXPECT_NE(single.logged, "");
    EXPECT_TRUE(single.logged == batched.logged) << batched.logged.substr(0, 1000);
    EXPECT_TRUE(single.pixels == batched.pixels);
  }
}

}  // namespace
}  // namespace AR::CV
