// The logger: settings from a document, levels by method name, formats and lines of any kind.

#include <string>

#include "AR/Common/ConfigNode.h"
#include "AR/Common/LogFilter.h"
#include "AR/Common/Logger.h"
#include "Finding.h"
#include "FuzzInput.h"

namespace {

using AR::Common::LogFilter;
using AR::Common::Logger;
using rectiline::fuzz::FuzzInput;

Logger::LEVEL levelFrom(FuzzInput& input) { return static_cast<Logger::LEVEL>(input.from(0, 5)); }

void configure(FuzzInput& input) {
  AR::Common::ConfigNode node;
  std::string why;
  const std::string settings = "<Config><Orvo><Logging " + input.text(200) + "/></Orvo></Config>";
  const bool namesFile = settings.find("logfile") != std::string::npos;  // which might be any
  if (node.trySetFromXML(settings, why) && !namesFile) {
    Logger::getInstance().initializeLogSettingsFromConfiguration(node);
  }
}

void filter(FuzzInput& input) {
  LogFilter filter;
  for (int i = input.from(0, 8); i > 0; --i) {
    const std::string name = input.text(100);
    filter.setFilterLevel(name.c_str(), input.from(-1, 6),
                          static_cast<LogFilter::LOG_FILTER_SET>(input.from(0, 3)));
    (void)filter.allowed(name.c_str(), input.from(0, 5));
    // Within the name, however long it is said to be.
    (void)filter.getLevel(name.c_str(), input.from(-1, static_cast<int>(name.size())));
    if (input.once(4)) filter.removeFilterLevel(input.text(100).c_str());
  }
  (void)LogFilter::getLogLevelFromString(input.text(10).c_str());
}

void writeLines(FuzzInput& input) {
  Logger& logger = Logger::getInstance();
  logger.setLevel(levelFrom(input));
  logger.setFlag(input.from(0U, 63U), input.flip());
  const std::string file = input.text(300), function = input.text(300), message = input.text(2000);
  logger.log2(levelFrom(input), file.c_str(), input.once(6) ? nullptr : function.c_str(),
              input.any<int>(), "AR", message.c_str());
  logger.logEx2(levelFrom(input), file.c_str(), function.c_str(), 1, "AR", "%s %d %.3f",
                message.c_str(), input.any<int>(), input.hostileNumber());
  logger.log2(levelFrom(input), "AR", message.c_str());
  const auto name = Logger::parseMethodName(function.c_str(), input.from(0, 400));
  FUZZ_EXPECT(name.length() <= 400);
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  static constexpr void (*kParts[])(FuzzInput&) = {configure, filter, writeLines};
  FuzzInput input(data, size);
  input.oneOf(kParts)(input);
  return 0;
}
