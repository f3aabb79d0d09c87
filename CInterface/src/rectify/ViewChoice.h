#pragma once

#include "rectify/Coverage.h"
#include "rectify/ViewWishes.h"

namespace rectiline::capi {

/// The view that fulfils the wishes. What they leave open is as in `automatic`, a view of the
/// wished projection and size.
AR::CV::TargetView chosenView(const ViewWishes& wishes, const AR::CV::TargetView& automatic,
                              const ViewSources& sources);

}  // namespace rectiline::capi
