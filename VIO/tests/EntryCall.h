#pragma once

#include <algorithm>
#include <cmath>
#include <cstdint>
#include <string>
#include <vector>

#include "TestDevices.h"
#include "VIO/StereoRectifyWrapper.h"
#include "testing/GuardedBuffer.h"

namespace VIO::testing {

using rectiline::testing::GuardedBuffer;

enum class Entry { Rectify, Undistort, FixedPlane, Calibration, Linear, Apply, ApplyGains };

/// A call of any entry point with all that it reads and writes, in guarded buffers. Unless changed
/// it is good: maps that are made are the identity, those that are applied turn an image by half a
/// turn and halve its grey levels.
struct EntryCall {
  static constexpr float kUntouched = -7;

  explicit EntryCall(std::uint32_t pixels = kPixels, std::size_t offset = 0) {
    // Room beyond the declared sizes, to be left alone.
    for (int i = 0; i < 10; ++i) floats.emplace_back(pixels + 9, kUntouched, offset);
    for (int i = 0; i < 2; ++i) bytes.emplace_back(kPixels, std::uint8_t{200}, offset + 1);
    for (int i = 0; i < 2; ++i) bytes.emplace_back(kPixels, std::uint8_t{7}, offset + 3);
    std::fill(sizes, sizes + 4, pixels);
    const auto data = [&](std::size_t k) { return floats[k].data(); };
    for (std::size_t i = 0; i < 2; ++i) {
      forward[i] = {data(2 * i), kWidth, kHeight, data(2 * i + 1), kWidth, kHeight};
      inverse[i] = {data(2 * i + 4), kWidth, kHeight, data(2 * i + 5), kWidth, kHeight};
      gains[i] = {data(i + 8), kWidth, kHeight};
      sourceImages[i] = {bytes[i].data(), kWidth, kHeight, 0};
      targetImages[i] = {bytes[i + 2].data(), kWidth, kHeight, 8};
    }
  }
  EntryCall(const EntryCall&) = delete;
  EntryCall& operator=(const EntryCall&) = delete;

  int run(Entry entry) {
    const std::uint32_t(&n)[4] = sizes;
    float* const m[] = {forward[0].X, forward[0].Y, forward[1].X, forward[1].Y};
    const std::uint32_t keep = config.keepOutside;
    switch (entry) {
      case Entry::Rectify:
        return CreateRectifyMap(source, keep, m[0], n[0], m[1], n[1], m[2], n[2], m[3], n[3],
                                depthConstant, rectifiedCam);
      case Entry::Undistort:
        return CreateUndistortMap(source, keep, factor, m[0], n[0], m[1], n[1], m[2], n[2], m[3],
                                  n[3]);
      case Entry::FixedPlane:
        return CreateFixedPlaneVSTMaps(source, target, keep, factor, m[0], n[0], m[1], n[1], m[2],
                                       n[2], m[3], n[3]);
      case Entry::Calibration:
        return CreateCalibrationMap(record, other, config, map);
      case Entry::Linear:
        LargestLinearCalibration(source, wish, linearTarget);
        return 0;
      case Entry::Apply:
      case Entry::ApplyGains:
        fillMapsAndGains();
        const auto apply = entry == Entry::Apply ? ApplyUndistortionMap : ApplyCalibrationMap;
        return apply(images, count, map, imagesOut);
    }
    return -1;
  }

  /// What the call left behind: of the maps of a pair, of all maps and gains, of the linear
  /// calibration, or of the images, a letter each. Untouched is '.', unexpected '?'.
  [[nodiscard]] std::string left(Entry entry) const {
    std::string all;
    if (entry == Entry::Linear) return areSame(linear, filled<DeviceCalibrationZEL>()) ? "." : "w";
    if (entry == Entry::Apply || entry == Entry::ApplyGains) {
      for (std::size_t i = 0; i < 2; ++i) all += image(i, entry == Entry::ApplyGains);
      return all;
    }
    for (std::size_t i = 0; i < 4; ++i) all += content(i, sizes[i]);
    const bool isMade = all.find('m') != std::string::npos;
    if (entry == Entry::Rectify && !isRectification(isMade)) all += " with other numbers";
    if (entry != Entry::Calibration) return all;
    for (std::size_t i = 4; i < 8; ++i) all += content(i, kPixels);
    for (std::size_t i = 8; i < 10; ++i) all += floats[i][0] == kUntouched ? '.' : 'g';
    return all;
  }

  [[nodiscard]] bool intact() const {
    const auto isIntact = [](const auto& buffer) { return buffer.intact(); };
    return std::all_of(floats.begin(), floats.end(), isIntact) &&
           std::all_of(bytes.begin(), bytes.end(), isIntact);
  }

  DeviceCalibrationZEL record = device(), other = device();
  const DeviceCalibrationZEL *source = &record, *target = &other;
  float factor = 1;        // of the field of view, or the plane's distance
  std::uint32_t sizes[4];  // floats that the maps of a pair are said to hold
  float depth = 7;
  float* depthConstant = &depth;
  CameraCalibrationZEL camera = filled<CameraCalibrationZEL>();
  CameraCalibrationZEL* rectifiedCam = &camera;
  // X and Y of the left and of the right camera, the same of their inverses, and their gains.
  std::vector<GuardedBuffer<float>> floats;
  UndistortionMap forward[2], inverse[2];
  VignettingMap gains[2];
  CalibrationMap map{forward, inverse, gains, 2};
  CalibrationMapConfig config{0, true, nullptr, 2};
  CalibrationTransform wish{nullptr, nullptr, 0};
  DeviceCalibrationZEL linear = filled<DeviceCalibrationZEL>();
  DeviceCalibrationZEL* linearTarget = &linear;
  float gain = 0.5F;
  std::vector<GuardedBuffer<std::uint8_t>> bytes;  // of both sources, then of both targets
  Image sourceImages[2], targetImages[2];
  Image *images = sourceImages, *imagesOut = targetImages;
  unsigned count = 2;

 private:
  void fillMapsAndGains() {
    for (std::uint32_t i = 0; i < kPixels; ++i) {
      for (std::size_t k = 0; k < 2; ++k) {
        floats[2 * k].data()[i] = static_cast<float>(kWidth - 1 - i % kWidth);
        floats[2 * k + 1].data()[i] = static_cast<float>(kHeight - 1 - i / kWidth);
        floats[8 + k].data()[i] = gain;
      }
    }
  }

  /// 'm' the identity over the first kPixels and nothing beyond, '-' -1 as far as declared.
  [[nodiscard]] char content(std::size_t k, std::size_t declared) const {
    const GuardedBuffer<float>& values = floats[k];
    std::size_t same = 0, none = 0, untouched = 0;
    for (std::size_t i = 0; i < values.size(); ++i) {
      const auto position = static_cast<float>(k % 2 == 0 ? i % kWidth : i / kWidth);
      const bool isUntouched = values[i] == kUntouched;
      same += i < kPixels ? std::fabs(values[i] - position) < 1e-3F : isUntouched;
      none += i < declared ? values[i] == -1 : isUntouched;
      untouched += isUntouched;
    }
    if (untouched == values.size()) return '.';
    return same == values.size() ? 'm' : none == values.size() ? '-' : '?';
  }

  /// 'w' target and source hold what they must; 'c' the source is corrected only.
  [[nodiscard]] char image(std::size_t i, bool withGains) const {
    const GuardedBuffer<std::uint8_t>&from = bytes[i], &to = bytes[i + 2];
    const int grey = withGains ? 100 : 200;
    if (to[0] == grey && to[kPixels - 1] == grey && from[1] == grey) return 'w';
    if (to[0] != 7 || to[kPixels - 1] != 7) return '?';
    return from[1] == 200 ? '.' : from[1] == grey ? 'c' : '?';
  }

  [[nodiscard]] bool isRectification(bool isMade) const {
    if (depth != (depthConstant == nullptr ? 7.0F : isMade ? 5.0F : -1.0F)) return false;
    if (rectifiedCam == nullptr) return areSame(camera, filled<CameraCalibrationZEL>());
    if (!isMade) return areSame(camera, CameraCalibrationZEL{});
    return rectifiedCam->intrinsics.principal_point_x == 32 && rectifiedCam->pose.position.x == 0 &&
           rectifiedCam->pose.orientation.w == 1;
  }
};

}  // namespace VIO::testing
