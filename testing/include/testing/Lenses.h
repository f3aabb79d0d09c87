#pragma once

// The one list of lenses that tests and benchmarks measure with.

#include <algorithm>
#include <array>
#include <cstdint>
#include <cstdlib>
#include <iterator>
#include <string_view>

#include "CameraModel/DistortionModel.h"
#include "rectiline/CalibrationRecords.h"

namespace rectiline::testing {

struct Lens {
  const char* name;
  CamModel::DistortionModel model;
  double focal;  // pixels, of an image 640 wide
  std::array<double, 6> k;
  double p1 = 0;
  double p2 = 0;
};

namespace Internal {

using namespace CamModel;

/// Of each model an ordinary lens of about 90 to 120 degrees, named by one word, and others: milder
/// or stronger, some with tangential terms.
inline constexpr Lens kLenses[] = {
    {"linear", LINEAR, 320, {}},
    {"linear tangential", LINEAR, 450, {}, 4e-4, -2.5e-4},
    {"radial2", RADIAL_2_PARAMETERS, 458, {-0.2834, 0.074}},
    {"radial2+tangential", RADIAL_2_PARAMETERS, 458, {-0.2834, 0.074}, 1.9e-4, -1.8e-4},
    {"radial2 mild", RADIAL_2_PARAMETERS, 500, {-0.05, 0.01}},
    {"radial3", RADIAL_3_PARAMETERS, 500, {-0.3691, 0.1968, -0.0568}},
    {"radial3 pincushion", RADIAL_3_PARAMETERS, 500, {0.1, -0.05, 0.01}, 1e-3, 5e-4},
    {"radial6", RADIAL_6_PARAMETERS, 430, {5.2, 3.4, 0.18, 5.55, 5.1, 0.96}},
    {"radial6 mild", RADIAL_6_PARAMETERS, 500, {0.2, 0.05, 0.01, 0.3, 0.02, 0.005}, 4e-4, -2.5e-4},
    {"fisheye1", FISHEYE_1_PARAMETER, 300, {0.93}},
    {"fisheye1 mild", FISHEYE_1_PARAMETER, 420, {0.5}, 4e-4, -2.5e-4},
    {"fisheye1 wide", FISHEYE_1_PARAMETER, 255, {1.05}},
    {"fisheye4", FISHEYE_4_PARAMETERS, 380, {-0.01, 0.02, -0.01, 0.002}},
    {"fisheye4 wide", FISHEYE_4_PARAMETERS, 191, {0.0035, 0.0007, -0.0021, 0.0002}, 4e-4, -2.5e-4},
    {"chebyshev4", CHEBYSHEV_4_PARAMETERS, 380, {-0.02, 0.004, 0.001, 0}},
    {"chebyshev4 wide", CHEBYSHEV_4_PARAMETERS, 230, {-0.06, 0.01, -0.002, 0.001}, 4e-4, -2.5e-4},
    {"spline3", FISHEYE_SPLINE_3, 380, {-0.01, -0.025, -0.03, -0.03, -0.05, -0.02}},
    {"spline3 wide", FISHEYE_SPLINE_3, 210, {0.01, 0.02, 0.03, 0.01, 0.02, -0.03}, 4e-4, -2.5e-4},
    {"fisheye_rational", FISHEYE_RATIONAL, 330, {0.7, 0.02, 0.01, 0.03, 0.01, 0.005}},
    {"fisheye_rational strong",
     FISHEYE_RATIONAL,
     300,
     {0.9, 0.1, 0.08, 0.05, -0.02, 0.01},
     4e-4,
     -2.5e-4},
};

constexpr bool everyModelHasALens() {
  for (const DistortionModel model : kDistortionModels) {
    if (std::none_of(std::begin(kLenses), std::end(kLenses),
                     [=](const Lens& lens) { return lens.model == model; })) {
      return false;
    }
  }
  return true;
}
static_assert(everyModelHasALens(), "a distortion model that no test sees");
}  // namespace Internal

using Internal::kLenses;

/// The lens of that name.
inline const Lens& lensNamed(std::string_view name) {
  for (const Lens& lens : kLenses) {
    if (name == lens.name) return lens;
  }
  std::abort();
}

/// The record of a camera of 640 x 480 pixels with `lens`, its principal point off the centre and
/// its limits left to be computed.
inline IntrinsicCameraCalibrationZEL intrinsicsOf(const Lens& lens) {
  IntrinsicCameraCalibrationZEL in{};
  in.width = 640;
  in.height = 480;
  in.principal_point_x = 321.3;
  in.principal_point_y = 238.6;
  in.focal_length_x = lens.focal;
  in.focal_length_y = lens.focal * 0.998;
  std::copy(lens.k.begin(), lens.k.end(), in.distortion);
  in.distortion[6] = lens.p1;
  in.distortion[7] = lens.p2;
  in.distortion_model = lens.model;
  return in;
}

}  // namespace rectiline::testing
