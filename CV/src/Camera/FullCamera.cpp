#include "AR/CV/Camera/FullCamera.h"

#include <algorithm>
#include <cstring>
#include <iterator>
#include <tuple>
#include <type_traits>
#include <utility>

#include "AR/CV/Camera/Interchange.h"
#include "AR/Common/Fnv1.h"
#include "AR/Common/SaturatingCast.h"
#include "AR/Common/TimeStamp.h"
#include "AR/Math/MathDebugging.h"

namespace AR::CV {
namespace {

constexpr char kSource[] = "CV/src/Camera/StereoCamera";
constexpr char kHeaderSource[] = "CV/src/../include/AR/CV/Camera/StereoCamera";

template <typename Q, typename P>
Camera<Q> castIntrinsics(const Camera<P>& from) {
  Camera<Q> to;
  // A refusal is in the log already and leaves the camera empty, which its callers check.
  if (from.isInitialized()) static_cast<void>(to.init(from.getCamModel().template cast<Q>()));
  return to;
}

template <typename Q, typename P>
RollingShutterCorrector<Q> castCorrector(const RollingShutterCorrector<P>& from) {
  // A member that is added does not compile here before it is carried.
  const auto& [isRollingShutter, lineTime, centerRow, mode, workingState] = from;
  std::array<Q, std::tuple_size_v<std::decay_t<decltype(workingState)>>> state;
  std::transform(workingState.begin(), workingState.end(), state.begin(),
                 [](const P value) { return static_cast<Q>(value); });
  return {isRollingShutter, static_cast<Q>(lineTime), static_cast<Q>(centerRow), mode, state};
}

template <typename P>
std::uint64_t toLineTimeNs(const P lineTime) {
  const auto time = Common::TimeStamp::fromSeconds(static_cast<double>(lineTime));
  return static_cast<std::uint64_t>(std::max<std::int64_t>(time.nanoSeconds(), 0));
}

}  // namespace

template <typename P>
FullCamera<P>::FullCamera(const CamImageId& id) : mCamId(id) {}

template <typename P>
FullCamera<P>::FullCamera(IntrinsicCamera intrinsics, const RollingShutterCorrector<P>& rsCorrector,
                          const Math::SE3<P>& T_local_ref, const CamImageId& id,
                          const CaptureDetails& captureDetails, const double delta)
    : mIntrinsics(std::move(intrinsics)),
      mRSCorrector(rsCorrector),
      mCamReferenceToLocal(T_local_ref),
      mCamId(id),
      mCaptureDetails(captureDetails),
      mDelta(delta) {}

template <typename P>
bool FullCamera<P>::init(const CamModel::CameraModel<P>& model,
                         const Math::SE3<P>& camReferenceToLocal, const CamImageId& id,
                         const bool isRollingShutter, const P lineTime,
                         const CaptureDetails& captureDetails, const double delta) {
  initExtrinsics({model.size[0], model.size[1]}, camReferenceToLocal, id, isRollingShutter,
                 lineTime, captureDetails, delta);
  return initIntrinsics(model);
}

template <typename P>
bool FullCamera<P>::initExtrinsics(const std::array<P, 2>& imageSize,
                                   const Math::SE3<P>& camReferenceToLocal, const CamImageId& id,
                                   const bool isRollingShutter, const P lineTime,
                                   const CaptureDetails& captureDetails, const double delta) {
  mCamId = id;
  mRSCorrector.isRollingShutter = isRollingShutter;
  mRSCorrector.lineTime = lineTime;
  mRSCorrector.centerRow = imageSize[1] * P(0.5);
  mRSCorrector.mode = 1;
  mCamReferenceToLocal = camReferenceToLocal;
  mCaptureDetails = captureDetails;
  mDelta = delta;
  return true;
}

template <typename P>
bool FullCamera<P>::initIntrinsics(const CamModel::CameraModel<P>& model) {
  return mIntrinsics.init(model);
}

template <typename P>
void FullCamera<P>::setExtrinsics(const Math::SE3<P>& camReferenceToLocal) {
  mCamReferenceToLocal = camReferenceToLocal;
}

template <typename P>
void FullCamera<P>::setCamId(const CamImageId& id) {
  mCamId = id;
}

template <typename P>
void FullCamera<P>::clearIntrinsics() {
  mIntrinsics = IntrinsicCamera();
}

template <typename P>
bool FullCamera<P>::isInitialized() const {
  return mCamId.isInit() && hasIntrinsics();
}

template <typename P>
bool FullCamera<P>::hasIntrinsics() const {
  return mIntrinsics.isInitialized();
}

template <typename P>
const typename FullCamera<P>::IntrinsicCamera& FullCamera<P>::getIntrinsics() const {
  AR_CHECK(isInitialized(), "isInitialized()", kHeaderSource);
  return mIntrinsics;
}

template <typename P>
const Math::SE3<P>& FullCamera<P>::getCamReferenceToLocal() const {
  AR_CHECK(isInitialized(), "isInitialized()", kHeaderSource);
  return mCamReferenceToLocal;
}

template <typename P>
Math::SE3<P> FullCamera<P>::getLocalToCamReference() const {
  AR_CHECK(isInitialized(), "isInitialized()", kHeaderSource);
  return mCamReferenceToLocal.inverse();
}

template <typename P>
Math::SE3<P> FullCamera<P>::getWorldInCamLocal(const Math::SE3<P>& worldInCamReference) const {
  return mCamReferenceToLocal * worldInCamReference;
}

template <typename P>
bool FullCamera<P>::projectCameraToDevicePix(const Vec3& objPos_c, Vec2& camPos) const {
  AR_CHECK(isInitialized(), "isInitialized()", kSource);
  AR_CHECK(AR::Math::isGoodVector(objPos_c), "AR::Math::isGoodVector(objPos_c)", kSource);
  const Math::SE3<P>& T_local_ref = mCamReferenceToLocal;
  const Vec3 objPos_l = T_local_ref * objPos_c;
  AR_CHECK(AR::Math::isGoodVector(objPos_l), "AR::Math::isGoodVector(objPos_l)", kSource);
  if (!(objPos_l[2] >= IntrinsicCamera::kMinDepth)) return false;

  const P invZ = 1 / objPos_l[2];
  if (!mIntrinsics.tryIdeal2pixel(Vec2(objPos_l[0] * invZ, objPos_l[1] * invZ), camPos)) {
    return false;
  }
  AR_CHECK(AR::Math::isGoodVector(camPos), "AR::Math::isGoodVector(camPos)", kSource);
  return true;
}

template <typename P>
std::uint64_t FullCamera<P>::getHash(const std::uint64_t seed) const {
  constexpr std::size_t kRotationBytes = 9 * sizeof(P), kTranslationBytes = 3 * sizeof(P);
  std::array<std::uint8_t, kRotationBytes + kTranslationBytes> bytes;
  std::memcpy(bytes.data(), mCamReferenceToLocal.rotation().matrix().data(), kRotationBytes);
  std::memcpy(bytes.data() + kRotationBytes, mCamReferenceToLocal.translation().data(),
              kTranslationBytes);
  return Common::fnv1(bytes, mIntrinsics.getHash(seed));
}

template <typename P>
template <typename Q>
FullCamera<Q> FullCamera<P>::cast() const {
  if constexpr (std::is_same_v<P, Q>) {
    return *this;
  } else {
    // A member that is added does not compile here before it is carried.
    const auto& [intrinsics, rsCorrector, T_local_ref, id, captureDetails, delta] = *this;
    return FullCamera<Q>(castIntrinsics<Q>(intrinsics), castCorrector<Q>(rsCorrector),
                         T_local_ref.template cast<Q>(), id, captureDetails, delta);
  }
}

template <typename P>
void FullCamera<P>::setFromIdl(const CameraCalibrationZEL& record) {
  mCamId = CamImageId(record.name);
  mCamReferenceToLocal = idl2se3<P>(record.pose);
  Common::assertSuccess(initIntrinsics(CamModel::CameraModel<P>(record.intrinsics)));
  // 0 is a record that does not know: it leaves a shutter that is known as it is.
  if (record.line_time_ns != 0 || mRSCorrector.lineTime == 0) {
    const auto lineTime = Common::TimeStamp::fromNanoSeconds(record.line_time_ns);
    mRSCorrector.lineTime = static_cast<P>(lineTime.seconds());
    mRSCorrector.isRollingShutter |= record.line_time_ns != 0;
    mRSCorrector.mode = 1;
    mRSCorrector.centerRow = static_cast<P>(record.rs_center_row);
  }
  mCaptureDetails = record.capture_details;
}

template <typename P>
CameraCalibrationZEL FullCamera<P>::toIdl(const Math::SE3<P>& referenceToNewReference) const {
  CameraCalibrationZEL record{};
  getName().copy(record.name, std::size(record.name) - 1);
  record.pose = se32idl(mCamReferenceToLocal * referenceToNewReference.inverse());
  record.intrinsics = mIntrinsics.toIDL();
  record.line_time_ns = toLineTimeNs(mRSCorrector.lineTime);
  record.rs_center_row = Common::saturatingCast<std::int32_t>(mRSCorrector.centerRow);
  record.capture_details = mCaptureDetails;
  return record;
}

template class FullCamera<float>;
template class FullCamera<double>;
template FullCamera<float> FullCamera<float>::cast<float>() const;
template FullCamera<double> FullCamera<float>::cast<double>() const;
template FullCamera<float> FullCamera<double>::cast<float>() const;
template FullCamera<double> FullCamera<double>::cast<double>() const;

}  // namespace AR::CV
