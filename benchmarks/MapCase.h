#pragma once

#include <opencv2/core.hpp>

#include "BenchCameras.h"
#include "Map/MapKernel.h"

namespace rectiline::bench {

/// A map pair, CV_32FC1 each; the same buffers for the library and for its peer.
struct Planes {
  cv::Mat X;
  cv::Mat Y;
};

/// Planes whose every entry says that it has no source.
[[nodiscard]] Planes emptyPlanes(const Size& size);

/// The map of a pinhole camera, turned by a degree or so, from a camera with some lens.
class MapCase {
 public:
  /// Throws std::runtime_error when no camera can be made of the lens.
  MapCase(const Lens& lens, const Size& size);
  MapCase(const MapCase&) = delete;
  MapCase& operator=(const MapCase&) = delete;

  [[nodiscard]] const Lens& lens() const { return mLens; }
  [[nodiscard]] const Size& size() const { return mSize; }
  [[nodiscard]] const AR::CV::Camera<float>& source() const { return mSource; }
  [[nodiscard]] const AR::CV::Camera<float>& target() const { return mTarget; }
  [[nodiscard]] const AR::CV::MapJob<float>& job() const { return mJob; }
  /// The same for a latitude-longitude view of a horizontal pair.
  [[nodiscard]] const AR::CV::MapJob<float>& latitudeLongitudeJob() const {
    return mLatitudeLongitudeJob;
  }

 private:
  Lens mLens;
  Size mSize;
  AR::CV::Camera<float> mSource;
  AR::CV::Camera<float> mTarget;
  AR::CV::MapJob<float> mJob;
  AR::CV::MapJob<float> mLatitudeLongitudeJob;
};

/// Throws std::runtime_error when no camera can be made of the record.
[[nodiscard]] AR::CV::Camera<float> cameraOf(const IntrinsicCameraCalibrationZEL& record);

/// Fills rows [firstRow, endRow) with the vector kernel, on this thread.
void fillRows(const AR::CV::MapKernel& kernel, int firstRow, int endRow, Planes& planes);

/// Fills all rows on this thread: with a vector kernel made for it, and in plain scalar code.
void fillVector(const AR::CV::MapJob<float>& job, Planes& planes);
void fillScalar(const AR::CV::MapJob<float>& job, Planes& planes);

}  // namespace rectiline::bench
