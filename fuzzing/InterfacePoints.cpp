// Points, scaled cameras, certificates and rig documents by rectiline/rectiline.h: what is answered
// leads back to where it came from.

#include <string>
#include <vector>

#include "Interface.h"

namespace {

using namespace rectiline::fuzz;

/// n points of `Dimension` numbers each, aligned.
template <int Dimension>
struct Points {
  explicit Points(int n) : rows(Dimension * n, 1) {}

  void fill(FuzzInput& input, double least, double most) {
    rows.forEach([&](int x, int) {
      rows.set(x, 0, input.once(12) ? input.hostileNumber() : input.between(least, most));
    });
  }
  [[nodiscard]] double distance(int i, const Points& other) const {
    double sum = 0;
    for (int k = 0; k < Dimension; ++k) {
      sum += std::pow(rows.at(Dimension * i + k, 0) - other.rows.at(Dimension * i + k, 0), 2);
    }
    return std::sqrt(sum);
  }
  [[nodiscard]] double length(int i) const {
    double sum = 0;
    for (int k = 0; k < Dimension; ++k) sum += std::pow(rows.at(Dimension * i + k, 0), 2);
    return std::sqrt(sum);
  }

  CallerRows<double> rows;
};

void points(FuzzInput& input) {
  const CameraCalibrationZEL camera = cameraFrom(input);
  const int n = input.from(1, 20);
  Points<2> pixels(n), back(n);
  Points<3> rays(n);
  CallerRows<std::uint8_t> reasons(n, 1), reasonsBack(n, 1);
  pixels.fill(input, -5, 100);
  const auto count = static_cast<std::size_t>(n);
  if (!succeeded(rectiline_pixels_to_rays(&camera, count, pixels.rows.data(), rays.rows.data(),
                                          reasons.data())))
    return;
  FUZZ_EXPECT(succeeded(rectiline_rays_to_pixels(&camera, count, rays.rows.data(), back.rows.data(),
                                                 reasonsBack.data())));
  for (int i = 0; i < n; ++i) {
    const std::uint8_t reason = reasons.at(i, 0);
    const bool hasRay =
        reason <= RECTILINE_PIXEL_OK_PAST_LAST_CENTRE || reason == RECTILINE_PIXEL_OUTSIDE_IMAGE;
    FUZZ_EXPECT(hasRay == !std::isnan(rays.rows.at(3 * i, 0)));
    if (!hasRay) continue;
    FUZZ_EXPECT(std::fabs(rays.length(i) - 1) < 1e-9);
    const bool isBack = !std::isnan(back.rows.at(2 * i, 0));
    if (isBack) FUZZ_EXPECT(back.distance(i, pixels) < 1e-6 * (1 + pixels.length(i)));
  }
}

void viewPoints(FuzzInput& input) {
  const CameraCalibrationZEL camera = cameraFrom(input);
  auto view = sized<rectiline_view>();
  if (!succeeded(rectiline_undistort(&camera, nullptr, nullptr, &view))) return;
  if (input.once(3)) input.spoil(view);
  const CallerStruct<rectiline_view> callers(input, view);
  const int n = input.from(1, 20);
  Points<2> pixels(n), raw(n), back(n);
  CallerRows<std::uint8_t> reasons(n, 1);
  pixels.fill(input, -5, 100);
  const auto count = static_cast<std::size_t>(n);
  if (!succeeded(rectiline_view_to_pixels(&camera, callers.get(), count, pixels.rows.data(),
                                          raw.rows.data(), reasons.data())))
    return;
  FUZZ_EXPECT(succeeded(rectiline_pixels_to_view(&camera, callers.get(), count, raw.rows.data(),
                                                 back.rows.data(), nullptr)));
}

void scaled(FuzzInput& input) {
  const CameraCalibrationZEL camera = cameraFrom(input);
  const auto scale = [&] { return input.once(8) ? input.hostileNumber() : input.between(0.1, 4); };
  const auto side = [&] { return input.once(20) ? input.any<std::int32_t>() : input.from(0, 60); };
  CameraCalibrationZEL made = camera;
  const double scales[] = {scale(), scale()};
  const std::int32_t sides[] = {side(), side(), side(), side()};
  if (!succeeded(rectiline_scaled_camera(&camera, scales[0], scales[1], sides[0], sides[1],
                                         sides[2], sides[3], &made))) {
    FUZZ_EXPECT(std::memcmp(&made, &camera, sizeof made) == 0);
    return;
  }
  FUZZ_EXPECT(made.intrinsics.width > 0 && made.intrinsics.height > 0);
  FUZZ_EXPECT(made.intrinsics.focal_length_x > 0);
}

void cameraCertificate(FuzzInput& input) {
  const CameraCalibrationZEL camera = cameraFrom(input);
  const CallerStruct<rectiline_camera_certificate> certificate(input, {});
  if (!succeeded(rectiline_certify_camera(&camera, certificate.get()))) return;
  FUZZ_EXPECT(certificate.value().max_distortion_error >= 0);
}

/// A device that can be written is read again as what it was.
void rigDocument(FuzzInput& input) {
  DeviceCalibrationZEL device = deviceFrom(input);
  for (CameraCalibrationZEL& camera : device.cameras) camera.name[0] = 'a';
  const std::string name = input.text(70);
  std::memcpy(device.cameras[0].name, name.data(),
              std::min(name.size(), sizeof device.cameras[0].name));
  std::size_t needed = 0;
  if (!succeeded(rectiline_rig_to_xml(&device, nullptr, 0, &needed))) return;
  CallerRows<char> text(static_cast<int>(needed), 1);
  FUZZ_EXPECT(succeeded(rectiline_rig_to_xml(&device, text.data(), needed, nullptr)));
  DeviceCalibrationZEL read{};
  FUZZ_EXPECT(succeeded(rectiline_rig_from_xml(text.data(), needed, &read)));
  FUZZ_EXPECT(read.num_cameras == device.num_cameras);
  for (int i = 0; i < read.num_cameras; ++i) {
    const IntrinsicCameraCalibrationZEL& was = device.cameras[i].intrinsics;
    const IntrinsicCameraCalibrationZEL& is = read.cameras[i].intrinsics;
    FUZZ_EXPECT(is.distortion_model == was.distortion_model && is.width == was.width);
    FUZZ_EXPECT(std::fabs(is.focal_length_x - was.focal_length_x) <= 1e-7 * was.focal_length_x);
  }
}

void failedChecks(FuzzInput& input) {
  const int capacity = input.from(1, 20);
  CallerRows<rectiline_failed_check> checks(capacity, 1);
  std::size_t written = 0;
  std::uint64_t count = 0;
  FUZZ_EXPECT(succeeded(rectiline_failed_checks(checks.data(), static_cast<std::size_t>(capacity),
                                                input.flip() ? &written : nullptr, &count)));
  FUZZ_EXPECT(written <= static_cast<std::size_t>(capacity));
  if (input.flip()) rectiline_reset_failed_checks();
  FUZZ_EXPECT(rectiline_status_text(input.any<std::int32_t>()) != nullptr);
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  static constexpr void (*kCalls[])(FuzzInput&) = {points, viewPoints, scaled, rigDocument,
                                                   failedChecks};
  FuzzInput input(data, size);
  // A certificate takes as long as a hundred other calls.
  input.once(50) ? cameraCertificate(input) : input.oneOf(kCalls)(input);
  return 0;
}
