#pragma once

#include <cstddef>
#include <cstdint>
#include <optional>
#include <vector>

#include "AR/CV/Camera/Camera.h"
#include "AR/CV/Image/Image.h"
#include "AR/CV/Map/TargetView.h"
#include "AR/Math/Matrix.h"

// The one job under every pixel map: for each integer pixel of a target, the position in a source
// camera's image at which to sample. Integer coordinates are pixel positions, so target pixel (x,
// y) is the point (x, y) itself.

namespace AR::CV {

/// Why a target pixel has a source position, or has none. The values are part of the interface.
enum class PixelSource : std::uint8_t {
  Inside = 0,            ///< the position lies in the source image
  PastLastCentre = 1,    ///< ... past its last column or row of pixel centres
  BehindCamera = 2,      ///< the ray lies behind the source camera or grazes it
  BeyondDistortion = 3,  ///< the ray lies outside the range of the source camera's distortion
  NoInverse = 4,         ///< the target cannot turn the pixel into a ray
  OutsideImage = 5,      ///< the position lies outside the source image
};

/// Which rays a map accepts by their depth in the source frame.
enum class DepthRule {
  InFront,  ///< only those at least kMinDepth in front
  NonZero,  ///< any that can be divided by their depth
};

enum class TargetKind { Pinhole, Distorted, LatitudeLongitude };

/// What the pixels of a map's target show, held apart from camera or view for one map.
template <typename P>
struct MapTarget {
  explicit MapTarget(const Camera<P>& target);
  explicit MapTarget(const TargetView& target);

  /// A pixel's place in the target's own plane: of a camera, the distorted plane.
  [[nodiscard]] P x(P column) const { return (column - cx) * invFx; }
  [[nodiscard]] P y(P row) const { return (row - cy) * invFy; }

  TargetKind kind;
  P cx, cy;        // pixels
  P invFx, invFy;  // per pixel
  P rangeMax;      // of squared radii in the plane that have a ray; infinite where nothing limits
  const Camera<P>* camera = nullptr;  // of Distorted
  // Of LatitudeLongitude, whose columns need no sine at a pixel then: sine and cosine of the angle
  // of each, some more at the end for vectors to read; a cosine of 0 where the pixel has no ray.
  TargetView view;
  std::vector<P> sine, cosine;
};

/// One map: everything that is the same for all of its pixels.
template <typename P>
struct MapJob {
  /// @param source, target  must outlive the job
  /// @param R_st  rotates directions of the target frame into the source frame
  MapJob(const Camera<P>& source, const Camera<P>& target, const Math::Mat<P, 3, 3>& R_st,
         DepthRule depthRule, bool keepOutside);
  /// The same for a view without a camera. Of latitude-longitude the map may not be wider than the
  /// view; `minDepth` is compared with rays of length 1 then.
  MapJob(const Camera<P>& source, const TargetView& target, const Math::Mat<P, 3, 3>& R_st,
         DepthRule depthRule, bool keepOutside);

  static constexpr P kMinDepth = P(0.01);

  const Camera<P>& source;
  MapTarget<P> target;
  Math::Mat<P, 3, 3> R_st;
  Math::Vec<P, 3> offset_s;  // added to every rotated ray; zero: the cameras share their centre
  P minDepth = kMinDepth;    // for rays that must be in front
  P width, height;           // of the source image, pixels
  P snapX, snapY;            // positions this little below 0 are rounding errors of 0
  P noSource = -1;           // what both maps hold at a pixel without a source
  DepthRule depthRule;
  bool keepOutside;

 private:
  MapJob(const Camera<P>& source, MapTarget<P> target, const Math::Mat<P, 3, 3>& R_st,
         DepthRule depthRule, bool keepOutside);
};

/// Where the reasons of a map's pixels go, a PixelSource each. Without data they are not asked for,
/// at no cost.
struct MapReasons {
  std::uint8_t* data = nullptr;
  std::ptrdiff_t stride = 0;  // bytes from one row to the next

  [[nodiscard]] std::uint8_t* row(int y) const {
    return data == nullptr ? nullptr : data + y * stride;
  }
};

/// Runs `job` over all rows of a map pair and reports what the rows ask to be reported: a target
/// pixel without an inverse as the failed check "result" (when `reportNoInverse`), a ray of depth
/// exactly 0 as "nVal != 0". The images must have the same size; where one lacks pixels, which
/// is reported, no pixel has a source. Large maps are made on the worker pool; the values and the
/// reports are the same.
template <typename P>
void fillMap(const MapJob<P>& job, bool reportNoInverse, Image<P>& mapX, Image<P>& mapY,
             MapReasons reasons = {});

/// Maps that are made side by side, those of both cameras of a pair: small ones, too, are worth the
/// worker pool then. What is made and reported is what fillMap() of one after the other would.
template <typename P>
class MapBatch {
 public:
  /// Takes in what fillMap() takes; the pixels of the images and what `job` refers to must be there
  /// until fill(). A third map makes the first two.
  void add(MapJob<P> job, bool reportNoInverse, Image<P>& mapX, Image<P>& mapY,
           MapReasons reasons = {});
  /// Makes what was added. Nothing is left after.
  void fill();

 private:
  struct Map {
    Map(MapJob<P> mapJob, bool report, Image<P>& mapX, Image<P>& mapY, MapReasons mapReasons);
    [[nodiscard]] bool isWhole() const;
    [[nodiscard]] bool overlaps(const Map& other) const;

    MapJob<P> job;
    bool reportNoInverse;
    Image<P> x;
    Image<P> y;
    MapReasons reasons;
  };

  std::optional<Map> mFirst;
  std::optional<Map> mSecond;
};

extern template struct MapTarget<float>;
extern template struct MapTarget<double>;
extern template struct MapJob<float>;
extern template struct MapJob<double>;
extern template class MapBatch<float>;
extern template class MapBatch<double>;
extern template void fillMap(const MapJob<float>&, bool, Image<float>&, Image<float>&, MapReasons);
extern template void fillMap(const MapJob<double>&, bool, Image<double>&, Image<double>&,
                             MapReasons);

}  // namespace AR::CV
