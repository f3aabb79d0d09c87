#pragma once

#include "AR/CV/Stereo/Rectify.h"
#include "AR/Common/Logger.h"

namespace AR::CV::Internal {

inline constexpr char kRectifySource[] = "AR/CV/Stereo/Rectify";

/// Logs `label` followed by the vector, formatted only when `level` is shown.
template <typename FloatType, int N>
void logVector(const char* label, const Math::Vec<FloatType, N>& v, int level) {
  if (Common::Logger::getInstance().getLevel() < level) return;
  Common::logMultilineString(label + Math::to_string(v), level);
}

}  // namespace AR::CV::Internal
