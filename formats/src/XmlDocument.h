#pragma once

#include <memory>
#include <string>

class TiXmlDocument;

namespace rectiline::formats {

/// An XML document for tinyxml, bounded before the parser, which recurses, sees it. Throws
/// FormatError.
[[nodiscard]] std::unique_ptr<TiXmlDocument> parseXml(const std::string& text,
                                                      const std::string& file);

}  // namespace rectiline::formats
