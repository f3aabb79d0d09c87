#include "maps/Remapper.h"

#include <utility>

#include "maps/Calls.h"

namespace rectiline::tool {

Remapper::Remapper(Map map, RawSize source) : mMap(std::move(map)), mSource(std::move(source)) {}

Image Remapper::read(const std::string& file) const {
  const ImageFile image(file);
  image.requireSize(mSource);
  return image.decode();
}

const rectiline_plan* Remapper::planFor(rectiline_format format) const {
  const std::lock_guard lock(mMutex);
  auto& plan = mPlans[format];
  if (plan) return plan.get();
  auto options = sized<rectiline_plan_options>();
  options.format = format;
  options.source_width = mSource.width;
  options.source_height = mSource.height;
  const rectiline_map map = mMap.view();
  rectiline_plan* made = nullptr;
  check(rectiline_plan_create(&map, &options, &made));
  plan.reset(made);
  return made;
}

Image Remapper::remap(const Image& source) const {
  const rectiline_map map = mMap.view();
  Image target(ImageHeader{map.width, map.height, source.format});
  const rectiline_image from = source.view();
  const rectiline_image to = target.view();
  if (source.format == RECTILINE_GREY16) {
    check(rectiline_remap(&from, &map, &to));
  } else {
    check(rectiline_plan_apply(planFor(source.format), &from, &to));
  }
  return target;
}

}  // namespace rectiline::tool
