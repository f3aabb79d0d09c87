#pragma once

namespace AR::CV {

/// The distortion forms that a calibration is written in. Any other value writes none of them.
enum class XMLFormat : int {
  Current = 0,  ///< model name, radial and tangential coefficients, limits
  Old = 1,      ///< the combined vector of eight values
  Both = 2,
};

}  // namespace AR::CV
