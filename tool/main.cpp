// rectiline: rectifies image pairs of a calibrated device, and renders pairs to try it on.

#include <CLI/CLI.hpp>
#include <cstdio>
#include <exception>

#include "AR/Common/Logger.h"
#include "Rectify.h"
#include "Render.h"

namespace {

using rectiline::tool::RectifyOptions;

/// The library's log goes to the terminal only when asked for; the commands print their own lines.
void setUpLog(bool verbose) {
  using AR::Common::Logger;
  Logger& logger = Logger::getInstance();
  logger.setLevel(verbose ? Logger::DEBUG : Logger::ERR);
  logger.setFlag(Logger::kFlagConsole, verbose);
}

}  // namespace

int main(int argc, char** argv) {
  CLI::App app("Rectifies image pairs of a calibrated stereo device.");
  app.require_subcommand(1);
  bool verbose = false;
  app.add_flag("-v,--verbose", verbose, "show the library's log");

  RectifyOptions options;
  CLI::App* const rectify = app.add_subcommand("rectify", "rectify one pair of 8-bit PNG images");
  rectify->add_option("RIG", options.rigFile, "device configuration, XML")->required();
  rectify->add_option("LEFT", options.leftFile, "left image")->required();
  rectify->add_option("RIGHT", options.rightFile, "right image")->required();
  rectify->add_option("-o,--output", options.directory, "directory for the results")->required();
  rectify->add_option("--points", options.pointsFile,
                      "points of a rendered scene, to measure the result against");

  CLI::App* const render = app.add_subcommand("render", "draw a raw pair of a simple scene");
  render->add_option("RIG", options.rigFile, "device configuration, XML")->required();
  render->add_option("-o,--output", options.directory, "directory for the results")->required();

  CLI11_PARSE(app, argc, argv);
  try {
    setUpLog(verbose);
    if (rectify->parsed()) rectiline::tool::rectify(options);
    if (render->parsed()) rectiline::tool::render(options.rigFile, options.directory);
  } catch (const std::exception& error) {
    std::fprintf(stderr, "rectiline: %s\n", error.what());
    return 1;
  }
  return 0;
}
