#pragma once

#include <concepts>
#include <cstddef>
#include <type_traits>

#include "AR/Math/internal/VectorBase.h"

namespace AR::Math {

/// SIZE elements of type FLOAT, contiguous. A fixed size (SIZE > 0) never allocates and the object
/// is exactly its elements; SIZE -1 is a size given at run time.
///
/// Elements are `v(i)` or `v[i]`; an index at or beyond the size is fatal, "nIdx<this->size()".
/// The functions on vectors are in AR/Math/internal/VectorFunctions.h, included below.
template <typename FLOAT, int SIZE, typename LAYOUT = Linear, typename STORAGE = VectorOwner<1>>
class Vector : public internal::VectorBase<FLOAT, SIZE, STORAGE> {
  static_assert(std::is_same_v<LAYOUT, Linear>, "the one layout there is");
  using Base = internal::VectorBase<FLOAT, SIZE, STORAGE>;

 public:
  using Element = std::remove_const_t<FLOAT>;
  static constexpr int kSize = SIZE;

  /// Owners: all elements zero; of a run-time size: no elements. Views have no such constructor.
  constexpr Vector() = default;

  /// Run-time size owner: (size). View: (elements), with the size behind it if that is given at
  /// run time.
  using Base::Base;

  /// The elements in order, exactly SIZE of them. A real is never taken for an integer element.
  template <typename... Values>
  requires(static_cast<int>(sizeof...(Values)) == SIZE &&
           ((std::is_arithmetic_v<Values> &&
             (std::floating_point<FLOAT> || std::integral<Values>)) &&
            ...)) constexpr explicit(SIZE == 1) Vector(Values... values) {
    size_t i = 0;
    ((this->data()[i++] = static_cast<FLOAT>(values)), ...);
  }

  /// A copy of the elements of a vector that is stored otherwise.
  template <typename OTHER, typename OTHER_STORAGE>
  requires(!std::is_same_v<STORAGE, VectorReference> &&
           std::is_same_v<std::remove_const_t<OTHER>, FLOAT> &&
           !std::is_same_v<OTHER_STORAGE,
                           STORAGE>) constexpr Vector(const Vector<OTHER, SIZE, LAYOUT,
                                                                   OTHER_STORAGE>& other) {
    if constexpr (SIZE == kRunTimeSize) this->resize(other.size());
    assignElements(other);
  }

  /// Takes over the elements of a vector that is stored otherwise; a view writes them through.
  /// A view of a run-time size keeps its size: another one is fatal, "nIdx<this->size()".
  template <typename OTHER, typename OTHER_STORAGE>
  requires(std::is_same_v<std::remove_const_t<OTHER>, FLOAT> &&
           !std::is_same_v<Vector<OTHER, SIZE, LAYOUT, OTHER_STORAGE>, Vector>) constexpr Vector&
  operator=(const Vector<OTHER, SIZE, LAYOUT, OTHER_STORAGE>& other) {
    if constexpr (SIZE == kRunTimeSize && !std::is_same_v<STORAGE, VectorReference>) {
      this->resize(other.size());
    }
    assignElements(other);
    return *this;
  }

  /// The same elements in another type. From real to integer there is no cast: convert each
  /// element with AR::Common::saturatingCast.
  template <typename OTHER>
  constexpr Vector<OTHER, SIZE> cast() const {
    static_assert(std::floating_point<OTHER> || std::integral<Element>,
                  "use AR::Common::saturatingCast to make integers of reals");
    Vector<OTHER, SIZE> result;
    if constexpr (SIZE == kRunTimeSize) result.resize(this->size());
    for (size_t i = 0; i < this->size(); ++i) result(i) = static_cast<OTHER>((*this)(i));
    return result;
  }

 private:
  template <typename OTHER>
  constexpr void assignElements(const OTHER& other) {
    AR_REQUIRE(other.size() == this->size(), "nIdx<this->size()", internal::kVectorBaseSource);
    for (size_t i = 0; i < this->size(); ++i) this->data()[i] = other.data()[i];
  }
};

/// An owning vector of N elements; N = -1: of a size given at run time.
template <typename T, int N>
using Vec = Vector<T, N>;

static_assert(sizeof(Vec<float, 3>) == 3 * sizeof(float));
static_assert(sizeof(Vec<double, 6>) == 6 * sizeof(double));
static_assert(std::is_trivially_copyable_v<Vec<float, 3>>);

}  // namespace AR::Math

#include "AR/Math/internal/VectorFunctions.h"
