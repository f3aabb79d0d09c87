// The table of the distortion models, from their list. The rows are made in the models' own files.

#include "CameraModel/DistortionTraits.h"

#include "AR/Common/Macros.h"
#include "models/LensRow.h"

namespace CamModel {
namespace {

constexpr char kSource[] = "CameraModel/CameraModel/include/CameraModel/CameraModel";

struct Name {
  DistortionModel model;
  const char* text;
};

constexpr Name kNames[] = {
#define RECTILINE_NAME(name, number) {name, #name},
    RECTILINE_DISTORTION_MODELS(RECTILINE_NAME)
#undef RECTILINE_NAME
};

constexpr bool numbersCountFromZero() {
  std::int32_t number = 0;
  for (const Name& name : kNames) {
    if (name.model != number++) return false;
  }
  return true;
}
static_assert(numbersCountFromZero(), "the rows are found by the model's number");

template <typename P>
using Row = const DistortionTraits<P>& (*)();

template <typename P>
constexpr Row<P> kRows[] = {
#define RECTILINE_ROW(name, number) LensRow<name, P>::get,
    RECTILINE_DISTORTION_MODELS(RECTILINE_ROW)
#undef RECTILINE_ROW
};

}  // namespace

template <typename P>
const DistortionTraits<P>* findTraits(const DistortionModel model) noexcept {
  return isKnownModel(model) ? &kRows<P>[model]() : nullptr;
}

template const DistortionTraits<float>* findTraits(DistortionModel model) noexcept;
template const DistortionTraits<double>* findTraits(DistortionModel model) noexcept;

const char* modelName(const DistortionModel model) {
  AR_REQUIRE(isKnownModel(model), "0 && \"Unhandled distortion model\"", kSource);
  return kNames[model].text;
}

int maxNumRadialDistortionCoeffs(const DistortionModel model) {
  AR_REQUIRE(isKnownModel(model), "0 && \"Unhandled distortion model\"", kSource);
  return findTraits<double>(model)->maxCoeffs;
}

}  // namespace CamModel
