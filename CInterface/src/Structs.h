#pragma once

// Structs of the interface that carry their own size. A caller built against an earlier version
// passes shorter ones, a caller built against a later version longer ones.

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <cstring>

#include "Boundary.h"
#include "rectiline/rectiline.h"

namespace rectiline::capi {

/// The size of a struct in the first version of the interface that had it. When a struct grows,
/// its old size is written down here.
template <typename Struct>
inline constexpr std::size_t kFirstSize = sizeof(Struct);

/// Refuses a null struct, a size below `firstSize`, and members beyond `ownSize` that are not zero:
/// they ask for what this version does not know.
/// @return the bytes that caller and library both know
std::size_t checkStructSize(const void* callers, std::size_t firstSize, std::size_t ownSize,
                            const char* name);

/// The caller's struct; members that it is too short for are zero.
/// @param name  the argument's name in the header, for the refusal
template <typename Struct>
Struct readStruct(const Struct* callers, const char* name) {
  const std::size_t size = checkStructSize(callers, kFirstSize<Struct>, sizeof(Struct), name);
  Struct own{};
  std::memcpy(&own, callers, size);
  return own;
}

/// Refuses what writeStruct() would refuse, before the work is done.
template <typename Struct>
void requireStruct(const Struct* callers, const char* name) {
  checkStructSize(callers, kFirstSize<Struct>, sizeof(Struct), name);
}

/// Gives the caller as many members of `own` as there is room for. The struct's size stays.
template <typename Struct>
void writeStruct(Struct* callers, const char* name, Struct own) {
  const std::size_t size = checkStructSize(callers, kFirstSize<Struct>, sizeof(Struct), name);
  own.struct_size = callers->struct_size;
  std::memcpy(callers, &own, size);
}

/// Fills a text member, cutting what is too long.
template <std::size_t N>
void setText(char (&member)[N], const char* text) {
  const std::size_t length = std::min(std::strlen(text), N - 1);
  std::memcpy(member, text, length);
  std::memset(member + length, 0, N - length);
}

/// Refuses a reserved member that is not zero.
void requireZero(double reserved, const FieldName& field);

}  // namespace rectiline::capi
