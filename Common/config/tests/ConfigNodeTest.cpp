
#include <fstream>

#include "AR/Common/TinyXml.h"
#include "TestTree.h"

namespace AR::Common {
namespace {

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
  EXPECT_FALSE(node.ifExistsGetAttribute("none", i));
  EXPECT_EQ(i, 3);
  EXPECT_TRUE(node.ifExistsGetAttribute("i", i));
  EXPECT_EQ(i, -12);
  EXPECT_EQ(node.getAttributeAsSizeT("u"), 4000000000u);
  EXPECT_EQ(node.getAttributeAsInt32("u"), 0);
  EXPECT_EQ(node.getAttributeAsFloat("f"), 2.5f);
  EXPECT_TRUE(node.getAttributeAsBoolean("t") && !node.getAttributeAsBoolean("u"));
  LogCapture log;
  EXPECT_EQ(node.getDescendentAttribute("none") + node.getDescendentAttribute("X.none"), "");
  EXPECT_EQ(log.count("operator[] const can not insert non-existent keys"), 1);
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

  const std::string before = written(node);
  LogCapture log;
  std::string deep = "A";
  for (int i = 0; i < ConfigNode::kMaxDepth; ++i) deep += ".A";
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

  const std::string mPath = ::testing::TempDir() + "ar_config_" +
                            ::testing::UnitTest::GetInstance()->current_test_info()->name() +
                            ".xml";
};

std::string times(int n, const std::string& text) {
  std::string all;
  for (int i = 0; i < n; ++i) all += text;
  return all;
}

std::string nested(int depth) { return times(depth, "<a>") + times(depth, "</a>"); }

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
  EXPECT_EQ(loaded.getDescendentAttribute("A.B.latin"), "\xC3\xA4");
  EXPECT_FALSE(ConfigNode().writeToXML(mPath.c_str(), 0));
  EXPECT_FALSE(node.writeToXML("/no/such/folder/file.xml", 0));
}

TEST_F(ConfigXml, RefusesWhatIsNotADocument) {
  const std::vector<std::pair<std::string, const char*>> cases = {
      {"", "no root element, line 1, col 1"},
      {"<!DOCTYPE a>", "no root element, line 1, col 13"},
      {"<a/>\n <b/>", "more than one root element, line 2, col 2"},
      {"x<a/>", "text outside the root"},
      {"<a/><![CDATA[]]>", "text outside the root"},
      {"<a>&#x</a>&#x41;", "broken character reference"},
      {"</a><a>", "end tag without its element"},
      {"<a b='1", "unexpected end"},
      {"<a><b/>", ", line "},
      {"<a><b></a></b>", ", line "},
      {"<a b='1' b='2'/>", ", line "},
      {nested(65), "nested too deep, line 1, col 193"},
      {nested(100000), "nested too deep"},
      {"<a>\xF0</a><a>\xF0</a>", "not UTF-8, line 1, col 4"},
      {"<a" + times(4097, " a=''") + "/>", "too many attributes"},
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
    EXPECT_FALSE(node.setFromXMLFile(file(xml)));
    EXPECT_EQ(log.count(": Parsing XML from file " + mPath + " returned "), 1);
    EXPECT_EQ(log.count(" (XML syntax error)\n"), 1);
  }
  EXPECT_EQ(tree(nested(64)).getName(), "a");
}

TEST_F(ConfigXml, ReportsFilesThatCannotBeLoaded) {
  ConfigNode node;
  LogCapture log;
  EXPECT_FALSE(node.setFromXMLFile("/"));
  EXPECT_EQ(log.count(": Failed loading XML from file '/'\n"), 1);
  EXPECT_FALSE(node.setFromXMLFile(file(std::string("<a/>\0", 5))));
  EXPECT_EQ(log.count("returned 13 (XML syntax error)"), 1);
  EXPECT_EQ(ConfigNode("/no/such/file.xml").getName(), "");
  EXPECT_EQ(log.count("AR_ASSERT wasSet && \"Failed loading/parsing XML from file\" "), 1);
  EXPECT_EQ(ConfigNode(nullptr).getName(), "");
  EXPECT_EQ(log.count("AR_ASSERT filenameXML "), 1);
}

TEST_F(ConfigXml, TakesOverADocumentButNotADeepOne) {
  TiXmlDocument document;
  document.Parse(nested(64).c_str());
  ConfigNode node;
  EXPECT_TRUE(node.setFromXMLDocument(&document));
  document.Clear();
  document.Parse(nested(65).c_str());
  LogCapture log;
  EXPECT_FALSE(node.setFromXMLDocument(&document));
  EXPECT_FALSE(node.setFromXMLDocument(nullptr));
  EXPECT_EQ(log.failedChecks(), 2);
}

TEST_F(ConfigXml, UpdateMergesByTagAndPosition) {
  ConfigNode node = tree("<R a='1' b='1'><C v='1'/><D/><C v='2'><E/></C></R>");
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

}  // namespace
}  // namespace AR::Common
