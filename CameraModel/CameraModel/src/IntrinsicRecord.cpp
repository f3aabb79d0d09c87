#include "CameraModel/IntrinsicRecord.h"

#include <cmath>

#include "AR/Common/SaturatingCast.h"

namespace CamModel {

template <typename P>
IntrinsicCameraCalibrationZEL toRecord(const CameraModel<P>& camera) {
  IntrinsicCameraCalibrationZEL record = {};
  record.width = AR::Common::saturatingCast<std::int32_t>(camera.size[0]);
  record.height = AR::Common::saturatingCast<std::int32_t>(camera.size[1]);
  record.principal_point_x = camera.principalPoint[0];
  record.principal_point_y = camera.principalPoint[1];
  record.focal_length_x = camera.focalLength[0];
  record.focal_length_y = camera.focalLength[1];
  for (int i = 0; i < MAX_RD_PARAMS; ++i) record.distortion[i] = camera.radialDistortion[i];
  for (int i = 0; i < 2; ++i) record.distortion[MAX_RD_PARAMS + i] = camera.tangentialDistortion[i];
  // Radii in the record, their squares in the model.
  record.distortion_limit = std::sqrt(camera.limits.distortionLimit);
  record.undistortion_limit = std::sqrt(camera.limits.undistortionLimit);
  record.distortion_model = camera.model;
  return record;
}

template IntrinsicCameraCalibrationZEL toRecord(const CameraModel<float>& camera);
template IntrinsicCameraCalibrationZEL toRecord(const CameraModel<double>& camera);

}  // namespace CamModel
