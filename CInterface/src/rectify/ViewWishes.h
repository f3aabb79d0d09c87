#pragma once

// A caller's options, checked.

#include <optional>

#include "AR/CV/Map/TargetView.h"
#include "rectify/PairGeometry.h"
#include "rectiline/rectiline.h"

namespace rectiline::capi {

// Far beyond any image; keeps every product of such numbers within single precision.
inline constexpr double kMaxPixels = 1e7;
inline constexpr int kMaxSide = 65535;

constexpr bool isFocalLength(double f) { return f >= 1 / kMaxPixels && f <= kMaxPixels; }

/// How a caller wishes virtual cameras to be. What is not there was not asked for.
struct ViewWishes {
  struct Size {
    int width;
    int height;
  };
  AR::CV::TargetProjection projection;
  std::optional<Size> size;
  std::optional<AR::Math::Vec<double, 2>> principalPoint;
  // At most one of:
  std::optional<double> focalLength;  // pixels (per radian)
  std::optional<double> fieldOfView;  // radians, across the width
  std::optional<double> coverage;     // 0: no pixel without a source; 1: the whole of all images
  bool keepOutside;
};

/// Options as the caller gave them; null: all zero.
rectiline_options readOptions(const rectiline_options* callers);

/// Refuses values that are not understood, and ones that contradict each other.
ViewWishes checkedWishes(const rectiline_options& options);

/// The two cameras that the options name. Refuses ones that the device does not have. Its number
/// of cameras must have been checked.
CameraPair checkedPair(const rectiline_options& options, const DeviceCalibrationZEL& device);

}  // namespace rectiline::capi
