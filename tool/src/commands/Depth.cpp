// depth: a disparity image of a rectified pair as depth or as points.

#include <CLI/CLI.hpp>
#include <algorithm>
#include <cmath>
#include <cstring>
#include <memory>
#include <string>
#include <vector>

#include "arrays/Array.h"
#include "cli/Error.h"
#include "cli/RigArgument.h"
#include "cli/StandardOutput.h"
#include "cli/ViewArgument.h"
#include "commands/Commands.h"
#include "files/Outputs.h"
#include "images/ImageFile.h"
#include "maps/Calls.h"
#include "scene/Geometry.h"

namespace rectiline::tool {
namespace {

struct Arguments {
  RigArgument rig;
  ViewArgument view;
  std::string disparity;
  double scale = 0;  // of the values of the disparity image; 0: not given
  OutputArgument output;
};

/// Metres along the axis of the rectified left camera; NaN where there is none.
using Depth = Pixels<float>;

bool isPng(const std::string& file) { return file.ends_with(".png"); }

void requireSize(const std::string& file, int width, int height, const rectiline_view& view) {
  if (width == view.width && height == view.height) return;
  throw Error(file + ": is " + std::to_string(width) + "x" + std::to_string(height) +
              ", the rectified images of the rig are " + std::to_string(view.width) + "x" +
              std::to_string(view.height));
}

Pixels<float> readGrey16(const std::string& path, const rectiline_view& view) {
  const ImageFile file(path);
  const ImageHeader& header = file.header();
  if (header.format != RECTILINE_GREY16) {
    throw Error(path + ": expected a grey image of 16 bits, or an array (.npy)");
  }
  requireSize(path, header.width, header.height, view);
  const Image image = file.decode();
  Pixels<float> values(image.width, image.height);
  for (std::size_t i = 0; i < values.data.size(); ++i) {
    std::uint16_t value;
    std::memcpy(&value, &image.data[i * sizeof value], sizeof value);
    values.data[i] = value;
  }
  return values;
}

/// Disparities in pixels of the view.
Pixels<float> readDisparity(const Arguments& arguments, const rectiline_view& view) {
  Pixels<float> values;
  if (isPng(arguments.disparity)) {
    if (arguments.scale == 0) {
      throw Error(
          "how many units a PNG has for a pixel of disparity is for --scale-disparity to say, 16 "
          "for "
          "OpenCV's StereoSGBM, 256 for KITTI",
          ExitCode::Usage);
    }
    values = readGrey16(arguments.disparity, view);
  } else {
    values = readNpy(arguments.disparity, arguments.rig.limit());
    requireSize(arguments.disparity, values.width, values.height, view);
  }
  const double scale = arguments.scale == 0 ? 1 : arguments.scale;
  for (float& value : values.data) value = static_cast<float>(value / scale);
  return values;
}

rectiline_rectification rectify(const Rig& rig, const rectiline_options& options) {
  if (options.projection != RECTILINE_PINHOLE) {
    throw Error("depth is made of pinhole views, not of latitude-longitude", ExitCode::Usage);
  }
  auto r = sized<rectiline_rectification>();
  check(rectiline_rectify(&rig.device, &options, nullptr, nullptr, &r));
  return r;
}

/// Points in front of both cameras have positive disparities, whichever camera is given first.
Depth toDepth(const Pixels<float>& disparity, double depthConstant) {
  Depth depth(disparity.width, disparity.height);
  std::transform(disparity.data.begin(), disparity.data.end(), depth.data.begin(), [&](float d) {
    return d > 0 && std::isfinite(d) ? static_cast<float>(std::fabs(depthConstant) / d) : NAN;
  });
  return depth;
}

/// The points in the frame of the raw left camera, metres.
std::vector<Vec3d> toPoints(const Depth& depth, const rectiline_view& view) {
  std::vector<Vec3d> points;
  for (int y = 0; y < depth.height; ++y) {
    for (int x = 0; x < depth.width; ++x) {
      const double z = static_cast<double>(depth(x, y));
      if (std::isnan(z)) continue;
      const Vec3d P_view{(x - view.cx) / view.fx * z, (y - view.cy) / view.fy * z, z};
      points.push_back(rotate(view.R_camera_view, P_view));
    }
  }
  return points;
}

std::string toPly(const std::vector<Vec3d>& points) {
  std::string bytes = "ply\nformat binary_little_endian 1.0\nelement vertex " +
                      std::to_string(points.size()) +
                      "\nproperty float x\nproperty float y\nproperty float z\nend_header\n";
  for (const Vec3d& point : points) {
    const float values[3] = {static_cast<float>(point.x), static_cast<float>(point.y),
                             static_cast<float>(point.z)};
    bytes.append(reinterpret_cast<const char*>(values), sizeof values);
  }
  return bytes;
}

/// Whole millimetres; 0 where there is no depth or one that 16 bits cannot hold.
DepthImage toMillimetres(const Depth& depth) {
  DepthImage image(depth.width, depth.height);
  std::transform(depth.data.begin(), depth.data.end(), image.data.begin(), [](float metres) {
    const double mm = std::round(1000.0 * static_cast<double>(metres));
    return mm <= 65535 ? static_cast<std::uint16_t>(mm) : std::uint16_t{0};
  });
  return image;
}

std::string extensionOf(const std::string& file) {
  for (const char* extension : {".npy", ".png", ".ply"}) {
    if (file.ends_with(extension)) return extension;
  }
  throw Error(file +
                  ": expected a name that ends with .npy (metres), .png (millimetres) or .ply "
                  "(points)",
              ExitCode::Usage);
}

void write(const std::string& file, const Depth& depth, const rectiline_view& view) {
  const std::string extension = extensionOf(file);
  if (extension == ".png") return writeImage(file, Image(toMillimetres(depth)));
  if (extension == ".ply") return writeFile(file, toPly(toPoints(depth, view)));
  writeFile(file, toNpy({"depth", Element::Float32, static_cast<std::size_t>(depth.height),
                         static_cast<std::size_t>(depth.width), depth.data.data()}));
}

Result report(const std::string& file, Depth depth, const rectiline_rectification& r) {
  std::vector<float>& values = depth.data;
  const double share = 1 / static_cast<double>(values.size());
  values.erase(std::remove_if(values.begin(), values.end(), [](float z) { return z != z; }),
               values.end());
  if (values.empty()) throw Error("no disparity is above 0: there is no depth", ExitCode::Verdict);
  std::sort(values.begin(), values.end());
  const auto at = [&values](std::size_t i) { return static_cast<double>(values[i]); };
  const std::size_t count = values.size();
  const double nearest = at(0), median = at(count / 2), farthest = at(count - 1);
  const double known = static_cast<double>(count) * share;
  print("%s\n  depth known at %.1f %% of the pixels, %.3f m to %.3f m, median %.3f m\n",
        file.c_str(), 100 * known, nearest, farthest, median);
  return {{{"output", file},
           {"share_with_depth", known},
           {"nearest", nearest},
           {"median", median},
           {"farthest", farthest},
           {"baseline", r.baseline},
           {"depth_constant", r.depth_constant}},
          ""};
}

Result makeDepth(const Arguments& arguments) {
  (void)extensionOf(arguments.output.path);
  const Rig rig = arguments.rig.readPair();
  const rectiline_rectification r = rectify(rig, arguments.view.options(rig));
  const Pixels<float> disparity = readDisparity(arguments, r.left);
  std::vector<std::string> inputs = arguments.rig.files();
  inputs.push_back(arguments.disparity);
  Outputs out(arguments.output, inputs);
  const std::string file = out.singleFile();
  const Depth depth = toDepth(disparity, r.depth_constant);
  write(file, depth, r.left);
  return report(file, depth, r);
}

}  // namespace

Run declareDepth(CLI::App& command) {
  const auto arguments = std::make_shared<Arguments>();
  arguments->rig.declare(command, RigArgument::SizeOption::AlsoOfResults);
  arguments->view.declare(command);
  command
      .add_option("DISPARITY", arguments->disparity,
                  "of the rectified left image: 16-bit .png, or .npy of floats in pixels")
      ->required();
  command
      .add_option("--scale-disparity", arguments->scale,
                  "units of the disparity image for a pixel: 16 for OpenCV's StereoSGBM")
      ->check(CLI::PositiveNumber);
  arguments->output.declareFile(
      command, "FILE.npy (metres), FILE.png (16 bits, millimetres) or FILE.ply (points)");
  return [arguments] { return makeDepth(*arguments); };
}

}  // namespace rectiline::tool
