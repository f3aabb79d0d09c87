#include "Rows.h"

#include <algorithm>
#include <cmath>
#include <limits>

namespace rectiline::check {
namespace {

/// The direction (p, q, 1) of a place in a view: p along the baseline, q across it.
struct Direction {
  double p;
  double q;
};

Direction directionOf(const rectiline_view& view, const Position& place) {
  const double x = (place.x - view.cx) / view.fx;
  const double y = (place.y - view.cy) / view.fy;
  const double along = view.axis == 0 ? x : y;
  const double across = view.axis == 0 ? y : x;
  if (view.projection == RECTILINE_PINHOLE) return {along, across};
  return {std::tan(along) / std::cos(across), std::tan(across)};
}

/// A turn w moves the direction d by w x d.
void setSlopes(const rectiline_view& view, Row& row) {
  const auto [p, q] = directionOf(view, row.right);
  const double flat[3] = {-(1 + q * q), p * q, p};    // of q = y / z
  const double upright[3] = {-p * q, 1 + q * q, -p};  // of q = x / z
  const double focal = view.axis == 0 ? view.fy : view.fx;
  const double scale = view.projection == RECTILINE_PINHOLE ? focal : focal / (1 + q * q);
  for (int i = 0; i < 3; ++i) row.slopes[i] = scale * (view.axis == 0 ? flat[i] : upright[i]);
}

double medianOf(std::vector<double> values) {
  if (values.empty()) return std::numeric_limits<double>::quiet_NaN();
  const auto middle = values.begin() + static_cast<std::ptrdiff_t>(values.size() / 2);
  std::nth_element(values.begin(), middle, values.end());
  return *middle;
}

double dot(const double (&a)[3], const double (&b)[3]) {
  return a[0] * b[0] + a[1] * b[1] + a[2] * b[2];
}

/// Weighted normal equations of the turn.
struct Normal {
  double matrix[3][3] = {};
  double right[3] = {};

  void add(const Row& row, double weight) {
    for (int i = 0; i < 3; ++i) {
      for (int j = 0; j < 3; ++j) matrix[i][j] += weight * row.slopes[i] * row.slopes[j];
      right[i] += weight * row.slopes[i] * row.error;
    }
  }

  /// The inverse by cofactors. A turn that nothing is known about is taken to be within 10 degrees.
  void invert(double (&inverse)[3][3]) const {
    double m[3][3];
    for (int i = 0; i < 3; ++i) {
      for (int j = 0; j < 3; ++j) m[i][j] = matrix[i][j] + (i == j ? 33 : 0);
    }
    for (int i = 0; i < 3; ++i) {
      for (int j = 0; j < 3; ++j) {
        const int a = (j + 1) % 3, b = (j + 2) % 3, c = (i + 1) % 3, d = (i + 2) % 3;
        inverse[i][j] = m[a][c] * m[b][d] - m[a][d] * m[b][c];
      }
    }
    const double determinant =
        m[0][0] * inverse[0][0] + m[0][1] * inverse[1][0] + m[0][2] * inverse[2][0];
    for (auto& line : inverse) {
      for (double& value : line) value /= determinant;
    }
  }
};

double residual(const Row& row, const double (&turn)[3]) {
  return row.error - dot(row.slopes, turn);
}

/// What lies within this distance from the trend belongs to it, pixels.
double reachOf(const std::vector<Row>& rows, const double (&turn)[3]) {
  constexpr double kLeast = 0.5;
  constexpr double kDeviations = 4;
  constexpr double kPerMedian = 1.4826;  // of a normal distribution's absolute values
  std::vector<double> distances;
  for (const Row& row : rows) {
    const double distance = std::fabs(residual(row, turn));
    if (std::isfinite(distance)) distances.push_back(distance);
  }
  const double median = medianOf(std::move(distances));
  return std::max(kLeast, kDeviations * kPerMedian * median);
}

void fitTurn(Rows& result) {
  constexpr int kIterations = 15;
  double inverse[3][3] = {};
  for (int iteration = 0; iteration < kIterations; ++iteration) {
    const double reach = reachOf(result.rows, result.turn);
    Normal normal;
    for (const Row& row : result.rows) {
      // Tukey's weight: what is far from the trend does not pull at it.
      const double t = residual(row, result.turn) / reach;
      if (t * t < 1) normal.add(row, (1 - t * t) * (1 - t * t));
    }
    normal.invert(inverse);
    for (int i = 0; i < 3; ++i) result.turn[i] = dot(inverse[i], normal.right);
  }
  const double reach = reachOf(result.rows, result.turn);
  Normal normal;
  double squares = 0;
  for (Row& row : result.rows) {
    const double r = residual(row, result.turn);
    row.inlier = std::fabs(r) < reach;
    if (!row.inlier) continue;
    ++result.inliers;
    squares += r * r;
    normal.add(row, 1);
  }
  normal.invert(inverse);
  const double variance = squares / std::max(1, result.inliers - 3);
  for (int i = 0; i < 3; ++i) result.sigma[i] = std::sqrt(variance * inverse[i][i]);
}

}  // namespace

std::vector<Row> placeMatches(const Frame& frame, std::span<const RawMatch> matches) {
  std::vector<Position> left;
  std::vector<Position> right;
  for (const RawMatch& m : matches) {
    left.push_back(m.left);
    right.push_back(m.right);
  }
  left = frame.leftInView(left);
  right = frame.rightInView(right);
  const rectiline_rectification& r = frame.rectification();
  std::vector<Row> rows;
  for (std::size_t i = 0; i < matches.size(); ++i) {
    Row row{left[i], right[i], 0, 0, {}, false};
    const double x = left[i].x - right[i].x;
    const double y = left[i].y - right[i].y;
    row.error = r.axis == 0 ? y : x;
    row.disparity = r.disparity_sign * (r.axis == 0 ? x : y);
    setSlopes(r.right, row);
    rows.push_back(row);
  }
  return rows;
}

Rows measureRows(const Frame& frame, std::span<const RawMatch> matches) {
  Rows result{};
  result.rows = placeMatches(frame, matches);
  fitTurn(result);
  std::vector<double> errors;
  std::vector<double> residuals;
  double squares = 0;
  int forward = 0;
  for (const Row& row : result.rows) {
    if (!row.inlier) continue;
    errors.push_back(std::fabs(row.error));
    residuals.push_back(std::fabs(residual(row, result.turn)));
    squares += row.error * row.error;
    result.close += residuals.back() < 1;
    forward += row.disparity > 0;
  }
  result.rms = std::sqrt(squares / result.inliers);
  result.forward = static_cast<double>(forward) / result.inliers;
  result.median = medianOf(std::move(errors));
  result.residual = medianOf(std::move(residuals));
  return result;
}

}  // namespace rectiline::check
