#include "raster/TriangleCoverage.h"

#include "raster/TileTriangle.h"

#undef HWY_TARGET_INCLUDE
#define HWY_TARGET_INCLUDE "raster/TriangleCoverage.cpp"
#include "hwy/foreach_target.h"
#include "hwy/highway.h"

HWY_BEFORE_NAMESPACE();
namespace ornolith::raster::HWY_NAMESPACE {

namespace hn = hwy::HWY_NAMESPACE;

/// What suffices for rows of few pixels, and what fills long rows fastest.
using NarrowFloats = hn::CappedTag<float, 8>;
using WideFloats = hn::ScalableTag<float>;

template <typename Floats>
using IntegersOf = hn::RebindToSigned<Floats>;

/// The pixels of a row in which a triangle can be: conservative by far more than what the quotients are rounded by.
struct RowSpan {
  std::int32_t left, right;

  RowSpan(const TileTriangle& triangle, const std::int32_t (&edge)[3], const float (&inverseStep)[3]) {
    constexpr float margin = 0.02f;
    auto low = static_cast<float>(triangle.left), high = static_cast<float>(triangle.right);
    for (int k = 0; k < 3; ++k) {
      const float at = -static_cast<float>(edge[k]) * inverseStep[k];
      if (triangle.stepX[k] > 0 && at - margin > low) low = at - margin;
      if (triangle.stepX[k] < 0 && at + margin < high) high = at + margin;
      if (triangle.stepX[k] == 0 && edge[k] < 0) high = -1;
    }
    left = low < tileSide ? static_cast<std::int32_t>(low) : tileSide;
    right = high > -1 ? static_cast<std::int32_t>(high) : -1;
  }
};

/// Calls `visit(first pixel, mask of lanes, depths)` for vectors of pixels that hold all pixels that the triangle
/// covers.
template <bool isNarrow, typename Floats, typename Visit>
HWY_INLINE void visitRows(Floats floats, const TileTriangle& triangle, const TileBounds& tile, const Visit& visit) {
  constexpr IntegersOf<Floats> integers;
  const auto lanes = static_cast<std::int32_t>(hn::Lanes(floats));
  const auto zero = hn::Zero(integers);
  const auto iota = hn::Iota(integers, 0);
  const auto ramp0 = hn::Mul(iota, hn::Set(integers, triangle.stepX[0]));
  const auto ramp1 = hn::Mul(iota, hn::Set(integers, triangle.stepX[1]));
  const auto ramp2 = hn::Mul(iota, hn::Set(integers, triangle.stepX[2]));
  const auto depthX = hn::Set(floats, triangle.depthX);
  float inverseStep[3] = {};
  for (int k = 0; k < 3 && !isNarrow; ++k) {
    if (triangle.stepX[k] != 0) inverseStep[k] = 1.0f / static_cast<float>(triangle.stepX[k]);
  }
  for (std::int32_t y = triangle.top; y <= triangle.bottom; ++y) {
    const std::int32_t edge[3] = {triangle.edge[0] + triangle.stepY[0] * y, triangle.edge[1] + triangle.stepY[1] * y,
                                  triangle.edge[2] + triangle.stepY[2] * y};
    const auto rowDepth = hn::Set(floats, triangle.depth + triangle.depthY * static_cast<float>(y));
    const auto visitAt = [&](std::int32_t x) {
      const auto edge0 = hn::Add(hn::Set(integers, edge[0] + triangle.stepX[0] * x), ramp0);
      const auto edge1 = hn::Add(hn::Set(integers, edge[1] + triangle.stepX[1] * x), ramp1);
      const auto edge2 = hn::Add(hn::Set(integers, edge[2] + triangle.stepX[2] * x), ramp2);
      // Beyond the tile's own width, the pixel counts as outside of one more edge.
      const auto border = hn::Sub(hn::Set(integers, tile.width - 1 - x), iota);
      const auto isOutside = hn::Lt(hn::Or(hn::Or(edge0, edge1), hn::Or(edge2, border)), zero);
      const auto column = hn::ConvertTo(floats, hn::Add(iota, hn::Set(integers, x)));
      visit(pixelIndex(x, y), hn::RebindMask(floats, hn::Not(isOutside)), hn::Add(rowDepth, hn::Mul(depthX, column)));
    };
    if constexpr (isNarrow) {
      visitAt(HWY_MIN(triangle.left, tileSide - lanes));
    } else {
      const RowSpan span(triangle, edge, inverseStep);
      for (std::int32_t x = span.left & ~(lanes - 1); x <= span.right; x += lanes) visitAt(x);
    }
  }
}

template <typename Visit>
HWY_INLINE void visitCorners(const TileTriangle& triangle, const TileBounds& tile, const Visit& visit) {
  if (triangle.top > triangle.bottom) return;
  constexpr NarrowFloats narrow;
  constexpr WideFloats wide;
  const std::int32_t width = triangle.right - triangle.left;
  if (width < static_cast<std::int32_t>(hn::Lanes(narrow))) {
    visitRows<true>(narrow, triangle, tile, visit);
  } else if (width < static_cast<std::int32_t>(hn::Lanes(wide))) {
    visitRows<true>(wide, triangle, tile, visit);
  } else {
    visitRows<false>(wide, triangle, tile, visit);
  }
}

/// The same for a record of the form `mask`.
template <typename Visit>
HWY_INLINE void visitMask(const PrimitiveRecord& record, const Visit& visit) {
  constexpr NarrowFloats floats;
  constexpr IntegersOf<NarrowFloats> integers;
  const auto lanes = static_cast<std::int32_t>(hn::Lanes(floats));
  const auto iota = hn::Iota(integers, 0);
  const auto laneBits = hn::Shl(hn::Set(integers, 1), iota);
  const auto depthX = hn::Set(floats, record.depth[1]);
  const std::int32_t left = record.x[0] % tileSide, top = record.y[0] % tileSide;
  const std::uint64_t upper = static_cast<std::uint32_t>(record.x[1]);
  std::uint64_t bits = upper | std::uint64_t{static_cast<std::uint32_t>(record.x[2])} << 32;
  for (std::int32_t y = top; bits != 0; ++y, bits >>= maskSide) {
    const auto rowBits = static_cast<std::int32_t>(bits & 0xff);
    if (rowBits == 0) continue;
    const auto rowDepth = hn::Set(floats, record.depth[0] + record.depth[2] * static_cast<float>(y));
    for (std::int32_t column = 0; column < record.y[2]; column += lanes) {
      const std::int32_t x = HWY_MIN(left + column, tileSide - lanes);
      const std::int32_t bitsFromX = (rowBits >> column) << (left + column - x);
      const auto isInside = hn::TestBit(hn::Set(integers, bitsFromX), laneBits);
      const auto columns = hn::ConvertTo(floats, hn::Add(iota, hn::Set(integers, x)));
      visit(pixelIndex(x, y), hn::RebindMask(floats, isInside), hn::Add(rowDepth, hn::Mul(depthX, columns)));
    }
  }
}

template <typename Visit>
HWY_INLINE void visitTriangle(const PrimitiveRecord& record, const TileBounds& tile, const Visit& visit) {
  if (record.form == TriangleForm::mask) {
    visitMask(record, visit);
  } else {
    visitCorners(TileTriangle(record, tile), tile, visit);
  }
}

template <bool readsDepth, bool writesDepth>
std::uint32_t drawSequence(const TriangleSequence& triangles, VisibilityBuffer& buffer, const PrimitiveRecord** seen,
                           std::uint32_t seenCount) {
  for (const std::uint32_t entry : triangles.entries) {
    const PrimitiveRecord& record = triangles.records[entry];
    bool isSeen = false;
    visitTriangle(record, triangles.tile, [&](std::uint32_t pixel, auto isInside, auto depth) {
      using Floats = hn::DFromV<decltype(depth)>;
      constexpr Floats floats;
      constexpr hn::RebindToUnsigned<Floats> numbers;
      float* const depths = buffer.depth.data() + pixel;
      std::uint32_t* const primitives = buffer.primitive.data() + pixel;
      auto isDrawn = isInside;
      if constexpr (readsDepth || writesDepth) {
        const auto old = hn::LoadU(floats, depths);
        if constexpr (readsDepth) isDrawn = hn::And(isDrawn, hn::Ge(depth, old));
        if constexpr (writesDepth) hn::StoreU(hn::IfThenElse(isDrawn, depth, old), floats, depths);
      }
      const auto number = hn::Set(numbers, seenCount);
      hn::StoreU(hn::IfThenElse(hn::RebindMask(numbers, isDrawn), number, hn::LoadU(numbers, primitives)), numbers,
                 primitives);
      isSeen = isSeen || !hn::AllFalse(floats, isDrawn);
    });
    if (isSeen) seen[seenCount++] = &record;
  }
  return seenCount;
}

std::uint32_t drawAll(const TriangleSequence& triangles, VisibilityBuffer& buffer, const PrimitiveRecord** seen,
                      std::uint32_t seenCount) {
  if (triangles.rules.reads) {
    return triangles.rules.writes ? drawSequence<true, true>(triangles, buffer, seen, seenCount)
                                  : drawSequence<true, false>(triangles, buffer, seen, seenCount);
  }
  return triangles.rules.writes ? drawSequence<false, true>(triangles, buffer, seen, seenCount)
                                : drawSequence<false, false>(triangles, buffer, seen, seenCount);
}

void collect(const PrimitiveRecord& record, const TileBounds& tile, bool readsDepth, const VisibilityBuffer& buffer,
             FragmentList& fragments) {
  std::uint32_t count = 0;
  visitTriangle(record, tile, [&](std::uint32_t pixel, auto isInside, auto depth) {
    using Floats = hn::DFromV<decltype(depth)>;
    constexpr Floats floats;
    auto isKept = isInside;
    if (readsDepth) isKept = hn::And(isKept, hn::Ge(depth, hn::LoadU(floats, buffer.depth.data() + pixel)));
    HWY_ALIGN float depths[hn::MaxLanes(Floats())];
    std::uint8_t bytes[8] = {};
    hn::StoreMaskBits(floats, isKept, bytes);
    std::uint32_t bits = bytes[0] | static_cast<std::uint32_t>(bytes[1]) << 8;
    if (bits == 0) return;
    hn::Store(depth, floats, depths);
    for (; bits != 0; bits &= bits - 1) {
      const auto lane = static_cast<std::uint32_t>(hwy::Num0BitsBelowLS1Bit_Nonzero32(bits));
      fragments.pixel[count] = static_cast<std::uint16_t>(pixel + lane);
      fragments.depth[count++] = depths[lane];
    }
  });
  fragments.count = count;
}

/// A bit for each pixel of a row that differs from its left neighbour, and for the first.
HWY_INLINE std::uint64_t changesInRow(const std::uint32_t* row) {
  constexpr hn::ScalableTag<std::uint32_t> numbers;
  const std::size_t lanes = hn::Lanes(numbers);
  std::uint64_t changes = 1;
  for (std::size_t x = 0; x < tileSide; x += lanes) {
    // Before the first pixel stands nothing to compare with: there, one pixel on is compared.
    const std::size_t shift = x == 0 ? 1 : 0;
    const auto differs = hn::Ne(hn::LoadU(numbers, row + x + shift), hn::LoadU(numbers, row + x + shift - 1));
    std::uint8_t bytes[8] = {};
    hn::StoreMaskBits(numbers, differs, bytes);
    const std::uint64_t bits = bytes[0] | static_cast<std::uint64_t>(bytes[1]) << 8;
    changes |= bits << (x + shift);
  }
  return changes;
}

std::size_t listRuns(const VisibilityBuffer& buffer, const TileBounds& tile, PixelRuns& runs) {
  std::size_t count = 0;
  const std::uint64_t inTile = ~std::uint64_t{0} >> (tileSide - tile.width);
  for (std::int32_t y = 0; y < tile.height; ++y) {
    const std::uint32_t* row = buffer.primitive.data() + pixelIndex(0, y);
    std::uint64_t changes = changesInRow(row) & inTile;
    while (changes != 0) {
      const auto first = static_cast<std::uint32_t>(hwy::Num0BitsBelowLS1Bit_Nonzero64(changes));
      changes &= changes - 1;
      const std::uint32_t end = changes != 0 ? static_cast<std::uint32_t>(hwy::Num0BitsBelowLS1Bit_Nonzero64(changes))
                                             : static_cast<std::uint32_t>(tile.width);
      if (row[first] == noPrimitive) continue;
      runs[count++] = {row[first], static_cast<std::uint16_t>(pixelIndex(0, y) + first),
                       static_cast<std::uint16_t>(end - first)};
    }
  }
  return count;
}

void dealOut(std::span<const PixelRun> runs, std::uint32_t* ends, std::uint16_t* pixels) {
  // Most runs are of a few pixels, of which a loop would guess the number wrong.
  constexpr hn::CappedTag<std::uint16_t, 8> numbers;
  constexpr auto lanes = static_cast<std::uint32_t>(hn::MaxLanes(numbers));
  for (const PixelRun& run : runs) {
    std::uint16_t* out = pixels + ends[run.primitive];
    ends[run.primitive] += run.count;
    std::uint32_t first = run.first, count = run.count;
    for (; HWY_UNLIKELY(count > lanes); count -= lanes, first += lanes, out += lanes) {
      hn::StoreU(hn::Iota(numbers, static_cast<std::uint16_t>(first)), numbers, out);
    }
    const auto rest = hn::Iota(numbers, static_cast<std::uint16_t>(first));
    hn::BlendedStore(rest, hn::FirstN(numbers, count), numbers, out);
  }
}

}  // namespace ornolith::raster::HWY_NAMESPACE
HWY_AFTER_NAMESPACE();

#if HWY_ONCE

namespace ornolith::raster {

HWY_EXPORT(drawAll);
HWY_EXPORT(collect);
HWY_EXPORT(listRuns);
HWY_EXPORT(dealOut);

std::uint32_t drawTriangles(const TriangleSequence& triangles, VisibilityBuffer& buffer, const PrimitiveRecord** seen,
                            std::uint32_t seenCount) noexcept {
  return HWY_DYNAMIC_DISPATCH(drawAll)(triangles, buffer, seen, seenCount);
}

std::size_t findRuns(const VisibilityBuffer& buffer, const TileBounds& tile, PixelRuns& runs) noexcept {
  return HWY_DYNAMIC_DISPATCH(listRuns)(buffer, tile, runs);
}

void sortPixels(std::span<const PixelRun> runs, std::uint32_t* ends, PixelList& pixels) noexcept {
  HWY_DYNAMIC_DISPATCH(dealOut)(runs, ends, pixels.data());
}

void collectTriangle(const PrimitiveRecord& record, const TileBounds& tile, bool readsDepth,
                     const VisibilityBuffer& buffer, FragmentList& fragments) noexcept {
  HWY_DYNAMIC_DISPATCH(collect)(record, tile, readsDepth, buffer, fragments);
}

}  // namespace ornolith::raster

#endif
