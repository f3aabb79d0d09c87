#include "rectiline_check/Check.h"

#include <algorithm>
#include <iterator>
#include <limits>
#include <numbers>
#include <stdexcept>

#include "Pose.h"
#include "SameImage.h"
#include "Sentence.h"
#include "Trial.h"

namespace rectiline::check {
namespace {

constexpr double kUnknown = std::numeric_limits<double>::quiet_NaN();

CameraPair chooseCameras(const DeviceCalibrationZEL& device, const CheckOptions& options) {
  const int count = std::min<int>(device.num_cameras, RECTILINE_MAX_CAMERAS);
  for (const int camera : {options.leftCamera, options.rightCamera}) {
    if (camera < 0 || camera >= count) {
      throw std::invalid_argument("there is no camera " + std::to_string(camera) +
                                  ", the rig has " + std::to_string(count));
    }
  }
  if (options.leftCamera == options.rightCamera) {
    throw std::invalid_argument("the left and the right camera are the same one");
  }
  return {device.cameras[options.leftCamera], device.cameras[options.rightCamera]};
}

bool isSameEverywhere(const Pairs& pairs) {
  int same = 0;
  for (int i = 0; i < pairs.count(); ++i) same += isSameImage(pairs[i]) ? 1 : 0;
  return 2 * same > pairs.count();
}

/// Matches, and what a frame makes of them.
struct Measured {
  std::vector<RawMatch> matches;
  Rows rows{};
};

Measured measure(const Frame& frame, const Frame& searched, Search search, const Pairs& pairs,
                 const CheckOptions& options) {
  Measured result{matchPairs(searched, pairs, search, options, pairs.count())};
  result.rows = measureRows(frame, result.matches);
  return result;
}

/// The cameras with the right one turned, in the rectified frame, by what the rows ask for.
CameraPair turned(CameraPair cameras, const Frame& frame, const Rows& rows) {
  const double(&R)[9] = frame.rectification().right.R_camera_view;
  const double(&w)[3] = rows.turn;
  // The camera turns by w, so that what it sees turns back in its own frame.
  const QuaternionZEL back = rotationOf(-(R[0] * w[0] + R[1] * w[1] + R[2] * w[2]),
                                        -(R[3] * w[0] + R[4] * w[1] + R[5] * w[2]),
                                        -(R[6] * w[0] + R[7] * w[1] + R[8] * w[2]));
  cameras.right.pose = compose({back, {0, 0, 0}}, cameras.right.pose);
  return cameras;
}

/// The rig as given, measured with the matches that agree best. When they are not those along its
/// own rows, they are looked for far from the rows and then along the rows of the turned rig.
Measured measure(const Frame& frame, const CameraPair& cameras, const Pairs& pairs,
                 const CheckOptions& options) {
  Measured best = measure(frame, frame, Search::Narrow, pairs, options);
  if (best.rows.inliers >= kFewestMatches && isOk(best.rows)) return best;
  const auto keepBetter = [&](Measured other) {
    if (other.rows.close > best.rows.close) best = std::move(other);
  };
  keepBetter(measure(frame, frame, Search::Wide, pairs, options));
  if (const auto frameTurned = Frame::tryMake(turned(cameras, frame, best.rows))) {
    keepBetter(measure(frame, *frameTurned, Search::Narrow, pairs, options));
  }
  return best;
}

void setUnknown(CheckResult& result) {
  result.rowErrorMedian = result.rowErrorRms = kUnknown;
  result.positiveDisparities = result.rowErrorMedianUndone = kUnknown;
  std::fill(std::begin(result.turnDegrees), std::end(result.turnDegrees), kUnknown);
  std::fill(std::begin(result.turnSigma), std::end(result.turnSigma), kUnknown);
}

void setRows(CheckResult& result, const Rows& rows) {
  constexpr double kDegrees = 180 / std::numbers::pi;
  result.matches = rows.inliers;
  result.rowErrorMedian = rows.median;
  result.rowErrorRms = rows.rms;
  result.positiveDisparities = rows.forward;
  for (int i = 0; i < 3; ++i) {
    result.turnDegrees[i] = kDegrees * rows.turn[i];
    result.turnSigma[i] = kDegrees * rows.sigma[i];
  }
}

void setPairs(CheckResult& result, const std::vector<RawMatch>& matches, const Rows& rows) {
  constexpr Position kNowhere{kUnknown, kUnknown};
  for (std::size_t i = 0; i < matches.size(); ++i) {
    const RawMatch& m = matches[i];
    Match match{m.left, m.right, kNowhere, kNowhere, kUnknown, kUnknown, false};
    if (!rows.rows.empty()) {
      const Row& row = rows.rows[i];
      match = {m.left, m.right, row.left, row.right, row.error, row.disparity, row.inlier};
    }
    result.pairs[m.pair].push_back(match);
  }
}

void judge(CheckResult& result, const CameraPair& cameras, const Pairs& pairs,
           const CheckOptions& options) {
  const std::optional<Frame> given = Frame::tryMake(cameras);
  result.isRectified = given.has_value();
  Measured measured;
  if (given) {
    result.view = given->options();
    result.rectification = given->rectification();
    measured = measure(*given, cameras, pairs, options);
  }
  const bool enough = measured.rows.inliers >= kFewestMatches;
  if (enough && isOk(measured.rows)) {
    result.verdict = Verdict::Ok;
  } else if (auto mistake = explainByMistake(cameras, given, measured.matches, pairs, options)) {
    result.verdict = mistake->mistake;
    result.alternatives = mistake->alternatives;
    result.rowErrorMedianUndone = mistake->median;
    measured.matches = std::move(mistake->matches);
    if (given) measured.rows = measureRows(*given, measured.matches);
  } else {
    result.verdict = enough ? Verdict::Inaccurate : Verdict::TooFewMatches;
  }
  result.matches = static_cast<int>(measured.matches.size());
  if (given) setRows(result, measured.rows);
  setPairs(result, measured.matches, measured.rows);
}

}  // namespace

const char* verdictText(Verdict verdict) {
  static constexpr const char* kTexts[] = {
      "ok",
      "inaccurate",
      "swapped-images",
      "same-image",
      "swapped-cameras",
      "inverted-poses",
      "transposed-rotation",
      "negated-translation",
      "wrong-distortion",
      "too-few-matches",
  };
  static_assert(std::size(kTexts) == static_cast<std::size_t>(Verdict::TooFewMatches) + 1);
  return kTexts[static_cast<std::size_t>(verdict)];
}

CheckResult checkFetchedPairs(const DeviceCalibrationZEL& device, const CheckOptions& options,
                              const PairSource& source) {
  const CameraPair cameras = chooseCameras(device, options);
  Frame::requireCameras(cameras);
  const Pairs pairs(source, cameras);
  CheckResult result{};
  setUnknown(result);
  result.pairs.resize(source.count);
  if (isSameEverywhere(pairs)) {
    result.verdict = Verdict::SameImage;
  } else {
    judge(result, cameras, pairs, options);
  }
  result.sentence = describe(result, cameras);
  return result;
}

CheckResult checkPairs(const DeviceCalibrationZEL& device, const CheckOptions& options,
                       std::span<const PairImages> pairs) {
  const PairSource source{pairs.size(), [pairs](std::size_t i) { return pairs[i]; }};
  return checkFetchedPairs(device, options, source);
}

}  // namespace rectiline::check
