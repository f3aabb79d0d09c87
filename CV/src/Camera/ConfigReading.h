#pragma once

// What the readers of a rig's configuration share.

#include <algorithm>
#include <cmath>
#include <string>

#include "AR/Common/ConfigNode.h"
#include "AR/Common/Logger.h"
#include "AR/Math/Vector.h"

namespace AR::CV {

inline constexpr char kConfigSource[] = "CV/src/Camera/StereoCamera";

inline void logConfigError(const char* message) {
  AR_LOG(Common::Logger::ERR, kConfigSource, message);
}

template <typename T>
Common::ParseResult readConfig(const Common::ConfigNode& node, const char* key, T& value,
                               const char* comment) {
  return node.ifExistsGetDescendentAttribute(key, value, comment);
}

template <typename P>
bool isFinite(const P number) {
  return std::isfinite(number);
}

template <typename P, int N>
bool isFinite(const Math::Vec<P, N>& v) {
  return std::all_of(v.begin(), v.end(), [](const P number) { return std::isfinite(number); });
}

/// As readConfig for a real number or a vector of them; NaN and infinities are reported and refused
/// like text that is no number.
template <typename T>
Common::ParseResult readFiniteConfig(const Common::ConfigNode& node, const char* key, T& value,
                                     const char* comment) {
  T found{};
  const Common::ParseResult result = readConfig(node, key, found, comment);
  if (result != Common::ParseResult::Exists) return result;
  if (!isFinite(found)) {
    AR_LOGF(Common::Logger::ERR, kConfigSource, "Configuration: %s is not finite", key);
    return Common::ParseResult::Malformed;
  }
  value = found;
  return result;
}

}  // namespace AR::CV
