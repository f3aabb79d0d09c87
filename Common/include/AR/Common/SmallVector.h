#pragma once

#include <array>
#include <cstddef>
#include <typeinfo>
#include <utility>

#include "AR/Common/Macros.h"

namespace AR::Common {

/// At most N items in the object itself, never allocating. There are N + 1 slots, so the slot past
/// the last item always exists; it stands in for items that do not.
///
/// T is default-constructible and assignable. Unused slots hold `T{}` unless somebody wrote to an
/// element that was out of range.
template <typename T, std::size_t N>
class SmallVector {
 public:
  static constexpr std::size_t MAX_SIZE = N;

  using value_type = T;
  using iterator = T*;
  using const_iterator = const T*;

  [[nodiscard]] std::size_t size() const { return mSize; }
  [[nodiscard]] bool empty() const { return mSize == 0; }
  [[nodiscard]] T* data() { return mSlots.data(); }
  [[nodiscard]] const T* data() const { return mSlots.data(); }
  [[nodiscard]] T* begin() { return data(); }
  [[nodiscard]] const T* begin() const { return data(); }
  [[nodiscard]] T* end() { return data() + mSize; }
  [[nodiscard]] const T* end() const { return data() + mSize; }

  /// Item `index`. An index out of range is reported and gives the extra slot N, renewed first
  /// (the const form gives it as it stands).
  T& at(std::size_t index) { return hasItem(index) ? mSlots[index] : renewed(N); }
  const T& at(std::size_t index) const { return mSlots[hasItem(index) ? index : N]; }
  T& operator[](std::size_t index) { return at(index); }
  const T& operator[](std::size_t index) const { return at(index); }

  /// The last item; of an empty container reported, and the extra slot N as for `at`.
  T& back() { return hasLast() ? mSlots[mSize - 1] : renewed(N); }
  const T& back() const { return mSlots[hasLast() ? mSize - 1 : N]; }

  /// The slot just past the last item, renewed first (the const form gives it as it stands).
  T& slotPastLast() { return renewed(mSize); }
  const T& slotPastLast() const { return mSlots[mSize]; }

  /// Appends an item. A full container is reported and left as it is.
  void push_back(T item) {
    if (AR_CHECK(mSize < N, "current_size<MAX_SIZE", kSource)) {
      mSlots[mSize] = std::move(item);
      ++mSize;
    } else {
      logError(mSize, N, typeName(), sizeof(T));
    }
  }

  /// Changes the number of items; new ones are `T{}`. More than N is reported and gives N.
  void resize(std::size_t newSize) {
    if (!AR_CHECK(newSize <= N, "new_size<=MAX_SIZE", kSource)) newSize = N;
    const std::size_t first = mSize < newSize ? mSize : newSize;
    const std::size_t last = mSize < newSize ? newSize : mSize;
    for (std::size_t i = first; i < last; ++i) renewed(i);
    mSize = newSize;
  }

  void clear() { resize(0); }

 private:
  static constexpr char kSource[] = "Common/src/../include/AR/Common/SmallVector";

  static const char* typeName() {
#ifdef __cpp_rtti
    return typeid(T).name();
#else
    return "";
#endif
  }

  bool hasItem(std::size_t index) const {
    return AR_CHECK(index < mSize, "index<current_size", kSource);
  }
  bool hasLast() const { return AR_CHECK(mSize > 0, "current_size>0", kSource); }

  T& renewed(std::size_t slot) { return mSlots[slot] = T{}; }

  std::array<T, N + 1> mSlots{};
  std::size_t mSize = 0;
};

}  // namespace AR::Common
