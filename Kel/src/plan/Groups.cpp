// Finds the windows of groups. The loops are plain; compiled for every instruction set, they become
// vector code.

#include "plan/Groups.h"

#include <algorithm>
#include <climits>
#include <cstring>

#undef HWY_TARGET_INCLUDE
#define HWY_TARGET_INCLUDE "plan/Groups.cpp"
#include <hwy/foreach_target.h>
#include <hwy/highway.h>

HWY_BEFORE_NAMESPACE();
namespace kel::plan::HWY_NAMESPACE {

/// Of 16 pixels: their neighbours' columns and rows, and whether they have any.
struct Group {
  const std::int32_t* left;
  const std::int32_t* top;
  const std::uint8_t* isInside;
};

/// The least and the greatest of `count` values, pixels outside left out.
template <int count>
HWY_INLINE void findBounds(const std::int32_t* values, const std::uint8_t* isInside, int& least,
                           int& greatest) {
  int low = INT_MAX;
  int high = INT_MIN;
  for (int i = 0; i < count; ++i) {
    low = std::min(low, isInside[i] != 0 ? values[i] : INT_MAX);
    high = std::max(high, isInside[i] != 0 ? values[i] : INT_MIN);
  }
  least = low;
  greatest = high;
}

/// Fills window and places of `count` pixels; false when a window cannot hold them.
template <int count>
HWY_INLINE bool tryWindow(const Group& group, int first, const WindowedSource& source,
                          WindowedGroup& result) {
  int left, right, top, bottom;
  findBounds<count>(group.left + first, group.isInside + first, left, right);
  findBounds<count>(group.top + first, group.isInside + first, top, bottom);
  const bool isEmpty = right < left;
  if (!isEmpty && (right - left > kWindowColumns - 2 || bottom - top > kWindowRows - 2))
    return false;
  const int column = std::min(left, source.width - kWindowColumns);
  const int row = std::min(top, source.height - kWindowRows);
  for (int i = first; i < first + count; ++i) {
    const int place = kWindowColumns * (group.top[i] - row) + group.left[i] - column;
    result.lookup.place[i] = static_cast<std::uint8_t>(group.isInside[i] != 0 ? place : 0);
  }
  result.windows[first / count] = static_cast<std::uint32_t>(row * source.stride + column);
  return true;
}

template <int count>
HWY_INLINE bool tryWindows(const Group& group, const WindowedSource& source,
                           WindowedGroup& result) {
  bool isFound = true;
  for (int i = 0; i < kGroup; i += count) {
    isFound = isFound && tryWindow<count>(group, i, source, result);
  }
  return isFound;
}

GroupKind findWindowsSimd(const Positions& positions, int group, const WindowedSource& source,
                          WindowedGroup& result) {
  const int at = group * kGroup;
  const Group pixels{positions.left + at, positions.top + at, positions.isInside + at};
  unsigned valid = 0;
  for (int i = 0; i < kGroup; ++i) valid |= static_cast<unsigned>(pixels.isInside[i]) << i;
  if (valid == 0) return GroupKind::Empty;
  result.valid = static_cast<std::uint16_t>(valid);
  std::memcpy(result.lookup.weightRight, positions.weightRight + at, kGroup);
  std::memcpy(result.lookup.weightLower, positions.weightLower + at, kGroup);
  if (tryWindows<kGroup / 2>(pixels, source, result)) {
    return valid == 0xFFFFU ? GroupKind::Pair : GroupKind::MaskedPair;
  }
  return tryWindows<kGroup / 4>(pixels, source, result) ? GroupKind::Quad : GroupKind::Chain;
}

}  // namespace kel::plan::HWY_NAMESPACE
HWY_AFTER_NAMESPACE();

#if HWY_ONCE
namespace kel::plan {

HWY_EXPORT(findWindowsSimd);

GroupKind findWindows(const Positions& positions, int group, const WindowedSource& source,
                      WindowedGroup& result) {
  return HWY_DYNAMIC_DISPATCH(findWindowsSimd)(positions, group, source, result);
}

}  // namespace kel::plan
#endif
