#include <gmock/gmock.h>

#include <clocale>
#include <cstdlib>
#include <fstream>
#include <sstream>

#include "AR/Common/ConfigNode.h"
#include "AR/Common/Path.h"
#include "AR/Common/TinyXml.h"
#include "AR/Math/Matrix.h"
#include "testing/LogCapture.h"
#include "testing/TemporaryFile.h"

namespace AR::Common {
namespace {

using Math::Mat;
using Math::Vec;
using rectiline::testing::LogCapture;
using ::testing::ElementsAre;

ConfigNode tree(const std::string& xml) {
  ConfigNode node;
  EXPECT_TRUE(node.setFromXMLString(xml.c_str())) << xml;
  return node;
}

std::string written(const ConfigNode& node, int indent = 0) {
  std::ostringstream stream;
  EXPECT_TRUE(node.writeToXML(stream, indent));
  return stream.str();
}

std::string times(int n, const std::string& text) {
  std::string all;
  for (int i = 0; i < n; ++i) all += text;
  return all;
}

TEST(ConfigTree, DuplicateTagsAreReportedOncePerLookup) {
  const ConfigNode node = tree("<R><A><B v='1'/><B/></A><C/></R>");
  LogCapture log;
  int value = 5;
  EXPECT_EQ(node.getDescendent("A.B"), nullptr);
  EXPECT_EQ(node.getDescendent("A.B.X"), nullptr);
  EXPECT_EQ(node.ifExistsGetDescendentAttribute("A.B.v", value, ""), ParseResult::Missing);
  EXPECT_EQ(log.count(": Duplicate tag 'B'. Unique tag expected. Fix the input XML file, or "
                      "manually walk the hierarchy, or use getRepetitive*.\n"),
            3);
  EXPECT_EQ(log.count("AR_ASSERT 0 Common/src/ConfigNode("), 3);
  log.clear();
  for (const char* path : {"", ".", "A.", ".A", "X.B", "C.B"}) {
    EXPECT_EQ(node.getDescendent(path), nullptr) << path;
  }
  EXPECT_EQ(node.getDescendent("C"), node.getChildAt(1));
  EXPECT_TRUE(log.lines().empty()) << log.text();
}

TEST(ConfigTree, AttributesOfANode) {
  const ConfigNode node = tree("<R i=' -12x' u='4000000000' f='2.5' t='TRUE'/>");
  int i = 3;
  EXPECT_TRUE(!node.ifExistsGetAttribute("none", i) && i == 3);
  EXPECT_TRUE(node.ifExistsGetAttribute("i", i) && i == -12);
  EXPECT_EQ(node.getAttributeAsSizeT("u"), 4000000000u);
  EXPECT_EQ(node.getAttributeAsInt32("u"), 0);
  EXPECT_EQ(node.getAttributeAsFloat("f"), 2.5f);
  EXPECT_TRUE(node.getAttributeAsBoolean("t") && !node.getAttributeAsBoolean("u"));
  const LogCapture log;
  EXPECT_EQ(node.getDescendentAttribute("none") + node.getDescendentAttribute("X.none"), "");
  EXPECT_EQ(node.getChildAt(0), nullptr);
  EXPECT_FALSE(node.doesAttributeExists(""));
  EXPECT_EQ(log.failedChecks(), 4);
}

TEST(ConfigTree, SettingCreatesWhatIsMissing) {
  ConfigNode node = tree("<R><A x='1'/><D/><D/></R>");
  EXPECT_TRUE(node.setDescendentAttribute("A.x", "2"));
  EXPECT_TRUE(node.setDescendentAttribute("A.B.C.y", "3"));
  EXPECT_EQ(node.getDescendentAttribute("A.x"), "2");
  EXPECT_EQ(node.getDescendentAttribute("A.B.C.y"), "3");

  const std::string deepest = "A" + times(63, ".A"), deep = deepest + ".A";
  EXPECT_TRUE(node.setDescendentAttribute(deepest, "4"));
  EXPECT_EQ(tree(written(node)).getDescendentAttribute(deepest), "4");

  const std::string before = written(node);
  LogCapture log;
  for (const char* path : {"", "A..x", "A.", "A b.x", "A.1", "D.x", deep.c_str()}) {
    EXPECT_FALSE(node.setDescendentAttribute(path, "5")) << path;
  }
  EXPECT_EQ(log.count(": Not a path of an attribute to set: '"), 6);
  EXPECT_EQ(log.count(": Duplicate tag 'D'."), 1);
  node.addAttribute("", "5");
  EXPECT_EQ(log.count("AR_ASSERT key.length()>0 "), 1);
  EXPECT_EQ(written(node), before);
}

TEST(ConfigTree, CopiesAreDeepAndASubtreeMayReplaceItsTree) {
  ConfigNode node = tree("<R><A><B v='1'/></A></R>");
  ConfigNode copy = node;
  copy.setDescendentAttribute("A.B.v", "2");
  copy = *copy.getChild("A");
  EXPECT_EQ(copy.getDescendentAttribute("B.v"), "2");
  node = std::move(*node.getChild("A"));
  EXPECT_EQ(node.getDescendentAttribute("B.v"), "1");
}

TEST(ConfigTree, CommandLine) {
  ConfigNode node = tree("<R><A x='1'/></R>");
  std::string arguments[] = {"-c:A.x=0", "-c:A.x=7=8", "A.x=1", "-c:y=", "-c:A.x", "-c:=3", "-c"};
  std::vector<char*> argv;
  for (std::string& argument : arguments) argv.push_back(argument.data());
  LogCapture log;
  EXPECT_EQ(node.updateCommonConfigCommandLine(7, argv.data(), "-c:"), 2);
  EXPECT_EQ(log.count(": AR::Common::setCommonConfigCommandLine set A.x = 7=8 -> updated\n"), 1);
  EXPECT_EQ(log.count(": AR::Common::setCommonConfigCommandLine set y =  -> created\n"), 1);
  EXPECT_EQ(written(node), written(tree("<R y=''><A x='7=8'/></R>")));
}

/// Each test has one file of its own.
class ConfigXml : public ::testing::Test {
 protected:
  ~ConfigXml() override { std::remove(mPath.c_str()); }

  const char* file(const std::string& content) const {
    std::ofstream(mPath, std::ios::binary) << content;
    return mPath.c_str();
  }

  const std::string mPath = rectiline::testing::temporaryFile("config.xml");
};

std::string nested(int depth) { return times(depth, "<a>") + times(depth, "</a>"); }

std::string manyElements(int count) { return "<R>" + times(count - 1, "<a/>") + "</R>"; }

std::string elementOf(int numAttributes) {
  std::string text = "<a";
  for (int i = 0; i < numAttributes; ++i) text += " a" + std::to_string(i) + "='='";
  return text + "/>";
}

TEST_F(ConfigXml, WritesWhatItLoads) {
  ConfigNode node = tree(
      "\xEF\xBB\xBF<?xml version='1.0' x='>'?>\n<!DOCTYPE R>"
      "<R z='1'> t <!-- <x> --><B/><A v = 'a>b'><?p <x> ?>"
      "<![CDATA[<x>]]><B/></A></R>\n");
  EXPECT_EQ(written(node, 2),
            "<?xml version=\"1.0\" encoding=\"UTF-8\" ?>\n"
            "<R z=\"1\">\n  <B />\n  <A v=\"a&#x3E;b\">\n    <B />\n  </A>\n</R>\n");

  const std::string text = "<&>\"' &#x41; \t\n\r \x01 \xC3\xA4 \xE4\xB8\xAD \xF0\x9F\x98\x80 ";
  node.addAttribute("text", text);
  node.setDescendentAttribute("A.B.latin", "\xE4");
  ASSERT_TRUE(node.writeToXML(mPath.c_str(), 4));
  const ConfigNode loaded(mPath.c_str());
  EXPECT_EQ(loaded.getAttributeAsString("text"), text);
  EXPECT_EQ(loaded.getDescendentAttribute("A.B.latin"), "\xE4");
  EXPECT_FALSE(node.writeToXML("/no/such/folder/file.xml", 0));
}

TEST_F(ConfigXml, WritesNothingThatWouldNotLoad) {
  const ConfigNode kept = tree("<kept/>");
  ASSERT_TRUE(kept.writeToXML(mPath.c_str(), 0));
  std::vector<ConfigNode> nodes(1);  // the first is nameless
  for (const char* name : {"", "1a", "a b", "a='1' b", "<a>"}) {
    if (*name != '\0')
      nodes.emplace_back(tree("<R><A/></R>")).getChild("A")->addAttribute(name, "");
  }
  ConfigNode deep = tree(nested(64));
  deep.getDescendent("a" + times(62, ".a"))->setDescendentAttribute("a.b", "");
  nodes.push_back(deep);
  nodes.push_back(tree("<R/>"));
  for (size_t i = 0; i <= ConfigNode::kMaxElementAttributes; ++i) {
    nodes.back().addAttribute("a" + std::to_string(i), "");
  }
  nodes.push_back(tree(manyElements(ConfigNode::kMaxElements)));
  nodes.back().setDescendentAttribute("one.more", "");
  nodes.push_back(tree("<R/>"));
  nodes.back().addAttribute("a", std::string(ConfigNode::kMaxBytes, ' '));
  for (const ConfigNode& node : nodes) {
    std::ostringstream stream;
    EXPECT_FALSE(node.writeToXML(stream, 0));
    EXPECT_FALSE(node.writeToXML(mPath.c_str(), 0));
    EXPECT_EQ(stream.str(), "");
    EXPECT_EQ(ConfigNode(mPath.c_str()).getName(), "kept");
  }
}

TEST_F(ConfigXml, ReadsBytesThatAreNoUtf8AsTheyAre) {
  // Every one of these bytes would begin a longer character, and hide what is behind it.
  for (const std::string bytes : {"\xC3", "\xF0", "\xFF", "\xE4\xB8", "\xC3\xA4\xE4"}) {
    const ConfigNode node =
        tree("\xEF\xBB\xBF<a v='" + bytes + "' w='&#x41;'>" + bytes + "<b/>" + bytes + "</a>");
    EXPECT_EQ(node.getAttributeAsString("v"), bytes);
    EXPECT_EQ(node.getAttributeAsString("w"), "A");
    EXPECT_EQ(node.getNumChildren(), 1U);
  }
}

TEST_F(ConfigXml, RefusesWhatIsNotADocument) {
  const std::vector<std::pair<std::string, const char*>> cases = {
      {"", "no root element, line 1, col 1"},
      {"<!DOCTYPE a>", "no root element, line 1, col 13"},
      {"<a/>\n <b/>", "more than one root element, line 2, col 2"},
      {"x<a/>", "text outside the root"},
      {"<a/><![CDATA[]]>", "text outside the root"},
      {"<a>&#x</a>&#x41;", "broken character reference"},
      {"<a>&#;</a>", "broken character reference"},
      {"</a><a>", "end tag without its element"},
      {"<a b='1", "unexpected end"},
      {"<a><b/>", ", line "},
      {"<a><b></a></b>", ", line "},
      {"<a b='1' b='2'/>", ", line "},
      {nested(65), "nested too deep, line 1, col 193"},
      {nested(100000), "nested too deep"},
      {"<a>\xF0</a><a>\xF0</a>", "more than one root element, line 1, col 9"},
      {elementOf(257), "too many attributes"},
      {"<R>" + times(256, elementOf(256)) + "<a b=''/></R>", "too many attributes"},
      {manyElements(65537), "too many elements, line 1, col 262147"},
      {std::string(size_t{16} << 20, ' ') + "<a/>", "larger than 16 MiB"},
  };
  ConfigNode node = tree("<kept/>");
  for (const auto& [xml, message] : cases) {
    SCOPED_TRACE(xml.substr(0, 100));
    LogCapture log;
    EXPECT_FALSE(node.setFromXMLString(xml.c_str()));
    EXPECT_EQ(log.count(": Got XML parsing error! "), 1);
    EXPECT_EQ(log.count(message), 1) << log.text();
    EXPECT_EQ(node.getName(), "kept");

    log.clear();
    std::string why;
    EXPECT_FALSE(node.trySetFromXML(xml, why));
    EXPECT_NE(why, "");
    EXPECT_TRUE(log.lines().empty()) << log.text();
    EXPECT_FALSE(node.setFromXMLFile(file(xml)));
    EXPECT_EQ(log.count(": Parsing XML from file " + mPath + " returned "), 1);
    EXPECT_EQ(log.count(" (XML syntax error)\n"), 1);
  }
  for (const std::string& xml :
       {nested(64), manyElements(65536), "<R>" + times(256, elementOf(256)) + "</R>",
        "<R>" + times(70000, "x<!-- <a/> --><![CDATA[<a/>]]>") + "</R>"}) {
    EXPECT_TRUE(node.setFromXMLString(xml.c_str())) << xml.substr(0, 100);
  }
  EXPECT_EQ(node.getNumChildren(), 0U);
}

TEST_F(ConfigXml, ReportsFilesThatCannotBeLoaded) {
  ConfigNode node;
  LogCapture log;
  for (const std::string path : {"/no/such/file.xml", "/"}) {
    EXPECT_FALSE(node.setFromXMLFile(path.c_str()));
    EXPECT_EQ(log.count(": Failed loading XML from file '" + path + "'\n"), 1);
  }
  EXPECT_FALSE(node.setFromXMLFile(file(std::string("<a/>\0", 5))));
  EXPECT_EQ(log.count("returned 13 (XML syntax error)"), 1);
  EXPECT_EQ(ConfigNode("/no/such/file.xml").getName(), "");
  EXPECT_EQ(log.count("AR_ASSERT wasSet && \"Failed loading/parsing XML from file\" "), 1);
  EXPECT_EQ(ConfigNode(nullptr).getName(), "");
  EXPECT_EQ(log.count("AR_ASSERT filenameXML "), 1);
}

TEST_F(ConfigXml, TakesOverADocumentWithinTheLimits) {
  ConfigNode node;
  LogCapture log;
  const auto takes = [&](const std::string& xml) {
    TiXmlDocument document;
    document.Parse(xml.c_str());
    return node.setFromXMLDocument(&document);
  };
  EXPECT_TRUE(takes(nested(64)) && takes(manyElements(65536)) && takes(elementOf(256)));
  EXPECT_FALSE(takes(nested(65)) || takes(manyElements(65537)) || takes(elementOf(257)));
  EXPECT_FALSE(node.setFromXMLDocument(nullptr));
  EXPECT_EQ(log.failedChecks(), 4);
}

TEST_F(ConfigXml, UpdateMergesByTagAndPosition) {
  ConfigNode node;
  ASSERT_TRUE(node.updateFromXMLFile(file("<R a='1' b='1'><C v='1'/><D/><C v='2'><E/></C></R>")));
  ASSERT_TRUE(
      node.updateFromXMLFile(file("<R b='2' c='2'><C w='3'/><C v='4'><F/></C><C v='5'/><G/></R>")));
  EXPECT_EQ(written(node),
            "<?xml version=\"1.0\" encoding=\"UTF-8\" ?>\n"
            "<R a=\"1\" b=\"2\" c=\"2\">\n<C v=\"1\" w=\"3\" />\n<D />\n"
            "<C v=\"4\">\n<E />\n<F />\n</C>\n<C v=\"5\" />\n<G />\n</R>\n");
  const std::string before = written(node);
  LogCapture log;
  for (const char* xml : {"<S b='3'/>", "<R b='3'><C></R>"}) {
    EXPECT_FALSE(node.updateFromXMLFile(file(xml)));
    EXPECT_EQ(written(node), before);
  }
  EXPECT_EQ(log.count("is 'S' instead of 'R'\n"), 1);
  EXPECT_EQ(log.count("(XML syntax error)\n"), 1);
}

const std::string kVectorFailure = "ConfigNode::ifExistsGetDescendentAttribute: Failed parsing ";

template <typename T>
struct Good {
  std::string text;
  T value;
  std::string shown;
};

template <typename T>
void expectRead(const char* text, T value, ParseResult result, const T& after,
                const std::string& line) {
  SCOPED_TRACE(line);
  ConfigNode node;
  if (text != nullptr) node.setDescendentAttribute("a.b", text);
  LogCapture log;
  EXPECT_EQ(node.ifExistsGetDescendentAttribute("a.b", value, "why"), result);
  EXPECT_TRUE(value == after);
  ASSERT_EQ(log.lines().size(), 1u);
  EXPECT_EQ(log.lines()[0].text, ": " + line + "\n");
  EXPECT_EQ(log.lines()[0].priority == ANDROID_LOG_ERROR, result == ParseResult::Malformed);
}

/// For every text of `bad` the line is `failure` with "%" replaced by the text.
template <typename T>
void expectReads(const T& old, const std::string& shownOld, const std::vector<Good<T>>& good,
                 const std::string& failure, const std::vector<std::string>& bad) {
  const std::string start = "Configuration: ", end = "    # why";
  const std::string setting = shownOld == "[]" ? "*a.b" : "a.b (" + shownOld + ")";
  expectRead(nullptr, old, ParseResult::Missing, old, start + "a.b  = " + shownOld + end);
  for (const auto& [text, value, shown] : good) {
    expectRead(text.c_str(), old, ParseResult::Exists, value,
               start + setting + " = " + shown + end);
  }
  for (const std::string& text : bad) {
    std::string line = failure;
    if (const size_t at = line.find('%'); at != std::string::npos) line.replace(at, 1, text);
    expectRead(text.c_str(), old, ParseResult::Malformed, old, line);
  }
}

TEST(ConfigRead, TextsAndBooleans) {
  expectReads<std::string>("x", "\"x\"", {{" y ", " y ", "\" y \""}}, "", {});
  expectReads<Path>("/x", "\"/x\"", {{"/y", "/y", "\"/y\""}}, "", {});
  expectReads<bool>(true, "True", {{"FALSE", false, "False"}, {"True", true, "True"}},
                    "Configuration: a.b: Error parsing true/false from %", {"1", "true ", ""});
}

template <typename T>
void expectRealReads() {
  const T inf = std::numeric_limits<T>::infinity();
  const std::vector<Good<T>> good = {
      {" +1.25m", T(1.25), "1.250000"}, {"-0x1.8p1", T(-3), "-3.000000"},
      {"-1e999", -inf, "-inf"},         {"0.0001e99999999999", inf, "inf"},
      {"1000e-9999", T(0), "0.000000"}, {"1x", T(1), "1.000000"},
      {"-infx", -inf, "-inf"}};
  expectReads<T>(T(0.5), "0.500000", good, "Configuration: a.b: Error parsing float from %",
                 {"", "1e", "1e+", "0x", "0x1pm", "+-1", "+ 1", ".", "x1"});
}

template <typename T>
void expectIntegerReads(const std::string& failure) {
  using Limits = std::numeric_limits<T>;
  const std::string max = std::to_string(Limits::max()), min = std::to_string(Limits::min());
  const auto line = [&](const char* why) {
    return "Configuration: a.b" + (failure.empty() ? why : failure);
  };
  expectReads<T>(7, "7", {{" +" + max, Limits::max(), max}, {min + ".5", Limits::min(), min}},
                 line(" (7) = % is out of range"), {max + "0", "-" + max + "0"});
  expectReads<T>(7, "7", {{"-0", 0, "0"}},
                 line(" (7) = %, no string to integer conversion could be performed"),
                 {"x", "", "- 1"});
}

TEST(ConfigRead, Numbers) {
  expectRealReads<float>();
  expectRealReads<double>();
  expectIntegerReads<int32_t>(": Error parsing int from %");
  expectIntegerReads<int64_t>(": Error parsing int64_t from %");
  expectIntegerReads<uint32_t>("");
  expectIntegerReads<uint64_t>("");
  expectIntegerReads<unsigned char>("");
}

TEST(ConfigRead, RealsWhateverTheLocale) {
  if (std::setlocale(LC_ALL, "de_DE.UTF-8") == nullptr) GTEST_SKIP() << "no locale with a comma";
  ConfigNode node;
  node.addAttribute("a", "2.5,5");
  EXPECT_EQ(node.getAttributeAsFloat("a"), 2.5F);
  EXPECT_EQ(std::strtod("2,5", nullptr), 2.5);  // the process is as it was
  std::setlocale(LC_ALL, "C");
}

std::string repeated(const std::string& element, int n) {
  return element + times(n - 1, " " + element);
}

template <typename T, int... N>
void expectVectorReads(const std::string& letter) {
  const std::string fraction = std::is_integral_v<T> ? "" : ".000000";
  const std::string zero = "0" + fraction, four = "4" + fraction;
  const auto expectOne = [&]<int SIZE>() {
    Vec<T, SIZE> fours;
    std::fill(fours.begin(), fours.end(), T(4));
    const std::string name = "Vec" + std::to_string(SIZE) + letter;
    expectReads<Vec<T, SIZE>>(
        {}, "[" + repeated(zero, SIZE) + "]",
        {{repeated("\t4\n", SIZE) + "px", fours, "[" + repeated(four, SIZE) + "]"}},
        kVectorFailure + name + (name == "Vec3F" ? " from %" : ""),
        {repeated("4", SIZE - 1), repeated("4;", SIZE)});
  };
  (expectOne.template operator()<N>(), ...);
}

TEST(ConfigRead, VectorsMatricesAndLists) {
  expectVectorReads<float, 2, 3, 4, 6, 8>("F");
  expectVectorReads<double, 2, 3, 4, 6, 8>("D");
  expectVectorReads<int, 2, 3, 4>("I");
  const Vec<float, 3> v(1.5f, 2.f, 3.f);
  const std::string shown = "[1.500000 2.000000 3.000000]";
  expectReads(v, shown, {{"1.5,2,3", v, shown}, {"1.5, 2, 3", v, shown}},
              kVectorFailure + "Vec3F from %", {"1.5;2;3", "1.5,2 3", "1.5 ,2,3"});
  const Mat<float, 3, 3> m(1, 2, 3, 4, 5, 6, 7, 8, 9);
  const std::string rows =
      "[1.000000 2.000000 3.000000; 4.000000 5.000000 6.000000; 7.000000 8.000000 9.000000]";
  expectReads(m, rows, {{"1 2 3 4 5 6 7 8 9", m, rows}}, kVectorFailure + "row-major Matrix33F",
              {"1 2 3 4 5 6 7 8"});
  Vec<double, -1> list(2), empty(0);
  list(1) = -2;
  expectReads(list, "[]", {{" 0  -2 ", list, "[0.000000 -2.000000]"}, {"", empty, "[]"}},
              kVectorFailure + "space-separated vector of numbers from %", {"0 x", "1.5.5"});
}

TEST(ConfigRead, RepeatedTags) {
  const ConfigNode node =
      tree("<R><C><K v='1'/><K v='x'/></C><D><K v='9'/></D><C><K/><K v='3'/></C></R>");
  LogCapture log;
  EXPECT_THAT(node.getRepetitiveDescendentAttributes<int>("C.K.v", "why"), ElementsAre(1, 3));
  EXPECT_EQ(log.count(": Configuration: *C.K.v = 3    # why\n"), 1);
  EXPECT_EQ(log.count(": Configuration: C.K.v: Error parsing int from x\n"), 1);
  EXPECT_THAT(node.getRepetitiveDescendentAttributes<std::string>("D.K.v", ""), ElementsAre("9"));
  EXPECT_TRUE(node.getRepetitiveDescendentAttributes<bool>("v", "why").empty());
  EXPECT_EQ(log.count(": Configuration: v  = []    # why\n"), 1);
}

}  // namespace
}  // namespace AR::Common
