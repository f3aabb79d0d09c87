// Images by rectiline/rectiline.h: remapped at once and by plan, corrected; every instruction set
// gives the same bytes.

#include <hwy/targets.h>

#include <memory>
#include <vector>

#include "Interface.h"
#include "testing/InstructionSets.h"

namespace {

using namespace rectiline::fuzz;

constexpr std::int32_t kFormats[] = {RECTILINE_GREY8, RECTILINE_RGB8, RECTILINE_RGBA8,
                                     RECTILINE_GREY16};

struct PixelSize {
  int width;
  int height;
};

int bytesPerPixel(int format) { return format == RECTILINE_GREY16 ? 2 : format; }

/// An image of noise that the input begins.
struct CallerImage {
  CallerImage(FuzzInput& input, int format, int width, int height)
      : rows(width * bytesPerPixel(format), height, 2 * CallerMap::gapFrom(input),
             CallerMap::behindFrom(input)),
        image(input, {0, input.once(20) ? input.from(-1, 17) : format, width, height, rows.data(),
                      rows.stride()}) {
    std::uint32_t noise = input.any<std::uint32_t>();
    rows.forEach([&](int x, int y) {
      noise = noise * 1664525 + 1013904223;
      rows.set(x, y, static_cast<std::uint8_t>(noise >> 24));
    });
  }

  [[nodiscard]] std::vector<std::uint8_t> pixels() const {
    std::vector<std::uint8_t> all;
    rows.forEach([&](int x, int y) { all.push_back(rows.at(x, y)); });
    return all;
  }

  CallerRows<std::uint8_t> rows;
  CallerStruct<rectiline_image> image;
};

/// A smooth map, here and there with a position that is none.
void fillMap(FuzzInput& input, CallerMap& map, PixelSize source, PixelSize target) {
  double a[6];
  for (double& v : a) v = input.between(-2, 2);
  map.x.forEach([&](int x, int y) {
    map.x.set(x, y, static_cast<float>(source.width * a[0] + a[1] * x + a[2] * y));
    map.y.set(x, y, static_cast<float>(source.height * a[3] + a[4] * x + a[5] * y));
  });
  for (int i = input.from(0, 20); i > 0; --i) {
    CallerRows<float>& plane = input.flip() ? map.x : map.y;
    plane.set(input.from(0, target.width - 1), input.from(0, target.height - 1),
              static_cast<float>(input.once(3) ? input.hostileNumber() : input.between(-2, 130)));
  }
}

using Plan = std::unique_ptr<rectiline_plan, decltype(&rectiline_plan_destroy)>;

Plan makePlan(FuzzInput& input, const CallerMap& map, const CallerImage& source, int format,
              PixelSize size) {
  CallerRows<float> gains(input, size.width, size.height);
  gains.forEach([&](int x, int y) { gains.set(x, y, 1 + static_cast<float>(x) / 64); });
  if (input.once(3)) gains.set(0, 0, static_cast<float>(input.hostileNumber()));
  rectiline_plan_options options{};
  options.format = format;
  options.source_width = size.width;
  options.source_height = size.height;
  options.source_stride = source.rows.stride();
  if (input.flip()) options.gains = gains.data();
  // Not with gains, which are of the size that the options say.
  if (options.gains == nullptr && input.once(4)) input.spoil(options), options.gains = nullptr;
  options.gains_stride = gains.stride();
  rectiline_plan* plan = nullptr;
  if (!succeeded(rectiline_plan_create(map.map.get(), CallerStruct(input, options).get(), &plan))) {
    FUZZ_EXPECT(plan == nullptr);
  }
  return {plan, rectiline_plan_destroy};
}

void remap(FuzzInput& input) {
  const int width = input.from(1, 130), height = input.from(1, 40);
  const int sourceWidth = input.from(1, 130), sourceHeight = input.from(1, 60);
  const std::int32_t format = input.oneOf(kFormats);
  CallerMap map(input, width, height);
  fillMap(input, map, {sourceWidth, sourceHeight}, {width, height});
  const CallerImage source(input, format, sourceWidth, sourceHeight);
  const CallerImage target(input, format, width, height);
  const std::vector<std::uint8_t> before = source.pixels();
  const Plan plan = makePlan(input, map, source, format, {sourceWidth, sourceHeight});
  const bool viaPlan = plan != nullptr && input.flip();
  std::vector<std::uint8_t> first;
  rectiline::testing::forEachInstructionSet([&] {
    const bool done =
        succeeded(viaPlan ? rectiline_plan_apply(plan.get(), source.image.get(), target.image.get())
                          : rectiline_remap(source.image.get(), map.map.get(), target.image.get()));
    if (!done) return;
    if (first.empty()) first = target.pixels();
    FUZZ_EXPECT(target.pixels() == first);
  });
  FUZZ_EXPECT(source.pixels() == before);
}

void correct(FuzzInput& input) {
  const int width = input.from(1, 130), height = input.from(1, 40);
  const CallerImage image(input, input.oneOf(kFormats), width, height);
  CallerRows<float> gains(input, width, height);
  gains.forEach([&](int x, int y) { gains.set(x, y, 0.5F + static_cast<float>(x + y) / 64); });
  for (int i = input.from(0, 20); i > 0; --i) {
    gains.set(input.from(0, width - 1), input.from(0, height - 1),
              static_cast<float>(input.hostileNumber()));
  }
  (void)succeeded(rectiline_correct(image.image.get(), gains.data(), gains.stride()));
  CallerRows<float> fallOff(input, width, height);
  (void)succeeded(rectiline_vignetting_gains(input.once(10) ? input.any<std::int32_t>() % 2 : width,
                                             height, fallOff.data(), fallOff.stride()));
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  FuzzInput input(data, size);
  input.once(4) ? correct(input) : remap(input);
  return 0;
}
