#pragma once

#include <cmath>
#include <limits>

namespace VIO {

/// The greatest error so far, and where it was, in two fields of a certificate. An error that is
/// not a number counts as infinite.
template <typename Place>
struct WorstError {
  double& error;
  Place& place;

  void add(double e, const Place& where) const {
    if (std::isnan(e)) e = std::numeric_limits<double>::infinity();
    if (!(e > error)) return;
    error = e;
    place = where;
  }
};

}  // namespace VIO
