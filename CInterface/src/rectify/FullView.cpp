#include <algorithm>
#include <cmath>
#include <cstdint>

#include "AR/CV/Image/Image.h"
#include "Boundary.h"
#include "rectify/Coverage.h"

namespace rectiline::capi {
namespace {

using AR::CV::TargetView;
using Vec2 = AR::Math::Vec<double, 2>;

[[noreturn]] void refuseNoOverlap() {
  refuse(RECTILINE_CANNOT_RECTIFY,
         "No view of this size and principal point has a source in every image at every pixel: "
         "the cameras look too far apart. Check the rotations of the poses, leave "
         "options.has_principal_point 0, or ask for another coverage.");
}

/// Views whose pixel `anchor` shows the position `position` of the plane, for any focal length.
struct AnchoredView {
  TargetView view;
  Vec2 anchor;
  Vec2 position;

  [[nodiscard]] TargetView at(double f) const {
    TargetView result = view;
    result.fx = result.fy = f;
    result.cx = anchor(0) - f * position(0);
    result.cy = anchor(1) - f * position(1);
    return result;
  }
};

// ---- does every pixel have a source? ----

/// The pixels of a view that have a source in all cameras, by the very maps that will be made.
class SourceMask {
 public:
  SourceMask(const TargetView& view, const ViewSources& sources)
      : mWidth(view.width),
        mHasSource(static_cast<std::size_t>(view.width) * static_cast<std::size_t>(view.height),
                   1) {
    std::vector<float> x(mHasSource.size());
    std::vector<float> y(mHasSource.size());
    for (const ViewSource& source : sources) remove(view, source, x, y);
  }

  [[nodiscard]] bool at(int x, int y) const {
    return mHasSource[static_cast<std::size_t>(y) * static_cast<std::size_t>(mWidth) +
                      static_cast<std::size_t>(x)] != 0;
  }
  [[nodiscard]] bool isFull() const {
    return std::all_of(mHasSource.begin(), mHasSource.end(), [](std::uint8_t has) { return has; });
  }

 private:
  void remove(const TargetView& view, const ViewSource& source, std::vector<float>& x,
              std::vector<float>& y) {
    const AR::Math::Vec<int, 2> size(view.width, view.height);
    AR::CV::Image<float> mapX(x.data(), size, false);
    AR::CV::Image<float> mapY(y.data(), size, false);
    AR::CV::fillMap(source.job(view, false), false, mapX, mapY);
    for (std::size_t i = 0; i < x.size(); ++i) {
      if (x[i] == -1 && y[i] == -1) mHasSource[i] = 0;
    }
  }

  int mWidth;
  std::vector<std::uint8_t> mHasSource;
};

/// The view with only the first and the last of its columns (rows).
TargetView endsOfRows(const TargetView& view) {
  TargetView ends = view;
  ends.width = 2;
  ends.fx /= view.width - 1;
  ends.cx /= view.width - 1;
  return ends;
}
TargetView endsOfColumns(const TargetView& view) {
  TargetView ends = view;
  ends.height = 2;
  ends.fy /= view.height - 1;
  ends.cy /= view.height - 1;
  return ends;
}

/// True when all pixels along the border have a source in all cameras. The corners are asked first:
/// they fail first.
bool isBorderFull(const TargetView& view, const ViewSources& sources) {
  const auto isFull = [&](const TargetView& part) { return SourceMask(part, sources).isFull(); };
  return isFull(endsOfRows(endsOfColumns(view))) && isFull(endsOfColumns(view)) &&
         isFull(endsOfRows(view));
}

// ---- where is the largest such view? ----

constexpr int kCellsAcross = 256;  // of a grid over what all cameras see, in the geometric mean
constexpr int kMaxCells = 4096;    // along one axis, for what is very long and narrow

struct Grid {
  TargetView view;   // a pixel of it is a corner of cells
  double cellScale;  // a cell is the view to be found, this much smaller
};

/// A grid over `extent` whose cells have the shape of `view`.
Grid gridOver(const Extent& extent, const TargetView& view) {
  const double lastX = view.width - 1;
  const double lastY = view.height - 1;
  const double scale = std::sqrt(extent.width() * extent.height() / (lastX * lastY)) / kCellsAcross;
  Grid grid{view, scale};
  grid.view.fx = 1 / (scale * lastX);
  grid.view.fy = 1 / (scale * lastY);
  grid.view.cx = -extent.minX * grid.view.fx;
  grid.view.cy = -extent.minY * grid.view.fy;
  const auto corners = [](double cells) {
    return static_cast<int>(std::min<double>(std::floor(cells), kMaxCells)) + 1;
  };
  grid.view.width = corners(extent.width() * grid.view.fx);
  grid.view.height = corners(extent.height() * grid.view.fy);
  return grid;
}

/// A square of cells: its last corner and how many cells it is long.
struct Square {
  int x = 0;
  int y = 0;
  int cells = 0;
};

/// The largest square whose corners all have a source. The largest square that ends at a corner is
/// one cell longer than the least of those that end at its three neighbours before it.
Square largestSquare(const TargetView& grid, const SourceMask& mask) {
  Square largest;
  std::vector<int> above(static_cast<std::size_t>(grid.width), 0);  // in corners
  std::vector<int> here(above.size(), 0);
  for (int y = 0; y < grid.height; ++y) {
    for (int x = 0; x < grid.width; ++x) {
      const auto i = static_cast<std::size_t>(x);
      const int before = x == 0 ? 0 : std::min({here[i - 1], above[i - 1], above[i]});
      here[i] = mask.at(x, y) ? before + 1 : 0;
      if (here[i] - 1 > largest.cells) largest = {x, y, here[i] - 1};
    }
    std::swap(here, above);
  }
  return largest;
}

Extent commonExtent(const TargetView& view, const ViewSources& sources) {
  std::optional<Extent> common;
  for (const ViewSource& source : sources) {
    const Extent extent = extentOf(source, view.projection, view.baselineAxis);
    common = common ? intersectionOf(*common, extent) : extent;
  }
  if (common->isEmpty()) refuseNoOverlap();
  return *common;
}

// ---- its focal length ----

/// The least focal length with a full border, to 1e-6 of itself, between one without and one with.
double bisected(const AnchoredView& anchored, const ViewSources& sources, double without,
                double with) {
  while (with > without * (1 + 1e-6)) {
    const double middle = std::sqrt(with * without);
    (isBorderFull(anchored.at(middle), sources) ? with : without) = middle;
  }
  return with;
}

/// The least focal length with a full border from `first` up, looked for in steps of 2 percent:
/// a view that does not hold its principal point may be full between two that are not.
double leastFocalLength(const AnchoredView& anchored, const ViewSources& sources, double first) {
  constexpr double kStep = 1.02;
  constexpr double kMostZoom = 1000;
  for (double f = first; f < first * kMostZoom; f *= kStep) {
    if (isBorderFull(anchored.at(f), sources)) return bisected(anchored, sources, f / kStep, f);
  }
  refuseNoOverlap();
}

/// Moves the middle of the view to where a lower focal length is found, by ever smaller steps.
double moved(AnchoredView& anchored, const ViewSources& sources, double f, const Vec2& cell) {
  constexpr double kWorthIt = 1 - 1e-4;
  constexpr int kHalvings = 6;
  Vec2 step = cell;
  for (int i = 0; i < kHalvings; ++i, step = step / 2.0) {
    for (int direction = 0; direction < 9; ++direction) {
      AnchoredView candidate = anchored;
      candidate.position(0) += step(0) * (direction % 3 - 1);
      candidate.position(1) += step(1) * (direction / 3 - 1);
      if (!isBorderFull(candidate.at(f * kWorthIt), sources)) continue;
      f = bisected(candidate, sources, f / 2, f * kWorthIt);
      anchored = candidate;
    }
  }
  return f;
}

/// The view at `f`, or a little above where a pixel within it has no source although all of its
/// border have: the vector form of a map may decide otherwise in the last digit.
TargetView filled(const AnchoredView& anchored, const ViewSources& sources, double f) {
  for (double more = 1e-6; more < 0.5; more *= 4) {
    const TargetView view = anchored.at(f * (1 + more));
    if (SourceMask(view, sources).isFull()) return view;
  }
  refuseNoOverlap();
}

/// The views around the middle of the largest full rectangle of the view's shape.
AnchoredView bestAnchored(const TargetView& view, const ViewSources& sources, double& f,
                          Vec2& cell) {
  const Grid grid = gridOver(commonExtent(view, sources), view);
  const Square square = largestSquare(grid.view, SourceMask(grid.view, sources));
  if (square.cells == 0) refuseNoOverlap();
  const Vec2 middle(square.x - square.cells / 2.0, square.y - square.cells / 2.0);
  cell = Vec2(1 / grid.view.fx, 1 / grid.view.fy);
  f = 1 / (grid.cellScale * (square.cells + 2));
  return {view, Vec2((view.width - 1) / 2.0, (view.height - 1) / 2.0),
          Vec2((middle(0) - grid.view.cx) * cell(0), (middle(1) - grid.view.cy) * cell(1))};
}

}  // namespace

TargetView fullView(const TargetView& view, const ViewSources& sources,
                    const PrincipalPoint& given) {
  if (given) {
    const Extent common = commonExtent(view, sources);
    const AnchoredView anchored{view, *given, Vec2()};
    const double first =
        std::max((view.width - 1) / common.width(), (view.height - 1) / common.height());
    return filled(anchored, sources, leastFocalLength(anchored, sources, first));
  }
  double first;
  Vec2 cell;
  AnchoredView anchored = bestAnchored(view, sources, first, cell);
  const double f = leastFocalLength(anchored, sources, first);
  return filled(anchored, sources, moved(anchored, sources, f, cell));
}

}  // namespace rectiline::capi
