#pragma once

#include <cstdint>
#include <optional>

#include "AR/CV/Map/TargetView.h"
#include "AR/Math/SO3.h"
#include "VIO/quality/MapView.h"
#include "rectiline/CalibrationRecords.h"

namespace VIO {

/// Where something was worst: the target pixel, and for a point its range in metres (else 0).
struct CertificatePlace {
  float x;
  float y;
  float depth;
};

/// How far a claimed rectification is from the exact one. Errors in pixels; one that has no finite
/// value (a map value that is no number, a disparity of 0) counts as infinite.
struct RectificationCertificate {
  std::uint32_t points;  // grid points and ranges that were found in both rectified images
  double maxRowError;    // of the rectified images, across the baseline
  double rmsRowError;
  CertificatePlace worstRow;
  double maxDepthError;  // share of the true range
  CertificatePlace worstDepth;
  double maxMapErrorLeft;  // source pixels between map and exact projection of the claimed ray
  CertificatePlace worstMapLeft;
  double maxMapErrorRight;
  CertificatePlace worstMapRight;
};

/// Two cameras and what claims to rectify them. Frames: "ol" and "or" are those of the left and
/// right camera, "tl" and "tr" those of the rectified cameras, which stand at the same places and
/// share one orientation and one view.
struct RectificationClaim {
  const CameraCalibrationZEL& left;
  const CameraCalibrationZEL& right;
  AR::CV::TargetView view;       // its baselineAxis says across which axis rows must agree
  AR::Math::SO3<double> R_oltl;  // directions of the rectified left frame into the left camera's
  /// Depth is this divided by the disparity. None, as in latitude-longitude: ranges are those of
  /// the view and the baseline.
  std::optional<double> depthConstant;
  MapView leftMap;  // both of the view's size
  MapView rightMap;
  /// As R_oltl, of the right camera. None: as the true poses have it.
  std::optional<AR::Math::SO3<double>> R_ortl = std::nullopt;
  /// From the left to the right camera along the view's axis, metres. None: the true one.
  std::optional<double> baseline = std::nullopt;
};

/// Measures maps that claim to rectify two cameras. Nothing that made them is trusted: rays of the
/// claimed view go through the exact formulas of the records' cameras, in double.
///
/// Row and depth errors are measured over a grid of the left image and ranges from 0.3 m to 30 m:
/// both maps are searched for where the point's exact source positions appear in the rectified
/// images. A point that is not found in both is left out, so judge the map errors too: they cover
/// every pixel of a map that has a source, and they alone show a shift of both images together.
/// @return false, with `certificate` untouched, for a record that no camera can be made of or a
///     pose that is none; also when not a single point could be found, as in maps that are not of
///     these cameras at all
[[nodiscard]] bool certifyRectification(const RectificationClaim& claim,
                                        RectificationCertificate& certificate);

}  // namespace VIO
