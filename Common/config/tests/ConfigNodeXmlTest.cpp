#include <fstream>

#include "AR/Common/TinyXml.h"
#include "TestTree.h"

namespace AR::Common {
namespace {

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
      {" \n ", "no root element, line 2, col 2"},
      {"<!DOCTYPE a>", "no root element, line 1, col 13"},
      {"<a/>\n <b/>", "more than one root element, line 2, col 2"},
      {"<a/>x", "text outside the root"},
      {"x<a/>", "text outside the root"},
      {"<a/><![CDATA[]]>", "text outside the root"},
      {"<a>&#x</a>&#x41;", "broken character reference"},
      {"</a><a>", "end tag without its element"},
      {"<a b='1", "unexpected end"},
      {"<a/><!-- ", "unexpected end"},
      {"<a><b/>", ", line "},
      {"<a><b></a></b>", ", line "},
      {"<a b/>", ", line "},
      {"<a b='1' b='2'/>", ", line "},
      {nested(65), "nested too deep, line 1, col 193"},
      {nested(100000), "nested too deep"},
      {"<a>\xF0</a><a>\xF0</a>", "not UTF-8, line 1, col 4"},
      {"<a b='\xC3'/>", "not UTF-8"},
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
