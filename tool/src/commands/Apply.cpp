// apply: images through the maps that "maps" wrote.

#include <CLI/CLI.hpp>
#include <deque>
#include <memory>
#include <string>
#include <utility>
#include <vector>

#include "cli/ImageFormatOption.h"
#include "cli/LimitOption.h"
#include "cli/StandardOutput.h"
#include "commands/Commands.h"
#include "files/Outputs.h"
#include "images/PixelLimit.h"
#include "maps/MapFile.h"
#include "maps/Remapper.h"
#include "work/ImageJobs.h"

namespace rectiline::tool {
namespace {

struct Arguments {
  std::string maps;
  std::vector<std::string> images;
  OutputArgument output;
  ImageFormat format = ImageFormat::Png;
  PixelLimit limit;
};

/// What the results of each map are called: as "rectify" calls those of a pair, and "undistort"
/// those of a single camera.
std::vector<std::string> namesOf(const std::vector<StoredMap>& maps) {
  if (maps.size() == 1) return {fileNameOf(maps.front().source.camera)};
  std::vector<std::string> names;
  for (const StoredMap& stored : maps) names.push_back(fileNameOf(stored.name));
  return names;
}

void report(const std::string& name, const rectiline_map& size, double share, std::size_t images,
            Result& result) {
  print("%s: %d x %d, %.1f %% of the pixels have a source, %zu image%s\n", name.c_str(), size.width,
        size.height, 100 * share, images, images == 1 ? "" : "s");
  result.json["cameras"].push_back({{"name", name},
                                    {"width", size.width},
                                    {"height", size.height},
                                    {"share_with_source", share},
                                    {"images", images}});
}

Result apply(const Arguments& arguments) {
  std::vector<StoredMap> maps = readMaps(arguments.maps, arguments.limit);
  const std::vector<std::string> names = namesOf(maps);
  const ImagesByCamera images = imagesByCamera(arguments.maps, maps.size(), arguments.images);
  Outputs out(arguments.output, inputsOf(images, {arguments.maps}));
  const std::vector<ImageJob> jobs = planImageJobs(images, names, arguments.format, out);
  std::deque<Remapper> remappers;
  Result result;
  for (std::size_t i = 0; i < maps.size(); ++i) {
    const double share = reportOn(maps[i].map).share_with_source;
    if (!images[i].empty()) {
      requireSource(names[i], share);
      report(names[i], maps[i].map.view(), share, images[i].size(), result);
    }
    remappers.emplace_back(std::move(maps[i].map), std::move(maps[i].source));
  }
  runImageJobs(jobs, remappers, arguments.format);
  return result;
}

}  // namespace

Run declareApply(CLI::App& command) {
  const auto arguments = std::make_shared<Arguments>();
  command.add_option("MAPS", arguments->maps, "a file of \"rectiline maps\"")->required();
  command
      .add_option("IMAGES", arguments->images,
                  "of a pair the left and the right image, folder or pattern with one *; of a "
                  "single camera any number of them")
      ->required();
  arguments->output.declareDirectory(command);
  declareImageFormat(command, arguments->format);
  declareLimit(command, arguments->limit);
  return [arguments] { return apply(*arguments); };
}

}  // namespace rectiline::tool
