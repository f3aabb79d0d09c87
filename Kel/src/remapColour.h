#pragma once

#include "Kel/remapImage.h"

namespace kel {

/// Fills `count` pixels of one row of an image of 8-bit channels, 3 or 4 of them.
/// @param x, y  the row of the maps
void remapColourRowScalar(const ConstImage& source, int channels, const float* x, const float* y,
                          std::uint8_t* target, int count);

/// The same bytes, a pixel's channels side by side in a vector.
void remapColourRow(const ConstImage& source, int channels, const float* x, const float* y,
                    std::uint8_t* target, int count);

}  // namespace kel
