#pragma once

#include <concepts>
#include <cstddef>
#include <type_traits>

#include "AR/Math/Vector.h"

namespace AR::Math {

/// Layout of a matrix: element (i, j) at position i * COLS + j.
struct RowMajor;

/// Storage: the matrix holds its elements, aligned to ALIGNMENT elements (1: as the type asks).
template <int ALIGNMENT>
struct MatrixOwner;

/// ROWS x COLS elements of type FLOAT inside the object, row after row; the object is exactly its
/// elements. Elements are `m(i, j)`; an index at or beyond its size is fatal,
/// "nIdx<this->size()". The functions on matrices are in AR/Math/internal/MatrixFunctions.h,
/// included below.
template <typename FLOAT, int ROWS, int COLS, typename LAYOUT = RowMajor,
          typename STORAGE = MatrixOwner<1>>
class Matrix {
  static_assert(std::is_same_v<LAYOUT, RowMajor> && std::is_same_v<STORAGE, MatrixOwner<1>>,
                "the one layout and the one storage there are");
  static_assert(ROWS > 0 && COLS > 0);

 public:
  using Element = FLOAT;
  static constexpr int kRows = ROWS;
  static constexpr int kCols = COLS;

  /// All elements zero.
  constexpr Matrix() = default;

  /// The elements row after row, exactly ROWS * COLS of them.
  template <typename... Values>
  requires(static_cast<int>(sizeof...(Values)) == ROWS * COLS &&
           (std::is_arithmetic_v<Values> && ...)) constexpr explicit(ROWS* COLS == 1)
      Matrix(Values... values)
      : mElements(values...) {}

  static constexpr Matrix identity() requires(ROWS == COLS) {
    Matrix m;
    for (size_t i = 0; i < ROWS; ++i) m(i, i) = 1;
    return m;
  }

  constexpr FLOAT& operator()(size_t i, size_t j) { return data()[position(i, j)]; }
  constexpr const FLOAT& operator()(size_t i, size_t j) const { return data()[position(i, j)]; }

  static constexpr size_t size() { return static_cast<size_t>(ROWS) * COLS; }
  constexpr FLOAT* data() { return mElements.data(); }
  constexpr const FLOAT* data() const { return mElements.data(); }

  /// A copy of row i.
  constexpr Vec<FLOAT, COLS> row(size_t i) const {
    Vec<FLOAT, COLS> v;
    for (size_t j = 0; j < COLS; ++j) v(j) = (*this)(i, j);
    return v;
  }

  /// A copy of column j.
  constexpr Vec<FLOAT, ROWS> col(size_t j) const {
    Vec<FLOAT, ROWS> v;
    for (size_t i = 0; i < ROWS; ++i) v(i) = (*this)(i, j);
    return v;
  }

  /// The same elements in another type; as Vector::cast, never from real to integer.
  template <typename OTHER>
  constexpr Matrix<OTHER, ROWS, COLS> cast() const {
    Matrix<OTHER, ROWS, COLS> m;
    for (size_t i = 0; i < ROWS; ++i) {
      for (size_t j = 0; j < COLS; ++j) m(i, j) = static_cast<OTHER>((*this)(i, j));
    }
    return m;
  }

  /// True when every element equals its partner exactly.
  constexpr bool operator==(const Matrix& other) const { return mElements == other.mElements; }

 private:
  static constexpr size_t position(size_t i, size_t j) {
    AR_REQUIRE(i < ROWS && j < COLS, "nIdx<this->size()", internal::kVectorBaseSource);
    return i * COLS + j;
  }

  Vec<FLOAT, ROWS * COLS> mElements;
};

/// An owning row-major matrix.
template <typename T, int R, int C>
using Mat = Matrix<T, R, C>;

static_assert(sizeof(Mat<double, 3, 3>) == 9 * sizeof(double));
static_assert(std::is_trivially_copyable_v<Mat<float, 3, 3>>);

}  // namespace AR::Math

#include "AR/Math/internal/MatrixFunctions.h"
