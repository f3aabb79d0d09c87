// Images through maps, one by one or by maps compiled for many images.

#include <pybind11/stl.h>

#include <algorithm>
#include <array>
#include <memory>

#include "Arrays.h"
#include "Bindings.h"
#include "Errors.h"

namespace rectiline::python {
namespace {

/// The caller's array, or a new one like the source, as the target of a remap.
py::object targetFor(const py::object& source, const py::object& out, std::int32_t height,
                     std::int32_t width) {
  return out.is_none() ? py::object(newImageLike(source, height, width)) : out;
}

py::object remap(const py::object& image, const py::object& x, const py::object& y,
                 const py::object& out) {
  const rectiline_image source = imageOf(image, "image", Access::Read);
  const rectiline_map map = mapOf(x, y);
  py::object target = targetFor(image, out, map.height, map.width);
  const rectiline_image filled = imageOf(target, "out", Access::Write);
  run([&] { return rectiline_remap(&source, &map, &filled); });
  return target;
}

/// A compiled map. It needs the arrays that it was made of no more.
class RemapPlan {
 public:
  RemapPlan(const py::object& x, const py::object& y, const std::vector<int>& shape,
            std::size_t stride, const py::object& gains, const std::vector<int>& border) {
    const rectiline_map map = mapOf(x, y);
    auto options = sized<rectiline_plan_options>();
    setSource(options, shape, stride);
    setGains(options, gains);
    setBorder(options, border);
    rectiline_plan* plan = nullptr;
    run([&] { return rectiline_plan_create(&map, &options, &plan); });
    mPlan.reset(plan);
    mWidth = map.width;
    mHeight = map.height;
  }

  [[nodiscard]] const rectiline_plan* get() const { return mPlan.get(); }
  [[nodiscard]] py::tuple size() const { return py::make_tuple(mWidth, mHeight); }

  [[nodiscard]] std::size_t memory() const {
    std::size_t bytes = 0;
    require(rectiline_plan_size(get(), &bytes));
    return bytes;
  }

  [[nodiscard]] py::object target(const py::object& source, const py::object& out) const {
    return targetFor(source, out, mHeight, mWidth);
  }

 private:
  struct Destroy {
    void operator()(rectiline_plan* plan) const { rectiline_plan_destroy(plan); }
  };

  static void setSource(rectiline_plan_options& options, const std::vector<int>& shape,
                        std::size_t stride) {
    const int channels = shape.size() == 3 ? shape[2] : 1;
    const bool isShape = (shape.size() == 2 || shape.size() == 3) &&
                         (channels == 1 || channels == 3 || channels == 4);
    if (!isShape) refuse("shape", "expected (rows, columns) or (rows, columns, 3 or 4)");
    options.format = channels == 1 ? RECTILINE_GREY8 : channels;
    options.source_height = shape[0];
    options.source_width = shape[1];
    options.source_stride = stride;
  }

  static void setGains(rectiline_plan_options& options, const py::object& gains) {
    if (gains.is_none()) return;
    const Rows rows = planeOf(gains, "gains", Access::Read);
    if (rows.width != options.source_width || rows.height != options.source_height) {
      refuse("gains", "expected one for each pixel of the source image");
    }
    options.gains = static_cast<const float*>(rows.data);
    options.gains_stride = rows.stride;
  }

  static void setBorder(rectiline_plan_options& options, const std::vector<int>& border) {
    const bool isGrey = std::all_of(border.begin(), border.end(),
                                    [](int value) { return value >= 0 && value <= 255; });
    if (!isGrey || border.size() > std::size(options.border)) {
      refuse("border", "expected up to four numbers from 0 to 255");
    }
    std::copy(border.begin(), border.end(), options.border);
  }

  std::unique_ptr<rectiline_plan, Destroy> mPlan;
  std::int32_t mWidth = 0;
  std::int32_t mHeight = 0;
};

/// One image for each plan; they are worked on together.
py::list applyAll(const std::vector<const RemapPlan*>& plans, const std::vector<py::object>& images,
                  const std::vector<py::object>& outs) {
  const std::size_t n = plans.size();
  if (n > RECTILINE_MAX_PLANS) {
    refuse("plans", "are more than " + std::to_string(RECTILINE_MAX_PLANS));
  }
  if (images.size() != n || (!outs.empty() && outs.size() != n)) {
    refuse("images", "expected one image, and one array in out if that is given, for each plan");
  }
  std::array<const rectiline_plan*, RECTILINE_MAX_PLANS> handles{};
  std::array<rectiline_image, RECTILINE_MAX_PLANS> sources{}, targets{};
  std::array<const rectiline_image*, RECTILINE_MAX_PLANS> sourcePointers{}, targetPointers{};
  py::list results;
  for (std::size_t i = 0; i < n; ++i) {
    sources[i] = imageOf(images[i], "image", Access::Read);
    const py::object target = plans[i]->target(images[i], outs.empty() ? py::none() : outs[i]);
    targets[i] = imageOf(target, "out", Access::Write);
    results.append(target);
    handles[i] = plans[i]->get();
    sourcePointers[i] = &sources[i];
    targetPointers[i] = &targets[i];
  }
  run([&] {
    return rectiline_plan_apply_all(n, handles.data(), sourcePointers.data(),
                                    targetPointers.data());
  });
  return results;
}

}  // namespace

void bindRemap(py::module_& module) {
  module.def("remap", remap, py::arg("image"), py::arg("x"), py::arg("y"), py::arg("out"));
  py::class_<RemapPlan>(module, "RemapPlan")
      .def(py::init<const py::object&, const py::object&, const std::vector<int>&, std::size_t,
                    const py::object&, const std::vector<int>&>(),
           py::arg("x"), py::arg("y"), py::arg("shape"), py::arg("stride"), py::arg("gains"),
           py::arg("border"))
      .def_property_readonly("size", &RemapPlan::size)
      .def_property_readonly("memory", &RemapPlan::memory);
  module.def("apply_all", applyAll, py::arg("plans"), py::arg("images"), py::arg("outs"));
}

}  // namespace rectiline::python
