#include "Attribute.h"

namespace AR::CV::RigFile {
namespace {

// A foreign document may have texts of any length.
constexpr std::size_t kMaxShown = 60;

std::string shown(const std::string& text) {
  const bool isLong = text.size() > kMaxShown;
  return '"' + text.substr(0, kMaxShown) + (isLong ? "...\"" : "\"");
}

}  // namespace

bool refuse(std::string& why, const std::string& reason) {
  if (why.empty()) why = reason;
  return false;
}

std::string expectation(const ConfigNode& node, const std::string& path, const char* meaning) {
  const bool exists = node.existsDescendentAttribute(path);
  return path + ": expected " + meaning + ", found " +
         (exists ? shown(node.getDescendentAttribute(path)) : "no such attribute");
}

void writeAttribute(const char* name, const std::string& text, TiXmlElement& element) {
  if (!text.empty()) element.SetAttribute(name, text);
}

bool findOnlyChild(const ConfigNode& node, const char* name, const ConfigNode*& child,
                   std::string& why) {
  std::size_t count = 0;
  for (std::size_t i = 0; i < node.getNumChildren(); ++i) {
    count += node.getChildAt(i)->getName() == name;
  }
  child = node.getChild(name);
  return count < 2 || refuse(why, std::string("expected one ") + name + " element, found " +
                                      std::to_string(count));
}

}  // namespace AR::CV::RigFile
