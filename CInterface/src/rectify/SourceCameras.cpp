#include "rectify/SourceCameras.h"

#include <exception>

#include "AR/Common/WorkerPool.h"
#include "Records.h"

namespace rectiline::capi {
void requirePair(const DeviceCalibrationZEL& device, const CameraPair& pair) {
  for (const int index : {pair.left, pair.right}) {
    requireIntrinsics(device.cameras[index], index);
    requirePose(device.cameras[index], index);
  }
}

SourceCameras sourceCameras(const DeviceCalibrationZEL& device, const CameraPair& pair) {
  requirePair(device, pair);
  const int indices[] = {pair.left, pair.right};
  SourceCameras cameras;
  AR::CV::Camera<float>* const made[] = {&cameras.left, &cameras.right};
  std::exception_ptr faults[2];  // of both, so that it is always the left one's that is told first
  AR::Common::WorkerPools::dispatch(
      [&](unsigned i) {
        try {
          *made[i] = makeCamera(device.cameras[indices[i]], indices[i]);
        } catch (...) {
          faults[i] = std::current_exception();
        }
      },
      2);
  for (const std::exception_ptr& fault : faults) {
    if (fault) std::rethrow_exception(fault);
  }
  return cameras;
}

}  // namespace rectiline::capi
