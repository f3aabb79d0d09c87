#include <gtest/gtest.h>

#include <cmath>
#include <vector>

#include "plan/Arithmetic.h"

namespace kel::plan {
namespace {

/// Left and right of the upper, then of the lower row.
struct Neighbours {
  int n[4];
};

std::vector<Neighbours> allOf(const std::vector<int>& levels) {
  std::vector<Neighbours> all;
  for (const int a : levels) {
    for (const int b : levels) {
      for (const int c : levels) {
        for (const int d : levels) all.push_back({{a, b, c, d}});
      }
    }
  }
  return all;
}

double exactly(const Neighbours& at, double s, double t) {
  return (1 - t) * ((1 - s) * at.n[0] + s * at.n[1]) + t * ((1 - s) * at.n[2] + s * at.n[3]);
}

/// The farthest that a pixel with these weights may be from the exact value at any position that
/// has them: the value is bilinear, so one of the corners of those positions is the worst.
double worst(const Neighbours& at, int weightRight, int weightLower) {
  const int rows[] = {interpolateRow(at.n[0], at.n[1], weightRight),
                      interpolateRow(at.n[2], at.n[3], weightRight)};
  const int level = toByte(interpolateRows(rows[0], rows[1], weightLower));
  const auto bound = [](int weight, double half) {
    return std::min(std::max((weight + half) / 255, 0.0), 1.0);
  };
  double greatest = 0;
  for (const double halfS : {-0.5, 0.5}) {
    for (const double halfT : {-0.5, 0.5}) {
      const double exact = exactly(at, bound(weightRight, halfS), bound(weightLower, halfT));
      greatest = std::max(greatest, std::abs(std::floor(exact + 0.5) - level));
    }
  }
  return greatest;
}

TEST(PlanArithmetic, IsWithinOneLevelForAllWeightsAndExtremeNeighbours) {
  for (const Neighbours& at : allOf({0, 128, 255})) {
    for (int weights = 0; weights < 256 * 256; ++weights) {
      ASSERT_LE(worst(at, weights % 256, weights / 256), 1) << weights;
    }
  }
}

// Where the bound is closest: weights off a corner by what the bound leaves, and neighbours
// likewise.
TEST(PlanArithmetic, IsWithinOneLevelAboutTheCorners) {
  const std::vector<Neighbours> neighbours = allOf({0, 1, 2, 5, 8, 247, 250, 253, 254, 255});
  for (const Neighbours& at : neighbours) {
    for (int weights = 0; weights < 20 * 20; ++weights) {
      const auto nearCorner = [](int i) { return i < 10 ? i : 236 + i; };
      ASSERT_LE(worst(at, nearCorner(weights % 20), nearCorner(weights / 20)), 1) << weights;
    }
  }
}

TEST(PlanArithmetic, ReachesEveryNeighbourAlone) {
  for (int level = 0; level < 256; ++level) {
    for (int corner = 0; corner < 4; ++corner) {
      Neighbours at{{255 - level, 255 - level, 255 - level, 255 - level}};
      at.n[corner] = level;
      const int right = kFullWeight * (corner % 2);
      const int value =
          interpolateRows(interpolateRow(at.n[0], at.n[1], right),
                          interpolateRow(at.n[2], at.n[3], right), kFullWeight * (corner / 2));
      EXPECT_EQ(toByte(value), level);
      EXPECT_EQ(toByte(value, 1 << 15, 15), level) << "a gain of 1 changes nothing";
    }
  }
}

}  // namespace
}  // namespace kel::plan
