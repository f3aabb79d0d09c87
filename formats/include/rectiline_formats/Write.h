#pragma once

// Device records as calibration files of other programs.
//
// Numbers are written with all their digits, up to 17: what is read back projects within 1e-6
// pixels of what was written. The library's own XML has eight: within 5e-5 pixels for most lenses,
// 6e-4 for one 4096 pixels wide whose rational coefficients nearly cancel.

#include <string>
#include <vector>

#include "rectiline_formats/Calibration.h"

namespace rectiline::formats {

struct WriteOptions {
  /// Leave out what the format cannot hold, and take its closest lens model, instead of refusing.
  bool lossy = false;
};

/// A file that is to be written; names are the usual ones of the format.
struct WrittenFile {
  std::string name;
  std::string text;
};

struct Written {
  std::vector<WrittenFile> files;
  std::vector<std::string> notes;  ///< Sentences: what was lost, and what is to be filled in.
};

/// The formats that can be written: rectiline, kalibr, opencv, opencv-fisheye, ros, basalt, colmap.
[[nodiscard]] std::vector<Format> writableFormats();

/// Writes the cameras of a device. Throws FormatError: for a camera that is none, for another
/// format, and for what the format cannot hold (limits, rolling shutter, a lens model), each field
/// by its name.
[[nodiscard]] Written writeCalibration(const DeviceCalibrationZEL& device, Format format,
                                       const WriteOptions& options = {});

}  // namespace rectiline::formats
