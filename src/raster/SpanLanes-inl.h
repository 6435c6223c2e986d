// The pixels of as many small triangles as a vector has lanes, row by row. Included once per target by files that
// Highway compiles for several.
#if defined(ORNOLITH_RASTER_SPANLANES_INL_H_) == defined(HWY_TARGET_TOGGLE)
#ifdef ORNOLITH_RASTER_SPANLANES_INL_H_
#undef ORNOLITH_RASTER_SPANLANES_INL_H_
#else
#define ORNOLITH_RASTER_SPANLANES_INL_H_
#endif

#include "raster/PixelMath.h"
#include "raster/TriangleLanes-inl.h"

#if HWY_TARGET != HWY_SCALAR

HWY_BEFORE_NAMESPACE();
namespace ornolith::raster::HWY_NAMESPACE {

/// The sides of small triangles from row to row of their tiles. All numbers are integers below 2^22, exact as floats.
struct Sides {
  FloatVector value[3];       ///< At the tile's first column.
  FloatVector perX[3];        ///< From a pixel to its right neighbour.
  FloatVector perY[3];        ///< From a pixel to the one below.
  FloatVector toCrossing[3];  ///< Value to column; 0 where the side runs along the rows.
  FloatVector correction[3];  ///< From a pixel on the outer side at the crossing to the first or last on the inner.
  FloatMask isLast[3];        ///< The side is crossed at the last pixel of a row, not at the first.
};

HWY_INLINE Sides sidesOf(const Corners& c, const TileLanes& tiles, IntegerVector top) {
  constexpr Floats floats;
  const IntegerVector centerX = hn::Add(hn::ShiftLeft<subpixelBits>(tiles.x), set(subpixelHalf));
  const IntegerVector centerY = hn::Add(hn::ShiftLeft<subpixelBits>(top), set(subpixelHalf));
  Sides sides;
  for (std::size_t k = 0; k < 3; ++k) {
    const std::size_t next = k == 2 ? 0 : k + 1;
    const IntegerVector dx = hn::Sub(c.x[next], c.x[k]), dy = hn::Sub(c.y[next], c.y[k]);
    const IntegerVector value = hn::Sub(hn::Mul(dx, hn::Sub(centerY, c.y[k])), hn::Mul(dy, hn::Sub(centerX, c.x[k])));
    const auto ownsLine = hn::Or(hn::Lt(dy, set(0)), hn::And(hn::Eq(dy, set(0)), hn::Gt(dx, set(0))));
    const IntegerVector inner = hn::Sub(value, hn::IfThenZeroElse(ownsLine, set(1)));
    sides.value[k] = hn::ConvertTo(floats, hn::ShiftRight<subpixelBits>(inner));
    sides.perX[k] = hn::ConvertTo(floats, hn::Neg(dy));
    sides.perY[k] = hn::ConvertTo(floats, dx);
    const auto isLevel = hn::Eq(sides.perX[k], hn::Zero(floats));
    sides.isLast[k] = hn::Lt(sides.perX[k], hn::Zero(floats));
    sides.toCrossing[k] = hn::IfThenZeroElse(isLevel, hn::Div(hn::Set(floats, -1.0f), sides.perX[k]));
    // A row on the outer side of a side along it begins behind the tile.
    const auto inward = hn::IfThenElse(sides.isLast[k], hn::Set(floats, -1.0f), hn::Set(floats, 1.0f));
    sides.correction[k] = hn::IfThenElse(isLevel, hn::Set(floats, static_cast<float>(2 * tileSide)), inward);
  }
  return sides;
}

/// The pixels of small triangles, two rows to an element.
struct SpanLanes {
  IntegerVector rows[mostSpanRows / 2];
  IntegerVector rowCount;  ///< Rows behind the last pixel are left out.
};

/// Exact: a quotient tells where a side crosses a row to much less than a pixel, and the side's value at the pixel
/// nearest to that on which side of the crossing it is. `boxes` are those of the triangles in their tiles.
HWY_INLINE SpanLanes spansOf(const Corners& c, const TileLanes& tiles, const PixelBoxes& boxes, IntegerMask isSmall) {
  constexpr Integers integers;
  constexpr Floats floats;
  const IntegerVector height = hn::IfThenElseZero(isSmall, hn::Add(hn::Sub(boxes.bottom, boxes.top), set(1)));
  const std::int32_t mostRows = hn::GetLane(hn::MaxOfLanes(integers, height));
  const FloatVector left = hn::ConvertTo(floats, hn::Sub(boxes.left, tiles.x));
  const FloatVector right = hn::ConvertTo(floats, hn::Sub(boxes.right, tiles.x));
  const FloatVector toWhole = hn::Set(floats, wholeBits), one = hn::Set(floats, 1.0f);
  Sides sides = sidesOf(c, tiles, boxes.top);
  SpanLanes spans;
  spans.rowCount = set(0);
  for (IntegerVector& rows : spans.rows) rows = set(0);
  const auto spanOfRow = [&](std::int32_t row) {
    FloatVector first = left, last = right;
    for (std::size_t k = 0; k < 3; ++k) {
      const FloatVector crossing = hn::Mul(sides.value[k], sides.toCrossing[k]);
      const FloatVector nearest = hn::Sub(hn::Add(crossing, toWhole), toWhole);
      const auto isOutside = hn::Lt(hn::Add(sides.value[k], hn::Mul(nearest, sides.perX[k])), hn::Zero(floats));
      const FloatVector bound = hn::IfThenElse(isOutside, hn::Add(nearest, sides.correction[k]), nearest);
      first = hn::IfThenElse(sides.isLast[k], first, hn::Max(first, bound));
      last = hn::IfThenElse(sides.isLast[k], hn::Min(last, bound), last);
      sides.value[k] = hn::Add(sides.value[k], sides.perY[k]);
    }
    const auto isFilled = hn::And(hn::RebindMask(integers, hn::Le(first, last)), hn::Gt(height, set(row)));
    spans.rowCount = hn::IfThenElse(isFilled, set(row + 1), spans.rowCount);
    const FloatVector count = hn::Add(hn::Sub(last, first), one);
    const FloatVector span = hn::Add(first, hn::Mul(count, hn::Set(floats, 256.0f)));
    return hn::IfThenElseZero(isFilled, hn::ConvertTo(integers, span));
  };
  for (std::int32_t row = 0; row < mostRows; row += 2) {
    const IntegerVector upper = spanOfRow(row);
    spans.rows[row / 2] = hn::Or(upper, hn::ShiftLeft<16>(spanOfRow(row + 1)));
  }
  return spans;
}

}  // namespace ornolith::raster::HWY_NAMESPACE
HWY_AFTER_NAMESPACE();

#endif

#endif
