#include "maps/MapFile.h"

#include <memory>
#include <nlohmann/json.hpp>
#include <utility>

#include "arrays/Array.h"
#include "cli/Error.h"
#include "files/PlainFile.h"

namespace rectiline::tool {
namespace {

using Json = nlohmann::ordered_json;

[[noreturn]] void refuseAsNone(const std::string& file) {
  throw Error(file + ": holds no maps; expected a file of \"rectiline maps\", .npz or .yml");
}

std::unique_ptr<ArrayReader> openArrays(const std::string& file, const PixelLimit& limit) {
  char start[5] = "";
  openPlainFile(file).read(start, sizeof start - 1);
  const std::string_view first(start);
  if (first.starts_with("PK")) return openNpz(file, limit);
  if (first.starts_with("%YA")) return openFileStorage(file, limit);
  refuseAsNone(file);
}

/// The cameras of which the text says what their maps are for.
Json camerasOf(const std::string& about) {
  const Json facts = Json::parse(about, nullptr, false);
  const auto cameras = facts.is_object() ? facts.find("cameras") : facts.end();
  return cameras == facts.end() || !cameras->is_object() ? Json::object() : *cameras;
}

int sizeOf(const Json& camera, const char* key) {
  constexpr int kMost = 1'000'000;
  const auto size = camera.find(key);
  const bool isSize =
      size != camera.end() && size->is_number_unsigned() && *size > 0 && *size <= kMost;
  return isSize ? size->get<int>() : 0;
}

RawSize sourceOf(const std::string& file, const std::string& name, const Json& camera) {
  if (!camera.is_object()) refuseAsNone(file);
  const auto own = camera.find("name");
  const RawSize source{own != camera.end() && own->is_string() ? own->get<std::string>() : name,
                       sizeOf(camera, "raw_width"), sizeOf(camera, "raw_height")};
  if (source.width > 0 && source.height > 0) return source;
  throw Error(file + ": does not say the size of the raw images of " + name);
}

StoredMap readMap(const std::string& file, ArrayReader& arrays, const std::string& name,
                  const Json& camera) {
  RawSize source = sourceOf(file, name, camera);
  Pixels<float> x = arrays.floats(name + "_x");
  Pixels<float> y = arrays.floats(name + "_y");
  if (x.width != y.width || x.height != y.height) {
    throw Error(file + ": " + name + "_x and " + name + "_y are not of one size");
  }
  return {name, std::move(source), Map(std::move(x), std::move(y))};
}

}  // namespace

std::vector<StoredMap> readMaps(const std::string& file, const PixelLimit& limit) {
  const std::unique_ptr<ArrayReader> arrays = openArrays(file, limit);
  const Json cameras = camerasOf(arrays->about());
  if (cameras.empty() || cameras.size() > RECTILINE_MAX_CAMERAS) refuseAsNone(file);
  std::vector<StoredMap> maps;
  for (const auto& [name, camera] : cameras.items()) {
    maps.push_back(readMap(file, *arrays, name, camera));
  }
  return maps;
}

}  // namespace rectiline::tool
