#include <gtest/gtest.h>

#include <string>
#include <utility>
#include <vector>

#include "AR/Common/LogFilter.h"
#include "AR/Common/Logger.h"
#include "testing/LogCapture.h"

namespace AR::Common {
namespace {

using rectiline::testing::LogCapture;

int levelOf(const LogFilter& filter, const char* name) { return filter.getLevel(name, -1); }

TEST(LogFilter, TheDeepestNodeOnThePathDecides) {
  LogFilter filter(Logger::DEBUG);
  filter.setFilterLevel("AR::CV", Logger::ERR, LogFilter::KEEP_EXISTING);
  filter.setFilterLevel("VIO::Map::row", Logger::VERBOSE, LogFilter::KEEP_EXISTING);
  filter.setFilterLevel("VIO::Map", Logger::OFF, LogFilter::KEEP_EXISTING);
  // "AR" was added on the way to "AR::CV" and has its level.
  const std::vector<std::pair<int, std::vector<const char*>>> kNames = {
      {3, {nullptr, "", "main", "A", "ARC", "AR:CV", "::AR::CV"}},
      {1, {"AR::CV", "AR::CV::Camera::init", "AR::Math::f"}},
      {5, {"VIO::Map", "VIO::Map::row::x", "VIO::Mapp"}}};
  for (const auto& [level, names] : kNames) {
    for (const char* name : names) {
      EXPECT_TRUE(filter.allowed(name, level)) << (name ? name : "null");
      EXPECT_FALSE(filter.allowed(name, level + 1)) << (name ? name : "null");
    }
  }
}

TEST(LogFilter, ModesChangeAnExistingLastNodeOnly) {
  const struct {
    LogFilter::LOG_FILTER_SET mode;
    int toLower, toHigher;
  } kRows[] = {{LogFilter::RAISE_ONLY, 3, 5},
               {LogFilter::LOWER_ONLY, 1, 3},
               {LogFilter::ALWAYS, 1, 5},
               {LogFilter::KEEP_EXISTING, 3, 3}};
  for (const auto& row : kRows) {
    for (const int level : {1, 5}) {
      LogFilter filter(2);
      filter.setFilterLevel("a::b", 3, LogFilter::KEEP_EXISTING);
      filter.setFilterLevel("a::b", level, row.mode);
      EXPECT_EQ(levelOf(filter, "a::b"), level == 1 ? row.toLower : row.toHigher) << row.mode;
      EXPECT_EQ(levelOf(filter, "a"), 3);
      filter.setFilterLevel("n::m", level, row.mode);
      EXPECT_EQ(levelOf(filter, "n"), level);
      filter.setFilterLevel(nullptr, level, row.mode);
      EXPECT_EQ(levelOf(filter, nullptr), level);
    }
  }
  EXPECT_EQ(LogFilterNode().level(), Logger::WARNING);
}

TEST(LogFilter, OwnsItsNamesAndKeepsThemSorted) {
  LogFilter filter(0);
  std::string name;
  for (int i = 0; i < 60; ++i) {
    name = "node" + std::to_string(i * 37 % 60) + "::x";
    filter.setFilterLevel(name.c_str(), 1 + i * 37 % 60, LogFilter::KEEP_EXISTING);
  }
  name.assign(name.size(), '#');
  for (const char* unknown : {static_cast<const char*>(nullptr), "", "node1::y", "node1::x::z"}) {
    filter.removeFilterLevel(unknown);
  }
  for (int i = 0; i < 60; i += 2) {
    filter.removeFilterLevel(("node" + std::to_string(i)).c_str());
  }
  for (int i = 0; i < 60; ++i) {
    EXPECT_EQ(levelOf(filter, ("node" + std::to_string(i)).c_str()), i % 2 == 0 ? 0 : 1 + i);
  }
}

TEST(LogFilter, CutsNames) {
  const struct {
    const char* name;
    int length;
    std::vector<std::string> portions;
  } kRows[] = {{"AR::CV::f", -1, {"AR", "CV", "f"}},
               {"AR::CV::f", 5, {"AR", "C"}},
               {"AR::CV::f", 3, {"AR:"}},
               {"AR::CV::f", 4, {"AR", ""}},
               {"AR::CV::f", 99, {"AR", "CV", "f"}},
               {"::f", -1, {"", "f"}},
               {"a:::b", -1, {"a", ":b"}},
               {"", -1, {}},
               {"abc", 0, {}},
               {nullptr, 7, {}}};
  for (const auto& row : kRows) {
    StringPortion portions[LogFilter::kMaxPortions];
    const int n =
        LogFilter::splitUpMethodName(row.name, portions, LogFilter::kMaxPortions, row.length);
    std::vector<std::string> found;
    for (int i = 0; i < n; ++i) found.emplace_back(portions[i].view());
    EXPECT_EQ(found, row.portions);
  }
  std::string deep = "0";
  for (int i = 1; i < 40; ++i) deep += "::" + std::to_string(i);
  StringPortion portions[LogFilter::kMaxPortions];
  ASSERT_EQ(LogFilter::splitUpMethodName(deep.c_str(), portions, LogFilter::kMaxPortions, -1), 15);
  EXPECT_EQ(portions[14].view(), "14");
}

TEST(LogFilter, ReadsLevelWords) {
  const LogCapture capture;
  const char* const kWords[] = {"off", "error", "warning", "debug", "info", "verbose"};
  for (int level = 0; level <= 5; ++level) {
    EXPECT_EQ(LogFilter::getLogLevelFromString(kWords[level]), level);
  }
  EXPECT_TRUE(capture.lines().empty());
  for (const char* wrong : {"Error", "debug ", "", static_cast<const char*>(nullptr)}) {
    EXPECT_EQ(LogFilter::getLogLevelFromString(wrong), 0);
  }
  EXPECT_EQ(capture.count(": Unable to parse logging level: 'Error'"), 1);
  EXPECT_EQ(capture.lines().size(), 4u);
}

}  // namespace
}  // namespace AR::Common
