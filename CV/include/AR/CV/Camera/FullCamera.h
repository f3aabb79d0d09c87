#pragma once

#include <array>
#include <cstdint>
#include <memory>
#include <string>
#include <string_view>

#include "AR/CV/Camera/CamImageId.h"
#include "AR/CV/Camera/Camera.h"
#include "AR/CV/Camera/XMLFormat.h"
#include "AR/Common/Macros.h"
#include "AR/Math/SE3.h"
#include "AR/Math/Vector.h"
#include "CameraModel/CameraModel.h"
#include "rectiline/CalibrationRecords.h"

class TiXmlElement;

namespace AR::CV {

/// How the rows of a sensor are exposed one after the other.
template <typename P>
struct RollingShutterCorrector {
  bool isRollingShutter = false;
  P lineTime = 0;         // seconds per sensor row
  P centerRow = 0;        // pixels: the row about which the skew is measured
  std::int32_t mode = 1;  // the only mode there is
  std::array<P, 12> workingState{};
};

/// One camera of a device: intrinsics, pose, identity, rolling shutter, how its image was cropped,
/// and a time offset.
///
/// Every operation that may be called only on an initialised camera checks that; on another camera
/// it reports and goes on with what is stored. Without memory, members throw std::bad_alloc.
template <typename P>
class AR_EXPORT FullCamera {
 public:
  using IntrinsicCamera = Camera<P>;
  using Vec2 = Math::Vec<P, 2>;
  using Vec3 = Math::Vec<P, 3>;

  static constexpr std::int32_t UNINIT = -1;

  /// A camera without name, intrinsics or rolling shutter, in the reference frame.
  FullCamera() : FullCamera(CamImageId("")) {}

  /// As the default camera, with an identity.
  explicit FullCamera(const CamImageId& id);

  /// Sets everything. `camReferenceToLocal` reads x_local = R x_ref + t (metres), `lineTime` is in
  /// seconds per row, `delta` in seconds. False when the intrinsics were refused (reported by
  /// `Camera::init`); the camera then has none, and the rest is stored.
  [[nodiscard]] bool init(const CamModel::CameraModel<P>& model,
                          const Math::SE3<P>& camReferenceToLocal, const CamImageId& id,
                          bool isRollingShutter, P lineTime, const CaptureDetails& captureDetails,
                          double delta);

  /// As `init`, the intrinsics untouched; `imageSize` is (width, height) in pixels. Always true.
  bool initExtrinsics(const std::array<P, 2>& imageSize, const Math::SE3<P>& camReferenceToLocal,
                      const CamImageId& id, bool isRollingShutter, P lineTime,
                      const CaptureDetails& captureDetails, double delta);

  /// Sets the intrinsics alone. False as for `init`.
  [[nodiscard]] bool initIntrinsics(const CamModel::CameraModel<P>& model);

  void setExtrinsics(const Math::SE3<P>& camReferenceToLocal);
  void setCamId(const CamImageId& id);

  /// Drops the intrinsics with their splines; everything else stays.
  void clearIntrinsics();

  /// True when the camera has a name and intrinsics.
  [[nodiscard]] bool isInitialized() const;

  /// True when both splines hold data over a positive range; they are made of valid coefficients
  /// only.
  [[nodiscard]] bool hasIntrinsics() const;

  /// The intrinsics, owned by this camera. Checked: "isInitialized()".
  [[nodiscard]] const IntrinsicCamera& getIntrinsics() const;

  /// T_local_ref: x_local = R x_ref + t, metres. Checked: "isInitialized()".
  [[nodiscard]] const Math::SE3<P>& getCamReferenceToLocal() const;

  /// T_ref_local, the inverse pose, computed on each call. Checked: "isInitialized()".
  [[nodiscard]] Math::SE3<P> getLocalToCamReference() const;

  /// T_local_world of a T_ref_world: the world's pose in this camera's frame.
  [[nodiscard]] Math::SE3<P> getWorldInCamLocal(const Math::SE3<P>& worldInCamReference) const;

  [[nodiscard]] const CamImageId& getCamId() const { return mCamId; }

  /// The camera's name, not owned: valid as long as this camera's identity.
  [[nodiscard]] std::string_view getName() const { return mCamId.getName(); }
  [[nodiscard]] std::string getNameStr() const { return std::string(getName()); }

  [[nodiscard]] RollingShutterCorrector<P>& getRSCorrector() { return mRSCorrector; }
  [[nodiscard]] const RollingShutterCorrector<P>& getRSCorrector() const { return mRSCorrector; }
  [[nodiscard]] const CaptureDetails& getCaptureDetails() const { return mCaptureDetails; }

  /// The camera's time offset, carried along, seconds.
  [[nodiscard]] double getDelta() const { return mDelta; }

  /// Projects a point of the device's reference frame (metres) to this camera's distorted pixel.
  /// False, `camPos` unchanged, when the point is less than 0.01 m in front of the camera or
  /// outside the range of the distortion. Values that are not finite are reported.
  [[nodiscard]] bool projectCameraToDevicePix(const Vec3& objPos_c, Vec2& camPos) const;

  /// Hash of focal terms and pose, started from `seed`; name, shutter, capture details and delta do
  /// not take part. FNV-1a (Fowler, Noll & Vo) over the bytes in memory.
  [[nodiscard]] std::uint64_t getHash(std::uint64_t seed) const;

  /// This camera in another precision. The splines are fitted anew, from the converted model; a
  /// model that the other precision refuses leaves that camera without intrinsics.
  template <typename Q>
  [[nodiscard]] FullCamera<Q> cast() const;

  /// Takes identity, pose, intrinsics, capture details and, unless the record's line time is 0 and
  /// this camera has one, the rolling shutter from a record. Rolling shutter is switched on here
  /// but never off. Refused intrinsics fail the check "result", and the camera is left without; a
  /// quaternion of length 0 is fatal.
  void setFromIdl(const CameraCalibrationZEL& record);

  /// The camera as a record, its pose relative to a new reference frame: the argument is
  /// T_newReference_reference, and T_local_newReference is written. Names are cut to 63 bytes. The
  /// time offset has no place in a record.
  [[nodiscard]] CameraCalibrationZEL toIdl(const Math::SE3<P>& referenceToNewReference) const;

  /// A new "Camera" element with the intrinsics and the pose, as a Lie element or as rotation and
  /// translation; the caller's until linked into a document (release() it to LinkEndChild).
  [[nodiscard]] std::unique_ptr<TiXmlElement> toXMLNode(bool useLieElement, XMLFormat format,
                                                        bool writeNameAndId, int index) const;

 private:
  template <typename>
  friend class FullCamera;

  FullCamera(IntrinsicCamera intrinsics, const RollingShutterCorrector<P>& rsCorrector,
             const Math::SE3<P>& T_local_ref, const CamImageId& id,
             const CaptureDetails& captureDetails, double delta);

  IntrinsicCamera mIntrinsics;
  RollingShutterCorrector<P> mRSCorrector;
  Math::SE3<P> mCamReferenceToLocal;
  CamImageId mCamId;
  CaptureDetails mCaptureDetails{};
  double mDelta = 0;
};

extern template class FullCamera<float>;
extern template class FullCamera<double>;

}  // namespace AR::CV
