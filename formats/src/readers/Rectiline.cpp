// The project's own device configuration. The library reads it, but passes over names that it does
// not know: a misspelt attribute would count as left out, so the names are looked at here.

#include "rectiline/rectiline.h"

#include <tinyxml.h>

#include <algorithm>

#include "Check.h"
#include "Error.h"
#include "XmlDocument.h"
#include "models/LibraryLens.h"
#include "readers/Readers.h"

namespace rectiline::formats {
namespace {

using Names = std::vector<std::string>;

struct ElementNames {
  std::string element;
  Names attributes;
};

const std::vector<ElementNames> kElements{
    {"Camera", {"cam_name", "name", "id"}},
    {"Calibration",
     {"size", "principal_point", "focal_length", "model", "radial_distortion",
      "tangential_distortion", "distortion_limit", "undistortion_limit", "fish_eye",
      "radial_distortion_8", "radial_distortion_4"}},
    {"Rig", {"translation", "rowMajorRotationMat", "stereo_rig", "stereoRig"}},
    {"CaptureDetails",
     {"nativeSensorWidth", "nativeSensorHeight", "cropL", "cropR", "cropT", "cropB", "binningH",
      "binningV"}},
    {"RollingShutter", {"isRollingShutter", "linetime"}},
    {"TimeAlignment", {"delta"}},
};

std::string listed(const Names& names) {
  std::string result;
  for (const std::string& name : names) result += (result.empty() ? "" : ", ") + name;
  return result;
}

const ElementNames* findElement(const std::string& name) {
  const auto found = std::find_if(kElements.begin(), kElements.end(),
                                  [&name](const ElementNames& e) { return e.element == name; });
  return found == kElements.end() ? nullptr : &*found;
}

void requireKnownAttributes(const TiXmlElement& element, const ElementNames& known,
                            const Place& place) {
  for (const TiXmlAttribute* a = element.FirstAttribute(); a != nullptr; a = a->Next()) {
    const std::string name = a->Name();
    const Names& names = known.attributes;
    if (std::find(names.begin(), names.end(), name) != names.end()) continue;
    throw FormatError({place.file, place.camera, known.element + "." + name},
                      "an attribute of " + known.element + " (" + listed(names) + ")", shown(name));
  }
}

void requireKnownNames(const TiXmlElement& camera, const Place& place) {
  requireKnownAttributes(camera, kElements.front(), place);
  for (const TiXmlElement* child = camera.FirstChildElement(); child != nullptr;
       child = child->NextSiblingElement()) {
    const ElementNames* const known = findElement(child->ValueStr());
    if (known == nullptr || known == &kElements.front()) {
      Names elements;
      for (const ElementNames& e : kElements) elements.push_back(e.element);
      elements.erase(elements.begin());
      throw FormatError(place, "an element of Camera (" + listed(elements) + ")",
                        shown(child->ValueStr()));
    }
    requireKnownAttributes(*child, *known, place);
  }
}

/// Looks at every camera; what else a device has beside its cameras is none of ours. Whether each
/// says where it stands.
std::vector<bool> readNames(const SourceFile& file) {
  const std::unique_ptr<TiXmlDocument> document = parseXml(file.text, file.name);
  std::vector<bool> hasPose;
  for (const TiXmlElement* camera = document->RootElement()->FirstChildElement("Camera");
       camera != nullptr; camera = camera->NextSiblingElement("Camera")) {
    const char* const name = camera->Attribute("cam_name");
    const std::string shownName = name == nullptr ? std::to_string(hasPose.size()) : name;
    requireKnownNames(*camera, {file.name, shownName, ""});
    hasPose.push_back(camera->FirstChildElement("Rig") != nullptr);
  }
  return hasPose;
}

/// A camera that does not say where it stands is at the reference, which is common for the first.
void setPose(SourceCamera& camera, bool isSaid, bool isFirst, std::vector<std::string>& notes) {
  camera.T_camera_reference = fromRecord(camera.record->pose);
  if (isSaid || isFirst) return;
  notes.push_back(
      "Camera " + camera.place.camera +
      " has no Rig, which would say where it stands; it was taken to be at the reference.");
}

constexpr const char* kModelNames[] = {"LINEAR",
                                       "RADIAL_2_PARAMETERS",
                                       "RADIAL_3_PARAMETERS",
                                       "RADIAL_6_PARAMETERS",
                                       "FISHEYE_1_PARAMETER",
                                       "FISHEYE_4_PARAMETERS",
                                       "CHEBYSHEV_4_PARAMETERS",
                                       "FISHEYE_SPLINE_3",
                                       "FISHEYE_RATIONAL"};
static_assert(std::size(kModelNames) == kFisheyeRational + 1);

}  // namespace

bool recognisesRectiline(const SourceFile& file) {
  return file.syntax == Syntax::RigXml &&
         file.text.find("<DeviceConfiguration") != std::string::npos;
}

Cameras readRectiline(const Files& files, ReadContext& context) {
  const SourceFile& file = onlyFile(files);
  const int status = rectiline_rig_from_xml(file.text.data(), file.text.size(), &context.device);
  if (status != RECTILINE_OK) throwLibraryError({file.name, "", ""});
  std::vector<bool> hasPose = readNames(file);
  hasPose.resize(static_cast<std::size_t>(context.device.num_cameras), true);
  const bool isAnyPlaced = std::find(hasPose.begin(), hasPose.end(), true) != hasPose.end();
  Cameras cameras;
  for (int i = 0; i < context.device.num_cameras; ++i) {
    SourceCamera camera;
    camera.record = context.device.cameras[i];
    camera.place = {file.name, camera.record->name, ""};
    camera.word = kModelNames[camera.record->intrinsics.distortion_model];
    if (isAnyPlaced) setPose(camera, hasPose[cameras.size()], i == 0, context.notes);
    cameras.push_back(std::move(camera));
  }
  return cameras;
}

}  // namespace rectiline::formats
