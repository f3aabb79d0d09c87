#include <gmock/gmock.h>

#include "AR/Common/LogFilter.h"
#include "AR/Common/Logger.h"
#include "testing/LogCapture.h"

namespace {

using namespace AR::Common;
using ::testing::Each;
using ::testing::ElementsAre;

constexpr LogFilter::LOG_FILTER_SET kKeep = LogFilter::KEEP_EXISTING;

std::vector<int> levelsOf(const LogFilter& filter, const std::vector<const char*>& names) {
  std::vector<int> levels;
  for (const char* name : names) levels.push_back(filter.getLevel(name, -1));
  return levels;
}

TEST(LogFilter, TheDeepestNodeOnThePathDecides) {
  LogFilter filter(Logger::DEBUG);
  filter.setFilterLevel("AR::CV", Logger::ERR, kKeep);
  filter.setFilterLevel("VIO::Map::row", Logger::VERBOSE, kKeep);
  filter.setFilterLevel("VIO::Map", Logger::OFF, kKeep);
  EXPECT_THAT(levelsOf(filter, {nullptr, "", "main", "A", "ARC", "AR:CV", "::AR::CV"}), Each(3));
  // "AR" was added on the way to "AR::CV" and has its level.
  EXPECT_THAT(levelsOf(filter, {"AR::CV", "AR::CV::Camera::init", "AR::Math::f"}), Each(1));
  EXPECT_THAT(levelsOf(filter, {"VIO::Map", "VIO::Map::row::x", "VIO::Mapp"}), Each(5));
}

TEST(LogFilter, ModesChangeAnExistingLastNodeOnly) {
  const int kResults[][2] = {{3, 5}, {1, 3}, {1, 5}, {3, 3}};  // of 1 and of 5 upon 3, by mode
  for (int i = 0; i < 8; ++i) {
    const auto mode = static_cast<LogFilter::LOG_FILTER_SET>(i / 2);
    const int level = i % 2 == 0 ? 1 : 5;
    LogFilter filter(2);
    filter.setFilterLevel("a::b", 3, kKeep);
    for (const char* name : {"a::b", "n::m", static_cast<const char*>(nullptr)}) {
      filter.setFilterLevel(name, level, mode);
    }
    EXPECT_THAT(levelsOf(filter, {"a::b", "a", "n", nullptr}),
                ElementsAre(kResults[i / 2][i % 2], 3, level, level))
        << "mode " << mode;
  }
  EXPECT_EQ(LogFilterNode().level(), Logger::WARNING);
}

TEST(LogFilter, OwnsItsNamesAndKeepsThemSorted) {
  LogFilter filter(0);
  const auto nodeName = [](int i) { return "node" + std::to_string(i); };
  for (int i = 0; i < 60; ++i) {
    filter.setFilterLevel((nodeName(i * 37 % 60) + "::x").c_str(), 1 + i * 37 % 60, kKeep);
  }
  for (const char* unknown : {static_cast<const char*>(nullptr), "", "node1::y", "node1::x::z"}) {
    filter.removeFilterLevel(unknown);
  }
  for (int i = 0; i < 60; i += 2) filter.removeFilterLevel(nodeName(i).c_str());
  for (int i = 0; i < 60; ++i) {
    EXPECT_EQ(filter.getLevel((nodeName(i) + "::x").c_str(), -1), i % 2 == 0 ? 0 : 1 + i);
  }
}

/// The portions of a name, each after a '|'.
std::string cut(const char* name, int length) {
  StringPortion portions[LogFilter::kMaxPortions];
  const int n = LogFilter::splitUpMethodName(name, portions, LogFilter::kMaxPortions, length);
  std::string all;
  for (int i = 0; i < n; ++i) all += "|" + std::string(portions[i].view());
  return all;
}

TEST(LogFilter, CutsNames) {
  EXPECT_EQ(cut("AR::CV::f", -1), "|AR|CV|f");
  EXPECT_EQ(cut("AR::CV::f", 5), "|AR|C");
  EXPECT_EQ(cut("AR::CV::f", 4), "|AR|");
  EXPECT_EQ(cut("AR::CV::f", 3), "|AR:");
  EXPECT_EQ(cut("a:::b", -1), "|a|:b");
  EXPECT_EQ(cut("", -1) + cut("abc", 0) + cut(nullptr, 7), "");
  EXPECT_EQ(cut("1::2::3::4::5::6::7::8::9::a::b::c::d::e::f::g::h", -1),
            "|1|2|3|4|5|6|7|8|9|a|b|c|d|e|f");
}

TEST(LogFilter, ReadsLevelWords) {
  const rectiline::testing::LogCapture log;
  int level = 0;
  for (const char* word : {"off", "error", "warning", "debug", "info", "verbose"}) {
    EXPECT_EQ(LogFilter::getLogLevelFromString(word), level++);
  }
  for (const char* wrong : {"Error", "debug ", "", static_cast<const char*>(nullptr)}) {
    EXPECT_EQ(LogFilter::getLogLevelFromString(wrong), 0);
  }
  EXPECT_EQ(log.lines().size(), 4U);
  EXPECT_EQ(log.lines()[0].text, ": Unable to parse logging level: 'Error'\n");
}

}  // namespace
