#include "Memory.h"

#include <algorithm>
#include <limits>
#include <utility>

#include "Structs.h"

namespace rectiline::capi {
namespace {

void requireStride(std::size_t stride, std::size_t rowBytes, std::size_t alignment,
                   const FieldName& name) {
  if (stride >= rowBytes && stride % alignment == 0) return;
  refuseArgument(name, static_cast<double>(stride),
                 "has a stride of %zu bytes; it must be 0, or a multiple of %zu not below a row's "
                 "%zu bytes",
                 stride, alignment, rowBytes);
}

/// Whether the rows of `b` lie in the gaps between those of `a`, whichever begins first.
bool areInterleaved(const Rows& a, const Rows& b) {
  if (a.stride != b.stride) return false;
  const auto startA = reinterpret_cast<std::uintptr_t>(a.start);
  const auto startB = reinterpret_cast<std::uintptr_t>(b.start);
  const auto [first, second] = startA <= startB ? std::pair(a, b) : std::pair(b, a);
  const std::size_t offset = (std::max(startA, startB) - std::min(startA, startB)) % a.stride;
  return offset >= first.rowBytes && offset + second.rowBytes <= a.stride;
}

void requireApart(const Map& map, const Rows& other, const FieldName& name) {
  capi::requireApart(other, map.x, name);
  capi::requireApart(other, map.y, name);
  if (map.hasReasons) capi::requireApart(other, map.reasons, name);
}

template <typename T>
void fill(const Rows& rows, T value) {
  for (std::size_t y = 0; y < rows.count; ++y) {
    std::fill_n(rows.row<T>(y), rows.rowBytes / sizeof(T), value);
  }
}

}  // namespace

Rows checkedRows(const void* start, std::int32_t width, std::int32_t height,
                 std::size_t elementBytes, std::size_t alignment, std::size_t stride,
                 const FieldName& name) {
  requirePointer(start, name);
  const auto address = reinterpret_cast<std::uintptr_t>(start);
  if (address % alignment != 0) {
    refuseArgument(name, kNoValue, "begins at an address that is not a multiple of %zu", alignment);
  }
  constexpr std::uint64_t kMost = std::numeric_limits<std::size_t>::max();
  const std::uint64_t rowBytes = static_cast<std::uint64_t>(width) * elementBytes;
  if (stride == 0 && rowBytes <= kMost) stride = static_cast<std::size_t>(rowBytes);
  const auto gaps = static_cast<std::size_t>(height - 1);
  const std::uint64_t room = kMost - address;
  if (rowBytes > room || (gaps > 0 && stride > (room - rowBytes) / gaps)) {
    refuseArgument(name, static_cast<double>(rowBytes),
                   "does not fit into memory with its %d rows of %d elements", height, width);
  }
  requireStride(stride, static_cast<std::size_t>(rowBytes), alignment, name);
  return {const_cast<void*>(start), static_cast<std::size_t>(rowBytes), gaps + 1, stride};
}

Rows checkedArray(const void* start, std::size_t count, std::size_t elementBytes,
                  std::size_t alignment, const FieldName& name) {
  const Rows first = checkedRows(start, 1, 1, elementBytes, alignment, 0, name);
  const std::size_t room =
      std::numeric_limits<std::size_t>::max() - reinterpret_cast<std::uintptr_t>(start);
  if (count > room / elementBytes) {
    refuseArgument(name, static_cast<double>(count),
                   "does not fit into memory with its %zu elements", count);
  }
  return {first.start, count * elementBytes, 1, count * elementBytes};
}

void requirePixels(std::int32_t size, const FieldName& field) {
  if (size < 1) refuseArgument(field, size, "is %d pixels; it must be at least 1", size);
}

void requireSameSize(const FieldName& field, std::int32_t size, const char* of,
                     std::int32_t expected) {
  if (size != expected) {
    refuseArgument(field, size, "is %d; it must be that of the %s, %d", size, of, expected);
  }
}

bool overlap(const Rows& a, const Rows& b) {
  const auto startA = reinterpret_cast<std::uintptr_t>(a.start);
  const auto startB = reinterpret_cast<std::uintptr_t>(b.start);
  const bool rangesMeet = startA < startB + b.bytes() && startB < startA + a.bytes();
  return rangesMeet && !areInterleaved(a, b);
}

void requireApart(const Rows& plane, const Rows& other, const FieldName& name) {
  if (overlap(plane, other)) {
    refuseArgument(name, kNoValue, "overlaps another buffer of the same call");
  }
}

void Map::fillNotMade() const {
  fill(x, -1.0F);
  fill(y, -1.0F);
  if (hasReasons) fill(reasons, static_cast<std::uint8_t>(RECTILINE_PIXEL_NOT_MADE));
}

VIO::MapView viewOf(const Map& map) {
  return {map.x.row<float>(0), map.y.row<float>(0), map.width, map.height,
          static_cast<std::ptrdiff_t>(map.x.stride / sizeof(float))};
}

Map checkedMap(const rectiline_map* callers, const char* name) {
  const rectiline_map map = readStruct(callers, name);
  requireZero(map.reserved, {name, "reserved"});
  requirePixels(map.width, {name, "width"});
  requirePixels(map.height, {name, "height"});
  const auto plane = [&](float* start, const char* field) {
    return checkedRows(start, map.width, map.height, sizeof(float), alignof(float), map.stride,
                       {name, field});
  };
  Map checked{map.width, map.height, plane(map.x, "x"), plane(map.y, "y"), false, {}};
  if (map.reasons != nullptr) {
    checked.hasReasons = true;
    checked.reasons = checkedRows(map.reasons, map.width, map.height, 1, 1, map.reasons_stride,
                                  {name, "reasons"});
  }
  return checked;
}

Map checkedTarget(const rectiline_map* callers, const char* name) {
  const Map map = checkedMap(callers, name);
  requireApart(map.y, map.x, {name, "y"});
  if (map.hasReasons) {
    requireApart(map.reasons, map.x, {name, "reasons"});
    requireApart(map.reasons, map.y, {name, "reasons"});
  }
  return map;
}

void requireApart(const Map& left, const Map& right) {
  requireApart(left, right.x, "right.x");
  requireApart(left, right.y, "right.y");
  if (right.hasReasons) requireApart(left, right.reasons, "right.reasons");
}

std::size_t channelsOf(rectiline_format format) {
  return format == RECTILINE_RGB8 ? 3 : format == RECTILINE_RGBA8 ? 4 : 1;
}

Image checkedImage(const rectiline_image* callers, const char* name) {
  const rectiline_image image = readStruct(callers, name);
  const std::int32_t format = image.format;
  if (format != RECTILINE_GREY8 && format != RECTILINE_RGB8 && format != RECTILINE_RGBA8 &&
      format != RECTILINE_GREY16) {
    refuseArgument({name, "format"}, format, "is %d, which is not a rectiline_format", format);
  }
  requirePixels(image.width, {name, "width"});
  requirePixels(image.height, {name, "height"});
  const auto known = static_cast<rectiline_format>(format);
  const std::size_t element = known == RECTILINE_GREY16 ? 2 : 1;
  return {image.width, image.height, known,
          checkedRows(image.data, image.width, image.height, channelsOf(known) * element, element,
                      image.stride, {name, "data"})};
}

}  // namespace rectiline::capi
