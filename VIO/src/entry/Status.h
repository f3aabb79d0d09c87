#pragma once

namespace VIO {

// What the entry points with an `int` result return. The numbers are part of the interface.
inline constexpr int kSuccess = 0;
inline constexpr int kNullPointer = -12;
inline constexpr int kImagesDoNotMatch = 1999999;  // too few or too many, or not 8-bit
inline constexpr int kSizeMismatch = 1999998;      // or a record that cannot be converted
inline constexpr int kRemapFailed = 1999997;

}  // namespace VIO
