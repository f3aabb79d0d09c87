#pragma once

#include <algorithm>
#include <cmath>
#include <iterator>
#include <limits>

#include "CameraModel/DistortionModel.h"
#include "rectiline/CalibrationRecords.h"

// What a caller's record must hold before anything is computed from it. NaN passes none of these.

namespace VIO {

inline bool isFiniteFloat(double value) {
  return std::fabs(value) <= static_cast<double>(std::numeric_limits<float>::max());
}

inline bool areFiniteFloats(const double* first, std::size_t count) {
  return std::all_of(first, first + count, isFiniteFloat);
}

inline bool isUnitQuaternion(const QuaternionZEL& q) {
  return std::fabs(q.x * q.x + q.y * q.y + q.z * q.z + q.w * q.w - 1) < 0.001;
}

inline bool isConvertible(const XrPosedZEL_t& pose) {
  const auto& t = pose.position;
  return isUnitQuaternion(pose.orientation) && isFiniteFloat(t.x) && isFiniteFloat(t.y) &&
         isFiniteFloat(t.z);
}

inline bool isConvertible(const IntrinsicCameraCalibrationZEL& record) {
  const auto model = static_cast<CamModel::DistortionModel>(record.distortion_model);
  return CamModel::isKnownModel(model) && isFiniteFloat(record.principal_point_x) &&
         isFiniteFloat(record.principal_point_y) && isFiniteFloat(record.focal_length_x) &&
         isFiniteFloat(record.focal_length_y) &&
         areFiniteFloats(record.distortion, std::size(record.distortion)) &&
         isFiniteFloat(record.distortion_limit) && isFiniteFloat(record.undistortion_limit);
}

}  // namespace VIO
