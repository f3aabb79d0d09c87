#include "VIO/RecordChecks.h"

#include "CameraModel/DistortionModel.h"

namespace VIO {
namespace {

struct Number {
  const char* field;
  double value;
};

template <std::size_t N>
std::optional<RecordFault> findInfinite(const Number (&numbers)[N]) {
  for (const Number& number : numbers) {
    if (isFiniteFloat(number.value)) continue;
    return RecordFault{number.field, number.value,
                       "must be a finite number within the range of single precision"};
  }
  return std::nullopt;
}

}  // namespace

std::optional<RecordFault> findFault(const XrPosedZEL_t& pose) {
  constexpr double kTolerance = 0.001;
  const QuaternionZEL& q = pose.orientation;
  const double normSquared = q.x * q.x + q.y * q.y + q.z * q.z + q.w * q.w;
  if (!(std::fabs(normSquared - 1) < kTolerance)) {
    return RecordFault{"orientation", normSquared,
                       "must be a quaternion with x^2 + y^2 + z^2 + w^2 = 1"};
  }
  return findInfinite({{"position.x", pose.position.x},
                       {"position.y", pose.position.y},
                       {"position.z", pose.position.z}});
}

std::optional<RecordFault> findFault(const IntrinsicCameraCalibrationZEL& in) {
  const auto model = static_cast<CamModel::DistortionModel>(in.distortion_model);
  if (!CamModel::isKnownModel(model)) {
    return RecordFault{"distortion_model", static_cast<double>(in.distortion_model),
                       "must be the number of a distortion model"};
  }
  return findInfinite({{"principal_point_x", in.principal_point_x},
                       {"principal_point_y", in.principal_point_y},
                       {"focal_length_x", in.focal_length_x},
                       {"focal_length_y", in.focal_length_y},
                       {"distortion[0]", in.distortion[0]},
                       {"distortion[1]", in.distortion[1]},
                       {"distortion[2]", in.distortion[2]},
                       {"distortion[3]", in.distortion[3]},
                       {"distortion[4]", in.distortion[4]},
                       {"distortion[5]", in.distortion[5]},
                       {"distortion[6]", in.distortion[6]},
                       {"distortion[7]", in.distortion[7]},
                       {"distortion_limit", in.distortion_limit},
                       {"undistortion_limit", in.undistortion_limit}});
}

}  // namespace VIO
