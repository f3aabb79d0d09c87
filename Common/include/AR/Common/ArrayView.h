#pragma once

#include <concepts>
#include <cstddef>
#include <iterator>
#include <type_traits>

#include "AR/Common/Macros.h"
#include "AR/Common/Sentinel.h"

namespace AR::Common {

/// Items in a row that belong to somebody else: a pointer and a count. The owner must outlive the
/// view. A view is copied freely and, like a pointer, gives write access even when itself const.
template <typename T>
class ArrayView {
  template <typename U>
  static constexpr bool kSameItems = std::is_convertible_v<U (*)[], T (*)[]>;

  template <typename C>
  static constexpr bool kIsContainer =
      !std::same_as<std::remove_cv_t<C>, ArrayView> && requires(C & container) {
    std::size(container);
    requires kSameItems<std::remove_pointer_t<decltype(std::data(container))>>;
  };

 public:
  using value_type = std::remove_cv_t<T>;
  using iterator = T*;
  using const_iterator = T*;

  constexpr ArrayView() = default;

  /// A view of `numItems` items from `items` on; a null pointer has no items.
  constexpr ArrayView(T* items, std::size_t numItems)
      : mItems(items), mNumItems(items == nullptr ? 0 : numItems) {}

  /// A view of [begin, end). An end before the beginning is reported and gives an empty view.
  template <typename U>
  requires kSameItems<U> ArrayView(U* begin, U* end) : mItems(begin) {
    if (AR_CHECK(begin <= end, "begin <= end", kSource) && begin != nullptr) {
      mNumItems = static_cast<std::size_t>(end - begin);
    }
  }

  /// A view of a whole container (anything with data() and size()), a C array, or another view.
  template <typename C>
  requires kIsContainer<C>
  constexpr ArrayView(C& container) : ArrayView(std::data(container), std::size(container)) {}
  template <typename C>
  requires kIsContainer<const C>
  constexpr ArrayView(const C& container) : ArrayView(std::data(container), std::size(container)) {}

  [[nodiscard]] constexpr std::size_t size() const { return mNumItems; }
  [[nodiscard]] constexpr bool empty() const { return mNumItems == 0; }
  [[nodiscard]] constexpr T* data() const { return mItems; }
  [[nodiscard]] constexpr T* begin() const { return mItems; }
  [[nodiscard]] constexpr T* end() const { return mItems + mNumItems; }

  /// Item `idx`. An index out of range is reported and gives a sentinel element.
  T& operator[](std::size_t idx) const {
    if (AR_CHECK(idx < mNumItems, "idx<numItems", kSource)) return mItems[idx];
    return sentinelElement<T>();
  }

 private:
  static constexpr char kSource[] = "Common/src/../include/AR/Common/ArrayView";

  T* mItems = nullptr;
  std::size_t mNumItems = 0;
};

}  // namespace AR::Common
