#pragma once

#include <cstddef>
#include <optional>
#include <string>
#include <vector>

#include "AR/CV/Camera/CamImageId.h"
#include "AR/CV/Camera/FullCamera.h"
#include "AR/CV/Camera/XMLFormat.h"
#include "AR/Common/ArrayView.h"
#include "AR/Common/Macros.h"
#include "AR/Common/SmallVector.h"
#include "AR/Math/SE3.h"
#include "AR/Math/Vector.h"
#include "CameraModel/CameraModel.h"
#include "rectiline/CalibrationRecords.h"

class TiXmlElement;

namespace AR::Common {
class ConfigNode;
}

namespace AR::CV {

namespace RigFile {
template <typename P>
class RigLoader;
}

/// The calibration of a rig of up to six cameras in a fixed order: camera 0 is the left camera of a
/// stereo pair, camera 1 the right one. Cameras are addressed by index or by identity.
///
/// Not synchronised: a rig that one thread changes, or whose first `getCamIds` runs, is that
/// thread's alone. Without memory, members throw std::bad_alloc; a rig that was being changed then
/// holds some of it.
template <typename P>
class AR_EXPORT FullStereoCameraCalibration {
 public:
  static constexpr std::size_t kMaxCameras = RECTILINE_MAX_CAMERAS;

  /// A rig without cameras.
  explicit FullStereoCameraCalibration(const CalibrationInfo& info);

  // ---- the rig as a range over its cameras -----------------------------------------------------
  // An index that is none is reported and yields a spare camera that belongs to no rig.

  [[nodiscard]] std::size_t size() const { return mCameras.size(); }
  [[nodiscard]] bool empty() const { return mCameras.empty(); }
  [[nodiscard]] FullCamera<P>* begin() { return mCameras.begin(); }
  [[nodiscard]] FullCamera<P>* end() { return mCameras.end(); }
  [[nodiscard]] const FullCamera<P>* begin() const { return mCameras.begin(); }
  [[nodiscard]] const FullCamera<P>* end() const { return mCameras.end(); }
  [[nodiscard]] FullCamera<P>& at(std::size_t i) { return mCameras.at(i); }
  [[nodiscard]] const FullCamera<P>& at(std::size_t i) const { return mCameras.at(i); }
  [[nodiscard]] FullCamera<P>& operator[](std::size_t i) { return mCameras[i]; }
  [[nodiscard]] const FullCamera<P>& operator[](std::size_t i) const { return mCameras[i]; }
  [[nodiscard]] FullCamera<P>& back() { return mCameras.back(); }
  [[nodiscard]] const FullCamera<P>& back() const { return mCameras.back(); }

  /// The first camera with this identity. When there is none, that is logged and reported, and the
  /// result is the slot past the last camera: a camera without a name, in no rig.
  [[nodiscard]] FullCamera<P>& operator[](const CamImageId& camId);
  [[nodiscard]] const FullCamera<P>& operator[](const CamImageId& camId) const;

  // ---- identity ---------------------------------------------------------------------------------

  [[nodiscard]] const CalibrationInfo& getInfo() const { return mInfo; }
  void setInfo(const CalibrationInfo& info) { mInfo = info; }

  /// The device's unique identifier; empty unless set.
  [[nodiscard]] const std::string& getDeviceUID() const { return mDeviceUID; }
  void setDeviceUID(std::string deviceUID);

  /// True when there is a camera and all cameras are initialised.
  [[nodiscard]] bool isInitialized() const;

  /// The identities of all cameras, owned by this rig. They are collected at the first call and
  /// never again: an identity changed since then is reported, and the old list returned.
  [[nodiscard]] Common::ArrayView<CamImageId> getCamIds() const;

  /// True when no ids are given or any of them begins with "default_cam_".
  [[nodiscard]] static bool noCameraIdsProvided(Common::ArrayView<const CamImageId> ids);

  // ---- making a rig -----------------------------------------------------------------------------

  /// Makes n fresh cameras "default_cam_0", "default_cam_1" and so on. Reported: a rig that already
  /// has cameras (they are replaced), more than six (six are made).
  void setupEmptyCalibrationWithDefaultIds(std::size_t n);

  /// Gives an empty rig one fresh camera for each id; another rig is left as it is. Every id that
  /// the rig then does not have is reported; true when it has all of them.
  bool trySetupEmptyCalibration(Common::ArrayView<const CamImageId> ids);

  /// The cameras whose identities are in `camIds`, or all when that is empty, in this rig's order
  /// and in the given precision, with the same info and UID. Unknown ids are skipped.
  template <typename PRECTO>
  [[nodiscard]] FullStereoCameraCalibration<PRECTO> selectCameras(
      Common::ArrayView<const CamImageId> camIds) const;

  /// Sets the intrinsics of cameras 0 to models.size() - 1. True when all were accepted; a model
  /// without a camera is reported and counts as refused. Every camera is tried.
  [[nodiscard]] bool initIntrinsicsMT(Common::ArrayView<const CamModel::CameraModel<P>> models);

  /// A model from an old vector of eight coefficients (two radial, two tangential, four radial);
  /// size (width, height), focal length and principal point in pixels. Its limits are computed for
  /// a field of view of 180 degrees.
  [[nodiscard]] static CamModel::CameraModel<P> initIntrinsics(
      const Math::Vec<P, 8>& distortion, bool isFisheye, const Math::Vec<int, 2>& imageSize,
      const Math::Vec<P, 2>& focalLength, const Math::Vec<P, 2>& principalPoint);

  /// Converts the records, spread over the worker pool, into as many cameras and takes `info`. A
  /// rig with another number of cameras, if not empty, is reported and replaced. Records past the
  /// sixth are reported and skipped. Failures per camera as in `FullCamera::setFromIdl`.
  void setFromIdl(Common::ArrayView<const CameraCalibrationZEL> cams, const CalibrationInfo& info);

  // ---- calibration XML --------------------------------------------------------------------------

  /// Writes the rig (not its UID) as an XML document with root "DeviceConfiguration". False when
  /// the file could not be written.
  [[nodiscard]] bool saveCalibration(const std::string& filename) const;

  /// Appends one "Camera" element per camera to `deviceConfig`.
  void saveCalibration(TiXmlElement* deviceConfig, bool useLieElement, bool writeNameAndId,
                       XMLFormat format) const;

  // ---- device configuration ---------------------------------------------------------------------
  // Each loader logs what it refuses. Missing optional sections leave the output as it was.

  /// Fills the rig from a device node. With `camIds` only these cameras are taken; `requireAllIds`
  /// asks that every one of them was found. False when the rig could not be loaded.
  [[nodiscard]] bool loadCameraCalibFromDeviceConfig(const Common::ConfigNode& deviceNode,
                                                     Common::ArrayView<const CamImageId> camIds,
                                                     bool requireAllIds);

  /// Reads one camera node into the rig. The model that was read, or nothing when the camera was
  /// refused or is not asked for.
  [[nodiscard]] std::optional<CamModel::CameraModel<P>> loadOneCamera(
      const Common::ConfigNode& cameraNode, Common::ArrayView<const CamImageId> camIds);

  /// False when a "CaptureDetails" child lacks an attribute; those before it have been read.
  [[nodiscard]] static bool loadCaptureDetails(const Common::ConfigNode& cameraNode,
                                               CaptureDetails& captureDetails);

  /// `lineTime` in seconds per row. False for a rolling shutter without a positive line time.
  [[nodiscard]] static bool loadRollingShutterConfig(const Common::ConfigNode& cameraNode,
                                                     bool& isRollingShutter, P& lineTime);

  /// Reads T_local_ref, given as a Lie element or as rotation and translation. False when it is
  /// missing, given twice, malformed, or no rotation.
  [[nodiscard]] static bool loadStereoExtrinsics(const Common::ConfigNode& node,
                                                 Math::SE3<P>& pose);

  /// `delta` in seconds. False when a "TimeAlignment" child has no readable "delta".
  [[nodiscard]] static bool loadTimeAlignment(const Common::ConfigNode& cameraNode, double& delta);

 private:
  template <typename>
  friend class FullStereoCameraCalibration;
  friend class RigFile::RigLoader<P>;

  [[nodiscard]] bool hasCamera(std::size_t i) const;

  Common::SmallVector<FullCamera<P>, kMaxCameras> mCameras;
  std::string mDeviceUID;
  CalibrationInfo mInfo;
  mutable std::vector<CamImageId> camIdVec;
};

extern template class FullStereoCameraCalibration<float>;
extern template class FullStereoCameraCalibration<double>;

}  // namespace AR::CV
