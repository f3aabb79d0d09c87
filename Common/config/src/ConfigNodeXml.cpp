#include <algorithm>
#include <cstdio>
#include <fstream>
#include <map>
#include <memory>
#include <ostream>

#include "AR/Common/ConfigNode.h"
#include "AR/Common/ExceptionBarrier.h"
#include "AR/Common/Logger.h"
#include "AR/Common/TinyXml.h"
#include "XmlText.h"

namespace AR::Common {

namespace {

constexpr char kSource[] = "Common/src/ConfigNode";

/// Reads a file up to one byte more than is accepted. False when it cannot be read.
bool tryReadFile(const char* filename, std::string& text) {
  // Not a stream: libc++'s takes a folder for an empty file.
  const std::unique_ptr<std::FILE, int (*)(std::FILE*)> file(std::fopen(filename, "rb"),
                                                             std::fclose);
  if (!file) return false;
  char chunk[4096];
  size_t count = 0;
  do {
    count = std::fread(chunk, 1, sizeof(chunk), file.get());
    text.append(chunk, count);
  } while (count == sizeof(chunk) && text.size() <= ConfigNode::kMaxBytes);
  return std::ferror(file.get()) == 0;
}

size_t numElements(const TiXmlNode& node) {
  size_t n = 0;
  for (auto* e = node.FirstChildElement(); e != nullptr; e = e->NextSiblingElement()) ++n;
  return n;
}

/// Loads or writes by `body`; false when that throws.
template <typename Body>
bool orFalse(const CallSite& site, Body&& body) noexcept {
  return withoutExceptions(site, kSource, body, [] { return false; });
}

}  // namespace

ConfigNode::ConfigNode(const char* filenameXML) {
  if (!AR_CHECK(filenameXML, "filenameXML", kSource)) return;
  const bool wasSet = setFromXMLFile(filenameXML);
  AR_CHECK(wasSet, "wasSet && \"Failed loading/parsing XML from file\"", kSource);
}

bool ConfigNode::setFromXMLFile(const char* filenameXML) {
  if (!AR_CHECK(filenameXML, "filenameXML", kSource)) return false;
  return orFalse(AR_HERE, [&] {
    std::string text;
    if (!tryReadFile(filenameXML, text)) {
      AR_LOGF(Logger::ERR, kSource, "Failed loading XML from file '%s'", filenameXML);
      return false;
    }
    TiXmlDocument document;
    if (const auto error = parseXml(std::move(text), document)) {
      AR_LOGF(Logger::ERR, kSource, "Parsing XML from file %s returned %d (XML syntax error)",
              filenameXML, error->id);
      return false;
    }
    return setFromXMLDocument(&document);
  });
}

bool ConfigNode::setFromXMLString(const char* xml) {
  if (!AR_CHECK(xml, "xml", kSource)) return false;
  return orFalse(AR_HERE, [&] {
    TiXmlDocument document;
    if (const auto error = parseXml(xml, document)) {
      AR_LOGF(Logger::ERR, kSource, "Got XML parsing error! %s, line %d, col %d",
              error->description.empty() ? "unknown" : error->description.c_str(), error->row,
              error->column);
      return false;
    }
    return setFromXMLDocument(&document);
  });
}

bool ConfigNode::trySetFromXML(const std::string_view xml, std::string& why) {
  TiXmlDocument document;
  if (const auto error = parseXml(std::string(xml), document)) {
    why = (error->description.empty() ? "no XML document" : error->description) + ", line " +
          std::to_string(error->row) + ", column " + std::to_string(error->column);
    return false;
  }
  return trySetFromDocument(document);
}

bool ConfigNode::setFromXMLDocument(const TiXmlDocument* document) {
  if (!AR_CHECK(document, "document", kSource)) return false;
  return orFalse(AR_HERE, [&] {
    const bool wasBuilt = trySetFromDocument(*document);
    return AR_CHECK(wasBuilt, "wasBuilt && \"One root element, within the limits\"", kSource);
  });
}

bool ConfigNode::trySetFromDocument(const TiXmlDocument& document) {
  ConfigNode root;
  DocumentSize size;
  if (numElements(document) != 1 || !tryBuild(*document.FirstChildElement(), 1, size, root)) {
    return false;
  }
  *this = std::move(root);
  return true;
}

// Fails when a document is beyond the limits, and leaves an incomplete node then.
bool ConfigNode::tryBuild(const TiXmlElement& element, const int depth, DocumentSize& size,
                          ConfigNode& node) {
  if (depth > kMaxDepth) return false;
  node.mName = element.ValueStr();
  size_t numAttributes = 0;
  for (auto* a = element.FirstAttribute(); a != nullptr; a = a->Next()) {
    if (++numAttributes > kMaxElementAttributes) return false;
    node.setAttribute(a->NameTStr(), a->ValueStr());
  }
  if (size.add(numAttributes) != nullptr) return false;
  for (auto* e = element.FirstChildElement(); e != nullptr; e = e->NextSiblingElement()) {
    if (!tryBuild(*e, depth + 1, size, node.appendChild({}))) return false;
  }
  return true;
}

bool ConfigNode::updateFromXMLFile(const char* filenameXML) {
  return orFalse(AR_HERE, [&] {
    ConfigNode update;
    if (!update.setFromXMLFile(filenameXML)) return false;
    ConfigNode updated(*this);  // so that this tree stays whole when merging throws
    if (mName.empty()) updated.mName = update.mName;
    if (update.mName != updated.mName) {
      AR_LOGF(Logger::ERR, kSource, "Root tag of XML file '%s' is '%s' instead of '%s'",
              filenameXML, update.mName.c_str(), mName.c_str());
      return false;
    }
    updated.mergeFrom(std::move(update));
    *this = std::move(updated);
    return true;
  });
}

void ConfigNode::mergeFrom(ConfigNode&& other) {
  for (auto& [name, value] : other.mAttributes) setAttribute(name, std::move(value));
  std::map<std::string, std::vector<ConfigNode*>> partners;
  for (const auto& child : mChildren) partners[child->mName].push_back(child.get());
  std::map<std::string, size_t> numMerged;
  for (auto& child : other.mChildren) {
    const auto& sameTag = partners[child->mName];
    const size_t n = numMerged[child->mName]++;
    if (n < sameTag.size()) {
      sameTag[n]->mergeFrom(std::move(*child));
    } else {
      mChildren.push_back(std::move(child));
    }
  }
}

bool ConfigNode::writeToXML(const char* filenameXML, const int indent) const {
  if (!AR_CHECK(filenameXML, "filenameXML", kSource)) return false;
  return orFalse(AR_HERE, [&] {
    std::string text;
    if (!tryWrite(indent, text)) return false;
    std::ofstream file(filenameXML, std::ios::binary);
    file << text;
    file.close();
    return file.good();
  });
}

bool ConfigNode::writeToXML(std::ostream& stream, const int indent) const {
  return orFalse(AR_HERE, [&] {
    std::string text;
    return tryWrite(indent, text) && (stream << text).good();
  });
}

bool ConfigNode::tryWrite(const int indent, std::string& text) const {
  DocumentSize size;
  if (!isWritable(1, size)) return false;
  text = "<?xml version=\"1.0\" encoding=\"UTF-8\" ?>\n";
  writeElement(static_cast<size_t>(std::max(indent, 0)), 0, text);
  return text.size() <= kMaxBytes;
}

// Whether the names and the size of this element, the root being at depth 1, would load again.
bool ConfigNode::isWritable(const int depth, DocumentSize& size) const {
  return depth <= kMaxDepth && size.add(mAttributes.size()) == nullptr && isXmlName(mName) &&
         std::all_of(mAttributes.begin(), mAttributes.end(),
                     [](const auto& attribute) { return isXmlName(attribute.first); }) &&
         std::all_of(mChildren.begin(), mChildren.end(),
                     [&](const auto& child) { return child->isWritable(depth + 1, size); });
}

void ConfigNode::writeElement(const size_t indent, const size_t depth, std::string& text) const {
  const std::string indentation(indent * depth, ' ');
  text += indentation + '<' + mName;
  for (const auto& [name, value] : mAttributes) text += ' ' + name + "=\"" + escapeXml(value) + '"';
  text += mChildren.empty() ? " />\n" : ">\n";
  if (mChildren.empty()) return;
  for (const auto& child : mChildren) child->writeElement(indent, depth + 1, text);
  text += indentation + "</" + mName + ">\n";
}

}  // namespace AR::Common
