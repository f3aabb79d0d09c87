// Calibration maps applied to 8-bit images.

#include <cstddef>
#include <cstdint>

#include "AR/Common/ExceptionBarrier.h"
#include "AR/Common/RowBands.h"
#include "Kel/kelRemapu8.h"
#include "VIO/Gains.h"
#include "VIO/StereoRectifyWrapper.h"
#include "entry/CallerMaps.h"
#include "entry/Status.h"

namespace {

constexpr std::uint8_t kFormatMask = 7;  // must be 0: 8-bit, one channel

/// Whether an image of 8 bits and a map of its size can be worked with: rows and columns are ints
/// to the remap, a map's row is an int of bytes, and its pixels are counted in 32 bits.
bool isAddressable(std::uint32_t width, std::uint32_t height) {
  constexpr std::uint64_t kMaxInt = INT32_MAX;
  const std::uint64_t count = static_cast<std::uint64_t>(width) * height;
  return width <= kMaxInt / sizeof(float) && height <= kMaxInt && count <= UINT32_MAX &&
         count <= SIZE_MAX / sizeof(float);
}

/// Everything that can be wrong with target and map before a pixel is touched.
int checkTarget(const Image& target, const UndistortionMap& map) {
  if ((target.format & kFormatMask) != 0) return VIO::kImagesDoNotMatch;
  if (map.X == nullptr || map.Y == nullptr) return VIO::kNullPointer;
  if (target.data == nullptr) return VIO::kNullPointer;
  const bool sameSize = map.X_width == target.width && map.X_height == target.height &&
                        map.Y_width == map.X_width && map.Y_height == map.X_height;
  return sameSize && isAddressable(target.width, target.height) ? VIO::kSuccess
                                                                : VIO::kSizeMismatch;
}

int checkSource(const Image& source) {
  if (source.data == nullptr) return VIO::kNullPointer;
  return isAddressable(source.width, source.height) ? VIO::kSuccess : VIO::kSizeMismatch;
}

int checkGains(const Image& source, const VignettingMap& gains) {
  if (gains.scaleFactors == nullptr) return VIO::kNullPointer;
  const bool sameSize = gains.width == source.width && gains.height == source.height;
  return sameSize ? VIO::kSuccess : VIO::kSizeMismatch;
}

int toInt(std::uint32_t size) { return static_cast<int>(size); }

/// Corrects the source in place.
void correct(const Image& source, const VignettingMap& gains) {
  const std::size_t width = source.width;
  AR::Common::forEachRowBand(toInt(source.height), toInt(source.width), [&](int first, int end) {
    const std::size_t start = width * static_cast<std::size_t>(first);
    VIO::applyGains(source.data + start, gains.scaleFactors + start,
                    width * static_cast<std::size_t>(end - first));
  });
}

int remap(const Image& source, const UndistortionMap& map, const Image& target) {
  constexpr int kBilinear = 1;
  const int status =
      kelRemapu8(source.data, toInt(source.width), toInt(source.height), toInt(source.width),
                 target.data, toInt(target.width), toInt(target.height), toInt(target.width), map.X,
                 map.Y, toInt(target.width) * static_cast<int>(sizeof(float)), kBilinear);
  return status == 0 ? VIO::kSuccess : VIO::kRemapFailed;
}

/// Takes the images, and copies the maps, as they are to be checked and used: the caller's may be
/// written by another thread in between.
int applyOne(Image source, const CalibrationMap& map, std::size_t i, bool vignetting,
             Image target) {
  const UndistortionMap through = map.undistortion[i];
  const VignettingMap gains = vignetting ? map.vignettingMaps[i] : VignettingMap{};
  int status = checkTarget(target, through);
  if (status == VIO::kSuccess) status = checkSource(source);
  if (status == VIO::kSuccess && vignetting) status = checkGains(source, gains);
  if (status != VIO::kSuccess) return status;
  if (vignetting) correct(source, gains);
  return remap(source, through, target);
}

int applyAll(const Image* sources, unsigned count, const CalibrationMap& map, bool vignetting,
             const Image* targets) {
  if (sources == nullptr || targets == nullptr || map.undistortion == nullptr) {
    return VIO::kNullPointer;
  }
  if (vignetting && map.vignettingMaps == nullptr) return VIO::kNullPointer;
  if (count < map.numCameras) return VIO::kImagesDoNotMatch;
  for (unsigned i = 0; i < count; ++i) {
    if (i >= map.numCameras) return VIO::kImagesDoNotMatch;
    const int status = applyOne(sources[i], map, i, vignetting, targets[i]);
    if (status != VIO::kSuccess) return status;
  }
  return VIO::kSuccess;
}

int applyOrFail(const AR::Common::CallSite& site, const Image* sources, unsigned count,
                const CalibrationMap& map, bool vignetting, const Image* targets) {
  return AR::Common::withoutExceptions(
      site, VIO::kWrapperSource,
      [&] { return applyAll(sources, count, CalibrationMap(map), vignetting, targets); },
      [] { return VIO::kSizeMismatch; });
}

}  // namespace

int ApplyCalibrationMap(const Image* sources, unsigned count, const CalibrationMap& map,
                        Image* targets) {
  return applyOrFail(AR_HERE, sources, count, map, true, targets);
}

int ApplyUndistortionMap(const Image* sources, unsigned count, const CalibrationMap& map,
                         Image* targets) {
  return applyOrFail(AR_HERE, sources, count, map, false, targets);
}
