#pragma once

#include "AR/CV/Camera/Camera.h"
#include "AR/CV/Image/Image.h"
#include "AR/CV/Image/MapRow.h"

namespace AR::CV {

/// Runs `job` over all rows of a map pair and reports what the rows ask to be reported: a target
/// pixel without an inverse as the failed check "result" (when `reportNoInverse`), a ray of depth
/// exactly 0 as "nVal != 0". The images must have the same size; one that lacks pixels is reported
/// and nothing is filled.
template <typename P>
void fillMap(const MapJob<P>& job, bool reportNoInverse, Image<P>& mapX, Image<P>& mapY);

namespace ImageOps {

/// For every pixel of the target camera the position in the source camera's image, both cameras
/// looking along the same axis: no rotation, no bounds test. Pixels without one hold 0.
/// @param mapX, mapY  are given the target's size; when there is no memory for both (reported), no
///                    position is written
template <typename P>
void generateCalibrationMapping(const Camera<P>& source, const Camera<P>& target, Image<P>& mapX,
                                Image<P>& mapY);

}  // namespace ImageOps

extern template void fillMap(const MapJob<float>&, bool, Image<float>&, Image<float>&);
extern template void fillMap(const MapJob<double>&, bool, Image<double>&, Image<double>&);
extern template void ImageOps::generateCalibrationMapping(const Camera<float>&,
                                                          const Camera<float>&, Image<float>&,
                                                          Image<float>&);
extern template void ImageOps::generateCalibrationMapping(const Camera<double>&,
                                                          const Camera<double>&, Image<double>&,
                                                          Image<double>&);

}  // namespace AR::CV
