#include "Peer.h"

#include <opencv2/calib3d.hpp>

namespace rectiline::bench {
namespace {

double rounded(double value) { return static_cast<double>(static_cast<float>(value)); }

cv::Mat fisheyeCoefficients(const double* k) {
  return (cv::Mat_<double>(4, 1) << rounded(k[0]), rounded(k[1]), rounded(k[2]), rounded(k[3]));
}

/// k1, k2, p1, p2, k3 ... k6; the first five where the rest is zero, as a caller would pass them.
cv::Mat pinholeCoefficients(const double* k, double p1, double p2) {
  cv::Mat D = (cv::Mat_<double>(8, 1) << rounded(k[0]), rounded(k[1]), rounded(p1), rounded(p2),
               rounded(k[2]), rounded(k[3]), rounded(k[4]), rounded(k[5]));
  const bool rational = k[3] != 0 || k[4] != 0 || k[5] != 0;
  return rational ? D : D.rowRange(0, 5).clone();
}

}  // namespace

PeerCamera::PeerCamera(const IntrinsicCameraCalibrationZEL& record, PeerModel peerModel)
    : model(peerModel),
      K(cameraMatrix(rounded(record.focal_length_x), rounded(record.focal_length_y),
                     rounded(record.principal_point_x), rounded(record.principal_point_y))) {
  const double* const d = record.distortion;
  D = model == PeerModel::Fisheye ? fisheyeCoefficients(d) : pinholeCoefficients(d, d[6], d[7]);
}

void PeerMap::fill(Planes& planes) const {
  if (source.model == PeerModel::Fisheye) {
    cv::fisheye::initUndistortRectifyMap(source.K, source.D, R_ts, P, size, CV_32FC1, planes.X,
                                         planes.Y);
  } else {
    cv::initUndistortRectifyMap(source.K, source.D, R_ts, P, size, CV_32FC1, planes.X, planes.Y);
  }
}

cv::Mat cameraMatrix(double fx, double fy, double cx, double cy) {
  return (cv::Mat_<double>(3, 3) << fx, 0, cx, 0, fy, cy, 0, 0, 1);
}

cv::Mat toCv(const AR::Math::Mat<float, 3, 3>& matrix) {
  cv::Mat result(3, 3, CV_64F);
  for (int i = 0; i < 3; ++i) {
    for (int j = 0; j < 3; ++j) {
      result.at<double>(i, j) =
          static_cast<double>(matrix(static_cast<std::size_t>(i), static_cast<std::size_t>(j)));
    }
  }
  return result;
}

PeerMap peerOf(const MapCase& mapCase) {
  const auto f = mapCase.target().getOriginalFocalLength().cast<double>();
  const auto c = mapCase.target().getPrincipalPoint().cast<double>();
  return {PeerCamera(intrinsicsOf(mapCase.lens(), mapCase.size()), mapCase.lens().peer),
          toCv(mapCase.job().R_st).t(), cameraMatrix(f(0), f(1), c(0), c(1)),
          cv::Size(mapCase.size().width, mapCase.size().height)};
}

}  // namespace rectiline::bench
