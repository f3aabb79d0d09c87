#include <string>
#include <utility>

#include "AR/Common/ConfigNode.h"
#include "AR/Common/LogFilter.h"
#include "AR/Common/Logger.h"
#include "AR/Common/Path.h"

namespace AR::Common {

namespace {

constexpr char kSource[] = "Common/src/LogFilter";

constexpr std::pair<const char*, Logger::FLAG> kFlagAttributes[] = {
    {"timedate", Logger::kFlagTimeDate}, {"function", Logger::kFlagFunction},
    {"filename", Logger::kFlagFilename}, {"console", Logger::kFlagConsole},
    {"filter", Logger::kFlagFilter},
};

int levelFromWord(const std::string& word) {
  return LogFilter::getLogLevelFromString(word.c_str());
}

}  // namespace

void Logger::initializeLogSettingsFromConfiguration(const ConfigNode& node) {
  const ConfigNode* const settings = node.getDescendent("Orvo.Logging");
  if (settings == nullptr) return;
  std::string text;
  if (settings->ifExistsGetAttribute("defaultLevel", text)) {
    setLevel(static_cast<LEVEL>(levelFromWord(text)));
  }
  for (const auto& [attribute, flag] : kFlagAttributes) {
    bool on = false;
    if (settings->ifExistsGetAttribute(attribute, on)) setFlag(flag, on);
  }
  // Appending keeps what the file holds; it stays open between lines.
  if (settings->ifExistsGetAttribute("logfile", text)) setFile(Path(text), true, false);
  getLogFilter().initializeFromConfiguration(*settings);
}

void LogFilter::initializeFromConfiguration(const ConfigNode& node) {
  std::string word;
  if (node.ifExistsGetAttribute("defaultLevel", word)) {
    setFilterLevel(nullptr, levelFromWord(word), KEEP_EXISTING);
  }
  size_t numLevels = 0;
  for (size_t i = 0; i < node.getNumChildren(); ++i) {
    const ConfigNode* const child = node.getChildAt(i);
    if (child->getName() != "LogLevel" || ++numLevels > ConfigNode::kMaxLogLevels) continue;
    std::string name;
    if (child->ifExistsGetAttribute("name", name) && child->ifExistsGetAttribute("level", word)) {
      setFilterLevel(name.c_str(), levelFromWord(word), KEEP_EXISTING);
    }
  }
  if (numLevels > ConfigNode::kMaxLogLevels) {
    AR_LOGF(Logger::ERR, kSource,
            "%zu LogLevel elements; those after the first %zu are passed over", numLevels,
            ConfigNode::kMaxLogLevels);
  }
}

}  // namespace AR::Common
