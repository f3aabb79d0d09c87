#include "Trial.h"

#include <algorithm>
#include <cmath>
#include <numbers>

#include "LensGuesses.h"
#include "Mistakes.h"
#include "Rectifier.h"

namespace rectiline::check {
namespace {

/// A mistake that may have been made, and how well the images agree without it.
struct Trial {
  Verdict mistake;
  Frame frame;
  Rows rows;
};

std::vector<Trial> makeTrials(const CameraPair& cameras, const std::optional<Frame>& given,
                              std::span<const RawMatch> matches) {
  const bool rightFirst = given && given->rectification().disparity_sign < 0;
  std::vector<Undone> undone = undoMistakes(cameras, rightFirst);
  for (const CameraPair& fitted : fitLenses(cameras, matches)) {
    undone.push_back({Verdict::WrongDistortion, fitted});
  }
  std::vector<Trial> trials;
  for (const Undone& u : undone) {
    if (auto frame = Frame::tryMake(u.cameras)) trials.push_back({u.mistake, *frame, {}});
  }
  return trials;
}

/// Whether the matches have positive disparities, but for a few that are wrong.
bool isForward(const Rows& rows) { return rows.forward >= 0.75; }

/// Whether most matches agree to a pixel, in front of the cameras.
bool explains(const Rows& rows) {
  constexpr double kMaxMedian = 1;  // pixels
  return rows.inliers >= kFewestMatches && rows.inliers * 2 >= std::ssize(rows.rows) &&
         rows.median <= kMaxMedian && isForward(rows);
}

/// The trial whose rectification lets find the most points that it explains.
const Trial* bestFinder(const std::vector<Trial>& trials, const Pairs& pairs,
                        const CheckOptions& options) {
  constexpr int kPairs = 4;  // enough to tell
  const Trial* best = nullptr;
  int most = 0;
  for (const Trial& trial : trials) {
    const auto found = matchPairs(trial.frame, pairs, Search::Narrow, options, kPairs);
    const Rows rows = measureRows(trial.frame, found);
    if (!explains(rows) || rows.close <= most) continue;
    most = rows.close;
    best = &trial;
  }
  return best;
}

/// Whether a trial makes the rig right, or at least clearly better than it was as given and about
/// as good as turning its right camera would: else the calibration is merely inaccurate.
bool isBetter(const Rows& trial, const Rows& given) {
  constexpr double kMuchBetter = 0.5;  // of the given rig's median
  constexpr double kTurned = 1.5;      // times what the turn leaves, and
  constexpr double kSmall = 0.1;       // pixels more: a difference that says nothing
  if (isOk(trial)) return !isOk(given);
  const bool turnIsBetter = isForward(given) && trial.median > kTurned * given.residual + kSmall;
  return !turnIsBetter && !(explains(given) && trial.median > kMuchBetter * given.median);
}

/// The trials that explain the matches better than the rig as given.
std::vector<Trial> explaining(std::vector<Trial> trials, const std::optional<Frame>& given,
                              std::span<const RawMatch> matches) {
  const Rows asGiven = given ? measureRows(*given, matches) : Rows{};
  std::vector<Trial> able;
  for (Trial& trial : trials) {
    trial.rows = measureRows(trial.frame, matches);
    if (explains(trial.rows) && isBetter(trial.rows, asGiven)) able.push_back(trial);
  }
  return able;
}

/// The first of those that do equally well, since they are listed from usual to unusual, and the
/// others that do nearly as well.
void nameMistake(const std::vector<Trial>& able, Explanation& result) {
  constexpr double kEqual = 0.01;  // pixels
  constexpr double kNearly = 1.5;  // times the best median, and
  constexpr double kSmall = 0.1;   // pixels more: a difference that says nothing
  double best = able.front().rows.median;
  for (const Trial& trial : able) best = std::min(best, trial.rows.median);
  const auto named = std::find_if(able.begin(), able.end(), [&](const Trial& trial) {
    return trial.rows.median <= best + kEqual;
  });
  result.mistake = named->mistake;
  result.median = named->rows.median;
  std::vector<Verdict>& others = result.alternatives;
  for (const Trial& trial : able) {
    const bool listed = trial.mistake == result.mistake ||
                        std::find(others.begin(), others.end(), trial.mistake) != others.end();
    if (!listed && trial.rows.median <= kNearly * best + kSmall) others.push_back(trial.mistake);
  }
}

}  // namespace

std::vector<RawMatch> matchPairs(const Frame& frame, const Pairs& pairs, Search search,
                                 const CheckOptions& options, int maxPairs) {
  Rectifier rectifier(frame);
  const int total = pairs.count();
  const int count = std::min(maxPairs, total);
  std::vector<RawMatch> matches;
  for (int i = 0; i < count; ++i) {
    const int pair = i * total / count;  // spread over all
    const auto found = rectifier.match(pairs[pair], pair, search, options.maxCorners);
    matches.insert(matches.end(), found.begin(), found.end());
  }
  return matches;
}

bool isOk(const Rows& rows) {
  constexpr double kMaxMedian = 0.5;  // pixels
  constexpr double kMaxTurn = 0.1 * std::numbers::pi / 180;
  // Standard errors. They are too small, since matches near each other share what the lens model
  // leaves: with 3 of them 2 of 29 single pairs with right calibrations looked turned, with 5 none.
  constexpr double kSignificant = 5;
  if (!(rows.median <= kMaxMedian) || !isForward(rows)) return false;
  for (int i = 0; i < 3; ++i) {
    const double turn = std::fabs(rows.turn[i]);
    if (turn > kMaxTurn && turn > kSignificant * rows.sigma[i]) return false;
  }
  return true;
}

std::optional<Explanation> explainByMistake(const CameraPair& cameras,
                                            const std::optional<Frame>& given,
                                            std::span<const RawMatch> matches, const Pairs& pairs,
                                            const CheckOptions& options) {
  std::vector<Trial> trials = makeTrials(cameras, given, matches);
  const Trial* const finder = bestFinder(trials, pairs, options);
  if (!finder) return std::nullopt;
  Explanation result{};
  result.matches = matchPairs(finder->frame, pairs, Search::Narrow, options, pairs.count());
  const std::vector<Trial> able = explaining(std::move(trials), given, result.matches);
  if (able.empty()) return std::nullopt;
  nameMistake(able, result);
  return result;
}

}  // namespace rectiline::check
