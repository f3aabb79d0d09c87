#pragma once

#include <string>

namespace rectiline::tool {

/// Draws the scene as the rig's first two cameras see it and writes into `directory`: left.png and
/// right.png (8-bit), left_depth_mm.png and right_depth_mm.png (16-bit, depth along the camera's
/// axis in millimetres, 0 where there is none), and points.csv (one corner
/// of a checkerboard that both cameras can see a line: its position x,y,z and the two edges of its
/// cells, metres, in the left camera's frame). Throws Error.
void render(const std::string& rigFile, const std::string& directory);

}  // namespace rectiline::tool
