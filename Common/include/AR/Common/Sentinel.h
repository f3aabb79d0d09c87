#pragma once

#include <optional>
#include <type_traits>

namespace AR::Common {

/// The element that containers hand out for an index they do not have: a fresh `T()` of the calling
/// thread's own, so that writing to it harms nobody. The next call on the same thread renews it.
template <typename T>
T& sentinelElement() {
  thread_local std::optional<std::remove_const_t<T>> element;
  return element.emplace();
}

}  // namespace AR::Common
