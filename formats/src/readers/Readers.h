#pragma once

// Each format's recogniser and reader.

#include "Conventions.h"
#include "FormatList.h"

namespace rectiline::formats {

#define RECTILINE_READER(FORMAT)              \
  bool recognises##FORMAT(const SourceFile&); \
  Cameras read##FORMAT(const Files&, ReadContext&);
RECTILINE_READER(Kalibr)
RECTILINE_READER(OpenCv)
RECTILINE_READER(Ros)
RECTILINE_READER(EuRoC)
#undef RECTILINE_READER

/// A camera that is still to be filled.
inline SourceCamera namedCamera(const Field& field, const std::string& name) {
  SourceCamera camera;
  camera.place = {field.place().file, name, ""};
  return camera;
}

}  // namespace rectiline::formats
