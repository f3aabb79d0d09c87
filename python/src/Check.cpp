// Is a calibration right for images?

#include "rectiline_check/Check.h"

#include <pybind11/stl.h>

#include <stdexcept>

#include "Arrays.h"
#include "Bindings.h"
#include "Errors.h"
#include "Rig.h"

namespace rectiline::python {
namespace {

using check::CheckResult;
using check::Match;
using check::Position;

check::GreyView greyOf(const py::object& array, const char* name) {
  const rectiline_image image = imageOf(array, name, Access::Read);
  if (image.format != RECTILINE_GREY8) refuse(name, "expected a grey image, uint8 (rows, columns)");
  return {static_cast<const std::uint8_t*>(image.data), image.width, image.height, image.stride};
}

Points positions(const std::vector<Match>& matches, Position Match::*which) {
  Points result = newPoints(static_cast<py::ssize_t>(matches.size()), 2);
  double* out = result.mutable_data();
  for (const Match& match : matches) {
    *out++ = (match.*which).x;
    *out++ = (match.*which).y;
  }
  return result;
}

template <typename Value>
py::array_t<Value> values(const std::vector<Match>& matches, Value Match::*which) {
  py::array_t<Value> result(static_cast<py::ssize_t>(matches.size()));
  Value* out = result.mutable_data();
  for (const Match& match : matches) *out++ = match.*which;
  return result;
}

/// By the names of rectiline.Matches.
py::dict matchesOf(const std::vector<Match>& matches) {
  py::dict result;
  result["raw_left"] = positions(matches, &Match::rawLeft);
  result["raw_right"] = positions(matches, &Match::rawRight);
  result["left"] = positions(matches, &Match::left);
  result["right"] = positions(matches, &Match::right);
  result["row_error"] = values(matches, &Match::rowError);
  result["disparity"] = values(matches, &Match::disparity);
  result["inlier"] = values(matches, &Match::inlier);
  return result;
}

/// By the names of rectiline.CheckResult, but for `pairs`, whose elements are dictionaries.
py::dict toDict(const CheckResult& r) {
  py::list alternatives, pairs;
  for (const check::Verdict verdict : r.alternatives) {
    alternatives.append(check::verdictText(verdict));
  }
  for (const std::vector<Match>& pair : r.pairs) pairs.append(matchesOf(pair));
  py::dict result;
  result["verdict"] = check::verdictText(r.verdict);
  result["sentence"] = r.sentence;
  result["matches"] = r.matches;
  result["row_error_median"] = r.rowErrorMedian;
  result["row_error_rms"] = r.rowErrorRms;
  result["turn_degrees"] = Points(3, r.turnDegrees);
  result["turn_sigma"] = Points(3, r.turnSigma);
  result["positive_disparities"] = r.positiveDisparities;
  result["row_error_median_undone"] = r.rowErrorMedianUndone;
  result["alternatives"] = py::tuple(alternatives);
  result["pairs"] = py::tuple(pairs);
  return result;
}

CheckResult judge(const Rig& rig, const check::CheckOptions& options,
                  const std::vector<check::PairImages>& pairs) {
  const py::gil_scoped_release unlocked;
  try {
    return check::checkPairs(rig.device, options, pairs);
  } catch (const std::invalid_argument& error) {
    refuse("check", error.what());
  }
}

py::dict checkPairs(const Rig& rig, std::pair<int, int> cameras,
                    const std::vector<py::object>& lefts, const std::vector<py::object>& rights,
                    int maxCorners) {
  rig.requirePair();
  if (lefts.size() != rights.size()) refuse("right", "expected as many images as left");
  std::vector<check::PairImages> pairs;
  for (std::size_t i = 0; i < lefts.size(); ++i) {
    pairs.push_back({greyOf(lefts[i], "left"), greyOf(rights[i], "right")});
  }
  return toDict(judge(rig, {cameras.first, cameras.second, maxCorners}, pairs));
}

}  // namespace

void bindCheck(py::module_& module) {
  module.def("check", checkPairs, py::arg("rig"), py::arg("cameras"), py::arg("left"),
             py::arg("right"), py::arg("max_corners"));
}

}  // namespace rectiline::python
