// Answers about quality for callers of the library: the arguments are checked here, the answers
// come from VIO/quality.

#include "VIO/MapQuality.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <initializer_list>
#include <limits>

#include "AR/CV/Camera/Interchange.h"
#include "AR/Common/FailedChecks.h"
#include "CameraModel/DistortionModel.h"
#include "VIO/RecordChecks.h"
#include "VIO/quality/RowTimes.h"

namespace {

using AR::CV::TargetView;
using VIO::MapView;

static_assert(sizeof(FailedCheck) == sizeof(AR::Common::FailedCheckRecord));

/// A dense map pair.
MapView denseView(const float* X, const float* Y, int width, int height) {
  return {X, Y, width, height, width};
}

bool areAll(std::initializer_list<std::uint32_t> sizes, std::uint64_t count) {
  return std::all_of(sizes.begin(), sizes.end(), [count](auto size) { return size == count; });
}

/// True when a camera's pixels and rays are related by its focal lengths alone.
bool isPinhole(const IntrinsicCameraCalibrationZEL& record) {
  double sum = 0;
  for (const double k : record.distortion) sum += std::fabs(k);
  return VIO::isConvertible(record) && record.distortion_model == CamModel::LINEAR && sum == 0 &&
         record.width > 0 && record.height > 0 && record.focal_length_x > 0 &&
         record.focal_length_y > 0;
}

int baselineAxis(const DeviceCalibrationZEL& device) {
  const auto T_orol = AR::CV::idl2se3<double>(device.cameras[1].pose) *
                      AR::CV::idl2se3<double>(device.cameras[0].pose).inverse();
  return std::fabs(T_orol.translation()(1)) > std::fabs(T_orol.translation()(0)) ? 1 : 0;
}

TargetView toView(const IntrinsicCameraCalibrationZEL& record, int axis) {
  return {AR::CV::TargetProjection::Pinhole,
          axis,
          record.width,
          record.height,
          record.focal_length_x,
          record.focal_length_y,
          record.principal_point_x,
          record.principal_point_y};
}

bool hasPair(const DeviceCalibrationZEL& device) {
  return device.num_cameras >= 2 && device.num_cameras <= RECTILINE_MAX_CAMERAS &&
         VIO::isConvertible(device.cameras[0].pose) && VIO::isConvertible(device.cameras[1].pose);
}

}  // namespace

std::uint64_t GetFailedCheckCount() { return AR::Common::failedChecksSinceReset(); }

std::uint32_t GetFailedChecks(FailedCheck* checks, std::uint32_t capacity) {
  if (checks == nullptr) return 0;
  std::array<AR::Common::FailedCheckRecord, AR::Common::kFailedChecksKept> records;
  const std::size_t wanted = std::min<std::size_t>(capacity, records.size());
  const std::size_t n = AR::Common::copyFailedChecks(records.data(), wanted);
  for (std::size_t i = 0; i < n; ++i) {
    std::copy(std::begin(records[i].expression), std::end(records[i].expression),
              checks[i].expression);
    std::copy(std::begin(records[i].source), std::end(records[i].source), checks[i].source);
    checks[i].line = records[i].line;
  }
  return static_cast<std::uint32_t>(n);
}

void ResetFailedChecks() { AR::Common::resetFailedChecks(); }

bool CreateMapReport(const float* mapX, std::uint32_t mapX_size, const float* mapY,
                     std::uint32_t mapY_size, std::uint32_t width, std::uint32_t height,
                     MapReport* report) {
  constexpr std::uint32_t kMaxSize = std::numeric_limits<std::int32_t>::max();
  if (mapX == nullptr || mapY == nullptr || report == nullptr) return false;
  if (width == 0 || height == 0 || width > kMaxSize || height > kMaxSize) return false;
  const std::uint64_t count = static_cast<std::uint64_t>(width) * height;
  if (mapX_size < count || mapY_size < count) return false;
  *report = VIO::reportOn(
      denseView(mapX, mapY, static_cast<std::int32_t>(width), static_cast<std::int32_t>(height)));
  return true;
}

bool CertifyRectification(const DeviceCalibrationZEL* device, const float* mapLeftX,
                          std::uint32_t mapLeftX_size, const float* mapLeftY,
                          std::uint32_t mapLeftY_size, const float* mapRightX,
                          std::uint32_t mapRightX_size, const float* mapRightY,
                          std::uint32_t mapRightY_size, float depthConstant,
                          const CameraCalibrationZEL* rectifiedCam,
                          RectificationCertificate* certificate) {
  if (device == nullptr || mapLeftX == nullptr || mapLeftY == nullptr || mapRightX == nullptr ||
      mapRightY == nullptr || rectifiedCam == nullptr || certificate == nullptr) {
    return false;
  }
  if (!isPinhole(rectifiedCam->intrinsics) || !VIO::isConvertible(rectifiedCam->pose) ||
      !hasPair(*device)) {
    return false;
  }
  const TargetView view = toView(rectifiedCam->intrinsics, baselineAxis(*device));
  const std::uint64_t count =
      static_cast<std::uint64_t>(view.width) * static_cast<std::uint64_t>(view.height);
  return areAll({mapLeftX_size, mapLeftY_size, mapRightX_size, mapRightY_size}, count) &&
         VIO::certifyRectification({device->cameras[0], device->cameras[1], view,
                                    AR::CV::idl2se3<double>(rectifiedCam->pose).rotation(),
                                    static_cast<double>(depthConstant),
                                    denseView(mapLeftX, mapLeftY, view.width, view.height),
                                    denseView(mapRightX, mapRightY, view.width, view.height)},
                                   *certificate);
}

bool CertifyCamera(const CameraCalibrationZEL* camera, CameraCertificate* certificate) {
  return camera != nullptr && certificate != nullptr &&
         VIO::certifyCamera(camera->intrinsics, *certificate);
}

bool CreateRowTimePlane(const CameraCalibrationZEL* camera, const float* mapX, const float* mapY,
                        std::uint32_t count, float* seconds) {
  if (camera == nullptr || mapX == nullptr || mapY == nullptr || seconds == nullptr) return false;
  // One column of `count` rows: a dense plane of any shape, counted in 32 bits.
  for (std::uint32_t i = 0; i < count; ++i) {
    VIO::writeRowTimes(*camera, denseView(mapX + i, mapY + i, 1, 1), seconds + i, 1);
  }
  return true;
}
