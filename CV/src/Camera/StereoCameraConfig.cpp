// Loading a rig from a device configuration: which camera node fills which camera.

#include <algorithm>
#include <optional>
#include <string>
#include <utility>
#include <vector>

#include "AR/Common/Macros.h"
#include "CameraConfig.h"
#include "ConfigReading.h"

namespace AR::CV {
namespace {

using Common::ArrayView;
using Common::ConfigNode;
using Common::Logger;

template <typename P>
using Rig = FullStereoCameraCalibration<P>;

std::string nameOf(const CamImageId& id) { return std::string(id.getName()); }

template <typename P, typename PREDICATE>
FullCamera<P>* findCamera(Rig<P>& rig, const PREDICATE& predicate) {
  FullCamera<P>* const found = std::find_if(rig.begin(), rig.end(), predicate);
  return found == rig.end() ? nullptr : found;
}

template <typename P>
FullCamera<P>* findUnloaded(Rig<P>& rig) {
  return findCamera(rig, [](const FullCamera<P>& camera) { return !camera.isInitialized(); });
}

void logIds(const ArrayView<const CamImageId> camIds) {
  for (std::size_t i = 0; i < camIds.size(); ++i) {
    AR_LOGF(Logger::DEBUG, kConfigSource,
            "FullStereoCameraCalibration::loadOneCamera:  camIds[%zu].name: %s", i,
            nameOf(camIds[i]).c_str());
  }
}

void logNameless(const ArrayView<const CamImageId> camIds) {
  if (Rig<float>::noCameraIdsProvided(camIds)) {
    AR_LOGF(Logger::DEBUG, kConfigSource,
            "FullStereoCameraCalibration::loadOneCamera:  Use default camera name as the loaded "
            "camId.  camIds.size:%zu",
            camIds.size());
  } else {
    AR_LOG(Logger::DEBUG, kConfigSource,
           "FullStereoCameraCalibration::loadOneCamera:  cam_name attribute not found.  Use camId "
           "specified during track_6dof_init as id.");
  }
}

/// The identity of a camera node: its own, or that of the next camera to load. Empty without both.
template <typename P>
CamImageId identityOf(const ConfigNode& cameraNode, Rig<P>& rig,
                      const ArrayView<const CamImageId> camIds) {
  std::string name;
  readConfig(cameraNode, "cam_name", name, "name of the camera");
  if (!name.empty()) return CamImageId(name.c_str());
  logNameless(camIds);
  const FullCamera<P>* const next = findUnloaded(rig);
  return next == nullptr ? CamImageId() : next->getCamId();
}

/// The camera that a node of this identity is to fill; null when it is to be skipped.
template <typename P>
FullCamera<P>* cameraFor(const CamImageId& id, Rig<P>& rig,
                         const ArrayView<const CamImageId> camIds) {
  FullCamera<P>* const same =
      findCamera(rig, [&id](const FullCamera<P>& camera) { return camera.getCamId() == id; });
  if (same != nullptr && same->isInitialized()) {
    AR_LOGF(Logger::ERR, kConfigSource,
            "Camera %s is already initialized--is there a duplicate id in the config file?",
            nameOf(id).c_str());
    return nullptr;
  }
  return Rig<P>::noCameraIdsProvided(camIds) ? findUnloaded(rig) : same;
}

enum class Outcome { Loaded, Skipped, Refused };

/// Fills the camera that a node is meant for, and points `loaded` to it. A camera whose node is
/// refused stays as it was.
template <typename P>
Outcome loadNode(const ConfigNode& cameraNode, Rig<P>& rig,
                 const ArrayView<const CamImageId> camIds, const FullCamera<P>*& loaded) {
  logIds(camIds);
  const CamImageId id = identityOf(cameraNode, rig, camIds);
  FullCamera<P>* const camera = cameraFor(id, rig, camIds);
  if (camera == nullptr) return Outcome::Skipped;
  AR_LOGF(
      Logger::DEBUG, kConfigSource,
      "FullStereoCameraCalibration::loadOneCamera:  Loading camera calibration from config file "
      "(name %s)",
      nameOf(id).c_str());
  FullCamera<P> read;
  if (!loadCameraConfig(cameraNode, id, read)) return Outcome::Refused;
  *camera = std::move(read);
  loaded = camera;
  return Outcome::Loaded;
}

std::vector<const ConfigNode*> cameraNodes(const ConfigNode& deviceNode) {
  std::vector<const ConfigNode*> nodes;
  for (std::size_t i = 0; i < deviceNode.getNumChildren(); ++i) {
    const ConfigNode* const child = deviceNode.getChildAt(i);
    if (child->getName() == "Camera") nodes.push_back(child);
  }
  return nodes;
}

struct Counts {
  std::size_t loaded = 0;
  std::size_t refused = 0;
};

template <typename P>
Counts loadNodes(const std::vector<const ConfigNode*>& nodes, Rig<P>& rig,
                 const ArrayView<const CamImageId> camIds) {
  Counts counts;
  for (const ConfigNode* node : nodes) {
    const FullCamera<P>* loaded = nullptr;
    const Outcome outcome = loadNode(*node, rig, camIds, loaded);
    counts.loaded += outcome == Outcome::Loaded;
    counts.refused += outcome == Outcome::Refused;
  }
  return counts;
}

template <typename P>
void reportUnloaded(const Rig<P>& rig) {
  for (std::size_t i = 0; i < rig.size(); ++i) {
    if (rig.at(i).isInitialized()) continue;
    AR_LOGF(Logger::ERR, kConfigSource,
            "Camera with id %zu not initialized (not loaded from in the config file)", i);
  }
}

/// One camera may be the reference frame; more than one there have not been set apart.
template <typename P>
void reportCoinciding(const Rig<P>& rig) {
  const auto isAtOrigin = [](const FullCamera<P>& camera) {
    return camera.isInitialized() && Math::isZero(camera.getCamReferenceToLocal().translation());
  };
  const auto atOrigin = static_cast<int>(std::count_if(rig.begin(), rig.end(), isAtOrigin));
  if (atOrigin < 2) return;
  AR_LOGF(Logger::WARNING, kConfigSource,
          "%d/%zu cameras have no stereo extrinsic calibration (they're all at 0,0,0)", atOrigin,
          rig.size());
}

void reportCounts(const ConfigNode& deviceNode, const std::size_t loaded,
                  const ArrayView<const CamImageId> camIds) {
  if (loaded == 0) {
    AR_LOGF(Logger::ERR, kConfigSource, "No cameras loaded from config under element '%s'",
            deviceNode.getName().c_str());
  }
  if (!camIds.empty() && loaded != camIds.size()) {
    AR_LOGF(Logger::ERR, kConfigSource,
            "Incorrect number of cameras loaded:  loaded: %zu  camIds size: %zu", loaded,
            camIds.size());
  }
}

template <typename P>
void setupCameras(Rig<P>& rig, const std::size_t numNodes,
                  const ArrayView<const CamImageId> camIds) {
  if (Rig<P>::noCameraIdsProvided(camIds)) {
    AR_LOGF(Logger::DEBUG, kConfigSource,
            "Tracking camera ids not specified (camIds.size: %zu).  Use the camera calibration "
            "from the beginning of calibration file.",
            camIds.size());
  }
  if (camIds.empty()) {
    rig.setupEmptyCalibrationWithDefaultIds(numNodes);
  } else {
    rig.trySetupEmptyCalibration(camIds);
  }
}

}  // namespace

template <typename P>
std::optional<CamModel::CameraModel<P>> FullStereoCameraCalibration<P>::loadOneCamera(
    const ConfigNode& cameraNode, const ArrayView<const CamImageId> camIds) {
  const FullCamera<P>* loaded = nullptr;
  if (loadNode(cameraNode, *this, camIds, loaded) != Outcome::Loaded) return std::nullopt;
  return loaded->getIntrinsics().getCamModel();
}

template <typename P>
bool FullStereoCameraCalibration<P>::loadCameraCalibFromDeviceConfig(
    const ConfigNode& deviceNode, const ArrayView<const CamImageId> camIds,
    const bool requireAllIds) {
  const CalibrationInfo& origin = mInfo;
  AR_CHECK(origin.getOrigin() == CalibrationInfo::UNKNOWN,
           "origin.getOrigin() == CalibrationInfo::UNKNOWN", kConfigSource);
  AR_LOGF(Logger::DEBUG, kConfigSource, "deviceNode.getName '%s',  deviceNode.getNumChildren %zu",
          deviceNode.getName().c_str(), deviceNode.getNumChildren());
  readConfig(deviceNode, "deviceUID", mDeviceUID, "unique id of the device");
  const std::vector<const ConfigNode*> nodes = cameraNodes(deviceNode);
  setupCameras(*this, nodes.size(), camIds);
  const Counts counts = loadNodes(nodes, *this, camIds);
  // Without ids the cameras fill the rig from its start; what was skipped leaves no gap.
  if (camIds.empty()) mCameras.resize(counts.loaded);
  reportUnloaded(*this);
  reportCoinciding(*this);
  reportCounts(deviceNode, counts.loaded, camIds);
  const bool hasAllIds = camIds.empty() || counts.loaded == camIds.size();
  return counts.loaded > 0 && counts.refused == 0 && (hasAllIds || !requireAllIds);
}

template std::optional<CamModel::CameraModel<float>>
FullStereoCameraCalibration<float>::loadOneCamera(const ConfigNode&, ArrayView<const CamImageId>);
template bool FullStereoCameraCalibration<float>::loadCameraCalibFromDeviceConfig(
    const ConfigNode&, ArrayView<const CamImageId>, bool);
template std::optional<CamModel::CameraModel<double>>
FullStereoCameraCalibration<double>::loadOneCamera(const ConfigNode&, ArrayView<const CamImageId>);
template bool FullStereoCameraCalibration<double>::loadCameraCalibFromDeviceConfig(
    const ConfigNode&, ArrayView<const CamImageId>, bool);

}  // namespace AR::CV
