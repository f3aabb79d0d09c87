#pragma once

#include "TestDevices.h"
#include "testing/ExactModel.h"
#include "testing/Lenses.h"
#include "testing/TableErrors.h"

namespace VIO::testing {

using rectiline::testing::ExactModel;
using rectiline::testing::kLenses;
using rectiline::testing::Lens;
using rectiline::testing::lensNamed;
using rectiline::testing::tableError;

/// A device of two 320 x 240 cameras of that kind, 0.1 m apart.
inline DeviceCalibrationZEL device(const Lens& lens, double f = 200) {
  DeviceCalibrationZEL record = device();
  for (int i = 0; i < 2; ++i) {
    IntrinsicCameraCalibrationZEL& in = record.cameras[i].intrinsics;
    in = rectiline::testing::intrinsicsOf(lens);
    in.width = 320;
    in.height = 240;
    in.principal_point_x = 160;
    in.principal_point_y = 119.5;
    in.focal_length_x = f;
    in.focal_length_y = 1.02 * f;
  }
  return record;
}

}  // namespace VIO::testing
