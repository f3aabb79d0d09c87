#include "Render.h"

#include <algorithm>
#include <cmath>
#include <cstdio>
#include <filesystem>
#include <fstream>

#include "Error.h"
#include "Png.h"
#include "Rig.h"
#include "Scene.h"

namespace rectiline::tool {
namespace {

using AR::Math::SE3;
using AR::Math::Vec;
using Camera = AR::CV::Camera<double>;

constexpr int kSamples = 4;  // rays per pixel and axis
constexpr double kBlack = 0;

struct RawView {
  GreyImage grey;
  DepthImage depthMm;
};

Vec3d toVec3d(const Vec<double, 3>& v) { return {v(0), v(1), v(2)}; }

/// What the camera sees at a real pixel position. The hit's distance is the depth along its axis.
std::optional<Hit> look(const Scene& scene, const Camera& camera, const SE3<double>& T_scene_cam,
                        double u, double v) {
  Vec<double, 2> ideal;
  if (!camera.tryPixel2ideal({u, v}, ideal)) return std::nullopt;
  const Vec<double, 3> ray_cam(ideal(0), ideal(1), 1.0);
  return scene.trace(toVec3d(T_scene_cam.translation()), toVec3d(T_scene_cam.rotation() * ray_cam));
}

std::uint8_t pixelGrey(const Scene& scene, const Camera& camera, const SE3<double>& T_scene_cam,
                       int x, int y) {
  double sum = 0;
  for (int j = 0; j < kSamples; ++j) {
    for (int i = 0; i < kSamples; ++i) {
      // Integer coordinates are pixel positions: the pixel reaches half a pixel to each side.
      const double u = x + (i + 0.5) / kSamples - 0.5;
      const double v = y + (j + 0.5) / kSamples - 0.5;
      const std::optional<Hit> hit = look(scene, camera, T_scene_cam, u, v);
      sum += hit ? std::clamp(hit->grey, 1.0, 255.0) : kBlack;
    }
  }
  return static_cast<std::uint8_t>(std::lround(sum / (kSamples * kSamples)));
}

RawView renderView(const Scene& scene, const Camera& camera, const SE3<double>& T_scene_cam) {
  const int width = static_cast<int>(camera.getSize()(0));
  const int height = static_cast<int>(camera.getSize()(1));
  RawView view{GreyImage(width, height), DepthImage(width, height)};
  for (int y = 0; y < height; ++y) {
    for (int x = 0; x < width; ++x) {
      view.grey(x, y) = pixelGrey(scene, camera, T_scene_cam, x, y);
      const std::optional<Hit> hit = look(scene, camera, T_scene_cam, x, y);
      const double mm = hit ? std::min(hit->distance * 1000, 65535.0) : 0.0;
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
  const Rig rig = loadRig(rigFile, 2);
  const SE3<double> T_ol_ref = rig.at(0).getCamReferenceToLocal();
  const Scene scene;
  std::error_code ignored;
  std::filesystem::create_directories(directory, ignored);
  std::vector<Vec3d> viewpoints;
  for (const std::size_t i : {0U, 1U}) {
    const std::string name = directory + (i == 0 ? "/left" : "/right");
    const SE3<double> T_ol_cam = T_ol_ref * rig.at(i).getLocalToCamReference();
    viewpoints.push_back(toVec3d(T_ol_cam.translation()));
    const RawView view = renderView(scene, rig.at(i).getIntrinsics(), T_ol_cam);
    writeGrey(name + ".png", view.grey);
    writeDepth(name + "_depth_mm.png", view.depthMm);
  }
  writePoints(directory + "/points.csv", scene.cornersSeenFrom(viewpoints));
  std::printf("rendered %s into %s\n", rigFile.c_str(), directory.c_str());
}

}  // namespace rectiline::tool
