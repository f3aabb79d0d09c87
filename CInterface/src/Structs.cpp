#include "Structs.h"

#include <algorithm>

#include "Boundary.h"

namespace rectiline::capi {
namespace {

// A size that was never set must not send the check through the whole address space.
constexpr std::size_t kMostUnknown = 4096;

}  // namespace

std::size_t checkStructSize(const void* callers, std::size_t firstSize, std::size_t ownSize,
                            const char* name) {
  requirePointer(callers, name);
  std::uint32_t size;  // the first member of them all
  std::memcpy(&size, callers, sizeof size);
  if (size < firstSize || size > ownSize + kMostUnknown) {
    refuseArgument({name, "struct_size"}, size,
                   "is %u; the caller sets it to the struct's size, %zu", size, ownSize);
  }
  const auto* const bytes = static_cast<const unsigned char*>(callers);
  for (std::size_t i = ownSize; i < size; ++i) {
    if (bytes[i] == 0) continue;
    refuseArgument(name, static_cast<double>(i),
                   "has a member at byte %zu that this version of the library does not know; it "
                   "must be zero",
                   i);
  }
  return std::min<std::size_t>(size, ownSize);
}

void requireZero(double reserved, const FieldName& field) {
  if (reserved != 0) refuseArgument(field, reserved, "is reserved; it must be 0");
}

}  // namespace rectiline::capi
