#include "plan/PlanCompiler.h"

#include <algorithm>
#include <cstdint>

#include "plan/ChainBuilder.h"
#include "plan/Course.h"
#include "plan/Gains.h"
#include "plan/Groups.h"
#include "plan/Positions.h"

namespace kel::plan {
namespace {

/// Part of the target: `rows` by `columns` pixels from (x, y) on.
struct Area {
  int x;
  int y;
  int columns;
  int rows;
};

class Compiler {
 public:
  Compiler(const ConstMap& map, const Gains& gains, PlanContent& content)
      : mMap(map),
        mGains(gains),
        mContent(content),
        mChains(content),
        mSource{content.layout.width, content.layout.height, content.layout.stride} {}

  void compile() {
    mContent.forEachBlock(0, mContent.blockRows, [this](int row, int column) {
      beginBlock();
      const int x = column * mContent.columnsPerBlock();
      const int y = row * kBlockRows;
      const int rows = std::min(kBlockRows, mContent.height - y);
      compileBlock({x, y, mContent.blockWidth(column), rows});
    });
    beginBlock();
  }

 private:
  void beginBlock() {
    mContent.blocks.push_back({mContent.pairs.size(), mContent.maskedPairs.size(),
                               mContent.quads.size(), mContent.chains.size(),
                               mContent.spans.size()});
  }

  void compileBlock(const Area& area) {
    if (mContent.gathersColumns()) return compileColumns(area);
    if (!mContent.canHaveWindows() || area.columns < kGroup) return compileRows(area);
    for (int column = 0; column < area.columns; column += kGroup) {
      // The last group begins early enough to be whole; some pixels are then written twice.
      compileSquare(area, std::min(column, area.columns - kGroup));
    }
  }

  /// Pixel by pixel.
  void compileRows(const Area& area) {
    for (int row = 0; row < area.rows; ++row) {
      for (int column = 0; column < area.columns; column += kGroup) {
        const int count = std::min(kGroup, area.columns - column);
        find({area.x + column, area.y + row, count, 1}, mPositions);
        mChains.add(mPositions, 0, count, placeOf(row, column));
      }
    }
  }

  /// Groups along rows.
  void compileSquare(const Area& area, int column) {
    find({area.x + column, area.y, kGroup, area.rows}, mPositions);
    for (int row = 0; row < area.rows; ++row) addGroup(mPositions, row, placeOf(row, column));
  }

  /// Groups along columns.
  void compileColumns(const Area& area) {
    for (int column = 0; column < area.columns; column += kGroup) {
      const int count = std::min(kGroup, area.columns - column);
      find({area.x + column, area.y, count, area.rows}, mPositions);
      transpose(mPositions, mTransposed);
      for (int i = 0; i < count; ++i) {
        addGroup(mTransposed, i, placeOf(0, kGroup * (column + i)));
      }
    }
  }

  /// Positions of an area of at most a square, which they begin; beyond it there are none.
  void find(const Area& area, Positions& positions) {
    for (int row = 0; row < area.rows; ++row) {
      const float* const x = rowOf(mMap.x, area.y + row) + area.x;
      const float* const y = rowOf(mMap.y, area.y + row) + area.x;
      findRow(x, y, area.columns, row, positions);
      for (int i = 0; mGains.areGiven() && i < area.columns; ++i) {
        positions.gain[row * kGroup + i] = mGains.at(positions, row * kGroup + i);
      }
    }
    const int filled = kGroup * area.rows;
    std::fill_n(positions.isInside + filled, Positions::kCount - filled, std::uint8_t{0});
  }

  void findRow(const float* x, const float* y, int count, int row, Positions& positions) const {
    const Extent source{mSource.width, mSource.height};
    if (count == kGroup) return findGroup(x, y, source, row, positions);
    float padded[2][kGroup];
    for (auto& plane : padded) std::fill_n(plane, kGroup, -1.0F);
    std::copy_n(x, count, padded[0]);
    std::copy_n(y, count, padded[1]);
    findGroup(padded[0], padded[1], source, row, positions);
  }

  void addGroup(const Positions& positions, int group, Place target) {
    WindowedGroup windowed;
    const GroupKind kind = findWindows(positions, group, mSource, windowed);
    const int first = group * kGroup;
    switch (kind) {
      case GroupKind::Empty:
        return mChains.addSpan(kGroup, target);
      case GroupKind::Pair:
        mContent.pairs.push_back(pairOf(windowed, target));
        return addGains(positions.gain + first, mContent.pairGains);
      case GroupKind::MaskedPair:
        mContent.maskedPairs.push_back(pairOf(windowed, target));
        return addGains(positions.gain + first, mContent.maskedPairGains);
      case GroupKind::Quad:
        mContent.quads.push_back(quadOf(windowed, target));
        return addGains(positions.gain + first, mContent.quadGains);
      case GroupKind::Chain:
        return mChains.add(positions, first, kGroup, target);
    }
  }

  void addGains(const std::uint16_t* gains, std::vector<std::uint16_t>& to) const {
    if (mContent.hasGains) to.insert(to.end(), gains, gains + kGroup);
  }

  static PairRecord pairOf(const WindowedGroup& group, Place target) {
    return {{group.windows[0], group.windows[1]}, target, group.valid, 0, group.lookup};
  }

  static QuadRecord quadOf(const WindowedGroup& group, Place target) {
    QuadRecord record{};
    std::copy_n(group.windows, 4, record.windows);
    record.lookup = group.lookup;
    record.target = target;
    record.valid = group.valid;
    return record;
  }

  static Place placeOf(int row, int column) {
    return {static_cast<std::uint16_t>(row), static_cast<std::uint16_t>(column)};
  }

  [[nodiscard]] const float* rowOf(const float* plane, int y) const {
    return plane + y * (mMap.stride / static_cast<std::ptrdiff_t>(sizeof(float)));
  }

  const ConstMap& mMap;
  const Gains& mGains;
  PlanContent& mContent;
  ChainBuilder mChains;
  WindowedSource mSource;
  Positions mPositions;
  Positions mTransposed;
};

int channelsOf(PixelFormat format) {
  return format == PixelFormat::Rgb8 ? 3 : format == PixelFormat::Rgba8 ? 4 : 1;
}

/// Room for what the target most likely needs.
void reserve(PlanContent& content) {
  const auto width = static_cast<std::size_t>(content.width);
  const auto height = static_cast<std::size_t>(content.height);
  content.blocks.reserve(static_cast<std::size_t>(content.blockRows) *
                             static_cast<std::size_t>(content.blockColumns) +
                         1);
  if (content.canHaveWindows()) {
    const std::size_t groups = content.isTurned ? width * ((height - 1) / kGroup + 1)
                                                : height * ((width - 1) / kGroup + 1);
    content.pairs.reserve(groups);
    if (content.hasGains) content.pairGains.reserve(groups * kGroup);
  } else {
    content.links.reserve(width * height);
    if (content.hasGains) content.linkGains.reserve(width * height);
  }
}

template <typename T>
void shrink(std::vector<T>& values) {
  if (values.capacity() > values.size() + values.size() / 64) values.shrink_to_fit();
}

void shrink(PlanContent& content) {
  shrink(content.pairs);
  shrink(content.maskedPairs);
  shrink(content.quads);
  shrink(content.chains);
  shrink(content.links);
  shrink(content.spans);
  shrink(content.pairGains);
  shrink(content.maskedPairGains);
  shrink(content.quadGains);
  shrink(content.linkGains);
}

}  // namespace

std::unique_ptr<const PlanContent> compile(const ConstMap& map, const PlanLayout& layout,
                                           const SourceGains& sourceGains) {
  const Gains gains(sourceGains, layout);
  auto content = std::make_unique<PlanContent>();
  content->layout = layout;
  content->channels = channelsOf(layout.format);
  content->width = map.width;
  content->height = map.height;
  const Course course = findCourse(map, layout);
  content->isTurned = course.isTurned;
  content->ahead = course.ahead;
  content->blockColumns = std::max(map.width / content->columnsPerBlock(), 1);
  content->blockRows = (map.height - 1) / kBlockRows + 1;
  content->hasGains = gains.areGiven();
  content->gainShift = gains.shift();
  reserve(*content);
  Compiler(map, gains, *content).compile();
  shrink(*content);
  return content;
}

}  // namespace kel::plan
