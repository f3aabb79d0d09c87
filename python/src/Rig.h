#pragma once

#include <string>
#include <vector>

#include "rectiline_formats/Calibration.h"

namespace rectiline::python {

/// Cameras as they were read or given. Never changed once made.
struct Rig {
  DeviceCalibrationZEL device{};
  bool hasPoses = true;  // false: nothing says how the cameras lie to each other
  std::string format;    // the word for it; empty: not read from a file
  std::vector<std::string> notes;

  /// Refuses a rig of one camera, or without poses.
  void requirePair() const;
  /// Refuses an index that no camera has.
  [[nodiscard]] const CameraCalibrationZEL& camera(int index) const;
};

}  // namespace rectiline::python
