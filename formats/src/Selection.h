#pragma once

#include <string>
#include <vector>

#include "FormatList.h"

namespace rectiline::formats {

/// The parts between the commas of a text.
std::vector<std::string> commaSeparated(const std::string& text);

/// The cameras that a list like "left,right" asks for. Its words are names if all of them are, and
/// indices in the list of cameras if all of them are that; in a list of both, a word that is no
/// name is an index. Where the names are numbers both may be so and mean different cameras: then
/// nothing is guessed, and "name:1" and "index:1" say it. OAK-D's cameras are called by their
/// sockets alone.
///
/// Throws FormatError.
Cameras selectCameras(const Cameras& cameras, const std::string& list, Format format);

}  // namespace rectiline::formats
