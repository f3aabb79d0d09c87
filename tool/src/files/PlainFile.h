#pragma once

#include <cstdint>
#include <fstream>
#include <string>

namespace rectiline::tool {

/// Opens a file to be read. Throws Error for what is none: a folder, or a pipe, which might never
/// end.
std::ifstream openPlainFile(const std::string& path);

/// The bytes from where the stream stands to the end of the file.
std::uint64_t sizeOfRest(std::ifstream& in);

}  // namespace rectiline::tool
