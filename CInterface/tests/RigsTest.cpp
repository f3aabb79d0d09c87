// Rig files through the C interface.

#include <gtest/gtest.h>

#include <cstdio>
#include <cstring>
#include <fstream>
#include <sstream>
#include <string>

#include "Errors.h"
#include "rectiline/rectiline.h"
#include "testing/TemporaryFile.h"

namespace {

using rectiline::capi::testing::expectOk;
using rectiline::capi::testing::expectRefusal;
using rectiline::capi::testing::lastError;

const std::string kRig = RECTILINE_RIGS "/radtan_752x480.rig.xml";

std::string contentsOf(const std::string& path) {
  std::ifstream in(path);
  std::stringstream text;
  text << in.rdbuf();
  return text.str();
}

std::string toXml(const DeviceCalibrationZEL& device) {
  std::size_t needed = 0;
  expectOk(rectiline_rig_to_xml(&device, nullptr, 0, &needed));
  std::string document(needed, '\0');
  expectOk(rectiline_rig_to_xml(&device, document.data(), document.size(), nullptr));
  return document;
}

TEST(RigsTest, WhatIsWrittenLoadsAsTheSameDevice) {
  DeviceCalibrationZEL device;
  expectOk(rectiline_rig_from_file(kRig.c_str(), &device));
  ASSERT_EQ(device.num_cameras, 2);
  EXPECT_STREQ(device.cameras[1].name, "right");
  EXPECT_EQ(device.cameras[0].pose.orientation.w, 1) << "the file's own reference frame";

  const std::string text = contentsOf(kRig);
  DeviceCalibrationZEL fromBytes;
  expectOk(rectiline_rig_from_xml(text.data(), text.size(), &fromBytes));
  EXPECT_EQ(std::memcmp(&device, &fromBytes, sizeof device), 0);

  const std::string document = toXml(device);
  DeviceCalibrationZEL again;
  expectOk(rectiline_rig_from_xml(document.data(), document.size(), &again));
  ASSERT_EQ(again.num_cameras, 2);
  for (int i = 0; i < 2; ++i) {
    const CameraCalibrationZEL &a = device.cameras[i], &b = again.cameras[i];
    EXPECT_STREQ(a.name, b.name);
    EXPECT_EQ(a.intrinsics.width, b.intrinsics.width);
    EXPECT_EQ(a.intrinsics.distortion_model, b.intrinsics.distortion_model);
    EXPECT_NEAR(a.intrinsics.focal_length_x, b.intrinsics.focal_length_x, 1e-5);
    for (int k = 0; k < 8; ++k) {
      EXPECT_NEAR(a.intrinsics.distortion[k], b.intrinsics.distortion[k], 1e-8);
    }
    EXPECT_NEAR(a.pose.position.x, b.pose.position.x, 1e-8);
    EXPECT_NEAR(a.pose.orientation.y, b.pose.orientation.y, 1e-8);
  }
  EXPECT_EQ(toXml(again), document);

  const std::string file = rectiline::testing::temporaryFile("rig.xml");
  expectOk(rectiline_rig_to_file(&device, file.c_str()));
  EXPECT_EQ(contentsOf(file), document);
  std::remove(file.c_str());
}

TEST(RigsTest, WhatCannotBeReadIsRefusedWithTheReason) {
  const struct {
    const char* document;
    const char* reason;  // occurs in the sentence
  } cases[] = {
      {"", ""},
      {"no document", ""},
      {"<DeviceConfiguration><Camera></DeviceConfiguration>", ""},
      {"<svg/>", "svg"},
      {"<DeviceConfiguration/>", "amera"},
      {"<DeviceConfiguration><Camera cam_name='left'><Calibration size='64 48' "
       "principal_point='32 24' focal_length='50 fifty' model='LINEAR' "
       "radial_distortion='0 0 0 0 0 0'/></Camera></DeviceConfiguration>",
       "focal_length"},
  };
  for (const auto& c : cases) {
    DeviceCalibrationZEL device;
    std::memset(&device, 0x5A, sizeof device);
    EXPECT_EQ(rectiline_rig_from_xml(c.document, std::strlen(c.document), &device),
              RECTILINE_BAD_FILE);
    EXPECT_NE(std::string(lastError().text).find(c.reason), std::string::npos) << lastError().text;
    EXPECT_GT(std::strlen(lastError().text), 40U) << lastError().text;
    EXPECT_EQ(device.num_cameras, 0x5A5A5A5A) << "untouched";
  }
  DeviceCalibrationZEL device{};
  EXPECT_EQ(rectiline_rig_from_file("/none/such.xml", &device), RECTILINE_BAD_FILE);
  EXPECT_NE(std::string(lastError().text).find("/none/such.xml"), std::string::npos);
  EXPECT_EQ(rectiline_rig_from_file("/", &device), RECTILINE_BAD_FILE);
  expectRefusal(rectiline_rig_from_file(nullptr, &device), RECTILINE_BAD_ARGUMENT, "path");
}

TEST(RigsTest, WhatCannotBeWrittenIsRefused) {
  DeviceCalibrationZEL device;
  expectOk(rectiline_rig_from_file(kRig.c_str(), &device));
  EXPECT_EQ(rectiline_rig_to_file(&device, "/none/such.xml"), RECTILINE_BAD_FILE);
  char small[100];
  std::memset(small, 'x', sizeof small);
  std::size_t needed = 0;
  expectRefusal(rectiline_rig_to_xml(&device, small, sizeof small, &needed), RECTILINE_BAD_ARGUMENT,
                "capacity");
  EXPECT_GT(needed, sizeof small);
  EXPECT_EQ(std::string(small, sizeof small), std::string(sizeof small, 'x'));

  device.cameras[1].name[0] = '\0';
  expectRefusal(rectiline_rig_to_xml(&device, nullptr, 0, &needed), RECTILINE_BAD_CAMERA, "name");
  std::memset(device.cameras[1].name, 'n', sizeof device.cameras[1].name);
  expectRefusal(rectiline_rig_to_xml(&device, nullptr, 0, &needed), RECTILINE_BAD_CAMERA, "name");
  for (const int count : {0, -1, 7}) {
    device.num_cameras = count;
    expectRefusal(rectiline_rig_to_xml(&device, nullptr, 0, &needed), RECTILINE_BAD_ARGUMENT,
                  "device.num_cameras");
  }
}

}  // namespace
