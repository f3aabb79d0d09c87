#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <functional>
#include <limits>
#include <random>
#include <string>
#include <thread>
#include <vector>

#include "AR/Common/Logger.h"
#include "AR/Common/Macros.h"
#include "AR/Common/WorkerPool.h"
#include "VIO/MapQuality.h"
#include "testing/LogCapture.h"

namespace {

using rectiline::testing::LogCapture;

struct Maps {
  Maps(int w, int h, const std::function<float(int, int)>& fx,
       const std::function<float(int, int)>& fy)
      : width(w), height(h) {
    for (int y = 0; y < h; ++y) {
      for (int x = 0; x < w; ++x) {
        X.push_back(fx(x, y));
        Y.push_back(fy(x, y));
      }
    }
  }

  [[nodiscard]] MapReport report() const {
    MapReport r{};
    const auto n = static_cast<std::uint32_t>(X.size());
    EXPECT_TRUE(CreateMapReport(X.data(), n, Y.data(), n, static_cast<std::uint32_t>(width),
                                static_cast<std::uint32_t>(height), &r));
    return r;
  }

  int width;
  int height;
  std::vector<float> X, Y;
};

float column(int x, int) { return static_cast<float>(x); }
float row(int, int y) { return static_cast<float>(y); }

TEST(MapReportTest, ScalesAndFolds) {
  const auto fold = [](int x, int) { return static_cast<float>(x < 6 ? x : 11 - x); };
  const auto mirror = [](int x, int) { return static_cast<float>(20 - x); };
  const auto wide = [](int x, int) { return 2.0F * static_cast<float>(x); };
  const struct {
    const char* name;
    std::function<float(int, int)> x;
    std::uint64_t folded;
    double least, greatest;
  } rows[] = {
      {"identity", column, 0, 1, 1},
      {"mirrored as a whole", mirror, 0, 1, 1},
      {"half as large along x", wide, 0, 0.5, 1},
      // 5 columns turned back, and one between where the column does not change at all.
      {"folded", fold, 9 * 6, 1, std::numeric_limits<double>::infinity()},
  };
  for (const auto& c : rows) {
    SCOPED_TRACE(c.name);
    const MapReport r = Maps(12, 10, c.x, row).report();
    EXPECT_EQ(r.shareWithSource, 1);
    EXPECT_EQ(r.measuredPixels, 11U * 9U);
    EXPECT_EQ(r.foldedPixels, c.folded);
    EXPECT_EQ(r.leastMagnification, c.least);
    EXPECT_EQ(r.greatestMagnification, c.greatest);
  }
}

TEST(MapReportTest, HostileValuesAreNoSources) {
  const float bad[] = {-1, std::nanf(""), std::numeric_limits<float>::infinity()};
  for (const float value : bad) {
    const auto all = [value](int, int) { return value; };
    const MapReport r = Maps(5, 4, all, all).report();
    EXPECT_EQ(r.pixelsWithSource, 0U);
    EXPECT_EQ(r.rectWidth, 0);
    EXPECT_EQ(r.greatestMagnification, 0);
  }
}

/// Area of the largest rectangle of pixels with a source, by trying all.
int bruteForceArea(const Maps& maps) {
  int best = 0;
  for (int y0 = 0; y0 < maps.height; ++y0) {
    for (int x0 = 0; x0 < maps.width; ++x0) {
      int right = maps.width;
      for (int y = y0; y < maps.height; ++y) {
        int x = x0;
        while (x < right && maps.X[static_cast<std::size_t>(y * maps.width + x)] != -1) ++x;
        right = x;
        best = std::max(best, (right - x0) * (y - y0 + 1));
      }
    }
  }
  return best;
}

TEST(MapReportTest, LargestRectangleOfRandomMaps) {
  std::mt19937 random(7);
  for (int i = 0; i < 200; ++i) {
    std::bernoulli_distribution hole(0.02 + 0.002 * i);
    const int width = 1 + static_cast<int>(random() % 17);
    const int height = 1 + static_cast<int>(random() % 13);
    std::vector<bool> holes;
    for (int k = 0; k < width * height; ++k) holes.push_back(hole(random));
    const auto at = [&](int x, int y) {
      return holes[static_cast<std::size_t>(y * width + x)] ? -1.0F : 5.0F;
    };
    const Maps maps(width, height, at, at);
    const MapReport r = maps.report();
    ASSERT_EQ(r.rectWidth * r.rectHeight, bruteForceArea(maps));
    for (int y = r.rectY; y < r.rectY + r.rectHeight; ++y) {
      for (int x = r.rectX; x < r.rectX + r.rectWidth; ++x) ASSERT_EQ(at(x, y), 5);
    }
  }
}

TEST(MapReportTest, RefusesWhatItCannotRead) {
  float f[4] = {};
  MapReport r{};
  EXPECT_FALSE(CreateMapReport(nullptr, 4, f, 4, 2, 2, &r));
  EXPECT_FALSE(CreateMapReport(f, 4, f, 4, 2, 2, nullptr));
  EXPECT_FALSE(CreateMapReport(f, 3, f, 4, 2, 2, &r));
  EXPECT_FALSE(CreateMapReport(f, 4, f, 4, 0, 2, &r));
  EXPECT_FALSE(CreateMapReport(f, 4, f, 4, 0xffffffffU, 0xffffffffU, &r));
}

TEST(RowTimes, AreThoseOfTheSourceRow) {
  CameraCalibrationZEL camera{};
  camera.line_time_ns = 16000;
  camera.rs_center_row = 240;
  const float X[] = {3, -1, 5};
  const float Y[] = {240, -1, 0.5F};
  float seconds[3];
  ASSERT_TRUE(CreateRowTimePlane(&camera, X, Y, 3, seconds));
  EXPECT_FLOAT_EQ(seconds[0], 0);
  EXPECT_TRUE(std::isnan(seconds[1]));
  EXPECT_FLOAT_EQ(seconds[2], -239.5F * 16e-6F);
  EXPECT_FALSE(CreateRowTimePlane(&camera, nullptr, Y, 3, seconds));
}

void failCheck(int line) { AR::Common::logError("what", "where", "void failCheck(int)", line); }

TEST(FailedCheckQueries, KeepTheLatestSixteenOfThisThread) {
  const LogCapture log;
  AR::Common::Logger::getInstance().setLevel(AR::Common::Logger::OFF);
  ResetFailedChecks();
  for (int line = 1; line <= 20; ++line) failCheck(line);
  FailedCheck checks[32];
  EXPECT_EQ(GetFailedCheckCount(), 20U);
  ASSERT_EQ(GetFailedChecks(checks, 32), 16U);
  EXPECT_EQ(checks[0].line, 20);
  EXPECT_EQ(checks[15].line, 5);
  EXPECT_STREQ(checks[0].expression, "what");
  EXPECT_STREQ(checks[0].source, "where");
  EXPECT_EQ(GetFailedChecks(checks, 2), 2U);
  EXPECT_EQ(GetFailedChecks(nullptr, 2), 0U);

  std::thread([] { EXPECT_EQ(GetFailedCheckCount(), 0U); }).join();

  const std::string tooLong(300, 'x');
  AR::Common::logError(tooLong.c_str(), tooLong.c_str(), "f", 1);
  ASSERT_EQ(GetFailedChecks(checks, 1), 1U);
  EXPECT_EQ(std::string(checks[0].expression), tooLong.substr(0, 127));
  ResetFailedChecks();
  EXPECT_EQ(GetFailedChecks(checks, 32), 0U);
  EXPECT_EQ(GetFailedCheckCount(), 0U);
  AR::Common::Logger::getInstance().setLevel(AR::Common::Logger::DEBUG);
}

TEST(FailedCheckQueries, IncludeWhatWorkersFound) {
  const LogCapture log;
  ResetFailedChecks();
  AR::Common::WorkerPools::dispatch([](int i) { failCheck(100 + i); }, 6U);
  EXPECT_EQ(GetFailedCheckCount(), 6U);
  FailedCheck checks[16];
  ASSERT_EQ(GetFailedChecks(checks, 16), 6U);
  std::vector<int> lines;
  for (int i = 0; i < 6; ++i) lines.push_back(checks[i].line);
  std::sort(lines.begin(), lines.end());
  EXPECT_EQ(lines, (std::vector<int>{100, 101, 102, 103, 104, 105}));
}

}  // namespace
