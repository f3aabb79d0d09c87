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

namespace hn = hwy::HWY_NAMESPACE;

constexpr unsigned kAllValid = (1U << kGroup) - 1;

/// Bit i: whether pixel i is inside.
HWY_INLINE unsigned maskOf(const std::uint8_t* isInside) {
  std::uint64_t halves[2];
  std::memcpy(halves, isInside, sizeof(halves));
  // The bytes are 0 or 1; the product's highest byte has each at a bit of its own.
  const auto bits = [](std::uint64_t bytes) {
    return static_cast<unsigned>(bytes * 0x0102040810204080U >> 56);
  };
  return bits(halves[0]) | bits(halves[1]) << 8;
}

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

/// The same for half a group of pixels that are all inside, where the first and the last of them
/// come from the corner of the window, as they mostly do. False for any other.
HWY_INLINE bool trySmoothWindow(const Group& group, int first, const WindowedSource& source,
                                WindowedGroup& result) {
  constexpr int kCount = kGroup / 2;
  const hn::CappedTag<std::int32_t, kCount> i32;
  const hn::RebindToUnsigned<decltype(i32)> u32;
  const hn::Rebind<std::uint8_t, decltype(i32)> u8;
  const int last = first + kCount - 1;
  const int column = std::min({group.left[first], group.left[last], source.width - kWindowColumns});
  const int row = std::min({group.top[first], group.top[last], source.height - kWindowRows});
  auto fits = hn::Eq(hn::Zero(u32), hn::Zero(u32));
  for (int i = first; i <= last; i += static_cast<int>(hn::MaxLanes(i32))) {
    const auto x = hn::Sub(hn::Load(i32, group.left + i), hn::Set(i32, column));
    const auto y = hn::Sub(hn::Load(i32, group.top + i), hn::Set(i32, row));
    const auto isNearX = hn::Lt(hn::BitCast(u32, x), hn::Set(u32, kWindowColumns - 1));
    const auto isNearY = hn::Lt(hn::BitCast(u32, y), hn::Set(u32, kWindowRows - 1));
    fits = hn::And(fits, hn::And(isNearX, isNearY));
    const auto place = hn::Add(hn::ShiftLeft<4>(y), x);
    hn::StoreU(hn::DemoteTo(u8, place), u8, result.lookup.place + i);
  }
  result.windows[first / kCount] = static_cast<std::uint32_t>(row * source.stride + column);
  return hn::AllTrue(u32, fits);
}

HWY_INLINE bool trySmoothWindows(const Group& group, const WindowedSource& source,
                                 WindowedGroup& result) {
  return trySmoothWindow(group, 0, source, result) &&
         trySmoothWindow(group, kGroup / 2, source, result);
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
  const unsigned valid = maskOf(pixels.isInside);
  if (valid == 0) return GroupKind::Empty;
  result.valid = static_cast<std::uint16_t>(valid);
  std::memcpy(result.lookup.weightRight, positions.weightRight + at, kGroup);
  std::memcpy(result.lookup.weightLower, positions.weightLower + at, kGroup);
  if (valid == kAllValid && trySmoothWindows(pixels, source, result)) return GroupKind::Pair;
  if (tryWindows<kGroup / 2>(pixels, source, result)) {
    return valid == kAllValid ? GroupKind::Pair : GroupKind::MaskedPair;
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
