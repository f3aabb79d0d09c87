#pragma once

#include "CameraPair.h"
#include "rectiline_check/Check.h"

namespace rectiline::check {

/// The pairs that are judged, each looked at for what its cameras ask of it when it is fetched.
class Pairs {
 public:
  /// Both must outlive it.
  Pairs(const PairSource& source, const CameraPair& cameras) : mSource(source), mCameras(cameras) {}

  [[nodiscard]] int count() const { return static_cast<int>(mSource.count); }

  /// Valid until the next call. Throws std::invalid_argument for images that are not the cameras'.
  [[nodiscard]] PairImages operator[](int i) const;

 private:
  const PairSource& mSource;
  const CameraPair& mCameras;
};

}  // namespace rectiline::check
