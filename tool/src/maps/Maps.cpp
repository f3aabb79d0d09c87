#include "maps/Maps.h"

#include <algorithm>
#include <utility>

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

}  // namespace

Map::Map(int width, int height) : mX(width, height), mY(width, height), mReasons(width, height) {}

Map::Map(Pixels<float> x, Pixels<float> y) : mX(std::move(x)), mY(std::move(y)) {}

rectiline_map Map::view() const {
  auto map = sized<rectiline_map>();
  map.width = mX.width;
  map.height = mX.height;
  // The library writes to maps that it is asked to make only.
  map.x = const_cast<float*>(mX.data.data());
  map.y = const_cast<float*>(mY.data.data());
  if (!mReasons.data.empty()) map.reasons = const_cast<std::uint8_t*>(mReasons.data.data());
  return map;
}

rectiline_options automaticOptions() { return sized<rectiline_options>(); }

PairMaps createPairMaps(const DeviceCalibrationZEL& device, const rectiline_options& options,
                        const PixelLimit& limit) {
  auto result = sized<rectiline_rectification>();
  check(rectiline_rectify(&device, &options, nullptr, nullptr, &result));
  limit.require("the rectified images", result.left.width, result.left.height);
  PairMaps maps{result, Map(result.left.width, result.left.height),
                Map(result.right.width, result.right.height)};
  const rectiline_map left = maps.left.view();
  const rectiline_map right = maps.right.view();
  check(rectiline_rectify(&device, &options, &left, &right, &maps.rectification));
  printWarnings(maps.rectification);
  return maps;
}

UndistortMap createUndistortMap(const CameraCalibrationZEL& camera,
                                const rectiline_options& options, const PixelLimit& limit) {
  auto view = sized<rectiline_view>();
  check(rectiline_undistort(&camera, &options, nullptr, &view));
  limit.require(std::string("the undistorted image of ") + camera.name, view.width, view.height);
  UndistortMap made{view, Map(view.width, view.height)};
  const rectiline_map target = made.map.view();
  check(rectiline_undistort(&camera, &options, &target, nullptr));
  return made;
}

rectiline_report reportOn(const Map& map) {
  auto report = sized<rectiline_report>();
  const rectiline_map view = map.view();
  check(rectiline_map_report(&view, &report));
  return report;
}

}  // namespace rectiline::tool
