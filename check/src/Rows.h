#pragma once

#include <span>
#include <vector>

#include "Frame.h"

namespace rectiline::check {

/// A match as a frame places it, NaN where it has no place.
struct Row {
  Position left;
  Position right;
  double error;      // left minus right position across the baseline, pixels
  double disparity;  // along it, positive in front of the cameras
  double slopes[3];  // how far the right point moves across per turn of the right camera about the
                     // axes of the frame, pixels per radian
  bool inlier;
};

/// The row errors of matches and what they have in common.
struct Rows {
  std::vector<Row> rows;  // one per match
  int inliers = 0;
  double median = 0;  // of the absolute errors of inliers, pixels; NaN without any
  double rms = 0;
  double forward = 0;  // share of inliers with a positive disparity
  double turn[3];      // radians
  double sigma[3];
  double residual = 0;  // median of the absolute errors of inliers once turned, pixels
  int close = 0;        // inliers within a pixel of the trend
};

/// The matches in a frame; none of them is an inlier yet.
std::vector<Row> placeMatches(const Frame& frame, std::span<const RawMatch> matches);

/// Places matches and fits, robustly, the turn of the right camera that removes their row errors.
Rows measureRows(const Frame& frame, std::span<const RawMatch> matches);

}  // namespace rectiline::check
