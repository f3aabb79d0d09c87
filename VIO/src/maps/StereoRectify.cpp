#include "VIO/StereoRectify.h"

#include <algorithm>
#include <cstring>
#include <limits>

#include "AR/CV/Camera/PinholeModel.h"
#include "AR/CV/Camera/PixelSize.h"
#include "AR/CV/Map/MapJob.h"
#include "AR/Common/Logger.h"
#include "AR/Common/Macros.h"
#include "VIO/Gains.h"

namespace VIO {
namespace {

using AR::Common::ArrayView;
using AR::Common::assertSuccess;
using AR::Common::CallSite;
using AR::Common::Logger;
using AR::CV::Camera;
using AR::CV::DepthRule;
using AR::CV::FullCamera;
using AR::CV::pixelSize;
using AR::Math::SE3;
using AR::Math::SO3;
using AR::Math::Vec;
using ImageF = AR::CV::Image<float>;
using MapBatch = AR::CV::MapBatch<float>;
using MapJob = AR::CV::MapJob<float>;

constexpr char kSource[] = "VIO/src/StereoRectify";

/// Reports a pair that is not two images of `size`.
void checkPair(const CallSite& site, const ArrayView<ImageF>& mapXY, const Vec<int, 2>& size,
               const char* textX, const char* textY) {
  AR_CHECK_AT(site, mapXY.size() == 2, "mapXY.size() == 2", kSource);
  AR_CHECK_AT(site, mapXY[0].size() == size, textX, kSource);
  AR_CHECK_AT(site, mapXY[1].size() == size, textY, kSource);
}

/// Reports cameras that are not there, and gives the maps the target's size.
void preparePair(const CallSite& site, const FullCamera<float>& source,
                 const FullCamera<float>& target, ArrayView<ImageF>& mapXY) {
  AR_CHECK_AT(site, source.isInitialized(), "isInitialized()", kSource);
  AR_CHECK_AT(site, target.isInitialized(), "isInitialized()", kSource);
  const Vec<int, 2> size = pixelSize(target.getIntrinsics());
  for (ImageF& image : mapXY) image.allocPixels(size, AR::CV::MEMORY_ALIGNMENT_16, false);
  checkPair(site, mapXY, size, "mapXY[0].size() == size", "mapXY[1].size() == size");
}

/// Has the job run over the pixels of `targetSize` that both maps have; all others get no source.
void addPair(const MapJob& job, bool reportNoInverse, const Vec<int, 2>& targetSize,
             ArrayView<ImageF>& mapXY, MapBatch& batch) {
  Vec<int, 2> size = targetSize;
  for (ImageF& image : mapXY) {
    if (image.size() != targetSize || mapXY.size() != 2) image.clear(job.noSource);
    size = {std::min(size(0), image.size()(0)), std::min(size(1), image.size()(1))};
  }
  if (mapXY.size() < 2) return;
  ImageF X, Y;
  X.set(mapXY[0].pixels(), size, mapXY[0].bufSize(), false);
  Y.set(mapXY[1].pixels(), size, mapXY[1].bufSize(), false);
  batch.add(job, reportNoInverse, X, Y);
}

/// What add(batch) adds, made at once.
template <typename Add>
void makeAtOnce(Add&& add) {
  MapBatch batch;
  add(batch);
  batch.fill();
}

}  // namespace

void setupRectifyMap(const FullCamera<float>& source, bool keepOutside,
                     const FullCamera<float>& target, const SO3<float>& R_oltl,
                     ArrayView<ImageF>& mapXY, MapBatch& batch) {
  preparePair(AR_HERE, source, target, mapXY);
  const SO3<float> R_s_ol = source.getCamReferenceToLocal().rotation();
  const SO3<float> R_t_tl = target.getCamReferenceToLocal().rotation();
  const SO3<float> R_st = R_s_ol * R_oltl * R_t_tl.inverse();
  const MapJob job(source.getIntrinsics(), target.getIntrinsics(), R_st.matrix(),
                   DepthRule::InFront, keepOutside);
  addPair(job, true, pixelSize(target.getIntrinsics()), mapXY, batch);
}

void setupRectifyMap(const FullCamera<float>& source, bool keepOutside,
                     const FullCamera<float>& target, const SO3<float>& R_oltl,
                     ArrayView<ImageF>& mapXY) {
  makeAtOnce(
      [&](MapBatch& batch) { setupRectifyMap(source, keepOutside, target, R_oltl, mapXY, batch); });
}

MapJob fixedPlaneJob(const Camera<float>& source, const Camera<float>& eye,
                     const SE3<float>& T_source_eye, float planeDistance, bool keepOutside) {
  MapJob job(source, eye, T_source_eye.rotation().matrix(), DepthRule::InFront, keepOutside);
  // Everything divided by the distance, so that an infinite one leaves the rotation alone.
  job.offset_s = T_source_eye.translation() / planeDistance;
  job.minDepth = std::max(MapJob::kMinDepth / planeDistance, std::numeric_limits<float>::min());
  return job;
}

void setupFixedPlaneMap(const FullCamera<float>& source, bool keepOutside,
                        const FullCamera<float>& eye, float planeDistance, ArrayView<ImageF>& mapXY,
                        MapBatch& batch) {
  preparePair(AR_HERE, source, eye, mapXY);
  const SE3<float> T_source_eye =
      source.getCamReferenceToLocal() * eye.getCamReferenceToLocal().inverse();
  const MapJob job = fixedPlaneJob(source.getIntrinsics(), eye.getIntrinsics(), T_source_eye,
                                   planeDistance, keepOutside);
  addPair(job, false, pixelSize(eye.getIntrinsics()), mapXY, batch);
}

void setupFixedPlaneMap(const FullCamera<float>& source, bool keepOutside,
                        const FullCamera<float>& eye, float planeDistance,
                        ArrayView<ImageF>& mapXY) {
  makeAtOnce([&](MapBatch& batch) {
    setupFixedPlaneMap(source, keepOutside, eye, planeDistance, mapXY, batch);
  });
}

void setupUndistortMap(const Camera<float>& source, const Camera<float>& target, bool keepOutside,
                       const SO3<float>& R_st, ArrayView<ImageF>& mapXY, MapBatch& batch) {
  const Vec<int, 2> targetSize = pixelSize(target);
  checkPair(AR_HERE, mapXY, targetSize, "mapXY[0].size() == targetSize",
            "mapXY[1].size() == targetSize");
  const MapJob job(source, target, R_st.matrix(), DepthRule::NonZero, keepOutside);
  addPair(job, false, targetSize, mapXY, batch);
}

void setupUndistortMap(const Camera<float>& source, const Camera<float>& target, bool keepOutside,
                       const SO3<float>& R_st, ArrayView<ImageF>& mapXY) {
  makeAtOnce(
      [&](MapBatch& batch) { setupUndistortMap(source, target, keepOutside, R_st, mapXY, batch); });
}

CamModel::CameraModel<float> pinholeModelOf(const Camera<float>& source, float focalScale) {
  return AR::CV::pinholeModel(source.getSize(), source.getPrincipalPoint(),
                              source.getCorrectedFocalLengthVec() * focalScale);
}

void setupUndistortMap(const Camera<float>& source, bool keepOutside, const SO3<float>& R_st,
                       float focalScale, ArrayView<ImageF>& mapXY) {
  Camera<float> target;
  assertSuccess(target.init(pinholeModelOf(source, focalScale)));
  setupUndistortMap(source, target, keepOutside, R_st, mapXY);
}

void setupVignettingMap(const Camera<float>& source, const Camera<float>& /*target*/,
                        ImageF& scale) {
  if (!assertSuccess(scale.allocPixels(pixelSize(source), AR::CV::MEMORY_ALIGNMENT_16, false))) {
    return;
  }
  for (int y = 0; y < scale.size()(1); ++y) writeVignettingRow(y, scale.size()(0), scale.row(y));
}

void copyMapToArrays(const ArrayView<ImageF>& mapXY, float* mapXOut, std::uint32_t mapXOut_size,
                     float* mapYOut, std::uint32_t mapYOut_size) {
  AR_LOGF(Logger::DEBUG, kSource, "mapXY[0]: %zu, mapXY[1]: %zu, mapXOut_size=%u, mapYOut_size=%u",
          mapXY[0].numPixels(), mapXY[1].numPixels(), mapXOut_size, mapYOut_size);
  AR_CHECK(mapXY.size() == 2, "mapXY.size() == 2", kSource);
  AR_CHECK(mapXY[0].numPixels() == mapXOut_size, "mapXY[0].numPixels() == mapXOut_size", kSource);
  AR_CHECK(mapXY[1].numPixels() == mapYOut_size, "mapXY[1].numPixels() == mapYOut_size", kSource);
  if (mapXY[0].numPixels() <= mapXOut_size) copyImageToArray(mapXY[0], mapXOut);
  if (mapXY[1].numPixels() <= mapYOut_size) copyImageToArray(mapXY[1], mapYOut);
}

void copyImageToArray(const ImageF& image, float* out) {
  if (image.numPixels() == 0) return;
  if (!AR_CHECK(out != nullptr && image.pixels() != nullptr,
                "out != nullptr && image.pixels() != nullptr", kSource)) {
    return;
  }
  const std::size_t width = static_cast<std::size_t>(image.size()(0));
  for (int y = 0; y < image.size()(1); ++y) {
    std::copy_n(image.row(y), width, out + static_cast<std::size_t>(y) * width);
  }
}

bool moveLeftCameraToOrigin(AR::CV::FullStereoCameraCalibration<float>& calib, SE3<float>& pose) {
  const auto leftAtOrigin = [&calib] {
    return AR::Math::isIdentity(calib.at(0).getCamReferenceToLocal().rotation().matrix());
  };
  if (leftAtOrigin()) return true;
  AR_LOG(Logger::ERR, kSource,
         "StereoRectify requires the left camera to be at the origin. Hacking calibration to move "
         "left camera to the origin. TODO pass in 2 camera IDs as an argument and make all the "
         "code work independently of left camera position.");
  const SE3<float> T_ref_ol = calib.at(0).getCamReferenceToLocal().inverse();
  calib.at(0).setExtrinsics(SE3<float>());
  FullCamera<float>& right = calib.at(1);
  right.setExtrinsics(right.getCamReferenceToLocal() * T_ref_ol);
  pose = pose * T_ref_ol;
  return leftAtOrigin();
}

}  // namespace VIO
