#include "AR/CV/Camera/StereoCamera.h"

#include <algorithm>
#include <atomic>
#include <string_view>
#include <utility>

#include "AR/CV/Camera/CameraUtil.h"
#include "AR/Common/Logger.h"
#include "AR/Common/WorkerPool.h"
#include "FindCamera.h"

namespace AR::CV {
namespace {

constexpr char kSource[] = "CV/src/Camera/StereoCamera";
constexpr char kHeaderSource[] = "CV/src/../include/AR/CV/Camera/StereoCamera";
constexpr char kSmallVectorSource[] = "Common/src/../include/AR/Common/SmallVector";

constexpr std::string_view kDefaultNamePrefix = "default_cam_";

void reportUnknown(const CamImageId& camId) {
  AR_LOGF(Common::Logger::ERR, kSource, "camId %s not found in FullStereoCameraCalibration",
          std::string(camId.getName()).c_str());
  AR_CHECK(false, "0", kSource);
}

bool contains(const Common::ArrayView<const CamImageId> ids, const CamImageId& camId) {
  return std::find(ids.begin(), ids.end(), camId) != ids.end();
}

}  // namespace

template <typename P>
FullStereoCameraCalibration<P>::FullStereoCameraCalibration(const CalibrationInfo& info)
    : mInfo(info) {}

template <typename P>
FullCamera<P>& FullStereoCameraCalibration<P>::operator[](const CamImageId& camId) {
  if (FullCamera<P>* const camera = findCamera(*this, camId)) return *camera;
  reportUnknown(camId);
  return mCameras.slotPastLast();
}

template <typename P>
const FullCamera<P>& FullStereoCameraCalibration<P>::operator[](const CamImageId& camId) const {
  if (const FullCamera<P>* const camera = findCamera(*this, camId)) return *camera;
  reportUnknown(camId);
  return mCameras.slotPastLast();
}

template <typename P>
void FullStereoCameraCalibration<P>::setDeviceUID(std::string deviceUID) {
  mDeviceUID = std::move(deviceUID);
}

template <typename P>
bool FullStereoCameraCalibration<P>::isInitialized() const {
  return !empty() &&
         std::all_of(begin(), end(), [](const auto& cam) { return cam.isInitialized(); });
}

template <typename P>
Common::ArrayView<CamImageId> FullStereoCameraCalibration<P>::getCamIds() const {
  if (camIdVec.empty()) {
    for (const FullCamera<P>& camera : *this) camIdVec.push_back(camera.getCamId());
  }
  for (std::size_t i = 0; i < size(); ++i) {
    AR_CHECK(i < camIdVec.size() && at(i).getCamId() == camIdVec[i],
             "this->at(i).getCamId() == camIdVec[i]", kSource);
  }
  return camIdVec;
}

template <typename P>
bool FullStereoCameraCalibration<P>::noCameraIdsProvided(
    const Common::ArrayView<const CamImageId> ids) {
  return ids.empty() || std::any_of(ids.begin(), ids.end(), [](const CamImageId& id) {
           return id.getName().starts_with(kDefaultNamePrefix);
         });
}

template <typename P>
void FullStereoCameraCalibration<P>::setupEmptyCalibrationWithDefaultIds(const std::size_t n) {
  AR_CHECK(this->empty(), "this->empty()", kSource);
  mCameras.resize(n);
  for (std::size_t i = 0; i < size(); ++i) {
    const std::string name = std::string(kDefaultNamePrefix) + std::to_string(i);
    mCameras[i] = FullCamera<P>(CamImageId(name.c_str()));
  }
}

template <typename P>
bool FullStereoCameraCalibration<P>::trySetupEmptyCalibration(
    const Common::ArrayView<const CamImageId> ids) {
  if (empty()) {
    mCameras.resize(ids.size());
    for (std::size_t i = 0; i < size(); ++i) mCameras[i] = FullCamera<P>(ids[i]);
  }
  bool hasAll = true;
  for (const CamImageId& camId : ids) {
    hasAll &= AR_CHECK(findCamera(*this, camId) != nullptr,
                       "std::find_if(this->begin(), this->end(), [&camId](const FullCamera<PREC> "
                       "& cam){ return cam.getCamId() == camId; }) != this->end()",
                       kSource);
  }
  return hasAll;
}

template <typename P>
template <typename PRECTO>
FullStereoCameraCalibration<PRECTO> FullStereoCameraCalibration<P>::selectCameras(
    const Common::ArrayView<const CamImageId> camIds) const {
  FullStereoCameraCalibration<PRECTO> cameraSubset(mInfo);
  cameraSubset.setDeviceUID(mDeviceUID);
  for (const FullCamera<P>& camera : *this) {
    if (camIds.empty() || contains(camIds, camera.getCamId())) {
      cameraSubset.mCameras.push_back(camera.template cast<PRECTO>());
    }
  }
  AR_CHECK(camIds.empty() || cameraSubset.size() <= camIds.size(),
           "camIds.empty() || cameraSubset.size() <= camIds.size()", kHeaderSource);
  return cameraSubset;
}

template <typename P>
bool FullStereoCameraCalibration<P>::initIntrinsicsMT(
    const Common::ArrayView<const CamModel::CameraModel<P>> models) {
  std::atomic<bool> success = true;
  const auto initCamera = [&](const std::size_t i) {
    if (!hasCamera(i) || !mCameras[i].initIntrinsics(models[i])) success = false;
  };
  Common::WorkerPools::dispatch(initCamera, static_cast<unsigned>(models.size()),
                                Common::WorkerPoolMultithreadMode::CallerThread);
  return success;
}

template <typename P>
CamModel::CameraModel<P> FullStereoCameraCalibration<P>::initIntrinsics(
    const Math::Vec<P, 8>& distortion, const bool isFisheye, const Math::Vec<int, 2>& imageSize,
    const Math::Vec<P, 2>& focalLength, const Math::Vec<P, 2>& principalPoint) {
  CamModel::CameraModel<P> model;
  getNewDistortionVec(distortion, isFisheye, model.model, model.tangentialDistortion,
                      model.radialDistortion);
  model.size = imageSize.template cast<P>();
  model.principalPoint = principalPoint;
  model.focalLength = focalLength;
  // The legacy form holds no limits: those of a field of view of 180 degrees.
  model.setupValidDistortionRange({}, false);
  return model;
}

template <typename P>
void FullStereoCameraCalibration<P>::setFromIdl(
    const Common::ArrayView<const CameraCalibrationZEL> cams, const CalibrationInfo& info) {
  if (size() != cams.size()) setupEmptyCalibrationWithDefaultIds(cams.size());
  const auto convert = [&](const std::size_t i) {
    if (hasCamera(i)) mCameras[i].setFromIdl(cams[i]);
  };
  Common::WorkerPools::dispatch(convert, static_cast<unsigned>(cams.size()));
  mInfo = info;
}

// The container's own check would hand one spare camera to several workers at once.
template <typename P>
bool FullStereoCameraCalibration<P>::hasCamera(const std::size_t i) const {
  return AR_CHECK(i < size(), "index<current_size", kSmallVectorSource);
}

template class FullStereoCameraCalibration<float>;
template class FullStereoCameraCalibration<double>;
template FullStereoCameraCalibration<float> FullStereoCameraCalibration<float>::selectCameras<
    float>(Common::ArrayView<const CamImageId>) const;
template FullStereoCameraCalibration<double> FullStereoCameraCalibration<float>::selectCameras<
    double>(Common::ArrayView<const CamImageId>) const;
template FullStereoCameraCalibration<float> FullStereoCameraCalibration<double>::selectCameras<
    float>(Common::ArrayView<const CamImageId>) const;
template FullStereoCameraCalibration<double> FullStereoCameraCalibration<double>::selectCameras<
    double>(Common::ArrayView<const CamImageId>) const;

}  // namespace AR::CV
