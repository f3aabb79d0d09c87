#pragma once

#include <string>

#include "AR/Common/ArrayView.h"
#include "AR/Math/Vector.h"
#include "CameraModel/CameraModel.h"

namespace AR::CV {

/// What the legacy vector of 8 distortion coefficients o holds: o0, o1 = radial k0, k1; o2, o3 =
/// tangential p1, p2; o4 to o7 = radial k2 to k5. OLD_FISHEYE_4 alone has k0 to k3 in o0 to o3.
enum OLD_DISTORTION_MODE : int {
  OLD_LINEAR = 0,
  OLD_FISHEYE_1 = 1,
  OLD_RADIAL_2 = 2,
  OLD_RADIAL_2_TANGENTIAL = 3,
  OLD_RADIAL_3 = 4,
  OLD_RADIAL_3_TANGENTIAL = 5,
  OLD_RADIAL_6 = 6,
  OLD_RADIAL_6_TANGENTIAL = 7,
  OLD_FISHEYE_4 = 8,
};

/// The model whose CamModel::modelName is exactly `name` (upper case). An unknown name is logged
/// and gives false; `model` is unchanged then.
[[nodiscard]] bool radialDistortionModelStringToEnum(const std::string& name,
                                                     CamModel::DistortionModel& model);

/// Writes a distortion into the legacy vector. The legacy format tells models apart by their
/// nonzero entries, so those coefficients that the model has and that are 0 are written as 1e-8.
/// A model without a legacy form (or an unknown one) is reported: `oldVec` then holds the
/// tangential coefficients alone and `mode` is unchanged.
template <typename P>
void getOldDistortionVec(CamModel::DistortionModel model, const Math::Vec<P, 2>& tangential,
                         const CamModel::RDVec<P>& radial, Math::Vec<P, 8>& oldVec,
                         OLD_DISTORTION_MODE& mode);

/// Reads the legacy vector. The model is FISHEYE_4_PARAMETERS if `isFisheye4`, else found from the
/// highest nonzero entry: 5 to 7 RADIAL_6, 4 RADIAL_3, 1 RADIAL_2, 0 FISHEYE_1, none LINEAR; only
/// the radial ones have tangential coefficients.
template <typename P>
void getNewDistortionVec(const Math::Vec<P, 8>& oldVec, bool isFisheye4,
                         CamModel::DistortionModel& model, Math::Vec<P, 2>& tangential,
                         CamModel::RDVec<P>& radial);

/// Rewrites every FISHEYE_4_PARAMETERS model of the view as the CHEBYSHEV_4_PARAMETERS model that
/// is the same function; image sizes become whole numbers. Both models span the same polynomials
/// in the squared angle, so that nothing else changes but by rounding.
template <typename P>
void convert4ParamFisheyeModelToChebyshev(Common::ArrayView<CamModel::CameraModel<P>> models);

}  // namespace AR::CV
