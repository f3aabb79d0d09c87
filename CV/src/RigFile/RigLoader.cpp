// Loading a rig from a device configuration: which camera node fills which camera.

#include <algorithm>
#include <utility>
#include <vector>

#include "AR/CV/RigDocument.h"
#include "AR/Common/Logger.h"
#include "AR/Common/Macros.h"
#include "AttributeTable.h"
#include "Camera/FindCamera.h"
#include "RigFile.h"

namespace AR::CV {
namespace RigFile {
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

/// One camera may be the reference frame; more than one there have not been set apart.
template <typename P>
void reportCoinciding(const FullStereoCameraCalibration<P>& rig) {
  const auto isAtOrigin = [](const FullCamera<P>& camera) {
    return camera.isInitialized() && Math::isZero(camera.getCamReferenceToLocal().translation());
  };
  const auto atOrigin = static_cast<int>(std::count_if(rig.begin(), rig.end(), isAtOrigin));
  if (atOrigin < 2) return;
  AR_LOGF(Logger::WARNING, kSource,
          "%d/%zu cameras have no stereo extrinsic calibration (they're all at 0,0,0)", atOrigin,
          rig.size());
}

}  // namespace

/// Fills the cameras of a rig from the nodes of a document. Given ids say which cameras are wanted.
template <typename P>
class RigLoader {
 public:
  using Rig = FullStereoCameraCalibration<P>;

  RigLoader(Rig& rig, const Ids camIds) : mRig(rig), mCamIds(camIds) {}

  /// Fills the rig, "deviceUID" included, from all "Camera" children of `deviceNode`. True when
  /// some were loaded and none refused, and, with `requireAllIds`, every camera that was asked for
  /// is among them.
  [[nodiscard]] bool load(const ConfigNode& deviceNode, const bool requireAllIds) {
    std::string deviceUID = mRig.getDeviceUID();
    readAttributes(deviceNode, "", kDeviceUID, deviceUID, mWhy);
    mRig.setDeviceUID(deviceUID);
    loadNodes(deviceNode);
    reportCoinciding(mRig);
    if (mNumLoaded == 0) {
      AR_LOGF(Logger::ERR, kSource, "No cameras loaded from config under element '%s'",
              deviceNode.getName().c_str());
    }
    const bool hasAllIds = mCamIds.empty() || mNumLoaded == mCamIds.size();
    if (!hasAllIds) {
      AR_LOGF(Logger::ERR, kSource,
              "Incorrect number of cameras loaded:  loaded: %zu  camIds size: %zu", mNumLoaded,
              mCamIds.size());
    }
    return mNumLoaded > 0 && !mHasRefused && (hasAllIds || !requireAllIds);
  }

  /// Fills the camera that a node is meant for; null when it is none of this rig, or refused. A
  /// camera whose node is refused stays as it was.
  const FullCamera<P>* loadOne(const ConfigNode& cameraNode) {
    logIds(mCamIds);
    const CamImageId id = identityOf(cameraNode);
    FullCamera<P>* const camera = cameraFor(id);
    if (camera == nullptr) return nullptr;
    AR_LOGF(Logger::DEBUG, kSource,
            "FullStereoCameraCalibration::loadOneCamera:  Loading camera calibration from config "
            "file (name %s)",
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

  /// Why the first node that filled no camera did not, although nobody asked to leave it out; or
  /// what was let pass of the first that should not have.
  [[nodiscard]] const std::string& why() const { return mWhy; }

 private:
  void setupCameras(const std::size_t numNodes) {
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

  void loadNodes(const ConfigNode& deviceNode) {
    std::vector<const ConfigNode*> nodes;
    for (std::size_t i = 0; i < deviceNode.getNumChildren(); ++i) {
      const ConfigNode* const child = deviceNode.getChildAt(i);
      if (child->getName() == kCameraElement) nodes.push_back(child);
    }
    setupCameras(nodes.size());
    std::string why;
    for (std::size_t i = 0; i < nodes.size(); ++i) {
      mWhy.clear();
      loadOne(*nodes[i]);
      if (!mWhy.empty()) refuse(why, "camera " + std::to_string(i) + ": " + mWhy);
    }
    mWhy = why;
    if (nodes.empty()) refuse(mWhy, "expected a Camera element, found none");
    // Without ids the cameras fill the rig from its start; what was skipped leaves no gap.
    if (mCamIds.empty()) mRig.mCameras.resize(mNumLoaded);
    for (std::size_t i = 0; i < mRig.size(); ++i) {
      if (mRig.at(i).isInitialized()) continue;
      AR_LOGF(Logger::ERR, kSource,
              "Camera with id %zu not initialized (not loaded from in the config file)", i);
    }
  }

  /// The identity of a camera node: its own, or that of the next camera to load. Empty without
  /// both.
  [[nodiscard]] CamImageId identityOf(const ConfigNode& cameraNode) {
    std::string name;
    readAttributes(cameraNode, "", kName, name, mWhy);
    if (!name.empty()) return CamImageId(name.c_str());
    logNameless(mCamIds);
    const FullCamera<P>* const next = findUnloaded(mRig);
    return next == nullptr ? CamImageId() : next->getCamId();
  }

  /// The camera that a node of this identity is to fill; null when it is to be skipped.
  [[nodiscard]] FullCamera<P>* cameraFor(const CamImageId& id) {
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

  Rig& mRig;
  const Ids mCamIds;
  std::size_t mNumLoaded = 0;
  bool mHasRefused = false;
  std::string mWhy;
};

}  // namespace RigFile

template <typename P>
bool FullStereoCameraCalibration<P>::loadCameraCalibFromDeviceConfig(
    const Common::ConfigNode& deviceNode, const Common::ArrayView<const CamImageId> camIds,
    const bool requireAllIds) {
  const CalibrationInfo& origin = mInfo;
  AR_CHECK(origin.getOrigin() == CalibrationInfo::UNKNOWN,
           "origin.getOrigin() == CalibrationInfo::UNKNOWN", RigFile::kSource);
  AR_LOGF(Common::Logger::DEBUG, RigFile::kSource,
          "deviceNode.getName '%s',  deviceNode.getNumChildren %zu", deviceNode.getName().c_str(),
          deviceNode.getNumChildren());
  return RigFile::RigLoader<P>(*this, camIds).load(deviceNode, requireAllIds);
}

template <typename P>
std::optional<CamModel::CameraModel<P>> FullStereoCameraCalibration<P>::loadOneCamera(
    const Common::ConfigNode& cameraNode, const Common::ArrayView<const CamImageId> camIds) {
  const FullCamera<P>* const camera = RigFile::RigLoader<P>(*this, camIds).loadOne(cameraNode);
  if (camera == nullptr) return std::nullopt;
  return camera->getIntrinsics().getCamModel();
}

#define AR_INSTANTIATE(P)                                                                         \
  template bool FullStereoCameraCalibration<P>::loadCameraCalibFromDeviceConfig(                  \
      const Common::ConfigNode&, Common::ArrayView<const CamImageId>, bool);                      \
  template std::optional<CamModel::CameraModel<P>> FullStereoCameraCalibration<P>::loadOneCamera( \
      const Common::ConfigNode&, Common::ArrayView<const CamImageId>);
AR_INSTANTIATE(float)
AR_INSTANTIATE(double)
#undef AR_INSTANTIATE

bool tryRigFromXml(const char* const bytes, const std::size_t size,
                   FullStereoCameraCalibration<double>& rig, std::string& why) {
  why.clear();
  Common::ConfigNode config;
  if (bytes == nullptr) return RigFile::refuse(why, "expected a document, found none");
  if (!config.trySetFromXML({bytes, size}, why)) return false;
  if (config.getName() != RigFile::kRootElement) {
    return RigFile::refuse(why, std::string("expected the root element ") + RigFile::kRootElement +
                                    ", found " + RigFile::shown(config.getName()));
  }
  FullStereoCameraCalibration<double> loaded(CalibrationInfo(CalibrationInfo::UNKNOWN, 0));
  RigFile::RigLoader<double> loader(loaded, {});
  const bool isLoaded = loader.load(config, false);
  why = loader.why();
  // A camera that was left out is missing to a caller who asked for all of them.
  if (!isLoaded || !why.empty()) return false;
  rig = std::move(loaded);
  return true;
}

}  // namespace AR::CV
