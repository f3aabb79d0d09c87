#include "VIO/quality/RectificationCertificate.h"

#include <cmath>
#include <cstddef>
#include <limits>
#include <optional>

#include "AR/CV/Camera/Interchange.h"
#include "AR/Math/SE3.h"
#include "VIO/RecordChecks.h"
#include "VIO/quality/ExactCamera.h"
#include "quality/MapLookup.h"
#include "quality/WorstError.h"

namespace VIO {
namespace {

using AR::CV::TargetView;
using AR::Math::SE3;
using AR::Math::SO3;
using Worst = WorstError<CertificatePlace>;
using Vec3 = AR::Math::Vec<double, 3>;

// Metres. The cameras of a worn device have about a pixel of disparity at the last.
constexpr double kRanges[] = {0.3, 1, 3, 10, 30};
constexpr int kGridSteps = 64;  // along each axis of the image, at most
constexpr double kInfinity = std::numeric_limits<double>::infinity();

/// A claim with the exact cameras that it is measured against.
class Measurement {
 public:
  /// None when no cameras can be made of the claim's records.
  static std::optional<Measurement> of(const RectificationClaim& claim) {
    const std::optional<ExactCamera> left = ExactCamera::fromRecord(claim.left.intrinsics);
    const std::optional<ExactCamera> right = ExactCamera::fromRecord(claim.right.intrinsics);
    if (!left || !right || !isConvertible(claim.left.pose) || !isConvertible(claim.right.pose)) {
      return std::nullopt;
    }
    return Measurement(claim, *left, *right);
  }

  /// Measures points all over the left image at every range.
  void measurePoints(RectificationCertificate& result) const {
    const TargetView& view = mClaim.view;
    const int stepX = view.width / kGridSteps + 1;
    const int stepY = view.height / kGridSteps + 1;
    double sumOfSquares = 0;
    for (const double range : kRanges) {
      for (int y = stepY / 2; y < view.height - stepY / 2; y += stepY) {
        for (int x = stepX / 2; x < view.width - stepX / 2; x += stepX) {
          measurePoint(x, y, range, result, sumOfSquares);
        }
      }
    }
    if (result.points > 0) result.rmsRowError = std::sqrt(sumOfSquares / result.points);
  }

  void measureMaps(RectificationCertificate& result) const {
    measureMap(mClaim.leftMap, mLeft, mClaim.R_oltl, {result.maxMapErrorLeft, result.worstMapLeft});
    measureMap(mClaim.rightMap, mRight, mR_ortl, {result.maxMapErrorRight, result.worstMapRight});
  }

 private:
  Measurement(const RectificationClaim& claim, const ExactCamera& left, const ExactCamera& right)
      : mClaim(claim),
        mLeft(left),
        mRight(right),
        mT_orol(AR::CV::idl2se3<double>(claim.right.pose) *
                AR::CV::idl2se3<double>(claim.left.pose).inverse()),
        mR_ortl(claim.R_ortl.value_or(mT_orol.rotation() * claim.R_oltl)),
        mLeftLookup(claim.leftMap),
        mRightLookup(claim.rightMap),
        mAlong(static_cast<std::size_t>(claim.view.baselineAxis)) {}

  /// Where one point of the scene appears in the two rectified images.
  struct Appearance {
    PixelPosition left;
    PixelPosition right;
  };

  /// Looks up where the point that the claim puts at pixel (x, y) and a range really appears.
  /// False when it is not in both images.
  [[nodiscard]] bool tryAppearance(int x, int y, double range, Appearance& seen) const {
    seen.left = PixelPosition(x, y);
    Vec3 ray_tl;
    if (!mClaim.view.tryRay(seen.left, ray_tl)) return false;
    const Vec3 P_ol = mClaim.R_oltl * (range * ray_tl);
    const Vec3 P_or = mT_orol * P_ol;
    PixelPosition sourceL;
    PixelPosition sourceR;
    return mClaim.view.tryPixel(mR_ortl.inverse() * P_or, seen.right) &&
           mLeft.tryProject(P_ol, sourceL) && mRight.tryProject(P_or, sourceR) &&
           mLeftLookup.tryFind(sourceL, seen.left) && mRightLookup.tryFind(sourceR, seen.right);
  }

  /// The range of a point by where it appears along the baseline.
  [[nodiscard]] double claimedRange(const Appearance& seen) const {
    const double left = seen.left(mAlong);
    const double right = seen.right(mAlong);
    if (mClaim.depthConstant) return *mClaim.depthConstant / (left - right);
    // x_tr = x_tl + t: the right camera stands at -t.
    const Vec3 t_tl = mR_ortl.inverse() * mT_orol.translation();
    return mClaim.view.rangeFrom(mClaim.baseline.value_or(-t_tl(mAlong)), left, right);
  }

  /// Measures one point; adds its squared row error to `sumOfSquares`.
  void measurePoint(int x, int y, double range, RectificationCertificate& result,
                    double& sumOfSquares) const {
    Appearance seen;
    if (!tryAppearance(x, y, range, seen)) return;
    const CertificatePlace place{static_cast<float>(x), static_cast<float>(y),
                                 static_cast<float>(range)};
    const double across = seen.left(1 - mAlong) - seen.right(1 - mAlong);
    Worst{result.maxRowError, result.worstRow}.add(std::fabs(across), place);
    Worst{result.maxDepthError, result.worstDepth}.add(std::fabs(claimedRange(seen) / range - 1),
                                                       place);
    sumOfSquares += across * across;
    ++result.points;
  }

  /// The distance of one map entry from the exact one, source pixels.
  /// @param R_st  rotates directions of the rectified camera's frame into the source camera's
  [[nodiscard]] double mapError(const MapView& map, int x, int y, const ExactCamera& source,
                                const SO3<double>& R_st) const {
    Vec3 ray_t;
    PixelPosition exact;
    const bool isSeen = map.hasSource(x, y) && mClaim.view.tryRay(PixelPosition(x, y), ray_t) &&
                        source.tryProject(R_st * ray_t, exact);
    return isSeen ? AR::Math::norm(map.source(x, y) - exact) : kInfinity;
  }

  /// Measures every pixel that does not say that it has no source.
  void measureMap(const MapView& map, const ExactCamera& source, const SO3<double>& R_st,
                  const Worst& worst) const {
    for (int y = 0; y < map.height; ++y) {
      for (int x = 0; x < map.width; ++x) {
        if (map.position(x, y) == MapPosition::None) continue;
        worst.add(mapError(map, x, y, source, R_st),
                  {static_cast<float>(x), static_cast<float>(y), 0});
      }
    }
  }

  const RectificationClaim& mClaim;
  ExactCamera mLeft;
  ExactCamera mRight;
  SE3<double> mT_orol;
  SO3<double> mR_ortl;
  MapLookup mLeftLookup;
  MapLookup mRightLookup;
  std::size_t mAlong;
};

}  // namespace

bool certifyRectification(const RectificationClaim& claim, RectificationCertificate& certificate) {
  const std::optional<Measurement> measurement = Measurement::of(claim);
  if (!measurement) return false;
  RectificationCertificate result{};
  measurement->measurePoints(result);
  if (result.points == 0) return false;
  measurement->measureMaps(result);
  certificate = result;
  return true;
}

}  // namespace VIO
