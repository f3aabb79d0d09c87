#pragma once

#include <optional>
#include <span>
#include <vector>

#include "CameraPair.h"
#include "Frame.h"

namespace rectiline::check {

/// The rig with lenses of the other kind (radial for fisheye and the reverse) and the same
/// coefficients, or without distortion as for images that were undistorted before.
std::vector<CameraPair> guessLenses(const CameraPair& given);

/// For a rig without any distortion: with a radial and with a fisheye lens, the same two
/// coefficients in both cameras, that best make the rows of the matches agree.
std::vector<CameraPair> fitLenses(const CameraPair& given, std::span<const RawMatch> matches);

}  // namespace rectiline::check
