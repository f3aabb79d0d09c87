#include "PatchSearch.h"

#include <algorithm>
#include <cmath>
#include <cstdlib>
#include <numeric>

namespace rectiline::check {
namespace {

constexpr int kRadius = kPatchRadius;
constexpr int kSide = 2 * kRadius + 1;
constexpr int kPixels = kSide * kSide;
constexpr float kMinDeviation = 3 * kSide;  // 3 grey levels rms: less is noise

/// The pixels of a patch less their mean, of unit length; nothing for a flat one.
std::optional<std::vector<float>> normalisedPatch(const Image& image, const Corner& c) {
  std::vector<float> patch;
  patch.reserve(kPixels);
  for (int y = c.y - kRadius; y <= c.y + kRadius; ++y) {
    const float* row = &image.grey[image.index(c.x - kRadius, y)];
    patch.insert(patch.end(), row, row + kSide);
  }
  const float mean = std::accumulate(patch.begin(), patch.end(), 0.F) / kPixels;
  for (float& value : patch) value -= mean;
  const float deviation =
      std::sqrt(std::inner_product(patch.begin(), patch.end(), patch.begin(), 0.F));
  if (!(deviation > kMinDeviation)) return std::nullopt;
  for (float& value : patch) value /= deviation;
  return patch;
}

}  // namespace

float correlate(const Image& a, const Corner& inA, const Image& b, const Corner& inB) {
  const auto p = normalisedPatch(a, inA);
  const auto q = normalisedPatch(b, inB);
  if (!p || !q) return 0;
  return std::inner_product(p->begin(), p->end(), q->begin(), 0.F);
}

PatchSearch::PatchSearch(const Image& image) : mImage(image), mInverseDeviation(image.size()) {
  const std::vector<float> seen(image.seen.begin(), image.seen.end());
  std::vector<float> squares(image.grey);
  for (float& value : squares) value *= value;
  const auto sums = [&](const std::vector<float>& values) {
    return windowSums(values, image.width, image.height, kRadius);
  };
  const std::vector<float> count = sums(seen);
  const std::vector<float> sum = sums(image.grey);
  const std::vector<float> square = sums(squares);
  for (std::size_t i = 0; i < count.size(); ++i) {
    const float deviation = std::sqrt(std::max(0.F, square[i] - sum[i] * sum[i] / kPixels));
    if (count[i] == kPixels && deviation > kMinDeviation) mInverseDeviation[i] = 1 / deviation;
  }
}

void PatchSearch::scoreRow(const std::vector<float>& patch, int y, float* scores) const {
  const int last = mImage.width - kRadius;
  std::fill(scores, scores + mImage.width, 0.F);
  for (int j = 0; j < kSide; ++j) {
    const float* weights = &patch[static_cast<std::size_t>(j) * kSide];
    const float* row = &mImage.grey[mImage.index(0, y + j - kRadius)];
    for (int x = kRadius; x < last; ++x) {
      float sum = 0;
      for (int i = 0; i < kSide; ++i) sum += weights[i] * row[x - kRadius + i];
      scores[x] += sum;
    }
  }
  const float* inverse = &mInverseDeviation[mImage.index(0, y)];
  for (int x = kRadius; x < last; ++x) scores[x] *= inverse[x];
}

std::optional<PatchSearch::Found> PatchSearch::tryFind(const Image& from, const Corner& corner,
                                                       const Band& band) const {
  constexpr float kMinScore = 0.8F;
  constexpr float kMinLead = 0.02F;  // over the best place elsewhere
  constexpr int kElsewhere = 3;      // pixels away in one direction
  const auto patch = normalisedPatch(from, corner);
  const int first = std::max(corner.y - band.rows, kRadius);
  const int rows = std::min(corner.y + band.rows, mImage.height - 1 - kRadius) - first + 1;
  if (!patch || rows <= 0) return std::nullopt;
  std::vector<float> scores(static_cast<std::size_t>(rows) * mImage.width);
  for (int row = 0; row < rows; ++row) {
    scoreRow(*patch, first + row, &scores[static_cast<std::size_t>(row) * mImage.width]);
  }
  const auto best = std::max_element(scores.begin(), scores.end());
  const int at = static_cast<int>(best - scores.begin());
  const Found found{{at % mImage.width, first + at / mImage.width}, *best};
  if (!(found.score > kMinScore)) return std::nullopt;
  for (int i = 0; i < static_cast<int>(scores.size()); ++i) {
    const bool near = std::abs(i % mImage.width - found.place.x) < kElsewhere &&
                      std::abs(first + i / mImage.width - found.place.y) < kElsewhere;
    if (!near && scores[i] > found.score - kMinLead) return std::nullopt;
  }
  return found;
}

}  // namespace rectiline::check
