// What is written about the command is what it does.

#include <gmock/gmock.h>

#include <regex>
#include <set>

#include "RunCommand.h"

namespace rectiline::tool {
namespace {

using ::testing::HasSubstr;

const std::string kSource = RECTILINE_SOURCE;

std::set<std::string> allMatches(const std::string& text, const std::string& pattern) {
  const std::regex regex(pattern);
  std::set<std::string> found;
  for (std::sregex_iterator it(text.begin(), text.end(), regex), end; it != end; ++it) {
    found.insert((*it)[1]);
  }
  return found;
}

class Documentation : public CommandTest {
 protected:
  [[nodiscard]] std::set<std::string> commands() const {
    const std::string help = run("--help").output;
    return allMatches(help.substr(help.find("Subcommands:")), "\n  ([a-z]+) ");
  }
};

TEST_F(Documentation, TheRigPageKnowsEveryAttributeAndItsExampleIsRead) {
  const std::string page = contentOf(kSource + "/docs/configuration-xml.md");
  const std::set<std::string> attributes =
      allMatches(contentOf(kSource + "/CV/src/RigFile/AttributeTable.h"),
                 R"re((?:field|fieldUnlessZero|whole)<[^(]*>\(\s*"(\w+)")re");
  EXPECT_GE(attributes.size(), 25U);
  for (const std::string& name : attributes) EXPECT_THAT(page, HasSubstr("`" + name + "`"));
  const std::size_t start = page.find("```xml\n") + 7;
  writeText("rig.xml", page.substr(start, page.find("```", start) - start));
  const auto rig = run("info --json " + path("rig.xml"));
  EXPECT_EQ(rig.exitCode, 0) << rig.errors;
  EXPECT_EQ(rig.json()["cameras"].size(), 2U);
}

TEST_F(Documentation, ManualAndCompletionKnowEveryCommandAndOption) {
  const std::string manual =
      std::regex_replace(contentOf(kSource + "/tool/share/rectiline.1"), std::regex(R"(\\-)"), "-");
  EXPECT_GE(commands().size(), 9U);
  for (const std::string& command : commands()) {
    EXPECT_THAT(manual, HasSubstr(".SS " + command + "\n"));
    const std::string help = run(command + " --help").output;
    for (const std::string& option : allMatches(help, "\n +(?:-[a-z],)?(--[a-z-]+)")) {
      EXPECT_THAT(manual, HasSubstr(option)) << command;
    }
  }
  const struct {
    std::string words, reply;
  } rows[] = {{"ch", "check"}, {"convert rig.xml --los", "--lossy"}, {"convert --to ka", "kalibr"}};
  for (const auto& row : rows) {
    const std::string completion = kSource + "/tool/share/rectiline.bash";
    writeText("complete.sh", "source " + completion + "\nCOMP_WORDS=(" + RECTILINE_COMMAND + " " +
                                 row.words + ")\nCOMP_CWORD=$((${#COMP_WORDS[@]} - 1))\n" +
                                 "_rectiline; [ \"${COMPREPLY[*]}\" = \"" + row.reply + "\" ]\n");
    EXPECT_EQ(std::system(("bash " + path("complete.sh")).c_str()), 0) << row.words;
  }
}

}  // namespace
}  // namespace rectiline::tool
