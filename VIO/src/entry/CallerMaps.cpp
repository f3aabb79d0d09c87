#include "entry/CallerMaps.h"

namespace VIO {

bool checkMaps(const AR::Common::CallSite& site, const CallerMaps& maps) {
  return AR_CHECK_AT(
      site, maps.areAllThere(),
      "mapLeftX != nullptr && mapLeftY != nullptr && mapRightX != nullptr && mapRightY "
      "!= nullptr",
      kWrapperSource);
}

bool checkMapSizes(const AR::Common::CallSite& site, const CallerMaps& maps,
                   const AR::Math::Vec<int, 2>& leftSize, const AR::Math::Vec<int, 2>& rightSize) {
  return AR_CHECK_AT(site, maps.left.isOfSize(leftSize) && maps.right.isOfSize(rightSize),
                     "mapLeftX_size==map_buffer_size && mapLeftY_size==map_buffer_size && "
                     "mapRightX_size==map_buffer_size && mapRightY_size==map_buffer_size",
                     kWrapperSource);
}

bool checkDevice(const AR::Common::CallSite& site,
                 const std::optional<DeviceCalibrationZEL>& device, const char* text) {
  AR_CHECK_AT(site, device && device->num_cameras == 2, text, kWrapperSource);
  return device && device->num_cameras != 0 && device->num_cameras != 1;
}

}  // namespace VIO
