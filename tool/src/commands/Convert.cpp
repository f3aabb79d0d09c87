// convert: a calibration in another program's format.

#include <CLI/CLI.hpp>
#include <algorithm>
#include <cmath>
#include <filesystem>
#include <memory>
#include <string>
#include <vector>

#include "cli/Error.h"
#include "cli/RigArgument.h"
#include "cli/StandardOutput.h"
#include "commands/Commands.h"
#include "files/Outputs.h"
#include "maps/Calls.h"
#include "rectiline_formats/Write.h"
#include "scene/Geometry.h"

namespace rectiline::tool {
namespace {

struct Arguments {
  RigArgument rig;
  std::string format;
  formats::WriteOptions options;
  OutputArgument output;
};

std::vector<std::string> writableNames() {
  std::vector<std::string> names;
  for (const formats::Format format : formats::writableFormats()) {
    names.emplace_back(formats::formatName(format));
  }
  return names;
}

/// Where the files go: one under the name that was given, several into a directory of that name.
std::vector<std::string> claimFiles(const Arguments& arguments, const formats::Written& written) {
  Outputs out(arguments.output, arguments.rig.files());
  const bool isDirectory =
      written.files.size() > 1 || std::filesystem::is_directory(arguments.output.path);
  std::vector<std::string> files;
  for (const formats::WrittenFile& file : written.files) {
    files.push_back(isDirectory ? out.file(file.name) : out.singleFile());
  }
  return files;
}

/// Where pixels of a camera see points a metre away, in the frame of the first camera.
std::vector<Vec3d> pointsSeen(const DeviceCalibrationZEL& device, int camera,
                              const std::vector<double>& pixels) {
  const CameraCalibrationZEL& record = device.cameras[camera];
  std::vector<double> rays(pixels.size() / 2 * 3);
  check(rectiline_pixels_to_rays(&record, pixels.size() / 2, pixels.data(), rays.data(), nullptr));
  std::vector<Vec3d> points;
  for (std::size_t i = 0; i < rays.size(); i += 3) {
    const Vec3d P_ref = toReference(record.pose, {rays[i], rays[i + 1], rays[i + 2]});
    points.push_back(toCamera(device.cameras[0].pose, P_ref));
  }
  return points;
}

std::vector<double> pixelsOf(const DeviceCalibrationZEL& device, int camera,
                             const std::vector<Vec3d>& points) {
  const CameraCalibrationZEL& record = device.cameras[camera];
  std::vector<double> rays;
  for (const Vec3d& P_first : points) {
    const Vec3d P = toCamera(record.pose, toReference(device.cameras[0].pose, P_first));
    rays.insert(rays.end(), {P.x, P.y, P.z});
  }
  std::vector<double> pixels(points.size() * 2);
  check(rectiline_rays_to_pixels(&record, points.size(), rays.data(), pixels.data(), nullptr));
  return pixels;
}

/// How far apart two calibrations of one rig see a point a metre away, pixels, at most.
double greatestDifference(const DeviceCalibrationZEL& ours, const DeviceCalibrationZEL& theirs) {
  constexpr int kSteps = 32;
  double greatest = 0;
  for (int camera = 0; camera < ours.num_cameras; ++camera) {
    const IntrinsicCameraCalibrationZEL& in = ours.cameras[camera].intrinsics;
    std::vector<double> pixels;
    for (int i = 0; i <= kSteps; ++i) {
      for (int k = 0; k <= kSteps; ++k) {
        pixels.push_back(k * (in.width - 1.0) / kSteps);
        pixels.push_back(i * (in.height - 1.0) / kSteps);
      }
    }
    const std::vector<double> back = pixelsOf(theirs, camera, pointsSeen(ours, camera, pixels));
    for (std::size_t i = 0; i < pixels.size(); i += 2) {
      const double d = std::hypot(back[i] - pixels[i], back[i + 1] - pixels[i + 1]);
      if (d > greatest) greatest = d;  // pixels without a ray in front give NaN
    }
  }
  return greatest;
}

double readBack(const DeviceCalibrationZEL& device, const std::vector<std::string>& files,
                formats::Format format) {
  formats::ReadOptions options;
  options.from = format;
  options.size = {device.cameras[0].intrinsics.width, device.cameras[0].intrinsics.height};
  const DeviceCalibrationZEL back = formats::readCalibration(files, options).device;
  if (back.num_cameras != device.num_cameras) {
    throw Error(files.front() + ": was written, but reads back with another number of cameras");
  }
  return greatestDifference(device, back);
}

/// Writes the calibration, and says how far what is read back is from it.
Result convert(const Arguments& arguments) {
  const formats::Format format = *formats::formatFromName(arguments.format);
  const Rig rig = arguments.rig.read();
  if (!rig.hasPoses) {
    throw Error(arguments.rig.text() + ": does not say how its cameras lie to each other");
  }
  const formats::Written written = formats::writeCalibration(rig.device, format, arguments.options);
  const std::vector<std::string> files = claimFiles(arguments, written);
  for (std::size_t i = 0; i < files.size(); ++i) writeFile(files[i], written.files[i].text);
  for (const std::string& sentence : written.notes) note(sentence);
  const double difference = readBack(rig.device, files, format);
  for (const std::string& file : files) print("%s\n", file.c_str());
  print("  read back, points a metre away appear at most %.2g px from where they were\n",
        difference);
  return {{{"format", arguments.format},
           {"files", files},
           {"notes", written.notes},
           {"greatest_difference_pixels", difference}},
          ""};
}

}  // namespace

Run declareConvert(CLI::App& command) {
  const auto arguments = std::make_shared<Arguments>();
  arguments->rig.declare(command);
  command.add_option("--to", arguments->format, "the format to write")
      ->required()
      ->check(CLI::IsMember(writableNames()));
  command.add_flag("--lossy", arguments->options.lossy,
                   "leave out what the format cannot hold, take its closest lens model");
  arguments->output.declareFile(command, "file, or directory for a format of several files");
  return [arguments] { return convert(*arguments); };
}

}  // namespace rectiline::tool
