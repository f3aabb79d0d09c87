#pragma once

#include <algorithm>
#include <concepts>
#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

#include "AR/Common/Path.h"
#include "AR/Math/Matrix.h"
#include "AR/Math/Vector.h"
#include "ValueText.h"

namespace AR::Common {

/// A setting that could not be parsed, for its line in the log.
struct FailedRead {
  const std::string& path;
  std::string oldValue;
  const std::string& text;
  ScanResult why;
};

/// How settings of one type are read, shown in the log and reported when malformed. Each has
///
///     static ScanResult parse(std::string_view text, T& value);  // value: anything on failure
///     static std::string show(const T& value);
///     static std::string failure(const FailedRead& read);
///
/// and `kIsList`, which marks a list of any length, whose lines look otherwise.
template <typename T>
struct ConfigValue;

struct ScalarValue {
  static constexpr bool kIsList = false;
};

inline std::string malformed(std::string_view what, const FailedRead& read) {
  return "Configuration: " + read.path + ": Error parsing " + std::string(what) + " from " +
         read.text;
}

inline std::string malformedVector(std::string_view what) {
  return "ConfigNode::ifExistsGetDescendentAttribute: Failed parsing " + std::string(what);
}

template <>
struct ConfigValue<std::string> : ScalarValue {
  static ScanResult parse(std::string_view text, std::string& value) {
    value = text;
    return ScanResult::Read;
  }
  static std::string show(const std::string& value) { return '"' + value + '"'; }
  static std::string failure(const FailedRead&) { return {}; }  // any text is one
};

template <>
struct ConfigValue<Path> : ScalarValue {
  static ScanResult parse(std::string_view text, Path& value) {
    value = std::string(text);
    return ScanResult::Read;
  }
  static std::string show(const Path& value) { return '"' + value.str() + '"'; }
  static std::string failure(const FailedRead&) { return {}; }  // any text is one
};

template <>
struct ConfigValue<bool> : ScalarValue {
  static ScanResult parse(std::string_view text, bool& value) { return scanBoolean(text, value); }
  static std::string show(bool value) { return value ? "True" : "False"; }
  static std::string failure(const FailedRead& read) { return malformed("true/false", read); }
};

template <std::floating_point T>
struct ConfigValue<T> : ScalarValue {
  static ScanResult parse(std::string_view text, T& value) {
    double wide = 0;
    const ScanResult result = scanNumber(text, wide);
    value = static_cast<T>(wide);
    return result;
  }
  static std::string show(T value) { return toFixedText(value); }
  static std::string failure(const FailedRead& read) { return malformed("float", read); }
};

template <std::signed_integral T>
struct ConfigValue<T> : ScalarValue {
  static ScanResult parse(std::string_view text, T& value) { return scanNumber(text, value); }
  static std::string show(T value) { return std::to_string(value); }
  static std::string failure(const FailedRead& read) {
    return malformed(sizeof(T) == sizeof(int64_t) ? "int64_t" : "int", read);
  }
};

template <std::unsigned_integral T>
struct ConfigValue<T> : ScalarValue {
  static ScanResult parse(std::string_view text, T& value) { return scanNumber(text, value); }
  static std::string show(T value) { return std::to_string(value); }
  static std::string failure(const FailedRead& read) {
    return "Configuration: " + read.path + " (" + read.oldValue + ") = " + read.text +
           (read.why == ScanResult::OutOfRange ? " is out of range"
                                               : ", no string to integer conversion could be "
                                                 "performed");
  }
};

/// Reads exactly `numValues` numbers. Between them is white space or nothing, as between scanf
/// conversions, and, with a `separator` other than 0, that character first.
template <typename T>
ScanResult scanNumbers(std::string_view text, char separator, T* values, size_t numValues) {
  for (size_t i = 0; i < numValues; ++i) {
    if (i > 0 && separator != 0) {
      if (!text.starts_with(separator)) return ScanResult::NoValue;
      text.remove_prefix(1);
    }
    if (const ScanResult result = scanNumber(text, values[i]); result != ScanResult::Read) {
      return result;
    }
  }
  return ScanResult::Read;
}

/// Numbers in brackets, separated by spaces.
template <typename T>
std::string showNumbers(const T* values, size_t numValues) {
  std::string text = "[";
  for (size_t i = 0; i < numValues; ++i) {
    if (i > 0) text += ' ';
    text += ConfigValue<T>::show(values[i]);
  }
  return text + "]";
}

template <typename T, int N>
struct ConfigValue<Math::Vec<T, N>> : ScalarValue {
  static constexpr bool kAllowsCommas = std::same_as<T, float> && N == 3;

  static ScanResult parse(std::string_view text, Math::Vec<T, N>& value) {
    const ScanResult result = scanNumbers(text, 0, value.data(), value.size());
    if (!kAllowsCommas || result == ScanResult::Read) return result;
    return scanNumbers(text, ',', value.data(), value.size());
  }
  static std::string show(const Math::Vec<T, N>& value) {
    return showNumbers(value.data(), value.size());
  }
  static std::string failure(const FailedRead& read) {
    const char letter = std::same_as<T, float> ? 'F' : std::same_as<T, double> ? 'D' : 'I';
    const std::string text = malformedVector("Vec" + std::to_string(N) + letter);
    return kAllowsCommas ? text + " from " + read.text : text;
  }
};

template <typename T>
struct ConfigValue<Math::Mat<T, 3, 3>> : ScalarValue {
  static ScanResult parse(std::string_view text, Math::Mat<T, 3, 3>& value) {
    return scanNumbers(text, 0, value.data(), value.size());
  }
  static std::string show(const Math::Mat<T, 3, 3>& value) {
    std::string text;
    for (size_t i = 0; i < 3; ++i) {
      const std::string row = showNumbers(value.data() + 3 * i, 3);
      text += (i == 0 ? "[" : "; ") + row.substr(1, row.size() - 2);
    }
    return text + "]";
  }
  static std::string failure(const FailedRead&) {
    return malformedVector(std::same_as<T, float> ? "row-major Matrix33F" : "row-major Matrix33D");
  }
};

template <typename T>
struct ConfigValue<Math::Vec<T, Math::kRunTimeSize>> {
  using List = Math::Vec<T, Math::kRunTimeSize>;
  static constexpr bool kIsList = true;

  static ScanResult parse(std::string_view text, List& value) {
    std::vector<T> numbers;
    for (text = skipWhiteSpace(text); !text.empty(); text = skipWhiteSpace(text)) {
      T number{};
      const ScanResult result = scanNumber(text, number);
      if (result != ScanResult::Read) return result;
      const bool isSeparated = text.empty() || skipWhiteSpace(text).size() < text.size();
      if (!isSeparated) return ScanResult::NoValue;
      numbers.push_back(number);
    }
    value.resize(numbers.size());
    std::copy(numbers.begin(), numbers.end(), value.data());
    return ScanResult::Read;
  }
  static std::string show(const List& value) { return showNumbers(value.data(), value.size()); }
  static std::string failure(const FailedRead& read) {
    return malformedVector("space-separated vector of numbers from ") + read.text;
  }
};

}  // namespace AR::Common
