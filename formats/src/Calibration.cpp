// From files to a device record: what all formats have in common.

#include "rectiline_formats/Calibration.h"

#include <algorithm>
#include <cmath>
#include <numbers>

#include "Check.h"
#include "Conventions.h"
#include "Error.h"
#include "Fit.h"
#include "FormatList.h"
#include "Selection.h"
#include "rectiline/rectiline.h"

namespace rectiline::formats {
namespace {

// ---- which format -------------------------------------------------------------------------------

Format commonFormat(const Files& files, const ReadOptions& options) {
  if (options.from) return *options.from;
  const Format format = recognise(files.front());
  for (const SourceFile& file : files) {
    const Format other = recognise(file);
    if (other == format) continue;
    throw FormatError({file.name, "", ""},
                      std::string(formatName(format)) + ", as of " + files.front().name,
                      formatName(other));
  }
  return format;
}

// ---- which cameras ------------------------------------------------------------------------------

void requireNames(const Cameras& cameras) {
  for (auto it = cameras.begin(); it != cameras.end(); ++it) {
    const std::string& name = it->place.camera;
    const auto isSame = [&name](const SourceCamera& c) { return c.place.camera == name; };
    if (std::any_of(cameras.begin(), it, isSame)) {
      throw FormatError(it->place, "another name than that of an earlier camera", "the same");
    }
    const bool isName = !name.empty() && name.size() < sizeof CameraCalibrationZEL{}.name &&
                        name.find('\0') == std::string::npos;
    if (!isName) throw FormatError(it->place, "a name of 1 to 63 bytes", "another one");
  }
}

Cameras chosen(const Cameras& cameras, const std::string& pair, Format format) {
  if (pair.empty()) return cameras;
  Cameras result = selectCameras(cameras, pair, format);
  requireNames(result);
  return result;
}

void requireFew(const Cameras& cameras) {
  if (cameras.size() <= RECTILINE_MAX_CAMERAS) return;
  throw FormatError({cameras.front().place.file, "", ""},
                    "at most " + std::to_string(RECTILINE_MAX_CAMERAS) +
                        " cameras (take some of them with --pair)",
                    std::to_string(cameras.size()));
}

// ---- one camera ---------------------------------------------------------------------------------

void requireSize(SourceCamera& camera, const ReadOptions& options) {
  const auto text = [](const PixelSize& size) {
    return std::to_string(size.width) + " x " + std::to_string(size.height);
  };
  Place place = camera.place;
  place.field = "size";
  if (!camera.size && !options.size) {
    throw FormatError(place, "--size, since the file does not say it", "nothing");
  }
  if (!camera.size) camera.size = options.size;
  const bool isSame = !options.size || (options.size->width == camera.size->width &&
                                        options.size->height == camera.size->height);
  if (!isSame) {
    throw FormatError(place,
                      text(*camera.size) +
                          ", as in the file (--image-size is for images "
                          "that were scaled)",
                      text(*options.size));
  }
}

CameraCalibrationZEL emptyRecord(const SourceCamera& camera) {
  CameraCalibrationZEL record{};
  camera.place.camera.copy(record.name, sizeof record.name - 1);
  const LensParameters lens = camera.inPixels();
  IntrinsicCameraCalibrationZEL& in = record.intrinsics;
  in.width = camera.size->width;
  in.height = camera.size->height;
  in.focal_length_x = lens.fx;
  in.focal_length_y = lens.fy;
  in.principal_point_x = lens.cx;
  in.principal_point_y = lens.cy;
  return record;
}

/// What of a camera's lens the library cannot express; empty: nothing.
std::string convertLens(const SourceCamera& camera, CameraCalibrationZEL& record) {
  if (camera.lens.skew != 0) return "a skew of " + shown(camera.lens.skew);
  if (camera.model->convert == nullptr) return std::string("the ") + camera.model->name + " model";
  return camera.model->convert(camera.lens, record.intrinsics);
}

/// Sets the range of the calibration where it is smaller than what the library finds: both its
/// radii, of which a file says the ideal one.
void setLimits(const SourceCamera& camera, CameraCalibrationZEL& record) {
  const double limit = camera.lens.limit;
  if (!(limit > 0)) return;
  if (!(limit < validRadius(record, camera.place))) return;
  CameraCalibrationZEL radial = record;
  radial.intrinsics.distortion[6] = radial.intrinsics.distortion[7] = 0;
  const double ray[3] = {limit, 0, 1};
  double pixel[2];
  if (rectiline_rays_to_pixels(&radial, 1, ray, pixel, nullptr) != RECTILINE_OK) {
    throwLibraryError(camera.place);
  }
  record.intrinsics.distortion_limit = limit;
  record.intrinsics.undistortion_limit =
      (pixel[0] - record.intrinsics.principal_point_x) / record.intrinsics.focal_length_x;
}

void noteOutside(const SourceCamera& camera, const CameraCalibrationZEL& record, double share,
                 std::vector<std::string>& notes) {
  constexpr double kWorthSaying = 0.005;
  constexpr double kDegrees = 180 / std::numbers::pi;
  if (!(share > kWorthSaying)) return;
  notes.push_back("Camera " + camera.place.camera +
                  " sees further than the library, which stops at " +
                  shown(std::atan(validRadius(record, camera.place)) * kDegrees) +
                  " degrees off the axis: " + shown(100 * share) +
                  " % of the directions compared are left out.");
}

/// Coefficients of Brown's family mean nearly the same from model to model.
Comparison fitSource(const SourceCamera& camera, const std::vector<Sample>& samples,
                     CameraCalibrationZEL& record) {
  const bool isRational = camera.model == &kBrownConrady || camera.model == &kRational6KT;
  return fitLens(samples, libraryCandidates(), isRational ? camera.lens : LensParameters{},
                 camera.place, record);
}

CameraReading readLens(const SourceCamera& camera, const ReadOptions& options,
                       CameraCalibrationZEL& record, std::vector<std::string>& notes) {
  record = emptyRecord(camera);
  const std::vector<Sample> samples = sampleImage(camera);
  const std::string obstacle = convertLens(camera, record);
  const bool isFitted = !obstacle.empty();
  if (isFitted && !options.fit) {
    throw FormatError(camera.place, "one of the library's lens models, or --fit for the closest",
                      obstacle);
  }
  const Comparison comparison =
      isFitted ? fitSource(camera, samples, record) : compare(samples, record, camera.place);
  setLimits(camera, record);
  const double difference = comparison.greatestDifference;
  if (!isFitted && !(difference <= kGreatestDifference)) {
    throw FormatError(camera.place,
                      "at most " + shown(kGreatestDifference) +
                          " px between the format's projection and the library's",
                      shown(difference));
  }
  if (isFitted) {
    notes.push_back("Camera " + camera.place.camera + " has " + obstacle +
                    "; the closest of the library's models is off by at most " + shown(difference) +
                    " px.");
  }
  noteOutside(camera, record, comparison.shareOutside, notes);
  return {camera.place.camera, camera.word, difference, isFitted};
}

CameraReading readCamera(SourceCamera& camera, const ReadOptions& options,
                         CameraCalibrationZEL& record, std::vector<std::string>& notes) {
  if (camera.record) {
    record = *camera.record;
    return {camera.place.camera, camera.word, std::nullopt, false};
  }
  requireSize(camera, options);
  return readLens(camera, options, record, notes);
}

// ---- the rig ------------------------------------------------------------------------------------

double unitOf(Format format, const Cameras& cameras, const ReadOptions& options,
              std::vector<std::string>& notes) {
  if (options.metresPerUnit) return *options.metresPerUnit;
  const double unit = conventionsOf(format).metresPerUnit;
  const bool hasLengths = cameras.size() > 1 && cameras[1].T_camera_reference.has_value();
  if (unit == 0 && hasLengths) {
    notes.emplace_back(
        "The file does not say the unit of its translations; metres were taken (see --scale).");
  }
  return unit == 0 ? 1 : unit;
}

/// Sets the poses, camera 0 the reference.
void setPoses(const Cameras& cameras, double metresPerUnit, Calibration& result) {
  result.hasPoses = std::all_of(cameras.begin(), cameras.end(), [](const SourceCamera& camera) {
    return camera.T_camera_reference.has_value();
  });
  if (cameras.size() == 1) result.hasPoses = true;
  if (!result.hasPoses) {
    result.notes.emplace_back(
        "Nothing says how the cameras lie to each other: each can be used alone, no two as a "
        "pair.");
  }
  for (std::size_t i = 0; i < cameras.size(); ++i) {
    Pose T_i0;
    if (result.hasPoses && i > 0) {
      T_i0 = *cameras[i].T_camera_reference * inverse(*cameras[0].T_camera_reference);
    }
    for (double& t : T_i0.t) t *= metresPerUnit;
    result.device.cameras[i].pose = toRecord(T_i0);
  }
}

void scaleToImages(const PixelSize& size, const Cameras& cameras, Calibration& result) {
  for (std::size_t i = 0; i < cameras.size(); ++i) {
    CameraCalibrationZEL& camera = result.device.cameras[i];
    const double sx = static_cast<double>(size.width) / camera.intrinsics.width;
    const double sy = static_cast<double>(size.height) / camera.intrinsics.height;
    const int status =
        rectiline_scaled_camera(&camera, sx, sy, 0, 0, size.width, size.height, &camera);
    if (status != RECTILINE_OK) throwLibraryError(cameras[i].place);
    if (std::max(sx, sy) > 1.01 * std::min(sx, sy)) {
      result.notes.push_back("The images of camera " + cameras[i].place.camera + " are scaled by " +
                             shown(sx) + " across and " + shown(sy) +
                             " down; if they were cut instead, the calibration does not fit them.");
    }
  }
}

}  // namespace

Calibration readCalibration(const std::vector<std::string>& names, const ReadOptions& options) {
  if (names.empty()) throw FormatError({}, "a calibration file", "none");
  Files files;
  for (const std::string& name : names) files.push_back(loadFile(name));
  Calibration result;
  result.format = commonFormat(files, options);
  ReadContext context{options, result.format, result.notes, result.device};
  Cameras cameras = formatRow(result.format).read(files, context);
  if (cameras.empty()) throw FormatError({names.front(), "", ""}, "a camera", "none");
  requireNames(cameras);
  cameras = chosen(cameras, options.pair, result.format);
  requireFew(cameras);
  std::fill(std::begin(result.device.cameras), std::end(result.device.cameras),
            CameraCalibrationZEL{});
  result.device.num_cameras = static_cast<int>(cameras.size());
  for (std::size_t i = 0; i < cameras.size(); ++i) {
    result.cameras.push_back(
        readCamera(cameras[i], options, result.device.cameras[i], result.notes));
  }
  setPoses(cameras, unitOf(result.format, cameras, options, result.notes), result);
  if (options.imageSize) scaleToImages(*options.imageSize, cameras, result);
  return result;
}

Calibration readCalibration(const std::string& files, const ReadOptions& options) {
  return readCalibration(commaSeparated(files), options);
}

double metresPerUnitFromText(const std::string& text) {
  if (text == "mm") return 1e-3;
  if (text == "cm") return 1e-2;
  if (text == "m") return 1;
  const std::optional<double> number = numberFromText(text);
  if (!number || !(*number > 0)) {
    throw FormatError({"", "", "--scale"}, "mm, cm, m or a number above 0", shown(text));
  }
  return *number;
}

}  // namespace rectiline::formats
