#pragma once

#include <cstddef>
#include <string>
#include <utility>

namespace AR::Common {

/// The text of a path in the file system.
class Path {
 public:
  Path() = default;
  Path(const char* text) : mText(text == nullptr ? "" : text) {}
  Path(std::string text) : mText(std::move(text)) {}

  [[nodiscard]] const char* c_str() const { return mText.c_str(); }
  [[nodiscard]] const std::string& str() const { return mText; }
  [[nodiscard]] std::size_t length() const { return mText.length(); }
  [[nodiscard]] bool empty() const { return mText.empty(); }

  bool operator==(const Path&) const = default;

 private:
  std::string mText;
};

}  // namespace AR::Common
