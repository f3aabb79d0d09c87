// From a device record to files: what all formats have in common.

#include "rectiline_formats/Write.h"

#include <algorithm>

#include "Check.h"
#include "Error.h"
#include "writers/Writers.h"

namespace rectiline::formats {
namespace {

const std::vector<WriterRow>& writerList() {
  constexpr std::size_t kAny = RECTILINE_MAX_CAMERAS;
  static const std::vector<WriterRow> list{
      {Format::Rectiline, kAny, false, writeRectiline},
      {Format::Kalibr, kAny, false, writeKalibr},
      {Format::OpenCv, 2, true, writeOpenCv},
      {Format::OpenCvFisheye, 2, true, writeOpenCv},
      {Format::Ros, 2, false, writeRos},
      {Format::Basalt, kAny, false, writeBasalt},
      {Format::Colmap, kAny, false, writeColmap},
  };
  return list;
}

/// What no format has a field for.
std::vector<std::string> shutterLosses(const CameraCalibrationZEL& record) {
  std::vector<std::string> losses;
  // Without a line time the centre row means nothing.
  if (record.line_time_ns != 0) losses = {"line_time_ns", "rs_center_row"};
  if (!(record.capture_details == CaptureDetails{})) losses.emplace_back("capture_details");
  return losses;
}

std::size_t numCameras(const DeviceCalibrationZEL& device) {
  const bool isCount = device.num_cameras > 0 && device.num_cameras <= RECTILINE_MAX_CAMERAS;
  if (!isCount) {
    throw FormatError({"", "", "num_cameras"},
                      "1 to " + std::to_string(RECTILINE_MAX_CAMERAS) + " cameras",
                      std::to_string(device.num_cameras));
  }
  return static_cast<std::size_t>(device.num_cameras);
}

std::string nameOf(const CameraCalibrationZEL& camera, std::size_t index) {
  const char* const end = std::find(std::begin(camera.name), std::end(camera.name), '\0');
  const bool isName = end != std::begin(camera.name) && end != std::end(camera.name);
  if (!isName) {
    throw FormatError({"", std::to_string(index), "name"}, "a zero-terminated name", "none");
  }
  return {std::begin(camera.name), end};
}

/// Where a file says size and kind of lens once, they must be those of all cameras.
void requireOneKind(const WriterRow& writer, const TargetCameras& cameras) {
  for (const TargetCamera& camera : cameras) {
    const TargetCamera& first = cameras.front();
    const bool isSame = !writer.isOneSize || (camera.size.width == first.size.width &&
                                              camera.size.height == first.size.height &&
                                              camera.row->word == std::string(first.row->word));
    if (isSame) continue;
    throw FormatError({"", camera.name, "intrinsics"},
                      "the image size and kind of lens of camera " + first.name, "others");
  }
}

/// A line for each camera that loses something.
class Losses {
 public:
  void add(const std::string& camera, const std::vector<std::string>& fields) {
    if (fields.empty()) return;
    mText += (mText.empty() ? "camera " : "; camera ") + camera + ": ";
    for (const std::string& field : fields) mText += (&field == fields.data() ? "" : ", ") + field;
  }

  /// Refuses what is lost, or says it.
  void settle(Format format, bool isLossy, std::vector<std::string>& notes) const {
    if (mText.empty()) return;
    if (!isLossy) {
      throw FormatError({}, "what " + std::string(formatName(format)) + " can hold, or --lossy",
                        mText);
    }
    notes.push_back("Not written: " + mText + ".");
  }

 private:
  std::string mText;
};

}  // namespace

std::vector<Format> writableFormats() {
  std::vector<Format> formats;
  for (const WriterRow& row : writerList()) formats.push_back(row.format);
  return formats;
}

const WriterRow* findWriter(Format format) {
  const auto& list = writerList();
  const auto found = std::find_if(list.begin(), list.end(),
                                  [format](const WriterRow& row) { return row.format == format; });
  return found == list.end() ? nullptr : &*found;
}

Written writeCalibration(const DeviceCalibrationZEL& device, Format format,
                         const WriteOptions& options) {
  const WriterRow* const writer = findWriter(format);
  if (writer == nullptr) {
    std::string names;
    for (const Format f : writableFormats())
      names += (names.empty() ? "" : ", ") + std::string(formatName(f));
    throw FormatError({}, "a format that can be written (" + names + ")", formatName(format));
  }
  const std::size_t count = numCameras(device);
  Written written;
  Losses losses;
  std::vector<std::string> fitNotes;
  TargetCameras cameras;
  const Pose T_first_ref = fromRecord(device.cameras[0].pose);
  for (std::size_t i = 0; i < count; ++i) {
    const CameraCalibrationZEL& record = device.cameras[i];
    TargetCamera camera;
    camera.name = nameOf(record, i);
    if (i >= writer->mostCameras) {
      losses.add(camera.name, {"all of it"});
      continue;
    }
    (void)validRadius(record, {"", camera.name, ""});  // refuses what is no camera
    std::vector<std::string> fields = shutterLosses(record);
    setTargetLens(format, record, camera, fields, fitNotes);
    camera.T_camera_first = fromRecord(record.pose) * inverse(T_first_ref);
    camera.record.pose =
        format == Format::Rectiline ? record.pose : toRecord(camera.T_camera_first);
    losses.add(camera.name, fields);
    cameras.push_back(std::move(camera));
  }
  losses.settle(format, options.lossy, written.notes);
  requireOneKind(*writer, cameras);
  written.notes.insert(written.notes.end(), fitNotes.begin(), fitNotes.end());
  written.files = writer->write(cameras, written.notes);
  return written;
}

}  // namespace rectiline::formats
