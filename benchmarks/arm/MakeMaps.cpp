// Makes a map a number of times, in the plain or in the vector form, and prints a sum of it:
// the program whose instructions are counted.
// usage: make-maps plain|vector MODEL TIMES

#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <vector>

#include "AR/CV/Camera/PinholeModel.h"
#include "AR/Math/SO3.h"
#include "Map/MapKernel.h"

namespace {

using namespace AR;

constexpr int kWidth = 640;
constexpr int kHeight = 480;

CV::Camera<float> initialized(const CamModel::CameraModel<float>& model) {
  CV::Camera<float> camera;
  if (!camera.init(model)) std::abort();
  return camera;
}

CamModel::CameraModel<float> lens(const char* name) {
  CamModel::CameraModel<float> model;
  model.size = {kWidth, kHeight};
  model.principalPoint = {321.3F, 238.6F};
  const bool isFisheye = std::strcmp(name, "fisheye") == 0;
  model.focalLength = isFisheye ? Math::Vec<float, 2>(290, 290) : Math::Vec<float, 2>(460, 459);
  model.model = isFisheye ? CamModel::FISHEYE_4_PARAMETERS : CamModel::RADIAL_3_PARAMETERS;
  model.radialDistortion = {isFisheye ? -0.01F : -0.28F, isFisheye ? 0.002F : 0.07F, 0, 0, 0, 0};
  model.setupValidDistortionRange({}, false);
  return model;
}

}  // namespace

int main(int argc, char** argv) {
  if (argc != 4) return 2;
  const bool isVector = std::strcmp(argv[1], "vector") == 0;
  const CV::Camera<float> source = initialized(lens(argv[2]));
  const CV::Camera<float> target = initialized(
      CV::pinholeModel<float>({kWidth, kHeight}, {320, 240}, source.getCorrectedFocalLengthVec()));
  const auto R_st = Math::SO3<float>::exp({0.01F, 0.02F, -0.01F}).matrix();
  const CV::MapJob<float> job(source, target, R_st, CV::DepthRule::InFront, false);
  const CV::MapKernel kernel(job);
  std::vector<float> X(kWidth), Y(kWidth);
  float sum = 0;
  for (int i = 0; i < std::atoi(argv[3]); ++i) {
    for (int y = 0; y < kHeight; ++y) {
      if (isVector) kernel.row(y, kWidth, X.data(), Y.data());
      if (!isVector) mapRowScalar(job, y, kWidth, X.data(), Y.data());
      sum += X[kWidth / 3] + Y[kWidth / 3];
    }
  }
  std::printf("%.3f\n", static_cast<double>(sum));
}
