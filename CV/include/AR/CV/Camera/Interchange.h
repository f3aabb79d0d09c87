#pragma once

#include "AR/Math/SE3.h"
#include "rectiline/CalibrationRecords.h"

// Between the pose records of callers and SE3. These functions alone know the order and sign of a
// record's quaternion. A pose keeps its direction: what a record calls the pose of a camera maps
// the device's reference frame into the camera's frame, and so does the SE3 made of it.

namespace AR::CV {

/// The rigid transform of a pose record. The quaternion is normalised; one without a length fails
/// the fatal check "length>0".
template <typename P>
[[nodiscard]] Math::SE3<P> idl2se3(const XrPosedZEL_t& pose);

/// idl2se3 in single precision.
[[nodiscard]] Math::SE3<float> toXRRD(const XrPosedZEL_t& pose);

/// The pose record of a rigid transform, its quaternion of unit length and, for the identity,
/// exactly (0, 0, 0, 1). Computed in double precision by Shepperd's method (1978), which keeps its
/// accuracy up to and at half turns; a rotation that is not finite gives a quaternion that is not.
template <typename P>
[[nodiscard]] XrPosedZEL_t se32idl(const Math::SE3<P>& T);

}  // namespace AR::CV
