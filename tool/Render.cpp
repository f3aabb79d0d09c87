#include "Render.h"

#include <algorithm>
#include <cmath>
#include <cstdio>
#include <fstream>

#include "Calls.h"
#include "Geometry.h"
#include "OutputDirectory.h"
#include "Png.h"
#include "Rig.h"
#include "Scene.h"

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

RawView renderView(const Scene& scene, const SceneCamera& camera) {
  constexpr std::size_t kLooks = kSamples * kSamples + 1;
  RawView view{GreyImage(camera.width(), camera.height()),
               DepthImage(camera.width(), camera.height())};
  for (int y = 0; y < camera.height(); ++y) {
    const auto hits = camera.look(scene, positionsOfRow(y, camera.width()));
    for (int x = 0; x < camera.width(); ++x) {
      const std::optional<Hit>* const samples = &hits[static_cast<std::size_t>(x) * kLooks];
      const std::optional<Hit>& middle = samples[kLooks - 1];
      const double mm = middle ? std::min(middle->distance * 1000, 65535.0) : 0.0;
      view.grey(x, y) = meanGrey(samples);
      view.depthMm(x, y) = static_cast<std::uint16_t>(std::lround(mm));
    }
  }
  return view;
}

void writePoints(const std::string& file, const std::vector<Corner>& corners) {
  std::ofstream out(file);
  for (const Corner& corner : corners) {
    const char* separator = "";
    for (const Vec3d& v : {corner.position, corner.edgeU, corner.edgeV}) {
      char text[96];
      std::snprintf(text, sizeof text, "%s%.6f,%.6f,%.6f", separator, v.x, v.y, v.z);
      out << text;
      separator = ",";
    }
    out << '\n';
  }
  if (!out.flush()) throw Error(file + ": cannot be written");
}

}  // namespace

void render(const std::string& rigFile, const std::string& directory) {
  const DeviceCalibrationZEL device = loadRig(rigFile, 2);
  const Scene scene;
  const OutputDirectory out(directory, {rigFile});
  std::vector<Vec3d> viewpoints;
  for (const int i : {0, 1}) {
    const std::string name = i == 0 ? "left" : "right";
    const SceneCamera camera(device.cameras[i], device.cameras[0].pose);
    viewpoints.push_back(camera.centre());
    const RawView view = renderView(scene, camera);
    writeGrey(out.file(name + ".png"), view.grey);
    writeDepth(out.file(name + "_depth_mm.png"), view.depthMm);
  }
  writePoints(out.file("points.csv"), scene.cornersSeenFrom(viewpoints));
  std::printf("rendered %s into %s\n", rigFile.c_str(), directory.c_str());
}

}  // namespace rectiline::tool
