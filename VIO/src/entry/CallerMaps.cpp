#include "entry/CallerMaps.h"

#include "AR/CV/Map/MapJob.h"

namespace VIO {
namespace {

constexpr bool same(MapPixelReason reason, AR::CV::PixelSource source) {
  return static_cast<int>(reason) == static_cast<int>(source);
}
static_assert(same(MAP_PIXEL_OK, AR::CV::PixelSource::Inside));
static_assert(same(MAP_PIXEL_OK_PAST_LAST_CENTRE, AR::CV::PixelSource::PastLastCentre));
static_assert(same(MAP_PIXEL_BEHIND_CAMERA, AR::CV::PixelSource::BehindCamera));
static_assert(same(MAP_PIXEL_BEYOND_DISTORTION, AR::CV::PixelSource::BeyondDistortion));
static_assert(same(MAP_PIXEL_NO_INVERSE, AR::CV::PixelSource::NoInverse));
static_assert(same(MAP_PIXEL_OUTSIDE_IMAGE, AR::CV::PixelSource::OutsideImage));

}  // namespace

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

bool checkDevice(const AR::Common::CallSite& site, const DeviceCalibrationZEL* device,
                 const char* text) {
  AR_CHECK_AT(site, device != nullptr && device->num_cameras == 2, text, kWrapperSource);
  return device != nullptr && device->num_cameras != 0 && device->num_cameras != 1;
}

}  // namespace VIO
