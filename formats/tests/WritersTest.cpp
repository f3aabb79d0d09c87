// What is written comes back, to the digits of its format; what a format cannot hold is named.

#include <cmath>

#include "Excerpts.h"
#include "Pose.h"
#include "TestFiles.h"
#include "rectiline/rectiline.h"
#include "rectiline_formats/Write.h"

namespace rectiline::formats {
namespace {

/// The pixels of a grid of points 2 m before the first camera, in camera i.
std::vector<Vec2> pixelsOf(const DeviceCalibrationZEL& device, int i) {
  constexpr std::size_t kPoints = 49;
  const Pose T_i0 =
      fromRecord(device.cameras[i].pose) * inverse(fromRecord(device.cameras[0].pose));
  std::vector<Vec3> points;
  for (int k = 0; k < static_cast<int>(kPoints); ++k) {
    const Pose point{Pose{}.R, {(k % 7 - 3) * 0.3, (k / 7 - 3) * 0.3, 2}};
    points.push_back((T_i0 * point).t);
  }
  std::vector<Vec2> pixels(kPoints);
  EXPECT_EQ(rectiline_rays_to_pixels(&device.cameras[i], kPoints, points[0].data(),
                                     pixels[0].data(), nullptr),
            RECTILINE_OK);
  return pixels;
}

/// The greatest distance of pixels between two devices, over all cameras that see the points.
double greatestDifference(const DeviceCalibrationZEL& a, const DeviceCalibrationZEL& b) {
  double greatest = 0;
  int compared = 0;
  EXPECT_EQ(a.num_cameras, b.num_cameras);
  for (int i = 0; i < a.num_cameras; ++i) {
    const std::vector<Vec2> inA = pixelsOf(a, i), inB = pixelsOf(b, i);
    for (std::size_t k = 0; k < inA.size(); ++k) {
      const double difference = std::hypot(inA[k][0] - inB[k][0], inA[k][1] - inB[k][1]);
      if (std::isnan(difference)) continue;
      greatest = std::max(greatest, difference);
      ++compared;
    }
  }
  EXPECT_GT(compared, 20);
  return greatest;
}

class WritersTest : public FilesTest {
 protected:
  [[nodiscard]] DeviceCalibrationZEL read(const std::vector<std::string>& texts,
                                          const std::string& pair = "") const {
    ReadOptions options;
    options.pair = pair;
    return readCalibration(filesOf(texts), options).device;
  }

  /// Writes a device and reads it back.
  [[nodiscard]] DeviceCalibrationZEL thereAndBack(const DeviceCalibrationZEL& device, Format format,
                                                  const WriteOptions& options = {}) const {
    std::vector<std::string> texts;
    for (const WrittenFile& written : writeCalibration(device, format, options).files) {
      EXPECT_FALSE(written.name.empty());
      texts.push_back(written.text);
    }
    return read(texts);
  }

  [[nodiscard]] static std::string refusal(const DeviceCalibrationZEL& device, Format format) {
    try {
      (void)writeCalibration(device, format);
    } catch (const FormatError& error) {
      return error.what();
    }
    return "";
  }
};

TEST_F(WritersTest, WriteWhatComesBack) {
  struct Case {
    const char* name;
    DeviceCalibrationZEL device;
    std::vector<Format> formats;
  };
  using enum Format;
  const Case cases[] = {
      {"radial pair",
       read({kEurocLeft, kEurocRight}),
       {Rectiline, Kalibr, OpenCv, Ros, Basalt, Colmap}},
      {"fisheye pair",
       read({kKalibrCamImu}),
       {Rectiline, Kalibr, OpenCv, OpenCvFisheye, Ros, Basalt, Colmap}},
      {"FOV pair", read({kKalibrChain}), {Rectiline, Kalibr, Colmap}},
      {"rational camera", read({kOpenCvRational}), {Rectiline, OpenCv, Ros, Basalt, Colmap}},
      {"car", read({kKitti}), {Rectiline, Basalt, Colmap}},
      {"headset, right camera first",
       read({kBasaltFisheye}, "cam1,cam0"),
       {Rectiline, Kalibr, OpenCv, Ros, Basalt, Colmap}},
  };
  for (const Case& c : cases) {
    for (const Format format : c.formats) {
      SCOPED_TRACE(std::string(c.name) + " to " + formatName(format));
      const double digits = format == Rectiline ? 5e-5 : 1e-6;
      EXPECT_LT(greatestDifference(c.device, thereAndBack(c.device, format)), digits);
    }
  }
}

TEST_F(WritersTest, NameEachFieldThatTheFormatCannotHold) {
  DeviceCalibrationZEL device = read({kEurocLeft, kEurocRight});
  device.cameras[0].line_time_ns = 30000;
  device.cameras[0].rs_center_row = 240;
  device.cameras[1].capture_details.binningH = 2;
  device.cameras[1].intrinsics.distortion_limit = 0.7;
  device.cameras[1].intrinsics.undistortion_limit = 0.63;
  EXPECT_EQ(refusal(device, Format::Kalibr),
            "expected what kalibr can hold, or --lossy, found camera cam0: line_time_ns, "
            "rs_center_row; camera cam1: capture_details, intrinsics.distortion_limit");
  const Written written = writeCalibration(device, Format::Kalibr, {.lossy = true});
  EXPECT_NE(written.notes.at(0).find("cam1: capture_details"), std::string::npos);

  const DeviceCalibrationZEL fov = read({kKalibrChain});
  EXPECT_NE(refusal(fov, Format::Ros).find("cam0: intrinsics.distortion_model"), std::string::npos);
  EXPECT_NE(refusal(read({kKitti}), Format::Kalibr).find("00: intrinsics.distortion_model"),
            std::string::npos);
  EXPECT_NE(refusal(read({kKitti}), Format::OpenCv).find("camera 02: all of it"),
            std::string::npos);
  EXPECT_NE(refusal(fov, Format::Oak).find("rectiline, kalibr, opencv"), std::string::npos);
  EXPECT_NE(refusal({}, Format::Kalibr).find("num_cameras"), std::string::npos);
  DeviceCalibrationZEL sizes = read({kEurocLeft, kEurocRight});
  sizes.cameras[1].intrinsics.width = 1000;
  EXPECT_NE(refusal(sizes, Format::OpenCv).find("image size"), std::string::npos);
}

TEST_F(WritersTest, TakeLimitsOnlyForWhatIsNotFoundAnyway) {
  const DeviceCalibrationZEL device = read({kOpenCvRational});
  // The XML says the limits that the library has found.
  const DeviceCalibrationZEL found = thereAndBack(device, Format::Rectiline);
  EXPECT_GT(found.cameras[0].intrinsics.distortion_limit, 0);
  EXPECT_EQ(refusal(found, Format::OpenCv), "");
  DeviceCalibrationZEL limited = device;
  limited.cameras[0].intrinsics.distortion_limit = 1.2;
  limited.cameras[0].intrinsics.undistortion_limit = 0.9;
  EXPECT_EQ(thereAndBack(limited, Format::Basalt).cameras[0].intrinsics.distortion_limit, 1.2);
  EXPECT_NE(refusal(limited, Format::Ros), "");
}

TEST_F(WritersTest, FindTheClosestLensWhenAsked) {
  const DeviceCalibrationZEL fov = read({kKalibrChain});
  const DeviceCalibrationZEL fitted = thereAndBack(fov, Format::Ros, {.lossy = true});
  EXPECT_EQ(fitted.cameras[0].intrinsics.distortion_model, 5);
  EXPECT_LT(greatestDifference(fov, fitted), 0.1);
  const std::vector<std::string> notes = writeCalibration(fov, Format::Ros, {.lossy = true}).notes;
  EXPECT_NE(notes.at(1).find("off by at most"), std::string::npos);
}

TEST_F(WritersTest, WriteChebyshevWeightsAsTheSamePolynomial) {
  DeviceCalibrationZEL device = read({kKalibrCamImu});
  for (int i = 0; i < 2; ++i) {
    IntrinsicCameraCalibrationZEL& in = device.cameras[i].intrinsics;
    in.distortion_model = 6;
    const double weights[4] = {0.03, -0.01, 0.004, -0.002};
    std::copy(std::begin(weights), std::end(weights), in.distortion);
  }
  EXPECT_LT(greatestDifference(device, thereAndBack(device, Format::Kalibr)), 1e-6);
}

TEST_F(WritersTest, GiveAPairItsRectification) {
  const std::string text =
      writeCalibration(read({kEurocLeft, kEurocRight}), Format::OpenCv).files.at(0).text;
  for (const char* const name : {"M1:", "D2:", "\nR:", "\nT:", "R1:", "R2:", "P1:", "P2:", "Q:"}) {
    EXPECT_NE(text.find(name), std::string::npos) << name;
  }
}

}  // namespace
}  // namespace rectiline::formats
