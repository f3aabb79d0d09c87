// rectiline_rectify: from records to views, to maps, to what is to be known about them.

#include "AR/CV/Stereo/Rectify.h"

#include <cstdint>
#include <limits>

#include "AR/CV/Camera/PixelSize.h"
#include "AR/Common/FailedChecks.h"
#include "Boundary.h"
#include "Records.h"
#include "Structs.h"
#include "VIO/quality/LargestRectangle.h"
#include "Views.h"
#include "rectify/MapFilling.h"
#include "rectify/OpenCvTerms.h"
#include "rectify/SourceCameras.h"
#include "rectify/ViewChoice.h"
#include "rectify/Warnings.h"

namespace rectiline::capi {
namespace {

using AR::CV::TargetProjection;
using AR::CV::TargetView;
using CameraF = AR::CV::Camera<float>;

bool hasScale(const ViewWishes& wishes) {
  return wishes.focalLength || wishes.fieldOfView || wishes.coverage;
}

/// The focal length at which a pinhole keeps the height of the left camera's centre column.
double heightKeepingFocalLength(const CameraF& left, int index, int height) {
  const double extent = AR::CV::Internal::centreColumnExtent(left);
  if (!(extent > 0)) {
    refuse(RECTILINE_CANNOT_RECTIFY,
           "Camera %d has no rays at the ends of its centre column: a pinhole view cannot keep its "
           "height. Use RECTILINE_LATITUDE_LONGITUDE, or give options.coverage, "
           "options.focal_length or options.field_of_view.",
           index);
  }
  // In single precision, in which CreateRectifyMap() has it.
  return static_cast<double>(static_cast<float>(height / extent));
}

/// What is made of the left camera when the wishes say nothing else.
TargetView automaticView(const ViewWishes& wishes, const CameraF& left, int index, int axis) {
  const AR::Math::Vec<int, 2> size = AR::CV::pixelSize(left);
  TargetView view;
  view.projection = wishes.projection;
  view.baselineAxis = axis;
  view.width = wishes.size ? wishes.size->width : size(0);
  view.height = wishes.size ? wishes.size->height : size(1);
  view.cx = view.width / 2.0;
  view.cy = view.height / 2.0;
  if (view.projection == TargetProjection::LatitudeLongitude) {
    view.fx = view.fy = static_cast<double>(left.getCorrectedFocalLength());
  } else if (!hasScale(wishes)) {
    view.fx = view.fy = heightKeepingFocalLength(left, index, view.height);
  }
  return view;
}

/// Sets what maps that were just made cover: nothing in them is broken, so that -1 alone tells.
void setCoverage(const Map& left, const Map& right, rectiline_rectification& result) {
  VIO::LargestRectangle rectangle(left.width);
  std::int64_t leftCount = 0;
  std::int64_t rightCount = 0;
  for (int y = 0; y < left.height; ++y) {
    const auto row = static_cast<std::size_t>(y);
    const float* const leftX = left.x.row<float>(row);
    const float* const leftY = left.y.row<float>(row);
    const float* const rightX = right.x.row<float>(row);
    const float* const rightY = right.y.row<float>(row);
    int leftInRow = 0;
    int rightInRow = 0;
    for (int x = 0; x < left.width; ++x) {
      const bool inLeft = (leftX[x] != -1) | (leftY[x] != -1);
      const bool inRight = (rightX[x] != -1) | (rightY[x] != -1);
      leftInRow += inLeft;
      rightInRow += inRight;
      rectangle.addPixel(x, inLeft & inRight);
    }
    leftCount += leftInRow;
    rightCount += rightInRow;
    rectangle.finishRow(y);
  }
  const double pixels = static_cast<double>(left.width) * left.height;
  result.left_share = static_cast<double>(leftCount) / pixels;
  result.right_share = static_cast<double>(rightCount) / pixels;
  const VIO::Rectangle& valid = rectangle.largest();
  result.valid_x = valid.x;
  result.valid_y = valid.y;
  result.valid_width = valid.width;
  result.valid_height = valid.height;
}

/// A pair on its way from records to maps.
class Rectifier {
 public:
  Rectifier(const DeviceCalibrationZEL& device, const rectiline_options& options)
      : mDevice(device),
        mWishes(checkedWishes(options)),
        mPair(checkedPair(options, device)),
        mCameras(sourceCameras(device, mPair)),
        mGeometry(pairGeometry(device, mPair)),
        mSources{{mPair.left, mCameras.left, mGeometry.R_oltl_map},
                 {mPair.right, mCameras.right, mGeometry.R_ortl_map}},
        mView(chosenView(mWishes, automaticView(mWishes, mCameras.left, mPair.left, mGeometry.axis),
                         mSources)) {}

  void makeMaps(const Map& left, const Map& right) const {
    requireSize(left, mView.width, mView.height, "left");
    requireSize(right, mView.width, mView.height, "right");
    AR::CV::MapBatch<float> batch;
    addMap(mSources[0].job(mView, mWishes.keepOutside), left, batch);
    addMap(mSources[1].job(mView, mWishes.keepOutside), right, batch);
    batch.fill();
  }

  /// The result but for what the maps cover and for failed checks.
  [[nodiscard]] rectiline_rectification result() const {
    rectiline_rectification result{};
    result.left_camera = mPair.left;
    result.right_camera = mPair.right;
    result.axis = mGeometry.axis;
    result.disparity_sign = mGeometry.sign;
    result.left = toCallersView({mView, mGeometry.R_oltl});
    result.right = toCallersView({mView, mGeometry.R_ortl});
    result.baseline = mGeometry.baseline;
    result.depth_constant = mView.projection == TargetProjection::Pinhole
                                ? mGeometry.sign * mView.fx * mGeometry.baseline
                                : std::numeric_limits<double>::quiet_NaN();
    setOpenCvTerms(mGeometry, mView, result);
    warnOfGeometry(mGeometry, result);
    for (const ViewSource& source : mSources) {
      warnOfTables(source, mDevice.cameras[source.index].intrinsics, result);
    }
    return result;
  }

 private:
  const DeviceCalibrationZEL& mDevice;
  ViewWishes mWishes;
  CameraPair mPair;
  SourceCameras mCameras;
  PairGeometry mGeometry;
  ViewSources mSources;
  TargetView mView;
};

void rectify(const DeviceCalibrationZEL* callersDevice, const rectiline_options* options,
             const TargetMaps& maps, rectiline_rectification* callersResult) {
  if (callersResult != nullptr) requireStruct(callersResult, "result");
  if (maps.left.has_value() != maps.right.has_value()) {
    refuseArgument(maps.left ? "right" : "left", kNoValue,
                   "is null and the other map is not; give both, or none to learn their size");
  }
  const DeviceCalibrationZEL device = readDevice(callersDevice, 2);
  const std::uint64_t failedBefore = AR::Common::failedCheckCount();
  const Rectifier rectifier(device, readOptions(options));
  if (maps.left) rectifier.makeMaps(*maps.left, *maps.right);
  if (callersResult == nullptr) return;
  rectiline_rectification result = rectifier.result();
  if (maps.left) {
    setCoverage(*maps.left, *maps.right, result);
    warnOfShares(result);
  }
  result.failed_checks = AR::Common::failedCheckCount() - failedBefore;
  warnOfFailedChecks(result);
  writeStruct(callersResult, "result", result);
}

}  // namespace
}  // namespace rectiline::capi

std::int32_t rectiline_rectify(const DeviceCalibrationZEL* device, const rectiline_options* options,
                               const rectiline_map* left, const rectiline_map* right,
                               rectiline_rectification* result) {
  using namespace rectiline::capi;
  return guarded([&] {
    const TargetMaps maps = checkedTargets(left, right);
    orFillNotMade(maps, [&] { rectify(device, options, maps, result); });
  });
}
