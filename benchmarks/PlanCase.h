#pragma once

#include <memory>
#include <string>
#include <vector>

#include "Kel/RemapPlan.h"
#include "MapCase.h"

namespace rectiline::bench {

/// What a plan is measured with.
struct PlanKind {
  const char* name;
  enum Shape { Upright, Turned, Minified } shape;  // Turned: by 90 degrees; Minified: to half
  int channels;
  bool hasGains;
};

/// An image, the maps to resample it by, the plan that was made of them, and where the result goes.
struct PlanCase {
  PlanCase(const Size& size, const PlanKind& kind);

  [[nodiscard]] std::unique_ptr<const kel::RemapPlan> make() const;
  /// Every pixel by the definition, in double; with gains, corrected before it is interpolated.
  [[nodiscard]] cv::Mat exact() const;

  PlanKind kind;
  Planes maps;          // of the plain lens
  cv::Mat fixedXY;      // the same positions in OpenCV's fixed-point form
  cv::Mat fixedWeight;  // its table indices
  cv::Mat source;       // 8 bits, 1, 3 or 4 channels
  cv::Mat gains;        // CV_32FC1 of the source's size
  cv::Mat corrected;    // of the source's type
  cv::Mat target;
  std::unique_ptr<const kel::RemapPlan> plan;
  std::vector<float> planBytes;  // as many as the plan has
};

void applyPlan(PlanCase& c);
void makePlan(PlanCase& c);

/// What there was before: gains, where there are any, and remap.
void remapByMaps(PlanCase& c);

/// cv::remap after cv::multiply, where there are gains.
void remapPlanPeerFloat(PlanCase& c);
void remapPlanPeerFixed(PlanCase& c);

/// Reads as many bytes as the plan has and copies as many as the image has.
void copyAndReadPlan(PlanCase& c);

}  // namespace rectiline::bench
