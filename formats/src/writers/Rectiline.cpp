#include "rectiline/rectiline.h"

#include "Check.h"
#include "writers/Writers.h"

namespace rectiline::formats {

WrittenFiles writeRectiline(const TargetCameras& cameras, std::vector<std::string>&) {
  const DeviceCalibrationZEL device = deviceOf(cameras);
  std::size_t size = 0;
  if (rectiline_rig_to_xml(&device, nullptr, 0, &size) != RECTILINE_OK) throwLibraryError({});
  std::string text(size, '\0');
  if (rectiline_rig_to_xml(&device, text.data(), text.size(), &size) != RECTILINE_OK) {
    throwLibraryError({});
  }
  return {{"rig.xml", text}};
}

}  // namespace rectiline::formats
