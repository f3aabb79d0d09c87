#pragma once

// Numbers as the text of a calibration document, the same in every locale.

#include <cstddef>
#include <string>

namespace AR::CV {

/// Appends `value` with eight significant digits and one space, as printf's "%.8g " in the C
/// locale.
void appendXMLNumber(double value, std::string& text);

/// `value` with six significant digits, as printf's "%g" in the C locale.
[[nodiscard]] std::string realToXMLString(double value);

/// All components of a vector, each as appendXMLNumber() writes it; so the text ends in a space.
template <typename VECTOR>
[[nodiscard]] std::string vecToXMLString(const VECTOR& v) {
  std::string text;
  for (const auto component : v) {
    appendXMLNumber(static_cast<double>(component), text);
  }
  return text;
}

/// All entries of a ROWS x COLS matrix, row by row, each as appendXMLNumber() writes it.
template <int ROWS, int COLS, typename MATRIX>
[[nodiscard]] std::string matrixToRowMajorXMLString(const MATRIX& m) {
  std::string text;
  for (int i = 0; i < ROWS; ++i) {
    for (int j = 0; j < COLS; ++j) {
      appendXMLNumber(static_cast<double>(m(i, j)), text);
    }
  }
  return text;
}

}  // namespace AR::CV
