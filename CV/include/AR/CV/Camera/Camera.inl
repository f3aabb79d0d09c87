#pragma once

// The conversions that run once per pixel, in the header so that map loops can inline them.

#include "CameraModel/Tangential.h"

namespace AR::CV {

template <typename P>
inline bool Camera<P>::hasTangential() const {
  return CamModel::hasTangentialTerm(mModel.tangentialDistortion);
}

template <typename P>
inline bool Camera<P>::tryDistort(const Vec2& ideal, Vec2& distorted) const {
  P F;
  if (!mDistortionSpline.tryEvaluate(AR::Math::normSquared(ideal), F)) {
    return false;
  }
  distorted = hasTangential()
                  ? F * ideal + CamModel::tangentialTerm(mModel.tangentialDistortion, ideal)
                  : F * ideal;
  return true;
}

template <typename P>
inline bool Camera<P>::tryIdeal2pixel(const Vec2& ideal, Vec2& pixel) const {
  Vec2 d;
  if (!tryDistort(ideal, d)) {
    return false;
  }
  pixel = Vec2(mModel.principalPoint(0) + mModel.focalLength(0) * d(0),
               mModel.principalPoint(1) + mModel.focalLength(1) * d(1));
  return true;
}

template <typename P>
inline bool Camera<P>::tryUndistortSymmetric(const Vec2& distorted, Vec2& ideal) const {
  P G;
  if (!mUndistortionSpline.tryEvaluate(AR::Math::normSquared(distorted), G)) {
    return false;
  }
  ideal = G * distorted;
  return true;
}

template <typename P>
inline bool Camera<P>::tryUndistort(const Vec2& distorted, Vec2& ideal) const {
  return hasTangential() ? tryUndistortTangential(distorted, ideal)
                         : tryUndistortSymmetric(distorted, ideal);
}

template <typename P>
inline auto Camera<P>::pixelToDistorted(const Vec2& pixel) const -> Vec2 {
  return Vec2((pixel(0) - mModel.principalPoint(0)) * mInvFocalLength(0),
              (pixel(1) - mModel.principalPoint(1)) * mInvFocalLength(1));
}

template <typename P>
inline bool Camera<P>::tryPixel2ideal(const Vec2& pixel, Vec2& ideal) const {
  return tryUndistort(pixelToDistorted(pixel), ideal);
}

template <typename P>
inline bool Camera<P>::tryProjectToPix(const Vec3& point, Vec2& pixel) const {
  const P z = point(2);
  return z >= kMinDepth && tryIdeal2pixel(Vec2(point(0) / z, point(1) / z), pixel);
}

}  // namespace AR::CV
