#pragma once

#include <cmath>
#include <limits>
#include <optional>

#include "rectiline/CalibrationRecords.h"

// What a caller's record must hold before anything is computed from it. NaN passes none of these.

namespace VIO {

/// The member of a record that nothing can be computed from.
struct RecordFault {
  const char* field;     // within the record, as "orientation"
  double value;          // what it holds
  const char* expected;  // completes "the field ..."
};

inline bool isFiniteFloat(double value) {
  return std::fabs(value) <= static_cast<double>(std::numeric_limits<float>::max());
}

/// The first fault in a record, or none. Intrinsics without a fault can be converted; whether they
/// are those of a camera is for CamModel::findFault() to say.
[[nodiscard]] std::optional<RecordFault> findFault(const XrPosedZEL_t& pose);
[[nodiscard]] std::optional<RecordFault> findFault(const IntrinsicCameraCalibrationZEL& record);

template <typename Record>
[[nodiscard]] bool isConvertible(const Record& record) {
  return !findFault(record);
}

}  // namespace VIO
