// The functions of VIO/StereoRectifyWrapper.h: any records, buffers of any declared size that end
// where memory ends.

#include <deque>
#include <vector>

#include "AR/CV/Camera/StereoCamera.h"
#include "CallerRows.h"
#include "Records.h"
#include "VIO/DeviceConversion.h"
#include "VIO/RecordChecks.h"
#include "VIO/StereoRectifyWrapper.h"

namespace {

using rectiline::fuzz::CallerRows;
using rectiline::fuzz::deviceFrom;
using rectiline::fuzz::FuzzInput;
using Rig = AR::CV::FullStereoCameraCalibration<float>;

constexpr std::size_t kMostCameras = 7;  // one more than a record holds

/// The pixels of a camera, or 0 for a size that nobody has memory for.
std::uint32_t pixelsOf(const CameraCalibrationZEL& camera) {
  const auto isSmall = [](int side) { return side >= 1 && side <= 1000; };
  const IntrinsicCameraCalibrationZEL& in = camera.intrinsics;
  if (!isSmall(in.width) || !isSmall(in.height)) return 0;
  return static_cast<std::uint32_t>(in.width * in.height);
}

/// A dense buffer that holds as many elements as it is said to.
template <typename T>
struct Declared {
  Declared(FuzzInput& input, std::uint32_t expected)
      : size(input.once(5) ? input.from<std::uint32_t>(0, 4000) : expected),
        rows(std::max(1, static_cast<int>(size)), 1, 0, input.from<std::size_t>(0, 3) * sizeof(T)),
        data(input.once(10) ? nullptr : rows.data()) {}

  /// Whether it holds nothing but -1 and positions in an image of that size.
  [[nodiscard]] bool isMap(int side) const {
    bool all = true;
    rows.forEach([&](int x, int y) {
      const T v = rows.at(x, y);
      all = all && (v == -1 || (v >= 0 && v < static_cast<T>(side)));
    });
    return all;
  }

  std::uint32_t size;
  CallerRows<T> rows;
  T* data;
};

/// The maps of the two cameras of a device.
struct Pair {
  Pair(FuzzInput& input, std::uint32_t pixels)
      : maps{{input, pixels}, {input, pixels}, {input, pixels}, {input, pixels}} {}

  template <typename Create>
  bool fill(Create&& create) {
    return create(maps[0].data, maps[0].size, maps[1].data, maps[1].size, maps[2].data,
                  maps[2].size, maps[3].data, maps[3].size);
  }

  /// Whether each map that was in order holds positions in images of that size, or none.
  [[nodiscard]] bool areMaps(const CameraCalibrationZEL& source) const {
    const int sides[] = {source.intrinsics.width, source.intrinsics.height};
    for (int i = 0; i < 2; ++i) {
      const bool isInOrder =
          maps[i].data != nullptr && maps[i].size > 0 && maps[i].size == pixelsOf(source);
      if (isInOrder && !maps[i].isMap(sides[i])) return false;
    }
    return true;
  }
  [[nodiscard]] bool areNotMade() const {
    return std::all_of(std::begin(maps), std::end(maps), [](const Declared<float>& map) {
      return map.data == nullptr || map.size == 0 || map.rows.holdOnly(-1);
    });
  }

  Declared<float> maps[4];
};

/// Two cameras at one place end the process; that is promised.
bool areApart(const DeviceCalibrationZEL& device) {
  const PositionZEL& t = device.cameras[1].pose.position;
  return static_cast<float>(t.x) != 0 || static_cast<float>(t.y) != 0 ||
         static_cast<float>(t.z) != 0;
}

void rectify(FuzzInput& input) {
  const DeviceCalibrationZEL device = deviceFrom(input);
  if (!areApart(device)) return;
  Pair pair(input, pixelsOf(device.cameras[0]));
  const std::uint32_t keepOutside = input.from<std::uint32_t>(0, 1);
  const bool hasRecord = !input.once(20);
  float depth = 7;
  CameraCalibrationZEL rectified{};
  FUZZ_EXPECT(pair.fill([&](auto... maps) {
    return CreateRectifyMap(hasRecord ? &device : nullptr, keepOutside, maps...,
                            input.once(10) ? nullptr : &depth,
                            input.once(10) ? nullptr : &rectified);
  }));
  if (depth == -1) FUZZ_EXPECT(pair.areNotMade());
  if (depth != 7 && keepOutside == 0) FUZZ_EXPECT(pair.areMaps(device.cameras[0]));
}

void undistort(FuzzInput& input) {
  const DeviceCalibrationZEL device = deviceFrom(input);
  Pair pair(input, pixelsOf(device.cameras[0]));
  const auto factor = static_cast<float>(input.once(6) ? input.hostileNumber() : 1);
  const std::uint32_t keepOutside = input.from<std::uint32_t>(0, 1);
  const bool made = pair.fill(
      [&](auto... maps) { return CreateUndistortMap(&device, keepOutside, factor, maps...); });
  FUZZ_EXPECT(made == (factor > 0));
  if (made && keepOutside == 0) FUZZ_EXPECT(pair.areMaps(device.cameras[0]));
}

void fixedPlane(FuzzInput& input) {
  const DeviceCalibrationZEL device = deviceFrom(input);
  const DeviceCalibrationZEL eyes = input.flip() ? device : deviceFrom(input);
  Pair pair(input, pixelsOf(eyes.cameras[0]));
  const auto distance =
      static_cast<float>(input.once(4) ? input.hostileNumber() : input.between(0.1, 10));
  const bool made = pair.fill([&](auto... maps) {
    return CreateFixedPlaneVSTMaps(&device, &eyes, input.from<std::uint32_t>(0, 1), distance,
                                   maps...);
  });
  FUZZ_EXPECT(made == (distance > 0));
}

/// Camera by camera what `CalibrationMap` points to.
struct RigMaps {
  RigMaps(FuzzInput& input, const DeviceCalibrationZEL& device) {
    for (std::size_t i = 0; i < kMostCameras; ++i) {
      const IntrinsicCameraCalibrationZEL& in =
          device.cameras[std::min<std::size_t>(i, RECTILINE_MAX_CAMERAS - 1)].intrinsics;
      maps.push_back({});
      plane(input, in, maps.back().X, maps.back().X_width, maps.back().X_height);
      plane(input, in, maps.back().Y, maps.back().Y_width, maps.back().Y_height);
      gains.push_back({});
      plane(input, in, gains.back().scaleFactors, gains.back().width, gains.back().height);
    }
  }

  void plane(FuzzInput& input, const IntrinsicCameraCalibrationZEL& in, float*& data,
             std::uint32_t& width, std::uint32_t& height) {
    const bool isOther =
        input.once(10) || in.width < 1 || in.width > 1000 || in.height < 1 || in.height > 1000;
    const int columns = isOther ? input.from(1, 60) : in.width;
    const int lines = isOther ? input.from(1, 60) : in.height;
    memory.emplace_back(columns * lines, 1);
    data = input.once(12) ? nullptr : memory.back().data();
    width = static_cast<std::uint32_t>(columns);
    height = static_cast<std::uint32_t>(lines);
  }

  std::deque<CallerRows<float>> memory;
  std::vector<UndistortionMap> maps;
  std::vector<VignettingMap> gains;
};

std::vector<float> numbersFrom(FuzzInput& input, std::size_t count) {
  std::vector<float> numbers(count);
  for (float& n : numbers) {
    n = static_cast<float>(input.once(6) ? input.hostileNumber() : input.between(-3, 3));
  }
  return numbers;
}

void calibration(FuzzInput& input) {
  const DeviceCalibrationZEL source = deviceFrom(input);
  const DeviceCalibrationZEL target = input.flip() ? source : deviceFrom(input);
  RigMaps forward(input, target), inverse(input, source);
  const auto n = input.once(4) ? input.from<std::uint8_t>(0, kMostCameras) : std::uint8_t{2};
  const std::vector<float> rotations = numbersFrom(input, 3 * kMostCameras);
  const CalibrationMapConfig config{input.from<std::uint32_t>(0, 1), input.flip(),
                                    input.flip() ? rotations.data() : nullptr, n};
  CalibrationMap map{input.once(10) ? nullptr : forward.maps.data(),
                     input.once(10) ? nullptr : inverse.maps.data(),
                     input.once(10) ? nullptr : inverse.gains.data(), n};
  const int status = CreateCalibrationMap(source, target, config, map);
  FUZZ_EXPECT(status == 0 || status == -12 || status == 1999998);

  Rig sourceRig(AR::CV::CalibrationInfo(AR::CV::CalibrationInfo::API, 0)), targetRig(sourceRig);
  if (copySourceAndTargetCalibration(source, target, sourceRig, targetRig) != 0) return;
  CreateUndistortMap(sourceRig, targetRig, config, map.undistortion);
  CreateVignettingMap(sourceRig, targetRig, input.flip(), map);
}

/// A centre column that does not spread ends the process; that is promised.
bool spreads(const CameraCalibrationZEL& record) {
  const IntrinsicCameraCalibrationZEL& in = record.intrinsics;
  if (!VIO::isConvertible(in)) return false;
  AR::CV::Camera<float> camera;
  const double cy = in.principal_point_y;
  if (!(cy > 1 && cy < in.height - 2 && in.height < 100'000 && in.focal_length_y > 1) ||
      !camera.init(CamModel::CameraModel<float>(in)))
    return false;
  const auto column = static_cast<float>(in.width / 2);
  for (const int row : {0, in.height - 1}) {
    AR::Math::Vec<float, 2> ideal;
    if (!camera.tryPixel2ideal({column, static_cast<float>(row)}, ideal)) continue;
    if (!(std::fabs(ideal(1)) > 1e-3F)) return false;
  }
  return true;
}

void linear(FuzzInput& input) {
  const DeviceCalibrationZEL source = deviceFrom(input);
  std::vector<std::int32_t> sizes(2 * kMostCameras);
  for (std::int32_t& size : sizes) {
    size = input.once(4) ? input.any<std::int32_t>() : input.from(1, 2000);
  }
  const std::vector<float> intrinsics = numbersFrom(input, 4 * kMostCameras);
  const CalibrationTransform wish{input.flip() ? sizes.data() : nullptr,
                                  input.flip() ? intrinsics.data() : nullptr,
                                  input.from<std::uint8_t>(0, kMostCameras)};
  DeviceCalibrationZEL target{};
  SameFocalLengthLinearCalibration(&source, wish, input.once(10) ? nullptr : &target);
  const int n = std::clamp(source.num_cameras, 0, static_cast<int>(RECTILINE_MAX_CAMERAS));
  if (std::all_of(source.cameras, source.cameras + n, spreads)) {
    LargestLinearCalibration(&source, wish, &target);
  }
}

void apply(FuzzInput& input) {
  const int sourceWidth = input.from(1, 70), sourceHeight = input.from(1, 70);
  const int width = input.from(1, 70), height = input.from(1, 70);
  CallerRows<std::uint8_t> source(sourceWidth * sourceHeight, 1), target(width * height, 1);
  CallerRows<float> X(width * height, 1), Y(width * height, 1);
  CallerRows<float> gains(sourceWidth * sourceHeight, 1);
  const auto position = [&](int side) {
    return static_cast<float>(input.once(6) ? input.hostileNumber() : input.between(-1, side + 1));
  };
  for (int i = 0; i < width * height && !input.isEmpty(); ++i) {
    X.set(i, 0, position(sourceWidth));
    Y.set(i, 0, position(sourceHeight));
  }
  for (int i = 0; i < sourceWidth * sourceHeight && !input.isEmpty(); ++i) {
    gains.set(i, 0, static_cast<float>(input.hostileNumber()));
  }
  const auto size = [](int side) { return static_cast<std::uint32_t>(side); };
  Image from{source.data(), size(sourceWidth), size(sourceHeight), 0};
  Image to{target.data(), size(width), size(height),
           input.once(10) ? std::uint8_t{3} : std::uint8_t{8}};
  UndistortionMap map{X.data(), to.width, to.height, Y.data(), to.width, to.height};
  VignettingMap gain{gains.data(), from.width, from.height};
  if (input.once(6)) std::swap(from.width, from.height);
  const CalibrationMap maps{&map, nullptr, &gain, 1};
  const unsigned count = input.once(10) ? 2 : 1;
  const int status = input.flip() ? ApplyUndistortionMap(&from, count, maps, &to)
                                  : ApplyCalibrationMap(&from, count, maps, &to);
  FUZZ_EXPECT(status == 0 || status == -12 || (status >= 1999997 && status <= 1999999));
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  static constexpr void (*kCalls[])(FuzzInput&) = {rectify,     undistort, fixedPlane,
                                                   calibration, linear,    apply};
  FuzzInput input(data, size);
  input.oneOf(kCalls)(input);
  return 0;
}
