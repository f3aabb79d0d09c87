// Takes an image through a map a number of times, by the map or by a plan made of it, and prints a
// pixel: the program whose instructions are counted.
// usage: remap_images maps|plan|make upright|turned TIMES

#include <cstdio>
#include <cstdlib>
#include <string_view>

#include "CountedImage.h"
#include "Kel/RemapPlan.h"
#include "Kel/kelRemapu8.h"

int main(int argc, char** argv) {
  if (argc != 4) return 2;
  constexpr int kWidth = CountedImage::kWidth, kHeight = CountedImage::kHeight;
  const std::string_view what = argv[1];
  CountedImage image(argv[2]);
  const kel::ConstMap map{image.X.data(), image.Y.data(), kWidth, kHeight,
                          kWidth * static_cast<std::ptrdiff_t>(sizeof(float))};
  const kel::PlanLayout layout{kel::PixelFormat::Grey8, kWidth, kHeight, kWidth};
  auto plan = kel::RemapPlan::make(map, layout);
  for (int i = 0; i < std::atoi(argv[3]); ++i) {
    if (what == "make") plan = kel::RemapPlan::make(map, layout);
    if (what == "plan") plan->apply(image.source.data(), image.target.data(), kWidth);
    if (what == "maps") {
      kelRemapu8(image.source.data(), kWidth, kHeight, kWidth, image.target.data(), kWidth, kHeight,
                 kWidth, image.X.data(), image.Y.data(), static_cast<int>(map.stride), 1);
    }
  }
  std::printf("%d\n", image.target[kWidth * kHeight / 2 + kWidth / 2]);
}
