#pragma once

#include <cstdint>
#include <string>

#include "cli/Error.h"

namespace rectiline::tool {

/// How many pixels an image may have. Ask before memory is taken for it.
struct PixelLimit {
  std::uint64_t pixels = 100'000'000;

  /// Throws Error when an image of `owner` would have more.
  void require(const std::string& owner, int width, int height) const {
    const auto wanted = static_cast<std::uint64_t>(width) * static_cast<std::uint64_t>(height);
    if (wanted <= pixels) return;
    throw Error(owner + ": " + std::to_string(width) + "x" + std::to_string(height) + " are " +
                std::to_string(wanted) + " pixels, above the limit of " + std::to_string(pixels) +
                " (see --max-pixels)");
  }
};

}  // namespace rectiline::tool
