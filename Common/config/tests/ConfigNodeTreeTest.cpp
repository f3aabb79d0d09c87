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
  const ConfigNode node = tree("<R i=' -12x' u='4000000000' f='2.5' t='TRUE' o='1'/>");
  int i = 3;
  EXPECT_FALSE(node.ifExistsGetAttribute("none", i));
  EXPECT_EQ(i, 3);
  EXPECT_TRUE(node.ifExistsGetAttribute("i", i));
  EXPECT_EQ(i, -12);
  EXPECT_EQ(node.getAttributeAsSizeT("u"), 4000000000u);
  EXPECT_EQ(node.getAttributeAsInt32("u"), 0);
  EXPECT_EQ(node.getAttributeAsFloat("f"), 2.5f);
  EXPECT_TRUE(node.getAttributeAsBoolean("t"));
  EXPECT_FALSE(node.getAttributeAsBoolean("o"));

  LogCapture log;
  EXPECT_EQ(node.getAttributeAsInt32("none"), 0);
  EXPECT_EQ(node.getDescendentAttribute("none"), "");
  EXPECT_EQ(log.count("operator[] const can not insert non-existent keys"), 2);
  EXPECT_EQ(node.getDescendentAttribute("X.none"), "");
  EXPECT_EQ(node.getChildAt(0), nullptr);
  EXPECT_FALSE(node.doesAttributeExists(""));
  EXPECT_EQ(log.failedChecks(), 5);
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

}  // namespace
}  // namespace AR::Common
