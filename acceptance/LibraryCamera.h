#pragma once

#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>

#include "AR/CV/Camera/Camera.h"
#include "testing/ExactModel.h"
#include "testing/Lenses.h"
#include "testing/TableErrors.h"

// The library's cameras beside their formulas, and what error a camera may have.

namespace rectiline::acceptance {

using testing::ExactModel;
using testing::kLenses;
using testing::Lens;
using testing::lensNamed;

/// The library's camera of a record.
template <typename P>
AR::CV::Camera<P> makeCamera(const IntrinsicCameraCalibrationZEL& record) {
  AR::CV::Camera<P> camera;
  EXPECT_TRUE(camera.init(CamModel::CameraModel<P>(record)));
  return camera;
}

/// The bound in pixels that a camera whose table has the radius error `fitError` must keep.
inline double errorBound(double fitError, double focal) {
  constexpr double kFitEps = 5e-6;
  const double exactEnough = std::max(0.01, 6e-6 * focal);
  return fitError < kFitEps ? exactEnough : std::max(exactEnough, 2 * fitError * focal + 0.005);
}

/// The largest of some errors, and how many there were.
struct Measured {
  double worst = 0;
  int tested = 0;

  void add(double error) {
    worst = std::isnan(error) ? INFINITY : std::max(worst, error);  // no bound admits either
    ++tested;
  }
};

}  // namespace rectiline::acceptance
