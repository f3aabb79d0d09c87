#pragma once

#include "images/ImageFile.h"

namespace CLI {
class App;
}

namespace rectiline::tool {

/// Declares `--format`, the format of the images that a subcommand writes.
void declareImageFormat(CLI::App& command, ImageFormat& format);

}  // namespace rectiline::tool
