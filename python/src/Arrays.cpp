#include "Arrays.h"

#include <climits>
#include <string>

#include "Errors.h"

namespace rectiline::python {
namespace {

constexpr char kPlane[] = "a float32 array (rows, columns)";
constexpr char kImage[] =
    "a uint8 array (rows, columns) or (rows, columns, 3 or 4), or a uint16 array (rows, columns)";

/// An argument with its name and what it should be.
struct Argument {
  const char* name;
  const char* expected;

  [[noreturn]] void refuse(const std::string& found) const {
    python::refuse(name, std::string("expected ") + expected + ", found " + found);
  }
};

std::string describe(const py::array& array) {
  return py::str(array.dtype()).cast<std::string>() + " " +
         py::str(array.attr("shape")).cast<std::string>();
}

py::array asArray(const py::object& object, const Argument& argument) {
  if (py::isinstance<py::array>(object)) return py::reinterpret_borrow<py::array>(object);
  argument.refuse("an object of type " +
                  py::str(py::type::of(object).attr("__name__")).cast<std::string>());
}

bool isAligned(const py::array& array) {
  return reinterpret_cast<std::uintptr_t>(array.data()) %
             static_cast<std::size_t>(array.itemsize()) ==
         0;
}

/// Whether the values of a row follow each other, and rows lie one behind the other. What NumPy
/// says of the stride of a single value or row means nothing.
bool hasDenseRows(const py::array& array, py::ssize_t rowBytes) {
  py::ssize_t expected = array.itemsize();
  for (py::ssize_t axis = array.ndim() - 1; axis > 0; --axis) {
    if (array.shape(axis) > 1 && array.strides(axis) != expected) return false;
    expected *= array.shape(axis);
  }
  return array.shape(0) <= 1 || array.strides(0) >= rowBytes;
}

Rows rowsOf(const py::array& array, py::ssize_t channels, Access access, const Argument& argument) {
  const py::ssize_t height = array.shape(0), width = array.shape(1);
  if (height < 1 || width < 1 || height > INT_MAX || width > INT_MAX) {
    argument.refuse(describe(array));
  }
  const py::ssize_t rowBytes = width * channels * array.itemsize();
  if (!hasDenseRows(array, rowBytes)) {
    argument.refuse(
        "one with gaps inside its rows, or rows from the bottom up; give "
        "numpy.ascontiguousarray() of it");
  }
  if (!isAligned(array)) argument.refuse("one that does not start at a multiple of its item size");
  if (access == Access::Write && !array.writeable()) argument.refuse("one that is read-only");
  const py::ssize_t stride = height > 1 ? array.strides(0) : rowBytes;
  // The library writes to what it is asked to fill only.
  return {const_cast<void*>(array.data()), static_cast<std::int32_t>(height),
          static_cast<std::int32_t>(width), static_cast<std::size_t>(stride)};
}

/// 0 for an array that is no image.
std::int32_t formatOf(const py::array& array) {
  const bool is8 = py::isinstance<py::array_t<std::uint8_t>>(array);
  const bool is16 = py::isinstance<py::array_t<std::uint16_t>>(array);
  if (array.ndim() == 2) return is8 ? RECTILINE_GREY8 : is16 ? RECTILINE_GREY16 : 0;
  if (array.ndim() != 3 || !is8) return 0;
  switch (array.shape(2)) {
    case 1:
      return RECTILINE_GREY8;
    case 3:
      return RECTILINE_RGB8;
    case 4:
      return RECTILINE_RGBA8;
    default:
      return 0;
  }
}

}  // namespace

Rows planeOf(const py::object& object, const char* name, Access access) {
  const Argument argument{name, kPlane};
  const py::array array = asArray(object, argument);
  const bool isPlane = array.ndim() == 2 && py::isinstance<py::array_t<float>>(array);
  if (!isPlane) argument.refuse(describe(array));
  return rowsOf(array, 1, access, argument);
}

rectiline_image imageOf(const py::object& object, const char* name, Access access) {
  const Argument argument{name, kImage};
  const py::array array = asArray(object, argument);
  auto image = sized<rectiline_image>();
  image.format = formatOf(array);
  if (image.format == 0) argument.refuse(describe(array));
  const Rows rows = rowsOf(array, array.ndim() == 3 ? array.shape(2) : 1, access, argument);
  image.width = rows.width;
  image.height = rows.height;
  image.data = rows.data;
  image.stride = rows.stride;
  return image;
}

rectiline_map mapOf(const py::object& x, const py::object& y) {
  const Rows columns = planeOf(x, "map x", Access::Read);
  const Rows rows = planeOf(y, "map y", Access::Read);
  if (columns.height != rows.height || columns.width != rows.width ||
      columns.stride != rows.stride) {
    refuse("map y", "expected the shape and strides of map x, found others");
  }
  auto map = sized<rectiline_map>();
  map.width = columns.width;
  map.height = columns.height;
  map.x = static_cast<float*>(columns.data);
  map.y = static_cast<float*>(rows.data);
  map.stride = columns.stride;
  return map;
}

py::array newImageLike(const py::object& source, std::int32_t height, std::int32_t width) {
  const py::array image = py::reinterpret_borrow<py::array>(source);
  std::vector<py::ssize_t> shape{height, width};
  if (image.ndim() == 3) shape.push_back(image.shape(2));
  return py::array(image.dtype(), shape);
}

Points pointsOf(const py::object& object, const char* name, py::ssize_t columns) {
  const std::string expected =
      columns == 0 ? "numbers (n)" : "numbers (n, " + std::to_string(columns) + ")";
  const Argument argument{name, expected.c_str()};
  const py::array array = py::array::ensure(object);
  if (!array) {
    PyErr_Clear();
    argument.refuse("what is no array");
  }
  const bool isNumber = std::string("fiu").find(array.dtype().kind()) != std::string::npos;
  const bool isShape =
      columns == 0 ? array.ndim() == 1 : array.ndim() == 2 && array.shape(1) == columns;
  if (!isNumber || !isShape) argument.refuse(describe(array));
  return py::array_t<double, py::array::c_style | py::array::forcecast>::ensure(array);
}

Points newPoints(py::ssize_t count, py::ssize_t columns) {
  return Points(std::vector<py::ssize_t>{count, columns});
}

Points matrixOf(const double* values, py::ssize_t rows, py::ssize_t columns) {
  Points matrix = newPoints(rows, columns);
  std::copy_n(values, rows * columns, matrix.mutable_data());
  return matrix;
}

NewMap::NewMap(std::int32_t width, std::int32_t height)
    : x({height, width}), y({height, width}), reasons({height, width}) {}

rectiline_map NewMap::view() {
  auto map = sized<rectiline_map>();
  map.width = static_cast<std::int32_t>(x.shape(1));
  map.height = static_cast<std::int32_t>(x.shape(0));
  map.x = x.mutable_data();
  map.y = y.mutable_data();
  map.reasons = reasons.mutable_data();
  return map;
}

}  // namespace rectiline::python
