#pragma once

#include "SourceCamera.h"

namespace rectiline::formats {

/// Rays of unit length that the source's formula projects into the image, with their pixels.
struct Sample {
  Vec3 ray;
  Vec2 pixel;
};

/// A grid of rays over the whole image: outwards along radii from the principal point, as far as
/// positions move outwards and stay in the image.
[[nodiscard]] std::vector<Sample> sampleImage(const SourceCamera& camera);

struct Comparison {
  double greatestDifference = 0;  ///< Pixels.
  double shareOutside = 0;        ///< Of the samples, those outside the library's lens range.
};

/// Projects samples by the library, and measures how far from the source's pixels. Throws
/// FormatError for a camera that the library refuses, and when it has none of the pixels.
[[nodiscard]] Comparison compare(const std::vector<Sample>& samples,
                                 const CameraCalibrationZEL& ours, const Place& place);

/// The largest ideal radius of which the library makes pixels. Throws FormatError for a camera that
/// it refuses.
[[nodiscard]] double validRadius(const CameraCalibrationZEL& record, const Place& place);

/// A grid of rays over the image of a camera of the library, as far as it makes pixels.
[[nodiscard]] std::vector<Sample> sampleRecord(const CameraCalibrationZEL& record,
                                               const Place& place);

/// The reason of the library for the call that failed last, for `place`.
[[noreturn]] void throwLibraryError(const Place& place);

}  // namespace rectiline::formats
