#pragma once

#include <cstdint>

#include "Map/MapRow.h"
#include "Map/SplineTable.h"

namespace AR::CV {

/// A map job made ready for speed: what mapRowScalar() computes, with the best instruction set of
/// the machine. A kernel may be used by many threads at once.
///
/// Positions agree with the plain form within four units in the last place of the larger side of
/// the image, and so do the decisions: a pixel may get another one only where its position or
/// radius lies that close to a limit. Rays whose depth is a small difference of larger terms lose
/// more digits in either form, and so agree less closely. Without vector instructions, and for a
/// spline whose bins are not at multiples of their width, the plain form runs.
class MapKernel {
 public:
  /// @param job  must outlive the kernel
  explicit MapKernel(const MapJob<float>& job);

  /// As mapRowScalar(); the same row gives the same values whoever asks for it. Allocates nothing.
  MapRowReport row(int y, int width, float* mapX, float* mapY,
                   std::uint8_t* reasons = nullptr) const;

 private:
  const MapJob<float>& mJob;
  SplineTable mDistortion;    // of the source
  SplineTable mUndistortion;  // of the target; empty for a pinhole camera
  bool mIsVectorisable;
};

}  // namespace AR::CV
