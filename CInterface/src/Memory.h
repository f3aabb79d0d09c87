#pragma once

// The caller's maps and images, checked once, as rows that may be touched.

#include <cstddef>
#include <cstdint>

#include "Boundary.h"
#include "VIO/quality/MapView.h"
#include "rectiline/rectiline.h"

namespace rectiline::capi {

/// `count` rows of `rowBytes` bytes each, `stride` bytes apart; never empty.
struct Rows {
  void* start;
  std::size_t rowBytes;
  std::size_t count;
  std::size_t stride;

  template <typename T>
  [[nodiscard]] T* row(std::size_t y) const {
    return reinterpret_cast<T*>(static_cast<unsigned char*>(start) + y * stride);
  }
  [[nodiscard]] std::size_t bytes() const { return (count - 1) * stride + rowBytes; }
};

/// Rows of `width` elements of `elementBytes` each in the caller's memory. Refuses a null start, a
/// start that is not aligned to `alignment`, a stride that is shorter than a row or not a multiple
/// of the alignment, and rows that do not fit into the address space. Stride 0: no gaps.
/// @param name  of the plane, for the refusal
Rows checkedRows(const void* start, std::int32_t width, std::int32_t height,
                 std::size_t elementBytes, std::size_t alignment, std::size_t stride,
                 const FieldName& name);

/// An array of `count` elements, at least one, as one row.
Rows checkedArray(const void* start, std::size_t count, std::size_t elementBytes,
                  std::size_t alignment, const FieldName& name);

/// Refuses a size in pixels below 1.
void requirePixels(std::int32_t size, const FieldName& field);

/// Refuses a size in pixels that is not that of what `of` names.
void requireSameSize(const FieldName& field, std::int32_t size, const char* of,
                     std::int32_t expected);

/// Whether two planes share a byte. Planes of the same stride may lie in each other's gaps.
bool overlap(const Rows& a, const Rows& b);

/// Refuses a plane, named `name`, that shares a byte with another.
void requireApart(const Rows& plane, const Rows& other, const FieldName& name);

/// A caller's map.
struct Map {
  std::int32_t width;
  std::int32_t height;
  Rows x;
  Rows y;
  bool hasReasons;
  Rows reasons;  // if there are any

  /// What a map holds that could not be made.
  void fillNotMade() const;
};

/// The map as what measures maps looks at it.
VIO::MapView viewOf(const Map& map);

/// A caller's map, to be read or written. Refuses sizes below 1 and what checkedRows() refuses.
/// @param name  the argument's name in the header
Map checkedMap(const rectiline_map* map, const char* name);

/// As above, and refuses planes that overlap each other: a map to be written.
Map checkedTarget(const rectiline_map* map, const char* name);

/// Refuses maps to be written that overlap each other.
void requireApart(const Map& left, const Map& right);

/// A caller's image.
struct Image {
  std::int32_t width;
  std::int32_t height;
  rectiline_format format;
  Rows rows;
};

std::size_t channelsOf(rectiline_format format);

/// Refuses unknown formats, sizes below 1 and what checkedRows() refuses.
Image checkedImage(const rectiline_image* image, const char* name);

}  // namespace rectiline::capi
