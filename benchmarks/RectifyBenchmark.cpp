// From the record of a pair to its maps, nothing kept from an earlier call.

#include <memory>
#include <opencv2/calib3d.hpp>
#include <stdexcept>

#include "AR/CV/Camera/Interchange.h"
#include "AR/Common/Logger.h"
#include "Agreement.h"
#include "Measurement.h"
#include "Peer.h"
#include "Subjects.h"
#include "VIO/StereoRectifyWrapper.h"

namespace rectiline::bench {
namespace {

using AR::Common::Logger;

constexpr Size kSize = {640, 480};

/// One pair with the results of both sides.
struct PairCase {
  explicit PairCase(const Lens& pairLens)
      : lens(pairLens),
        device(pairOf(lens, kSize)),
        left(emptyPlanes(kSize)),
        right(emptyPlanes(kSize)) {}

  Lens lens;
  DeviceCalibrationZEL device;
  Planes left;
  Planes right;
  CameraCalibrationZEL rectified{};
};

void rectify(PairCase& c) {
  const auto n = static_cast<std::uint32_t>(c.left.X.total());
  float depthConstant = 0;
  CreateRectifyMap(&c.device, 0, c.left.X.ptr<float>(), n, c.left.Y.ptr<float>(), n,
                   c.right.X.ptr<float>(), n, c.right.Y.ptr<float>(), n, &depthConstant,
                   &c.rectified);
  if (!(depthConstant > 0)) throw std::runtime_error("CreateRectifyMap refused the pair");
}

void rectifyUnlogged(PairCase& c) {
  Logger& logger = Logger::getInstance();
  const Logger::LEVEL level = logger.getLevel();
  logger.setLevel(Logger::OFF);
  rectify(c);
  logger.setLevel(level);
}

/// The turn and shift of the right camera, which both sides define alike.
struct RightPose {
  explicit RightPose(const DeviceCalibrationZEL& device) {
    const XrPosedZEL_t& pose = device.cameras[1].pose;
    R_or_ol = toCv(AR::CV::toXRRD(pose).rotation().matrix());
    t = (cv::Mat_<double>(3, 1) << pose.position.x, pose.position.y, pose.position.z);
  }

  cv::Mat R_or_ol;
  cv::Mat t;
};

void rectifyPeer(PairCase& c) {
  const cv::Size size(kSize.width, kSize.height);
  const PeerCamera left(c.device.cameras[0].intrinsics, c.lens.peer);
  const PeerCamera right(c.device.cameras[1].intrinsics, c.lens.peer);
  const RightPose pose(c.device);
  cv::Mat R1, R2, P1, P2, Q;
  if (c.lens.peer == PeerModel::Fisheye) {
    cv::fisheye::stereoRectify(left.K, left.D, right.K, right.D, size, pose.R_or_ol, pose.t, R1, R2,
                               P1, P2, Q, cv::CALIB_ZERO_DISPARITY);
  } else {
    cv::stereoRectify(left.K, left.D, right.K, right.D, size, pose.R_or_ol, pose.t, R1, R2, P1, P2,
                      Q);
  }
  PeerMap{left, R1, P1, size}.fill(c.left);
  PeerMap{right, R2, P2, size}.fill(c.right);
}

/// The maps that OpenCV makes for the rectified camera which the library has chosen.
void mapsOfRectified(PairCase& c) {
  const IntrinsicCameraCalibrationZEL& in = c.rectified.intrinsics;
  const cv::Size size(kSize.width, kSize.height);
  const cv::Mat P = cameraMatrix(in.focal_length_x, in.focal_length_y, in.principal_point_x,
                                 in.principal_point_y);
  const cv::Mat R_oltl = toCv(AR::CV::toXRRD(c.rectified.pose).rotation().matrix());
  const cv::Mat R_ortl = RightPose(c.device).R_or_ol * R_oltl;
  PeerMap{{c.device.cameras[0].intrinsics, c.lens.peer}, R_oltl.t(), P, size}.fill(c.left);
  PeerMap{{c.device.cameras[1].intrinsics, c.lens.peer}, R_ortl.t(), P, size}.fill(c.right);
}

std::string nameOf(const Lens& lens, const std::string& whose) {
  return "rectify/" + text(kSize) + "/" + lens.name + "/" + whose;
}

void checkLens(const Lens& lens) {
  PairCase ours(lens);
  rectify(ours);
  PairCase reference(lens);
  reference.rectified = ours.rectified;
  mapsOfRectified(reference);
  requireSameMap(nameOf(lens, "left"), ours.left, reference.left);
  requireSameMap(nameOf(lens, "right"), ours.right, reference.right);
}

void addLens(const Lens& lens) {
  const auto c = std::make_shared<PairCase>(lens);
  const auto addOne = [&](const std::string& whose, void (*call)(PairCase&), Threads threads,
                          std::int64_t set = kWidest) {
    add({nameOf(lens, whose), kSize, [c, call] { call(*c); }, set, threads});
  };
  addOne("one_thread", rectify, Threads::Caller);
  addOne("one_thread_log_off", rectifyUnlogged, Threads::Caller);
  addOne("pool", rectify, Threads::Pool);
  for (const std::int64_t set : vectorInstructionSets()) {
    addOne("one_thread_" + instructionSetName(set), rectify, Threads::Caller, set);
    addOne("pool_" + instructionSetName(set), rectify, Threads::Pool, set);
  }
  addOne("OpenCV", rectifyPeer, Threads::Caller);
}

}  // namespace

void checkRectify() {
  checkLens(plainLens());
  checkLens(fisheyeLens());
}

void addRectify() {
  addLens(plainLens());
  addLens(fisheyeLens());
}

}  // namespace rectiline::bench
