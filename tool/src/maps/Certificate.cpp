#include "maps/Certificate.h"

#include "cli/StandardOutput.h"
#include "maps/Calls.h"

namespace rectiline::tool {

rectiline_certificate certify(const PairMaps& maps, const DeviceCalibrationZEL& truth) {
  auto c = sized<rectiline_certificate>();
  const rectiline_map left = maps.left.view();
  const rectiline_map right = maps.right.view();
  check(rectiline_certify_rectification(&truth, &maps.rectification, &left, &right, &c));
  return c;
}

void printCertificate(const rectiline_certificate& c) {
  print("rectification, %u points at 0.3 m to 30 m\n", c.points);
  print("  row error     rms %.5f px, greatest %.5f px at (%.0f, %.0f)\n", c.rms_row_error,
        c.max_row_error, c.worst_row.x, c.worst_row.y);
  print("  depth error   greatest %.5f %%\n", 100 * c.max_depth_error);
  print("  map error     left %.5f px, right %.5f px\n", c.max_map_error_left,
        c.max_map_error_right);
}

nlohmann::ordered_json toJson(const rectiline_certificate& c) {
  return {{"points", c.points},
          {"row_error_rms", c.rms_row_error},
          {"row_error_max", c.max_row_error},
          {"depth_error_max", c.max_depth_error},
          {"map_error_left", c.max_map_error_left},
          {"map_error_right", c.max_map_error_right}};
}

}  // namespace rectiline::tool
