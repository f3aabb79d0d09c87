#pragma once

#include <cstddef>
#include <optional>
#include <string>
#include <string_view>

class TiXmlDocument;

namespace AR::Common {

/// Why a text is not an XML document of ours.
struct XmlError {
  int id = 0;               ///< The parser's number of the error.
  std::string description;  ///< May be empty.
  int row = 0;              ///< From 1; 0 or less when not known.
  int column = 0;
};

/// A document's elements and attributes, counted against ConfigNode's limits.
class DocumentSize {
 public:
  /// Counts one more element. Null, or what is too much.
  [[nodiscard]] const char* add(size_t numAttributes);
  [[nodiscard]] size_t numElements() const { return mNumElements; }
  [[nodiscard]] size_t numAttributes() const { return mNumAttributes; }

 private:
  size_t mNumElements = 0;
  size_t mNumAttributes = 0;
};

/// Parses `text` into `document`, as UTF-8, or byte by byte when it is not UTF-8. Before the parser
/// sees it, refuses what it cannot stand or does not notice; see ConfigNode's loading functions.
/// Throws std::bad_alloc.
[[nodiscard]] std::optional<XmlError> parseXml(std::string text, TiXmlDocument& document);

/// `text` as the value of an attribute between double quotes. Bytes beyond ASCII stay as they are.
[[nodiscard]] std::string escapeXml(std::string_view text);

/// Whether `name` can name an element or attribute. Every byte beyond ASCII counts as a letter.
[[nodiscard]] bool isXmlName(std::string_view name);

}  // namespace AR::Common
