#pragma once

#include "AR/CV/Camera/Camera.h"
#include "AR/CV/Image/Image.h"

namespace AR::CV {

namespace ImageOps {

/// For every pixel of the target camera the position in the source camera's image, both cameras
/// looking along the same axis: no rotation, no bounds test. Pixels without one hold 0.
/// @param mapX, mapY  are given the target's size; when there is no memory for both (reported), no
///                    position is written
template <typename P>
void generateCalibrationMapping(const Camera<P>& source, const Camera<P>& target, Image<P>& mapX,
                                Image<P>& mapY);

/// The focal lengths (fx, fy), pixels, at which a pinhole camera of the size and principal point of
/// `linear` sees the whole height of the centre column of `distorted`: those of `linear`, divided
/// by how far the column's ends spread in it, relative to their own distance from the principal
/// point. Of two ends that spread differently the one that spreads less decides. A column end that
/// `linear` or `distorted` cannot map counts as row 0; a spread of exactly 0 ends the process.
template <typename P>
[[nodiscard]] Math::Vec<P, 2> estimateUndistortedFocalLength(const Camera<P>& distorted,
                                                             const Camera<P>& linear);

}  // namespace ImageOps

extern template void ImageOps::generateCalibrationMapping(const Camera<float>&,
                                                          const Camera<float>&, Image<float>&,
                                                          Image<float>&);
extern template void ImageOps::generateCalibrationMapping(const Camera<double>&,
                                                          const Camera<double>&, Image<double>&,
                                                          Image<double>&);
extern template Math::Vec<float, 2> ImageOps::estimateUndistortedFocalLength(const Camera<float>&,
                                                                             const Camera<float>&);
extern template Math::Vec<double, 2> ImageOps::estimateUndistortedFocalLength(
    const Camera<double>&, const Camera<double>&);

}  // namespace AR::CV
