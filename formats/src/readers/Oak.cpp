// Calibration JSON of OAK-D cameras (DepthAI): cameras by socket, each with its transform into
// another one's frame.

#include "readers/Readers.h"

namespace rectiline::formats {
namespace {

/// What leads from one socket to the next.
struct Link {
  int socket;
  int to;  ///< -1: the chain ends here.
  Pose T_to_this;
};

Vec3 readXyz(const Field& field) {
  return {field["x"].number(), field["y"].number(), field["z"].number()};
}

Link readLink(int socket, const Field& camera) {
  const Field extrinsics = camera["extrinsics"];
  const int to = extrinsics["toCameraSocket"].integer();
  if (to < 0) return {socket, -1, {}};
  return {
      socket, to, {readRotation(extrinsics["rotationMatrix"]), readXyz(extrinsics["translation"])}};
}

/// T_end_camera, along the links to where they end.
Pose followLinks(const std::vector<Link>& links, std::size_t start, int& end, const Field& camera) {
  Pose T_end_camera;
  const Link* link = &links[start];
  for (std::size_t steps = 0; link->to >= 0; ++steps) {
    T_end_camera = link->T_to_this * T_end_camera;
    const int to = link->to;
    link = nullptr;
    for (const Link& next : links) {
      if (next.socket == to) link = &next;
    }
    const bool isFound = link != nullptr && steps < links.size();
    if (!isFound) {
      camera["extrinsics"]["toCameraSocket"].refuse("a chain of sockets that ends",
                                                    "one without end");
    }
  }
  end = link->socket;
  return T_end_camera;
}

SourceCamera readCamera(const std::string& name, const Field& field) {
  SourceCamera camera = namedCamera(field, name);
  const Field type = field["cameraType"];
  const std::string word = type.integer() == 1 ? "fisheye" : "perspective";
  setLens(camera, Format::Oak, type, word, field["distortionCoeff"]);
  readCameraMatrix(camera.lens, field["intrinsicMatrix"]);
  camera.size = PixelSize{field["width"].integer(), field["height"].integer()};
  return camera;
}

}  // namespace

bool recognisesOak(const SourceFile& file) {
  return file.syntax == Syntax::Json && file.tree.find("cameraData") != nullptr;
}

Cameras readOak(const Files& files, ReadContext& context) {
  const Field list = onlyFile(files).root()["cameraData"];
  Cameras cameras;
  std::vector<Link> links;
  std::vector<Field> fields;
  for (std::size_t i = 0; i < list.size(); ++i) {
    if (list.at(i).size() != 2) list.at(i).refuse("a socket and its camera");
    const int socket = list.at(i).at(0).integer();
    const std::string name = std::to_string(socket);
    const Field field = list.at(i).at(1).of(name);
    if (field["width"].integer() == 0) {
      context.notes.push_back("Socket " + name + " has no calibration and was left out.");
      continue;
    }
    links.push_back(readLink(socket, field));
    fields.push_back(field);
    cameras.push_back(readCamera(name, field));
  }
  int firstEnd = -1;
  for (std::size_t i = 0; i < cameras.size(); ++i) {
    int end = -1;
    const Pose T_end_camera = followLinks(links, i, end, fields[i]);
    if (i == 0) firstEnd = end;
    // A camera of another chain has no pose in this one.
    if (end != firstEnd) continue;
    cameras[i].T_camera_reference = poseFrom(T_end_camera, directionOf(Format::Oak, "extrinsics"));
  }
  return cameras;
}

}  // namespace rectiline::formats
