// Rig files through the C interface.

#include <gtest/gtest.h>

#include <cstdio>
#include <cstring>
#include <fstream>
#include <iterator>
#include <string>

#include "Calls.h"
#include "rectiline/rectiline.h"
#include "testing/TemporaryFile.h"

namespace {

using namespace rectiline::capi::testing;

const std::string kRig = RECTILINE_RIGS "/radtan_752x480.rig.xml";

std::string contentsOf(const std::string& path) {
  std::ifstream in(path);
  return {std::istreambuf_iterator<char>(in), {}};
}

/// The document of a device, which fits exactly.
std::string toXml(const DeviceCalibrationZEL& device) {
  std::size_t needed = 0;
  expectOk(rectiline_rig_to_xml(&device, nullptr, 0, &needed));
  std::string document(needed, '\0');
  expectOk(rectiline_rig_to_xml(&device, document.data(), document.size(), nullptr));
  return document;
}

// The modules below see to every number of a camera.
TEST(RigsTest, WhatIsWrittenLoadsAsTheSameDevice) {
  DeviceCalibrationZEL device, again;
  expectOk(rectiline_rig_from_file(kRig.c_str(), &device));
  ASSERT_EQ(device.num_cameras, 2);
  EXPECT_STREQ(device.cameras[1].name, "right");
  EXPECT_EQ(device.cameras[0].pose.orientation.w, 1) << "the file's own reference frame";

  const std::string text = contentsOf(kRig);
  expectOk(rectiline_rig_from_xml(text.data(), text.size(), &again));
  EXPECT_EQ(std::memcmp(&device, &again, sizeof device), 0);
  std::string named = text;
  named.insert(named.find("<DeviceConfiguration") + 20, " deviceUID='serial 7'");
  expectOk(rectiline_rig_from_xml(named.data(), named.size(), &again));
  EXPECT_STREQ(again.header, "serial 7");
  EXPECT_NE(toXml(again).find("deviceUID=\"serial 7\""), std::string::npos);

  const std::string document = toXml(device);
  expectOk(rectiline_rig_from_xml(document.data(), document.size(), &again));
  EXPECT_NEAR(again.cameras[1].pose.position.x, device.cameras[1].pose.position.x, 1e-8);
  EXPECT_EQ(toXml(again), document);

  const std::string file = rectiline::testing::temporaryFile("rig.xml");
  expectOk(rectiline_rig_to_file(&device, file.c_str()));
  EXPECT_EQ(contentsOf(file), document);
  std::remove(file.c_str());
}

TEST(RigsTest, WhatCannotBeReadIsRefusedWithTheReason) {
  const struct {
    const char* document;
    const char* reason;
  } cases[] = {
      {"", "The document is no device configuration"},
      {"<DeviceConfiguration><Camera></DeviceConfiguration>", "no device configuration"},
      {"<svg/>", "svg"},
      {"<DeviceConfiguration/>", "amera"},
      {"<DeviceConfiguration><Camera cam_name='left'><Calibration size='64 48' "
       "principal_point='32 24' focal_length='50 fifty' model='LINEAR' "
       "radial_distortion='0 0 0 0 0 0'/></Camera></DeviceConfiguration>",
       "focal_length"},
  };
  DeviceCalibrationZEL device;
  std::memset(&device, 0x5A, sizeof device);
  for (const auto& c : cases) {
    expectRefusal(rectiline_rig_from_xml(c.document, std::strlen(c.document), &device),
                  RECTILINE_BAD_FILE, "", c.reason);
  }
  for (const char* const path : {"/none/such.xml", "/"}) {
    expectRefusal(rectiline_rig_from_file(path, &device), RECTILINE_BAD_FILE, "", path);
  }
  expectBadArgument(rectiline_rig_from_file(nullptr, &device), "path");
  EXPECT_EQ(device.num_cameras, 0x5A5A5A5A) << "untouched";
}

TEST(RigsTest, WhatCannotBeWrittenIsRefused) {
  DeviceCalibrationZEL device;
  expectOk(rectiline_rig_from_file(kRig.c_str(), &device));
  expectRefusal(rectiline_rig_to_file(&device, "/none/such.xml"), RECTILINE_BAD_FILE, "",
                "/none/such.xml");
  std::string small(100, 'x');
  std::size_t needed = 0;
  expectBadArgument(rectiline_rig_to_xml(&device, small.data(), small.size(), &needed), "capacity");
  EXPECT_GT(needed, small.size());
  EXPECT_EQ(small, std::string(100, 'x'));

  DeviceCalibrationZEL turned = device;
  turned.cameras[1].pose.orientation = {0, 0, 0, 0.5};
  expectRefusal(rectiline_rig_to_xml(&turned, nullptr, 0, &needed), RECTILINE_BAD_CAMERA,
                "pose.orientation");
  EXPECT_EQ(lastError().camera, 1);
  EXPECT_EQ(lastError().value, 0.25);
  for (const char filler : {'\0', 'n'}) {  // no name, and one without an end
    std::memset(device.cameras[1].name, filler, sizeof device.cameras[1].name);
    expectRefusal(rectiline_rig_to_xml(&device, nullptr, 0, &needed), RECTILINE_BAD_CAMERA, "name");
  }
  for (const int count : {0, -1, 7}) {
    device.num_cameras = count;
    expectBadArgument(rectiline_rig_to_xml(&device, nullptr, 0, &needed), "device.num_cameras");
  }
}

}  // namespace
