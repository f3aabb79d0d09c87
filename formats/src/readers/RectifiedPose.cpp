#include "readers/RectifiedPose.h"

namespace rectiline::formats {

Pose readRectifiedPose(const Field& R, const Field& P) {
  const std::vector<double> p = P.numbers(12, "a 3 x 4 projection matrix, row by row");
  const bool isProjection = p[0] > 0 && p[5] > 0 && p[10] == 1;
  if (!isProjection) P.refuse("fx' 0 cx' ..., 0 fy' cy' ..., 0 0 1 ...", "another matrix");
  const Vec3 t{(p[3] - p[2] * p[11]) / p[0], (p[7] - p[6] * p[11]) / p[5], p[11]};
  const Pose T_rectified_camera{readRotation(R), {-t[0], -t[1], -t[2]}};
  return poseFrom(T_rectified_camera, directionOf(Format::Ros, "R"));
}

bool isAlone(const Pose& T_camera_rectified) {
  const auto& [R, t] = T_camera_rectified;
  return R == Pose{}.R && t == Vec3{};
}

}  // namespace rectiline::formats
