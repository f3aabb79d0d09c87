#include "MapRowSimd.h"

#include <algorithm>
#include <cstdint>

#undef HWY_TARGET_INCLUDE
#define HWY_TARGET_INCLUDE "Image/MapRowSimd.cpp"
#include <hwy/foreach_target.h>
#include <hwy/highway.h>

// A row is made in pieces of kPiece pixels and each piece in two passes, so that the first pass's
// long chain of dependent operations does not keep the second from running ahead:
// traceRays() leaves where each pixel's ray ends in the source's ideal plane and in which bin of
// the distortion's spline, projectRays() reads the bins and writes the maps.

HWY_BEFORE_NAMESPACE();
namespace AR::CV::Internal {
namespace HWY_NAMESPACE {

#if HWY_TARGET == HWY_SCALAR || HWY_TARGET == HWY_EMU128

SplineTable::Layout splineLayoutOfTarget() { return SplineTable::Layout::Interleaved; }

MapRowReport mapRow(const MapInput& input, bool /*allRaysValid*/, int y, int width, float* mapX,
                    float* mapY, std::uint8_t* reasons) {
  return mapRowScalar(input.job, y, width, mapX, mapY, reasons);
}

#else

namespace hn = hwy::HWY_NAMESPACE;

using D = hn::ScalableTag<float>;
using DI = hn::RebindToSigned<D>;
using DU = hn::RebindToUnsigned<D>;
using V = hn::Vec<D>;
using VI = hn::Vec<DI>;
using M = hn::Mask<D>;

constexpr D d;
constexpr DI di;
constexpr DU du;
constexpr int kLanes = static_cast<int>(hn::MaxLanes(d));
constexpr int kPiece = 320;
static_assert(kPiece % kLanes == 0);

/// What the first pass leaves for the second.
struct Piece {
  alignas(64) float x[kPiece], y[kPiece];   // of the ray in the source's ideal plane
  alignas(64) std::int32_t bin[kPiece];     // of its squared radius
  alignas(64) float beyond[kPiece];         // the squared radius less that of the bin's start
  alignas(64) std::int32_t reason[kPiece];  // PixelSource; only where rays may be invalid
};

struct Point {
  V x, y;
};

HWY_INLINE VI reasonVector(PixelSource source) {
  return hn::Set(di, static_cast<std::int32_t>(source));
}

HWY_INLINE M isInside(VI reason) {
  return hn::RebindMask(d, hn::Eq(reason, reasonVector(PixelSource::Inside)));
}

/// a b + c, in one rounding or, as the plain form computes it, in two. What decides about a
/// target's rays is computed like that, so that no pixel has a ray in one form only.
template <bool kPlain>
HWY_INLINE V mulAdd(V a, V b, V c) {
  return kPlain ? hn::Add(hn::Mul(a, b), c) : hn::MulAdd(a, b, c);
}

/// In the plain form's order of operations.
HWY_INLINE V normSquared(const Point& p) { return hn::Add(hn::Mul(p.x, p.x), hn::Mul(p.y, p.y)); }

/// One bin's cubic per lane.
struct Cubics {
  V c0, c1, c2, c3;

  template <bool kPlain>
  HWY_INLINE V at(V t) const {
    return mulAdd<kPlain>(t, mulAdd<kPlain>(t, mulAdd<kPlain>(t, c3, c2), c1), c0);
  }
};

#if HWY_TARGET <= HWY_AVX3

SplineTable::Layout splineLayoutOfTarget() { return SplineTable::Layout::Planar; }

/// The values of `window`, SplineTable::kWindow of them, at the lanes of `i`.
HWY_INLINE V lookUp(const float* window, VI i) {
  // One instruction over two registers, where Highway's lookups of one register take three.
  return V{
      _mm512_permutex2var_ps(hn::Load(d, window).raw, i.raw, hn::Load(d, window + kLanes).raw)};
}

HWY_INLINE Cubics gatherCubics(const SplineTable& table, VI i) {
  const auto plane = [&](int k) {
    return hn::GatherIndex(d, table.data() + k * table.stride(), i);
  };
  return {plane(0), plane(1), plane(2), plane(3)};
}

/// Neighbouring pixels have neighbouring bins: mostly all lie in one window, two loads a plane.
HWY_INLINE Cubics cubicsAt(const SplineTable& table, const std::int32_t* bins) {
  constexpr int kWindow = static_cast<int>(SplineTable::kWindow);
  const std::int32_t least = std::min(bins[0], bins[kLanes - 1]);
  const std::int32_t start = std::min(least / kLanes * kLanes, table.stride() - kWindow);
  const VI i = hn::Load(di, bins);
  const VI inWindow = hn::Sub(i, hn::Set(di, start));
  if (!hn::AllTrue(du, hn::Lt(hn::BitCast(du, inWindow), hn::Set(du, kWindow)))) {
    return gatherCubics(table, i);
  }
  const float* const window = table.data() + start;
  const auto plane = [&](int k) { return lookUp(window + k * table.stride(), inWindow); };
  return {plane(0), plane(1), plane(2), plane(3)};
}

#else

SplineTable::Layout splineLayoutOfTarget() { return SplineTable::Layout::Interleaved; }

/// The coefficients of the bins of every fourth lane from the first on, a block each.
HWY_INLINE V loadBlocks(const float* table, const std::int32_t* bins) {
#if HWY_TARGET == HWY_AVX2
  const hn::Half<D> dh;
  return hn::Combine(d, hn::Load(dh, table + 4 * bins[4]), hn::Load(dh, table + 4 * bins[0]));
#else
  return hn::Load(d, table + 4 * bins[0]);
#endif
}

/// One load per lane, then each four of them transposed.
HWY_INLINE Cubics cubicsAt(const SplineTable& table, const std::int32_t* bins) {
  const hn::RepartitionToWide<DU> dw;  // NEON of 32 bits has no doubles
  const V b0 = loadBlocks(table.data(), bins);
  const V b1 = loadBlocks(table.data(), bins + 1);
  const V b2 = loadBlocks(table.data(), bins + 2);
  const V b3 = loadBlocks(table.data(), bins + 3);
  const auto low01 = hn::BitCast(dw, hn::InterleaveLower(d, b0, b1));
  const auto high01 = hn::BitCast(dw, hn::InterleaveUpper(d, b0, b1));
  const auto low23 = hn::BitCast(dw, hn::InterleaveLower(d, b2, b3));
  const auto high23 = hn::BitCast(dw, hn::InterleaveUpper(d, b2, b3));
  return {hn::BitCast(d, hn::InterleaveLower(dw, low01, low23)),
          hn::BitCast(d, hn::InterleaveUpper(dw, low01, low23)),
          hn::BitCast(d, hn::InterleaveLower(dw, high01, high23)),
          hn::BitCast(d, hn::InterleaveUpper(dw, high01, high23))};
}

#endif

/// A spline over squared radii.
class Spline {
 public:
  explicit Spline(const SplineTable& table)
      : mTable(table),
        mInvBinWidth(hn::Set(d, table.invBinWidth())),
        mBinWidth(hn::Set(d, table.binWidth())),
        mRangeMax(hn::Set(d, table.rangeMax())),
        mLast(hn::Set(di, table.lastBin())) {}

  HWY_INLINE M contains(V r2) const { return hn::Lt(r2, mRangeMax); }

  /// Stores the bin around each `r2`, that of the table's nearest for any other, NaN included.
  /// Returns what `r2` is beyond the bin's start.
  HWY_INLINE V locate(V r2, std::int32_t* bins) const {
    // From kOne0 on floats are whole numbers that count up in their bits.
    const V one0 = hn::Set(d, kOne0);
    const V position = hn::MulAdd(r2, mInvBinWidth, hn::Set(d, kOne0 - 0.5F));
    const auto last = hn::BitCast(du, hn::Add(mLast, hn::BitCast(di, one0)));
    const auto bits = hn::Min(hn::BitCast(du, hn::Max(position, one0)), last);
    hn::Store(hn::Sub(hn::BitCast(di, bits), hn::BitCast(di, one0)), di, bins);
    return hn::NegMulAdd(hn::Sub(hn::BitCast(d, bits), one0), mBinWidth, r2);
  }
  /// The same in the plain form's operations.
  HWY_INLINE V locatePlainly(V r2, std::int32_t* bins) const {
    const VI unclamped = hn::ConvertTo(di, hn::Mul(r2, mInvBinWidth));
    const VI bin = hn::Min(hn::Max(unclamped, hn::Zero(di)), mLast);
    hn::Store(bin, di, bins);
    return hn::Sub(r2, hn::Mul(hn::ConvertTo(d, bin), mBinWidth));
  }

  template <bool kPlain>
  HWY_INLINE V at(const std::int32_t* bins, V beyond) const {
    return cubicsAt(mTable, bins).template at<kPlain>(beyond);
  }

 private:
  static constexpr float kOne0 = 8388608;  // 2^23

  const SplineTable& mTable;
  V mInvBinWidth, mBinWidth, mRangeMax;
  VI mLast;
};

/// Brown's tangential terms.
class Tangential {
 public:
  Tangential(float p1, float p2)
      : mP1(hn::Set(d, p1)),
        mP2(hn::Set(d, p2)),
        m2P1(hn::Set(d, 2 * p1)),
        m2P2(hn::Set(d, 2 * p2)) {}

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

/// A row of a target camera: pixels to the distorted plane.
class TargetRow {
 public:
  TargetRow(const TargetPlane<float>& plane, int y)
      : mCx(hn::Set(d, plane.cx)),
        mInvFx(hn::Set(d, plane.invFx)),
        mY(hn::Set(d, plane.y(static_cast<float>(y)))) {}

  HWY_INLINE Point distortedAt(V column) const {
    return {hn::Mul(hn::Sub(column, mCx), mInvFx), mY};
  }

 private:
  V mCx, mInvFx, mY;
};

/// A row of a target that has no distortion.
class PinholeRow {
 public:
  PinholeRow(const MapInput& input, int y)
      : mRow(input.job.targetPlane, y), mRangeMax(hn::Set(d, input.job.targetPlane.rangeMax)) {}

  HWY_INLINE M tryIdealAt(V column, Point& ideal) const {
    ideal = mRow.distortedAt(column);
    return hn::Lt(normSquared(ideal), mRangeMax);
  }

 private:
  TargetRow mRow;
  V mRangeMax;
};

/// A row of a target whose pixels must be undistorted, as Camera::tryUndistort() does it.
class DistortedRow {
 public:
  DistortedRow(const MapInput& input, int y)
      : mRow(input.job.targetPlane, y),
        mFactor(input.undistortion),
        mTangential(input.job.target.getTangentialDistortionCoeffs()(0),
                    input.job.target.getTangentialDistortionCoeffs()(1)),
        mIsRadial(Math::isZero(input.job.target.getTangentialDistortionCoeffs())) {}

  HWY_INLINE M tryIdealAt(V column, Point& ideal) const {
    const Point distorted = mRow.distortedAt(column);
    return mIsRadial ? tryRadial(distorted, ideal) : tryTangential(distorted, ideal);
  }

 private:
  HWY_INLINE M tryRadial(const Point& distorted, Point& ideal) const {
    alignas(64) std::int32_t bins[kLanes];
    const V r2 = normSquared(distorted);
    const V beyond = mFactor.locatePlainly(r2, bins);
    const V G = mFactor.at<true>(bins, beyond);
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

  TargetRow mRow;
  Spline mFactor;
  Tangential mTangential;
  bool mIsRadial;
};

/// From the target's ideal plane to rays of the source frame.
class Rays {
 public:
  explicit Rays(const MapJob<float>& job)
      : mMinDepth(hn::Set(d, job.minDepth)), mInFront(job.depthRule == DepthRule::InFront) {
    for (std::size_t i = 0; i < 3; ++i) {
      for (std::size_t j = 0; j < 3; ++j) mR[i][j] = hn::Set(d, job.R_st(i, j));
      mOffset[i] = hn::Set(d, job.offset_s(i));
    }
  }

  /// Coordinate i of the ray through the ideal point p.
  HWY_INLINE V coordinate(int i, const Point& p) const {
    const V ofRow = hn::MulAdd(mR[i][1], p.y, hn::Add(mR[i][2], mOffset[i]));
    return hn::MulAdd(mR[i][0], p.x, ofRow);
  }
  /// The depth in the plain form's order of operations: a depth of exactly 0 must stay one.
  HWY_INLINE V exactDepth(const Point& p) const {
    const V ofPoint = hn::Add(hn::Mul(mR[2][0], p.x), hn::Mul(mR[2][1], p.y));
    return hn::Add(hn::Add(ofPoint, mR[2][2]), mOffset[2]);
  }
  HWY_INLINE M isDepthAccepted(V z) const {
    // Not Ne(), which refuses NaN with some instruction sets only.
    return mInFront ? hn::Ge(z, mMinDepth) : hn::Not(hn::Eq(z, hn::Zero(d)));
  }
  HWY_INLINE M isReportedDepth(V z) const {
    return mInFront ? hn::Lt(z, z) : hn::Eq(z, hn::Zero(d));
  }

 private:
  V mR[3][3];
  V mOffset[3];
  V mMinDepth;
  bool mInFront;
};

HWY_INLINE int countIn(int lanes, M mask) {
  const M inRow = hn::FirstN(d, static_cast<std::size_t>(std::min(lanes, kLanes)));
  return static_cast<int>(hn::CountTrue(d, hn::And(inRow, mask)));
}

/// The first pass over pixels first to first + count - 1 of a row.
template <bool kAllValid, class Target>
HWY_INLINE void traceRays(const Target& target, const Rays& rays, const Spline& spline, int first,
                          int count, Piece& piece, MapRowReport& report) {
  V column = hn::Iota(d, static_cast<float>(first));
  for (int x = 0; x < count; x += kLanes) {
    Point ideal;
    const M hasInverse = target.tryIdealAt(column, ideal);
    column = hn::Add(column, hn::Set(d, static_cast<float>(kLanes)));
    const V z = kAllValid ? rays.coordinate(2, ideal) : rays.exactDepth(ideal);
    const V invZ = hn::Div(hn::Set(d, 1.0F), z);
    const Point p = {hn::Mul(rays.coordinate(0, ideal), invZ),
                     hn::Mul(rays.coordinate(1, ideal), invZ)};
    const V r2 = hn::MulAdd(p.x, p.x, hn::Mul(p.y, p.y));
    hn::Store(p.x, d, piece.x + x);
    hn::Store(p.y, d, piece.y + x);
    hn::Store(spline.locate(r2, piece.bin + x), d, piece.beyond + x);
    if constexpr (!kAllValid) {
      const auto unless = [](M valid, PixelSource reason, VI otherwise) {
        return hn::IfThenElse(hn::RebindMask(di, valid), otherwise, reasonVector(reason));
      };
      VI reason = unless(spline.contains(r2), PixelSource::BeyondDistortion,
                         reasonVector(PixelSource::Inside));
      reason = unless(rays.isDepthAccepted(z), PixelSource::BehindCamera, reason);
      reason = unless(hasInverse, PixelSource::NoInverse, reason);
      hn::Store(reason, di, piece.reason + x);
      report.noInverse += countIn(count - x, hn::Not(hasInverse));
      report.zeroDepth += countIn(count - x, hn::And(hasInverse, rays.isReportedDepth(z)));
    }
  }
}

/// One side of the source image, as snapInside() of the plain form tests it.
class Side {
 public:
  Side(float snap, float size)
      : mMinusSnap(hn::Set(d, -snap)), mSize(hn::Set(d, size)), mLastCentre(hn::Set(d, size - 1)) {}

  HWY_INLINE M snapInside(V& position) const {
    const M notBelow = hn::Ge(position, mMinusSnap);
    const M inside = hn::And(notBelow, hn::Lt(position, mSize));
    position = hn::IfThenElse(notBelow, hn::Max(position, hn::Zero(d)), position);
    return inside;
  }
  HWY_INLINE M isPastLastCentre(V position) const { return hn::Gt(position, mLastCentre); }

 private:
  V mMinusSnap, mSize, mLastCentre;
};

/// Stores the lanes of `v` that belong into the `left` last values of a row.
HWY_INLINE void storeLanes(V v, int left, float* to) {
  if (HWY_LIKELY(left >= kLanes)) {
    hn::StoreU(v, d, to);
    return;
  }
  alignas(64) float lanes[kLanes];
  hn::Store(v, d, lanes);
  std::copy_n(lanes, left, to);
}

HWY_INLINE void storeReasons(VI v, int left, std::uint8_t* to) {
  alignas(64) std::int32_t lanes[kLanes];
  hn::Store(v, di, lanes);
  for (int i = 0; i < std::min(left, kLanes); ++i) to[i] = static_cast<std::uint8_t>(lanes[i]);
}

/// A source camera from its ideal plane to the maps.
class Projection {
 public:
  Projection(const MapJob<float>& job, const Spline& spline)
      : mSpline(spline),
        mTangential(job.source.p1, job.source.p2),
        mFx(hn::Set(d, job.source.fx)),
        mFy(hn::Set(d, job.source.fy)),
        mCx(hn::Set(d, job.source.cx)),
        mCy(hn::Set(d, job.source.cy)),
        mX(job.snapX, job.width),
        mY(job.snapY, job.height),
        mNoSource(hn::Set(d, job.noSource)),
        mKeepOutside(job.keepOutside) {}

  /// The second pass over the `count` pixels of a piece, into the maps from mapX[0], mapY[0] on.
  template <bool kAllValid, bool kTangential, bool kReasons>
  HWY_INLINE void projectRays(const Piece& piece, int count, float* mapX, float* mapY,
                              std::uint8_t* reasons) const {
    for (int x = 0; x < count; x += kLanes) {
      const V F = mSpline.at<false>(piece.bin + x, hn::Load(d, piece.beyond + x));
      const Point ideal = {hn::Load(d, piece.x + x), hn::Load(d, piece.y + x)};
      const Point p = kTangential ? mTangential.distort(F, ideal)
                                  : Point{hn::Mul(F, ideal.x), hn::Mul(F, ideal.y)};
      V u = hn::MulAdd(mFx, p.x, mCx);
      V v = hn::MulAdd(mFy, p.y, mCy);
      const M insideX = mX.snapInside(u);
      const M inside = hn::And(insideX, mY.snapInside(v));
      M hasSource = mKeepOutside ? hn::Or(inside, hn::Not(inside)) : inside;
      if constexpr (!kAllValid) {
        const VI ray = hn::Load(di, piece.reason + x);
        hasSource = hn::And(hasSource, isInside(ray));
      }
      if constexpr (kReasons) {
        VI reason = reasonOf(u, v, inside);
        if constexpr (!kAllValid) {
          const VI ray = hn::Load(di, piece.reason + x);
          reason = hn::IfThenElse(hn::RebindMask(di, isInside(ray)), reason, ray);
        }
        storeReasons(reason, count - x, reasons + x);
      }
      storeLanes(hn::IfThenElse(hasSource, u, mNoSource), count - x, mapX + x);
      storeLanes(hn::IfThenElse(hasSource, v, mNoSource), count - x, mapY + x);
    }
  }

 private:
  HWY_INLINE VI reasonOf(V u, V v, M inside) const {
    const M past = hn::Or(mX.isPastLastCentre(u), mY.isPastLastCentre(v));
    const VI whereInside =
        hn::IfThenElse(hn::RebindMask(di, past), reasonVector(PixelSource::PastLastCentre),
                       reasonVector(PixelSource::Inside));
    return hn::IfThenElse(hn::RebindMask(di, inside), whereInside,
                          reasonVector(PixelSource::OutsideImage));
  }

  const Spline& mSpline;
  Tangential mTangential;
  V mFx, mFy, mCx, mCy;
  Side mX, mY;
  V mNoSource;
  bool mKeepOutside;
};

/// Where a row goes. `reasons` is null unless they are asked for.
struct Output {
  int width;
  float* mapX;
  float* mapY;
  std::uint8_t* reasons;
};

template <bool kAllValid, bool kTangential, bool kReasons, class Target>
MapRowReport makeRow(const MapInput& input, int y, const Output& out) {
  const Target target(input, y);
  const Rays rays(input.job);
  const Spline spline(input.distortion);
  const Projection projection(input.job, spline);
  MapRowReport report;
  Piece piece;
  for (int x = 0; x < out.width; x += kPiece) {
    const int count = std::min(kPiece, out.width - x);
    traceRays<kAllValid>(target, rays, spline, x, count, piece, report);
    projection.projectRays<kAllValid, kTangential, kReasons>(
        piece, count, out.mapX + x, out.mapY + x, kReasons ? out.reasons + x : nullptr);
  }
  return report;
}

template <bool kTangential, bool kReasons>
MapRowReport makeRow(const MapInput& input, bool allRaysValid, int y, const Output& out) {
  if (!input.job.targetPlane.isUndistorted) {
    return makeRow<false, kTangential, kReasons, DistortedRow>(input, y, out);
  }
  return allRaysValid ? makeRow<true, kTangential, kReasons, PinholeRow>(input, y, out)
                      : makeRow<false, kTangential, kReasons, PinholeRow>(input, y, out);
}

MapRowReport mapRow(const MapInput& input, bool allRaysValid, int y, int width, float* mapX,
                    float* mapY, std::uint8_t* reasons) {
  const Output out{width, mapX, mapY, reasons};
  const bool isTangential = input.job.source.p1 != 0 || input.job.source.p2 != 0;
  if (reasons != nullptr) {
    return isTangential ? makeRow<true, true>(input, allRaysValid, y, out)
                        : makeRow<false, true>(input, allRaysValid, y, out);
  }
  return isTangential ? makeRow<true, false>(input, allRaysValid, y, out)
                      : makeRow<false, false>(input, allRaysValid, y, out);
}

#endif

}  // namespace HWY_NAMESPACE
}  // namespace AR::CV::Internal
HWY_AFTER_NAMESPACE();

#if HWY_ONCE
namespace AR::CV::Internal {

HWY_EXPORT(splineLayoutOfTarget);
HWY_EXPORT(mapRow);

SplineTable::Layout splineLayout() { return HWY_DYNAMIC_DISPATCH(splineLayoutOfTarget)(); }

MapRowReport mapRowSimd(const MapInput& input, bool allRaysValid, int y, int width, float* mapX,
                        float* mapY, std::uint8_t* reasons) {
  return HWY_DYNAMIC_DISPATCH(mapRow)(input, allRaysValid, y, width, mapX, mapY, reasons);
}

}  // namespace AR::CV::Internal
#endif
