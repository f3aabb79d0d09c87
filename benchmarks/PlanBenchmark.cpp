// Images through plans, beside the same maps applied as they are.

#include <cmath>
#include <cstdlib>
#include <memory>
#include <stdexcept>

#include "Measurement.h"
#include "PlanCase.h"
#include "Subjects.h"

namespace rectiline::bench {
namespace {

constexpr PlanKind kKinds[] = {
    {"upright", PlanKind::Upright, 1, false},   {"turned", PlanKind::Turned, 1, false},
    {"minified", PlanKind::Minified, 1, false}, {"rgb", PlanKind::Upright, 3, false},
    {"rgba", PlanKind::Upright, 4, false},      {"gains", PlanKind::Upright, 1, true},
    {"turned_gains", PlanKind::Turned, 1, true}};

std::string nameOf(const Size& size, const PlanKind& kind, const std::string& whose) {
  return "plan/" + text(size) + "/" + kind.name + "/" + whose;
}

/// Every byte within one grey level.
void requireExact(const std::string& what, const cv::Mat& ours, const cv::Mat& exact) {
  for (int y = 0; y < exact.rows; ++y) {
    const std::uint8_t* const a = ours.ptr(y);
    const std::uint8_t* const b = exact.ptr(y);
    for (int i = 0; i < exact.cols * exact.channels(); ++i) {
      if (std::abs(a[i] - b[i]) <= 1) continue;
      throw std::runtime_error(what + ": " + std::to_string(a[i]) + " where the exact value is " +
                               std::to_string(b[i]) + ", row " + std::to_string(y) + ", byte " +
                               std::to_string(i));
    }
  }
}

}  // namespace

void checkPlans(const Size& size) {
  for (const PlanKind& kind : kKinds) {
    PlanCase c(size, kind);
    const cv::Mat exact = c.exact();
    for (const std::int64_t set : vectorInstructionSets()) {
      const ForcedInstructionSet forced(set);
      c.target.setTo(cv::Scalar::all(0));
      applyPlan(c);
      requireExact(nameOf(size, kind, instructionSetName(set)), c.target, exact);
      remapByMaps(c);
      requireExact(nameOf(size, kind, "maps_" + instructionSetName(set)), c.target, exact);
    }
  }
}

void addPlans(const Size& size) {
  for (const PlanKind& kind : kKinds) {
    const auto c = std::make_shared<PlanCase>(size, kind);
    const auto addOne = [&](const std::string& whose, void (*call)(PlanCase&),
                            std::int64_t set = kWidest) {
      add({nameOf(size, kind, whose), size, [c, call] { call(*c); }, set});
    };
    for (const std::int64_t set : vectorInstructionSets()) {
      addOne(instructionSetName(set), applyPlan, set);
      addOne("maps_" + instructionSetName(set), remapByMaps, set);
      addOne("make_" + instructionSetName(set), makePlan, set);
    }
    addOne("OpenCV_float", remapPlanPeerFloat);
    addOne("OpenCV_fixed", remapPlanPeerFixed);
    addOne("copy_limit", copyAndReadPlan);
  }
}

}  // namespace rectiline::bench
