#pragma once

#include <functional>
#include <nlohmann/json.hpp>
#include <string>
#include <vector>

namespace CLI {
class App;
}

namespace rectiline::tool {

/// What a subcommand found, besides the text that it printed.
struct Result {
  nlohmann::ordered_json json;  // the same for machines, an object
  std::string verdict;          // the sentence of a "no"; empty: all is well
};

/// Does the work of a subcommand once its arguments are parsed, and prints its results with
/// print(), which is silent when JSON is asked for. Throws Error.
using Run = std::function<Result()>;

struct Command {
  const char* name;
  const char* summary;  // a line for the list of commands
  const char* example;  // command lines without "rectiline", each on a line of its own
  Run (*declare)(CLI::App& command);
};

/// Every subcommand in the order in which the help lists them. Each has a file of its own.
const std::vector<Command>& commands();

Run declareInfo(CLI::App& command);
Run declareCheck(CLI::App& command);
Run declareConvert(CLI::App& command);
Run declareRectify(CLI::App& command);
Run declareUndistort(CLI::App& command);
Run declareMaps(CLI::App& command);
Run declareApply(CLI::App& command);
Run declareDepth(CLI::App& command);
Run declareReport(CLI::App& command);
Run declareVerify(CLI::App& command);
Run declareRender(CLI::App& command);

}  // namespace rectiline::tool
