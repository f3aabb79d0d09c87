#include <gtest/gtest.h>

#include <cstring>

#include "AR/CV/Camera/CamImageId.h"
#include "AR/Common/Logger.h"
#include "testing/LogCapture.h"

namespace AR::CV {
namespace {

using Common::Logger;
using rectiline::testing::LogCapture;

TEST(CamImageId, ComparesHashesOfNames) {
  // From a separate program that reproduces published MurmurHash2 values.
  const std::pair<const char*, std::uint32_t> kHashes[] = {{"", 0},
                                                           {"a", 0x92685f5e},
                                                           {"ab", 0x1aa14063},
                                                           {"abc", 0x13577c9b},
                                                           {"left", 0xb4c0ceda},
                                                           {"right", 0x6ef9e3a6},
                                                           {"trackingA0", 0xe4409cf2}};
  for (const auto& [name, hash] : kHashes) EXPECT_EQ(CamImageId(name).getHash(), hash) << name;
  EXPECT_NE(CamImageId("left"), CamImageId("right"));
  EXPECT_EQ(CamImageId("cam61156"), CamImageId("cam140467"));  // the same hash
}

TEST(CamImageId, ReadsNoNameBeyondItsBound) {
  char unterminated[64];
  std::memset(unterminated, 'n', sizeof(unterminated));
  const std::string n63(63, 'n'), n99(99, 'n');
  const std::pair<const char*, std::size_t> kNames[] = {{nullptr, 0},
                                                        {n63.c_str(), 63},
                                                        {n99.c_str() + 35, 64},
                                                        {n99.c_str(), 64},
                                                        {unterminated, 64}};
  for (const auto& [text, length] : kNames) {
    LogCapture log;
    const CamImageId id(text);
    EXPECT_EQ(id.isInit(), length > 0);
    EXPECT_EQ(log.count("ASSERT len < fixedLengthString.size()"), length > 63) << log.text();
    EXPECT_EQ(id.getName(), std::string(length, 'n'));
    EXPECT_EQ(log.count("ASSERT strnlen(fixedLengthString"), length > 63) << log.text();
  }
}

TEST(CalibrationInfo, ChecksVersionAndOriginAndLogsItsEnd) {
  LogCapture log;
  const Logger::LEVEL before = Logger::getInstance().getLevel();
  EXPECT_EQ(CalibrationInfo(CalibrationInfo::ONLINE_CALIBRATION, 3).getVersion(), 3);
  EXPECT_EQ(log.text(), "");
  Logger::getInstance().setLevel(Logger::INFO);
  EXPECT_EQ(CalibrationInfo(CalibrationInfo::XR_CALIB, 3).getVersion(), 3);
  EXPECT_EQ(log.count("ONLINE_CALIBRATION || version == 0"), 1) << log.text();
  EXPECT_EQ(log.count("origin=XRCalib version=3"), 1) << log.text();
  EXPECT_STREQ(CalibrationInfo::originName(static_cast<CalibrationInfo::Origin>(8)), "");
  EXPECT_EQ(log.count("unhandled enum"), 1) << log.text();
  Logger::getInstance().setLevel(before);
}

}  // namespace
}  // namespace AR::CV
