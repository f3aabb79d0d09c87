#pragma once

#include <optional>
#include <vector>

#include "Corners.h"
#include "Image.h"

namespace rectiline::check {

constexpr int kPatchRadius = 5;  // a patch has 11 x 11 pixels

/// Where an image may hold a patch: so many rows above and below its own, any column.
struct Band {
  int rows;
};

/// How alike two patches are, from -1 to 1; 0 when one of them is flat.
float correlate(const Image& a, const Corner& inA, const Image& b, const Corner& inB);

/// Finds patches of one image in another by zero-mean normalised correlation.
class PatchSearch {
 public:
  struct Found {
    Corner place;
    float score;  // 1: equal but for brightness and contrast
  };

  /// Keeps a reference to the image.
  explicit PatchSearch(const Image& image);

  /// The best place for the patch about `corner` of `from`, at least kPatchRadius inside; nothing
  /// when it is not good, or when another place is nearly as good.
  [[nodiscard]] std::optional<Found> tryFind(const Image& from, const Corner& corner,
                                             const Band& band) const;

 private:
  void scoreRow(const std::vector<float>& patch, int y, float* scores) const;

  const Image& mImage;
  std::vector<float> mInverseDeviation;  // of each window from its mean; 0: not to be compared
};

}  // namespace rectiline::check
