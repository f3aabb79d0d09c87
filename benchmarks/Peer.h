#pragma once

#include <opencv2/core.hpp>

#include "MapCase.h"
#include "rectiline/CalibrationRecords.h"

// OpenCV's calls for what the library does. Its rotation is the inverse of ours: it turns source
// directions into the target frame.

namespace rectiline::bench {

/// A camera in OpenCV's terms.
struct PeerCamera {
  /// The record's model must be one of OpenCV's; its coefficients are rounded as the library's are.
  PeerCamera(const IntrinsicCameraCalibrationZEL& record, PeerModel model);

  PeerModel model;
  cv::Mat K;  // 3x3
  cv::Mat D;  // distortion coefficients in OpenCV's order
};

/// One map in OpenCV's terms.
struct PeerMap {
  PeerCamera source;
  cv::Mat R_ts;  // source directions into the target frame
  cv::Mat P;     // the target's camera matrix
  cv::Size size;

  /// initUndistortRectifyMap of the camera's kind into float planes.
  void fill(Planes& planes) const;
};

/// A pinhole camera's 3x3 matrix.
[[nodiscard]] cv::Mat cameraMatrix(double fx, double fy, double cx, double cy);

/// Our matrix as OpenCV's.
[[nodiscard]] cv::Mat toCv(const AR::Math::Mat<float, 3, 3>& matrix);

/// OpenCV's form of a case whose lens has one.
[[nodiscard]] PeerMap peerOf(const MapCase& mapCase);

}  // namespace rectiline::bench
