#include "cli/ImageFormatOption.h"

#include <CLI/CLI.hpp>
#include <string>

namespace rectiline::tool {

void declareImageFormat(CLI::App& command, ImageFormat& format) {
  command
      .add_option_function<std::string>(
          "--format", [&format](const std::string& name) { format = imageFormatFromName(name); },
          "format of the images that are written")
      ->check(CLI::IsMember(imageFormatNames()))
      ->default_str("png");
}

}  // namespace rectiline::tool
