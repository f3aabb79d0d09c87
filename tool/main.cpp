// rectiline: rectifies image pairs of a calibrated device, and renders pairs to try it on.

#include <CLI/CLI.hpp>
#include <cstdio>
#include <exception>
#include <functional>
#include <string>
#include <utility>

#include "Calls.h"
#include "Quality.h"
#include "Rectify.h"
#include "Render.h"
#include "Undistort.h"
#include "rectiline/rectiline.h"

namespace {

using rectiline::tool::RectifyOptions;
using rectiline::tool::UndistortOptions;

/// The library's log goes to the terminal only when asked for; the commands print their own lines.
void setUpLog(bool verbose) {
  constexpr int kErrors = 1;
  constexpr int kDebug = 3;
  rectiline::tool::check(rectiline_set_log(verbose ? kDebug : kErrors, verbose ? 1 : 0));
}

/// The arguments of all commands.
struct Arguments {
  bool verbose = false;
  RectifyOptions rectify;
  UndistortOptions undistort;
  std::string rigFile;
  std::string directory;
  std::string truthFile;
  double limit = 0;
};

constexpr char kRigHelp[] = "device configuration, XML";
constexpr char kOutputHelp[] = "directory for the results";

/// Declares one command; `run` is what it does.
CLI::App* addCommand(CLI::App& app, const char* name, const char* help, std::string& rigFile,
                     std::function<void()> run) {
  CLI::App* const command = app.add_subcommand(name, help);
  command->add_option("RIG", rigFile, kRigHelp)->required();
  command->final_callback(std::move(run));
  return command;
}

void addCommands(CLI::App& app, Arguments& a) {
  namespace tool = rectiline::tool;
  app.add_flag("-v,--verbose", a.verbose, "show the library's log");

  CLI::App* command = addCommand(app, "rectify", "rectify one pair of 8-bit PNG images",
                                 a.rectify.rigFile, [&a] { tool::rectify(a.rectify); });
  command->add_option("LEFT", a.rectify.leftFile, "left image")->required();
  command->add_option("RIGHT", a.rectify.rightFile, "right image")->required();
  command->add_option("-o,--output", a.rectify.directory, kOutputHelp)->required();
  command->add_option("--points", a.rectify.pointsFile,
                      "points of a rendered scene, to measure the result against");

  command = addCommand(app, "undistort", "turn images into images of pinhole cameras",
                       a.undistort.rigFile, [&a] { tool::undistort(a.undistort); });
  command->add_option("IMAGES", a.undistort.imageFiles, "images of the first cameras")->required();
  command->add_option("-o,--output", a.undistort.directory, kOutputHelp)->required();
  command->add_flag("--whole", a.undistort.whole,
                    "keep the whole image instead of the focal length at its centre");

  command = addCommand(app, "render", "draw a raw pair of a simple scene", a.rigFile,
                       [&a] { tool::render(a.rigFile, a.directory); });
  command->add_option("-o,--output", a.directory, kOutputHelp)->required();

  addCommand(app, "report", "say how good cameras and maps of a rig are", a.rigFile,
             [&a] { tool::report(a.rigFile); });

  command = addCommand(app, "verify", "fail when the maps of a rig are off by more than a limit",
                       a.rigFile, [&a] { tool::verify(a.rigFile, a.truthFile, a.limit); });
  command->add_option("--limit", a.limit, "greatest row and map error, pixels")->required();
  command->add_option("--truth", a.truthFile,
                      "the rig that the maps are measured against, if another");
}

}  // namespace

int main(int argc, char** argv) {
  CLI::App app("Rectifies and undistorts images of a calibrated device, and says how well.");
  app.require_subcommand(1);
  app.set_version_flag("--version", std::string("rectiline ") + rectiline_version());
  Arguments arguments;
  app.parse_complete_callback([&arguments] { setUpLog(arguments.verbose); });
  addCommands(app, arguments);
  try {
    app.parse(argc, argv);
  } catch (const CLI::ParseError& error) {
    return app.exit(error);
  } catch (const std::exception& error) {
    std::fprintf(stderr, "rectiline: %s\n", error.what());
    return 1;
  }
  return 0;
}
