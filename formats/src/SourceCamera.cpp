#include "SourceCamera.h"

namespace rectiline::formats {

LensParameters SourceCamera::inPixels() const {
  LensParameters result = lens;
  if (isNormalised) {
    result.fx *= size->width;
    result.cx *= size->width;
    result.fy *= size->height;
    result.cy *= size->height;
  }
  result.cx -= pixelOrigin;
  result.cy -= pixelOrigin;
  return result;
}

bool tryPixel(const SourceCamera& camera, const Vec3& ray, Vec2& pixel) {
  Vec2 position;
  if (!camera.model->tryProject(camera.lens, ray, position)) return false;
  const auto [x, y] = position;
  const LensParameters& lens = camera.lens;
  const double width = camera.isNormalised ? camera.size->width : 1;
  const double height = camera.isNormalised ? camera.size->height : 1;
  pixel = {(lens.fx * x + lens.skew * y + lens.cx) * width - camera.pixelOrigin,
           (lens.fy * y + lens.cy) * height - camera.pixelOrigin};
  return true;
}

}  // namespace rectiline::formats
