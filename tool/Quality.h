#pragma once

#include <string>

namespace rectiline::tool {

/// Prints how well each camera of a rig is approximated and, when it has two, what its
/// rectification maps cover and how exact they are. Throws Error.
void report(const std::string& rigFile);

/// Rectifies `rigFile` and measures the maps against the exact formulas of `truthFile` (the same
/// rig when empty). Throws Error when a row or map error exceeds `limit` pixels.
void verify(const std::string& rigFile, const std::string& truthFile, double limit);

}  // namespace rectiline::tool
