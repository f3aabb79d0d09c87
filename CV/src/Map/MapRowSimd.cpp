#include "Map/MapRowSimd.h"

#include <algorithm>
#include <cstddef>
#include <cstdint>

#undef HWY_TARGET_INCLUDE
#define HWY_TARGET_INCLUDE "Map/MapRowSimd.cpp"
#include <hwy/foreach_target.h>
#include <hwy/highway.h>

#if HWY_TARGET != HWY_SCALAR && HWY_TARGET != HWY_EMU128
#include "Map/SplineSimd-inl.h"
#include "Map/TargetRowSimd-inl.h"
#endif

// A row is made in pieces of kPiece pixels and each piece in two passes, so that the first pass's
// long chain of dependent operations does not keep the second from running ahead:
// traceRays() leaves where each pixel's ray ends in the source's ideal plane and in which bin of
// the distortion's spline, projectRays() reads the bins and writes the maps.

HWY_BEFORE_NAMESPACE();
namespace AR::CV::Internal {
namespace HWY_NAMESPACE {

#if HWY_TARGET == HWY_SCALAR || HWY_TARGET == HWY_EMU128

SplineTable::Layout layoutOfInstructionSet(std::size_t /*bins*/) {
  return SplineTable::Layout::Interleaved;
}

MapRowReport mapRow(const MapInput& input, bool /*allRaysValid*/, int y, int width, float* mapX,
                    float* mapY, std::uint8_t* reasons) {
  return mapRowScalar(input.job, y, width, mapX, mapY, reasons);
}

#else

constexpr int kPiece = 320;
static_assert(kPiece % kLanes == 0);

/// What the first pass leaves for the second.
struct Piece {
  alignas(64) float x[kPiece], y[kPiece];   // of the ray in the source's ideal plane
  alignas(64) std::int32_t bin[kPiece];     // of its squared radius
  alignas(64) float beyond[kPiece];         // the squared radius less that of the bin's start
  alignas(64) std::int32_t reason[kPiece];  // PixelSource; only where rays may be invalid
};

HWY_INLINE VI reasonVector(PixelSource source) {
  return hn::Set(di, static_cast<std::int32_t>(source));
}

HWY_INLINE M isInside(VI reason) {
  return hn::RebindMask(d, hn::Eq(reason, reasonVector(PixelSource::Inside)));
}

/// From a row of the target's plane to rays of the source frame.
class Rays {
 public:
  Rays(const MapJob<float>& job, const TargetRow<float>& row)
      : mMinDepth(hn::Set(d, job.minDepth)), mInFront(job.depthRule == DepthRule::InFront) {
    for (std::size_t i = 0; i < 3; ++i) {
      for (std::size_t j = 0; j < 3; ++j) mR[i][j] = hn::Set(d, row.R_sp(i, j));
      mOffset[i] = hn::Set(d, job.offset_s(i));
    }
  }

  /// Coordinate i of the ray through the point p of the plane.
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
template <bool kAllValid, class Target, class Table>
HWY_INLINE void traceRays(const Target& target, const Rays& rays, const Table& spline, int first,
                          int count, Piece& piece, MapRowReport& report) {
  V column = hn::Iota(d, static_cast<float>(first));
  for (int x = 0; x < count; x += kLanes) {
    Point plane;
    const M hasInverse = target.tryPlaneAt(first + x, column, plane);
    column = hn::Add(column, hn::Set(d, static_cast<float>(kLanes)));
    const V z =
        kAllValid && Target::kIsReordered ? rays.coordinate(2, plane) : rays.exactDepth(plane);
    const V invZ = hn::Div(hn::Set(d, 1.0F), z);
    const Point p = {hn::Mul(rays.coordinate(0, plane), invZ),
                     hn::Mul(rays.coordinate(1, plane), invZ)};
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
template <class Table>
class Projection {
 public:
  Projection(const MapJob<float>& job, const Table& spline)
      : mSpline(spline),
        mTangential(job.source.getTangentialDistortionCoeffs()),
        mFx(hn::Set(d, job.source.getOriginalFocalLength()(0))),
        mFy(hn::Set(d, job.source.getOriginalFocalLength()(1))),
        mCx(hn::Set(d, job.source.getPrincipalPoint()(0))),
        mCy(hn::Set(d, job.source.getPrincipalPoint()(1))),
        mX(job.snapX, job.width),
        mY(job.snapY, job.height),
        mNoSource(hn::Set(d, job.noSource)),
        mKeepOutside(job.keepOutside) {}

  /// The second pass over the `count` pixels of a piece, into the maps from mapX[0], mapY[0] on.
  template <bool kAllValid, bool kTangential, bool kReasons>
  HWY_INLINE void projectRays(const Piece& piece, int count, float* mapX, float* mapY,
                              std::uint8_t* reasons) const {
    for (int x = 0; x < count; x += kLanes) {
      const V F = mSpline.template at<false>(piece.bin + x, hn::Load(d, piece.beyond + x));
      const Point ideal = {hn::Load(d, piece.x + x), hn::Load(d, piece.y + x)};
      const Point p = kTangential ? mTangential.distort(F, ideal)
                                  : Point{hn::Mul(F, ideal.x), hn::Mul(F, ideal.y)};
      V u = hn::MulAdd(mFx, p.x, mCx);
      V v = hn::MulAdd(mFy, p.y, mCy);
      const M insideX = mX.snapInside(u);
      const M inside = hn::And(insideX, mY.snapInside(v));
      M hasSource = mKeepOutside ? hn::Or(inside, hn::Not(inside)) : inside;
      VI reason = reasonOf(u, v, inside);
      if constexpr (!kAllValid) {
        const VI ray = hn::Load(di, piece.reason + x);
        hasSource = hn::And(hasSource, isInside(ray));
        reason = hn::IfThenElse(hn::RebindMask(di, isInside(ray)), reason, ray);
      }
      if constexpr (kReasons) storeReasons(reason, count - x, reasons + x);
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

  Table mSpline;
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

template <bool kAllValid, bool kTangential, bool kReasons, class Target, class Table>
MapRowReport makeRow(const MapInput& input, int y, const Output& out) {
  const TargetRow<float> row(input.job, y);
  const Target target(input, row);
  const Rays rays(input.job, row);
  const Table spline(input.distortion);
  const Projection<Table> projection(input.job, spline);
  MapRowReport report;
  Piece piece;
  for (std::ptrdiff_t x = 0; x < out.width; x += kPiece) {
    const int count = static_cast<int>(std::min<std::ptrdiff_t>(kPiece, out.width - x));
    traceRays<kAllValid>(target, rays, spline, static_cast<int>(x), count, piece, report);
    projection.template projectRays<kAllValid, kTangential, kReasons>(
        piece, count, out.mapX + x, out.mapY + x, kReasons ? out.reasons + x : nullptr);
  }
  return report;
}

template <bool kTangential, bool kReasons, class Target, class Table>
MapRowReport makeRow(const MapInput& input, bool allRaysValid, int y, const Output& out) {
  return allRaysValid ? makeRow<true, kTangential, kReasons, Target, Table>(input, y, out)
                      : makeRow<false, kTangential, kReasons, Target, Table>(input, y, out);
}

template <bool kTangential, bool kReasons, class Target>
MapRowReport makeRow(const MapInput& input, bool allRaysValid, int y, const Output& out) {
  return input.distortion.lastBin() == 0
             ? makeRow<kTangential, kReasons, Target, OneBin>(input, allRaysValid, y, out)
             : makeRow<kTangential, kReasons, Target, Spline>(input, allRaysValid, y, out);
}

template <bool kTangential, bool kReasons>
MapRowReport makeRow(const MapInput& input, bool allRaysValid, int y, const Output& out) {
  if (input.job.target.kind == TargetKind::Distorted) {
    return makeRow<false, kTangential, kReasons, DistortedRow, Spline>(input, y, out);
  }
  return input.job.target.kind == TargetKind::LatitudeLongitude
             ? makeRow<kTangential, kReasons, LatitudeLongitudeRow>(input, allRaysValid, y, out)
             : makeRow<kTangential, kReasons, PinholeRow>(input, allRaysValid, y, out);
}

MapRowReport mapRow(const MapInput& input, bool allRaysValid, int y, int width, float* mapX,
                    float* mapY, std::uint8_t* reasons) {
  const Output out{width, mapX, mapY, reasons};
  const bool isTangential =
      CamModel::hasTangentialTerm(input.job.source.getTangentialDistortionCoeffs());
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

HWY_EXPORT(layoutOfInstructionSet);
HWY_EXPORT(mapRow);

SplineTable::Layout splineLayout(std::size_t bins) {
  return HWY_DYNAMIC_DISPATCH(layoutOfInstructionSet)(bins);
}

MapRowReport mapRowSimd(const MapInput& input, bool allRaysValid, int y, int width, float* mapX,
                        float* mapY, std::uint8_t* reasons) {
  return HWY_DYNAMIC_DISPATCH(mapRow)(input, allRaysValid, y, width, mapX, mapY, reasons);
}

}  // namespace AR::CV::Internal
#endif
