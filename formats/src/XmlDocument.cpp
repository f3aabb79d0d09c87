#include "XmlDocument.h"

#include <tinyxml.h>

#include <algorithm>

#include "Document.h"
#include "Error.h"

namespace rectiline::formats {
namespace {

// tinyxml recurses into every element that it believes to be open, whatever a scan of the text may
// think: so their number is bounded, to what a small stack holds. A FileStorage writes a matrix as
// six.
constexpr std::ptrdiff_t kMaxTags = 4000;

/// The text of an element; numbers and quoted texts come apart at white space.
void addText(const TiXmlElement& element, TreeBuilder& builder) {
  const char* const text = element.GetText();
  const std::vector<std::string> parts = words(text == nullptr ? "" : text);
  if (parts.size() == 1) return builder.scalar(parts[0]);
  builder.begin(Value::Kind::List);
  for (const std::string& part : parts) builder.scalar(part);
  builder.end();
}

void addElement(const TiXmlElement& element, TreeBuilder& builder) {
  const TiXmlElement* child = element.FirstChildElement();
  if (child == nullptr) return addText(element, builder);
  // FileStorage calls the items of a sequence "_".
  const bool isList = child->ValueStr() == "_";
  builder.begin(isList ? Value::Kind::List : Value::Kind::Map);
  for (; child != nullptr; child = child->NextSiblingElement()) {
    if (!isList) builder.key(child->ValueStr());
    addElement(*child, builder);
  }
  builder.end();
}

}  // namespace

std::unique_ptr<TiXmlDocument> parseXml(const std::string& text, const std::string& file) {
  if (text.find('\0') != std::string::npos) {
    throw FormatError({file, "", ""}, "XML", "a zero byte");
  }
  if (std::count(text.begin(), text.end(), '<') > kMaxTags) {
    throw FormatError({file, "", ""}, "at most " + std::to_string(kMaxTags) + " tags", "more");
  }
  auto document = std::make_unique<TiXmlDocument>();
  document->Parse(text.c_str(), nullptr, TIXML_ENCODING_UTF8);
  if (document->Error() || document->RootElement() == nullptr) {
    throw FormatError({file, "", "line " + std::to_string(document->ErrorRow())}, "XML",
                      shown(document->ErrorDesc()));
  }
  return document;
}

Value parseStorageXml(const std::string& text, const std::string& file) {
  const std::unique_ptr<TiXmlDocument> document = parseXml(text, file);
  TreeBuilder builder(file);
  addElement(*document->RootElement(), builder);
  return builder.take();
}

}  // namespace rectiline::formats
