#pragma once

#include <algorithm>
#include <cstddef>
#include <limits>
#include <memory>
#include <utility>

#include "AR/Common/Macros.h"
#include "AR/Common/Sentinel.h"
#include "AR/PL/Memory.h"

namespace AR::Common {

/// Capacity by doubling: FIRST, 2 FIRST, 4 FIRST, ...
template <std::size_t FIRST>
struct VectorGrowDoubling {
  /// The least capacity of the series that holds `numItems` and is no smaller than `capacity`.
  static constexpr std::size_t grow(std::size_t capacity, std::size_t numItems) {
    std::size_t grown = std::max(capacity, FIRST);
    while (grown < numItems && grown <= std::numeric_limits<std::size_t>::max() / 2) grown *= 2;
    return std::max(grown, numItems);
  }
};

/// Capacity in multiples of STEP.
template <std::size_t STEP>
struct VectorGrowConstant {
  /// The least multiple of STEP that holds `numItems` and is no smaller than `capacity`.
  static constexpr std::size_t grow(std::size_t capacity, std::size_t numItems) {
    const std::size_t least = std::max(capacity, numItems);
    const std::size_t missing = (STEP - least % STEP) % STEP;
    return least > std::numeric_limits<std::size_t>::max() - missing ? least : least + missing;
  }
};

/// Blocks from the platform's heap.
struct VectorHeapAlloc {
  /// Null when there is no such block.
  static void* allocate(std::size_t bytes, std::size_t alignment) {
    return arMemoryAllocAligned(bytes, alignment);
  }
  static void free(void* block) { arMemoryFreeAligned(block); }
};

/// A growing array on the heap. `Grow` says how far the block grows, `Alloc` where it comes from.
/// A block that cannot be had is reported ("newBlock!=0") and leaves the vector as it was.
/// Growing and inserting invalidate iterators and references.
template <typename T, typename Grow = VectorGrowDoubling<16>, typename Alloc = VectorHeapAlloc>
class Vector {
 public:
  using value_type = T;
  using iterator = T*;
  using const_iterator = const T*;

  Vector() = default;
  Vector(const Vector& other) { *this = other; }
  Vector(Vector&& other) noexcept { swap(other); }
  ~Vector() { release(); }

  Vector& operator=(const Vector& other) {
    if (this == &other) return *this;
    Vector copy;
    if (!copy.reserve(other.mNumItems)) return *this;
    std::uninitialized_copy(other.begin(), other.end(), copy.mBlock);
    copy.mNumItems = other.mNumItems;
    swap(copy);
    return *this;
  }
  Vector& operator=(Vector&& other) noexcept {
    Vector moved(std::move(other));
    swap(moved);
    return *this;
  }

  void swap(Vector& other) noexcept {
    std::swap(mBlock, other.mBlock);
    std::swap(mNumItems, other.mNumItems);
    std::swap(mCapacity, other.mCapacity);
  }

  [[nodiscard]] std::size_t size() const { return mNumItems; }
  [[nodiscard]] bool empty() const { return mNumItems == 0; }
  [[nodiscard]] std::size_t capacity() const { return mCapacity; }
  [[nodiscard]] T* data() { return mBlock; }
  [[nodiscard]] const T* data() const { return mBlock; }
  [[nodiscard]] T* begin() { return mBlock; }
  [[nodiscard]] const T* begin() const { return mBlock; }
  [[nodiscard]] T* end() { return mBlock + mNumItems; }
  [[nodiscard]] const T* end() const { return mBlock + mNumItems; }

  /// Item `index`. An index out of range is reported and gives a sentinel element.
  T& operator[](std::size_t index) { return hasItem(index) ? mBlock[index] : sentinelElement<T>(); }
  const T& operator[](std::size_t index) const {
    return hasItem(index) ? mBlock[index] : sentinelElement<T>();
  }
  T& back() { return (*this)[mNumItems - 1]; }
  const T& back() const { return (*this)[mNumItems - 1]; }

  /// Room for `numItems` items. False when there is no such block.
  bool reserve(std::size_t numItems) {
    return numItems <= mCapacity || moveToBlock(Grow::grow(mCapacity, numItems));
  }

  /// Appends an item. False when there was no room to be had.
  bool push_back(T item) {
    if (!reserve(mNumItems + 1)) return false;
    std::construct_at(end(), std::move(item));
    ++mNumItems;
    return true;
  }

  /// Puts an item before position `index`, past the last for an index past the end. False when
  /// there was no room to be had.
  bool insert(std::size_t index, T item) {
    if (!push_back(std::move(item))) return false;
    if (index < mNumItems) std::rotate(begin() + index, end() - 1, end());
    return true;
  }

  /// Removes item `index`; an index out of range is reported and removes nothing.
  void erase(std::size_t index) {
    if (!hasItem(index)) return;
    std::move(begin() + index + 1, end(), begin() + index);
    pop_back();
  }

  /// Removes the last item, if there is one.
  void pop_back() {
    if (mNumItems > 0) std::destroy_at(mBlock + --mNumItems);
  }

  /// Changes the number of items; new ones are `T()`. False when there was no room to be had.
  bool resize(std::size_t numItems) {
    if (!reserve(numItems)) return false;
    while (mNumItems > numItems) pop_back();
    for (; mNumItems < numItems; ++mNumItems) std::construct_at(end());
    return true;
  }

  /// Removes all items and keeps the block.
  void clear() { resize(0); }

 private:
  static constexpr char kSource[] = "Common/src/../include/AR/Common/Vector";

  bool hasItem(std::size_t index) const {
    return AR_CHECK(mBlock != nullptr && index < mNumItems, "block!=0 && index<numItems", kSource);
  }

  static T* allocate(std::size_t capacity) {
    if (capacity > std::numeric_limits<std::size_t>::max() / sizeof(T)) return nullptr;
    return static_cast<T*>(Alloc::allocate(capacity * sizeof(T), alignof(T)));
  }

  bool moveToBlock(std::size_t capacity) {
    Vector moved;
    moved.mBlock = allocate(capacity);
    if (!AR_CHECK(moved.mBlock != nullptr, "newBlock!=0", kSource)) return false;
    moved.mCapacity = capacity;
    std::uninitialized_move(begin(), end(), moved.mBlock);
    moved.mNumItems = mNumItems;
    swap(moved);
    return true;
  }

  void release() {
    std::destroy(begin(), end());
    if (mBlock != nullptr) Alloc::free(mBlock);
    mBlock = nullptr;
    mNumItems = mCapacity = 0;
  }

  T* mBlock = nullptr;
  std::size_t mNumItems = 0;
  std::size_t mCapacity = 0;
};

}  // namespace AR::Common
