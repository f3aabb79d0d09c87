#include "cli/Application.h"

#include <CLI/CLI.hpp>
#include <algorithm>
#include <cstdio>
#include <exception>
#include <new>
#include <numeric>
#include <sstream>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include "cli/StandardOutput.h"
#include "commands/Commands.h"
#include "maps/Calls.h"

namespace rectiline::tool {
namespace {

constexpr char kFooter[] =
    "Exit codes: 0 done, 1 bad input, 2 wrong usage, 3 done and the verdict is no,\n"
    "4 a result cannot be written, 130 ended by Ctrl-C.\n"
    "\"rectiline COMMAND --help\" shows the options of a command and an example.";

/// How many letters must be put in, taken out or replaced to turn one word into the other.
std::size_t editDistance(const std::string& from, const std::string& to) {
  std::vector<std::size_t> row(to.size() + 1);
  std::iota(row.begin(), row.end(), std::size_t{0});
  for (std::size_t i = 0; i < from.size(); ++i) {
    std::size_t diagonal = std::exchange(row[0], i + 1);
    for (std::size_t j = 0; j < to.size(); ++j) {
      const std::size_t replaced = diagonal + (from[i] == to[j] ? 0 : 1);
      diagonal = std::exchange(row[j + 1], std::min({replaced, row[j] + 1, row[j + 1] + 1}));
    }
  }
  return row.back();
}

std::string unknownCommand(const std::string& word) {
  const auto& list = commands();
  const auto nearest =
      std::min_element(list.begin(), list.end(), [&word](const Command& a, const Command& b) {
        return editDistance(word, a.name) < editDistance(word, b.name);
      });
  return "there is no command \"" + word + "\"; the nearest is \"" + nearest->name + "\"";
}

std::string exampleText(const Command& command) {
  std::string text = "Example:";
  std::istringstream lines(command.example);
  for (std::string line; std::getline(lines, line);) text += "\n  rectiline " + line;
  return text;
}

/// The library's log and other output go to standard error when they are asked for. Without them a
/// failure is the one line that the command prints.
void setUpLog(bool verbose) {
  constexpr int kNothing = 0;
  constexpr int kDebug = 3;
  if (verbose) showLibraryOutput();
  check(rectiline_set_log(verbose ? kDebug : kNothing, verbose ? 1 : 0));
}

class Application {
 public:
  Application()
      : mApp("Rectifies and undistorts images of calibrated cameras, and says how well.") {
    mApp.name("rectiline");
    mApp.require_subcommand(1);
    mApp.footer(kFooter);
    mApp.set_version_flag("--version", std::string("rectiline ") + rectiline_version());
    declareVerbose(mApp);
    for (const Command& command : commands()) add(command);
  }

  /// Throws Error.
  void run(int argc, char** argv) {
    try {
      parse({argv, argv + argc});
    } catch (const CLI::ParseError& error) {
      if (error.get_exit_code() != 0) throw Error(usageMessage(error), ExitCode::Usage);
      std::ostringstream help;
      mApp.exit(error, help, help);
      print("%s", help.str().c_str());
      return;
    }
    setUpLog(mIsVerbose);
    if (mIsJson) expectJson();
    for (const auto& [app, run] : mRuns) {
      if (app->parsed()) finish(run());
    }
  }

 private:
  /// "help COMMAND" is "COMMAND --help".
  void parse(std::vector<const char*> words) {
    if (words.size() > 1 && words[1] == std::string_view("help")) {
      words.erase(words.begin() + 1);
      words.push_back("--help");
    }
    mApp.parse(static_cast<int>(words.size()), words.data());
  }

  void finish(const Result& result) const {
    if (mIsJson) printJson(result.json.dump(2));
    if (!result.verdict.empty()) throw Error(result.verdict, ExitCode::Verdict);
  }

  void declareVerbose(CLI::App& app) {
    app.add_flag("-v,--verbose", mIsVerbose, "show the library's log");
  }

  void add(const Command& command) {
    CLI::App* const app = mApp.add_subcommand(command.name, command.summary);
    app->footer(exampleText(command));
    mRuns.emplace_back(app, command.declare(*app));
    app->add_flag("--json", mIsJson, "results as one JSON object on standard output");
    declareVerbose(*app);
  }

  /// The first word that nothing was made of and that is no option; empty: there is none.
  static std::string extraWord(const CLI::App& command) {
    const std::vector<std::string> rest = command.remaining();
    const auto word = std::find_if(rest.begin(), rest.end(),
                                   [](const std::string& text) { return text[0] != '-'; });
    return word == rest.end() ? "" : *word;
  }

  [[nodiscard]] std::string usageMessage(const CLI::ParseError& error) const {
    const auto chosen = mApp.get_subcommands();
    const std::string extra = extraWord(chosen.empty() ? mApp : *chosen.front());
    if (chosen.empty() && !extra.empty()) return unknownCommand(extra);
    const std::string name = chosen.empty() ? "" : chosen.front()->get_name() + " ";
    const bool isTooMuch =
        !extra.empty() && dynamic_cast<const CLI::ExtrasError*>(&error) != nullptr;
    const char* const advice =
        !isTooMuch ? "" : "patterns need quotes, several files of a rig commas between them; ";
    return std::string(error.what()) + " (" + advice + "see rectiline " + name + "--help)";
  }

  CLI::App mApp;
  bool mIsJson = false;
  bool mIsVerbose = false;
  std::vector<std::pair<CLI::App*, Run>> mRuns;
};

ExitCode fail(const std::string& text, ExitCode code) {
  std::string line = "rectiline: " + text;
  std::replace(line.begin(), line.end(), '\n', ' ');
  std::fprintf(stderr, "%s\n", line.c_str());
  return code;
}

template <typename Work>
ExitCode guarded(Work work) {
  try {
    work();
    return ExitCode::Ok;
  } catch (const Error& error) {
    return fail(error.what(), error.code());
  } catch (const std::bad_alloc&) {
    return fail("out of memory", ExitCode::BadInput);
  } catch (const std::exception& error) {
    return fail(error.what(), ExitCode::BadInput);
  }
}

}  // namespace

ExitCode runCommandLine(int argc, char** argv) {
  const ExitCode work = guarded([&] { Application().run(argc, argv); });
  const ExitCode output = guarded(finishStandardOutput);
  return work != ExitCode::Ok ? work : output;
}

}  // namespace rectiline::tool
