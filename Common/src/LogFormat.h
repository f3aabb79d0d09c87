#pragma once

#include <array>
#include <cstddef>
#include <string_view>

// How the text of one log line is put together. Private to the logger.

namespace AR::Common {

/// A caller's text, or what stands for one that is null.
inline const char* textOf(const char* text) { return text == nullptr ? "(null)" : text; }

/// Writes one line, or its template, to `destination` (`capacity` bytes, zero-terminated, cut when
/// it does not fit) and returns its uncut length as snprintf does: -1 on an error. Returns 0, with
/// nothing written, when the line needs a file or a method name that is null.
using FormatFunction = int (*)(char* destination, std::size_t capacity, int level, const char* file,
                               int methodNameLength, const char* methodName, int line,
                               const char* message);

/// The formatter for the logger's flag word.
[[nodiscard]] FormatFunction formatFunctionFor(unsigned flags);
/// The same without method name and source file, for lines that have no location.
[[nodiscard]] FormatFunction shortFormatFunctionFor(unsigned flags);

/// Ends a printf template before a conversion that has lost its end, so that expanding a template
/// which was cut to its buffer stays defined.
void cutIncompleteConversion(char* format);

/// A text made safe to stand in a printf template: every '%' is doubled unless it already is.
/// Holds at most N - 1 characters and never half of a pair.
template <std::size_t N>
class TemplateText {
 public:
  explicit TemplateText(const std::string_view text) {
    for (std::size_t i = 0; i < text.size() && mLength + 2 < N; ++i) {
      mText[mLength++] = text[i];
      if (text[i] != '%') continue;
      mText[mLength++] = '%';
      if (text.substr(i + 1, 1) == "%") ++i;
    }
  }

  /// Zero-terminated.
  [[nodiscard]] const char* c_str() const { return mText.data(); }
  [[nodiscard]] int length() const { return static_cast<int>(mLength); }

 private:
  std::array<char, N> mText{};
  std::size_t mLength = 0;
};

}  // namespace AR::Common
