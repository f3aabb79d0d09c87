#pragma once

// Virtual cameras as callers see them and as the code behind knows them.

#include "AR/CV/Map/TargetView.h"
#include "AR/Math/SO3.h"
#include "rectiline/rectiline.h"

namespace rectiline::capi {

/// A virtual camera at the centre of a real one. "c" is the real camera's frame, "v" the view's.
struct View {
  AR::CV::TargetView target;
  AR::Math::SO3<double> R_cv;
};

/// A caller's view. Refuses what is no view: an unknown projection, sizes below 1, focal lengths
/// that are not above 0, a matrix that is no rotation.
/// @param name  the argument's name in the header
View checkedView(const rectiline_view& view, const char* name);

rectiline_view toCallersView(const View& view);

}  // namespace rectiline::capi
