#pragma once

// NumPy arrays of callers as the library sees them: in place, checked, each refusal a sentence.

#include <pybind11/numpy.h>

#include <cstddef>
#include <cstdint>

#include "Structs.h"
#include "rectiline/rectiline.h"

namespace rectiline::python {

enum class Access { Read, Write };

/// Values in the caller's memory. Whoever uses them keeps the array alive.
struct Rows {
  void* data;
  std::int32_t height;
  std::int32_t width;
  std::size_t stride;  // bytes
};

/// A plane of float32, (rows, columns), a row without gaps; rows may have gaps between them.
Rows planeOf(const py::object& array, const char* name, Access access);

/// uint8 (rows, columns) or (rows, columns, 1, 3 or 4), or uint16 (rows, columns); a row without
/// gaps.
rectiline_image imageOf(const py::object& array, const char* name, Access access);

/// The planes of a map that is only read.
rectiline_map mapOf(const py::object& x, const py::object& y);

/// A new image of the map's size and the other image's kind.
py::array newImageLike(const py::object& source, std::int32_t height, std::int32_t width);

/// float64 (n, columns), or (n,) for 0 columns: the caller's own memory when it is that already,
/// otherwise converted.
using Points = py::array_t<double, py::array::c_style>;
Points pointsOf(const py::object& array, const char* name, py::ssize_t columns);

Points newPoints(py::ssize_t count, py::ssize_t columns);

/// A matrix of a record, as an array of its own.
Points matrixOf(const double* values, py::ssize_t rows, py::ssize_t columns);

/// A map of the library's in arrays of its own.
struct NewMap {
  NewMap(std::int32_t width, std::int32_t height);

  [[nodiscard]] rectiline_map view();
  /// (x, y, reasons)
  [[nodiscard]] py::tuple arrays() const { return py::make_tuple(x, y, reasons); }

  py::array_t<float> x;
  py::array_t<float> y;
  py::array_t<std::uint8_t> reasons;
};

}  // namespace rectiline::python
