#include "Kel/RemapPlan.h"

#include <algorithm>
#include <utility>

#include "AR/Common/RowBands.h"
#include "plan/Apply.h"
#include "plan/PlanCompiler.h"
#include "plan/PlanContent.h"

namespace kel {
namespace {

constexpr int kBands = 4 * AR::Common::WORKERPOOL_DEFAULT_WORKERS;  // of one image

/// Part `part` of `parts` of an image's rows of blocks.
void applyPart(const RemapPlan::Job& job, const PlanContent& plan, int part, int parts) {
  const auto bound = [&](int i) {
    return static_cast<int>(std::int64_t{plan.blockRows} * i / parts);
  };
  plan::applyRows(plan, {job.source, job.target, job.targetStride}, bound(part), bound(part + 1));
}

template <typename T>
std::size_t bytesOf(const std::vector<T>& values) {
  return values.capacity() * sizeof(T);
}

}  // namespace

RemapPlan::RemapPlan(std::unique_ptr<const PlanContent> content) : mContent(std::move(content)) {}

RemapPlan::~RemapPlan() = default;

std::unique_ptr<const RemapPlan> RemapPlan::make(const ConstMap& map, const PlanLayout& layout,
                                                 const SourceGains& gains) {
  return std::unique_ptr<const RemapPlan>(new RemapPlan(plan::compile(map, layout, gains)));
}

void RemapPlan::applyAll(std::span<const Job> jobs) {
  std::int64_t pixels = 0;
  for (const Job& job : jobs) pixels += std::int64_t{job.plan->width()} * job.plan->height();
  const auto applyBand = [jobs](unsigned i) {
    const Job& job = jobs[i / kBands];
    applyPart(job, *job.plan->mContent, static_cast<int>(i % kBands), kBands);
  };
  if (pixels >= AR::Common::kMinPixelsForBands) {
    const auto bands = static_cast<unsigned>(jobs.size() * kBands);
    return AR::Common::WorkerPools::dispatch(applyBand, bands);
  }
  for (const Job& job : jobs) applyPart(job, *job.plan->mContent, 0, 1);
}

const PlanLayout& RemapPlan::layout() const { return mContent->layout; }
int RemapPlan::width() const { return mContent->width; }
int RemapPlan::height() const { return mContent->height; }

std::size_t RemapPlan::bytes() const {
  const PlanContent& c = *mContent;
  return sizeof(RemapPlan) + sizeof(PlanContent) + bytesOf(c.pairs) + bytesOf(c.maskedPairs) +
         bytesOf(c.quads) + bytesOf(c.chains) + bytesOf(c.links) + bytesOf(c.spans) +
         bytesOf(c.blocks) + bytesOf(c.pairGains) + bytesOf(c.maskedPairGains) +
         bytesOf(c.quadGains) + bytesOf(c.linkGains);
}

}  // namespace kel
