#pragma once

// How the two cameras of a pair stand to each other, and how their views are turned.
//
// Frames: "ol" and "or" are the frames of the left and right camera, "tl" and "tr" those of their
// views, which stand at the same places and share one orientation.

#include "AR/Math/SE3.h"
#include "rectiline/rectiline.h"

namespace rectiline::capi {

/// Two different cameras of a device, by their indices in its record.
struct CameraPair {
  int left;
  int right;
};

struct PairGeometry {
  int axis;         // of the baseline in the views' images: 0 or 1
  int sign;         // 1, or -1 when the right camera lies on the negative side of the left one
  double baseline;  // metres, above 0

  // What maps are made with: the single precision of CreateRectifyMap().
  AR::Math::SO3<float> R_oltl_map;
  AR::Math::SO3<float> R_ortl_map;

  // What callers are told: as above, with the baseline along the axis to the last digits, so that
  // positions computed from it agree across the baseline.
  AR::Math::SO3<double> R_oltl;
  AR::Math::SO3<double> R_ortl;
};

/// Turns both views half-way towards each other and then so that the baseline lies along the image
/// axis that it is closest to, without a half turn whichever camera is given first. The poses must
/// have been checked. Refuses cameras at the same place and a baseline along the view.
PairGeometry pairGeometry(const DeviceCalibrationZEL& device, const CameraPair& pair);

/// The angle by which a rotation turns, radians.
double turnOf(const AR::Math::SO3<double>& R);

}  // namespace rectiline::capi
