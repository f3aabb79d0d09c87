#include "XmlText.h"

#include <algorithm>
#include <cstdint>
#include <new>

#include "AR/Common/ConfigNode.h"
#include "AR/Common/TinyXml.h"
#include "ValueText.h"

namespace AR::Common {

namespace {

constexpr std::string_view kByteOrderMark = "\xEF\xBB\xBF";

bool isLetter(char c) {
  return (c >= 'a' && c <= 'z') || (c >= 'A' && c <= 'Z') || static_cast<uint8_t>(c) >= 127;
}

bool isNameStart(char c) { return isLetter(c) || c == '_'; }

bool isNamePart(char c) {
  return isNameStart(c) || (c >= '0' && c <= '9') || c == '-' || c == '.' || c == ':';
}

/// Number of bytes of a character in UTF-8 by its first byte; 0 when none begins with it.
size_t utf8Length(char first) {
  const auto byte = static_cast<uint8_t>(first);
  if (byte < 0x80) return 1;
  if (byte < 0xC2 || byte > 0xF4) return 0;
  return byte < 0xE0 ? 2 : byte < 0xF0 ? 3 : 4;
}

/// Number of bytes of the character at the front of `text`, 0 when it is cut or broken.
size_t wholeCharacter(std::string_view text) {
  const size_t length = utf8Length(text.front());
  const std::string_view rest = text.substr(0, length).substr(length > 0 ? 1 : 0);
  const bool isWhole = rest.size() + 1 == length &&
                       std::all_of(rest.begin(), rest.end(),
                                   [](char c) { return (static_cast<uint8_t>(c) & 0xC0) == 0x80; });
  return isWhole ? length : 0;
}

bool isUtf8(std::string_view text) {
  while (!text.empty()) {
    const size_t length = wholeCharacter(text);
    if (length == 0) return false;
    text.remove_prefix(length);
  }
  return true;
}

/// Whether "&#" begins something else than a character reference. tinyxml looks for the end of one
/// as far as it takes, beyond tags and quotes.
bool hasBrokenReference(std::string_view text) {
  for (size_t at = text.find("&#"); at != std::string_view::npos; at = text.find("&#", at + 2)) {
    std::string_view digits = text.substr(at + 2);
    const bool isHex = digits.starts_with('x');
    if (isHex) digits.remove_prefix(1);
    const size_t end = digits.find_first_not_of(isHex ? "0123456789abcdefABCDEF" : "0123456789");
    if (end == 0 || end == std::string_view::npos || digits[end] != ';') return true;
  }
  return false;
}

/// Walks once over a text and finds elements where tinyxml will find them, so that its recursion
/// and the size of what it builds are bounded before it starts. What lies between the tags is
/// blanked, since tinyxml would build a node for each comment and each piece of text. Leaves to
/// tinyxml every error that it notices itself.
class XmlScan {
 public:
  explicit XmlScan(std::string& text) : mText(text) {}

  std::optional<XmlError> run() {
    const bool isAccepted = isReadable() && scanMarkup();
    if (isAccepted) return std::nullopt;
    return mError;
  }

  [[nodiscard]] const DocumentSize& size() const { return mSize; }

 private:
  bool refuse(int id, const char* description) {
    const std::string_view before = std::string_view(mText).substr(0, mAt);
    const size_t lineStart = before.rfind('\n') + 1;  // npos + 1 is 0
    mError = {id, description, static_cast<int>(std::count(before.begin(), before.end(), '\n')) + 1,
              static_cast<int>(mAt - lineStart) + 1};
    return false;
  }

  bool refuse(const char* description) { return refuse(TiXmlBase::TIXML_ERROR, description); }

  bool isReadable() {
    if (mText.size() > ConfigNode::kMaxBytes) return refuse("larger than 16 MiB");
    mAt = std::min(mText.find('\0'), mText.size());
    return mAt == mText.size() || refuse(TiXmlBase::TIXML_ERROR_EMBEDDED_NULL, "zero byte");
  }

  bool scanMarkup() {
    mAt = 0;
    while (scanText()) {
      if (mAt == mText.size()) {
        return mNumRoots == 1 || refuse(TiXmlBase::TIXML_ERROR_DOCUMENT_EMPTY, "no root element");
      }
      if (!scanOneMarkup()) return false;
    }
    return false;
  }

  bool scanText() {
    const size_t end = std::min(mText.find('<', mAt), mText.size());
    const std::string_view text = std::string_view(mText).substr(mAt, end - mAt);
    if (mDepth == 0 && !skipWhiteSpace(text).empty()) return refuse("text outside the root");
    if (hasBrokenReference(text)) return refuse("broken character reference");
    if (end < mText.size()) blank(mAt, end);
    mAt = end;
    return true;
  }

  bool scanOneMarkup() {
    if (isAt("<!--")) return blankPast("-->", 4);
    if (isAt("<![CDATA["))
      return mDepth == 0 ? refuse("text outside the root") : blankPast("]]>", 9);
    if (isAt("<?")) return blankPast("?>", 2);
    if (isAt("</")) return scanEndTag();
    const bool isElement = mAt + 1 < mText.size() && isNameStart(mText[mAt + 1]);
    return isElement ? scanStartTag() : blankPast(">", 1);
  }

  bool isAt(std::string_view start) const { return mText.compare(mAt, start.size(), start) == 0; }

  bool skipPast(std::string_view end, size_t from) {
    const size_t found = mText.find(end, mAt + from);
    if (found == std::string::npos) return refuse("unexpected end");
    mAt = found + end.size();
    return true;
  }

  // tinyxml does not always agree with XML on where an instruction ends, either.
  bool blankPast(std::string_view end, size_t from) {
    const size_t start = mAt;
    if (!skipPast(end, from)) return false;
    blank(start, mAt);
    return true;
  }

  /// Keeps what an error's row and column are counted by.
  void blank(size_t start, size_t end) {
    const auto isSeen = [](char c) { return c != '\n' && c != '\r' && c != '\t'; };
    std::replace_if(mText.begin() + static_cast<std::ptrdiff_t>(start),
                    mText.begin() + static_cast<std::ptrdiff_t>(end), isSeen, ' ');
  }

  bool scanEndTag() {
    if (mDepth == 0) return refuse("end tag without its element");
    --mDepth;
    return skipPast(">", 2);
  }

  bool scanStartTag() {
    if (mDepth == 0 && mNumRoots == 1) return refuse("more than one root element");
    if (mDepth == 0) ++mNumRoots;
    if (mDepth == ConfigNode::kMaxDepth) return refuse("elements nested too deep");
    ++mDepth;
    return scanAttributes();
  }

  bool scanAttributes() {
    size_t numAttributes = 0;
    for (++mAt; mAt < mText.size(); ++mAt) {
      const char c = mText[mAt];
      if (c == '>') return endStartTag(numAttributes);
      if (c == '=') ++numAttributes;
      if ((c == '"' || c == '\'') && !scanValue(c)) return false;
    }
    return refuse("unexpected end");
  }

  /// From an opening to the closing quote.
  bool scanValue(char quote) {
    const size_t start = mAt;
    if (!skipPast({&quote, 1}, 1)) return false;
    --mAt;
    const std::string_view value = std::string_view(mText).substr(start, mAt - start);
    return !hasBrokenReference(value) || refuse("broken character reference");
  }

  bool endStartTag(size_t numAttributes) {
    if (const char* const excess = mSize.add(numAttributes)) return refuse(excess);
    if (mText[mAt - 1] == '/') --mDepth;
    ++mAt;
    return true;
  }

  std::string& mText;
  size_t mAt = 0;
  int mDepth = 0;
  int mNumRoots = 0;
  DocumentSize mSize;
  XmlError mError;
};

/// Throws std::bad_alloc when there is not the memory for a document, with room to spare. tinyxml
/// loses the elements that it is at work on when an allocation fails.
void requireMemoryFor(const DocumentSize& size, size_t textBytes) {
  constexpr size_t kBlock = 64;  // of the heap's own, and what a short string has to spare
  const size_t bytes = size.numElements() * (sizeof(TiXmlElement) + 2 * kBlock) +
                       size.numAttributes() * (sizeof(TiXmlAttribute) + 3 * kBlock) +
                       3 * textBytes + 64 * kBlock;
  // The functions, since a new-expression may be left out together with its delete.
  ::operator delete(::operator new(bytes));
}

std::string characterReference(char c) {
  constexpr std::string_view kDigits = "0123456789ABCDEF";
  const auto byte = static_cast<uint8_t>(c);
  return {'&', '#', 'x', kDigits[byte >> 4], kDigits[byte & 15], ';'};
}

bool needsReference(char c) {
  return static_cast<uint8_t>(c) < 32 || c == '&' || c == '<' || c == '>' || c == '"' || c == '\'';
}

}  // namespace

const char* DocumentSize::add(size_t numAttributes) {
  ++mNumElements;
  mNumAttributes += numAttributes;
  if (mNumElements > ConfigNode::kMaxElements) return "too many elements";
  const bool isWithin = numAttributes <= ConfigNode::kMaxElementAttributes &&
                        mNumAttributes <= ConfigNode::kMaxAttributes;
  return isWithin ? nullptr : "too many attributes";
}

std::optional<XmlError> parseXml(std::string text, TiXmlDocument& document) {
  // Read as UTF-8, tinyxml would take the bytes behind a broken character, quotes and all, for a
  // part of it; its other encoding takes every byte for a character and leaves it as it is.
  const TiXmlEncoding encoding = isUtf8(text) ? TIXML_ENCODING_UTF8 : TIXML_ENCODING_LEGACY;
  if (text.starts_with(kByteOrderMark)) text.replace(0, kByteOrderMark.size(), 3, ' ');
  XmlScan scan(text);
  if (std::optional<XmlError> error = scan.run()) return error;
  requireMemoryFor(scan.size(), text.size());
  document.Parse(text.c_str(), nullptr, encoding);
  if (!document.Error()) return std::nullopt;
  return XmlError{document.ErrorId(), document.ErrorDesc(), document.ErrorRow(),
                  document.ErrorCol()};
}

std::string escapeXml(std::string_view text) {
  std::string escaped;
  for (const char c : text)
    escaped += needsReference(c) ? characterReference(c) : std::string(1, c);
  return escaped;
}

bool isXmlName(std::string_view name) {
  return !name.empty() && isNameStart(name.front()) &&
         std::all_of(name.begin(), name.end(), isNamePart);
}

}  // namespace AR::Common
