#include "Conventions.h"

#include <algorithm>
#include <array>
#include <cmath>

#include "Error.h"

namespace rectiline::formats {
namespace {

// ---- the facts ----------------------------------------------------------------------------------

constexpr Conventions kConventions[] = {
    // format, first pixel's centre, normalised, metres per unit, quaternion
    {Format::Rectiline, 0, false, 1, "x y z w"},
    {Format::Kalibr, 0, false, 1, ""},
    {Format::OpenCv, 0, false, 0, ""},
    {Format::OpenCvFisheye, 0, false, 0, ""},
    {Format::Ros, 0, false, 1, ""},
    {Format::EuRoC, 0, false, 1, ""},
    {Format::Svo, 0, false, 1, ""},
    {Format::Basalt, 0, false, 1, ""},
    {Format::OrbSlam, 0, false, 1, ""},
    {Format::Kitti, 0, false, 1, ""},
    {Format::Oak, 0, false, 0.01, ""},
    {Format::Azure, 0.5, true, 1, ""},
    {Format::Colmap, 0.5, false, 0, "w x y z"},
    {Format::Fov, 0.5, true, 1, ""},  // values of 2 and more are pixels, their origin 0
};
static_assert(std::size(kConventions) == static_cast<std::size_t>(Format::Fov) + 1);

struct TransformRow {
  Format format;
  std::string_view field;
  Direction direction;
};

constexpr TransformRow kTransforms[] = {
    {Format::Kalibr, "T_cn_cnm1", Direction::IntoCamera},  // from the previous camera
    {Format::Kalibr, "T_cam_imu", Direction::IntoCamera},
    {Format::Kalibr, "T_imu_cam", Direction::OutOfCamera},
    {Format::OpenCv, "R, T", Direction::IntoCamera},  // of the second camera, from the first
    {Format::Ros, "R", Direction::OutOfCamera},       // into the rectified frame
    {Format::EuRoC, "T_BS", Direction::OutOfCamera},
    {Format::Svo, "T_B_C", Direction::OutOfCamera},
    {Format::Basalt, "T_imu_cam", Direction::OutOfCamera},
    {Format::OrbSlam, "Stereo.T_c1_c2", Direction::OutOfCamera},  // of the second, into the first
    {Format::OrbSlam, "Tlr", Direction::OutOfCamera},
    {Format::Kitti, "R, T", Direction::IntoCamera},
    {Format::Oak, "extrinsics", Direction::OutOfCamera},  // into the camera that it names
    {Format::Azure, "Rt", Direction::IntoCamera},
    {Format::Colmap, "sensor_from_rig", Direction::IntoCamera},
};

constexpr char kFour[] = "fx fy cx cy";
constexpr char kBrown4[] = "k1 k2 p1 p2";
constexpr char kBrown5[] = "k1 k2 p1 p2 k3";
constexpr char kBrown8[] = "k1 k2 p1 p2 k3 k4 k5 k6";
constexpr char kBrown12[] = "k1 k2 p1 p2 k3 k4 k5 k6 s1 s2 s3 s4";
constexpr char kBrown14[] = "k1 k2 p1 p2 k3 k4 k5 k6 s1 s2 s3 s4 tx ty";
constexpr char kKannala4[] = "k1 k2 k3 k4";

constexpr LensRow kLenses[] = {
    {Format::Kalibr, "pinhole-radtan", &kBrownConrady, kFour, kBrown4},
    {Format::Kalibr, "pinhole-equidistant", &kKannalaBrandt, kFour, kKannala4},
    {Format::Kalibr, "pinhole-fov", &kFieldOfView, kFour, "omega"},
    {Format::Kalibr, "pinhole-none", &kBrownConrady, kFour, ""},
    {Format::Kalibr, "omni-radtan", &kOmnidirectional, "xi fx fy cx cy", kBrown4},
    {Format::Kalibr, "omni-none", &kOmnidirectional, "xi fx fy cx cy", ""},
    {Format::Kalibr, "ds-none", &kDoubleSphere, "xi alpha fx fy cx cy", ""},
    {Format::Kalibr, "eucm-none", &kUnified, "alpha beta fx fy cx cy", ""},

    {Format::OpenCv, "pinhole", &kBrownConrady, "", ""},
    {Format::OpenCv, "pinhole", &kBrownConrady, "", kBrown4},
    {Format::OpenCv, "pinhole", &kBrownConrady, "", kBrown5},
    {Format::OpenCv, "pinhole", &kBrownConrady, "", kBrown8},
    {Format::OpenCv, "pinhole", &kBrownConrady, "", kBrown12},
    {Format::OpenCv, "pinhole", &kBrownConrady, "", kBrown14},
    {Format::OpenCv, "fisheye", &kKannalaBrandt, "", kKannala4},

    {Format::Ros, "plumb_bob", &kBrownConrady, "", kBrown5},
    {Format::Ros, "rational_polynomial", &kBrownConrady, "", kBrown8},
    {Format::Ros, "rational_polynomial", &kBrownConrady, "", kBrown5},
    {Format::Ros, "rational_polynomial", &kBrownConrady, "", kBrown12},
    {Format::Ros, "rational_polynomial", &kBrownConrady, "", kBrown14},
    {Format::Ros, "equidistant", &kKannalaBrandt, "", kKannala4},
    {Format::Ros, "none", &kBrownConrady, "", ""},

    {Format::EuRoC, "radial-tangential", &kBrownConrady, kFour, kBrown4},
    {Format::EuRoC, "radtan", &kBrownConrady, kFour, kBrown4},
    {Format::EuRoC, "equidistant", &kKannalaBrandt, kFour, kKannala4},
    {Format::EuRoC, "none", &kBrownConrady, kFour, ""},

    {Format::Svo, "radial-tangential", &kBrownConrady, kFour, kBrown4},
    {Format::Svo, "equidistant", &kKannalaBrandt, kFour, kKannala4},
    {Format::Svo, "none", &kBrownConrady, kFour, ""},

    {Format::Basalt, "pinhole", &kBrownConrady, kFour, ""},
    {Format::Basalt, "pinhole-radtan8", &kBrownConrady, kFour, "k1 k2 p1 p2 k3 k4 k5 k6 rpmax"},
    {Format::Basalt, "pinhole-radtan8", &kBrownConrady, kFour, kBrown8},
    {Format::Basalt, "kb4", &kKannalaBrandt, kFour, kKannala4},
    {Format::Basalt, "ds", &kDoubleSphere, kFour, "xi alpha"},
    {Format::Basalt, "eucm", &kUnified, kFour, "alpha beta"},

    {Format::OrbSlam, "PinHole", &kBrownConrady, kFour, kBrown5},
    {Format::OrbSlam, "PinHole", &kBrownConrady, kFour, kBrown4},
    {Format::OrbSlam, "PinHole", &kBrownConrady, kFour, ""},
    {Format::OrbSlam, "KannalaBrandt8", &kKannalaBrandt, kFour, kKannala4},
    {Format::OrbSlam, "Rectified", &kBrownConrady, kFour, ""},

    {Format::Kitti, "pinhole", &kBrownConrady, "", kBrown5},

    {Format::Oak, "perspective", &kBrownConrady, "", kBrown14},
    {Format::Oak, "perspective", &kBrownConrady, "", kBrown8},
    {Format::Oak, "perspective", &kBrownConrady, "", kBrown5},
    {Format::Oak, "fisheye", &kKannalaBrandt, "", kKannala4},

    {Format::Azure, "CALIBRATION_LensDistortionModelRational6KT", &kRational6KT, "",
     "cx cy fx fy k1 k2 k3 k4 k5 k6 codx cody p2 p1 metric_radius"},
    {Format::Azure, "CALIBRATION_LensDistortionModelRational6KT", &kRational6KT, "",
     "cx cy fx fy k1 k2 k3 k4 k5 k6 codx cody p2 p1"},

    {Format::Colmap, "SIMPLE_PINHOLE", &kBrownConrady, "", "f cx cy"},
    {Format::Colmap, "PINHOLE", &kBrownConrady, "", "fx fy cx cy"},
    {Format::Colmap, "SIMPLE_RADIAL", &kBrownConrady, "", "f cx cy k1"},
    {Format::Colmap, "RADIAL", &kBrownConrady, "", "f cx cy k1 k2"},
    {Format::Colmap, "OPENCV", &kBrownConrady, "", "fx fy cx cy k1 k2 p1 p2"},
    {Format::Colmap, "FULL_OPENCV", &kBrownConrady, "", "fx fy cx cy k1 k2 p1 p2 k3 k4 k5 k6"},
    {Format::Colmap, "OPENCV_FISHEYE", &kKannalaBrandt, "", "fx fy cx cy k1 k2 k3 k4"},
    {Format::Colmap, "SIMPLE_RADIAL_FISHEYE", &kKannalaBrandt, "", "f cx cy k1"},
    {Format::Colmap, "RADIAL_FISHEYE", &kKannalaBrandt, "", "f cx cy k1 k2"},
    {Format::Colmap, "FOV", &kFieldOfView, "", "fx fy cx cy omega"},
    {Format::Colmap, "THIN_PRISM_FISHEYE", &kThinPrismFisheye, "",
     "fx fy cx cy k1 k2 p1 p2 k3 k4 sx1 sy1"},

    {Format::Fov, "FOV", &kFieldOfView, "", "fx fy cx cy omega"},
    {Format::Fov, "Pinhole", &kBrownConrady, "", "fx fy cx cy"},
    {Format::Fov, "Pinhole", &kFieldOfView, "", "fx fy cx cy omega"},
    {Format::Fov, "RadTan", &kBrownConrady, "", "fx fy cx cy k1 k2 p1 p2"},
    {Format::Fov, "EquiDistant", &kKannalaBrandt, "", "fx fy cx cy k1 k2 k3 k4"},
    {Format::Fov, "KannalaBrandt", &kKannalaBrandt, "", "fx fy cx cy k1 k2 k3 k4"},
};

struct ParameterName {
  std::string_view name;
  double LensParameters::*member;
};

constexpr ParameterName kParameters[] = {
    {"fx", &LensParameters::fx},
    {"fy", &LensParameters::fy},
    {"f", &LensParameters::fx},
    {"cx", &LensParameters::cx},
    {"cy", &LensParameters::cy},
    {"k1", &LensParameters::k1},
    {"k2", &LensParameters::k2},
    {"k3", &LensParameters::k3},
    {"k4", &LensParameters::k4},
    {"k5", &LensParameters::k5},
    {"k6", &LensParameters::k6},
    {"p1", &LensParameters::p1},
    {"p2", &LensParameters::p2},
    {"s1", &LensParameters::s1},
    {"s2", &LensParameters::s2},
    {"s3", &LensParameters::s3},
    {"s4", &LensParameters::s4},
    {"sx1", &LensParameters::s1},
    {"sy1", &LensParameters::s2},
    {"tx", &LensParameters::tx},
    {"ty", &LensParameters::ty},
    {"codx", &LensParameters::codx},
    {"cody", &LensParameters::cody},
    {"omega", &LensParameters::omega},
    {"xi", &LensParameters::xi},
    {"alpha", &LensParameters::alpha},
    {"beta", &LensParameters::beta},
    {"rpmax", &LensParameters::limit},
    {"metric_radius", &LensParameters::limit},
};

// ---- their use ----------------------------------------------------------------------------------

double LensParameters::*member(std::string_view name) {
  const auto* const row = std::find_if(std::begin(kParameters), std::end(kParameters),
                                       [name](const ParameterName& p) { return p.name == name; });
  return row->member;
}

/// The last row of a homogeneous transform.
bool isLastRow(const std::vector<double>& m) {
  return m[12] == 0 && m[13] == 0 && m[14] == 0 && m[15] == 1;
}

std::string wordsOf(Format format) {
  std::string result;
  for (const LensRow& row : kLenses) {
    const bool isNew = row.format == format && !result.ends_with(row.word);
    if (isNew) result += (result.empty() ? "" : ", ") + std::string(row.word);
  }
  return result;
}

bool isParameter(std::string_view name) {
  return std::any_of(std::begin(kParameters), std::end(kParameters),
                     [name](const ParameterName& p) { return p.name == name; });
}

std::vector<const LensRow*> knownRows(Format format, const Field& word,
                                      const std::string& wordText) {
  std::vector<const LensRow*> rows = lensRows(format, wordText);
  if (rows.empty()) word.refuse("one of " + wordsOf(format), "\"" + shown(wordText) + "\"");
  return rows;
}

}  // namespace

const Conventions& conventionsOf(Format format) {
  return *std::find_if(std::begin(kConventions), std::end(kConventions),
                       [format](const Conventions& c) { return c.format == format; });
}

Direction directionOf(Format format, std::string_view field) {
  const auto* const row =
      std::find_if(std::begin(kTransforms), std::end(kTransforms),
                   [&](const TransformRow& t) { return t.format == format && t.field == field; });
  return row->direction;
}

std::vector<const LensRow*> lensRows(Format format) {
  std::vector<const LensRow*> result;
  for (const LensRow& row : kLenses) {
    if (row.format == format) result.push_back(&row);
  }
  return result;
}

std::vector<const LensRow*> lensRows(Format format, std::string_view word) {
  std::vector<const LensRow*> result = lensRows(format);
  std::erase_if(result, [word](const LensRow* row) { return row->word != word; });
  return result;
}

const LensRow& setLens(SourceCamera& camera, Format format, const Field& word,
                       const std::string& wordText, const Field& coefficients) {
  (void)knownRows(format, word, wordText);  // the word before the numbers
  return setLens(camera, format, word, wordText, coefficients, coefficients.numbers());
}

const LensRow& setLens(SourceCamera& camera, Format format, const Field& word,
                       const std::string& wordText, const Field& coefficients,
                       const std::vector<double>& values) {
  const std::vector<const LensRow*> rows = knownRows(format, word, wordText);
  std::string expected;
  for (const LensRow* const row : rows) {
    const std::size_t count = words(row->coefficients).size();
    expected += (expected.empty() ? "" : " or ") + std::to_string(count) + " numbers";
    if (count > 0) expected += " (" + std::string(row->coefficients) + ")";
    if (count != values.size()) continue;
    setParameters(camera.lens, row->coefficients, values);
    camera.model = row->model;
    camera.word = wordText;
    return *row;
  }
  coefficients.refuse(expected, std::to_string(values.size()));
}

void setNamedLens(SourceCamera& camera, Format format, const Field& word,
                  const std::string& wordText, const Field& map, const std::string& prefix) {
  const std::vector<const LensRow*> rows = knownRows(format, word, wordText);
  const auto namesOf = [](const LensRow& row) {
    return words(row.intrinsics + std::string(" ") + row.coefficients);
  };
  const auto isComplete = [&](const LensRow* row) {
    const std::vector<std::string> names = namesOf(*row);
    return std::all_of(names.begin(), names.end(),
                       [&](const std::string& name) { return map.has(prefix + name); });
  };
  // Rows with more numbers come first; when none is complete, the shortest is the one to complete.
  const auto complete = std::find_if(rows.begin(), rows.end(), isComplete);
  const LensRow& row = complete == rows.end() ? *rows.back() : **complete;
  const std::vector<std::string> names = namesOf(row);
  for (const std::string& name : names) camera.lens.*member(name) = map[prefix + name].number();
  for (const std::string& key : map.keys()) {
    if (!key.starts_with(prefix)) continue;
    const std::string name = key.substr(prefix.size());
    const bool isMeant = prefix.empty() || isParameter(name);
    const bool isKnown = std::find(names.begin(), names.end(), name) != names.end();
    if (isMeant && !isKnown) {
      map[key].refuse("no more than " + std::string(row.intrinsics) + " " + row.coefficients, key);
    }
  }
  camera.model = row.model;
  camera.word = wordText;
}

void requireUnitLength(const QuaternionZEL& q, const Field& field) {
  constexpr double kTolerance = 1e-3;
  const double length = q.x * q.x + q.y * q.y + q.z * q.z + q.w * q.w;
  if (!(std::fabs(length - 1) < kTolerance)) {
    field.refuse("a quaternion with x^2 + y^2 + z^2 + w^2 = 1", shown(length));
  }
}

void setParameters(LensParameters& lens, const std::string& names,
                   const std::vector<double>& values) {
  const std::vector<std::string> list = words(names);
  for (std::size_t i = 0; i < list.size(); ++i) {
    lens.*member(list[i]) = values[i];
    if (list[i] == "f") lens.fy = values[i];
  }
}

void readParameters(LensParameters& lens, const std::string& names, const Field& field) {
  setParameters(lens, names, field.numbers(words(names).size(), names));
}

std::vector<double> parameters(const LensParameters& lens, const std::string& names) {
  std::vector<double> values;
  for (const std::string& name : words(names)) values.push_back(lens.*member(name));
  return values;
}

void readCameraMatrix(LensParameters& lens, const Field& field) {
  const std::vector<double> K = field.numbers(9, "a 3 x 3 camera matrix, row by row");
  const bool isCameraMatrix = K[3] == 0 && K[6] == 0 && K[7] == 0 && K[8] == 1;
  if (!isCameraMatrix) field.refuse("fx s cx, 0 fy cy, 0 0 1", "other zeros and ones");
  lens.fx = K[0];
  lens.skew = K[1];
  lens.cx = K[2];
  lens.fy = K[4];
  lens.cy = K[5];
}

Mat3 checkedRotation(const Mat3& R, const Field& field) {
  // What four digits may cost; a mistake costs more.
  constexpr double kTolerance = 1e-4;
  const double error = rotationError(R);
  if (!(error < kTolerance)) {
    const std::string found = std::isfinite(error)
                                  ? "rows that miss length 1 or right angles by " + shown(error)
                                  : "a reflection";
    field.refuse("a rotation", found);
  }
  return nearestRotation(R);
}

Mat3 readRotation(const Field& field) {
  const std::vector<double> values = field.numbers(9, "a rotation matrix, row by row");
  Mat3 R;
  std::copy(values.begin(), values.end(), R.begin());
  return checkedRotation(R, field);
}

Vec3 readVector(const Field& field) {
  const std::vector<double> values = field.numbers(3, "x y z");
  return {values[0], values[1], values[2]};
}

Pose readTransform(const Field& field, Direction direction) {
  const std::vector<double> m = field.numbers();
  const bool isTransform = m.size() == 12 || (m.size() == 16 && isLastRow(m));
  if (!isTransform) {
    field.refuse(
        "a 4 x 4 transform with last row 0 0 0 1",
        std::to_string(m.size()) + " numbers" + (m.size() == 16 ? " and another last row" : ""));
  }
  const Mat3 R{m[0], m[1], m[2], m[4], m[5], m[6], m[8], m[9], m[10]};
  return poseFrom({checkedRotation(R, field), {m[3], m[7], m[11]}}, direction);
}

}  // namespace rectiline::formats
