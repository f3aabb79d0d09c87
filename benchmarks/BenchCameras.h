#pragma once

#include <span>
#include <string>

#include "rectiline/CalibrationRecords.h"
#include "testing/Lenses.h"

// The cameras that everything is measured with.

namespace rectiline::bench {

struct Size {
  int width;   // pixels
  int height;  // pixels
};

/// The sizes that maps and images are measured at.
inline constexpr Size kSizes[] = {{640, 480}, {1280, 960}, {2560, 1920}};

/// "640x480"
[[nodiscard]] std::string text(const Size& size);

/// Which of OpenCV's models a lens is one of.
enum class PeerModel { None, Pinhole, Fisheye };

/// One lens; the same field of view at every size.
struct Lens : testing::Lens {
  PeerModel peer;
};

/// Lenses of about 90 to 120 degrees: one of each model, and one with tangential terms.
[[nodiscard]] std::span<const Lens> lenses();

/// The plumb-bob lens with tangential terms, for what is measured with one lens only.
[[nodiscard]] const Lens& plainLens();

/// An ordinary four-parameter fisheye, and one whose image reaches beyond 180 degrees.
[[nodiscard]] const Lens& fisheyeLens();
[[nodiscard]] const Lens& wideFisheyeLens();

/// The record of a camera with `lens`, its principal point a few pixels from the centre.
[[nodiscard]] IntrinsicCameraCalibrationZEL intrinsicsOf(const Lens& lens, const Size& size);

/// A slightly toed-in pair of such cameras, 64 mm apart.
[[nodiscard]] DeviceCalibrationZEL pairOf(const Lens& lens, const Size& size);

}  // namespace rectiline::bench
