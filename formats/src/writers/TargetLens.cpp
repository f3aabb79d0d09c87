// Which lens model of a format holds a camera, and what of the camera none of them does.

#include <algorithm>
#include <cmath>

#include "Check.h"
#include "Error.h"
#include "Fit.h"
#include "models/LibraryLens.h"
#include "writers/Writers.h"

namespace rectiline::formats {
namespace {

constexpr char kAll[] = "k1 k2 k3 k4 k5 k6 p1 p2";

/// The library's lens as one of a source model, or without one.
struct SourceLens {
  const SourceModel* model = nullptr;
  LensParameters lens;
};

/// Weights of even Chebyshev polynomials of t / 1.75, their values at 0 taken off, as coefficients
/// of t^2 to t^8: T2 = 2 x^2 - 1, T4 = 8 x^4 - 8 x^2 + 1, T6 = 32 x^6 - 48 x^4 + 18 x^2 - 1,
/// T8 = 128 x^8 - 256 x^6 + 160 x^4 - 32 x^2 + 1.
void setFromChebyshev(const double* k, LensParameters& lens) {
  const double s = 1 / (1.75 * 1.75);
  lens.k1 = s * (2 * k[0] - 8 * k[1] + 18 * k[2] - 32 * k[3]);
  lens.k2 = s * s * (8 * k[1] - 48 * k[2] + 160 * k[3]);
  lens.k3 = s * s * s * (32 * k[2] - 256 * k[3]);
  lens.k4 = s * s * s * s * 128 * k[3];
}

SourceLens sourceLensOf(const IntrinsicCameraCalibrationZEL& in) {
  SourceLens source;
  LensParameters& lens = source.lens;
  const double* const k = in.distortion;
  switch (in.distortion_model) {
    case kLinear:
    case kRadial2:
    case kRadial3:
    case kRadial6:
      source.model = &kBrownConrady;
      setParameters(lens, "k1 k2 k3 k4 k5 k6", {k, k + 6});
      break;
    case kFisheye1:
      source.model = &kFieldOfView;
      lens.omega = k[0];
      break;
    case kFisheye4:
      source.model = &kKannalaBrandt;
      setParameters(lens, "k1 k2 k3 k4", {k, k + 4});
      break;
    case kChebyshev4:
      source.model = &kKannalaBrandt;
      setFromChebyshev(k, lens);
      break;
    default:
      break;
  }
  lens.p1 = k[6];
  lens.p2 = k[7];
  lens.fx = in.focal_length_x;
  lens.fy = in.focal_length_y;
  lens.cx = in.principal_point_x;
  lens.cy = in.principal_point_y;
  lens.limit = in.distortion_limit;
  return source;
}

bool names(const LensRow& row, const std::string& name) {
  const std::vector<std::string> all = words(row.intrinsics + std::string(" ") + row.coefficients);
  return std::find(all.begin(), all.end(), name) != all.end();
}

/// Whether a row has a place for every coefficient that is not zero.
bool holds(const LensRow& row, const SourceLens& source) {
  if (row.model != source.model) return false;
  if (names(row, "f") && source.lens.fx != source.lens.fy) return false;
  const std::vector<std::string> coefficients = words(kAll);
  const std::vector<double> values = parameters(source.lens, kAll);
  for (std::size_t i = 0; i < values.size(); ++i) {
    if (values[i] != 0 && !names(row, coefficients[i])) return false;
  }
  return true;
}

std::vector<const LensRow*> rowsFor(Format format) {
  const Format rows = format == Format::OpenCvFisheye ? Format::OpenCv : format;
  std::vector<const LensRow*> result = lensRows(rows);
  const auto isForeign = [format](const LensRow* row) {
    return (format == Format::OpenCvFisheye && row->model != &kKannalaBrandt) ||
           // Its readers want a vector of coefficients.
           (format == Format::OpenCv && words(row->coefficients).empty());
  };
  std::erase_if(result, isForeign);
  return result;
}

/// The closest lens of those that the format has.
void fitTo(Format format, TargetCamera& camera, std::vector<std::string>& notes) {
  std::vector<FitCandidate> candidates;
  for (const LensRow* const row : rowsFor(format)) {
    const bool isOurs = row->model == &kBrownConrady || row->model == &kKannalaBrandt;
    const bool isFree = isOurs && !names(*row, "f") && !names(*row, "s1");
    if (!isFree) continue;
    std::string free = "fx fy cx cy";
    for (const std::string& name : words(kAll)) {
      if (names(*row, name)) free += " " + name;
    }
    candidates.push_back({row->model, free});
  }
  const Place place{"", camera.name, ""};
  CameraCalibrationZEL& record = camera.record;
  record.intrinsics.distortion_limit = record.intrinsics.undistortion_limit = 0;
  const Comparison comparison = fitLens(sampleRecord(record, place), candidates, {}, place, record);
  notes.push_back("Camera " + camera.name +
                  " has the closest lens that the format has, off by at "
                  "most " +
                  shown(comparison.greatestDifference) + " px.");
}

const LensRow* findRow(Format format, const SourceLens& source) {
  for (const LensRow* const row : rowsFor(format)) {
    if (holds(*row, source)) return row;
  }
  return nullptr;
}

/// Whether the limits say more than what the library finds by itself.
bool hasOwnLimits(const CameraCalibrationZEL& record, const Place& place) {
  // Of a document's digits and of the search; near 90 degrees 1e-3 of it is a hundredth of a pixel.
  constexpr double kTolerance = 5e-3;
  const IntrinsicCameraCalibrationZEL& in = record.intrinsics;
  if (!(in.distortion_limit > 0 && in.undistortion_limit > 0)) return false;
  CameraCalibrationZEL without = record;
  without.intrinsics.distortion_limit = without.intrinsics.undistortion_limit = 0;
  const double found = validRadius(without, place);
  return std::fabs(validRadius(record, place) - found) > kTolerance * found;
}

}  // namespace

void setTargetLens(Format format, const CameraCalibrationZEL& record, TargetCamera& camera,
                   std::vector<std::string>& losses, std::vector<std::string>& notes) {
  camera.record = record;
  camera.size = {record.intrinsics.width, record.intrinsics.height};
  if (format == Format::Rectiline) return;
  const Place place{"", camera.name, ""};
  const bool isLimited = hasOwnLimits(record, place);
  SourceLens source = sourceLensOf(record.intrinsics);
  camera.row = findRow(format, source);
  if (camera.row == nullptr) {
    losses.push_back("intrinsics.distortion_model and its coefficients");
    fitTo(format, camera, notes);
    source = sourceLensOf(camera.record.intrinsics);
    camera.row = findRow(format, source);
  }
  if (isLimited && !names(*camera.row, "rpmax")) losses.push_back("intrinsics.distortion_limit");
  camera.lens = source.lens;
  camera.lens.limit = isLimited ? source.lens.limit : 0;
  camera.lens.cx += conventionsOf(format).pixelOrigin;
  camera.lens.cy += conventionsOf(format).pixelOrigin;
}

}  // namespace rectiline::formats
