// The vector form of the map kernel against its plain form: every instruction set, every model,
// every small size, and jobs that nobody would ask for.

#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <cstdio>
#include <limits>
#include <vector>

#include "AR/CV/Camera/PinholeModel.h"
#include "AR/CV/CameraCalibration/UndistortionDerivatives.h"
#include "AR/CV/Map/MapJob.h"
#include "AR/Math/SO3.h"
#include "LibraryCamera.h"
#include "MapAgreement.h"
#include "testing/InstructionSets.h"

namespace rectiline::acceptance {
namespace {

using AR::CV::Camera;
using AR::CV::DepthRule;
using AR::CV::MapKernel;
using Mat3 = AR::Math::Mat<float, 3, 3>;
using Vec3 = AR::Math::Vec<float, 3>;

Mat3 turned(float x, float y, float z) { return AR::Math::SO3<float>::exp({x, y, z}).matrix(); }

Camera<float> pinhole(float width, float height, float focal) {
  Camera<float> camera;
  EXPECT_TRUE(camera.init(
      AR::CV::pinholeModel<float>({width, height}, {width / 2, height / 2}, {focal, focal})));
  return camera;
}

void expectVectorFormsEqual(const Job& job, int width, int height) {
  forEachVectorForm(job, width, height, [](const Maps& plain, const Maps& maps) {
    for (std::size_t i = 0; i < plain.count(); ++i) {
      ASSERT_EQ(maps.reasons[i], plain.reasons[i]) << i;
      ASSERT_EQ(maps.X[i], plain.X[i]) << i;
      ASSERT_EQ(maps.Y[i], plain.Y[i]) << i;
    }
    ASSERT_EQ(maps.report.noInverse, plain.report.noInverse);
    ASSERT_EQ(maps.report.zeroDepth, plain.report.zeroDepth);
  });
}

/// Prints how far the vector forms of a test were from the plain one, in pixels.
class VectorMap : public ::testing::Test {
 protected:
  void TearDown() override {
    if (mDifference.tested == 0) return;
    std::printf("%d positions, difference at most %.2g px\n", mDifference.tested,
                mDifference.worst);
  }

  void expectAgreement(const Job& job, const Maps& plain, const Maps& maps) {
    ASSERT_EQ(disagreement(job, plain, maps), "");
    for (std::size_t i = 0; i < maps.count(); ++i) {
      if (maps.reasons[i] != plain.reasons[i] || !plain.hasSource(i)) continue;
      mDifference.add(std::hypot(maps.X[i] - plain.X[i], maps.Y[i] - plain.Y[i]));
    }
  }

  void expectVectorFormsAgree(const Job& job, int width, int height) {
    forEachVectorForm(job, width, height,
                      [&](const Maps& plain, Maps& maps) { expectAgreement(job, plain, maps); });
  }

 private:
  Measured mDifference;
};

TEST_F(VectorMap, AgreesForEveryModelInBothDirections) {
  for (const Lens& lens : kLenses) {
    SCOPED_TRACE(lens.name);
    const Camera<float> camera = makeCamera<float>(intrinsicsOf(lens));
    const Camera<float> target = pinhole(640, 480, 330);
    for (const Mat3& R : {turned(0.01F, -0.02F, 0.03F), turned(0.2F, 1.1F, -0.4F)}) {
      expectVectorFormsAgree({camera, target, R, DepthRule::InFront, false}, 640, 40);
      expectVectorFormsAgree({camera, target, R, DepthRule::NonZero, true}, 640, 40);
      expectVectorFormsAgree({target, camera, R, DepthRule::InFront, false}, 633, 40);
    }
  }
}

TEST_F(VectorMap, AgreesInLatitudeLongitude) {
  for (const char* const lens : {"radial2+tangential", "fisheye4 wide"}) {
    const Camera<float> camera = makeCamera<float>(intrinsicsOf(lensNamed(lens)));
    for (const int axis : {0, 1}) {
      // To 100 degrees on every side; no multiple of a vector wide.
      const AR::CV::TargetView view{
          AR::CV::TargetProjection::LatitudeLongitude, axis, 351, 351, 100, 100, 175, 175};
      for (const Mat3& R : {Mat3::identity(), turned(0.3F, -0.9F, 0.4F)}) {
        expectVectorFormsAgree({camera, view, R, DepthRule::InFront, false}, 351, 351);
        expectVectorFormsAgree({camera, view, R, DepthRule::NonZero, true}, 351, 351);
        // Columns beyond the view, and beyond the room that vectors have behind its tables.
        expectVectorFormsAgree({camera, view, R, DepthRule::InFront, false}, 440, 9);
      }
    }
  }
}

// Rows that begin and end within reach of the source and leave it between: across its plane, behind
// its back, or around it.
TEST_F(VectorMap, AgreesWhereTheEndsOfARowDoNotDecide) {
  constexpr float kQuarter = 1.5708F;
  const Camera<float> camera = makeCamera<float>(intrinsicsOf(lensNamed("fisheye4 wide")));
  const Camera<float> target = pinhole(160, 120, 5);
  const Vec3 kTurns[] = {{0, kQuarter, 0}, {kQuarter, 0, 0}, {0.3F, 2.4F, 0}, {0, 2 * kQuarter, 0}};
  for (const Vec3& turn : kTurns) {
    const Mat3 R = turned(turn(0), turn(1), turn(2));
    for (const DepthRule rule : {DepthRule::InFront, DepthRule::NonZero}) {
      expectVectorFormsAgree({camera, target, R, rule, true}, 160, 120);
      for (const int axis : {0, 1}) {
        // To 170 degrees on every side.
        const AR::CV::TargetView view{
            AR::CV::TargetProjection::LatitudeLongitude, axis, 351, 351, 59, 59, 175, 175};
        for (const float offset : {0.0F, -0.5F}) {
          Job job(camera, view, R, rule, true);
          job.offset_s = R * Vec3(0, 0, offset);
          expectVectorFormsAgree(job, 351, 351);
        }
      }
    }
  }
}

TEST_F(VectorMap, AgreesAtFullSize) {
  for (const int scale : {1, 4}) {
    IntrinsicCameraCalibrationZEL wide = intrinsicsOf(lensNamed("fisheye4 wide"));
    wide.width *= scale;
    wide.height *= scale;
    for (double* v : {&wide.focal_length_x, &wide.focal_length_y, &wide.principal_point_x,
                      &wide.principal_point_y}) {
      *v *= scale;
    }
    const Camera<float> camera = makeCamera<float>(wide);
    const auto f = static_cast<float>(scale);
    const Camera<float> target = pinhole(640 * f, 480 * f, 250 * f);
    const Job job(camera, target, turned(0.05F, 0.3F, 0), DepthRule::InFront, false);
    expectVectorFormsAgree(job, 640 * scale, 480 * scale);
  }
}

TEST_F(VectorMap, AgreesAtEverySizeUpTo67) {
  constexpr int kMax = 67;
  const Camera<float> camera = makeCamera<float>(intrinsicsOf(lensNamed("radial2+tangential")));
  const Camera<float> target = pinhole(kMax, kMax, 20);
  for (int height = 1; height <= kMax; ++height) {
    for (int width = 1; width <= kMax; ++width) {
      SCOPED_TRACE(::testing::Message() << width << " x " << height);
      const Job job(camera, target, turned(0.4F, 0.6F, 0), DepthRule::InFront, width % 2 == 0);
      ASSERT_NO_FATAL_FAILURE(expectVectorFormsAgree(job, width, height));
    }
  }
}

/// 64 x 48 pixels; with powers of two in every place positions come out exactly.
Camera<float> exactPinhole(float shift, float range, float undistortionRange) {
  CamModel::CameraModel<float> model =
      AR::CV::pinholeModel<float>({64, 48}, {32 + shift, 24 + shift}, {64, 64});
  model.limits = {range, undistortionRange};
  Camera<float> camera;
  EXPECT_TRUE(camera.init(model));
  return camera;
}

TEST_F(VectorMap, IsThePlainMapWherePositionsAreExact) {
  constexpr float kSnap = 0x1p-15F;                           // four units in the last place of 64
  const Mat3 kSideways(0, 0, 1, 0, 1, 0, -1, 0, -3 / 64.0F);  // depth = (29 - x) / 64
  for (const float shift : {0.0F, -kSnap / 4, -kSnap, -kSnap - 0x1p-19F, kSnap}) {
    for (const float range : {0.0625F, 0.25F, 4.0F}) {  // 16, 32, 128 pixels
      const Camera<float> target = exactPinhole(0, 4, range);
      const Camera<float> source = exactPinhole(shift, range, 4);
      for (const Mat3& R : {Mat3::identity(), kSideways}) {
        for (const DepthRule rule : {DepthRule::InFront, DepthRule::NonZero}) {
          Job job(source, target, R, rule, false);
          job.minDepth = 0x1p-6F;
          job.noSource = 0;
          // 29: a depth of 0 right behind the row.
          for (const int width : {29, 64, 70}) expectVectorFormsEqual(job, width, 52);
        }
      }
    }
  }
}

TEST_F(VectorMap, AgreesForHostileJobs) {
  constexpr float kInf = std::numeric_limits<float>::infinity();
  constexpr float kNaN = std::numeric_limits<float>::quiet_NaN();
  Lens lens = lensNamed("radial3");
  lens.p2 = -2.5e-4;
  const Camera<float> camera = makeCamera<float>(intrinsicsOf(lens));
  const Camera<float> target = pinhole(64, 48, 32);
  const Mat3 I = Mat3::identity();
  const Mat3 kSideways(0, 0, 1, 0, 1, 0, -1, 0, 0);  // depth 0 in the middle column
  const Mat3 kRotations[] = {kSideways,
                             I * -1.0F,
                             I * 0.0F,
                             I * kNaN,
                             I * kInf,
                             I * 1e30F,
                             Mat3(1, 0, 0, 0, 1, 0, 0, 0, kNaN),
                             Mat3(kInf, 0, 0, 0, 1, 0, 0, 0, 1)};
  const Vec3 kOffsets[] = {{0, 0, 0}, {0.1F, -0.2F, -1}, {1e30F, 0, 0}, {0, kNaN, 0}};
  for (const Mat3& R : kRotations) {
    for (const Vec3& offset : kOffsets) {
      for (const DepthRule rule : {DepthRule::InFront, DepthRule::NonZero}) {
        Job job(camera, target, R, rule, true);
        job.offset_s = offset;
        SCOPED_TRACE(::testing::Message() << R(0, 0) << " " << R(2, 0) << " " << offset(0) << " "
                                          << offset(2) << " " << (rule == DepthRule::InFront));
        expectVectorFormsAgree(job, 64, 48);
      }
    }
  }
}

TEST_F(VectorMap, AgreesWhereTangentialTermsAreHardToInvert) {
  Lens lens = lensNamed("radial3");
  lens.p1 = 0.3;
  lens.p2 = -0.2;
  const Camera<float> target = makeCamera<float>(intrinsicsOf(lens));
  expectVectorFormsAgree(
      {pinhole(640, 480, 330), target, Mat3::identity(), DepthRule::InFront, true}, 640, 480);
}

TEST_F(VectorMap, ReasonsChangeNoBit) {
  const Camera<float> camera = makeCamera<float>(intrinsicsOf(lensNamed("fisheye4 wide")));
  const Camera<float> target = pinhole(640, 480, 200);
  const Job job(camera, target, turned(0.1F, 0.7F, 0), DepthRule::InFront, false);
  testing::forEachInstructionSet([&] {
    const MapKernel kernel(job);
    std::vector<float> with(1280), without(1280);
    std::vector<std::uint8_t> reasons(640);
    for (int y = 0; y < 480; ++y) {
      kernel.row(y, 640, with.data(), with.data() + 640, reasons.data());
      kernel.row(y, 640, without.data(), without.data() + 640);
      ASSERT_EQ(with, without) << y;
    }
  });
}

TEST(VectorInverse, OfADistortionSplineIsThePlainOneToTheBit) {
  using AR::CV::CameraCalibration::iterativeUndistFromSpline;
  for (const Lens& lens : kLenses) {
    SCOPED_TRACE(lens.name);
    const Camera<float> camera = makeCamera<float>(intrinsicsOf(lens));
    float y[61], G[61];
    for (int i = 0; i < 61; ++i) {
      y[i] = camera.getUndistortionSpline().rangeMax * static_cast<float>(i) / 61;
      G[i] = iterativeUndistFromSpline(camera, y[i]);
    }
    testing::forEachInstructionSet([&] {
      AR::CV::HermiteSplineInterpolation<float>::ResultAndDeriv samples[61];
      const AR::CV::CameraCalibration::UndistortFn<float> undistort(camera);
      undistort(y, samples);
      for (int i = 0; i < 61; ++i) EXPECT_EQ(samples[i].value, G[i]) << y[i];
    });
  }
}

TEST_F(VectorMap, ATableHoldsUniformBinsOnly) {
  using AR::CV::SplineTable;
  for (const auto layout : {SplineTable::Layout::Interleaved, SplineTable::Layout::Planar}) {
    for (const Lens& lens : kLenses) {
      const Camera<float> camera = makeCamera<float>(intrinsicsOf(lens));
      EXPECT_TRUE(SplineTable(camera.getDistortionSpline(), layout).isUsable()) << lens.name;
      EXPECT_TRUE(SplineTable(camera.getUndistortionSpline(), layout).isUsable()) << lens.name;
    }
    const AR::CV::HermiteSplineInterpolation<float> spline =
        makeCamera<float>(intrinsicsOf(lensNamed("fisheye4"))).getDistortionSpline();
    auto shifted = spline, large = spline;
    shifted.coeffs.at(2).x0 = std::nextafter(shifted.coeffs.at(2).x0, 0.0F);
    EXPECT_FALSE(SplineTable(shifted, layout).isUsable());
    while (large.coeffs.size() <= SplineTable::kMaxBins) {
      large.coeffs.push_back(large.coeffs[1]);
      large.coeffs.back().x0 *= static_cast<float>(large.coeffs.size() - 1);
    }
    EXPECT_FALSE(SplineTable(large, layout).isUsable());
    EXPECT_FALSE(SplineTable({}, layout).isUsable());
  }
}

}  // namespace
}  // namespace rectiline::acceptance
