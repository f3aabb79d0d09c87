// Loading a rig from a device configuration: which camera node fills which camera.

#include <algorithm>
#include <utility>
#include <vector>

#include "AR/Common/Logger.h"
#include "AR/Common/Macros.h"
#include "AttributeTable.h"
#include "Camera/FindCamera.h"
#include "RigFile.h"

namespace AR::CV::RigFile {
namespace {

using Common::Logger;
using Ids = Common::ArrayView<const CamImageId>;

std::string nameOf(const CamImageId& id) { return std::string(id.getName()); }

template <typename P>
FullCamera<P>* findUnloaded(FullStereoCameraCalibration<P>& rig) {
  return findCamera(rig, [](const FullCamera<P>& camera) { return !camera.isInitialized(); });
}

bool hasIds(const Ids camIds) {
  return !FullStereoCameraCalibration<float>::noCameraIdsProvided(camIds);
}

void logIds(const Ids camIds) {
  for (std::size_t i = 0; i < camIds.size(); ++i) {
    AR_LOGF(Logger::DEBUG, kSource,
            "FullStereoCameraCalibration::loadOneCamera:  camIds[%zu].name: %s", i,
            nameOf(camIds[i]).c_str());
  }
}

void logNameless(const Ids camIds) {
  if (hasIds(camIds)) {
    AR_LOG(Logger::DEBUG, kSource,
           "FullStereoCameraCalibration::loadOneCamera:  cam_name attribute not found.  Use camId "
           "specified during track_6dof_init as id.");
  } else {
    AR_LOGF(Logger::DEBUG, kSource,
            "FullStereoCameraCalibration::loadOneCamera:  Use default camera name as the loaded "
            "camId.  camIds.size:%zu",
            camIds.size());
  }
}

std::vector<const ConfigNode*> cameraNodes(const ConfigNode& deviceNode) {
  std::vector<const ConfigNode*> nodes;
  for (std::size_t i = 0; i < deviceNode.getNumChildren(); ++i) {
    const ConfigNode* const child = deviceNode.getChildAt(i);
    if (child->getName() == "Camera") nodes.push_back(child);
  }
  return nodes;
}

}  // namespace

/// The identity of a camera node: its own, or that of the next camera to load. Empty without both.
template <typename P>
CamImageId RigLoader<P>::identityOf(const ConfigNode& cameraNode) {
  std::string name;
  readAttribute(cameraNode, "", kName[0], name, mWhy);
  if (!name.empty()) return CamImageId(name.c_str());
  logNameless(mCamIds);
  const FullCamera<P>* const next = findUnloaded(mRig);
  return next == nullptr ? CamImageId() : next->getCamId();
}

/// The camera that a node of this identity is to fill; null when it is to be skipped.
template <typename P>
FullCamera<P>* RigLoader<P>::cameraFor(const CamImageId& id) {
  FullCamera<P>* const same = findCamera(mRig, id);
  if (same != nullptr && same->isInitialized()) {
    AR_LOGF(Logger::ERR, kSource,
            "Camera %s is already initialized--is there a duplicate id in the config file?",
            nameOf(id).c_str());
    refuse(mWhy, "cam_name: expected another name than that of an earlier camera");
    return nullptr;
  }
  if (hasIds(mCamIds)) return same;
  FullCamera<P>* const next = findUnloaded(mRig);
  if (next == nullptr) {
    refuse(mWhy, "expected at most " + std::to_string(mRig.size()) + " cameras");
  }
  return next;
}

template <typename P>
const FullCamera<P>* RigLoader<P>::loadOne(const ConfigNode& cameraNode) {
  logIds(mCamIds);
  const CamImageId id = identityOf(cameraNode);
  FullCamera<P>* const camera = cameraFor(id);
  if (camera == nullptr) return nullptr;
  AR_LOGF(
      Logger::DEBUG, kSource,
      "FullStereoCameraCalibration::loadOneCamera:  Loading camera calibration from config file "
      "(name %s)",
      nameOf(id).c_str());
  FullCamera<P> read;
  if (!readCamera(cameraNode, id, read, mWhy)) {
    mHasRefused = true;
    return nullptr;
  }
  *camera = std::move(read);
  ++mNumLoaded;
  return camera;
}

template <typename P>
void RigLoader<P>::loadNodes(const std::vector<const ConfigNode*>& nodes) {
  std::string why;
  for (std::size_t i = 0; i < nodes.size(); ++i) {
    mWhy.clear();
    loadOne(*nodes[i]);
    if (!mWhy.empty()) refuse(why, "camera " + std::to_string(i) + ": " + mWhy);
  }
  mWhy = why;
}

template <typename P>
void RigLoader<P>::setupCameras(const std::size_t numNodes) {
  if (!hasIds(mCamIds)) {
    AR_LOGF(Logger::DEBUG, kSource,
            "Tracking camera ids not specified (camIds.size: %zu).  Use the camera calibration "
            "from the beginning of calibration file.",
            mCamIds.size());
  }
  if (mCamIds.empty()) {
    mRig.setupEmptyCalibrationWithDefaultIds(numNodes);
  } else {
    mRig.trySetupEmptyCalibration(mCamIds);
  }
}

template <typename P>
void RigLoader<P>::reportUnloaded() const {
  for (std::size_t i = 0; i < mRig.size(); ++i) {
    if (mRig.at(i).isInitialized()) continue;
    AR_LOGF(Logger::ERR, kSource,
            "Camera with id %zu not initialized (not loaded from in the config file)", i);
  }
}

/// One camera may be the reference frame; more than one there have not been set apart.
template <typename P>
void RigLoader<P>::reportCoinciding() const {
  const auto isAtOrigin = [](const FullCamera<P>& camera) {
    return camera.isInitialized() && Math::isZero(camera.getCamReferenceToLocal().translation());
  };
  const auto atOrigin = static_cast<int>(std::count_if(mRig.begin(), mRig.end(), isAtOrigin));
  if (atOrigin < 2) return;
  AR_LOGF(Logger::WARNING, kSource,
          "%d/%zu cameras have no stereo extrinsic calibration (they're all at 0,0,0)", atOrigin,
          mRig.size());
}

template <typename P>
void RigLoader<P>::reportCounts(const ConfigNode& deviceNode) const {
  if (mNumLoaded == 0) {
    AR_LOGF(Logger::ERR, kSource, "No cameras loaded from config under element '%s'",
            deviceNode.getName().c_str());
  }
  if (!mCamIds.empty() && mNumLoaded != mCamIds.size()) {
    AR_LOGF(Logger::ERR, kSource,
            "Incorrect number of cameras loaded:  loaded: %zu  camIds size: %zu", mNumLoaded,
            mCamIds.size());
  }
}

template <typename P>
bool RigLoader<P>::load(const ConfigNode& deviceNode, const bool requireAllIds) {
  std::string deviceUID = mRig.getDeviceUID();
  readAttributes(deviceNode, "", kDeviceUID, deviceUID, mWhy);
  mRig.setDeviceUID(deviceUID);
  const std::vector<const ConfigNode*> nodes = cameraNodes(deviceNode);
  setupCameras(nodes.size());
  loadNodes(nodes);
  if (nodes.empty()) refuse(mWhy, "expected a Camera element, found none");
  // Without ids the cameras fill the rig from its start; what was skipped leaves no gap.
  if (mCamIds.empty()) mRig.mCameras.resize(mNumLoaded);
  reportUnloaded();
  reportCoinciding();
  reportCounts(deviceNode);
  const bool hasAllIds = mCamIds.empty() || mNumLoaded == mCamIds.size();
  return mNumLoaded > 0 && !mHasRefused && (hasAllIds || !requireAllIds);
}

template class RigLoader<float>;
template class RigLoader<double>;

}  // namespace AR::CV::RigFile
