#pragma once

#include <optional>
#include <span>
#include <vector>

#include "CameraPair.h"
#include "rectiline_check/Check.h"

namespace rectiline::check {

/// A point as each camera's image has it.
struct RawMatch {
  Position left;
  Position right;
  int pair;
};

/// The rectified frame of two cameras: its geometry, no images.
class Frame {
 public:
  /// Nothing when the cameras cannot be rectified.
  static std::optional<Frame> tryMake(const CameraPair& cameras);

  /// Throws std::invalid_argument when one of the cameras is none at all, or both are at one place.
  /// Such cameras may still be impossible to rectify: one behind the other.
  static void requireCameras(const CameraPair& cameras);

  [[nodiscard]] const rectiline_options& options() const { return mOptions; }
  [[nodiscard]] const rectiline_rectification& rectification() const { return mResult; }
  [[nodiscard]] const DeviceCalibrationZEL& device() const { return mDevice; }
  [[nodiscard]] bool isVertical() const { return mResult.axis == 1; }

  /// Raw positions in rectified images, NaN where there is none.
  [[nodiscard]] std::vector<Position> leftInView(std::span<const Position> raw) const;
  [[nodiscard]] std::vector<Position> rightInView(std::span<const Position> raw) const;
  /// The other way round.
  [[nodiscard]] std::vector<Position> leftInImage(std::span<const Position> rectified) const;
  [[nodiscard]] std::vector<Position> rightInImage(std::span<const Position> rectified) const;

 private:
  explicit Frame(const CameraPair& cameras);
  int32_t rectify();

  DeviceCalibrationZEL mDevice{};
  rectiline_options mOptions;
  rectiline_rectification mResult;
};

}  // namespace rectiline::check
