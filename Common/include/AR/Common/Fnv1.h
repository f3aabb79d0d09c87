#pragma once

#include <array>
#include <cstddef>
#include <cstdint>

namespace AR::Common {

/// The start value of the 64-bit Fowler-Noll-Vo hash.
inline constexpr std::uint64_t kFnv1OffsetBasis = 0xcbf29ce484222325;

/// 64-bit Fowler-Noll-Vo hash of `bytes` in storage order, from a start value of the caller's.
/// Despite its name each byte is folded in the order of FNV-1a: h = (h XOR byte) * prime, modulo
/// 2^64; hashes are compared across runs, so this order stays.
template <std::size_t N>
[[nodiscard]] constexpr std::uint64_t fnv1(const std::array<std::uint8_t, N>& bytes,
                                           std::uint64_t start) {
  std::uint64_t h = start;
  for (const std::uint8_t byte : bytes) h = (h ^ byte) * 0x100000001b3U;
  return h;
}

}  // namespace AR::Common
