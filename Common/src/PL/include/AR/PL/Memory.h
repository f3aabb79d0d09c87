#pragma once

#include <cstddef>

#include "AR/PL/Export.h"

/// `bytes` bytes of memory that the caller gives back through arMemoryFree; null when they cannot
/// be had. 0 bytes are memory too.
[[nodiscard]] AR_PL_EXPORT void* arMemoryAlloc(std::size_t bytes);

/// Gives back memory of arMemoryAlloc or arMemoryRealloc.
AR_PL_EXPORT int arMemoryFree(void* memory);

/// Makes memory of arMemoryAlloc larger or smaller and keeps its contents as far as they fit; null
/// memory is allocated. Gives the new memory, or null, and then the old one is as it was.
[[nodiscard]] AR_PL_EXPORT void* arMemoryRealloc(void* memory, std::size_t bytes);

/// Like arMemoryAlloc, at a multiple of `alignment`, a power of two (anything else fails). To be
/// given back through arMemoryFreeAligned.
[[nodiscard]] AR_PL_EXPORT void* arMemoryAllocAligned(std::size_t bytes, std::size_t alignment);

/// Gives back memory of arMemoryAllocAligned.
AR_PL_EXPORT int arMemoryFreeAligned(void* memory);
