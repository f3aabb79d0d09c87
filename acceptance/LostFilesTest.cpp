// Rig and settings files, and the log file, with each memory or file operation refused in turn.

#include <android/log.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <cstdio>
#include <fstream>
#include <functional>
#include <iterator>
#include <sstream>
#include <string>

#include "AR/Common/ConfigNode.h"
#include "AR/Common/Logger.h"
#include "AR/Common/Path.h"
#include "rectiline/rectiline.h"
#include "testing/Faults.h"
#include "testing/TemporaryFile.h"

namespace {

using AR::Common::ConfigNode;
using AR::Common::Logger;
using rectiline::testing::Refused;
namespace allocationFaults = rectiline::testing::allocationFaults;
namespace fileFaults = rectiline::testing::fileFaults;

const char kDocument[] =
    "<DeviceConfiguration a_longer_name_than_a_string_holds='1' b='2'>"
    "<Camera cam_name='left'><Calibration size='64 48'/></Camera><Camera/></DeviceConfiguration>";
const char kOther[] = "<DeviceConfiguration c='3'><Camera d='4'/><More/></DeviceConfiguration>";

std::string textOf(const ConfigNode& node) {
  std::ostringstream text;
  node.writeToXML(text, 1);
  return text.str();
}

class LostFiles : public ::testing::Test {
 protected:
  LostFiles() {
    rectiline_set_log(0, 0);
    __android_log_set_minimum_priority(ANDROID_LOG_SILENT);
  }
  ~LostFiles() override { std::remove(mPath.c_str()); }

  void put(const std::string& content) const { std::ofstream(mPath) << content; }
  [[nodiscard]] std::string content() const {
    std::ifstream file(mPath);
    return {std::istreambuf_iterator<char>(file), {}};
  }

  const std::string mPath = rectiline::testing::temporaryFile("lost_files.xml");
};

/// Ways to load and write, each given the file's path.
struct Use {
  const char* name;
  bool (*run)(ConfigNode& node, const char* path);
  bool writes;
};
const Use kUses[] = {
    {"load file", [](ConfigNode& node, const char* path) { return node.setFromXMLFile(path); },
     false},
    {"load text", [](ConfigNode& node, const char*) { return node.setFromXMLString(kDocument); },
     false},
    {"update", [](ConfigNode& node, const char* path) { return node.updateFromXMLFile(path); },
     false},
    {"write", [](ConfigNode& node, const char* path) { return node.writeToXML(path, 1); }, true},
};

/// A use either does all or says that it did not, and leaves the tree as it was.
class LostFilesUse : public LostFiles, public ::testing::WithParamInterface<Use> {
 protected:
  LostFilesUse() {
    put(kDocument);
    EXPECT_TRUE(mNode.setFromXMLString(kOther));
    ConfigNode node = mNode;
    EXPECT_TRUE(GetParam().run(node, mPath.c_str()));
    mDone = GetParam().writes ? content() : textOf(node);
  }

  /// Whether anything was refused.
  bool attempt(const std::function<void()>& arm, const std::function<bool()>& disarm) {
    put(kDocument);
    ConfigNode node = mNode;
    arm();
    const bool result = GetParam().run(node, mPath.c_str());
    const bool hit = disarm();
    EXPECT_TRUE(result || hit);
    if (result) {
      EXPECT_EQ(GetParam().writes ? content() : textOf(node), mDone);
    } else {
      EXPECT_EQ(textOf(node), textOf(mNode));
    }
    return hit;
  }

  ConfigNode mNode;
  std::string mDone;
};

TEST_P(LostFilesUse, WithoutOneAllocation) {
  const allocationFaults::LeaksAllowed ofTheXmlParser(true);
  int n = 1;
  for (const Refused refused : {Refused::One, Refused::AllFromThere}) {
    for (n = 1; attempt([&] { allocationFaults::arm(n, refused); }, allocationFaults::disarm);
         ++n) {
      if (HasFailure()) FAIL() << "allocation " << n;
    }
  }
  EXPECT_GT(n, 3);
}

// A system that is short of memory refuses what is too large, not what comes next.
TEST_P(LostFilesUse, WithLittleMemoryLosesNone) {
  attempt([] {}, [] { return true; });  // what is made once
  for (std::int64_t bytes = 0;; bytes += 64 + bytes / 64) {
    const std::int64_t live = allocationFaults::liveBlocks();
    const bool hit = attempt([&] { allocationFaults::armBudget(bytes); }, allocationFaults::disarm);
    EXPECT_EQ(allocationFaults::liveBlocks(), live) << bytes << " bytes";
    if (!hit || HasFailure()) break;
  }
}

TEST_P(LostFilesUse, WithoutOneFileOperation) {
  for (const Refused refused : {Refused::One, Refused::AllFromThere}) {
    for (int n = 1; attempt([&] { fileFaults::arm(n, refused); }, fileFaults::disarm); ++n) {
      if (HasFailure()) FAIL() << "operation " << n;
    }
  }
}

INSTANTIATE_TEST_SUITE_P(Uses, LostFilesUse, ::testing::ValuesIn(kUses), [](const auto& use) {
  std::string name = use.param.name;
  std::replace(name.begin(), name.end(), ' ', '_');
  return name;
});

TEST_F(LostFiles, RigsAreReadAndWrittenWholeOrRefused) {
  DeviceCalibrationZEL device{};
  ASSERT_EQ(rectiline_rig_from_file(RECTILINE_RIGS "/radtan_752x480.rig.xml", &device),
            RECTILINE_OK);
  ASSERT_EQ(rectiline_rig_to_file(&device, mPath.c_str()), RECTILINE_OK);
  const std::string whole = content();
  int numRefused = 0;
  for (int n = 1;; ++n) {
    DeviceCalibrationZEL read{};
    fileFaults::arm(n, Refused::One);
    const std::int32_t written = rectiline_rig_to_file(&device, mPath.c_str());
    const bool writeHit = fileFaults::disarm();
    EXPECT_EQ(written, writeHit ? RECTILINE_BAD_FILE : RECTILINE_OK) << n;
    EXPECT_TRUE(writeHit || content() == whole);
    put(whole);
    fileFaults::arm(n, Refused::One);
    const std::int32_t loaded = rectiline_rig_from_file(mPath.c_str(), &read);
    const bool readHit = fileFaults::disarm();
    EXPECT_TRUE(loaded == RECTILINE_OK ? read.num_cameras == 2
                                       : readHit && loaded == RECTILINE_BAD_FILE)
        << n;
    numRefused += (written != RECTILINE_OK) + (loaded != RECTILINE_OK);
    if (!writeHit && !readHit) break;
  }
  EXPECT_EQ(numRefused, 6);  // opening, writing, closing; opening, reading, reading the end
}

TEST_F(LostFiles, TheLogGoesOnWithWhatItCanWrite) {
  Logger& logger = Logger::getInstance();
  logger.setLevel(Logger::ERR);
  for (const bool closeAfterWrite : {false, true}) {
    for (int n = 1; n < 12; ++n) {
      fileFaults::arm(n, Refused::One);
      logger.setFile(AR::Common::Path(mPath), false, closeAfterWrite);
      for (int line = 0; line < 3; ++line) AR_LOG(Logger::ERR, "here", "a line");
      fileFaults::disarm();
      AR_LOG(Logger::ERR, "here", "the last line");
      logger.closeLogFile();
      EXPECT_NE(content().find("AR ERROR: the last line\n"), std::string::npos) << n;
    }
  }
  logger.setFile(AR::Common::Path(), true, false);
  logger.setLevel(Logger::OFF);
}

}  // namespace
