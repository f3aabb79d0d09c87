#include "Mistakes.h"

#include <algorithm>
#include <utility>

#include "LensGuesses.h"
#include "Pose.h"

namespace rectiline::check {
namespace {

XrPosedZEL_t relativePose(const CameraPair& cameras) {
  return compose(cameras.right.pose, inverse(cameras.left.pose));
}

/// The cameras with this pose of the right one relative to the left one.
CameraPair withRelativePose(CameraPair cameras, const XrPosedZEL_t& T_right_left) {
  cameras.left.pose = {{0, 0, 0, 1}, {0, 0, 0}};
  cameras.right.pose = T_right_left;
  return cameras;
}

template <typename Change>
CameraPair withEachPose(CameraPair cameras, Change change) {
  cameras.left.pose = change(cameras.left.pose);
  cameras.right.pose = change(cameras.right.pose);
  return cameras;
}

XrPosedZEL_t transposed(const XrPosedZEL_t& pose) {
  return {inverse(pose.orientation), pose.position};
}

bool isReference(const CameraCalibrationZEL& camera) {
  const XrPosedZEL_t& pose = camera.pose;
  return pose.orientation.x == 0 && pose.orientation.y == 0 && pose.orientation.z == 0 &&
         pose.position.x == 0 && pose.position.y == 0 && pose.position.z == 0;
}

bool haveOneSize(const CameraPair& cameras) {
  const IntrinsicCameraCalibrationZEL& left = cameras.left.intrinsics;
  const IntrinsicCameraCalibrationZEL& right = cameras.right.intrinsics;
  return left.width == right.width && left.height == right.height;
}

/// The intrinsics at the other camera's place.
CameraPair withIntrinsicsSwapped(CameraPair cameras) {
  std::swap(cameras.left.intrinsics, cameras.right.intrinsics);
  return cameras;
}

}  // namespace

std::vector<Undone> undoMistakes(const CameraPair& given, bool rightFirst) {
  const XrPosedZEL_t T_right_left = relativePose(given);
  const PositionZEL& t = T_right_left.position;
  const XrPosedZEL_t negated{T_right_left.orientation, {-t.x, -t.y, -t.z}};
  const CameraPair exchanged{given.right, given.left};
  std::vector<Undone> all;
  if (haveOneSize(given)) {
    // The same rig undoes both: where it puts the right camera tells which is more likely.
    all = {{Verdict::SwappedImages, exchanged}, {Verdict::SwappedCameras, exchanged}};
    if (rightFirst) std::swap(all[0], all[1]);
    all.push_back({Verdict::SwappedCameras, withIntrinsicsSwapped(given)});
  }
  all.push_back({Verdict::InvertedPoses, withRelativePose(given, inverse(T_right_left))});
  all.push_back({Verdict::TransposedRotation, withRelativePose(given, transposed(T_right_left))});
  all.push_back({Verdict::NegatedTranslation, withRelativePose(given, negated)});
  if (!isReference(given.left) && !isReference(given.right)) {
    const auto inverted = [](const XrPosedZEL_t& pose) { return inverse(pose); };
    all.push_back({Verdict::InvertedPoses, withEachPose(given, inverted)});
    all.push_back({Verdict::TransposedRotation, withEachPose(given, transposed)});
  }
  for (const CameraPair& cameras : guessLenses(given)) {
    all.push_back({Verdict::WrongDistortion, cameras});
  }
  return all;
}

}  // namespace rectiline::check
