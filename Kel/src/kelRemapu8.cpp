#include "Kel/kelRemapu8.h"

#include <cstddef>
#include <initializer_list>

#include "AR/Common/ExceptionBarrier.h"
#include "AR/Common/RowBands.h"
#include "remapRow.h"

namespace {

constexpr char kSource[] = "Kel/src/kelRemapu8";
constexpr int kSuccess = 0;
constexpr int kInvalidArgument = -1;
constexpr int kFailed = -2;
constexpr int kBilinear = 1;
constexpr std::int64_t kFloatBytes = 4;

/// Rows of `rowBytes` bytes each, `stride` bytes apart.
struct Rows {
  const void* start;
  std::int64_t rowBytes;
  std::int64_t count;
  std::int64_t stride;

  [[nodiscard]] bool hasValidSizes() const {
    return rowBytes >= 0 && count >= 0 && stride >= rowBytes;
  }
  [[nodiscard]] bool isEmpty() const { return rowBytes == 0 || count == 0; }
  [[nodiscard]] std::uint64_t begin() const { return reinterpret_cast<std::uintptr_t>(start); }
  [[nodiscard]] std::uint64_t end() const {
    return begin() + static_cast<std::uint64_t>((count - 1) * stride + rowBytes);
  }
};

bool overlap(const Rows& a, const Rows& b) { return a.begin() < b.end() && b.begin() < a.end(); }

const std::uint8_t* rowOf(const Rows& rows, std::int64_t y) {
  return static_cast<const std::uint8_t*>(rows.start) +
         static_cast<std::ptrdiff_t>(y * rows.stride);
}

}  // namespace

extern "C" int kelRemapu8(const std::uint8_t* src, int srcWidth, int srcHeight, int srcStride,
                          std::uint8_t* dst, int dstWidth, int dstHeight, int dstStride,
                          const float* mapX, const float* mapY, int mapStride, int interpolation) {
  const Rows source{src, srcWidth, srcHeight, srcStride};
  const Rows target{dst, dstWidth, dstHeight, dstStride};
  const Rows xs{mapX, kFloatBytes * dstWidth, dstHeight, mapStride};
  const Rows ys{mapY, kFloatBytes * dstWidth, dstHeight, mapStride};
  for (const Rows& rows : {source, target, xs, ys}) {
    if (!rows.hasValidSizes()) return kInvalidArgument;
  }
  if (interpolation != kBilinear || src == nullptr || source.isEmpty()) return kInvalidArgument;
  if (target.isEmpty()) return kSuccess;
  if (dst == nullptr) return kInvalidArgument;
  for (const Rows& input : {source, xs, ys}) {
    if (input.start == nullptr || overlap(input, target)) return kInvalidArgument;
  }

  const kel::SourceImage image{src, srcWidth, srcHeight, srcStride};
  const auto remapRows = [&](int firstRow, int endRow) {
    for (int v = firstRow; v < endRow; ++v) {
      std::uint8_t* const dstRow = dst + static_cast<std::ptrdiff_t>(std::int64_t{v} * dstStride);
      kel::remapRow(image, rowOf(xs, v), rowOf(ys, v), dstRow, dstWidth);
    }
  };
  const auto remapAll = [&] {
    AR::Common::forEachRowBand(dstHeight, dstWidth, remapRows);
    return kSuccess;
  };
  return AR::Common::withoutExceptions(AR_HERE, kSource, remapAll, [] { return kFailed; });
}
