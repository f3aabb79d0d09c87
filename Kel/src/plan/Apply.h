#pragma once

#include "plan/PlanContent.h"

namespace kel::plan {

/// An image to be resampled, and where to.
struct Images {
  const std::uint8_t* source;
  std::uint8_t* target;
  std::ptrdiff_t targetStride;
};

/// Fills the target's rows of blocks [first, end).
void applyRowsPlain(const PlanContent& plan, const Images& images, int first, int end);

/// The same bytes with the best vector instructions of the machine.
void applyRows(const PlanContent& plan, const Images& images, int first, int end);

}  // namespace kel::plan
