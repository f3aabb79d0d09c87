// How good maps and cameras are.

#include "Boundary.h"
#include "Memory.h"
#include "Records.h"
#include "Structs.h"
#include "VIO/quality/CameraCertificate.h"
#include "VIO/quality/MapReport.h"
#include "VIO/quality/RowTimes.h"
#include "rectiline/rectiline.h"

namespace {

using namespace rectiline::capi;

rectiline_report toInterface(const VIO::MapReport& report) {
  rectiline_report result{};
  result.valid_x = report.rectX;
  result.valid_y = report.rectY;
  result.valid_width = report.rectWidth;
  result.valid_height = report.rectHeight;
  result.pixels = report.pixels;
  result.pixels_with_source = report.pixelsWithSource;
  result.broken_pixels = report.brokenPixels;
  result.measured_pixels = report.measuredPixels;
  result.folded_pixels = report.foldedPixels;
  result.share_with_source = report.shareWithSource;
  result.least_magnification = report.leastMagnification;
  result.greatest_magnification = report.greatestMagnification;
  return result;
}

rectiline_camera_certificate toInterface(const VIO::CameraCertificate& certificate) {
  rectiline_camera_certificate result{};
  result.distortion_bins = certificate.distortionBins;
  result.undistortion_bins = certificate.undistortionBins;
  result.max_distortion_error = certificate.maxDistortionError;
  result.distortion_error_radius = certificate.distortionErrorRadius;
  result.max_undistortion_error = certificate.maxUndistortionError;
  result.undistortion_error_radius = certificate.undistortionErrorRadius;
  result.valid_radius = certificate.validRadius;
  result.valid_radius_pixels = certificate.validRadiusPixels;
  result.field_of_view = certificate.fieldOfView;
  return result;
}

}  // namespace

std::int32_t rectiline_map_report(const rectiline_map* map, rectiline_report* report) {
  return guarded([&] {
    const Map checked = checkedMap(map, "map");
    requireStruct(report, "report");
    writeStruct(report, "report", toInterface(VIO::reportOn(viewOf(checked))));
  });
}

std::int32_t rectiline_certify_camera(const CameraCalibrationZEL* camera,
                                      rectiline_camera_certificate* certificate) {
  return guarded([&] {
    const CameraCalibrationZEL record = readCamera(camera);
    requireStruct(certificate, "certificate");
    static_cast<void>(makeCamera(record, kAlone));
    VIO::CameraCertificate measured;
    if (!VIO::certifyCamera(record.intrinsics, measured)) {
      refuse(RECTILINE_INTERNAL_ERROR, "The camera's tables were made but could not be measured.");
    }
    writeStruct(certificate, "certificate", toInterface(measured));
  });
}

std::int32_t rectiline_row_times(const CameraCalibrationZEL* camera, const rectiline_map* map,
                                 float* seconds, std::size_t stride) {
  return guarded([&] {
    const CameraCalibrationZEL record = readCamera(camera);
    const Map checked = checkedMap(map, "map");
    const Rows times = checkedRows(seconds, checked.width, checked.height, sizeof(float),
                                   alignof(float), stride, "seconds");
    requireApart(times, checked.x, "seconds");
    requireApart(times, checked.y, "seconds");
    VIO::writeRowTimes(record, viewOf(checked), times.row<float>(0),
                       static_cast<std::ptrdiff_t>(times.stride / sizeof(float)));
  });
}
