#pragma once

#include <cstddef>
#include <string_view>

namespace AR::Common {

/// A (pointer, length) view of a part of a text that somebody else owns.
class StringPortion {
 public:
  constexpr StringPortion() = default;
  constexpr StringPortion(const char* text, const std::size_t length)
      : mText(text), mLength(length) {}

  /// The first character; not zero-terminated. Null for a default-built portion.
  [[nodiscard]] constexpr const char* data() const { return mText; }
  [[nodiscard]] constexpr std::size_t length() const { return mLength; }
  [[nodiscard]] constexpr std::string_view view() const { return {mText, mLength}; }

  /// Equal length and equal bytes.
  friend constexpr bool operator==(const StringPortion& a, const StringPortion& b) {
    return a.view() == b.view();
  }
  /// By bytes up to the shorter length, then the shorter one first.
  friend constexpr bool operator<(const StringPortion& a, const StringPortion& b) {
    return a.view() < b.view();
  }

 private:
  const char* mText = nullptr;
  std::size_t mLength = 0;
};

}  // namespace AR::Common
