#include "MapCase.h"

#include <stdexcept>

#include "AR/Math/SO3.h"
#include "VIO/StereoRectify.h"

namespace rectiline::bench {
namespace {

using AR::CV::Camera;
using AR::CV::MapJob;

Camera<float> initialized(const CamModel::CameraModel<float>& model) {
  Camera<float> camera;
  if (!camera.init(model)) throw std::runtime_error("a camera cannot be made");
  return camera;
}

/// The view that the library chooses where nothing else is asked for.
AR::CV::TargetView latitudeLongitude(const Camera<float>& source) {
  AR::CV::TargetView view;
  view.projection = AR::CV::TargetProjection::LatitudeLongitude;
  view.baselineAxis = 0;
  view.width = static_cast<int>(source.getSize()(0));
  view.height = static_cast<int>(source.getSize()(1));
  view.cx = view.width / 2.0;
  view.cy = view.height / 2.0;
  view.fx = view.fy = static_cast<double>(source.getCorrectedFocalLength());
  return view;
}

template <typename Target>
MapJob<float> jobOf(const Camera<float>& source, const Target& target) {
  constexpr bool kKeepOutside = false;
  const AR::Math::Vec<float, 3> axisAngle(0.012F, -0.02F, 0.005F);
  return {source, target, AR::Math::SO3<float>::exp(axisAngle).matrix(), AR::CV::DepthRule::InFront,
          kKeepOutside};
}

}  // namespace

Planes emptyPlanes(const Size& size) {
  const auto plane = [&] { return cv::Mat(size.height, size.width, CV_32FC1, cv::Scalar(-1)); };
  return {plane(), plane()};
}

Camera<float> cameraOf(const IntrinsicCameraCalibrationZEL& record) {
  return initialized(CamModel::CameraModel<float>(record));
}

MapCase::MapCase(const Lens& lens, const Size& size)
    : mLens(lens),
      mSize(size),
      mSource(cameraOf(intrinsicsOf(lens, size))),
      mTarget(initialized(VIO::pinholeModelOf(mSource, 1.0F))),
      mJob(jobOf(mSource, mTarget)),
      mLatitudeLongitudeJob(jobOf(mSource, latitudeLongitude(mSource))) {}

void fillRows(const AR::CV::MapKernel& kernel, int firstRow, int endRow, Planes& planes) {
  for (int y = firstRow; y < endRow; ++y) {
    kernel.row(y, planes.X.cols, planes.X.ptr<float>(y), planes.Y.ptr<float>(y));
  }
}

void fillVector(const MapJob<float>& job, Planes& planes) {
  fillRows(AR::CV::MapKernel(job), 0, planes.X.rows, planes);
}

void fillScalar(const MapJob<float>& job, Planes& planes) {
  for (int y = 0; y < planes.X.rows; ++y) {
    mapRowScalar(job, y, planes.X.cols, planes.X.ptr<float>(y), planes.Y.ptr<float>(y));
  }
}

}  // namespace rectiline::bench
