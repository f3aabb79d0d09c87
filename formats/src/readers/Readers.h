#pragma once

// Each format's recogniser and reader.

#include "Conventions.h"
#include "FormatList.h"

namespace rectiline::formats {

#define RECTILINE_READER(FORMAT)              \
  bool recognises##FORMAT(const SourceFile&); \
  Cameras read##FORMAT(const Files&, ReadContext&);
RECTILINE_READER(Rectiline)
RECTILINE_READER(Kalibr)
RECTILINE_READER(OpenCv)
RECTILINE_READER(Ros)
RECTILINE_READER(EuRoC)
RECTILINE_READER(Svo)
RECTILINE_READER(Basalt)
RECTILINE_READER(OrbSlam)
RECTILINE_READER(Kitti)
RECTILINE_READER(Oak)
RECTILINE_READER(Azure)
RECTILINE_READER(Colmap)
RECTILINE_READER(Fov)
#undef RECTILINE_READER

/// A camera that is still to be filled.
inline SourceCamera namedCamera(const Field& field, const std::string& name) {
  SourceCamera camera;
  camera.place = {field.place().file, name, ""};
  return camera;
}

}  // namespace rectiline::formats
