#include "maps/Calls.h"

#include <utility>

namespace rectiline::tool {

std::string inTermsOfOptions(std::string text) {
  constexpr std::pair<const char*, std::string_view> kTerms[] = {
      {"the projection RECTILINE_LATITUDE_LONGITUDE", "--projection latlon"},
      {"RECTILINE_LATITUDE_LONGITUDE", "--projection latlon"},
      {"options.width and options.height", "--size"},
      {"options.width", "--size"},
      {"options.focal_length", "--focal"},
      {"options.field_of_view", "--fov"},
      {"options.coverage", "--coverage"},
  };
  for (const auto& [field, option] : kTerms) {
    for (std::size_t at = 0; (at = text.find(field, at)) != std::string::npos;) {
      text.replace(at, std::string_view(field).size(), option);
    }
  }
  return text;
}

}  // namespace rectiline::tool
