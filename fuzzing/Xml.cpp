// XML: a document that is accepted is written, and loads as the same tree.

#include <sstream>
#include <string>

#include "AR/Common/ConfigNode.h"
#include "AR/Common/LogFilter.h"
#include "AR/Math/Vector.h"
#include "Finding.h"
#include "rectiline/rectiline.h"

namespace {

using AR::Common::ConfigNode;

void readSettings(const ConfigNode& node, int depth) {
  AR::Math::Vec<float, 3> vector;
  std::string text;
  float number = 0;
  bool truth = false;
  for (const char* const name : {"size", "name", "value", "Camera.size"}) {
    (void)node.ifExistsGetDescendentAttribute(name, vector, "");
    (void)node.ifExistsGetDescendentAttribute(name, number, "");
    (void)node.ifExistsGetDescendentAttribute(name, truth, "");
    (void)node.ifExistsGetDescendentAttribute(name, text, "");
  }
  for (std::size_t i = 0; i < node.getNumChildren() && depth < 3; ++i) {
    readSettings(*node.getChildAt(i), depth + 1);
  }
}

std::string written(const ConfigNode& node) {
  std::ostringstream stream;
  return node.writeToXML(stream, 2) ? stream.str() : "";
}

void readTree(const std::string& xml) {
  ConfigNode node;
  std::string why;
  if (!node.trySetFromXML(xml, why)) {
    FUZZ_EXPECT(!why.empty());
    return;
  }
  readSettings(node, 0);
  AR::Common::LogFilter filter;
  filter.initializeFromConfiguration(node);
  (void)filter.getLevel("A::b", -1);
  const std::string once = written(node);
  if (once.empty()) return;
  ConfigNode again;
  FUZZ_EXPECT(again.trySetFromXML(once, why));
  FUZZ_EXPECT(written(again) == once);
}

/// A device that is read can be written, and read again.
void readRig(const std::string& xml) {
  DeviceCalibrationZEL device{};
  const int status = rectiline_rig_from_xml(xml.data(), xml.size(), &device);
  FUZZ_EXPECT(status == RECTILINE_OK || status == RECTILINE_BAD_FILE);
  if (status != RECTILINE_OK) return;
  std::string text(std::size_t{64} << 10, '\0');
  std::size_t needed = 0;
  if (rectiline_rig_to_xml(&device, text.data(), text.size(), &needed) != RECTILINE_OK) return;
  DeviceCalibrationZEL again{};
  FUZZ_EXPECT(rectiline_rig_from_xml(text.data(), needed, &again) == RECTILINE_OK);
  FUZZ_EXPECT(again.num_cameras == device.num_cameras);
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  const std::string xml(reinterpret_cast<const char*>(data), size);
  readTree(xml);
  readRig(xml);
  return 0;
}
