#pragma once

#include <array>
#include <cstddef>
#include <vector>

#include "AR/Common/Macros.h"

namespace AR::Math {

/// Layout of a vector: elements one after the other.
struct Linear;

/// Storage: the vector holds its elements, aligned to ALIGNMENT elements (1: as the type asks).
template <int ALIGNMENT>
struct VectorOwner;

/// Storage: the vector views elements that someone else owns and keeps alive. Copying such a vector
/// gives another view of the same elements; assigning to one writes into the viewed elements.
struct VectorReference;

/// The SIZE of a vector whose size is given at run time.
inline constexpr int kRunTimeSize = -1;

namespace internal {

inline constexpr char kVectorBaseSource[] = "Math/src/../include/AR/Math/internal/VectorBase";

/// Where the elements are: gives `data()` and `size()`.
template <typename FLOAT, int SIZE, typename STORAGE>
class VectorStorage;

/// Exactly SIZE elements inside the object, zero at first.
template <typename FLOAT, int SIZE, int ALIGNMENT>
class VectorStorage<FLOAT, SIZE, VectorOwner<ALIGNMENT>> {
  static_assert(SIZE > 0, "a vector has at least one element, or a size given at run time");

 public:
  constexpr VectorStorage() = default;

  constexpr FLOAT* data() { return mElements.data(); }
  constexpr const FLOAT* data() const { return mElements.data(); }
  static constexpr size_t size() { return SIZE; }

 private:
  alignas(ALIGNMENT * alignof(FLOAT)) std::array<FLOAT, SIZE> mElements{};
};

/// A number of elements known at run time, on the heap, zero at first.
template <typename FLOAT>
class VectorStorage<FLOAT, kRunTimeSize, VectorOwner<1>> {
 public:
  VectorStorage() = default;
  explicit VectorStorage(size_t size) : mElements(size) {}

  /// Keeps the elements up to the new size; new ones are zero.
  void resize(size_t size) { mElements.resize(size); }

  FLOAT* data() { return mElements.data(); }
  const FLOAT* data() const { return mElements.data(); }
  size_t size() const { return mElements.size(); }

 private:
  std::vector<FLOAT> mElements;
};

/// SIZE elements (or a number given at run time) that belong to someone else.
template <typename FLOAT, int SIZE>
class VectorStorage<FLOAT, SIZE, VectorReference> {
  static_assert(SIZE > 0 || SIZE == kRunTimeSize);

 public:
  constexpr explicit VectorStorage(FLOAT* elements) requires(SIZE != kRunTimeSize)
      : mElements(elements), mSize(SIZE) {}
  constexpr VectorStorage(FLOAT* elements, size_t size) requires(SIZE == kRunTimeSize)
      : mElements(elements), mSize(size) {}

  constexpr VectorStorage(const VectorStorage&) = default;
  constexpr VectorStorage& operator=(const VectorStorage& other) {
    if (this == &other) return *this;
    AR_REQUIRE(other.mSize == mSize, "nIdx<this->size()", kVectorBaseSource);
    for (size_t i = 0; i < mSize; ++i) mElements[i] = other.mElements[i];
    return *this;
  }

  constexpr FLOAT* data() const { return mElements; }
  constexpr size_t size() const { return mSize; }

 private:
  FLOAT* mElements;
  size_t mSize;
};

/// Access to the elements, the same for every storage. An index at or beyond the size is fatal,
/// "nIdx<this->size()".
template <typename FLOAT, int SIZE, typename STORAGE>
class VectorBase : public VectorStorage<FLOAT, SIZE, STORAGE> {
  using Storage = VectorStorage<FLOAT, SIZE, STORAGE>;

 public:
  using Storage::Storage;
  constexpr VectorBase() = default;

  constexpr decltype(auto) operator()(size_t nIdx) { return *checked(this->data(), nIdx); }
  constexpr decltype(auto) operator()(size_t nIdx) const { return *checked(this->data(), nIdx); }
  constexpr decltype(auto) operator[](size_t nIdx) { return (*this)(nIdx); }
  constexpr decltype(auto) operator[](size_t nIdx) const { return (*this)(nIdx); }

  constexpr auto begin() { return this->data(); }
  constexpr auto begin() const { return this->data(); }
  constexpr auto end() { return this->data() + this->size(); }
  constexpr auto end() const { return this->data() + this->size(); }

 private:
  template <typename T>
  constexpr T* checked(T* elements, size_t nIdx) const {
    AR_REQUIRE(nIdx < this->size(), "nIdx<this->size()", kVectorBaseSource);
    return elements + nIdx;
  }
};

}  // namespace internal
}  // namespace AR::Math
