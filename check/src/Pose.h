#pragma once

#include "rectiline/CalibrationRecords.h"

namespace rectiline::check {

/// The inverse of a rotation given as a unit quaternion.
QuaternionZEL inverse(const QuaternionZEL& q);

/// T_b_a of T_a_b.
XrPosedZEL_t inverse(const XrPosedZEL_t& T_a_b);

/// T_a_c of T_a_b and T_b_c.
XrPosedZEL_t compose(const XrPosedZEL_t& T_a_b, const XrPosedZEL_t& T_b_c);

/// The rotation by the length of a vector about its direction, radians.
QuaternionZEL rotationOf(double x, double y, double z);

}  // namespace rectiline::check
