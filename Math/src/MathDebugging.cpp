#include "AR/Math/MathDebugging.h"

#include "AR/Common/Logger.h"

namespace AR::Math::internal {
namespace {
constexpr char kSource[] = "Math/src/../include/AR/Math/MathDebugging";
}  // namespace

void logBadNum(double x) {
  AR_LOGF(Common::Logger::ERR, kSource, "Bad float: %a is nan or inf or denormal or uninitialised",
          x);
}

void logBadElement(size_t index) {
  AR_LOGF(Common::Logger::ERR, kSource, "(element %zu in vector)", index);
}

}  // namespace AR::Math::internal
