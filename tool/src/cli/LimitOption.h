#pragma once

#include "images/PixelLimit.h"

namespace CLI {
class App;
class Option;
}  // namespace CLI

namespace rectiline::tool {

/// Declares `--max-pixels`.
CLI::Option* declareLimit(CLI::App& command, PixelLimit& limit);

}  // namespace rectiline::tool
