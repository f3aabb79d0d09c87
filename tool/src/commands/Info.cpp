// info: what a calibration says, in numbers and words.

#include <CLI/CLI.hpp>
#include <algorithm>
#include <array>
#include <cmath>
#include <cstdio>
#include <memory>
#include <optional>
#include <string>
#include <vector>

#include "cli/RigArgument.h"
#include "cli/StandardOutput.h"
#include "commands/Commands.h"
#include "maps/Calls.h"
#include "scene/Geometry.h"

namespace rectiline::tool {
namespace {

using Json = nlohmann::ordered_json;

constexpr double kDegrees = 180 / M_PI;
constexpr double kNoticeableTableError = 0.01;  // pixels
constexpr double kNoticeableShare = 0.0005;     // of the image: what "0.1 %" says

struct LensName {
  const char* ours;
  const char* others;  // what the field calls it, and whose coefficients it takes
};

/// By the number of the model in a record.
constexpr std::array<LensName, 9> kLensNames{{
    {"LINEAR", "pinhole"},
    {"RADIAL_2_PARAMETERS", "Brown-Conrady: radtan, plumb_bob, OpenCV k1 k2 p1 p2"},
    {"RADIAL_3_PARAMETERS", "Brown-Conrady: plumb_bob, OpenCV k1 k2 p1 p2 k3"},
    {"RADIAL_6_PARAMETERS", "Brown-Conrady: rational_polynomial, OpenCV k1 to k6"},
    {"FISHEYE_1_PARAMETER", "field of view: FOV, ATAN"},
    {"FISHEYE_4_PARAMETERS", "Kannala-Brandt: equidistant, kb4, OpenCV fisheye"},
    {"CHEBYSHEV_4_PARAMETERS", "Chebyshev polynomials of the angle"},
    {"FISHEYE_SPLINE_3", "spline over the angle"},
    {"FISHEYE_RATIONAL", "rational function of the field-of-view radius"},
}};

/// x_camera = R x_first + t, metres.
struct RelativePose {
  double R[9];
  Vec3d t;
};

struct CameraFacts {
  const CameraCalibrationZEL* record;
  const formats::CameraReading* reading;  // null when there is none
  rectiline_camera_certificate certificate;
  double fieldOfView[2];   // across and down the middle of the image, degrees; NaN: not all of it
  double shareWithoutRay;  // of the image
  std::optional<RelativePose> pose;
};

struct RigFacts {
  std::vector<CameraFacts> cameras;
  std::optional<double> baseline;  // of the first two cameras, metres
  std::vector<std::string> warnings;
};

template <typename... Values>
std::string text(const char* format, Values... values) {
  std::array<char, 512> buffer;
  std::snprintf(buffer.data(), buffer.size(), format, values...);
  return buffer.data();
}

RelativePose relativePose(const XrPosedZEL_t& T_camera_ref, const XrPosedZEL_t& T_first_ref) {
  const auto toCameraFrame = [&](const Vec3d& P_first) {
    return toCamera(T_camera_ref, toReference(T_first_ref, P_first));
  };
  RelativePose pose{{}, toCameraFrame({0, 0, 0})};
  const Vec3d axes[] = {{1, 0, 0}, {0, 1, 0}, {0, 0, 1}};
  for (int column = 0; column < 3; ++column) {
    const Vec3d turned = toCameraFrame(axes[column]) - pose.t;
    pose.R[column] = turned.x;
    pose.R[3 + column] = turned.y;
    pose.R[6 + column] = turned.z;
  }
  return pose;
}

/// The angle between the directions of two pixels, degrees; NaN when one has none.
double angleBetween(const CameraCalibrationZEL& camera, const std::array<double, 4>& pixels) {
  std::array<double, 6> rays;
  check(rectiline_pixels_to_rays(&camera, 2, pixels.data(), rays.data(), nullptr));
  const Vec3d a{rays[0], rays[1], rays[2]};
  const Vec3d b{rays[3], rays[4], rays[5]};
  const Vec3d normal = cross(a, b);
  return std::atan2(std::sqrt(dot(normal, normal)), dot(a, b)) * kDegrees;
}

/// The share of the image that the lens model gives no direction for.
double shareWithoutRay(const CameraCalibrationZEL& camera) {
  constexpr int kSteps = 64;
  std::vector<double> pixels;
  for (int i = 0; i < kSteps * kSteps; ++i) {
    pixels.push_back((i % kSteps + 0.5) / kSteps * camera.intrinsics.width - 0.5);
    pixels.push_back((i / kSteps + 0.5) / kSteps * camera.intrinsics.height - 0.5);
  }
  std::vector<double> rays(pixels.size() / 2 * 3);
  check(rectiline_pixels_to_rays(&camera, pixels.size() / 2, pixels.data(), rays.data(), nullptr));
  const auto missing = std::count_if(rays.begin(), rays.end(), [](double v) { return v != v; });
  return static_cast<double>(missing) / static_cast<double>(rays.size());
}

CameraFacts factsOf(const CameraCalibrationZEL& camera) {
  CameraFacts facts{&camera, nullptr, sized<rectiline_camera_certificate>(), {}, 0, std::nullopt};
  check(rectiline_certify_camera(&camera, &facts.certificate));
  const IntrinsicCameraCalibrationZEL& in = camera.intrinsics;
  const double cx = in.principal_point_x;
  const double cy = in.principal_point_y;
  facts.fieldOfView[0] = angleBetween(camera, {-0.5, cy, in.width - 0.5, cy});
  facts.fieldOfView[1] = angleBetween(camera, {cx, -0.5, cx, in.height - 0.5});
  facts.shareWithoutRay = shareWithoutRay(camera);
  return facts;
}

double tableError(const rectiline_camera_certificate& c) {
  return std::max(c.max_distortion_error, c.max_undistortion_error);
}

void warnAboutCamera(const CameraFacts& camera, std::vector<std::string>& warnings) {
  const char* const name = camera.record->name;
  if (tableError(camera.certificate) > kNoticeableTableError) {
    warnings.push_back(text("camera %s: its tables are up to %.3f px off its formula", name,
                            tableError(camera.certificate)));
  }
  if (camera.shareWithoutRay > kNoticeableShare) {
    warnings.push_back(
        text("camera %s: %.1f %% of the image lie where its lens model gives no "
             "direction in front of the camera",
             name, 100 * camera.shareWithoutRay));
  }
  if (camera.reading != nullptr && camera.reading->isFitted) {
    warnings.push_back(text("camera %s: %s was fitted, at most %.2g px off", name,
                            camera.reading->sourceModel.c_str(),
                            camera.reading->greatestDifference.value_or(0)));
  }
}

/// What the library says about the first two cameras as a pair. Its words about tables are left to
/// warnAboutCamera(), which looks at every camera.
void warnAboutPair(const DeviceCalibrationZEL& device, std::vector<std::string>& warnings) {
  const auto automatic = sized<rectiline_options>();
  auto pair = sized<rectiline_rectification>();
  if (rectiline_rectify(&device, &automatic, nullptr, nullptr, &pair) != RECTILINE_OK) {
    warnings.push_back("the pair cannot be rectified: " + inTermsOfOptions(lastErrorText()));
    return;
  }
  for (std::uint32_t i = 0; i < pair.warning_count; ++i) {
    if (pair.warnings[i].code == RECTILINE_WARNING_TABLE_ERROR) continue;
    warnings.emplace_back(pair.warnings[i].text);
  }
}

RigFacts factsOf(const Rig& rig) {
  RigFacts facts;
  const int count = rig.device.num_cameras;
  for (int i = 0; i < count; ++i) {
    const CameraCalibrationZEL& record = rig.device.cameras[i];
    CameraFacts camera = factsOf(record);
    const auto index = static_cast<std::size_t>(i);
    if (index < rig.cameras.size()) camera.reading = &rig.cameras[index];
    if (rig.hasPoses) camera.pose = relativePose(record.pose, rig.device.cameras[0].pose);
    warnAboutCamera(camera, facts.warnings);
    facts.cameras.push_back(camera);
  }
  if (count < 2) return facts;
  if (!rig.hasPoses) {
    facts.warnings.emplace_back("the calibration does not say how its cameras lie to each other");
    return facts;
  }
  const Vec3d& t = facts.cameras[1].pose->t;
  facts.baseline = std::sqrt(dot(t, t));
  warnAboutPair(rig.device, facts.warnings);
  return facts;
}

Json toJson(const CameraFacts& camera) {
  const IntrinsicCameraCalibrationZEL& in = camera.record->intrinsics;
  const double* const k = in.distortion;
  Json json{{"name", camera.record->name},
            {"model", kLensNames.at(static_cast<std::size_t>(in.distortion_model)).ours},
            {"width", in.width},
            {"height", in.height},
            {"fx", in.focal_length_x},
            {"fy", in.focal_length_y},
            {"cx", in.principal_point_x},
            {"cy", in.principal_point_y},
            {"radial", std::vector<double>(k, k + 6)},
            {"tangential", std::vector<double>(k + 6, k + 8)},
            {"R", nullptr},
            {"t", nullptr},
            {"field_of_view_degrees", camera.fieldOfView},
            {"valid_radius", camera.certificate.valid_radius},
            {"valid_radius_pixels", camera.certificate.valid_radius_pixels},
            {"table_error_pixels", tableError(camera.certificate)},
            {"share_without_ray", camera.shareWithoutRay}};
  if (camera.pose) {
    const Vec3d& t = camera.pose->t;
    json["R"] = camera.pose->R;
    json["t"] = {t.x, t.y, t.z};
  }
  if (camera.reading != nullptr) {
    json["source_model"] = camera.reading->sourceModel;
    if (const auto& difference = camera.reading->greatestDifference) {
      json["greatest_difference_pixels"] = *difference;
    }
  }
  return json;
}

Json toJson(const RigFacts& facts, formats::Format format) {
  Json json{{"format", formats::formatName(format)},
            {"cameras", Json::array()},
            {"baseline", nullptr},
            {"warnings", facts.warnings}};
  for (const CameraFacts& camera : facts.cameras) json["cameras"].push_back(toJson(camera));
  if (facts.baseline) json["baseline"] = *facts.baseline;
  return json;
}

std::string angleText(double degrees) { return degrees != degrees ? "-" : text("%.1f", degrees); }

void printTable(const std::vector<CameraFacts>& cameras) {
  print("  %-12s %-10s %9s %9s %9s %9s  %-13s %-16s %s\n", "camera", "size", "fx", "fy", "cx", "cy",
        "field of view", "valid to", "table error");
  for (const CameraFacts& camera : cameras) {
    const IntrinsicCameraCalibrationZEL& in = camera.record->intrinsics;
    const std::string size = text("%dx%d", in.width, in.height);
    const std::string view =
        angleText(camera.fieldOfView[0]) + " x " + angleText(camera.fieldOfView[1]);
    print("  %-12s %-10s %9.3f %9.3f %9.3f %9.3f  %-13s r %.2f, %4.0f px  %.5f px\n",
          camera.record->name, size.c_str(), in.focal_length_x, in.focal_length_y,
          in.principal_point_x, in.principal_point_y, view.c_str(), camera.certificate.valid_radius,
          camera.certificate.valid_radius_pixels, tableError(camera.certificate));
  }
}

std::string coefficients(const IntrinsicCameraCalibrationZEL& in) {
  std::string list;
  for (const double k : in.distortion) list += text(" %.8g", k);
  return list;
}

void printLenses(const std::vector<CameraFacts>& cameras) {
  print("lenses, k0 to k5 and p1, p2\n");
  for (const CameraFacts& camera : cameras) {
    const IntrinsicCameraCalibrationZEL& in = camera.record->intrinsics;
    const LensName& lens = kLensNames.at(static_cast<std::size_t>(in.distortion_model));
    print("  %-12s %s (%s)\n  %-12s%s\n", camera.record->name, lens.ours, lens.others, "",
          coefficients(in).c_str());
    if (camera.reading == nullptr || !camera.reading->greatestDifference) continue;
    print("  %-12s read as %s, at most %.2g px from the formula of its format\n", "",
          camera.reading->sourceModel.c_str(), *camera.reading->greatestDifference);
  }
}

/// "to the right" or "to the left", for a coordinate of a camera's centre.
void appendSide(std::string& sentence, double metres, const char* positive, const char* negative) {
  if (!sentence.empty()) sentence += ", ";
  sentence += text("%.1f mm %s", 1000 * std::fabs(metres), metres < 0 ? negative : positive);
}

std::string placeInWords(const RelativePose& pose) {
  const Vec3d centre = rotateBack(pose.R, pose.t) * -1;
  std::string sentence;
  appendSide(sentence, centre.x, "to the right", "to the left");
  appendSide(sentence, centre.y, "below", "above");
  appendSide(sentence, centre.z, "in front", "behind");
  return sentence;
}

double turnDegrees(const RelativePose& pose) {
  const double cosine = (pose.R[0] + pose.R[4] + pose.R[8] - 1) / 2;
  return std::acos(std::clamp(cosine, -1.0, 1.0)) * kDegrees;
}

void printPoses(const std::vector<CameraFacts>& cameras) {
  const char* const first = cameras.front().record->name;
  print("poses, x_camera = R x_%s + t\n", first);
  for (const CameraFacts& camera : cameras) {
    if (&camera == &cameras.front() || !camera.pose) continue;
    const Vec3d& t = camera.pose->t;
    const double(&R)[9] = camera.pose->R;
    print("  %-12s t  %11.8f %11.8f %11.8f m\n", camera.record->name, t.x, t.y, t.z);
    for (int row = 0; row < 3; ++row) {
      print("  %-12s %s %11.8f %11.8f %11.8f\n", "", row == 0 ? "R " : "  ", R[3 * row],
            R[3 * row + 1], R[3 * row + 2]);
    }
    print("  %-12s seen from %s: %s; turned by %.2f degrees\n", "", first,
          placeInWords(*camera.pose).c_str(), turnDegrees(*camera.pose));
  }
}

Result info(const RigArgument& argument) {
  const Rig rig = argument.read();
  const RigFacts facts = factsOf(rig);
  const std::size_t count = facts.cameras.size();
  print("%s: %s, %zu camera%s\n", argument.text().c_str(), formats::formatName(rig.format), count,
        count == 1 ? "" : "s");
  printTable(facts.cameras);
  printLenses(facts.cameras);
  if (facts.baseline) {
    printPoses(facts.cameras);
    print("baseline       %.6f m\n", *facts.baseline);
  }
  for (const std::string& warning : facts.warnings) print("warning: %s\n", warning.c_str());
  return {toJson(facts, rig.format), ""};
}

}  // namespace

Run declareInfo(CLI::App& command) {
  const auto rig = std::make_shared<RigArgument>();
  rig->declare(command);
  return [rig] { return info(*rig); };
}

}  // namespace rectiline::tool
