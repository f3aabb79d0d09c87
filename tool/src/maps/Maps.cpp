#include "maps/Maps.h"

#include <algorithm>

#include "cli/StandardOutput.h"
#include "maps/Calls.h"

namespace rectiline::tool {
namespace {

void printWarnings(const rectiline_rectification& r) {
  for (std::uint32_t i = 0; i < std::min<std::uint32_t>(r.warning_count, RECTILINE_MAX_WARNINGS);
       ++i) {
    warn(r.warnings[i].text);
  }
}

rectiline_image imageOf(GreyImage& image) {
  auto view = sized<rectiline_image>();
  view.format = RECTILINE_GREY8;
  view.width = image.width;
  view.height = image.height;
  view.data = image.data.data();
  return view;
}

}  // namespace

Map::Map(int width, int height) : mX(width, height), mY(width, height), mReasons(width, height) {}

rectiline_map Map::view() {
  auto map = sized<rectiline_map>();
  map.width = mX.width;
  map.height = mX.height;
  map.x = mX.data.data();
  map.y = mY.data.data();
  map.reasons = mReasons.data.data();
  return map;
}

PairMaps createPairMaps(const DeviceCalibrationZEL& device) {
  const auto automatic = sized<rectiline_options>();
  auto result = sized<rectiline_rectification>();
  check(rectiline_rectify(&device, &automatic, nullptr, nullptr, &result));
  PairMaps maps{result, Map(result.left.width, result.left.height),
                Map(result.right.width, result.right.height)};
  const rectiline_map left = maps.left.view();
  const rectiline_map right = maps.right.view();
  check(rectiline_rectify(&device, &automatic, &left, &right, &maps.rectification));
  printWarnings(maps.rectification);
  return maps;
}

rectiline_report reportOn(Map& map) {
  auto report = sized<rectiline_report>();
  const rectiline_map view = map.view();
  check(rectiline_map_report(&view, &report));
  return report;
}

GreyImage remap(GreyImage& source, Map& map) {
  const rectiline_map through = map.view();
  GreyImage target(through.width, through.height);
  const rectiline_image from = imageOf(source);
  const rectiline_image to = imageOf(target);
  check(rectiline_remap(&from, &through, &to));
  return target;
}

GreyImage readImage(const std::string& file, const CameraCalibrationZEL& camera) {
  GreyImage image = readGrey(file);
  const int width = camera.intrinsics.width;
  const int height = camera.intrinsics.height;
  if (image.width != width || image.height != height) {
    throw Error(file + ": is " + std::to_string(image.width) + "x" + std::to_string(image.height) +
                ", camera " + camera.name + " has " + std::to_string(width) + "x" +
                std::to_string(height));
  }
  return image;
}

}  // namespace rectiline::tool
