// The state in which a call leaves the processor's vector registers. On x86 the instructions of
// callers without AVX become several times slower while the upper halves hold anything.

#include <gtest/gtest.h>

#include <array>
#include <cstdint>
#include <vector>

#include "AR/CV/Camera/Camera.h"
#include "TestPairs.h"
#include "testing/InstructionSets.h"
#include "testing/Lenses.h"

#if defined(__x86_64__)
#include <cpuid.h>

namespace {

using namespace rectiline::capi::testing;

/// Whether the processor tells which parts of its state are in use.
bool tellsWhatIsInUse() {
  unsigned a = 0, b = 0, c = 0, d = 0;
  return __get_cpuid(1, &a, &b, &c, &d) != 0 && (c & bit_OSXSAVE) != 0 && (c & bit_AVX) != 0 &&
         __get_cpuid_count(0xd, 1, &a, &b, &c, &d) != 0 && (a & 4U) != 0;
}

/// Whether the upper halves of the vector registers hold anything but zeros: of the 256-bit ones,
/// and of the first sixteen 512-bit ones.
bool upperHalvesAreInUse() {
  constexpr std::uint32_t kUpperHalves = 1U << 2 | 1U << 6;
  std::uint32_t inUse = 0, high = 0;
  __asm__ volatile("xgetbv" : "=a"(inUse), "=d"(high) : "c"(1));
  return (inUse & kUpperHalves) != 0;
}

void expectUpperHalvesClean(const char* after) {
  EXPECT_FALSE(upperHalvesAreInUse()) << after;
  __asm__ volatile("vzeroupper" ::: "memory");
}

/// The set-up alone: what comes after it in a call would clean up after it.
void setUpCamera(const IntrinsicCameraCalibrationZEL& record) {
  AR::CV::Camera<float> camera;
  ASSERT_TRUE(camera.init(CamModel::CameraModel<float>(record)));
  expectUpperHalvesClean("camera");
}

void useEveryKernel(DeviceCalibrationZEL device, std::int32_t projection) {
  auto options = sized<rectiline_options>();
  options.projection = projection;
  options.width = 96;
  options.height = 64;
  OwnMap left(96, 64), right(96, 64);
  expectOk(rectiline_rectify(&device, &options, &left.map, &right.map, nullptr));
  expectUpperHalvesClean("rectify");

  const auto width = static_cast<int>(device.cameras[0].intrinsics.width);
  const auto height = static_cast<int>(device.cameras[0].intrinsics.height);
  std::vector<std::uint8_t> pixels(static_cast<std::size_t>(width * height), 100), mapped(96 * 64);
  const std::vector<float> gains(pixels.size(), 1.1F);
  rectiline_image source{sizeof source, RECTILINE_GREY8, width, height, pixels.data(), 0};
  rectiline_image target{sizeof target, RECTILINE_GREY8, 96, 64, mapped.data(), 0};
  expectOk(rectiline_remap(&source, &left.map, &target));
  expectUpperHalvesClean("remap");
  expectOk(rectiline_correct(&source, gains.data(), 0));
  expectUpperHalvesClean("correct");

  auto wishes = sized<rectiline_plan_options>();
  wishes.format = RECTILINE_GREY8;
  wishes.source_width = width;
  wishes.source_height = height;
  for (const float* planGains : {static_cast<const float*>(nullptr), gains.data()}) {
    wishes.gains = planGains;
    rectiline_plan* plan = nullptr;
    expectOk(rectiline_plan_create(&left.map, &wishes, &plan));
    expectUpperHalvesClean("plan_create");
    expectOk(rectiline_plan_apply(plan, &source, &target));
    expectUpperHalvesClean("plan_apply");
    rectiline_plan_destroy(plan);
  }
}

TEST(VectorStateTest, NoCallLeavesAnythingInTheUpperHalves) {
  if (!tellsWhatIsInUse()) GTEST_SKIP() << "this processor does not tell what is in use";
  rectiline::testing::forEachInstructionSet([] {
    __asm__ volatile("vzeroupper" ::: "memory");
    for (const auto& lens : rectiline::testing::kLenses) {
      SCOPED_TRACE(lens.name);
      DeviceCalibrationZEL device = smallRadtan();
      for (CameraCalibrationZEL& camera : device.cameras) {
        if (&camera - device.cameras >= device.num_cameras) break;
        camera.intrinsics = rectiline::testing::intrinsicsOf(lens);
      }
      setUpCamera(device.cameras[0].intrinsics);
      for (const auto projection : {RECTILINE_PINHOLE, RECTILINE_LATITUDE_LONGITUDE}) {
        useEveryKernel(device, projection);
      }
    }
  });
}

}  // namespace

#endif
