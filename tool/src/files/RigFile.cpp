#include "files/RigFile.h"

#include "files/Outputs.h"
#include "maps/Calls.h"

namespace rectiline::tool {

void saveRig(const std::string& path, const DeviceCalibrationZEL& device) {
  std::size_t size = 0;
  check(rectiline_rig_to_xml(&device, nullptr, 0, &size));
  std::string text(size, '\0');
  check(rectiline_rig_to_xml(&device, text.data(), text.size(), &size));
  writeFile(path, text);
}

}  // namespace rectiline::tool
