// verify: whether the maps of a rig are right by the exact formulas.

#include <CLI/CLI.hpp>
#include <algorithm>
#include <cstdio>
#include <memory>

#include "cli/RigArgument.h"
#include "cli/StandardOutput.h"
#include "commands/Commands.h"
#include "maps/Certificate.h"
#include "maps/Maps.h"

namespace rectiline::tool {
namespace {

struct Arguments {
  RigArgument rig;
  std::string truth;
  double limit = 0;
};

Result verify(const Arguments& arguments) {
  const Rig rig = arguments.rig.readPair();
  const DeviceCalibrationZEL truth =
      arguments.truth.empty() ? rig.device : RigArgument::readTruth(arguments.truth);
  const PairMaps maps = createPairMaps(rig.device);
  const rectiline_certificate c = certify(maps, truth);
  printCertificate(c);
  print("compared: the maps with the calibration; \"rectiline check\" compares it with images\n");
  const double worst = std::max({c.max_row_error, c.max_map_error_left, c.max_map_error_right});
  Result result{toJson(c), ""};
  result.json["worst"] = worst;
  result.json["limit"] = arguments.limit;
  if (!(worst <= arguments.limit)) {
    char message[128];
    std::snprintf(message, sizeof message, "the maps are %.5f px off, above the limit of %g px",
                  worst, arguments.limit);
    result.verdict = message;
  }
  return result;
}

}  // namespace

Run declareVerify(CLI::App& command) {
  const auto arguments = std::make_shared<Arguments>();
  arguments->rig.declare(command);
  command.add_option("--limit", arguments->limit, "greatest row and map error, pixels")->required();
  command.add_option("--truth", arguments->truth,
                     "the rig that the maps are measured against, if another");
  return [arguments] { return verify(*arguments); };
}

}  // namespace rectiline::tool
