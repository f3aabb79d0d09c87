#include "Frame.h"

#include <cmath>

#include "Calls.h"

namespace rectiline::check {
namespace {

/// Whether a pinhole view of the camera would spend most of its pixels on the border.
bool isWide(const CameraCalibrationZEL& camera) {
  constexpr double kShare = 0.8;    // of the width: a lens need not reach the image's sides
  constexpr double kWidest = 1.85;  // radians seen by that share
  const IntrinsicCameraCalibrationZEL& in = camera.intrinsics;
  const double reach = kShare * in.width / 2;
  const double sides[] = {in.principal_point_x - reach, in.principal_point_y,
                          in.principal_point_x + reach, in.principal_point_y};
  double rays[6];
  if (rectiline_pixels_to_rays(&camera, 2, sides, rays, nullptr) != RECTILINE_OK) return false;
  return std::acos(rays[0] * rays[3] + rays[1] * rays[4] + rays[2] * rays[5]) > kWidest;
}

using Conversion = int32_t (*)(const CameraCalibrationZEL*, const rectiline_view*, std::size_t,
                               const double*, double*, std::uint8_t*);

std::vector<Position> convert(Conversion conversion, const CameraCalibrationZEL& camera,
                              const rectiline_view& view, std::span<const Position> points) {
  std::vector<double> in;
  in.reserve(2 * points.size());
  for (const Position& p : points) in.insert(in.end(), {p.x, p.y});
  std::vector<double> out(in.size());
  if (!points.empty()) {
    require(conversion(&camera, &view, points.size(), in.data(), out.data(), nullptr));
  }
  std::vector<Position> converted;
  converted.reserve(points.size());
  for (std::size_t i = 0; i < out.size(); i += 2) converted.push_back({out[i], out[i + 1]});
  return converted;
}

}  // namespace

Frame::Frame(const CameraPair& cameras)
    : mOptions(sized<rectiline_options>()), mResult(sized<rectiline_rectification>()) {
  mDevice.num_cameras = 2;
  mDevice.cameras[0] = cameras.left;
  mDevice.cameras[1] = cameras.right;
}

int32_t Frame::rectify() {
  return rectiline_rectify(&mDevice, &mOptions, nullptr, nullptr, &mResult);
}

std::optional<Frame> Frame::tryMake(const CameraPair& cameras) {
  Frame frame(cameras);
  if (isWide(cameras.left)) frame.mOptions.projection = RECTILINE_LATITUDE_LONGITUDE;
  if (frame.rectify() != RECTILINE_OK) return std::nullopt;
  return frame;
}

void Frame::requireCameras(const CameraPair& cameras) {
  const int32_t status = Frame(cameras).rectify();
  if (status != RECTILINE_CANNOT_RECTIFY) require(status);
}

std::vector<Position> Frame::leftInView(std::span<const Position> raw) const {
  return convert(rectiline_pixels_to_view, mDevice.cameras[0], mResult.left, raw);
}

std::vector<Position> Frame::rightInView(std::span<const Position> raw) const {
  return convert(rectiline_pixels_to_view, mDevice.cameras[1], mResult.right, raw);
}

std::vector<Position> Frame::leftInImage(std::span<const Position> rectified) const {
  return convert(rectiline_view_to_pixels, mDevice.cameras[0], mResult.left, rectified);
}

std::vector<Position> Frame::rightInImage(std::span<const Position> rectified) const {
  return convert(rectiline_view_to_pixels, mDevice.cameras[1], mResult.right, rectified);
}

}  // namespace rectiline::check
