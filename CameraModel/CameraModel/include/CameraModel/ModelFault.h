#pragma once

#include <optional>

#include "CameraModel/CameraModel.h"

namespace CamModel {

/// What keeps a model from being used.
struct ModelFault {
  const char* field;   ///< the member of the interchange record that is at fault
  double value;        ///< what it holds
  const char* prefix;  ///< what validateCoeffs() prints before the sentence
  char sentence[448];  ///< what is wrong, for a person; holds any double printed by %f
};

/// The first fault in a model, or none. Silent: validateCoeffs() is this with its sentence printed.
/// An unknown model ends the process. Instantiated for float and double.
template <typename P>
[[nodiscard]] std::optional<ModelFault> findFault(const CameraModel<P>& model);

}  // namespace CamModel
