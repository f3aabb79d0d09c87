#pragma once

#include <cstddef>
#include <cstdint>
#include <string>
#include <vector>

#include "images/Pixels.h"

namespace rectiline::tool {

enum class Element { UInt8, Float32, Float64 };

/// A named array in row-major order in the caller's memory, which must outlive it.
struct NamedArray {
  std::string name;
  Element element;
  std::size_t rows;
  std::size_t columns;
  const void* data;

  [[nodiscard]] std::size_t count() const { return rows * columns; }
  [[nodiscard]] std::size_t bytes() const;
};

/// Arrays to be read elsewhere, and a JSON text that says what they are.
struct ArrayFile {
  std::vector<NamedArray> arrays;
  std::string about;
};

/// A NumPy file of one array.
/// https://numpy.org/doc/stable/reference/generated/numpy.lib.format.html
std::string toNpy(const NamedArray& array);

/// Reads a two-dimensional NumPy array of 32-bit or 64-bit floats. Throws Error.
Pixels<float> readNpy(const std::string& file);

/// A NumPy archive: a member NAME.npy for each array, and about.json. Throws Error.
std::string toNpz(const ArrayFile& file);

/// OpenCV's FileStorage in YAML: a matrix for each array, and the string "about".
std::string toFileStorage(const ArrayFile& file);

}  // namespace rectiline::tool
