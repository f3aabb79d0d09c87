#pragma once

#include <cstdint>
#include <vector>

#include "Frame.h"
#include "Image.h"
#include "Matcher.h"

namespace rectiline::check {

/// Rectifies the images of two cameras and finds what both show.
class Rectifier {
 public:
  explicit Rectifier(const Frame& frame);

  /// Points found in both images of a pair, as they lie in the images that were given.
  [[nodiscard]] std::vector<RawMatch> match(const PairImages& images, int pair, Search search,
                                            int maxCorners);

 private:
  /// A map whose target's rows lie along the baseline: of a vertical pair it is transposed.
  struct Map {
    int width;
    int height;
    std::vector<float> x;
    std::vector<float> y;
    std::vector<std::uint8_t> reasons;

    Map(int w, int h);
    [[nodiscard]] rectiline_map view();
    void transpose();
  };

  static Image rectified(const GreyView& source, Map& map);

  Frame mFrame;
  Map mLeft;
  Map mRight;
};

}  // namespace rectiline::check
