#pragma once

// Focal length and principal point of a view by how much of the images it is to show.

#include <optional>
#include <vector>

#include "rectify/Extent.h"
#include "rectify/ViewSource.h"

namespace rectiline::capi {

using ViewSources = std::vector<ViewSource>;
using PrincipalPoint = std::optional<AR::Math::Vec<double, 2>>;

// Both keep the view's projection, axis and size, which is at least 2 x 2 pixels, and a given
// principal point; they choose the rest. They refuse what cannot be had.

/// The least focal length at which every pixel of the view has a source in every camera.
AR::CV::TargetView fullView(const AR::CV::TargetView& view, const ViewSources& sources,
                            const PrincipalPoint& given);

/// The greatest focal length at which every pixel of every camera is in the view (within 85 degrees
/// of a pinhole view's axis).
AR::CV::TargetView wholeView(const AR::CV::TargetView& view, const ViewSources& sources,
                             const PrincipalPoint& given);

/// A view of a given focal length, sized so that every pixel of every camera is in it.
AR::CV::TargetView sizedView(const AR::CV::TargetView& view, const ViewSources& sources,
                             double focalLength);

}  // namespace rectiline::capi
