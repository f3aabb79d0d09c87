// Vignetting and remap in one call.

#include <memory>
#include <opencv2/core.hpp>
#include <stdexcept>
#include <vector>

#include "Agreement.h"
#include "Measurement.h"
#include "RemapCase.h"
#include "Subjects.h"
#include "VIO/StereoRectifyWrapper.h"

namespace rectiline::bench {
namespace {

/// The records of one image's call. The gains are 1, so that the source, which is corrected in
/// place, is the same for every call.
class ApplyCase {
 public:
  explicit ApplyCase(const Size& size)
      : mRemap(size), mGains(size.height, size.width, CV_32FC1, cv::Scalar(1)) {}

  [[nodiscard]] const RemapCase& remapCase() const { return mRemap; }
  cv::Mat& target() { return mRemap.target; }

  void apply() { call(mRemap.size); }

  /// A target without pixels leaves the gains as all that there is to do.
  void applyGainsOnly() { call({0, 0}); }

  /// OpenCV's way: the product rounded where ours is cut, and into an image of its own.
  void applyPeer() {
    multiplyPeer();
    cv::swap(mRemap.source, mCorrected);
    remapPeerFloat(mRemap);
    cv::swap(mRemap.source, mCorrected);
  }
  void multiplyPeer() { cv::multiply(mRemap.source, mGains, mCorrected, 1, CV_8U); }

  void copyOnly() { mRemap.source.copyTo(mCorrected); }

 private:
  void call(const Size& targetSize) {
    const auto unsignedSize = [](int size) { return static_cast<std::uint32_t>(size); };
    const std::uint32_t width = unsignedSize(mRemap.size.width);
    const std::uint32_t height = unsignedSize(mRemap.size.height);
    const std::uint32_t w = unsignedSize(targetSize.width);
    const std::uint32_t h = unsignedSize(targetSize.height);
    const ::Image source{mRemap.source.data, width, height, 0};
    ::Image target{mRemap.target.data, w, h, 0};
    UndistortionMap map{mRemap.maps.X.ptr<float>(), w, h, mRemap.maps.Y.ptr<float>(), w, h};
    VignettingMap gains{mGains.ptr<float>(), width, height};
    const CalibrationMap maps{&map, nullptr, &gains, 1};
    if (ApplyCalibrationMap(&source, 1, maps, &target) != 0) {
      throw std::runtime_error("ApplyCalibrationMap refused");
    }
  }

  RemapCase mRemap;
  cv::Mat mGains;
  cv::Mat mCorrected;
};

std::string nameOf(const Size& size, const std::string& what, const std::string& whose) {
  return "apply/" + text(size) + "/" + what + "/" + whose;
}

}  // namespace

void checkApply(const Size& size) {
  ApplyCase c(size);
  c.applyPeer();
  const cv::Mat reference = c.target().clone();
  for (const std::int64_t set : vectorInstructionSets()) {
    const ForcedInstructionSet forced(set);
    c.target().setTo(0);
    c.apply();
    requireSameImage(nameOf(size, "gains+remap", instructionSetName(set)), c.target(), reference,
                     c.remapCase().maps);
  }
}

void addApply(const Size& size) {
  const auto c = std::make_shared<ApplyCase>(size);
  const auto addOne = [&](const std::string& what, const std::string& whose,
                          void (ApplyCase::*method)(), std::int64_t set = kWidest) {
    add({nameOf(size, what, whose), size, [c, method] { ((*c).*method)(); }, set});
  };
  for (const std::int64_t set : vectorInstructionSets()) {
    addOne("gains+remap", instructionSetName(set), &ApplyCase::apply, set);
    addOne("gains", instructionSetName(set), &ApplyCase::applyGainsOnly, set);
  }
  addOne("gains+remap", "OpenCV", &ApplyCase::applyPeer);
  addOne("gains", "OpenCV", &ApplyCase::multiplyPeer);
  addOne("gains", "copy_limit", &ApplyCase::copyOnly);
}

}  // namespace rectiline::bench
