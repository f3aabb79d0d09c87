#include <gtest/gtest.h>

#include <fstream>

#include "AR/Common/ConfigNode.h"
#include "AR/Common/LogFilter.h"
#include "AR/Common/Logger.h"
#include "AR/Common/Path.h"
#include "testing/LogCapture.h"
#include "testing/TemporaryFile.h"

namespace AR::Common {
namespace {

class LoggerConfiguration : public ::testing::Test {
 protected:
  /// Gives the logger its default settings back.
  void TearDown() override {
    logger.setLevel(Logger::DEBUG);
    logger.setFlag(0x1D, false);
    logger.setFlag(0x22, true);
    logger.setFile(Path(), true, false);
    logger.getLogFilter().removeFilterLevel("AR");
  }

  void configure(const std::string& attributes, const std::string& children = "") {
    const std::string logging = "<Logging " + attributes + ">" + children + "</Logging>";
    ConfigNode config;
    ASSERT_TRUE(config.setFromXMLString(("<R><Orvo>" + logging + "</Orvo></R>").c_str()));
    logger.initializeLogSettingsFromConfiguration(config);
  }

  Logger& logger = Logger::getInstance();
};

TEST_F(LoggerConfiguration, ChangesOnlyWhatIsThere) {
  configure("defaultLevel='verbose' timedate='True' filename='1'");
  EXPECT_EQ(logger.getLevel(), Logger::VERBOSE);
  EXPECT_TRUE(logger.getFlag(0x01) && logger.getFlag(0x02) && !logger.getFlag(0x1C));
  configure("timedate='false' function='true' filename='true' console='false'");
  EXPECT_EQ(logger.getLevel(), Logger::VERBOSE);
  EXPECT_TRUE(logger.getFlag(0x04) && logger.getFlag(0x08) && !logger.getFlag(0x13));
  configure("defaultLevel='Error'");
  EXPECT_EQ(logger.getLevel(), Logger::OFF);
}

TEST_F(LoggerConfiguration, FilterByMethodName) {
  configure("defaultLevel='debug' filter='true'",
            "<LogLevel name='AR::CV' level='error'/><LogLevel name='VIO'/>"
            "<Other name='VIO' level='off'/>");
  EXPECT_TRUE(logger.getFlag(Logger::kFlagFilter));
  const LogFilter& filter = logger.getLogFilter();
  EXPECT_EQ(filter.getLevel("AR::CV::Camera::init", -1), 1);
  EXPECT_EQ(filter.getLevel("AR::Math::f", -1), 1);
  EXPECT_EQ(filter.getLevel("VIO::setupRectifyMap", -1), 3);
}

TEST_F(LoggerConfiguration, TakesNoMoreEntriesThanTheLimit) {
  std::string entries;
  for (int i = 0; i < 1026; ++i) {
    entries += "<LogLevel name='N" + std::to_string(i) + "' level='error'/>";
  }
  const rectiline::testing::LogCapture log;
  configure("defaultLevel='debug' filter='true'", entries);
  EXPECT_EQ(logger.getLogFilter().getLevel("N1023::f", -1), 1);
  EXPECT_EQ(logger.getLogFilter().getLevel("N1024::f", -1), 3);
  EXPECT_EQ(log.count("1026 LogLevel elements"), 1);
}

TEST_F(LoggerConfiguration, LogFileIsAppendedTo) {
  const std::string path = rectiline::testing::temporaryFile("logger.log");
  logger.setFile(Path(path), false, false);
  AR_LOG(Logger::ERR, "here", "first");
  configure("logfile='" + path + "'");
  AR_LOG(Logger::ERR, "here", "second");
  logger.closeLogFile();
  std::ifstream file(path);
  const std::string content(std::istreambuf_iterator<char>(file), {});
  EXPECT_EQ(content, "AR ERROR: first\nAR ERROR: second\n");
  std::remove(path.c_str());
}

}  // namespace
}  // namespace AR::Common
