// A whole document: from bytes to a rig and back.

#include "AR/CV/RigDocument.h"

#include <cstdio>

#include "Attribute.h"
#include "RigFile.h"

namespace AR::CV {
namespace {

constexpr char kRoot[] = "DeviceConfiguration";

}  // namespace

template <typename P>
std::string RigFile::documentText(const FullStereoCameraCalibration<P>& rig) {
  TiXmlDocument document;
  document.LinkEndChild(std::make_unique<TiXmlDeclaration>("1.0", "UTF-8", "").release());
  auto root = std::make_unique<TiXmlElement>(kRoot);
  rig.saveCalibration(root.get(), false, false, XMLFormat::Current);
  document.LinkEndChild(root.release());
  TiXmlPrinter printer;
  document.Accept(&printer);
  return printer.Str();
}

bool RigFile::trySave(const std::string& document, const std::string& filename) {
  std::FILE* const file = std::fopen(filename.c_str(), "w");
  if (file == nullptr) return false;
  const bool isWritten = std::fwrite(document.data(), 1, document.size(), file) == document.size();
  // What fails only now, as on a full disk, is a failure too.
  return std::fclose(file) == 0 && isWritten;
}

bool tryRigFromXml(const char* const bytes, const std::size_t size,
                   FullStereoCameraCalibration<double>& rig, std::string& why) {
  why.clear();
  Common::ConfigNode config;
  if (bytes == nullptr) return RigFile::refuse(why, "expected a document, found none");
  if (!config.trySetFromXML({bytes, size}, why)) return false;
  if (config.getName() != kRoot) {
    return RigFile::refuse(
        why, std::string("expected the root element ") + kRoot + ", found " + config.getName());
  }
  FullStereoCameraCalibration<double> loaded(CalibrationInfo(CalibrationInfo::UNKNOWN, 0));
  RigFile::RigLoader<double> loader(loaded, {});
  const bool isLoaded = loader.load(config, false);
  why = loader.why();
  // A camera that was left out is missing to a caller who asked for all of them.
  if (!isLoaded || !why.empty()) return false;
  rig = loaded;
  return true;
}

bool tryRigToXml(const FullStereoCameraCalibration<double>& rig, std::string& bytes,
                 std::string& why) {
  why.clear();
  if (rig.empty()) return RigFile::refuse(why, "expected a camera, found none");
  for (std::size_t i = 0; i < rig.size(); ++i) {
    if (rig[i].isInitialized()) continue;
    return RigFile::refuse(why, "camera " + std::to_string(i) + ": expected a name and intrinsics");
  }
  std::string document = RigFile::documentText(rig);
  // Rounding to the document's digits may carry a value over the edge of what is accepted.
  FullStereoCameraCalibration<double> again(rig.getInfo());
  if (!tryRigFromXml(document.data(), document.size(), again, why)) return false;
  bytes = std::move(document);
  return true;
}

template std::string RigFile::documentText(const FullStereoCameraCalibration<float>&);
template std::string RigFile::documentText(const FullStereoCameraCalibration<double>&);

}  // namespace AR::CV
