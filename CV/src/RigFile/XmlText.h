#pragma once

// Values as the text of a calibration document, the same in every locale.

#include <cstddef>
#include <cstdint>
#include <string>

#include "AR/Math/Matrix.h"
#include "AR/Math/Vector.h"

namespace AR::CV {

/// Appends `value` with eight significant digits and one space, as printf's "%.8g " in the C
/// locale.
void appendXMLNumber(double value, std::string& text);

/// All components of a vector, each as appendXMLNumber() writes it; so the text ends in a space.
template <typename VECTOR>
[[nodiscard]] std::string vecToXMLString(const VECTOR& v) {
  std::string text;
  for (const auto component : v) appendXMLNumber(static_cast<double>(component), text);
  return text;
}

/// All entries of a ROWS x COLS matrix, row by row, each as appendXMLNumber() writes it.
template <int ROWS, int COLS, typename MATRIX>
[[nodiscard]] std::string matrixToRowMajorXMLString(const MATRIX& m) {
  std::string text;
  for (std::size_t i = 0; i < ROWS; ++i) text += vecToXMLString(m.row(i));
  return text;
}

/// A value of any type that an attribute may have. A single real number has six significant
/// digits, as printf's "%g" in the C locale.
[[nodiscard]] std::string toXMLString(bool value);
[[nodiscard]] std::string toXMLString(std::int32_t value);
[[nodiscard]] std::string toXMLString(double value);
template <typename P, int N>
[[nodiscard]] std::string toXMLString(const Math::Vec<P, N>& v) {
  return vecToXMLString(v);
}
template <typename P, int ROWS, int COLS>
[[nodiscard]] std::string toXMLString(const Math::Mat<P, ROWS, COLS>& m) {
  return matrixToRowMajorXMLString<ROWS, COLS>(m);
}

}  // namespace AR::CV
