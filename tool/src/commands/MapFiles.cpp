// maps: the maps of a calibration in a file for other programs.

#include <CLI/CLI.hpp>
#include <algorithm>
#include <cmath>
#include <memory>
#include <string>
#include <vector>

#include "arrays/Array.h"
#include "cli/Error.h"
#include "cli/RigArgument.h"
#include "cli/StandardOutput.h"
#include "cli/ViewArgument.h"
#include "commands/Commands.h"
#include "files/Outputs.h"
#include "maps/Maps.h"

namespace rectiline::tool {
namespace {

using Json = nlohmann::ordered_json;

struct Arguments {
  RigArgument rig;
  ViewArgument view;
  OutputArgument output;
};

std::size_t asSize(int value) { return static_cast<std::size_t>(value); }

/// Collects arrays together with what they are. What it is given must outlive it.
class Collection {
 public:
  Collection() {
    mAbout["no_source"] = -1;
    mAbout["pixels"] = "an integer coordinate is the position of a pixel";
    mAbout["reasons"] = {{"0", "has a source"},
                         {"1", "has a source, past the last pixel centre"},
                         {"2", "behind the camera"},
                         {"3", "outside the range of the lens's distortion"},
                         {"4", "the target has no ray for the pixel"},
                         {"5", "outside the source image"}};
  }

  /// The planes of the map that leads to the raw images of `camera`.
  void addMap(const std::string& name, const rectiline_map& map,
              const CameraCalibrationZEL& camera) {
    const std::string target = "at each pixel of the " + name + " target: ";
    const auto addPlane = [&](const char* plane, Element element, const void* data,
                              const char* meaning) {
      add({name + plane, element, asSize(map.height), asSize(map.width), data}, target + meaning);
    };
    addPlane("_x", Element::Float32, map.x, "column of the raw image to sample");
    addPlane("_y", Element::Float32, map.y, "row of the raw image to sample");
    addPlane("_reasons", Element::UInt8, map.reasons, "why it has a source or none");
    mAbout["cameras"][name] = {{"name", camera.name},
                               {"raw_width", camera.intrinsics.width},
                               {"raw_height", camera.intrinsics.height}};
  }

  /// A matrix that may not exist for the kind of view, which its NaN say.
  void addMatrix(const std::string& name, int rows, const double* values, int count,
                 const char* meaning) {
    if (std::any_of(values, values + count, [](double v) { return std::isnan(v); })) return;
    add({name, Element::Float64, asSize(rows), asSize(count / rows), values}, meaning);
  }

  void addFact(const std::string& name, const Json& value) { mAbout[name] = value; }

  [[nodiscard]] const Json& about() const { return mAbout; }
  [[nodiscard]] ArrayFile file() const { return {mArrays, mAbout.dump()}; }

 private:
  void add(const NamedArray& array, const std::string& meaning) {
    mArrays.push_back(array);
    mAbout["arrays"][array.name] = meaning;
  }

  std::vector<NamedArray> mArrays;
  Json mAbout;
};

/// What the file holds for two cameras that say how they lie to each other.
void collectPair(const DeviceCalibrationZEL& device, const PairMaps& maps, Collection& collection) {
  const rectiline_rectification& r = maps.rectification;
  collection.addMap("left", maps.left.view(), device.cameras[0]);
  collection.addMap("right", maps.right.view(), device.cameras[1]);
  collection.addMatrix("R1", 3, r.R1, 9, "raw left camera to rectified, as OpenCV's stereoRectify");
  collection.addMatrix("R2", 3, r.R2, 9, "raw right camera to rectified");
  collection.addMatrix("P1", 3, r.P1, 12, "projection of the rectified left camera");
  collection.addMatrix("P2", 3, r.P2, 12, "projection of the rectified right camera");
  collection.addMatrix("Q", 4, r.Q, 16, "disparity to depth, for OpenCV's reprojectImageTo3D");
  collection.addFact("baseline", r.baseline);
  collection.addFact("depth_constant", r.depth_constant);
}

using Writer = std::string (*)(const ArrayFile&);

Writer writerFor(const std::string& file) {
  if (file.ends_with(".npz")) return toNpz;
  if (file.ends_with(".yml") || file.ends_with(".yaml")) return toFileStorage;
  throw Error(file + ": expected a name that ends with .npz (NumPy) or .yml (OpenCV)",
              ExitCode::Usage);
}

Result write(const Collection& collection, Writer writer, const std::string& file) {
  writeFile(file, writer(collection.file()));
  const Json& about = collection.about();
  print("%s\n", file.c_str());
  for (const auto& [name, meaning] : about["arrays"].items()) {
    print("  %-15s %s\n", name.c_str(), meaning.get<std::string>().c_str());
  }
  Result result{{{"output", file}}, ""};
  result.json.update(about);
  return result;
}

/// A pair's rectification maps, or the undistortion map of the only camera.
Result writeMaps(const Arguments& arguments) {
  const Writer writer = writerFor(arguments.output.path);
  const Rig rig = arguments.rig.readPairOrSingle();
  Outputs out(arguments.output, arguments.rig.files());
  const std::string file = out.singleFile();
  Collection collection;
  const rectiline_options options = arguments.view.options(rig);
  const PixelLimit& limit = arguments.rig.limit();
  if (rig.device.num_cameras == 1) {
    const CameraCalibrationZEL& camera = rig.device.cameras[0];
    const UndistortMap made = createUndistortMap(camera, options, limit);
    collection.addMap("camera", made.map.view(), camera);
    return write(collection, writer, file);
  }
  const PairMaps maps = createPairMaps(rig.device, options, limit);
  collectPair(rig.device, maps, collection);
  return write(collection, writer, file);
}

}  // namespace

Run declareMaps(CLI::App& command) {
  const auto arguments = std::make_shared<Arguments>();
  arguments->rig.declare(command, RigArgument::SizeOption::AlsoOfResults);
  arguments->view.declare(command);
  arguments->output.declareFile(command, "FILE.npz for NumPy, FILE.yml for OpenCV");
  return [arguments] { return writeMaps(*arguments); };
}

}  // namespace rectiline::tool
