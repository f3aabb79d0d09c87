// Maps by rectiline/rectiline.h, and its own answers about them: what is made is what the exact
// formulas say, within what the camera's tables are certified to be off by.

#include "Interface.h"

namespace {

using namespace rectiline::fuzz;

constexpr int kMostPixels = 20'000;

rectiline_options optionsFrom(FuzzInput& input, bool isPair) {
  rectiline_options options{};
  const auto side = [&] { return input.once(30) ? input.any<std::int32_t>() : input.from(1, 128); };
  if (input.flip()) options.width = side(), options.height = side();
  if (input.once(6) && isPair) options.left_camera = 1;
  if (input.once(12) && isPair) options.right_camera = input.from(-1, 6);
  options.projection = input.once(3) ? RECTILINE_LATITUDE_LONGITUDE : RECTILINE_PINHOLE;
  options.keep_outside = input.once(4) ? 1 : 0;
  switch (input.from(0, 5)) {
    case 1:
      options.focal_length = input.between(1, 300);
      break;
    case 2:
      options.field_of_view = input.between(0.01, 3.5);
      break;
    case 3:
      options.coverage = input.from(0, 2);
      break;
    case 4:
      options.coverage = RECTILINE_COVERAGE_BETWEEN, options.alpha = input.between(-0.1, 1.1);
      break;
    default:
      break;
  }
  if (input.once(4)) {
    options.has_principal_point = 1;
    options.cx = input.between(-50, 200);
    options.cy = input.between(-50, 200);
  }
  if (input.once(8)) input.spoil(options);
  return options;
}

bool isAffordable(const rectiline_view& view) { return view.width <= kMostPixels / view.height; }

bool isRotation(const double* R) {
  double worst = 0;
  for (int i = 0; i < 3; ++i) {
    for (int j = 0; j < 3; ++j) {
      double dot = i == j ? -1 : 0;
      for (int k = 0; k < 3; ++k) dot += R[3 * i + k] * R[3 * j + k];
      worst = std::max(worst, std::fabs(dot));
    }
  }
  return worst < 1e-4;
}

void expectView(const rectiline_view& view) {
  FUZZ_EXPECT(view.width > 0 && view.height > 0 && view.fx > 0 && view.fy > 0);
  FUZZ_EXPECT(std::isfinite(view.cx) && std::isfinite(view.cy));
  FUZZ_EXPECT(isRotation(view.R_camera_view));
}

/// What the library answers about a map that it made itself.
void askAbout(FuzzInput& input, const CameraCalibrationZEL& camera, const CallerMap& map,
              bool keepsOutside) {
  if (!map.isInOrder()) return;
  const IntrinsicCameraCalibrationZEL& in = camera.intrinsics;
  if (!keepsOutside) FUZZ_EXPECT(map.holdsPositionsIn(in.width, in.height));
  const rectiline_map whole = map.map.value();
  auto report = sized<rectiline_report>();
  if (!succeeded(rectiline_map_report(&whole, &report))) return;
  if (!keepsOutside) FUZZ_EXPECT(report.broken_pixels == 0);
  FUZZ_EXPECT(report.pixels_with_source <= report.pixels);
  CallerRows<float> seconds(input, whole.width, whole.height);
  (void)succeeded(rectiline_row_times(&camera, &whole, seconds.data(), seconds.stride()));
}

/// The greatest error, in pixels, of maps of a camera: what its tables are off by, and the rounding
/// of single precision.
double mapBound(const CameraCalibrationZEL& camera) {
  auto certificate = sized<rectiline_camera_certificate>();
  FUZZ_EXPECT(rectiline_certify_camera(&camera, &certificate) == RECTILINE_OK);
  return 0.01 + 2 * certificate.max_distortion_error;
}

void certify(const DeviceCalibrationZEL& device, const rectiline_rectification& claim,
             const CallerMap& left, const CallerMap& right) {
  if (!left.isInOrder() || !right.isInOrder()) return;
  const rectiline_map maps[] = {left.map.value(), right.map.value()};
  auto certificate = sized<rectiline_certificate>();
  if (!succeeded(
          rectiline_certify_rectification(&device, &claim, &maps[0], &maps[1], &certificate)))
    return;
  FUZZ_EXPECT(certificate.max_map_error_left <= mapBound(device.cameras[claim.left_camera]));
  FUZZ_EXPECT(certificate.max_map_error_right <= mapBound(device.cameras[claim.right_camera]));
}

void rectify(FuzzInput& input) {
  const DeviceCalibrationZEL device = deviceFrom(input);
  const CallerStruct<rectiline_options> options(input, optionsFrom(input, true));
  auto claim = sized<rectiline_rectification>();
  const bool isPossible =
      succeeded(rectiline_rectify(&device, options.get(), nullptr, nullptr, &claim));
  if (isPossible) {
    expectView(claim.left);
    expectView(claim.right);
    FUZZ_EXPECT(claim.baseline > 0 && claim.warning_count <= RECTILINE_MAX_WARNINGS);
    if (!isAffordable(claim.left)) return;
  }
  const bool isOther = input.once(10) || !isPossible;
  const int width = isOther ? input.from(1, 50) : claim.left.width;
  const int height = isOther ? input.from(1, 50) : claim.left.height;
  const CallerMap left(input, width, height), right(input, width, height);
  const CallerStruct<rectiline_rectification> result(input, {});
  const bool made = succeeded(
      rectiline_rectify(&device, options.get(), left.map.get(), right.map.get(), result.get()));
  if (!made) {
    for (const CallerMap* const map : {&left, &right}) {
      FUZZ_EXPECT(!map->isInOrder() || map->isNotMade());
    }
    return;
  }
  FUZZ_EXPECT(isPossible);
  const bool keepsOutside = options.get() != nullptr && options.value().keep_outside != 0;
  askAbout(input, device.cameras[claim.left_camera], left, keepsOutside);
  askAbout(input, device.cameras[claim.right_camera], right, keepsOutside);
  if (!keepsOutside) certify(device, claim, left, right);
  const double columns[] = {input.hostileNumber(), 10, input.between(-10, 100)};
  double ranges[2];
  (void)succeeded(rectiline_range_from_columns(&claim, 2, columns, columns + 1, ranges));
}

void undistort(FuzzInput& input) {
  const CameraCalibrationZEL camera = cameraFrom(input);
  const CallerStruct<rectiline_options> options(input, optionsFrom(input, false));
  auto view = sized<rectiline_view>();
  const bool isPossible = succeeded(rectiline_undistort(&camera, options.get(), nullptr, &view));
  if (isPossible) expectView(view);
  if (isPossible && !isAffordable(view)) return;
  const CallerMap map(input, isPossible ? view.width : 20, isPossible ? view.height : 10);
  if (!succeeded(rectiline_undistort(&camera, options.get(), map.map.get(), nullptr))) {
    FUZZ_EXPECT(!map.isInOrder() || map.isNotMade());
    return;
  }
  askAbout(input, camera, map, options.get() != nullptr && options.value().keep_outside != 0);
}

void seeThrough(FuzzInput& input) {
  const DeviceCalibrationZEL device = deviceFrom(input);
  const DeviceCalibrationZEL eyes = input.flip() ? device : deviceFrom(input);
  const auto side = [](int size) { return size >= 1 && size <= 128 ? size : 20; };
  const auto mapOf = [&](int eye) {
    const IntrinsicCameraCalibrationZEL& in = eyes.cameras[eye].intrinsics;
    return CallerMap(input, side(in.width), side(in.height));
  };
  const CallerMap left = mapOf(0), right = mapOf(1);
  const double distance = input.once(4) ? input.hostileNumber() : input.between(0.1, 10);
  const int keepOutside = input.from(0, 1);
  if (!succeeded(rectiline_see_through(&device, &eyes, distance, keepOutside, left.map.get(),
                                       input.once(6) ? nullptr : right.map.get()))) {
    return;
  }
  askAbout(input, device.cameras[0], left, keepOutside != 0);
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  static constexpr void (*kCalls[])(FuzzInput&) = {rectify, rectify, undistort, seeThrough};
  FuzzInput input(data, size);
  input.oneOf(kCalls)(input);
  return 0;
}
