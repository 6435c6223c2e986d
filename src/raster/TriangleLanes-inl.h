// Corners, boxes and depths of as many triangles as a vector has lanes. Included once per target by files that Highway
// compiles for several.
#if defined(ORNOLITH_RASTER_TRIANGLELANES_INL_H_) == defined(HWY_TARGET_TOGGLE)
#ifdef ORNOLITH_RASTER_TRIANGLELANES_INL_H_
#undef ORNOLITH_RASTER_TRIANGLELANES_INL_H_
#else
#define ORNOLITH_RASTER_TRIANGLELANES_INL_H_
#endif

#include <hwy/highway.h>

#include "raster/TriangleSetup.h"
#include "raster/VectorTypes-inl.h"

#if HWY_TARGET != HWY_SCALAR

HWY_BEFORE_NAMESPACE();
namespace ornolith::raster::HWY_NAMESPACE {

using Doubles = hn::Repartition<double, Integers>;
using HalfIntegers = hn::Half<Integers>;
using HalfFloats = hn::Half<Floats>;
using HalfUnsigned = hn::RebindToUnsigned<HalfIntegers>;
using DoubleVector = hn::Vec<Doubles>;

constexpr std::size_t maximumLanes = hn::MaxLanes(Integers());

HWY_INLINE IntegerVector set(std::int32_t value) {
  return hn::Set(Integers(), value);
}

template <typename Vector>
HWY_INLINE DoubleVector lowDoubles(Vector v) {
  return hn::PromoteTo(Doubles(), hn::LowerHalf(hn::Half<hn::DFromV<Vector> >(), v));
}
template <typename Vector>
HWY_INLINE DoubleVector highDoubles(Vector v) {
  return hn::PromoteTo(Doubles(), hn::UpperHalf(hn::Half<hn::DFromV<Vector> >(), v));
}

/// The corners of as many triangles as a vector has lanes.
struct Corners {
  IntegerVector x[3];
  IntegerVector y[3];
  FloatVector depth[3];
  IntegerVector isRegular;  ///< 1 where all three are.
};

/// One screen vertex in each block of a vector: the block `b` holds that of corner `k` of the triangle in lane
/// `4 * b + lane`. `cornersOf(i)` are the three indices of the triangle in lane i.
template <typename CornersOf>
HWY_INLINE IntegerVector gatherVertices(const TriangleRun& run, const CornersOf& cornersOf, std::size_t k,
                                        std::size_t lane) {
  static_assert(sizeof(ScreenVertex) == 16);
  constexpr hn::FixedTag<std::int32_t, 4> quarter;
  const auto load = [&](std::size_t block) {
    const std::uint32_t index = cornersOf(4 * block + lane)[k] - run.firstVertex;
    return hn::LoadU(quarter, reinterpret_cast<const std::int32_t*>(run.vertices + index));
  };
  if constexpr (maximumLanes == 4) {
    return load(0);
  } else if constexpr (maximumLanes == 8) {
    return hn::Combine(Integers(), load(1), load(0));
  } else {
    constexpr HalfIntegers half;
    return hn::Combine(Integers(), hn::Combine(half, load(3), load(2)), hn::Combine(half, load(1), load(0)));
  }
}

template <typename CornersOf>
HWY_INLINE Corners gatherCorners(const TriangleRun& run, const CornersOf& cornersOf) {
  constexpr Integers integers;
  constexpr hn::Repartition<std::int64_t, Integers> pairs;
  Corners corners;
  corners.isRegular = set(1);
  for (std::size_t k = 0; k < 3; ++k) {
    // Four-by-four transposition within each block.
    const IntegerVector v0 = gatherVertices(run, cornersOf, k, 0), v1 = gatherVertices(run, cornersOf, k, 1);
    const IntegerVector v2 = gatherVertices(run, cornersOf, k, 2), v3 = gatherVertices(run, cornersOf, k, 3);
    const auto xy01 = hn::BitCast(pairs, hn::InterleaveLower(integers, v0, v1));
    const auto xy23 = hn::BitCast(pairs, hn::InterleaveLower(integers, v2, v3));
    const auto rest01 = hn::BitCast(pairs, hn::InterleaveUpper(integers, v0, v1));
    const auto rest23 = hn::BitCast(pairs, hn::InterleaveUpper(integers, v2, v3));
    corners.x[k] = hn::BitCast(integers, hn::InterleaveLower(pairs, xy01, xy23));
    corners.y[k] = hn::BitCast(integers, hn::InterleaveUpper(pairs, xy01, xy23));
    corners.depth[k] = hn::BitCast(Floats(), hn::InterleaveLower(pairs, rest01, rest23));
    const auto isRegular = hn::BitCast(integers, hn::InterleaveUpper(pairs, rest01, rest23));
    corners.isRegular = hn::And(corners.isRegular, isRegular);
  }
  return corners;
}

/// Numbers with the signs of the doubled areas.
HWY_INLINE IntegerVector orientations(const Corners& c) {
  const IntegerVector x1 = hn::Sub(c.x[1], c.x[0]), y1 = hn::Sub(c.y[1], c.y[0]);
  const IntegerVector x2 = hn::Sub(c.x[2], c.x[0]), y2 = hn::Sub(c.y[2], c.y[0]);
  const IntegerVector longest = hn::Max(hn::Max(hn::Abs(x1), hn::Abs(y1)), hn::Max(hn::Abs(x2), hn::Abs(y2)));
  if (HWY_LIKELY(hn::AllTrue(Integers(), hn::Lt(longest, set(1 << 15))))) {
    return hn::Sub(hn::Mul(x1, y2), hn::Mul(y1, x2));
  }
  // Products of 23 bits each are exact in double precision.
  const auto half = [](DoubleVector px1, DoubleVector py1, DoubleVector px2, DoubleVector py2) {
    const DoubleVector one = hn::Mul(px1, py2), other = hn::Mul(py1, px2);
    const auto isLess = hn::RebindMask(hn::RebindToSigned<Doubles>(), hn::Lt(one, other));
    const auto isMore = hn::RebindMask(hn::RebindToSigned<Doubles>(), hn::Gt(one, other));
    constexpr hn::RebindToSigned<Doubles> longs;
    const auto sign = hn::Sub(hn::VecFromMask(longs, isLess), hn::VecFromMask(longs, isMore));
    return hn::TruncateTo(HalfUnsigned(), hn::BitCast(hn::RebindToUnsigned<Doubles>(), sign));
  };
  const auto low = half(lowDoubles(x1), lowDoubles(y1), lowDoubles(x2), lowDoubles(y2));
  const auto high = half(highDoubles(x1), highDoubles(y1), highDoubles(x2), highDoubles(y2));
  return hn::BitCast(Integers(), hn::Combine(hn::RebindToUnsigned<Integers>(), high, low));
}

/// Inclusive ranges of pixels that the triangles can cover, of the image or not.
struct PixelBoxes {
  IntegerVector left, top, right, bottom;

  explicit PixelBoxes(const Corners& c) {
    const auto first = [](IntegerVector v) { return hn::ShiftRight<subpixelBits>(hn::Add(v, set(subpixelHalf - 1))); };
    const auto last = [](IntegerVector v) { return hn::ShiftRight<subpixelBits>(hn::Sub(v, set(subpixelHalf))); };
    left = first(hn::Min(c.x[0], hn::Min(c.x[1], c.x[2])));
    top = first(hn::Min(c.y[0], hn::Min(c.y[1], c.y[2])));
    right = last(hn::Max(c.x[0], hn::Max(c.x[1], c.x[2])));
    bottom = last(hn::Max(c.y[0], hn::Max(c.y[1], c.y[2])));
  }

  IntegerMask areFilled() const { return hn::Not(hn::Or(hn::Gt(left, right), hn::Gt(top, bottom))); }
  IntegerMask lieInOneTile() const {
    const IntegerVector difference = hn::Or(hn::Xor(left, right), hn::Xor(top, bottom));
    return hn::Lt(difference, set(tileSide));
  }
  /// Small enough for spans: then, coordinates differ by less than 2^15 from each other and from the pixels of any tile
  /// that the box touches.
  IntegerMask fitSpans() const {
    return hn::And(hn::Lt(hn::Sub(right, left), set(tileSide)), hn::Lt(hn::Sub(bottom, top), set(mostSpanRows)));
  }
  /// Whether boxes of the image hold the corner between four tiles.
  IntegerMask holdTileCorners() const {
    const auto differ = [](IntegerVector a, IntegerVector b) { return hn::Gt(hn::Xor(a, b), set(tileSide - 1)); };
    return hn::And(differ(left, right), differ(top, bottom));
  }
  PixelBoxes cutTo(IntegerVector x, IntegerVector y, IntegerVector lastX, IntegerVector lastY) const {
    PixelBoxes cut = *this;
    cut.left = hn::Max(left, x);
    cut.top = hn::Max(top, y);
    cut.right = hn::Min(right, lastX);
    cut.bottom = hn::Min(bottom, lastY);
    return cut;
  }
  PixelBoxes cutTo(const TileGrid& grid) const {
    return cutTo(set(0), set(0), set(grid.width - 1), set(grid.height - 1));
  }
};

/// A tile for each lane, by its first pixel.
struct TileLanes {
  IntegerVector x, y;
};

struct DepthPlanes {
  FloatVector origin, perX, perY;
};

struct HalfPlanes {
  hn::Vec<HalfFloats> origin, perX, perY;
};

/// The same sums as those of a triangle that is brought to a tile on its own.
HWY_INLINE HalfPlanes depthPlanes(const DoubleVector (&x)[3], const DoubleVector (&y)[3], const DoubleVector (&z)[3],
                                  DoubleVector tileX, DoubleVector tileY) {
  constexpr Doubles doubles;
  const DoubleVector unit = hn::Set(doubles, 1.0 / subpixelOne), half = hn::Set(doubles, 0.5);
  const DoubleVector x1 = hn::Mul(hn::Sub(x[1], x[0]), unit), y1 = hn::Mul(hn::Sub(y[1], y[0]), unit);
  const DoubleVector x2 = hn::Mul(hn::Sub(x[2], x[0]), unit), y2 = hn::Mul(hn::Sub(y[2], y[0]), unit);
  const DoubleVector z1 = hn::Sub(z[1], z[0]), z2 = hn::Sub(z[2], z[0]);
  const DoubleVector inverseArea = hn::Div(hn::Set(doubles, 1.0), hn::Sub(hn::Mul(x1, y2), hn::Mul(y1, x2)));
  const DoubleVector gradientX = hn::Mul(hn::Sub(hn::Mul(z1, y2), hn::Mul(z2, y1)), inverseArea);
  const DoubleVector gradientY = hn::Mul(hn::Sub(hn::Mul(z2, x1), hn::Mul(z1, x2)), inverseArea);
  const DoubleVector fromX = hn::Sub(hn::Add(tileX, half), hn::Mul(x[0], unit));
  const DoubleVector fromY = hn::Sub(hn::Add(tileY, half), hn::Mul(y[0], unit));
  const DoubleVector origin = hn::Add(hn::Add(z[0], hn::Mul(gradientX, fromX)), hn::Mul(gradientY, fromY));
  constexpr HalfFloats floats;
  return {hn::DemoteTo(floats, origin), hn::DemoteTo(floats, gradientX), hn::DemoteTo(floats, gradientY)};
}

HWY_INLINE DepthPlanes depthPlanes(const Corners& c, const TileLanes& tiles) {
  const HalfPlanes low = depthPlanes({lowDoubles(c.x[0]), lowDoubles(c.x[1]), lowDoubles(c.x[2])},
                                     {lowDoubles(c.y[0]), lowDoubles(c.y[1]), lowDoubles(c.y[2])},
                                     {lowDoubles(c.depth[0]), lowDoubles(c.depth[1]), lowDoubles(c.depth[2])},
                                     lowDoubles(tiles.x), lowDoubles(tiles.y));
  const HalfPlanes high = depthPlanes({highDoubles(c.x[0]), highDoubles(c.x[1]), highDoubles(c.x[2])},
                                      {highDoubles(c.y[0]), highDoubles(c.y[1]), highDoubles(c.y[2])},
                                      {highDoubles(c.depth[0]), highDoubles(c.depth[1]), highDoubles(c.depth[2])},
                                      highDoubles(tiles.x), highDoubles(tiles.y));
  constexpr Floats floats;
  return {hn::Combine(floats, high.origin, low.origin), hn::Combine(floats, high.perX, low.perX),
          hn::Combine(floats, high.perY, low.perY)};
}

}  // namespace ornolith::raster::HWY_NAMESPACE
HWY_AFTER_NAMESPACE();

#endif

#endif
