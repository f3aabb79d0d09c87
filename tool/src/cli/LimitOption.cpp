#include "cli/LimitOption.h"

#include <CLI/CLI.hpp>

namespace rectiline::tool {

CLI::Option* declareLimit(CLI::App& command, PixelLimit& limit) {
  return command.add_option("--max-pixels", limit.pixels, "the largest image to read or make")
      ->capture_default_str();
}

}  // namespace rectiline::tool
