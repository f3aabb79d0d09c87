// render: a raw pair of a simple scene, with the true depth beside it.

#include <CLI/CLI.hpp>
#include <algorithm>
#include <array>
#include <cmath>
#include <cstdio>
#include <memory>

#include "cli/RigArgument.h"
#include "cli/StandardOutput.h"
#include "commands/Commands.h"
#include "files/Outputs.h"
#include "images/ImageFile.h"
#include "maps/Calls.h"
#include "scene/Geometry.h"
#include "scene/Scene.h"
#include "work/ForEach.h"

namespace rectiline::tool {
namespace {

constexpr int kSamples = 4;  // rays per pixel and axis
constexpr double kBlack = 0;

struct RawView {
  GreyImage grey;
  DepthImage depthMm;
};

/// A camera in the scene, whose frame is that of the left one.
class SceneCamera {
 public:
  SceneCamera(const CameraCalibrationZEL& record, const XrPosedZEL_t& T_scene_ref)
      : mRecord(record), mT_scene_ref(T_scene_ref), mCentre(toScene({0, 0, 0})) {}

  [[nodiscard]] int width() const { return mRecord.intrinsics.width; }
  [[nodiscard]] int height() const { return mRecord.intrinsics.height; }
  [[nodiscard]] const Vec3d& centre() const { return mCentre; }

  /// What the camera sees at real positions of its image. A hit's distance is the depth along the
  /// camera's axis.
  [[nodiscard]] std::vector<std::optional<Hit>> look(const Scene& scene,
                                                     const std::vector<double>& pixels) const {
    const std::size_t n = pixels.size() / 2;
    std::vector<double> rays(3 * n);
    check(rectiline_pixels_to_rays(&mRecord, n, pixels.data(), rays.data(), nullptr));
    std::vector<std::optional<Hit>> hits(n);
    for (std::size_t i = 0; i < n; ++i) {
      const double z = rays[3 * i + 2];
      if (std::isnan(z)) continue;
      const Vec3d end = toScene({rays[3 * i] / z, rays[3 * i + 1] / z, 1});
      hits[i] = scene.trace(mCentre, end - mCentre);
    }
    return hits;
  }

 private:
  [[nodiscard]] Vec3d toScene(const Vec3d& P_camera) const {
    return toCamera(mT_scene_ref, toReference(mRecord.pose, P_camera));
  }

  CameraCalibrationZEL mRecord;
  XrPosedZEL_t mT_scene_ref;
  Vec3d mCentre;
};

/// The positions that row y is looked at from: each pixel's samples and then its middle.
std::vector<double> positionsOfRow(int y, int width) {
  std::vector<double> positions;
  for (int x = 0; x < width; ++x) {
    for (int k = 0; k < kSamples * kSamples; ++k) {
      // Integer coordinates are pixel positions: the pixel reaches half a pixel to each side.
      positions.push_back(x + (k % kSamples + 0.5) / kSamples - 0.5);
      positions.push_back(y + (k / kSamples + 0.5) / kSamples - 0.5);
    }
    positions.push_back(x);
    positions.push_back(y);
  }
  return positions;
}

std::uint8_t meanGrey(const std::optional<Hit>* samples) {
  double sum = 0;
  for (int k = 0; k < kSamples * kSamples; ++k) {
    sum += samples[k] ? std::clamp(samples[k]->grey, 1.0, 255.0) : kBlack;
  }
  return static_cast<std::uint8_t>(std::lround(sum / (kSamples * kSamples)));
}

void renderRow(const Scene& scene, const SceneCamera& camera, int y, RawView& view) {
  constexpr std::size_t kLooks = kSamples * kSamples + 1;
  const auto hits = camera.look(scene, positionsOfRow(y, camera.width()));
  for (int x = 0; x < camera.width(); ++x) {
    const std::optional<Hit>* const samples = &hits[static_cast<std::size_t>(x) * kLooks];
    const std::optional<Hit>& middle = samples[kLooks - 1];
    const double mm = middle ? std::min(middle->distance * 1000, 65535.0) : 0.0;
    view.grey(x, y) = meanGrey(samples);
    view.depthMm(x, y) = static_cast<std::uint16_t>(std::lround(mm));
  }
}

std::array<RawView, 2> renderViews(const Scene& scene, const std::array<SceneCamera, 2>& cameras) {
  std::array<RawView, 2> views;
  for (const std::size_t i : {0U, 1U}) {
    views[i] = {GreyImage(cameras[i].width(), cameras[i].height()),
                DepthImage(cameras[i].width(), cameras[i].height())};
  }
  const auto leftRows = static_cast<std::size_t>(cameras[0].height());
  const std::size_t rows = leftRows + static_cast<std::size_t>(cameras[1].height());
  forEach(rows, "rows", [&](std::size_t row) {
    const std::size_t i = row < leftRows ? 0 : 1;
    renderRow(scene, cameras[i], static_cast<int>(row - i * leftRows), views[i]);
  });
  return views;
}

/// One line for each corner: its position and the two edges of its cells.
std::string linesOf(const std::vector<Corner>& corners) {
  std::string lines;
  for (const Corner& corner : corners) {
    const char* separator = "";
    for (const Vec3d& v : {corner.position, corner.edgeU, corner.edgeV}) {
      char text[96];
      std::snprintf(text, sizeof text, "%s%.6f,%.6f,%.6f", separator, v.x, v.y, v.z);
      lines += text;
      separator = ",";
    }
    lines += '\n';
  }
  return lines;
}

struct Arguments {
  RigArgument rig;
  OutputArgument output;
};

/// Draws the scene as the rig's first two cameras see it and writes left.png and right.png (8-bit),
/// left_depth_mm.png and right_depth_mm.png (16-bit, depth along the camera's axis in millimetres,
/// 0 where there is none), and points.csv (one corner of a checkerboard that both cameras can see a
/// line: its position x,y,z and the two edges of its cells, metres, in the left camera's frame).
Result render(const Arguments& arguments) {
  const DeviceCalibrationZEL device = arguments.rig.readPair().device;
  const Scene scene;
  Outputs out(arguments.output, arguments.rig.files());
  const std::string pointsOut = out.file("points.csv");
  const std::array<std::string, 2> greyOut{out.file("left.png"), out.file("right.png")};
  const std::array<std::string, 2> depthOut{out.file("left_depth_mm.png"),
                                            out.file("right_depth_mm.png")};
  const XrPosedZEL_t& T_left_ref = device.cameras[0].pose;
  const std::array<SceneCamera, 2> cameras{SceneCamera(device.cameras[0], T_left_ref),
                                           SceneCamera(device.cameras[1], T_left_ref)};
  const std::array<RawView, 2> views = renderViews(scene, cameras);
  for (const std::size_t i : {0U, 1U}) {
    writeImage(greyOut[i], Image(views[i].grey));
    writeImage(depthOut[i], Image(views[i].depthMm));
  }
  const std::vector<Corner> corners =
      scene.cornersSeenFrom({cameras[0].centre(), cameras[1].centre()});
  writeFile(pointsOut, linesOf(corners));
  print("rendered %s into %s\n", arguments.rig.text().c_str(), arguments.output.path.c_str());
  return {{{"left", greyOut[0]}, {"right", greyOut[1]}, {"points", corners.size()}}, ""};
}

}  // namespace

Run declareRender(CLI::App& command) {
  const auto arguments = std::make_shared<Arguments>();
  arguments->rig.declare(command);
  arguments->output.declareDirectory(command);
  return [arguments] { return render(*arguments); };
}

}  // namespace rectiline::tool
