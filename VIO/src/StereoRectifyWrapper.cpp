#include "VIO/StereoRectifyWrapper.h"

#include <algorithm>
#include <cmath>

#include "AR/CV/Image/Image.h"
#include "AR/CV/Stereo/Rectify.h"
#include "AR/Common/Macros.h"
#include "AR/Common/SaturatingCast.h"
#include "VIO/DeviceConversion.h"
#include "VIO/StereoRectify.h"

namespace {

using AR::Common::ArrayView;
using AR::CV::CalibrationInfo;
using AR::Math::SO3;
using AR::Math::Vec;
using ImageF = AR::CV::Image<float>;
using Rig = AR::CV::FullStereoCameraCalibration<float>;

constexpr char kSource[] = "VIO/src/StereoRectifyWrapper";
constexpr float kNoSource = -1.0F;

/// A caller's map with the number of floats that the caller says it holds.
struct CallerMap {
  float* data;
  std::uint32_t size;

  void fill(float value) const {
    if (data != nullptr) std::fill_n(data, size, value);
  }
  [[nodiscard]] bool hasRoom(std::uint64_t count) const { return data != nullptr && size >= count; }
};

/// The two maps of one camera.
struct CallerMapPair {
  CallerMap x;
  CallerMap y;

  void fill(float value) const {
    x.fill(value);
    y.fill(value);
  }
};

/// The rectified pair of a device.
struct Rectification {
  Rig source{CalibrationInfo(CalibrationInfo::API, 0)};
  Rig target{CalibrationInfo(CalibrationInfo::RECTIFICATION, 0)};
  SO3<float> R_oltl;
  AR::CV::DepthParams<float> depth;
};

/// False, after a report, when the device has no rectified pair.
bool rectify(const DeviceCalibrationZEL& device, Rectification& pair) {
  constexpr std::uint32_t kNumDisparities = 64;
  constexpr float kMinDepth = 0;
  constexpr float kMaxDepth = 10;
  constexpr std::uint32_t kSourceWidth = 0;
  VIO::IMUCalibration<float> imu;
  const bool ret = VIO::tryDeviceFromIdl(device, pair.source, imu);
  if (!AR_CHECK(ret, "ret", kSource) || pair.source.size() < 2) return false;
  AR::CV::makeTargetCalibration(pair.source, kNumDisparities, kMinDepth, kMaxDepth, kSourceWidth,
                                AR::Math::SE3<float>(), Vec<float, 3>(), pair.target, pair.R_oltl,
                                pair.depth);
  return pair.target.isInitialized();
}

XrPosedZEL_t::Quaternion toQuaternion(const SO3<float>& R) {
  Vec<float, 3> axis;
  float angle;
  AR::Math::matrix2AxisAngle(R.matrix(), axis, angle);
  const double half = static_cast<double>(angle) / 2;
  const double s = std::sin(half);
  return {s * static_cast<double>(axis(0)), s * static_cast<double>(axis(1)),
          s * static_cast<double>(axis(2)), std::cos(half)};
}

CameraCalibrationZEL toRectifiedRecord(const Rectification& pair) {
  CameraCalibrationZEL record = pair.target.at(0).toIdl(AR::Math::SE3<float>());
  record.pose.orientation = toQuaternion(pair.R_oltl);
  return record;
}

Vec<int, 2> targetSize(const Rectification& pair) {
  const Vec<float, 2>& size = pair.target.at(0).getIntrinsics().getSize();
  return {AR::Common::saturatingCast<int>(size(0)), AR::Common::saturatingCast<int>(size(1))};
}

/// Makes the maps of camera `index` in place, or fills them with -1 when they lack room.
void rectifyInto(const Rectification& pair, std::size_t index, bool keepOutside,
                 const CallerMapPair& maps) {
  const Vec<int, 2> size = targetSize(pair);
  const std::uint64_t count =
      static_cast<std::uint64_t>(size(0)) * static_cast<std::uint64_t>(size(1));
  if (!maps.x.hasRoom(count) || !maps.y.hasRoom(count)) {
    maps.fill(kNoSource);
    return;
  }
  ImageF images[2];
  images[0].set(maps.x.data, size, size, false);
  images[1].set(maps.y.data, size, size, false);
  ArrayView<ImageF> mapXY(images, 2);
  VIO::setupRectifyMap(pair.source.at(index), keepOutside, pair.target.at(index), pair.R_oltl,
                       mapXY);
}

}  // namespace

bool CreateRectifyMap(const DeviceCalibrationZEL* deviceCalibration, std::uint32_t keepOutside,
                      float* mapLeftX, std::uint32_t mapLeftX_size, float* mapLeftY,
                      std::uint32_t mapLeftY_size, float* mapRightX, std::uint32_t mapRightX_size,
                      float* mapRightY, std::uint32_t mapRightY_size, float* depthConstant,
                      CameraCalibrationZEL* rectifiedCam) {
  AR_CHECK(
      mapLeftX != nullptr && mapLeftY != nullptr && mapRightX != nullptr && mapRightY != nullptr,
      "mapLeftX != nullptr && mapLeftY != nullptr && mapRightX != nullptr && mapRightY != "
      "nullptr",
      kSource);
  AR_CHECK(rectifiedCam != nullptr, "rectifiedCam != nullptr", kSource);
  AR_CHECK(deviceCalibration != nullptr && deviceCalibration->num_cameras == 2,
           "deviceCalibration != nullptr && deviceCalibration->num_cameras == 2", kSource);
  const CallerMapPair left{{mapLeftX, mapLeftX_size}, {mapLeftY, mapLeftY_size}};
  const CallerMapPair right{{mapRightX, mapRightX_size}, {mapRightY, mapRightY_size}};
  if (depthConstant != nullptr) *depthConstant = -1.0F;

  Rectification pair;
  if (deviceCalibration == nullptr || !rectify(*deviceCalibration, pair)) {
    if (rectifiedCam != nullptr) *rectifiedCam = {};
    left.fill(kNoSource);
    right.fill(kNoSource);
    return true;
  }
  if (depthConstant != nullptr) *depthConstant = pair.depth.constant;
  const Vec<int, 2> size = targetSize(pair);
  const std::uint64_t map_buffer_size =
      static_cast<std::uint64_t>(size(0)) * static_cast<std::uint64_t>(size(1));
  AR_CHECK(mapLeftX_size == map_buffer_size && mapLeftY_size == map_buffer_size &&
               mapRightX_size == map_buffer_size && mapRightY_size == map_buffer_size,
           "mapLeftX_size==map_buffer_size && mapLeftY_size==map_buffer_size && "
           "mapRightX_size==map_buffer_size && mapRightY_size==map_buffer_size",
           kSource);
  if (rectifiedCam != nullptr) *rectifiedCam = toRectifiedRecord(pair);
  rectifyInto(pair, 0, keepOutside != 0, left);
  rectifyInto(pair, 1, keepOutside != 0, right);
  return true;
}
