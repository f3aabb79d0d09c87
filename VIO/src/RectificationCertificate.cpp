#include <cmath>
#include <initializer_list>
#include <limits>
#include <optional>

#include "AR/CV/Camera/Interchange.h"
#include "AR/Math/SE3.h"
#include "ExactCamera.h"
#include "MapLookup.h"
#include "RecordChecks.h"
#include "VIO/MapQuality.h"
#include "WorstError.h"

// Frames: "ol" and "or" are those of the device's left and right camera, "tl" and "tr" those of the
// rectified cameras, which stand at the same places and share one orientation.

namespace {

using AR::Math::SE3;
using AR::Math::SO3;
using VIO::ExactCamera;
using VIO::MapLookup;
using VIO::PixelPosition;
using Worst = VIO::WorstError<CertificatePlace>;
using Vec3 = AR::Math::Vec<double, 3>;

constexpr double kDepths[] = {0.3, 1, 3, 10, 30};  // metres
constexpr int kGridSteps = 64;                     // along each axis of the image, at most

/// The claimed rectified camera: a pinhole.
struct Pinhole {
  int width, height;
  double fx, fy, cx, cy;

  [[nodiscard]] Vec3 ray(double x, double y) const { return {(x - cx) / fx, (y - cy) / fy, 1.0}; }
  [[nodiscard]] PixelPosition pixel(const Vec3& P) const {
    return {cx + fx * P(0) / P(2), cy + fy * P(1) / P(2)};
  }
};

struct Cameras {
  ExactCamera left;
  ExactCamera right;
  SE3<double> T_orol;
};

/// What is measured: a device's exact cameras and what claims to rectify them.
struct Claim {
  Cameras cameras;
  Pinhole rectified;
  SO3<double> R_oltl;
  SO3<double> R_ortl;
  double depthConstant;
  std::size_t along;  // axis of the baseline in the images: 0 rows, 1 columns
  MapLookup left;
  MapLookup right;
};

std::optional<Cameras> camerasOf(const DeviceCalibrationZEL& device) {
  if (!(device.num_cameras >= 2 && device.num_cameras <= RECTILINE_MAX_CAMERAS)) {
    return std::nullopt;
  }
  const XrPosedZEL_t& poseL = device.cameras[0].pose;
  const XrPosedZEL_t& poseR = device.cameras[1].pose;
  const std::optional<ExactCamera> left = ExactCamera::fromRecord(device.cameras[0].intrinsics);
  const std::optional<ExactCamera> right = ExactCamera::fromRecord(device.cameras[1].intrinsics);
  if (!left || !right || !VIO::isConvertible(poseL) || !VIO::isConvertible(poseR)) {
    return std::nullopt;
  }
  return Cameras{*left, *right,
                 AR::CV::idl2se3<double>(poseR) * AR::CV::idl2se3<double>(poseL).inverse()};
}

/// True when a camera's pixels and rays are related by its focal lengths alone.
bool isPinhole(const IntrinsicCameraCalibrationZEL& record) {
  double sum = 0;
  for (const double k : record.distortion) sum += std::fabs(k);
  return VIO::isConvertible(record) && record.distortion_model == CamModel::LINEAR && sum == 0 &&
         record.width > 0 && record.height > 0 && record.focal_length_x > 0 &&
         record.focal_length_y > 0;
}

Pinhole toPinhole(const IntrinsicCameraCalibrationZEL& record) {
  return {record.width,
          record.height,
          record.focal_length_x,
          record.focal_length_y,
          record.principal_point_x,
          record.principal_point_y};
}

std::uint64_t pixelCount(const Pinhole& camera) {
  return static_cast<std::uint64_t>(camera.width) * static_cast<std::uint64_t>(camera.height);
}

/// Measures every pixel of a map that has a source.
/// @param R_source_tl  rotates the rectified camera's rays into the source camera's frame
void measureMap(const MapLookup& map, const Pinhole& rectified, const ExactCamera& source,
                const SO3<double>& R_source_tl, const Worst& worst) {
  for (int y = 0; y < rectified.height; ++y) {
    for (int x = 0; x < rectified.width; ++x) {
      PixelPosition claimed;
      if (!map.trySource(x, y, claimed)) continue;
      PixelPosition exact;
      const bool seen = source.tryProject(R_source_tl * rectified.ray(x, y), exact);
      worst.add(seen ? AR::Math::norm(claimed - exact) : std::numeric_limits<double>::infinity(),
                {static_cast<float>(x), static_cast<float>(y), 0});
    }
  }
}

/// Where one point of the scene appears in the two rectified images.
struct Appearance {
  PixelPosition left;
  PixelPosition right;
};

/// Looks up where the point that the claim puts at pixel (x, y) and depth Z really appears. False
/// when it is not in both images.
bool tryAppearance(const Claim& claim, double x, double y, double Z, Appearance& seen) {
  const Vec3 P_tl = Z * claim.rectified.ray(x, y);
  const Vec3 P_ol = claim.R_oltl * P_tl;
  const Vec3 P_or = claim.cameras.T_orol * P_ol;
  const Vec3 P_tr = claim.R_ortl.inverse() * P_or;
  PixelPosition sourceL;
  PixelPosition sourceR;
  if (!(P_tr(2) > 0) || !claim.cameras.left.tryProject(P_ol, sourceL) ||
      !claim.cameras.right.tryProject(P_or, sourceR)) {
    return false;
  }
  seen = {{x, y}, claim.rectified.pixel(P_tr)};
  return claim.left.tryFind(sourceL, seen.left) && claim.right.tryFind(sourceR, seen.right);
}

/// Measures one point; adds its squared row error to `sumOfSquares`.
void measurePoint(const Claim& claim, int x, int y, double Z, RectificationCertificate& result,
                  double& sumOfSquares) {
  Appearance seen;
  if (!tryAppearance(claim, x, y, Z, seen)) return;
  const CertificatePlace place{static_cast<float>(x), static_cast<float>(y), static_cast<float>(Z)};
  const PixelPosition offset = seen.left - seen.right;
  const double across = offset(1 - claim.along);
  const double depth = claim.depthConstant / offset(claim.along);
  Worst{result.maxRowError, result.worstRow}.add(std::fabs(across), place);
  Worst{result.maxDepthError, result.worstDepth}.add(std::fabs(depth / Z - 1), place);
  sumOfSquares += across * across;
  ++result.points;
}

/// Measures points all over the left image at every depth.
void measurePoints(const Claim& claim, RectificationCertificate& result) {
  const int stepX = claim.rectified.width / kGridSteps + 1;
  const int stepY = claim.rectified.height / kGridSteps + 1;
  double sumOfSquares = 0;
  for (const double Z : kDepths) {
    for (int y = stepY / 2; y < claim.rectified.height - stepY / 2; y += stepY) {
      for (int x = stepX / 2; x < claim.rectified.width - stepX / 2; x += stepX) {
        measurePoint(claim, x, y, Z, result, sumOfSquares);
      }
    }
  }
  if (result.points > 0) result.rmsRowError = std::sqrt(sumOfSquares / result.points);
}

bool tryCertify(const Claim& claim, RectificationCertificate& result) {
  measurePoints(claim, result);
  if (result.points == 0) return false;
  measureMap(claim.left, claim.rectified, claim.cameras.left, claim.R_oltl,
             {result.maxMapErrorLeft, result.worstMapLeft});
  measureMap(claim.right, claim.rectified, claim.cameras.right, claim.R_ortl,
             {result.maxMapErrorRight, result.worstMapRight});
  return true;
}

bool areAll(std::initializer_list<std::uint32_t> sizes, std::uint64_t count) {
  for (const std::uint32_t size : sizes) {
    if (size != count) return false;
  }
  return true;
}

}  // namespace

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
  if (!isPinhole(rectifiedCam->intrinsics) || !VIO::isConvertible(rectifiedCam->pose)) return false;
  const Pinhole rectified = toPinhole(rectifiedCam->intrinsics);
  const std::optional<Cameras> cameras = camerasOf(*device);
  if (!cameras || !areAll({mapLeftX_size, mapLeftY_size, mapRightX_size, mapRightY_size},
                          pixelCount(rectified))) {
    return false;
  }
  const Vec3& t = cameras->T_orol.translation();
  const SO3<double> R_oltl = AR::CV::idl2se3<double>(rectifiedCam->pose).rotation();
  const Claim claim{*cameras,
                    rectified,
                    R_oltl,
                    cameras->T_orol.rotation() * R_oltl,
                    static_cast<double>(depthConstant),
                    std::fabs(t(1)) > std::fabs(t(0)) ? 1U : 0U,
                    {mapLeftX, mapLeftY, rectified.width, rectified.height},
                    {mapRightX, mapRightY, rectified.width, rectified.height}};
  RectificationCertificate result{};
  if (!tryCertify(claim, result)) return false;
  *certificate = result;
  return true;
}
