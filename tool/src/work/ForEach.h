#pragma once

#include <cstddef>
#include <functional>

namespace rectiline::tool {

/// Runs work(0) to work(count - 1), several at once on as many threads as there are processors, and
/// shows a line of progress when standard error is a terminal. Once one throws, or Ctrl-C was
/// pressed, no more are begun, and when those that run have ended the first exception is thrown on.
/// @param unit  what is counted, in the plural, as "frames"
void forEach(std::size_t count, const char* unit, const std::function<void(std::size_t)>& work);

}  // namespace rectiline::tool
