#pragma once

#include <cstdint>

#include "AR/CV/Map/MapJob.h"

// A row of a map in plain scalar code: the one place that says which pixels have a source and where
// it lies. The vector kernel, MapRowSimd.cpp, repeats it.

namespace AR::CV {

/// What happened in a row that its caller must report.
struct MapRowReport {
  int noInverse = 0;  ///< pixels that the target could not turn into a ray
  int zeroDepth = 0;  ///< rays of depth exactly 0
};

/// A row of a map's target: what is the same for all of its pixels.
///
/// A pixel's ray in the source frame is R_sp (x, y, 1) plus the job's offset. For a camera and a
/// pinhole view (x, y) is the pixel's place in the ideal plane and R_sp the job's rotation. In
/// latitude-longitude it is (sine, cosine) of the column's angle; what the row's own angle does to
/// them, the same for all columns, is part of R_sp.
template <typename P>
struct TargetRow {
  TargetRow(const MapJob<P>& job, int row);

  /// The pixel's (x, y). False, with both unspecified, when it has no ray.
  [[nodiscard]] bool tryPlane(int column, P& x, P& y) const;

  const MapTarget<P>& target;
  Math::Mat<P, 3, 3> R_sp;
  P y;            // of a camera and a pinhole view
  P leastCosine;  // in latitude-longitude, those of columns with a ray are greater
};

/// One row of a job, pixel by pixel.
template <typename P>
class MapRow {
 public:
  MapRow(const MapJob<P>& job, int y) : mJob(job), mTarget(job, y) {}

  /// The ray (X, Y, Z) of pixel x in the source frame, its length that of the target ray, (x, y, 1)
  /// or 1, plus the offset. Inside when it can be projected; otherwise NoInverse, with `ray_s`
  /// unchanged, or BehindCamera.
  PixelSource ray(int x, Math::Vec<P, 3>& ray_s, MapRowReport& report) const;

  /// Decides whether pixel x has a source position and computes it.
  ///
  /// (u, v) is valid, and belongs into the map, for Inside, and for OutsideImage when the job keeps
  /// positions outside. A position at most four units in the last place of the image size below 0
  /// counts as 0; the width and height themselves are outside, and so is NaN.
  PixelSource source(int x, P& u, P& v, MapRowReport& report) const;

 private:
  [[nodiscard]] bool isDepthAccepted(P z, MapRowReport& report) const;

  const MapJob<P>& mJob;
  TargetRow<P> mTarget;
};

/// Fills one row of a map pair; pixels without a source get `job.noSource`.
/// @param mapX, mapY  `width` values each: source column and row of the pixels (0..width-1, y)
/// @param reasons     receives a PixelSource per pixel; null: not asked for, at no cost
template <typename P>
MapRowReport mapRowScalar(const MapJob<P>& job, int y, int width, P* mapX, P* mapY,
                          std::uint8_t* reasons = nullptr);

// Of the two classes nothing is declared here: MapRow.cpp would no longer inline what it defines.
extern template MapRowReport mapRowScalar(const MapJob<float>&, int, int, float*, float*,
                                          std::uint8_t*);
extern template MapRowReport mapRowScalar(const MapJob<double>&, int, int, double*, double*,
                                          std::uint8_t*);

}  // namespace AR::CV
