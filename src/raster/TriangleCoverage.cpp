#include "raster/TriangleCoverage.h"

#include "raster/ColumnNumbers.h"
#include "raster/PixelMath.h"
#include "raster/TileTriangle.h"

#undef HWY_TARGET_INCLUDE
#define HWY_TARGET_INCLUDE "raster/TriangleCoverage.cpp"
#include "hwy/foreach_target.h"
#include "hwy/highway.h"

HWY_BEFORE_NAMESPACE();
namespace ornolith::raster::HWY_NAMESPACE {

namespace hn = hwy::HWY_NAMESPACE;

using WideFloats = hn::ScalableTag<float>;

template <typename Floats>
using IntegersOf = hn::RebindToSigned<Floats>;

/// The first and last pixel of each row of a triangle; none where the first is behind the last.
struct RowSpans {
  static constexpr std::size_t size = tileSide + hn::MaxLanes(WideFloats());
  HWY_ALIGN std::int32_t first[size];
  HWY_ALIGN std::int32_t last[size];
};

/// Exact, for as many rows at a time as a vector has lanes: a quotient tells where a side crosses a row to much less
/// than a pixel, and the side's value at the pixel nearest to that on which side of the crossing it is.
HWY_INLINE void findSpans(const TileTriangle& triangle, RowSpans& spans) {
  constexpr WideFloats floats;
  constexpr IntegersOf<WideFloats> integers;
  const auto set = [](std::int32_t value) { return hn::Set(IntegersOf<WideFloats>(), value); };
  // Sides that run along the rows are crossed infinitely far away.
  constexpr float farAway = 1e30f;
  const auto wholeBitsAsInteger = hn::BitCast(integers, hn::Set(floats, wholeBits));
  const auto beforeTile = hn::Set(floats, -1.0f), behindTile = hn::Set(floats, static_cast<float>(tileSide + 1));
  const auto lanes = static_cast<std::int32_t>(hn::Lanes(floats));
  for (std::int32_t row = 0; row <= triangle.bottom - triangle.top; row += lanes) {
    const auto y = hn::Add(hn::Iota(integers, 0), set(row + triangle.top));
    auto first = set(triangle.left), last = set(triangle.right);
    for (int k = 0; k < 3; ++k) {
      const std::int32_t step = triangle.stepX[k];
      const float inverse = step != 0 ? -1.0f / static_cast<float>(step) : -farAway;
      const auto edge = hn::Add(set(triangle.edge[k]), hn::Mul(y, set(triangle.stepY[k])));
      const auto crossing = hn::Mul(hn::ConvertTo(floats, edge), hn::Set(floats, inverse));
      const auto limited = hn::Min(hn::Max(crossing, beforeTile), behindTile);
      const auto nearest =
          hn::Sub(hn::BitCast(integers, hn::Add(limited, hn::Set(floats, wholeBits))), wholeBitsAsInteger);
      const auto isOutside = hn::BroadcastSignBit(hn::Add(edge, hn::Mul(nearest, set(step))));
      // Which way a side faces is hard to foresee: both bounds are computed, and one of them changes nothing.
      const auto isLast = hn::Gt(hn::Zero(integers), set(step));
      first = hn::IfThenElse(isLast, first, hn::Max(first, hn::Sub(nearest, isOutside)));
      last = hn::IfThenElse(isLast, hn::Min(last, hn::Add(nearest, isOutside)), last);
    }
    hn::Store(first, integers, spans.first + row);
    hn::Store(last, integers, spans.last + row);
  }
}

/// Calls `visit(first pixel, mask of lanes, depths)` for vectors of pixels that hold all pixels that the triangle
/// covers.
template <typename Visit>
HWY_INLINE void visitRows(const TileTriangle& triangle, const RowSpans& spans, const Visit& visit) {
  constexpr WideFloats floats;
  constexpr IntegersOf<WideFloats> integers;
  const auto lanes = static_cast<std::int32_t>(hn::Lanes(floats));
  const auto iota = hn::Iota(integers, 0);
  const auto depthX = hn::Set(floats, triangle.depthX);
  for (std::int32_t y = triangle.top; y <= triangle.bottom; ++y) {
    std::int32_t x = spans.first[y - triangle.top];
    const std::int32_t last = spans.last[y - triangle.top];
    const auto rowDepth = hn::Set(floats, triangle.depth + triangle.depthY * static_cast<float>(y));
    for (; x <= last; x += lanes) {
      const auto column = hn::ConvertTo(floats, hn::Add(iota, hn::Set(integers, x)));
      const std::int32_t count = last - x + 1;
      visit(pixelIndex(x, y), hn::FirstN(floats, static_cast<std::size_t>(count)),
            hn::Add(rowDepth, hn::Mul(depthX, column)));
    }
  }
}

template <typename Visit>
HWY_INLINE void visitCorners(const TileTriangle& triangle, const Visit& visit) {
  if (triangle.top > triangle.bottom) return;
  RowSpans spans;
  findSpans(triangle, spans);
  visitRows(triangle, spans, visit);
}

/// The same for a record of the form `spans`.
template <typename Visit>
HWY_INLINE void visitSpans(const PrimitiveRecord& record, const Visit& visit) {
  constexpr WideFloats floats;
  constexpr std::uint32_t lanes = hn::MaxLanes(floats);
  const auto depthX = hn::Set(floats, record.depth[1]);
  auto y = static_cast<float>(record.firstRow);
  std::uint32_t rowPixel = pixelIndex(0, record.firstRow);
  for (const RowSpan *span = record.rows, *end = span + record.rowCount; span != end; ++span) {
    const auto rowDepth = hn::Set(floats, record.depth[0] + record.depth[2] * y);
    std::uint32_t x = span->first, count = span->count;
    // Rows without a pixel are few.
    while (true) {
      const auto column = hn::LoadU(floats, columnNumbers.data() + x);
      visit(rowPixel + x, hn::FirstN(floats, count), hn::Add(rowDepth, hn::Mul(depthX, column)));
      if (HWY_LIKELY(count <= lanes)) break;
      x += lanes;
      count -= lanes;
    }
    y += 1.0f;
    rowPixel += tileSide;
  }
}

template <typename Visit>
HWY_INLINE void visitTriangle(const PrimitiveRecord& record, const TileBounds& tile, const Visit& visit) {
  if (record.form == TriangleForm::spans) {
    visitSpans(record, visit);
  } else {
    visitCorners(TileTriangle(record, tile), visit);
  }
}

/// Replaces some of the elements at `out`, and may rewrite the others. Masked stores are fast where masks have
/// registers of their own, and many times slower than whole ones on some processors where they have not.
template <typename Mask, typename Vector>
HWY_INLINE void replaceWhere(Mask mask, Vector value, hn::TFromV<Vector>* out) {
  constexpr hn::DFromV<Vector> elements;
  if constexpr (HWY_TARGET <= HWY_AVX3) {
    hn::BlendedStore(value, mask, elements, out);
  } else {
    hn::StoreU(hn::IfThenElse(mask, value, hn::LoadU(elements, out)), elements, out);
  }
}

template <bool readsDepth, bool writesDepth>
std::uint32_t drawSequence(const TriangleSequence& triangles, VisibilityBuffer& buffer, const PrimitiveRecord** seen,
                           std::uint32_t seenCount) {
  for (const std::uint32_t entry : triangles.entries) {
    const PrimitiveRecord& record = triangles.records[entry];
    constexpr WideFloats wide;
    auto isSeen = hn::FirstN(wide, 0);
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
      replaceWhere(hn::RebindMask(numbers, isDrawn), hn::Set(numbers, seenCount), primitives);
      isSeen = hn::Or(isSeen, isDrawn);
    });
    if (!hn::AllFalse(wide, isSeen)) seen[seenCount++] = &record;
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

std::size_t listRuns(const VisibilityBuffer& buffer, const TileBounds& tile, PixelRuns& runs,
                     std::uint32_t* pixelCounts) {
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
      pixelCounts[row[first]] += end - first;
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
  const auto iota = hn::Iota(numbers, 0);
  for (const PixelRun& run : runs) {
    std::uint16_t* out = pixels + ends[run.primitive];
    ends[run.primitive] += run.count;
    std::uint32_t first = run.first, count = run.count;
    for (; HWY_UNLIKELY(count > lanes); count -= lanes, first += lanes, out += lanes) {
      hn::StoreU(hn::Add(iota, hn::Set(numbers, static_cast<std::uint16_t>(first))), numbers, out);
    }
    const auto rest = hn::Add(iota, hn::Set(numbers, static_cast<std::uint16_t>(first)));
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

std::size_t findRuns(const VisibilityBuffer& buffer, const TileBounds& tile, PixelRuns& runs,
                     std::span<std::uint32_t> pixelCounts) noexcept {
  return HWY_DYNAMIC_DISPATCH(listRuns)(buffer, tile, runs, pixelCounts.data());
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
