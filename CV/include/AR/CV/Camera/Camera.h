#pragma once

#include <cstdint>
#include <memory>

#include "AR/CV/Camera/Hermite.h"
#include "AR/CV/Camera/XMLFormat.h"
#include "AR/Common/Macros.h"
#include "AR/Math/Matrix.h"
#include "AR/Math/Vector.h"
#include "CameraModel/CameraModel.h"
#include "rectiline/CalibrationRecords.h"

class TiXmlElement;

namespace AR::CV {

/// A camera's intrinsics, ready to use: a validated model and its distortion and undistortion
/// factors as splines over squared radii.
///
/// Three planes: pixels (u, v), integer coordinates being the positions of pixels; the distorted
/// plane ((u - cx) / fx, (v - cy) / fy); and the ideal plane (X/Z, Y/Z) of a point in the camera's
/// frame (x right, y down, z forward). Tangential distortion is that of Brown 1966.
///
/// Immutable once initialised: every const function may run on many threads at once. The `try`
/// conversions cost a few multiplications and a spline lookup; they return false, and log nothing,
/// when a radius is outside its spline, a value is NaN or the tangential iteration does not settle.
/// Outputs are untouched after false. A camera that is not initialised refuses everything. Without
/// memory, initialising, copying and writing throw std::bad_alloc; the conversions take none.
template <typename P>
class AR_EXPORT Camera {
 public:
  using Vec2 = AR::Math::Vec<P, 2>;
  using Vec3 = AR::Math::Vec<P, 3>;
  using Mat2 = AR::Math::Mat<P, 2, 2>;
  using RDVec = CamModel::RDVec<P>;
  using Model = CamModel::CameraModel<P>;
  using DistortionLimits = typename Model::DistortionLimits;
  using Spline = HermiteSplineInterpolation<P>;

  /// Points nearer than this depth, in the unit of the point, are not projected.
  static constexpr P kMinDepth = P(0.01);

  /// Validates `model` and fits both splines. False, with the reason logged, when the model is
  /// invalid or cannot be approximated; the camera is empty then.
  [[nodiscard]] bool init(const Model& model);

  /// As above from the parts (pixels; the radial and tangential coefficients of the model). When
  /// both fields of `limits` are above 0 they are taken as radii; otherwise the limits are computed
  /// for a field of view of 180 degrees.
  [[nodiscard]] bool init(const Vec2& size, const Vec2& principalPoint, const Vec2& focalLength,
                          const RDVec& radial, const Vec2& tangential,
                          CamModel::DistortionModel distortionModel,
                          const DistortionLimits& limits);

  /// True when both splines are fitted; then the model is valid, for only init() sets either.
  [[nodiscard]] bool isInitialized() const {
    return mDistortionSpline.isInit() && mUndistortionSpline.isInit();
  }

  [[nodiscard]] Camera clone() const { return *this; }

  [[nodiscard]] const Vec2& getSize() const { return mModel.size; }
  [[nodiscard]] const Vec2& getPrincipalPoint() const { return mModel.principalPoint; }
  [[nodiscard]] const Vec2& getOriginalFocalLength() const { return mModel.focalLength; }
  [[nodiscard]] CamModel::DistortionModel getRadialDistortionModel() const { return mModel.model; }
  [[nodiscard]] const RDVec& getRadialDistortionCoeffs() const { return mModel.radialDistortion; }
  [[nodiscard]] const Vec2& getTangentialDistortionCoeffs() const {
    return mModel.tangentialDistortion;
  }
  [[nodiscard]] const Model& getCamModel() const { return mModel; }

  /// The distortion factor over squared ideal radii.
  [[nodiscard]] const Spline& getDistortionSpline() const { return mDistortionSpline; }
  /// The undistortion factor over squared distorted radii.
  [[nodiscard]] const Spline& getUndistortionSpline() const { return mUndistortionSpline; }

  /// The focal length at the image's centre: the original one times the distortion factor at 0.
  [[nodiscard]] const Vec2& getCorrectedFocalLengthVec() const { return mCorrectedFocalLength; }
  /// Element-wise inverse of the corrected focal length.
  [[nodiscard]] const Vec2& getInvFocalLengthVec() const { return mInvCorrectedFocalLength; }
  /// Mean of the two corrected focal lengths, pixels.
  [[nodiscard]] P getCorrectedFocalLength() const { return mean(mCorrectedFocalLength); }
  /// Mean of the two inverse corrected focal lengths.
  [[nodiscard]] P getInvFocalLength() const { return mean(mInvCorrectedFocalLength); }

  /// Ideal to distorted plane.
  [[nodiscard]] bool tryDistort(const Vec2& ideal, Vec2& distorted) const;
  /// Ideal plane to pixels.
  [[nodiscard]] bool tryIdeal2pixel(const Vec2& ideal, Vec2& pixel) const;
  /// Distorted to ideal plane, radially or by the tangential iteration as the camera needs.
  [[nodiscard]] bool tryUndistort(const Vec2& distorted, Vec2& ideal) const;
  /// Pixels to ideal plane.
  [[nodiscard]] bool tryPixel2ideal(const Vec2& pixel, Vec2& ideal) const;
  /// Pixels to distorted plane.
  [[nodiscard]] Vec2 pixelToDistorted(const Vec2& pixel) const;
  /// Distorted to ideal plane by the radial factor alone.
  [[nodiscard]] bool tryUndistortSymmetric(const Vec2& distorted, Vec2& ideal) const;
  /// Distorted to ideal plane by at most 10 fixed-point steps over the tangential term.
  [[nodiscard]] bool tryUndistortTangential(const Vec2& distorted, Vec2& ideal) const;

  /// A point in the camera's frame to pixels. False as well for depths that are not >= kMinDepth.
  [[nodiscard]] bool tryProjectToPix(const Vec3& point, Vec2& pixel) const;
  /// The point at `depth` (along z, its unit the caller's) on the pixel's ray, camera frame. A
  /// depth that is not positive is reported and used as it is.
  [[nodiscard]] bool tryUnprojectFromPix(const Vec2& pixel, Vec3& point, P depth) const;

  /// Carries a measured pixel and its covariance (pixels squared) to the ideal plane, by forward
  /// differences over 0.1 pixel.
  [[nodiscard]] bool tryUndistortFeatMeasCov(const Vec2& pixel, const Mat2& pixelCov, Vec2& ideal,
                                             Mat2& idealCov) const;
  /// The same for independent coordinates of equal variance (pixels squared).
  [[nodiscard]] bool tryUndistortFeatMeasCov(const Vec2& pixel, P pixelVariance, Vec2& ideal,
                                             Mat2& idealCov) const;

  /// Full field of view, radians, over an extent in pixels along x centred on the principal point;
  /// cut off where undistortion ends.
  [[nodiscard]] P getFOV(P extentPixels) const;
  /// The radius around the principal point, pixels, within which undistortion is valid.
  [[nodiscard]] P getFOVPixels() const;

  /// Hash of fx, fy, cx, cy: 64-bit FNV-1a of their little-endian bytes from the start value
  /// `seed`.
  [[nodiscard]] std::uint64_t getHash(std::uint64_t seed) const;

  /// The interchange record of the intrinsics.
  [[nodiscard]] IntrinsicCameraCalibrationZEL toIDL() const;

  /// A new XML element "Calibration" that describes the intrinsics. The caller's until it is linked
  /// into a document (release() it to LinkEndChild).
  [[nodiscard]] std::unique_ptr<TiXmlElement> toXMLNode(XMLFormat format) const;

 private:
  static P mean(const Vec2& v) { return (v(0) + v(1)) / 2; }

  void setupFocalLengths(P distortionAt0);

  [[nodiscard]] bool hasTangential() const;
  [[nodiscard]] bool tryDifferentiateUndistort(const Vec2& distorted, const Vec2& ideal,
                                               Mat2& J) const;

  Model mModel;
  Spline mDistortionSpline;
  Spline mUndistortionSpline;
  Vec2 mCorrectedFocalLength;
  Vec2 mInvCorrectedFocalLength;
  Vec2 mInvFocalLength;
};

}  // namespace AR::CV

#include "AR/CV/Camera/Camera.inl"

namespace AR::CV {

// After the definitions: GCC calls what it took for no inline function when it came to these lines.
extern template class Camera<float>;
extern template class Camera<double>;

}  // namespace AR::CV
