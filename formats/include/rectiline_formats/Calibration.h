#pragma once

// Calibration files of other programs, read into the library's device records.
//
// What is read is checked in pixels: directions over the whole image are projected by the formula
// of the file's own format and by the library's, and a file for which the two differ by more than
// kGreatestDifference is refused.

#include <optional>
#include <stdexcept>
#include <string>
#include <string_view>
#include <vector>

#include "rectiline/CalibrationRecords.h"

namespace rectiline::formats {

enum class Format {
  Rectiline,
  Kalibr,
  OpenCv,
  OpenCvFisheye,
  Ros,
  EuRoC,
  Svo,
  Basalt,
  OrbSlam,
  Kitti,
  Oak,
  Azure,
  Colmap,
  Fov
};

/// The word for a format, as "opencv-fisheye": lower case, the same in every release.
[[nodiscard]] const char* formatName(Format format);
[[nodiscard]] std::optional<Format> formatFromName(std::string_view name);
/// Every word, in the order of the enumeration.
[[nodiscard]] std::vector<std::string> formatNames();

/// Where in a calibration something is wrong; what is not known stays empty.
struct Place {
  std::string file;
  std::string camera;
  std::string field;
};

/// A calibration that cannot be read or written. what() is one line for a person: the place, what
/// was expected there and what was found.
class FormatError : public std::runtime_error {
 public:
  FormatError(Place place, const std::string& expected, const std::string& found);

  [[nodiscard]] const Place& place() const { return mPlace; }

 private:
  Place mPlace;
};

struct PixelSize {
  int width = 0;
  int height = 0;
};

struct ReadOptions {
  /// Not given: recognised from the content.
  std::optional<Format> from;
  /// The size of the calibrated images, for files that do not say it.
  std::optional<PixelSize> size;
  /// The length of the file's unit. Not given: what the format says, metres where it says nothing.
  std::optional<double> metresPerUnit;
  /// The cameras to take, "left,right" by name or by index in the file's list (sockets for oak).
  /// Numbers that are names of some cameras and indices of others are refused: "name:1,name:2" or
  /// "index:1,index:2" say which. Empty: all of them in the file's order.
  std::string pair;
  /// The size of the images in use, when they were scaled from the calibrated ones.
  std::optional<PixelSize> imageSize;
  /// Take the closest of the library's lens models for one that it does not have.
  bool fit = false;
};

/// How one camera was read, in the order of the device's cameras.
struct CameraReading {
  std::string name;
  std::string sourceModel;  ///< The lens model in the words of the file.
  /// The greatest distance between the source format's projection and the library's, pixels of the
  /// calibrated image. Not measured for the library's own format.
  std::optional<double> greatestDifference;
  bool isFitted = false;  ///< Then greatestDifference is the residual of the fit.
};

struct Calibration {
  DeviceCalibrationZEL device{};  ///< Camera 0 is the reference frame.
  Format format = Format::Rectiline;
  bool hasPoses = true;  ///< False: several cameras, and nothing says how they lie to each other.
  std::vector<CameraReading> cameras;
  std::vector<std::string> notes;  ///< Sentences: what was ignored or assumed.
};

inline constexpr double kGreatestDifference = 1e-3;  // pixels

/// Reads the files of one rig. Throws FormatError.
[[nodiscard]] Calibration readCalibration(const std::vector<std::string>& files,
                                          const ReadOptions& options = {});

/// The same for file names with commas between them, "cam0.yaml,cam1.yaml".
[[nodiscard]] Calibration readCalibration(const std::string& files,
                                          const ReadOptions& options = {});

/// The metres of a unit: "mm", "cm", "m" or a number above 0. Throws FormatError.
[[nodiscard]] double metresPerUnitFromText(const std::string& text);

}  // namespace rectiline::formats
