// Plans through the C interface; what they compute is tested beside the kernel.

#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <cstdint>
#include <cstdlib>
#include <functional>
#include <memory>
#include <vector>

#include "Calls.h"
#include "rectiline/rectiline.h"

namespace {

using rectiline::capi::testing::expectOk;
using rectiline::capi::testing::expectRefusal;

constexpr int kSourceWidth = 90, kSourceHeight = 70, kStride = 96;
constexpr int kWidth = 61, kHeight = 43;

struct Destroy {
  void operator()(rectiline_plan* plan) const { rectiline_plan_destroy(plan); }
};
using Plan = std::unique_ptr<rectiline_plan, Destroy>;

/// Arguments that are all in order.
struct Arguments {
  explicit Arguments(int shade = 0) {
    for (int i = 0; i < kStride * kSourceHeight; ++i) {
      pixels[i] = static_cast<std::uint8_t>(60 + shade + 40 * std::sin(i % kStride / 7.0) +
                                            i / kStride / 3);
    }
    for (int i = 0; i < kWidth * kHeight; ++i) {
      x[i] = 1.4F * static_cast<float>(i % kWidth) + 3.2F;
      y[i] = 1.6F * static_cast<float>(i / kWidth) - 1.3F;
    }
    for (int i = 0; i < kSourceWidth * kSourceHeight; ++i) {
      gains[i] = 1 + 0.003F * static_cast<float>(i % kSourceWidth);
    }
    map = {sizeof map, kWidth, kHeight, 0, x.data(), y.data(), 0, nullptr, 0};
    source = {sizeof source, RECTILINE_GREY8, kSourceWidth, kSourceHeight, pixels.data(), kStride};
    target = {sizeof target, RECTILINE_GREY8, kWidth, kHeight, mapped.data(), 0};
    options.struct_size = sizeof options;
    options.format = RECTILINE_GREY8;
    options.source_width = kSourceWidth;
    options.source_height = kSourceHeight;
    options.source_stride = kStride;
  }

  std::int32_t create() {
    rectiline_plan* made = nullptr;
    const std::int32_t status = rectiline_plan_create(&map, &options, &made);
    plan.reset(made);
    return status;
  }
  std::int32_t apply() { return rectiline_plan_apply(plan.get(), &source, &target); }

  std::vector<std::uint8_t> pixels = std::vector<std::uint8_t>(kStride * kSourceHeight);
  std::vector<std::uint8_t> mapped = std::vector<std::uint8_t>(kWidth * kHeight, 6);
  std::vector<float> x = std::vector<float>(kWidth * kHeight), y = x;
  std::vector<float> gains = std::vector<float>(kSourceWidth * kSourceHeight);
  rectiline_map map;
  rectiline_image source, target;
  rectiline_plan_options options{};
  Plan plan;
};

int greatestDifference(const std::vector<std::uint8_t>& a, const std::vector<std::uint8_t>& b) {
  int greatest = 0;
  for (std::size_t i = 0; i < a.size(); ++i) greatest = std::max(greatest, std::abs(a[i] - b[i]));
  return greatest;
}

TEST(PlansTest, APlanIsWithinOneLevelOfItsMapWithAndWithoutGains) {
  for (const bool hasGains : {false, true}) {
    Arguments a;
    const std::vector<std::uint8_t> untouched = a.pixels;
    a.options.gains = hasGains ? a.gains.data() : nullptr;
    expectOk(a.create());
    std::fill(a.gains.begin(), a.gains.end(), 0.0F);  // not needed any more
    expectOk(a.apply());
    EXPECT_EQ(a.pixels, untouched);

    Arguments b;
    if (hasGains) expectOk(rectiline_correct(&b.source, b.gains.data(), 0));
    expectOk(rectiline_remap(&b.source, &b.map, &b.target));
    EXPECT_LE(greatestDifference(a.mapped, b.mapped), 1);
    EXPECT_GT(greatestDifference(a.mapped, std::vector<std::uint8_t>(a.mapped.size())), 90);
  }
}

TEST(PlansTest, SeveralImagesAtOnceAreWhatEachIsAlone) {
  Arguments left, right(50);
  right.options.border[0] = 77;
  expectOk(left.create());
  expectOk(right.create());
  expectOk(left.apply());
  expectOk(right.apply());
  const std::vector<std::uint8_t> alone[] = {left.mapped, right.mapped};
  EXPECT_EQ(alone[0][0], 0);
  EXPECT_EQ(alone[1][0], 77) << "the border";
  std::fill(left.mapped.begin(), left.mapped.end(), 1);
  std::fill(right.mapped.begin(), right.mapped.end(), 1);
  const rectiline_plan* const plans[] = {left.plan.get(), right.plan.get()};
  const rectiline_image* const sources[] = {&left.source, &right.source};
  const rectiline_image* const targets[] = {&left.target, &right.target};
  expectOk(rectiline_plan_apply_all(2, plans, sources, targets));
  EXPECT_EQ(left.mapped, alone[0]);
  EXPECT_EQ(right.mapped, alone[1]);

  const rectiline_image* const same[] = {&left.target, &left.target};
  expectRefusal(rectiline_plan_apply_all(2, plans, sources, same), RECTILINE_BAD_ARGUMENT,
                "targets.data");
  expectRefusal(rectiline_plan_apply_all(17, plans, sources, targets), RECTILINE_BAD_ARGUMENT, "n");
  expectRefusal(rectiline_plan_apply_all(2, plans, sources, nullptr), RECTILINE_BAD_ARGUMENT,
                "targets");
  expectOk(rectiline_plan_apply_all(0, nullptr, nullptr, nullptr));
}

TEST(PlansTest, SizeIsAboutFourBytesAPixel) {
  Arguments a;
  expectOk(a.create());
  std::size_t bytes = 0;
  expectOk(rectiline_plan_size(a.plan.get(), &bytes));
  EXPECT_GT(bytes, 4 * a.mapped.size());
  EXPECT_LT(bytes, 6 * a.mapped.size());
  rectiline_plan_destroy(nullptr);
}

struct Refused {
  const char* field;
  std::function<void(Arguments&)> spoil;
};

TEST(PlansTest, CreationNamesWhatItRefuses) {
  const Refused cases[] = {
      {"map.width", [](auto& a) { a.map.width = 0; }},
      {"map.x", [](auto& a) { a.map.x = nullptr; }},
      {"options.struct_size", [](auto& a) { a.options.struct_size = 8; }},
      {"options.format", [](auto& a) { a.options.format = RECTILINE_GREY16; }},
      {"options.format", [](auto& a) { a.options.format = 0; }},
      {"options.source_width", [](auto& a) { a.options.source_width = -1; }},
      {"options.source_height", [](auto& a) { a.options.source_height = 0; }},
      {"options.source_stride", [](auto& a) { a.options.source_stride = kSourceWidth - 1; }},
      {"options.source_stride", [](auto& a) { a.options.source_stride = SIZE_MAX / 8; }},
      {"options.gains",
       [](auto& a) {
         a.options.gains = a.gains.data();
         a.options.gains_stride = 4 * kSourceWidth - 4;
       }},
      {"options.reserved", [](auto& a) { a.options.reserved[3] = 1; }},
  };
  for (const Refused& c : cases) {
    SCOPED_TRACE(c.field);
    Arguments a;
    c.spoil(a);
    expectRefusal(a.create(), RECTILINE_BAD_ARGUMENT, c.field);
    EXPECT_EQ(a.plan, nullptr);
  }
  Arguments a;
  expectRefusal(rectiline_plan_create(&a.map, nullptr, nullptr), RECTILINE_BAD_ARGUMENT, "plan");
}

TEST(PlansTest, ApplicationNamesWhatItRefuses) {
  const Refused cases[] = {
      {"plan", [](auto& a) { a.plan.reset(); }},
      {"source.format", [](auto& a) { a.source.format = RECTILINE_RGB8, a.source.width = 30; }},
      {"source.width", [](auto& a) { a.source.width = kSourceWidth - 1; }},
      {"source.height", [](auto& a) { a.source.height = kSourceHeight - 1; }},
      {"source.stride", [](auto& a) { a.source.stride = 0; }},
      {"source.data", [](auto& a) { a.source.data = nullptr; }},
      {"target.width", [](auto& a) { a.target.width = kWidth - 1; }},
      {"target.height", [](auto& a) { a.target.height = kHeight - 1; }},
      {"target.data", [](auto& a) { a.target.data = a.pixels.data() + 100; }},
  };
  for (const Refused& c : cases) {
    SCOPED_TRACE(c.field);
    Arguments a;
    expectOk(a.create());
    c.spoil(a);
    expectRefusal(a.apply(), RECTILINE_BAD_ARGUMENT, c.field);
    EXPECT_EQ(a.mapped, std::vector<std::uint8_t>(kWidth * kHeight, 6)) << "untouched";
  }
}

}  // namespace
