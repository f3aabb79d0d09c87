#include "rectify/PairGeometry.h"

#include <cmath>
#include <limits>

#include "AR/CV/Camera/Interchange.h"
#include "AR/CV/Stereo/Rectify.h"
#include "Boundary.h"

namespace rectiline::capi {
namespace {

using AR::CV::idl2se3;
using AR::Math::SE3;
using AR::Math::SO3;
using Vec3 = AR::Math::Vec<double, 3>;
namespace steps = AR::CV::Internal;

/// The right camera's pose in the left one's frame, in both precisions.
struct RelativePose {
  SE3<double> T_orol;
  SE3<float> T_orol_map;
};

bool isIdentity(const SE3<double>& T) {
  return AR::Math::isIdentity(T.rotation().matrix()) && AR::Math::isZero(T.translation());
}

RelativePose relativePose(const XrPosedZEL_t& left, const XrPosedZEL_t& right) {
  const SE3<double> T_ol_ref = idl2se3<double>(left);
  const SE3<double> T_or_ref = idl2se3<double>(right);
  // A left camera that is the reference itself: the right record as it stands, in the very steps
  // of CreateRectifyMap(), whose maps must come out to the last bit.
  if (isIdentity(T_ol_ref)) return {T_or_ref, AR::CV::toXRRD(right)};
  const SE3<double> T_orol = T_or_ref * T_ol_ref.inverse();
  return {T_orol, T_orol.cast<float>()};
}

double length(const PositionZEL& p) { return std::hypot(p.x, p.y, p.z); }

/// What rounding can make of the distance between cameras at the same place.
double roundingOf(const XrPosedZEL_t& left, const XrPosedZEL_t& right) {
  constexpr double kEpsilon = std::numeric_limits<double>::epsilon();
  return 4 * kEpsilon * (length(left.position) + length(right.position));
}

double requireBaseline(const RelativePose& relative, double rounding, const CameraPair& pair) {
  const double baseline = AR::Math::norm(relative.T_orol.translation());
  if (!(baseline > rounding) || AR::Math::isZero(relative.T_orol_map.translation())) {
    refuse(RECTILINE_SAME_PLACE,
           "Cameras %d and %d have the same centre. A pair to be rectified must stand apart; check "
           "the translations of their poses.",
           pair.left, pair.right);
  }
  if (!(baseline <= static_cast<double>(std::numeric_limits<float>::max()))) {
    refuse(RECTILINE_CANNOT_RECTIFY,
           "Cameras %d and %d stand %g m apart, which is out of range. Check the translations of "
           "their poses; they are in metres.",
           pair.left, pair.right, baseline);
  }
  return baseline;
}

int requireAxis(const AR::Math::Vec<float, 3>& t, const CameraPair& pair) {
  const std::size_t axis = steps::baselineAxis(t);
  if (axis <= 1) return static_cast<int>(axis);
  refuse(RECTILINE_CANNOT_RECTIFY,
         "The baseline between cameras %d and %d lies along their view: in the right camera's "
         "frame it is (%g, %g, %g) m. A pair must stand side by side or one above the other; "
         "check the poses, which read x_camera = R x_reference + t.",
         pair.left, pair.right, static_cast<double>(t(0)), static_cast<double>(t(1)),
         static_cast<double>(t(2)));
}

/// 1 when the right camera lies on the right (lower) side of the left one, -1 on the other. Both
/// cameras have a say: to one that stands on its head the other is on the wrong side. Where they
/// contradict each other about evenly it is 1, as CreateRectifyMap() has it.
int sideOfRight(const SE3<double>& T_orol, double baseline, std::size_t axis) {
  constexpr double kEven = 0.1;  // of the baseline: a camera within 26 degrees of upside down
  const Vec3 baselineVec_or = T_orol.translation();  // from the right camera to the left one
  const Vec3 baselineVec_ol = T_orol.rotation().inverse() * baselineVec_or;
  return (baselineVec_ol(axis) + baselineVec_or(axis)) / baseline > kEven ? -1 : 1;
}

/// `R_oltl` with its last digits set so that the baseline lies along `baselineDir_t`.
SO3<double> refined(const SO3<float>& R_oltl, const SE3<double>& T_orol,
                    const Vec3& baselineDir_t) {
  const Vec3 baselineVec_ol = T_orol.rotation().inverse() * T_orol.translation();
  SO3<double> R_tlol = SO3<double>() * R_oltl.inverse().cast<double>();  // orthonormal in double
  R_tlol = steps::alignment<double>(R_tlol * baselineVec_ol, baselineDir_t) * R_tlol;
  return R_tlol.inverse();
}

}  // namespace

PairGeometry pairGeometry(const DeviceCalibrationZEL& device, const CameraPair& pair) {
  const XrPosedZEL_t& poseL = device.cameras[pair.left].pose;
  const XrPosedZEL_t& poseR = device.cameras[pair.right].pose;
  const RelativePose relative = relativePose(poseL, poseR);
  PairGeometry g{};
  g.baseline = requireBaseline(relative, roundingOf(poseL, poseR), pair);
  const AR::Math::Vec<float, 3> t = relative.T_orol_map.translation();
  g.axis = requireAxis(t, pair);
  const auto axis = static_cast<std::size_t>(g.axis);
  g.sign = sideOfRight(relative.T_orol, g.baseline, axis);

  AR::Math::Vec<float, 3> baselineDir_t;  // from the right camera to the left one
  baselineDir_t(axis) = static_cast<float>(-g.sign);
  const SO3<float> R_oltl = steps::rectifyingRotation(AR_HERE, relative.T_orol_map, baselineDir_t);
  // The products with the identity stand for the poses of the left camera and of the views, as
  // setupRectifyMap() multiplies them: each re-orthonormalises.
  const SO3<float> I;
  g.R_oltl_map = I * R_oltl * I;
  g.R_ortl_map = relative.T_orol_map.rotation() * R_oltl * I;
  g.R_oltl = refined(R_oltl, relative.T_orol, baselineDir_t.cast<double>());
  g.R_ortl = relative.T_orol.rotation() * g.R_oltl;
  return g;
}

double turnOf(const SO3<double>& R) {
  Vec3 axis;
  double angle;
  AR::Math::matrix2AxisAngle(R.matrix(), axis, angle);
  return angle;
}

}  // namespace rectiline::capi
