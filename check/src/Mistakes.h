#pragma once

#include <vector>

#include "CameraPair.h"
#include "rectiline_check/Check.h"

namespace rectiline::check {

/// A rig as it would be without a mistake that people make.
struct Undone {
  Verdict mistake;
  CameraPair cameras;
};

/// The given rig with each of the usual mistakes undone, usual ones first. Some can have been made,
/// and are undone, in several ways.
/// @param rightFirst  the rig has its first camera on the right (or below)
std::vector<Undone> undoMistakes(const CameraPair& given, bool rightFirst);

}  // namespace rectiline::check
