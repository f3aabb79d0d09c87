#pragma once

#include "Check.h"

namespace rectiline::formats {

/// A model of the library, by the source model with the same formula, and the numbers that are
/// free in it, by their names.
struct FitCandidate {
  const SourceModel* model;
  std::string free;
};

/// Those that the library's models are tried by.
[[nodiscard]] const std::vector<FitCandidate>& libraryCandidates();

/// Replaces the lens of `record` by the closest to samples of it, the first of which lies on the
/// axis: the first candidate that is within kGreatestDifference of all of them, or else the one
/// whose greatest distance, which is returned, is least. Throws FormatError when none comes near.
/// @param start  coefficients to begin with in the rational family; focal lengths and principal
///     point are found
Comparison fitLens(const std::vector<Sample>& samples, const std::vector<FitCandidate>& candidates,
                   const LensParameters& start, const Place& place, CameraCalibrationZEL& record);

}  // namespace rectiline::formats
