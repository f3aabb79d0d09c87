#pragma once

#include <concepts>
#include <optional>
#include <span>

#include "AR/Common/Macros.h"
#include "AR/Math/Vector.h"
#include "CameraModel/DistortionModel.h"
#include "rectiline/CalibrationRecords.h"

namespace CamModel {

template <typename P>
struct DistortionTraits;

/// Intrinsics of one camera: a plain record, without invariants of its own (see validateCoeffs).
///
/// A pixel (u, v) maps to the normalised (ideal) focal plane by x = (u - cx) / fx,
/// y = (v - cy) / fy; integer pixel coordinates are the positions of pixels. All radii below are
/// radii in that plane. Distortion maps ideal to distorted radii, undistortion the reverse; both
/// take squared radii.
///
/// Reentrant as any value: functions that are not const need exclusive access to the record.
/// Instantiated for P = float and double; the argument precision of the factors is either one.
template <typename P>
class AR_EXPORT CameraModel {
 public:
  using DistortionLimits = RadiusLimits<P>;

  /// The range of radii asked of setupValidDistortionRange.
  struct FOVLimit {
    P maxFovDeg = P(180);          ///< full field of view, degrees; 180 or more: no limit
    P imageCircleDiameter = P(0);  ///< pixels; used only when hasImageCircle is set
    bool hasImageCircle = false;
  };

  AR::Math::Vec<P, 2> size;                  ///< image width and height, pixels
  AR::Math::Vec<P, 2> principalPoint;        ///< cx, cy, pixels
  AR::Math::Vec<P, 2> focalLength;           ///< fx, fy, pixels
  RDVec<P> radialDistortion;                 ///< k0 to k5
  AR::Math::Vec<P, 2> tangentialDistortion;  ///< p1, p2; no part of the factors below
  DistortionModel model = LINEAR;
  DistortionLimits limits;

  CameraModel() = default;

  /// Every field, in order.
  CameraModel(const AR::Math::Vec<P, 2>& size_px, const AR::Math::Vec<P, 2>& principalPoint_px,
              const AR::Math::Vec<P, 2>& focalLength_px, const RDVec<P>& radial,
              const AR::Math::Vec<P, 2>& tangential, DistortionModel distortionModel,
              const DistortionLimits& squaredLimits)
      : size(size_px),
        principalPoint(principalPoint_px),
        focalLength(focalLength_px),
        radialDistortion(radial),
        tangentialDistortion(tangential),
        model(distortionModel),
        limits(squaredLimits) {}

  /// From an interchange record. The limits are the record's when both are above 0; otherwise they
  /// are computed for a field of view of 180 degrees, unless size or focal length is all zero.
  /// Figures beyond P's range become infinite. An unknown model is kept, for the caller to refuse
  /// (isKnownModel); its limits stay at their defaults.
  explicit CameraModel(const IntrinsicCameraCalibrationZEL& record);

  bool operator==(const CameraModel&) const = default;

  /// The same camera in precision Q.
  template <std::floating_point Q>
  [[nodiscard]] CameraModel<Q> cast() const {
    // A field that is added does not compile here before it is carried.
    const auto& [size_px, c, f, k, p, distortionModel, squaredLimits] = *this;
    const auto& [x_max, y_max] = squaredLimits;
    return CameraModel<Q>(size_px.template cast<Q>(), c.template cast<Q>(), f.template cast<Q>(),
                          k.template cast<Q>(), p.template cast<Q>(), distortionModel,
                          {static_cast<Q>(x_max), static_cast<Q>(y_max)});
  }

  /// True when the record is usable; otherwise prints the first fault, one line on standard
  /// output. Tangential coefficients and the size of permitted radial ones are not checked. An
  /// unknown model ends the process.
  [[nodiscard]] bool validateCoeffs() const;

  /// The factor F for the squared undistorted radius x: the distorted radius is r F, r = sqrt(x).
  /// An unknown model ends the process.
  template <std::floating_point T>
  [[nodiscard]] T distortionFactor(T x) const;

  /// The factor G for the squared distorted radius y: the undistorted radius is sqrt(y) G. Closed
  /// form or up to 200 evaluations of F; the last estimate if those do not converge. An unknown
  /// model ends the process.
  template <std::floating_point T>
  [[nodiscard]] T undistortionFactor(T y) const;

  /// The same for each of many squared radii, side by side. Outputs have the size of the inputs.
  void distortionFactors(std::span<const P> x, std::span<P> F) const;
  void undistortionFactors(std::span<const P> y, std::span<P> G) const;

  /// The factor of FISHEYE_SPLINE_3 from this record's coefficients, whatever its model. N is the
  /// number of spline segments; only 3 exists.
  template <int N, std::floating_point T>
  [[nodiscard]] T distort_FisheyeSpline(T x) const;

  /// Fills `limits` with the largest radii at which the model may be trusted within `fov` and the
  /// image. `verbose` prints them on standard output.
  void setupValidDistortionRange(const FOVLimit& fov, bool verbose);

  /// Fills `limits` with the bounds of the image (and of the image circle, a diameter in pixels)
  /// alone, without a look at the model.
  void setupMaxDistortionRanges(std::optional<P> imageCircleDiameter = std::nullopt);

  /// Narrows `limits` to where the distorted radius grows steadily and undistortion returns it, by
  /// a march of at most 10^6 steps of 0.02; no radius behind the last of them is trusted.
  void findDistortionLimits();
  /// Narrows `limits` to stay short of the pole of the rational polynomial in x.
  void setMaxDistortionLimits_6paramRadial();
  /// Narrows `limits` to stay short of the pole of the rational fisheye.
  void setMaxDistortionLimits_fisheyeRational();

 private:
  [[nodiscard]] bool marchToDistortionLimit();
  void limitToPole(const DistortionTraits<P>& traits);
};

extern template class CameraModel<float>;
extern template class CameraModel<double>;

}  // namespace CamModel
