#pragma once

#include <cstddef>
#include <cstdint>
#include <iosfwd>
#include <memory>
#include <string>
#include <string_view>
#include <vector>

#include "AR/Common/Macros.h"
#include "AR/Common/Map.h"
#include "AR/Common/Vector.h"

class TiXmlDocument;
class TiXmlElement;

namespace AR::Common {

class DocumentSize;

/// Outcome of reading one setting.
enum class ParseResult : int {
  Missing = 0,    ///< There is no such attribute (or node); the caller's value is unchanged.
  Exists = 1,     ///< Found and parsed; the caller's value is replaced.
  Malformed = 2,  ///< Found but not parseable; the caller's value is unchanged.
};

/// A tree of named elements with text attributes, loaded from and written to XML.
///
/// A node holds its tag name, its attributes sorted by name, and its children in document order,
/// several of which may share a tag. A node owns its children: pointers to a node are valid until
/// the tree above it is replaced or destroyed. Text is UTF-8; that of a document which is not is
/// kept byte for byte. Comments, character data and processing instructions are not kept.
///
/// A dotted path addresses a descendant by the tags on the way to it ("Orvo.Logging"), or an
/// attribute with its name as the last component ("Orvo.Logging.level"); an attribute path without
/// a dot is an attribute of the node itself. A path through a tag that several siblings share leads
/// nowhere, and each lookup reports it.
///
/// Nothing here throws on bad input or depends on the process locale. Without memory, members throw
/// std::bad_alloc unless they say otherwise. One thread at a time.
class AR_EXPORT ConfigNode {
 public:
  // The limits on documents, whatever they come from. A document beyond any of them is refused.
  static constexpr size_t kMaxBytes = size_t{16} << 20;
  static constexpr int kMaxDepth = 64;  ///< Elements in each other, the root included.
  static constexpr size_t kMaxElements = 65536;
  static constexpr size_t kMaxAttributes = 65536;       ///< Of all elements together.
  static constexpr size_t kMaxElementAttributes = 256;  ///< Of one element.
  /// "LogLevel" elements that the log's filter takes from a document; the others are reported and
  /// passed over.
  static constexpr size_t kMaxLogLevels = 1024;

  /// A node without name, attributes and children.
  ConfigNode() = default;

  /// Loads a file with setFromXMLFile. Reports a null name ("filenameXML") and a failed load
  /// ("wasSet && ..."), after which the node is empty.
  explicit ConfigNode(const char* filenameXML);

  /// Copies are deep. What is assigned may be a node of this tree.
  ConfigNode(const ConfigNode& other);
  ConfigNode& operator=(const ConfigNode& other);
  ConfigNode(ConfigNode&&) = default;
  ConfigNode& operator=(ConfigNode&& other) noexcept;
  ~ConfigNode() = default;

  // Loading. Each replaces the tree and returns true, or leaves the tree as it was and returns
  // false. Refused, besides a syntax error: what is beyond the limits above, text with zero bytes,
  // and anything but exactly one root element. But for trySetFromXML() none throws: too little
  // memory is reported ("enough memory") and false.

  /// Loads an XML file. Reports an unreadable file and a syntax error at ERROR.
  bool setFromXMLFile(const char* filenameXML);

  /// Loads a zero-terminated XML text. Reports a syntax error with its place at ERROR.
  bool setFromXMLString(const char* xml);

  /// Loads an XML text. Logs nothing: `why` says what is wrong with one that is refused, and where.
  [[nodiscard]] bool trySetFromXML(std::string_view xml, std::string& why);

  /// Takes over an already parsed document, which stays the caller's.
  bool setFromXMLDocument(const TiXmlDocument* document);

  /// Loads a second file and lays it over this tree. Both must have the same root tag; an empty
  /// tree takes any. Attributes overwrite or are added; the n-th child of a tag is merged into the
  /// n-th child of that tag, and children without such a partner are appended. On failure, which is
  /// reported at ERROR, returns false and the tree is as it was.
  bool updateFromXMLFile(const char* filenameXML);

  // Writing throws nothing either: too little memory is reported and false.

  /// Writes the declaration line and then the tree, `indent` spaces deeper per level, so that
  /// loading it gives an equal tree. Returns whether everything could be written. A tree that would
  /// not load, for a name that is no XML name or a limit above, is not, and no file is touched.
  bool writeToXML(const char* filenameXML, int indent) const;
  bool writeToXML(std::ostream& stream, int indent) const;

  [[nodiscard]] const std::string& getName() const { return mName; }
  [[nodiscard]] size_t getNumChildren() const { return mChildren.size(); }
  /// Child number `index` in document order. Out of range is reported ("index<numChildren") and
  /// gives null.
  [[nodiscard]] const ConfigNode* getChildAt(size_t index) const;

  /// The only child with this tag. Null when there is none, and, after a report at ERROR, when
  /// there are several.
  [[nodiscard]] const ConfigNode* getChild(const std::string& name) const;
  [[nodiscard]] ConfigNode* getChild(const std::string& name);

  /// Follows getChild along a dotted path. Null as soon as one component is missing or ambiguous.
  [[nodiscard]] const ConfigNode* getDescendent(const std::string& path) const;
  [[nodiscard]] ConfigNode* getDescendent(const std::string& path);

  // Attributes of this node.

  /// Reports an empty name ("name.length()>0").
  [[nodiscard]] bool doesAttributeExists(const std::string& name) const;

  // The attribute must exist: a missing one is reported and read as an empty text. Text that does
  // not begin with a number that fits is 0.
  [[nodiscard]] std::string getAttributeAsString(const std::string& name) const;
  [[nodiscard]] int32_t getAttributeAsInt32(const std::string& name) const;
  [[nodiscard]] size_t getAttributeAsSizeT(const std::string& name) const;
  [[nodiscard]] uint32_t getAttributeAsUInt32(const std::string& name) const;
  [[nodiscard]] float getAttributeAsFloat(const std::string& name) const;
  /// "true" in any letter case is true, anything else false.
  [[nodiscard]] bool getAttributeAsBoolean(const std::string& name) const;

  // Assign as getAttributeAs... reads, but only when the attribute exists. Return whether it does.
  bool ifExistsGetAttribute(const std::string& name, std::string& value) const;
  bool ifExistsGetAttribute(const std::string& name, int& value) const;
  bool ifExistsGetAttribute(const std::string& name, unsigned int& value) const;
  bool ifExistsGetAttribute(const std::string& name, float& value) const;
  bool ifExistsGetAttribute(const std::string& name, bool& value) const;

  /// Sets or adds an attribute. An empty key is reported ("key.length()>0") and adds nothing.
  void addAttribute(const std::string& key, const std::string& value);

  // Attributes by dotted path.

  /// Reads one setting and logs it: at DEBUG its old and new value, or the default that stays, with
  /// `comment`, a description for the reader of the log; at ERROR a text that cannot be parsed.
  ///
  /// T is std::string, Path, bool, float, double, unsigned char, signed or unsigned int, long or
  /// long long, AR::Math::Vec of 2, 3, 4, 6 or 8 float or double or of 2, 3 or 4 int,
  /// AR::Math::Mat<float or double, 3, 3> (row-major), and AR::Math::Vec<float or double, -1>, a
  /// list of any length separated by white space.
  ///
  /// Booleans are "true" or "false" in any letter case. Numbers are read as scanf reads them: text
  /// behind the last one is ignored (not behind a list). A Vec of 3 float may have its components
  /// separated by commas.
  template <typename T>
  ParseResult ifExistsGetDescendentAttribute(const std::string& path, T& value,
                                             const char* comment) const;

  /// Reads the attribute from every element that the path reaches through repeated tags, in
  /// document order, and logs each. Elements without the attribute are passed over, and so are
  /// texts that cannot be parsed, which are reported. T as above, without Path.
  template <typename T>
  [[nodiscard]] Vector<T> getRepetitiveDescendentAttributes(const std::string& path,
                                                            const char* comment) const;

  [[nodiscard]] bool existsDescendentAttribute(const std::string& path) const;

  /// The attribute's text. A missing node ("node") or attribute is reported and gives an empty one.
  [[nodiscard]] std::string getDescendentAttribute(const std::string& path) const;

  /// Sets an attribute and creates the nodes on the way that are missing. Returns false and changes
  /// nothing when the path is ambiguous, is not made of XML names, or has more than kMaxDepth
  /// components; each is reported at ERROR.
  bool setDescendentAttribute(const std::string& path, const std::string& value);

  /// Applies every argument "PREFIXpath.to.attribute=value" to the tree and logs it;
  /// all others are passed over. Returns the number applied.
  int updateCommonConfigCommandLine(int argc, char** argv, const std::string& prefix);

 private:
  enum class SetResult { Refused, Created, Updated };

  void setAttribute(const std::string& name, std::string value);
  [[nodiscard]] const std::string* findAttribute(const std::string& name) const;
  [[nodiscard]] const std::string* findDescendentAttribute(const std::string& path) const;
  [[nodiscard]] std::vector<const ConfigNode*> repeatedDescendents(const std::string& path) const;
  [[nodiscard]] std::vector<const std::string*> findRepeatedAttributes(
      const std::string& path) const;
  SetResult trySetDescendentAttribute(const std::string& path, const std::string& value);
  ConfigNode* getOrCreateChild(const std::string& name);
  ConfigNode& appendChild(ConfigNode child);

  bool trySetFromDocument(const TiXmlDocument& document);
  static bool tryBuild(const TiXmlElement& element, int depth, DocumentSize& size,
                       ConfigNode& node);
  void mergeFrom(ConfigNode&& other);
  [[nodiscard]] bool tryWrite(int indent, std::string& text) const;
  [[nodiscard]] bool isWritable(int depth, DocumentSize& size) const;
  void writeElement(size_t indent, size_t depth, std::string& text) const;

  std::string mName;
  // Most elements have a few attributes, and there may be many elements.
  Map<std::string, std::string, VectorGrowDoubling<1>> mAttributes;
  std::vector<std::unique_ptr<ConfigNode>> mChildren;
};

}  // namespace AR::Common
