#pragma once

#include <string>
#include <vector>

#include "Conventions.h"
#include "rectiline_formats/Write.h"

namespace rectiline::formats {

/// A camera in the terms of the format that it is written to.
struct TargetCamera {
  std::string name;
  PixelSize size;
  const LensRow* row = nullptr;
  LensParameters lens;  ///< In pixels, the format's origin.
  Pose T_camera_first;  ///< From the first camera's frame.
  /// What the library makes of it, with the lens that is written.
  CameraCalibrationZEL record{};
};
using TargetCameras = std::vector<TargetCamera>;

struct WriterRow {
  Format format;
  std::size_t mostCameras;
  bool isOneSize;  ///< One image size for all cameras.
  std::vector<WrittenFile> (*write)(const TargetCameras& cameras, std::vector<std::string>& notes);
};

[[nodiscard]] const WriterRow* findWriter(Format format);

using WrittenFiles = std::vector<WrittenFile>;
WrittenFiles writeKalibr(const TargetCameras& cameras, std::vector<std::string>& notes);
WrittenFiles writeOpenCv(const TargetCameras& cameras, std::vector<std::string>& notes);
WrittenFiles writeRos(const TargetCameras& cameras, std::vector<std::string>& notes);
WrittenFiles writeBasalt(const TargetCameras& cameras, std::vector<std::string>& notes);
WrittenFiles writeColmap(const TargetCameras& cameras, std::vector<std::string>& notes);
WrittenFiles writeRectiline(const TargetCameras& cameras, std::vector<std::string>& notes);

/// Sets row, lens and record of a camera. What the format cannot hold is added to `losses`, each as
/// the name of the record's field and why; a lens model is then replaced by the closest.
void setTargetLens(Format format, const CameraCalibrationZEL& record, TargetCamera& camera,
                   std::vector<std::string>& losses, std::vector<std::string>& notes);

/// Of the cameras that are written, as one device.
[[nodiscard]] DeviceCalibrationZEL deviceOf(const TargetCameras& cameras);

/// The numbers as exactText() has them, with ", " between them.
[[nodiscard]] std::string listed(const std::vector<double>& numbers,
                                 const std::string& separator = ", ");
/// The shortest text that is read as the same number: up to 17 digits.
[[nodiscard]] std::string exactText(double number);
/// A text as YAML and JSON have it, between quotes.
[[nodiscard]] std::string quoted(const std::string& text);

[[nodiscard]] std::vector<double> cameraMatrix(const LensParameters& lens);
/// 16 numbers, row by row.
[[nodiscard]] std::vector<double> homogeneous(const Pose& pose);
template <typename Range>
[[nodiscard]] std::vector<double> asVector(const Range& range) {
  return {std::begin(range), std::end(range)};
}

}  // namespace rectiline::formats
