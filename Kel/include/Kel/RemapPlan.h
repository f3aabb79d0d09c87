#pragma once

#include <cstddef>
#include <cstdint>
#include <memory>
#include <span>

#include "Kel/remapImage.h"

namespace kel {

struct PlanContent;

/// What a plan is made for.
struct PlanLayout {
  PixelFormat format;  // not Grey16
  int width;           // of the source, pixels
  int height;
  std::ptrdiff_t stride;                  // of the source, bytes
  std::uint8_t border[4] = {0, 0, 0, 0};  // channel by channel, where there is no source
};

/// A gain for every pixel of the source, rows `stride` bytes apart; none when `start` is null.
struct SourceGains {
  const float* start = nullptr;
  std::ptrdiff_t stride = 0;
};

/// A map pair compiled for one kind of source image: positions are decided once, and an image is
/// then resampled in integers. A plan never changes, and any number of threads may apply it.
///
/// Which positions are inside, and their neighbours, are those of kelRemapu8; any other gets the
/// border. Inside, a pixel differs by at most one grey level from the exactly interpolated value
/// rounded to nearest (the bound stands in plan/Arithmetic.h), and the bytes are the same with
/// every instruction set.
///
/// With gains a pixel is its interpolated value times the gain interpolated at its position, cut to
/// whole grey levels and to 255.
class RemapPlan {
 public:
  /// The map pair, layout and gains are only read here. Throws std::bad_alloc.
  [[nodiscard]] static std::unique_ptr<const RemapPlan> make(const ConstMap& map,
                                                             const PlanLayout& layout,
                                                             const SourceGains& gains = {});
  ~RemapPlan();
  RemapPlan(const RemapPlan&) = delete;
  RemapPlan& operator=(const RemapPlan&) = delete;

  /// An image through a plan. The source is of the plan's layout; the target is of the map's size
  /// and overlaps no source.
  struct Job {
    const RemapPlan* plan;
    const std::uint8_t* source;
    std::uint8_t* target;
    std::ptrdiff_t targetStride;
  };

  /// Fills the targets of all jobs, which do not overlap. Allocates nothing. Large images are
  /// filled by the worker pool's threads; the caller waits.
  static void applyAll(std::span<const Job> jobs);

  void apply(const std::uint8_t* source, std::uint8_t* target, std::ptrdiff_t targetStride) const {
    const Job job{this, source, target, targetStride};
    applyAll({&job, 1});
  }

  [[nodiscard]] const PlanLayout& layout() const;
  [[nodiscard]] int width() const;  ///< of the target, pixels
  [[nodiscard]] int height() const;
  [[nodiscard]] std::size_t bytes() const;  ///< that the plan holds

 private:
  explicit RemapPlan(std::unique_ptr<const PlanContent> content);

  std::unique_ptr<const PlanContent> mContent;
};

}  // namespace kel
