#include "CameraModel/ModelFault.h"

#include <cstdio>

#include "CameraModel/DistortionTraits.h"

namespace CamModel {
namespace {

constexpr const char* kRadialFields[MAX_RD_PARAMS] = {"distortion[0]", "distortion[1]",
                                                      "distortion[2]", "distortion[3]",
                                                      "distortion[4]", "distortion[5]"};

template <typename P>
bool isInside(P value, P end) {
  return value > 0 && value < end;
}

template <typename... Values>
ModelFault makeFault(const char* field, double value, const char* prefix, const char* format,
                     Values... values) {
  ModelFault fault{field, value, prefix, {}};
  // Arguments that a format has no place for are ignored.
  std::snprintf(fault.sentence, sizeof fault.sentence, format, values...);
  return fault;
}

template <typename P>
std::optional<ModelFault> findRadialFault(const CameraModel<P>& m) {
  const int maxCoeffs = maxNumRadialDistortionCoeffs(m.model);
  const auto k = m.radialDistortion.template cast<double>();
  for (int i = maxCoeffs; i < MAX_RD_PARAMS; ++i) {
    if (k[i] == 0) continue;
    return makeFault(kRadialFields[i], k[i], "",
                     "Radial distortion vector for model %s must have at most %d nonzero "
                     "coefficients",
                     modelName(m.model), maxCoeffs);
  }
  const DistortionTraits<P>& traits = *findTraits<P>(m.model);
  if (traits.accepts == nullptr || traits.accepts(m.radialDistortion)) return std::nullopt;
  return makeFault(kRadialFields[0], k[0], "", traits.refusal, k[0], k[1], k[2], k[3], k[4], k[5]);
}

}  // namespace

template <typename P>
std::optional<ModelFault> findFault(const CameraModel<P>& m) {
  const auto fault = [](const char* field, P value, const char* sentence) {
    return makeFault(field, static_cast<double>(value), "Error: ", "%s", sentence);
  };
  constexpr char kFocalLength[] = "Focal length should be positive";
  constexpr char kSize[] = "Size must be the image size in pixels";
  constexpr char kPrincipalPoint[] = "Principal point should be inside the image";
  // All comparisons say what is right and are negated, so that a NaN is a fault.
  if (!(m.focalLength[0] > 0)) return fault("focal_length_x", m.focalLength[0], kFocalLength);
  if (!(m.focalLength[1] > 0)) return fault("focal_length_y", m.focalLength[1], kFocalLength);
  if (!(m.size[0] > 0)) return fault("width", m.size[0], kSize);
  if (!(m.size[1] > 0)) return fault("height", m.size[1], kSize);
  if (!isInside(m.principalPoint[0], m.size[0])) {
    return fault("principal_point_x", m.principalPoint[0], kPrincipalPoint);
  }
  if (!isInside(m.principalPoint[1], m.size[1])) {
    return fault("principal_point_y", m.principalPoint[1], kPrincipalPoint);
  }
  return findRadialFault(m);
}

template std::optional<ModelFault> findFault(const CameraModel<float>& model);
template std::optional<ModelFault> findFault(const CameraModel<double>& model);

}  // namespace CamModel
