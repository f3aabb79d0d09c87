#include <gtest/gtest.h>

#include <array>
#include <vector>

#include "AR/CV/Image/Image.h"
#include "PairCall.h"
#include "TestModels.h"
#include "VIO/StereoRectify.h"

namespace VIO {
namespace {

using AR::CV::Camera;
using AR::Math::SO3;
using AR::Math::Vec;
using testing::device;
using testing::GuardedBuffer;
using testing::kPixels;
using testing::LogCapture;
using testing::PairCall;
using testing::PairFunction;

constexpr PairFunction kFunctions[] = {PairFunction::Rectify, PairFunction::Undistort,
                                       PairFunction::FixedPlane};

/// A distorted, turned pair of 320 x 240 whose maps have holes of several kinds.
PairCall distortedCall(PairFunction function, const testing::ModelCase& c) {
  PairCall call(function, std::vector<std::uint32_t>(4, 320 * 240));
  call.record = call.eyes = device(c, 150);
  call.record.cameras[1].pose.orientation = {0, 0.15, 0.1, std::sqrt(1 - 0.0325)};
  call.record.cameras[1].intrinsics.distortion_limit = 0.9;
  call.record.cameras[1].intrinsics.undistortion_limit = 0.9;
  call.factor = 0.6F;
  return call;
}

TEST(Reasons, ChangeNoBitOfAMapAndAgreeWithIt) {
  std::array<int, 6> seen{};
  for (const PairFunction function : kFunctions) {
    for (const testing::ModelCase& c : testing::kModels) {
      for (const std::uint32_t keepOutside : {0U, 1U}) {
        SCOPED_TRACE(c.name);
        PairCall with = distortedCall(function, c), without = distortedCall(function, c);
        with.keepOutside = without.keepOutside = keepOutside;
        LogCapture log;
        ASSERT_TRUE(with.run(true) && without.run(false));
        for (std::size_t m = 0; m < 4; ++m) {
          ASSERT_EQ(std::memcmp(with.maps[m].data(), without.maps[m].data(), 320 * 240 * 4), 0);
        }
        for (std::size_t i = 0; i < 2 * 320 * 240; ++i) {
          const std::size_t camera = i % 2;
          const float u = with.maps[2 * camera][i / 2], v = with.maps[2 * camera + 1][i / 2];
          const std::uint8_t reason = with.reasons[camera][i / 2];
          const bool inside = u >= 0 && v >= 0 && u < 320 && v < 240;
          const bool past = inside && (u > 319 || v > 239);
          ASSERT_LE(reason, MAP_PIXEL_OUTSIDE_IMAGE);
          ASSERT_EQ(reason <= MAP_PIXEL_OK_PAST_LAST_CENTRE, inside);
          ASSERT_EQ(reason == MAP_PIXEL_OK_PAST_LAST_CENTRE, past);
          const bool kept = reason == MAP_PIXEL_OUTSIDE_IMAGE && keepOutside != 0;
          ASSERT_EQ(u == -1 && v == -1, !inside && !kept) << int{reason};
          ++seen[reason];
        }
      }
    }
  }
  EXPECT_GT(*std::min_element(seen.begin(), seen.end()), 0);
}

/// A map of 64 x 48 with its reasons.
struct Map {
  Map(const Camera<float>& source, const Camera<float>& target, const SO3<float>& R_st) {
    AR::CV::ImageFloat images[2];
    images[0].set(X.data(), {64, 48}, {64, 48}, false);
    images[1].set(Y.data(), {64, 48}, {64, 48}, false);
    AR::Common::ArrayView<AR::CV::ImageFloat> mapXY(images, 2);
    setupUndistortMap(source, target, false, R_st, mapXY, plane.data());
  }
  GuardedBuffer<float> X{kPixels}, Y{kPixels};
  GuardedBuffer<std::uint8_t> plane{kPixels};
};

TEST(Reasons, SayWhatHappenedToThePixel) {
  // To the side: depth is 0 in column 32, and the distortion ends at 50 / 25 columns from there.
  const SO3<float> right(AR::Math::Mat<float, 3, 3>(0, 0, 1, 0, 1, 0, -1, 0, 0));
  const auto limited = [](double limit) {
    DeviceCalibrationZEL record = device();
    IntrinsicCameraCalibrationZEL& in = record.cameras[0].intrinsics;
    in.distortion_limit = in.undistortion_limit = limit;
    return testing::rigOf(record);
  };
  const auto shifted = [](double x, double y) {
    DeviceCalibrationZEL record = device();
    record.cameras[0].intrinsics.principal_point_x += x;
    record.cameras[0].intrinsics.principal_point_y += y;
    return testing::rigOf(record);
  };
  const auto plain = testing::rigOf(device());
  const auto distance2 = [](int x, int y) { return (x - 32) * (x - 32) + (y - 24) * (y - 24); };
  const struct {
    AR::CV::FullStereoCameraCalibration<float> source, target;
    SO3<float> R_st;
    std::function<int(int x, int y)> expected;
  } kCases[] = {
      {plain, plain, {}, [](int, int) { return MAP_PIXEL_OK; }},
      {shifted(0.5, 0), plain, {}, [](int x, int) { return x == 63; }},
      {shifted(0, 0.5), plain, {}, [](int, int y) { return y == 47; }},
      {plain, plain, right, [](int x, int) { return x == 32                 ? 2
                                                    : std::abs(x - 32) <= 2 ? 3
                                                                            : 5; }},
      // A radius of 20.5 pixels, seen from the other side each.
      {limited(0.41), plain, {}, [&](int x, int y) { return distance2(x, y) > 420 ? 3 : 0; }},
      {plain, limited(0.41), {}, [&](int x, int y) { return distance2(x, y) > 420 ? 4 : 0; }},
      {shifted(-3, 2), plain, {}, [](int x, int y) { return x < 3 || y > 45 ? 5 : 0; }},
      {shifted(0.5, 2), plain, {}, [](int x, int y) { return y > 45    ? 5
                                                             : x == 63 ? 1
                                                                       : 0; }},
  };
  for (const auto& c : kCases) {
    LogCapture log;
    Map map(c.source.at(0).getIntrinsics(), c.target.at(0).getIntrinsics(), c.R_st);
    for (int i = 0; i < 64 * 48; ++i) {
      const auto at = static_cast<std::size_t>(i);
      ASSERT_EQ(map.plane[at], c.expected(i % 64, i / 64)) << &c - kCases << " " << i;
      ASSERT_EQ(map.X[at] == -1, map.plane[at] > 1) << &c - kCases << " " << i;
    }
    EXPECT_TRUE(map.plane.intact());
    EXPECT_EQ(log.count("AR_ASSERT nVal != 0 "), &c - kCases == 3 ? 48 : 0) << log.text();
  }
}

TEST(Reasons, NeedAPlaneThatIsLargeEnough) {
  for (const PairFunction function : kFunctions) {
    for (const std::size_t size : {std::size_t{0}, std::size_t{1}, std::size_t{kPixels - 1}}) {
      PairCall call(function);
      call.reasons[0] = GuardedBuffer<std::uint8_t>(size);
      call.reasons[1] = GuardedBuffer<std::uint8_t>(kPixels + 5);
      ASSERT_TRUE(call.run(true));
      EXPECT_EQ(call.reasonContents(), size == 0 ? ".m" : "-m");
      EXPECT_EQ(call.mapContents(), "mmmm");
      EXPECT_TRUE(call.intact());
    }
  }
}

}  // namespace
}  // namespace VIO
