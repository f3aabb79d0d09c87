// Rig files: documents to device records and back.

#include <algorithm>
#include <cerrno>
#include <cstdio>
#include <cstring>
#include <memory>
#include <new>
#include <string>
#include <system_error>

#include "AR/CV/RigDocument.h"
#include "AR/Common/ConfigNode.h"
#include "Boundary.h"
#include "Records.h"
#include "Structs.h"
#include "rectiline/rectiline.h"

namespace {

using namespace rectiline::capi;
using AR::CV::CalibrationInfo;
using Rig = AR::CV::FullStereoCameraCalibration<double>;

Rig emptyRig() { return Rig(CalibrationInfo(CalibrationInfo::API, 0)); }

DeviceCalibrationZEL toRecord(const Rig& rig) {
  DeviceCalibrationZEL device{};
  setText(device.header, rig.getDeviceUID().c_str());
  device.num_cameras = static_cast<std::int32_t>(rig.size());
  const AR::Math::SE3<double> asInTheFile;
  for (std::size_t i = 0; i < rig.size(); ++i) device.cameras[i] = rig.at(i).toIdl(asInTheFile);
  return device;
}

/// @param name  what the document is called in a refusal
DeviceCalibrationZEL readDocument(const char* bytes, std::size_t size, const char* name) {
  Rig rig = emptyRig();
  std::string why;
  if (!AR::CV::tryRigFromXml(bytes, size, rig, why)) {
    refuse(RECTILINE_BAD_FILE, "%s is no device configuration that can be used: %s.", name,
           why.c_str());
  }
  return toRecord(rig);
}

/// A document calls its cameras by name.
void requireName(const CameraCalibrationZEL& camera, int index) {
  const bool isTerminated = std::memchr(camera.name, '\0', sizeof camera.name) != nullptr;
  if (!isTerminated) refuseCamera(index, "name", kNoValue, "is not zero-terminated");
  if (camera.name[0] == '\0') refuseCamera(index, "name", kNoValue, "is empty");
}

/// The header where it is text; the platform's own bytes stay out of documents.
std::string deviceUid(const DeviceCalibrationZEL& device) {
  const bool isText = std::memchr(device.header, '\0', sizeof device.header) != nullptr;
  return isText ? device.header : "";
}

std::string writeDocument(const DeviceCalibrationZEL* callersDevice) {
  const DeviceCalibrationZEL device = readDevice(callersDevice, 1);
  for (int i = 0; i < device.num_cameras; ++i) {
    requireName(device.cameras[i], i);
    requireIntrinsics(device.cameras[i], i);
    requirePose(device.cameras[i], i);
  }
  Rig rig = emptyRig();
  rig.setDeviceUID(deviceUid(device));
  rig.setFromIdl({device.cameras, static_cast<std::size_t>(device.num_cameras)}, rig.getInfo());
  std::string document;
  std::string why;
  if (!AR::CV::tryRigToXml(rig, document, why)) {
    refuse(RECTILINE_BAD_FILE, "The device cannot be written as a rig file: %s.", why.c_str());
  }
  return document;
}

struct CloseFile {
  void operator()(std::FILE* file) const { std::fclose(file); }
};
using File = std::unique_ptr<std::FILE, CloseFile>;

[[noreturn]] void refuseFile(const char* path, const char* verb, int error) {
  refuse(RECTILINE_BAD_FILE, "%s cannot be %s: %s.", path, verb,
         std::generic_category().message(error).c_str());
}

File openFile(const char* path, const char* mode, const char* verb) {
  File file(std::fopen(path, mode));
  if (!file && errno == ENOMEM) throw std::bad_alloc();
  if (!file) refuseFile(path, verb, errno);
  return file;
}

/// The bytes of a file, but no more than one beyond what a document may have.
std::string readFile(const char* path) {
  const File file = openFile(path, "rb", "read");
  std::string bytes;
  char block[4096];
  std::size_t n = 0;
  while (bytes.size() <= AR::Common::ConfigNode::kMaxBytes &&
         (n = std::fread(block, 1, sizeof block, file.get())) > 0) {
    bytes.append(block, n);
  }
  if (std::ferror(file.get()) != 0) refuseFile(path, "read", errno);
  return bytes;
}

void writeFile(const char* path, const std::string& bytes) {
  File file = openFile(path, "wb", "written");
  const bool isWritten = std::fwrite(bytes.data(), 1, bytes.size(), file.get()) == bytes.size();
  // What fails only now, as on a full disk, is a failure too.
  if (std::fclose(file.release()) != 0 || !isWritten) refuseFile(path, "written", errno);
}

}  // namespace

std::int32_t rectiline_rig_from_xml(const char* bytes, std::size_t size,
                                    DeviceCalibrationZEL* device) {
  return guarded([&] {
    requirePointer(bytes, "bytes");
    requirePointer(device, "device");
    *device = readDocument(bytes, size, "The document");
  });
}

std::int32_t rectiline_rig_from_file(const char* path, DeviceCalibrationZEL* device) {
  return guarded([&] {
    requirePointer(path, "path");
    requirePointer(device, "device");
    const std::string document = readFile(path);
    *device = readDocument(document.data(), document.size(), path);
  });
}

std::int32_t rectiline_rig_to_xml(const DeviceCalibrationZEL* device, char* bytes,
                                  std::size_t capacity, std::size_t* needed) {
  return guarded([&] {
    if (capacity > 0) requirePointer(bytes, "bytes");
    const std::string document = writeDocument(device);
    if (needed != nullptr) *needed = document.size();
    if (capacity == 0) return;
    if (document.size() > capacity) {
      refuseArgument("capacity", static_cast<double>(capacity),
                     "is %zu bytes; the document has %zu", capacity, document.size());
    }
    std::copy(document.begin(), document.end(), bytes);
  });
}

std::int32_t rectiline_rig_to_file(const DeviceCalibrationZEL* device, const char* path) {
  return guarded([&] {
    requirePointer(path, "path");
    writeFile(path, writeDocument(device));
  });
}
