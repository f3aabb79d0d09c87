#pragma once

#include <cstddef>
#include <cstdint>
#include <functional>
#include <memory>
#include <string>
#include <vector>

#include "images/PixelLimit.h"
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
Pixels<float> readNpy(const std::string& file, const PixelLimit& limit);

/// The bytes of something stored, in their order.
struct ByteSource {
  std::string name;  // for messages
  std::uint64_t size;
  /// Puts the next `count` bytes to `to`, or throws Error.
  std::function<void(void* to, std::size_t count)> read;
};

/// The same from anywhere. Memory is taken for what the header claims only when `source` has as
/// many bytes and the limit allows it.
Pixels<float> readNpy(const ByteSource& source, const PixelLimit& limit);

/// A NumPy archive: a member NAME.npy for each array, and about.json. Throws Error.
std::string toNpz(const ArrayFile& file);

/// Arrays of a file, to be read by their names. All throw Error.
class ArrayReader {
 public:
  virtual ~ArrayReader() = default;

  /// The text that says what the arrays are; empty when there is none.
  virtual std::string about() = 0;
  /// An array of floats of two dimensions.
  virtual Pixels<float> floats(const std::string& name) = 0;
};

/// Opens what toNpz() wrote, or NumPy's savez and savez_compressed.
std::unique_ptr<ArrayReader> openNpz(const std::string& file, const PixelLimit& limit);

/// Opens what toFileStorage() wrote, or OpenCV.
std::unique_ptr<ArrayReader> openFileStorage(const std::string& file, const PixelLimit& limit);

/// OpenCV's FileStorage in YAML: a matrix for each array, and the string "about".
std::string toFileStorage(const ArrayFile& file);

}  // namespace rectiline::tool
