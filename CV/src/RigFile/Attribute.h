#pragma once

// How one attribute of a calibration document and one value of a record belong together. The
// tables of such rows (AttributeTable.h) are what the loader reads and the writer writes.

#include <algorithm>
#include <cmath>
#include <cstddef>
#include <cstdint>
#include <span>
#include <string>
#include <type_traits>

#include "AR/Common/ConfigNode.h"
#include "AR/Common/Logger.h"
#include "AR/Common/TinyXml.h"
#include "AR/Math/Matrix.h"
#include "AR/Math/Vector.h"

namespace AR::CV::RigFile {

using Common::ConfigNode;
using Common::ParseResult;

inline constexpr char kSource[] = "CV/src/Camera/StereoCamera";
inline constexpr char kRootElement[] = "DeviceConfiguration";
inline constexpr char kCameraElement[] = "Camera";

// ---- values as text, the same in every locale ---------------------------------------------------

/// As printf's "%.<significantDigits>g" in the C locale.
[[nodiscard]] std::string numberText(double value, int significantDigits);

/// All components with eight significant digits, each with one space behind it.
template <typename NUMBERS>
[[nodiscard]] std::string vecToXMLString(const NUMBERS& v) {
  std::string text;
  for (const auto component : v) text += numberText(static_cast<double>(component), 8) + ' ';
  return text;
}

/// All entries, row by row, as vecToXMLString() writes them.
template <typename MATRIX>
[[nodiscard]] std::string matrixToRowMajorXMLString(const MATRIX& m) {
  return vecToXMLString(std::span(m.data(), m.size()));
}

// A value of any type that an attribute may have. A single real number has six significant digits.
[[nodiscard]] inline std::string toXMLString(const std::string& text) { return text; }
[[nodiscard]] inline std::string toXMLString(bool value) { return value ? "true" : "false"; }
[[nodiscard]] inline std::string toXMLString(std::int32_t value) { return std::to_string(value); }
[[nodiscard]] inline std::string toXMLString(double value) { return numberText(value, 6); }
template <typename P, int N>
[[nodiscard]] std::string toXMLString(const Math::Vec<P, N>& v) {
  return vecToXMLString(v);
}
template <typename P, int ROWS, int COLS>
[[nodiscard]] std::string toXMLString(const Math::Mat<P, ROWS, COLS>& m) {
  return matrixToRowMajorXMLString(m);
}

/// Nothing for an empty text.
void writeAttribute(const char* name, const std::string& text, TiXmlElement& element);

// ---- why something is refused -------------------------------------------------------------------

/// Makes `reason` the answer to why something is refused, unless there is one already: what follows
/// the first fault is mostly its consequence. Always false.
bool refuse(std::string& why, const std::string& reason);

/// A text of a document in quotes, cut if it is long: a foreign document may have any.
[[nodiscard]] std::string shown(const std::string& text);

/// What a person is told of an attribute that is missing or malformed.
[[nodiscard]] std::string expectation(const ConfigNode& node, const std::string& path,
                                      const char* meaning);

// ---- rows ---------------------------------------------------------------------------------------

/// One attribute of the element that holds a RECORD.
template <typename RECORD>
struct Attribute {
  const char* name;
  const char* meaning;  ///< order and unit of its values, for the log and for who is refused
  bool isRequired;      ///< a document without it is refused
  /// Reads the text at `path`; unless the result is Exists, the record stays as it was.
  ParseResult (*read)(const ConfigNode& node, const std::string& path, const char* meaning,
                      RECORD& record);
  /// The text to write; empty: the attribute is left out.
  std::string (*text)(const RECORD& record);
};

inline constexpr bool kRequired = true;
inline constexpr bool kOptional = false;

template <typename T>
bool isFinite(const T& value) {
  if constexpr (std::is_floating_point_v<T>) return std::isfinite(value);
  return true;
}

template <typename P, int N>
bool isFinite(const Math::Vec<P, N>& v) {
  return std::all_of(v.begin(), v.end(), [](const P number) { return std::isfinite(number); });
}

/// Reads a setting; NaN and infinities are reported and refused like text that is no number.
template <typename T>
ParseResult readFinite(const ConfigNode& node, const std::string& path, const char* meaning,
                       T& value) {
  T found = value;  // the log shows it as what the setting was before
  const ParseResult result = node.ifExistsGetDescendentAttribute(path, found, meaning);
  if (result != ParseResult::Exists) return result;
  if (!isFinite(found)) {
    AR_LOGF(Common::Logger::ERR, kSource, "Configuration: %s is not finite", path.c_str());
    return ParseResult::Malformed;
  }
  value = found;
  return result;
}

template <typename RECORD, typename VALUE>
RECORD recordOf(VALUE RECORD::*);  // for its type only

/// The row of an attribute that holds one member of a record.
template <auto MEMBER, typename RECORD = decltype(recordOf(MEMBER))>
constexpr Attribute<RECORD> field(const char* name, const char* meaning,
                                  const bool isRequired = kRequired) {
  return {name, meaning, isRequired,
          [](const ConfigNode& node, const std::string& path, const char* what, RECORD& record) {
            return readFinite(node, path, what, record.*MEMBER);
          },
          [](const RECORD& record) { return toXMLString(record.*MEMBER); }};
}

/// The row of an optional attribute that is left out where the member is zero, its default.
template <auto MEMBER, typename RECORD = decltype(recordOf(MEMBER))>
constexpr Attribute<RECORD> fieldUnlessZero(const char* name, const char* meaning) {
  Attribute<RECORD> row = field<MEMBER>(name, meaning, kOptional);
  row.text = [](const RECORD& record) {
    const auto& value = record.*MEMBER;
    return value == std::decay_t<decltype(value)>{} ? std::string() : toXMLString(value);
  };
  return row;
}

/// Reads one attribute of `node`, or, with a `prefix` that ends in a dot, of a descendant.
template <typename RECORD>
ParseResult readAttribute(const ConfigNode& node, const std::string& prefix,
                          const Attribute<RECORD>& row, RECORD& record, std::string& why) {
  const std::string path = prefix + row.name;
  const ParseResult result = row.read(node, path, row.meaning, record);
  const bool isFault =
      result == ParseResult::Malformed || (result == ParseResult::Missing && row.isRequired);
  if (isFault) refuse(why, expectation(node, path, row.meaning));
  return result;
}

/// Reads the attributes up to the first that is malformed, or required and missing; true when there
/// is none.
template <typename RECORD, std::size_t N>
bool readAttributes(const ConfigNode& node, const std::string& prefix,
                    const Attribute<RECORD> (&rows)[N], RECORD& record, std::string& why) {
  return std::all_of(rows, rows + N, [&](const Attribute<RECORD>& row) {
    const ParseResult result = readAttribute(node, prefix, row, record, why);
    return result == ParseResult::Exists || (result == ParseResult::Missing && !row.isRequired);
  });
}

/// Writes the attributes in the order of the rows.
template <typename RECORD, std::size_t N>
void writeAttributes(const Attribute<RECORD> (&rows)[N], const RECORD& record,
                     TiXmlElement& element) {
  for (const Attribute<RECORD>& row : rows) writeAttribute(row.name, row.text(record), element);
}

/// The only child of this name, or null. False when there are several: then none can be meant.
[[nodiscard]] bool findOnlyChild(const ConfigNode& node, const char* name, const ConfigNode*& child,
                                 std::string& why);

}  // namespace AR::CV::RigFile
