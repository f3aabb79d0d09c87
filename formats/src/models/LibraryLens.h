#pragma once

#include "models/SourceModel.h"

namespace rectiline::formats {

/// The library's numbers for its models, as its interface documents them.
enum LibraryLens {
  kLinear = 0,
  kRadial2 = 1,
  kRadial3 = 2,
  kRadial6 = 3,
  kFisheye1 = 4,
  kFisheye4 = 5,
  kChebyshev4 = 6,
  kFisheyeSpline3 = 7,
  kFisheyeRational = 8
};

/// The smallest of the library's models of the rational family that holds the coefficients: it
/// refuses those that a model has no use for.
inline void setRational(const LensParameters& lens, IntrinsicCameraCalibrationZEL& ours) {
  const double coefficients[8] = {lens.k1, lens.k2, lens.k3, lens.k4,
                                  lens.k5, lens.k6, lens.p1, lens.p2};
  for (int i = 0; i < 8; ++i) ours.distortion[i] = coefficients[i];
  const bool hasTangential = lens.p1 != 0 || lens.p2 != 0;
  if (lens.k4 != 0 || lens.k5 != 0 || lens.k6 != 0) {
    ours.distortion_model = kRadial6;
  } else if (lens.k3 != 0) {
    ours.distortion_model = kRadial3;
  } else if (lens.k1 != 0 || lens.k2 != 0 || hasTangential) {
    ours.distortion_model = kRadial2;
  } else {
    ours.distortion_model = kLinear;
  }
}

}  // namespace rectiline::formats
