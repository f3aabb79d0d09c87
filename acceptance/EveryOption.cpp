// every_option FOLDER: rectifies every rig of a folder (*.rig.xml) with every option, each pair
// both ways round, and prints how good the maps are beside how good the cameras' tables are. Not a
// test: rigs of one's own go through it by hand.

#include <algorithm>
#include <chrono>
#include <cmath>
#include <cstdio>
#include <filesystem>
#include <string>
#include <vector>

#include "rectiline/rectiline.h"

namespace {

template <typename Struct>
Struct sized() {
  Struct s{};
  s.struct_size = sizeof s;
  return s;
}

struct Option {
  std::string name;
  rectiline_options options = sized<rectiline_options>();
};

std::vector<Option> everyOption(const IntrinsicCameraCalibrationZEL& left) {
  const char* const kProjections[] = {"pinhole", "lat-long"};
  const char* const kScales[] = {"automatic", "focal length", "view", "valid", "whole", "between"};
  const char* const kImages[] = {"", ", size", ", point", ", keep outside"};
  constexpr int kCoverages[] = {
      0, 0, 0, RECTILINE_COVERAGE_VALID, RECTILINE_COVERAGE_WHOLE, RECTILINE_COVERAGE_BETWEEN};
  std::vector<Option> all;
  for (int i = 0; i < 2 * 6 * 4; ++i) {
    const int projection = i / 24, scale = i / 4 % 6, image = i % 4;
    auto& [name, o] = all.emplace_back();
    name = std::string(kProjections[projection]) + " " + kScales[scale] + kImages[image];
    o.projection = projection == 0 ? RECTILINE_PINHOLE : RECTILINE_LATITUDE_LONGITUDE;
    o.focal_length = scale == 1 ? 0.6 * left.focal_length_x : 0;
    o.field_of_view = scale == 2 ? 1.2 + projection : 0;
    o.coverage = kCoverages[scale];
    o.alpha = scale == 5 ? 0.5 : 0;
    if (image == 1) o.width = 500, o.height = 400;
    if (image == 2) o.has_principal_point = 1, o.cx = 0.45 * left.width, o.cy = 0.55 * left.height;
    o.keep_outside = image == 3 ? 1 : 0;
  }
  return all;
}

/// A map with its planes.
class OwnMap {
 public:
  explicit OwnMap(const rectiline_view& view)
      : mX(static_cast<std::size_t>(view.width) * static_cast<std::size_t>(view.height)),
        mY(mX.size()) {
    map.width = view.width;
    map.height = view.height;
    map.x = mX.data();
    map.y = mY.data();
  }
  rectiline_map map = sized<rectiline_map>();

 private:
  std::vector<float> mX;
  std::vector<float> mY;
};

void printError() {
  auto error = sized<rectiline_error>();
  rectiline_last_error(&error);
  std::printf("%s: %s\n", rectiline_status_text(error.status), error.text);
}

double cameraError(const CameraCalibrationZEL& camera) {
  auto certificate = sized<rectiline_camera_certificate>();
  if (rectiline_certify_camera(&camera, &certificate) != RECTILINE_OK) return NAN;
  return certificate.max_distortion_error;
}

/// The share of a camera's pixels with a ray from which a map entry is at most one pixel away.
double shareWithinOnePixel(const CameraCalibrationZEL& camera, const rectiline_map& map) {
  const int width = camera.intrinsics.width;
  const int height = camera.intrinsics.height;
  std::vector<std::uint8_t> isNear(static_cast<std::size_t>(width) *
                                   static_cast<std::size_t>(height));
  const std::size_t entries =
      static_cast<std::size_t>(map.width) * static_cast<std::size_t>(map.height);
  for (std::size_t i = 0; i < entries; ++i) {
    const double u = static_cast<double>(map.x[i]);
    const double v = static_cast<double>(map.y[i]);
    if (u < 0) continue;
    for (int y = std::max(0, int(std::ceil(v - 1))); y <= std::min(height - 1, int(v + 1)); ++y) {
      for (int x = std::max(0, int(std::ceil(u - 1))); x <= std::min(width - 1, int(u + 1)); ++x) {
        if (std::hypot(u - x, v - y) <= 1) isNear[static_cast<std::size_t>(y * width + x)] = 1;
      }
    }
  }
  std::vector<double> pixels;
  for (int y = 0; y < height; ++y) {
    for (int x = 0; x < width; ++x) pixels.insert(pixels.end(), {double(x), double(y)});
  }
  std::vector<double> rays(isNear.size() * 3);
  std::vector<std::uint8_t> reasons(isNear.size());
  rectiline_pixels_to_rays(&camera, isNear.size(), pixels.data(), rays.data(), reasons.data());
  std::size_t withRay = 0;
  std::size_t near = 0;
  for (std::size_t i = 0; i < isNear.size(); ++i) {
    if (reasons[i] != RECTILINE_PIXEL_OK) continue;
    ++withRay;
    near += isNear[i];
  }
  return static_cast<double>(near) / static_cast<double>(withRay);
}

/// Rectifies with one option. False when it was not refused and is worse than the cameras.
bool check(const DeviceCalibrationZEL& device, const Option& option, double cameraError) {
  std::printf("  %-32s", option.name.c_str());
  auto result = sized<rectiline_rectification>();
  const auto start = std::chrono::steady_clock::now();
  if (rectiline_rectify(&device, &option.options, nullptr, nullptr, &result) != RECTILINE_OK) {
    printError();
    return true;
  }
  const double chosen =
      std::chrono::duration<double, std::milli>(std::chrono::steady_clock::now() - start).count();
  OwnMap left(result.left);
  OwnMap right(result.right);
  auto certificate = sized<rectiline_certificate>();
  if (rectiline_rectify(&device, &option.options, &left.map, &right.map, &result) != RECTILINE_OK ||
      rectiline_certify_rectification(&device, &result, &left.map, &right.map, &certificate) !=
          RECTILINE_OK) {
    printError();
    return false;
  }
  const double mapError = std::max(certificate.max_map_error_left, certificate.max_map_error_right);
  std::printf("%4d x %-4d f %8.3f %6.1f ms  row %.5f map %.5f depth %.2g px; sources %.4f %.4f",
              result.left.width, result.left.height, result.left.fx, chosen,
              certificate.max_row_error, mapError, certificate.max_depth_error, result.left_share,
              result.right_share);
  // What a map's rounding adds to its cameras' tables: four units in the last place of the image.
  const int side = std::max(device.cameras[result.left_camera].intrinsics.width,
                            device.cameras[result.right_camera].intrinsics.width);
  const double limit = std::max(0.01, cameraError + std::ldexp(4.0, std::ilogb(side) - 23));
  bool good = cameraError > 0.01 || (certificate.max_row_error < 0.01 && mapError < limit);
  if (option.options.coverage == RECTILINE_COVERAGE_VALID) {
    good = good && result.left_share == 1 && result.right_share == 1;
  }
  if (option.options.coverage == RECTILINE_COVERAGE_WHOLE && option.options.projection != 0 &&
      option.options.width == 0 && option.options.has_principal_point == 0) {
    const double shareL = shareWithinOnePixel(device.cameras[result.left_camera], left.map);
    const double shareR = shareWithinOnePixel(device.cameras[result.right_camera], right.map);
    std::printf("; within a pixel %.4f %.4f", shareL, shareR);
    good = good && shareL > 0.95;  // the default focal length is the left camera's
  }
  std::printf("%s\n", good ? "" : "  <-- WORSE THAN ITS CAMERAS");
  const bool isFirst = option.name == "pinhole automatic";
  for (std::uint32_t i = 0; isFirst && i < result.warning_count; ++i) {
    std::printf("      %s\n", result.warnings[i].text);
  }
  return good;
}

bool checkPair(const std::string& name, const DeviceCalibrationZEL& device, int left, int right) {
  const double error =
      std::max(cameraError(device.cameras[left]), cameraError(device.cameras[right]));
  std::printf("%s, cameras %d and %d: tables off by %.5f px\n", name.c_str(), left, right, error);
  bool good = true;
  for (Option option : everyOption(device.cameras[left].intrinsics)) {
    option.options.left_camera = left;
    option.options.right_camera = right;
    good = check(device, option, error) && good;
  }
  return good;
}

}  // namespace

int main(int argc, char** argv) {
  if (argc != 2) return std::fprintf(stderr, "usage: every_option FOLDER\n"), 2;
  std::vector<std::filesystem::path> files;
  for (const auto& entry : std::filesystem::directory_iterator(argv[1])) {
    if (entry.path().extension() == ".xml") files.push_back(entry.path());
  }
  std::sort(files.begin(), files.end());
  bool good = true;
  for (const std::filesystem::path& file : files) {
    DeviceCalibrationZEL device;
    if (rectiline_rig_from_file(file.c_str(), &device) != RECTILINE_OK) {
      printError();
      good = false;
      continue;
    }
    for (int right = 1; right < device.num_cameras; ++right) {
      good = checkPair(file.stem().stem(), device, 0, right) && good;
      good = checkPair(file.stem().stem(), device, right, 0) && good;
    }
  }
  return good ? 0 : 1;
}
