#pragma once

#include <algorithm>
#include <cstddef>
#include <utility>

#include "AR/Common/Macros.h"
#include "AR/Common/Sentinel.h"
#include "AR/Common/Vector.h"

namespace AR::Common {

/// Pairs of key and value in one array, sorted by key (operator<) and searched by bisection.
/// Iterators are pointers to the pairs; `first`, the key, is not to be changed through them.
/// Inserting and erasing invalidate iterators and references.
template <typename K, typename V, typename Grow = VectorGrowConstant<16>,
          typename Alloc = VectorHeapAlloc>
class Map {
 public:
  using value_type = std::pair<K, V>;
  using iterator = value_type*;
  using const_iterator = const value_type*;

  [[nodiscard]] std::size_t size() const { return mPairs.size(); }
  [[nodiscard]] bool empty() const { return mPairs.empty(); }
  [[nodiscard]] iterator begin() { return mPairs.begin(); }
  [[nodiscard]] const_iterator begin() const { return mPairs.begin(); }
  [[nodiscard]] iterator end() { return mPairs.end(); }
  [[nodiscard]] const_iterator end() const { return mPairs.end(); }
  void clear() { mPairs.clear(); }

  /// The pair of key `k`, or `end()`.
  [[nodiscard]] iterator find(const K& k) { return found(begin(), end(), k); }
  [[nodiscard]] const_iterator find(const K& k) const { return found(begin(), end(), k); }

  /// The pair whose value is this very object, or `end()`.
  [[nodiscard]] iterator find_data(const V& value) {
    return std::find_if(begin(), end(),
                        [&value](const auto& pair) { return &pair.second == &value; });
  }

  /// Adds a pair unless its key is there already. Gives the pair of that key, and whether it was
  /// added; `end()` when there was no room to be had.
  std::pair<iterator, bool> insert(K k, V v) {
    const iterator place = lowerBound(begin(), end(), k);
    if (place != end() && !(k < place->first)) return {place, false};
    const std::size_t index = static_cast<std::size_t>(place - begin());
    if (!mPairs.insert(index, value_type(std::move(k), std::move(v)))) return {end(), false};
    return {begin() + index, true};
  }

  /// Removes the pair at `place`, which is one of this map's; `end()` removes nothing.
  void erase(const_iterator place) {
    if (place != end()) mPairs.erase(static_cast<std::size_t>(place - begin()));
  }

  /// Removes the pair of key `k`. False when there is none.
  bool erase(const K& k) {
    const std::size_t oldSize = size();
    erase(const_iterator(find(k)));
    return size() < oldSize;
  }

  /// The value of key `k`; a missing key is added with the value `V()`.
  V& operator[](const K& k) {
    iterator pair = find(k);
    if (pair == end()) pair = insert(k, V()).first;
    return pair == end() ? sentinelElement<V>() : pair->second;
  }

  /// The value of key `k`. A missing key is reported and gives a sentinel element.
  const V& operator[](const K& k) const {
    const const_iterator pair = find(k);
    const bool exists = AR_CHECK(
        pair != end(), "find(k) != end() && \"operator[] const can not insert non-existent keys\"",
        "Common/src/../include/AR/Common/Map");
    return exists ? pair->second : sentinelElement<V>();
  }

 private:
  template <typename Iterator>
  static Iterator lowerBound(Iterator first, Iterator last, const K& k) {
    return std::lower_bound(first, last, k,
                            [](const value_type& pair, const K& key) { return pair.first < key; });
  }

  template <typename Iterator>
  static Iterator found(Iterator first, Iterator last, const K& k) {
    const Iterator place = lowerBound(first, last, k);
    return place != last && !(k < place->first) ? place : last;
  }

  Vector<value_type, Grow, Alloc> mPairs;
};

}  // namespace AR::Common
