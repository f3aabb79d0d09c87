// Loading a rig from a device configuration: which camera node fills which camera.

#include <algorithm>

#include "AR/CV/Camera/StereoCamera.h"
#include "AR/Common/ConfigNode.h"
#include "AR/Common/Logger.h"
#include "AR/Common/Macros.h"
#include "CameraConfig.h"

namespace AR::CV {
namespace {

using Common::ArrayView;
using Common::ConfigNode;
using Common::Logger;
using Common::ParseResult;

constexpr char kSource[] = "CV/src/Camera/StereoCamera";

template <typename P>
FullCamera<P>* firstUnloaded(FullStereoCameraCalibration<P>& rig) {
  FullCamera<P>* const found = std::find_if(
      rig.begin(), rig.end(), [](const FullCamera<P>& camera) { return !camera.isInitialized(); });
  return found == rig.end() ? nullptr : found;
}

template <typename P>
FullCamera<P>* findById(FullStereoCameraCalibration<P>& rig, const CamImageId& id) {
  FullCamera<P>* const found =
      std::find_if(rig.begin(), rig.end(),
                   [&id](const FullCamera<P>& camera) { return camera.getCamId() == id; });
  return found == rig.end() ? nullptr : found;
}

/// The camera that a node is to fill, and the identity it gets.
template <typename P>
struct Slot {
  FullCamera<P>* camera = nullptr;  // null: the node is to be skipped
  CamImageId id;
};

/// Refuses a slot that an earlier node has filled.
template <typename P>
Slot<P> unlessLoaded(const Slot<P>& slot, const std::string& name) {
  if (slot.camera == nullptr || !slot.camera->isInitialized()) return slot;
  AR_LOGF(Logger::ERR, kSource,
          "Camera %s is already initialized--is there a duplicate id in the config file?",
          name.c_str());
  return {};
}

template <typename P>
Slot<P> namedSlot(FullStereoCameraCalibration<P>& rig, const std::string& name,
                  ArrayView<const CamImageId> camIds) {
  const CamImageId id(name.c_str());
  FullCamera<P>* const same = findById(rig, id);
  const bool isLoaded = same != nullptr && same->isInitialized();
  const bool anyName = FullStereoCameraCalibration<P>::noCameraIdsProvided(camIds);
  if (isLoaded || !anyName) return unlessLoaded<P>({same, id}, name);
  return {firstUnloaded(rig), id};
}

template <typename P>
Slot<P> namelessSlot(FullStereoCameraCalibration<P>& rig, ArrayView<const CamImageId> camIds) {
  if (FullStereoCameraCalibration<P>::noCameraIdsProvided(camIds)) {
    AR_LOGF(Logger::DEBUG, kSource,
            "FullStereoCameraCalibration::loadOneCamera:  Use default camera name as the loaded "
            "camId.  camIds.size:%zu",
            camIds.size());
  } else {
    AR_LOG(Logger::DEBUG, kSource,
           "FullStereoCameraCalibration::loadOneCamera:  cam_name attribute not found.  Use camId "
           "specified during track_6dof_init as id.");
  }
  FullCamera<P>* const camera = firstUnloaded(rig);
  return camera == nullptr ? Slot<P>{} : Slot<P>{camera, camera->getCamId()};
}

template <typename P>
Slot<P> slotOf(FullStereoCameraCalibration<P>& rig, const ConfigNode& cameraNode,
               ArrayView<const CamImageId> camIds) {
  for (std::size_t i = 0; i < camIds.size(); ++i) {
    AR_LOGF(Logger::DEBUG, kSource,
            "FullStereoCameraCalibration::loadOneCamera:  camIds[%zu].name: %s", i,
            std::string(camIds[i].getName()).c_str());
  }
  std::string name;
  const ParseResult hasName =
      cameraNode.ifExistsGetDescendentAttribute("cam_name", name, "name of the camera");
  return hasName == ParseResult::Exists ? namedSlot(rig, name, camIds) : namelessSlot(rig, camIds);
}

/// Number of cameras that were not set apart from the reference frame.
template <typename P>
int camerasAtOrigin(const FullStereoCameraCalibration<P>& rig) {
  return static_cast<int>(std::count_if(rig.begin(), rig.end(), [](const FullCamera<P>& camera) {
    return camera.isInitialized() && Math::isZero(camera.getCamReferenceToLocal().translation());
  }));
}

template <typename P>
std::size_t countLoaded(const FullStereoCameraCalibration<P>& rig) {
  return static_cast<std::size_t>(std::count_if(
      rig.begin(), rig.end(), [](const FullCamera<P>& camera) { return camera.isInitialized(); }));
}

/// Reports every camera that was asked for and not found, and a rig whose cameras coincide.
template <typename P>
void reportIncomplete(const FullStereoCameraCalibration<P>& rig) {
  for (std::size_t i = 0; i < rig.size(); ++i) {
    if (rig.at(i).isInitialized()) continue;
    AR_LOGF(Logger::ERR, kSource,
            "Camera with id %zu not initialized (not loaded from in the config file)", i);
  }
  const int atOrigin = camerasAtOrigin(rig);
  if (atOrigin > 1) {
    AR_LOGF(Logger::WARNING, kSource,
            "%d/%zu cameras have no stereo extrinsic calibration (they're all at 0,0,0)", atOrigin,
            rig.size());
  }
}

std::size_t countCameraNodes(const ConfigNode& deviceNode) {
  std::size_t count = 0;
  for (std::size_t i = 0; i < deviceNode.getNumChildren(); ++i) {
    count += deviceNode.getChildAt(i)->getName() == "Camera" ? 1 : 0;
  }
  return count;
}

enum class NodeOutcome { Loaded, Skipped, Refused };

/// Fills the camera that `cameraNode` is meant for; `model` is set when it was loaded.
template <typename P>
NodeOutcome loadNode(FullStereoCameraCalibration<P>& rig, const ConfigNode& cameraNode,
                     ArrayView<const CamImageId> camIds,
                     std::optional<CamModel::CameraModel<P>>& model) {
  const Slot<P> slot = slotOf(rig, cameraNode, camIds);
  if (slot.camera == nullptr) return NodeOutcome::Skipped;
  AR_LOGF(
      Logger::DEBUG, kSource,
      "FullStereoCameraCalibration::loadOneCamera:  Loading camera calibration from config file "
      "(name %s)",
      std::string(slot.id.getName()).c_str());
  CameraConfig<P> config;
  if (!loadCameraConfig(cameraNode, config)) return NodeOutcome::Refused;
  const bool ok =
      slot.camera->init(config.model, config.T_local_ref, slot.id, config.isRollingShutter,
                        config.lineTime, config.captureDetails, config.delta);
  if (!ok) return NodeOutcome::Refused;
  model = config.model;
  return NodeOutcome::Loaded;
}

/// Loads every camera node; false when one was refused.
template <typename P>
bool loadNodes(FullStereoCameraCalibration<P>& rig, const ConfigNode& deviceNode,
               ArrayView<const CamImageId> camIds) {
  bool noneRefused = true;
  for (std::size_t i = 0; i < deviceNode.getNumChildren(); ++i) {
    const ConfigNode& node = *deviceNode.getChildAt(i);
    std::optional<CamModel::CameraModel<P>> model;
    if (node.getName() != "Camera") continue;
    if (loadNode(rig, node, camIds, model) == NodeOutcome::Refused) noneRefused = false;
  }
  return noneRefused;
}

}  // namespace

template <typename P>
std::optional<CamModel::CameraModel<P>> FullStereoCameraCalibration<P>::loadOneCamera(
    const ConfigNode& cameraNode, ArrayView<const CamImageId> camIds) {
  std::optional<CamModel::CameraModel<P>> model;
  loadNode(*this, cameraNode, camIds, model);
  return model;
}

template <typename P>
bool FullStereoCameraCalibration<P>::loadCameraCalibFromDeviceConfig(
    const ConfigNode& deviceNode, ArrayView<const CamImageId> camIds, bool requireAllIds) {
  const CalibrationInfo& origin = getInfo();
  AR_CHECK(origin.getOrigin() == CalibrationInfo::UNKNOWN,
           "origin.getOrigin() == CalibrationInfo::UNKNOWN", kSource);
  AR_LOGF(Logger::DEBUG, kSource, "deviceNode.getName '%s',  deviceNode.getNumChildren %zu",
          deviceNode.getName().c_str(), deviceNode.getNumChildren());
  if (noCameraIdsProvided(camIds)) {
    AR_LOGF(Logger::DEBUG, kSource,
            "Tracking camera ids not specified (camIds.size: %zu).  Use the camera calibration "
            "from the beginning of calibration file.",
            camIds.size());
  }
  if (camIds.empty()) {
    setupEmptyCalibrationWithDefaultIds(countCameraNodes(deviceNode));
  } else {
    trySetupEmptyCalibration(camIds);
  }
  deviceNode.ifExistsGetDescendentAttribute("deviceUID", mDeviceUID, "unique id of the device");
  const bool noneRefused = loadNodes(*this, deviceNode, camIds);
  const std::size_t loaded = countLoaded(*this);
  // Without ids the cameras fill the rig from its start; what was skipped leaves no gap.
  if (camIds.empty()) mCameras.resize(loaded);
  reportIncomplete(*this);
  if (loaded == 0) {
    AR_LOGF(Logger::ERR, kSource, "No cameras loaded from config under element '%s'",
            deviceNode.getName().c_str());
    return false;
  }
  const bool foundAll = camIds.empty() || loaded == camIds.size();
  if (!foundAll) {
    AR_LOGF(Logger::ERR, kSource,
            "Incorrect number of cameras loaded:  loaded: %zu  camIds size: %zu", loaded,
            camIds.size());
  }
  return noneRefused && (foundAll || !requireAllIds);
}

#define AR_INSTANTIATE(P)                                                                         \
  template std::optional<CamModel::CameraModel<P>> FullStereoCameraCalibration<P>::loadOneCamera( \
      const ConfigNode&, ArrayView<const CamImageId>);                                            \
  template bool FullStereoCameraCalibration<P>::loadCameraCalibFromDeviceConfig(                  \
      const ConfigNode&, ArrayView<const CamImageId>, bool);
AR_INSTANTIATE(float)
AR_INSTANTIATE(double)
#undef AR_INSTANTIATE

}  // namespace AR::CV
