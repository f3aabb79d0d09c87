#include "Attribute.h"

#include <charconv>
#include <iterator>

namespace AR::CV::RigFile {

// printf would write the decimal point of the process's locale.
std::string numberText(const double value, const int significantDigits) {
  char buffer[32];  // a sign, a point, an exponent of 3 digits, and far more digits than are asked
  const auto end =
      std::to_chars(buffer, std::end(buffer), value, std::chars_format::general, significantDigits);
  return {buffer, end.ptr};
}

void writeAttribute(const char* name, const std::string& text, TiXmlElement& element) {
  if (!text.empty()) element.SetAttribute(name, text);
}

bool refuse(std::string& why, const std::string& reason) {
  if (why.empty()) why = reason;
  return false;
}

std::string shown(const std::string& text) {
  constexpr std::size_t kMaxShown = 60;
  const bool isLong = text.size() > kMaxShown;
  return '"' + text.substr(0, kMaxShown) + (isLong ? "...\"" : "\"");
}

std::string expectation(const ConfigNode& node, const std::string& path, const char* meaning) {
  const bool exists = node.existsDescendentAttribute(path);
  return path + ": expected " + meaning + ", found " +
         (exists ? shown(node.getDescendentAttribute(path)) : "no such attribute");
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
