// Rows of a target as vectors: from pixels to its plane, as TargetRow::tryPlane() does it.
// Highway compiles this file once for each instruction set, so its guard is open once for each.

#if defined(AR_CV_MAP_TARGET_ROW_SIMD_INL_H) == defined(HWY_TARGET_TOGGLE)
#ifdef AR_CV_MAP_TARGET_ROW_SIMD_INL_H
#undef AR_CV_MAP_TARGET_ROW_SIMD_INL_H
#else
#define AR_CV_MAP_TARGET_ROW_SIMD_INL_H
#endif

#include "Map/MapRowSimd.h"
#include "Map/SplineSimd-inl.h"

HWY_BEFORE_NAMESPACE();
namespace AR::CV::Internal {
namespace HWY_NAMESPACE {

/// Brown's tangential terms.
class Tangential {
 public:
  explicit Tangential(const Math::Vec<float, 2>& p)
      : mP1(hn::Set(d, p(0))),
        mP2(hn::Set(d, p(1))),
        m2P1(hn::Set(d, 2 * p(0))),
        m2P2(hn::Set(d, 2 * p(1))) {}

  /// What they add to the radially distorted point of p, in the plain form's operations.
  HWY_INLINE Point plainlyAt(const Point& p) const {
    const V three = hn::Set(d, 3.0F);
    const V fromX = hn::Add(hn::Mul(hn::Mul(three, p.x), p.x), hn::Mul(p.y, p.y));
    const V fromY = hn::Add(hn::Mul(p.x, p.x), hn::Mul(hn::Mul(three, p.y), p.y));
    const V ofX = hn::Mul(hn::Mul(m2P1, p.x), p.y);
    const V ofY = hn::Mul(hn::Mul(m2P2, p.x), p.y);
    return {hn::Add(ofX, hn::Mul(mP2, fromX)), hn::Add(hn::Mul(mP1, fromY), ofY)};
  }

  /// The distorted point of p with the radial factor F: as a multiple of p, F + 2 (p1 y + p2 x),
  /// and r2 (p2, p1).
  HWY_INLINE Point distort(V F, const Point& p) const {
    const V r2 = hn::MulAdd(p.x, p.x, hn::Mul(p.y, p.y));
    const V factor = hn::MulAdd(m2P1, p.y, hn::MulAdd(m2P2, p.x, F));
    return {hn::MulAdd(factor, p.x, hn::Mul(mP2, r2)), hn::MulAdd(factor, p.y, hn::Mul(mP1, r2))};
  }

 private:
  V mP1, mP2, m2P1, m2P2;
};

/// A row of a camera or a pinhole view: pixels to its own plane.
class PlaneRow {
 public:
  explicit PlaneRow(const TargetRow<float>& row)
      : mCx(hn::Set(d, row.target.cx)),
        mInvFx(hn::Set(d, row.target.invFx)),
        mY(hn::Set(d, row.y)) {}

  HWY_INLINE Point at(V column) const { return {hn::Mul(hn::Sub(column, mCx), mInvFx), mY}; }

 private:
  V mCx, mInvFx, mY;
};

/// A row of a target that has no distortion.
class PinholeRow {
 public:
  /// Whether rays may be computed in another order of operations where all are valid.
  static constexpr bool kIsReordered = true;

  PinholeRow(const MapInput& /*input*/, const TargetRow<float>& row)
      : mRow(row), mRangeMax(hn::Set(d, row.target.rangeMax)) {}

  /// The points of the pixels from x on, whose columns are `column`.
  HWY_INLINE M tryPlaneAt(int /*x*/, V column, Point& ideal) const {
    ideal = mRow.at(column);
    return hn::Lt(normSquared(ideal), mRangeMax);
  }

 private:
  PlaneRow mRow;
  V mRangeMax;
};

/// A row of a target whose pixels must be undistorted, as Camera::tryUndistort() does it.
class DistortedRow {
 public:
  static constexpr bool kIsReordered = false;

  DistortedRow(const MapInput& input, const TargetRow<float>& row)
      : mRow(row),
        mFactor(input.undistortion),
        mTangential(row.target.camera->getTangentialDistortionCoeffs()),
        mIsRadial(
            !CamModel::hasTangentialTerm(row.target.camera->getTangentialDistortionCoeffs())) {}

  HWY_INLINE M tryPlaneAt(int /*x*/, V column, Point& ideal) const {
    const Point distorted = mRow.at(column);
    return mIsRadial ? tryRadial(distorted, ideal) : tryTangential(distorted, ideal);
  }

 private:
  HWY_INLINE M tryRadial(const Point& distorted, Point& ideal) const {
    const V r2 = normSquared(distorted);
    const V G = mFactor.plainlyAt(r2);
    ideal = {hn::Mul(G, distorted.x), hn::Mul(G, distorted.y)};
    return mFactor.contains(r2);
  }

  M tryTangential(const Point& distorted, Point& ideal) const {
    constexpr int kMaxIterations = 10;
    Point u = {hn::Zero(d), hn::Zero(d)};
    Point t = u;
    ideal = u;
    M open = hn::Eq(u.x, u.x);
    M settled = hn::Not(open);
    for (int i = 0; i < kMaxIterations && !hn::AllFalse(d, open); ++i) {
      Point next;
      open = hn::And(open, tryRadial({hn::Sub(distorted.x, t.x), hn::Sub(distorted.y, t.y)}, next));
      const Point step = {hn::Sub(next.x, u.x), hn::Sub(next.y, u.y)};
      const M isDone = hn::And(open, hn::Lt(normSquared(step), hn::Set(d, 1e-10F)));
      ideal = {hn::IfThenElse(isDone, next.x, ideal.x), hn::IfThenElse(isDone, next.y, ideal.y)};
      settled = hn::Or(settled, isDone);
      open = hn::AndNot(isDone, open);
      u = next;
      t = mTangential.plainlyAt(u);
    }
    return settled;
  }

  PlaneRow mRow;
  Spline mFactor;
  Tangential mTangential;
  bool mIsRadial;
};

/// A row of a latitude-longitude view.
class LatitudeLongitudeRow {
 public:
  static constexpr bool kIsReordered = false;

  LatitudeLongitudeRow(const MapInput& /*input*/, const TargetRow<float>& row)
      : mSine(row.target.sine.data()),
        mCosine(row.target.cosine.data()),
        mLeastCosine(hn::Set(d, row.leastCosine)) {}

  HWY_INLINE M tryPlaneAt(int x, V /*column*/, Point& plane) const {
    plane = {hn::LoadU(d, mSine + x), hn::LoadU(d, mCosine + x)};
    return hn::Gt(plane.y, mLeastCosine);
  }

 private:
  const float* mSine;
  const float* mCosine;
  V mLeastCosine;
};

}  // namespace HWY_NAMESPACE
}  // namespace AR::CV::Internal
HWY_AFTER_NAMESPACE();

#endif
