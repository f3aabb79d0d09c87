#pragma once

// The image, and the maps that it is taken through, whose instructions are counted.

#include <cstdint>
#include <cstring>
#include <vector>

struct CountedImage {
  static constexpr int kWidth = 640;
  static constexpr int kHeight = 480;

  std::vector<std::uint8_t> source, target;
  std::vector<float> X, Y;  // columns and rows of the source

  /// A barrel distortion, upright or of a sensor that is mounted on its side.
  explicit CountedImage(const char* how)
      : source(kWidth * kHeight), target(source.size()), X(source.size()), Y(source.size()) {
    const bool isTurned = std::strcmp(how, "turned") == 0;
    for (int v = 0; v < kHeight; ++v) {
      for (int u = 0; u < kWidth; ++u) {
        const std::size_t i = static_cast<std::size_t>(v) * kWidth + static_cast<std::size_t>(u);
        source[i] = static_cast<std::uint8_t>(7 * i);
        const float a = static_cast<float>(u) - 320, b = static_cast<float>(v) - 240;
        if (isTurned) {
          setSource(i, b, -0.74F * a);
        } else {
          setSource(i, a, b);
        }
      }
    }
  }

 private:
  void setSource(std::size_t i, float x, float y) {
    constexpr float kFocal = 460;
    const float r2 = (x * x + y * y) / (kFocal * kFocal);
    const float factor = 1 + r2 * (-0.28F + 0.07F * r2);
    X[i] = 320.3F + factor * (x + 0.01F * y);
    Y[i] = 240.7F + factor * (y - 0.01F * x);
  }
};
