// Plans: maps compiled for use, and images through them.

#include <algorithm>
#include <cstdint>
#include <memory>

#include "Boundary.h"
#include "Kel/RemapPlan.h"
#include "KernelFormat.h"
#include "Memory.h"
#include "Structs.h"
#include "rectiline/rectiline.h"

struct rectiline_plan {
  rectiline_format format;
  std::unique_ptr<const kel::RemapPlan> remap;
};

namespace {

using namespace rectiline::capi;

rectiline_format checkedFormat(std::int32_t format) {
  if (format != RECTILINE_GREY8 && format != RECTILINE_RGB8 && format != RECTILINE_RGBA8) {
    refuseArgument("options.format", format, "is %d; it must be a rectiline_format of 8 bits",
                   format);
  }
  return static_cast<rectiline_format>(format);
}

/// The source's stride. There is no source yet, but it must be such that there can be one.
std::ptrdiff_t checkedStride(const rectiline_plan_options& options, rectiline_format format) {
  const std::size_t row = static_cast<std::size_t>(options.source_width) * channelsOf(format);
  const std::size_t stride = options.source_stride == 0 ? row : options.source_stride;
  const auto gaps = static_cast<std::size_t>(options.source_height - 1);
  constexpr std::size_t kMost = PTRDIFF_MAX;
  if (stride < row || row > kMost || (gaps > 0 && stride > (kMost - row) / gaps)) {
    refuseArgument("options.source_stride", static_cast<double>(stride),
                   "is %zu bytes; it must be 0 or at least a row's %zu, and all %d rows must fit "
                   "into memory",
                   stride, row, options.source_height);
  }
  return static_cast<std::ptrdiff_t>(stride);
}

kel::PlanLayout checkedLayout(const rectiline_plan_options& options, rectiline_format format) {
  requirePixels(options.source_width, "options.source_width");
  requirePixels(options.source_height, "options.source_height");
  kel::PlanLayout layout{kernelFormat(format), options.source_width, options.source_height,
                         checkedStride(options, format)};
  std::copy_n(options.border, 4, layout.border);
  return layout;
}

kel::SourceGains checkedGains(const rectiline_plan_options& options) {
  if (options.gains == nullptr) return {};
  const Rows rows =
      checkedRows(options.gains, options.source_width, options.source_height, sizeof(float),
                  alignof(float), options.gains_stride, "options.gains");
  return {rows.row<float>(0), static_cast<std::ptrdiff_t>(rows.stride)};
}

void requireFormat(const rectiline_plan& plan, const Image& image, const FieldName& field) {
  if (image.format != plan.format) {
    refuseArgument(field, image.format, "is %d; it must be the plan's, %d",
                   static_cast<int>(image.format), static_cast<int>(plan.format));
  }
}

Image checkedSource(const rectiline_plan& plan, const rectiline_image* callers, const char* name) {
  const Image image = checkedImage(callers, name);
  const kel::PlanLayout& layout = plan.remap->layout();
  requireFormat(plan, image, {name, "format"});
  requireSameSize({name, "width"}, image.width, "plan's source", layout.width);
  requireSameSize({name, "height"}, image.height, "plan's source", layout.height);
  const auto stride = static_cast<std::size_t>(layout.stride);
  if (image.rows.stride != stride) {
    refuseArgument({name, "stride"}, static_cast<double>(image.rows.stride),
                   "is %zu bytes; it must be that of the plan's source, %zu", image.rows.stride,
                   stride);
  }
  return image;
}

Image checkedTarget(const rectiline_plan& plan, const rectiline_image* callers, const char* name) {
  const Image image = checkedImage(callers, name);
  requireFormat(plan, image, {name, "format"});
  requireSameSize({name, "width"}, image.width, "plan's map", plan.remap->width());
  requireSameSize({name, "height"}, image.height, "plan's map", plan.remap->height());
  return image;
}

/// Images through plans: all of them checked before any is touched.
class Jobs {
 public:
  /// The names are those of the arguments in the header.
  void add(const rectiline_plan* plan, const rectiline_image* source, const rectiline_image* target,
           const char* const (&names)[3]) {
    requirePointer(plan, names[0]);
    mSources[mCount] = checkedSource(*plan, source, names[1]).rows;
    mTargets[mCount] = checkedTarget(*plan, target, names[2]).rows;
    mJobs[mCount] = {plan->remap.get(), mSources[mCount].row<std::uint8_t>(0),
                     mTargets[mCount].row<std::uint8_t>(0),
                     static_cast<std::ptrdiff_t>(mTargets[mCount].stride)};
    ++mCount;
  }

  void run(const char* targetData) const {
    for (std::size_t i = 0; i < mCount; ++i) {
      for (std::size_t j = 0; j < mCount; ++j) {
        requireApart(mTargets[i], mSources[j], targetData);
        if (j != i) requireApart(mTargets[i], mTargets[j], targetData);
      }
    }
    kel::RemapPlan::applyAll({mJobs, mCount});
  }

 private:
  std::size_t mCount = 0;
  kel::RemapPlan::Job mJobs[RECTILINE_MAX_PLANS];
  Rows mSources[RECTILINE_MAX_PLANS];
  Rows mTargets[RECTILINE_MAX_PLANS];
};

}  // namespace

std::int32_t rectiline_plan_create(const rectiline_map* map, const rectiline_plan_options* options,
                                   rectiline_plan** plan) {
  return guarded([&] {
    requirePointer(plan, "plan");
    const Map through = checkedMap(map, "map");
    const rectiline_plan_options wanted = readStruct(options, "options");
    for (const std::uint8_t reserved : wanted.reserved) requireZero(reserved, "options.reserved");
    const rectiline_format format = checkedFormat(wanted.format);
    const kel::PlanLayout layout = checkedLayout(wanted, format);
    const kel::ConstMap view{through.x.row<float>(0), through.y.row<float>(0), through.width,
                             through.height, static_cast<std::ptrdiff_t>(through.x.stride)};
    auto made = std::make_unique<rectiline_plan>();
    made->format = format;
    made->remap = kel::RemapPlan::make(view, layout, checkedGains(wanted));
    *plan = made.release();
  });
}

std::int32_t rectiline_plan_apply(const rectiline_plan* plan, const rectiline_image* source,
                                  const rectiline_image* target) {
  return guarded([&] {
    Jobs jobs;
    jobs.add(plan, source, target, {"plan", "source", "target"});
    jobs.run("target.data");
  });
}

std::int32_t rectiline_plan_apply_all(std::size_t n, const rectiline_plan* const* plans,
                                      const rectiline_image* const* sources,
                                      const rectiline_image* const* targets) {
  return guarded([&] {
    if (n > RECTILINE_MAX_PLANS) {
      refuseArgument("n", static_cast<double>(n), "is %zu; it must be at most %d", n,
                     RECTILINE_MAX_PLANS);
    }
    if (n == 0) return;
    requirePointer(plans, "plans");
    requirePointer(sources, "sources");
    requirePointer(targets, "targets");
    Jobs jobs;
    for (std::size_t i = 0; i < n; ++i) {
      jobs.add(plans[i], sources[i], targets[i], {"plans", "sources", "targets"});
    }
    jobs.run("targets.data");
  });
}

std::int32_t rectiline_plan_size(const rectiline_plan* plan, std::size_t* bytes) {
  return guarded([&] {
    requirePointer(plan, "plan");
    requirePointer(bytes, "bytes");
    *bytes = sizeof(rectiline_plan) + plan->remap->bytes();
  });
}

void rectiline_plan_destroy(rectiline_plan* plan) { delete plan; }
