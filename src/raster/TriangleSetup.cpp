#include "raster/TriangleSetup.h"

#include <cstring>

#undef HWY_TARGET_INCLUDE
#define HWY_TARGET_INCLUDE "raster/TriangleSetup.cpp"
#include "hwy/foreach_target.h"
#include "hwy/highway.h"

HWY_BEFORE_NAMESPACE();
namespace ornolith::raster::HWY_NAMESPACE {

#if HWY_TARGET == HWY_SCALAR

bool setUpRun(const TriangleRun&, const std::function<void(std::uint32_t)>&, RecordList&) {
  return false;
}

#else

namespace hn = hwy::HWY_NAMESPACE;

using Integers = hn::ScalableTag<std::int32_t>;
using Floats = hn::RebindToFloat<Integers>;
using Doubles = hn::Repartition<double, Integers>;
using HalfIntegers = hn::Half<Integers>;
using HalfFloats = hn::Half<Floats>;
using HalfUnsigned = hn::RebindToUnsigned<HalfIntegers>;
using IntegerVector = hn::Vec<Integers>;
using FloatVector = hn::Vec<Floats>;
using DoubleVector = hn::Vec<Doubles>;
using IntegerMask = hn::Mask<Integers>;

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

/// -1, 0 or 1: the sign of the doubled area. Products of 23 bits each are exact in double precision.
HWY_INLINE IntegerVector orientations(const Corners& c) {
  const IntegerVector x1 = hn::Sub(c.x[1], c.x[0]), y1 = hn::Sub(c.y[1], c.y[0]);
  const IntegerVector x2 = hn::Sub(c.x[2], c.x[0]), y2 = hn::Sub(c.y[2], c.y[0]);
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

/// Inclusive ranges of pixels that the triangles can cover, as they are and cut to the image.
struct PixelBoxes {
  IntegerVector low[2], high[2];
  IntegerVector left, top, right, bottom;

  PixelBoxes(const Corners& c, const TileGrid& grid) {
    const auto first = [](IntegerVector v) { return hn::ShiftRight<subpixelBits>(hn::Add(v, set(subpixelHalf - 1))); };
    const auto last = [](IntegerVector v) { return hn::ShiftRight<subpixelBits>(hn::Sub(v, set(subpixelHalf))); };
    low[0] = first(hn::Min(c.x[0], hn::Min(c.x[1], c.x[2])));
    low[1] = first(hn::Min(c.y[0], hn::Min(c.y[1], c.y[2])));
    high[0] = last(hn::Max(c.x[0], hn::Max(c.x[1], c.x[2])));
    high[1] = last(hn::Max(c.y[0], hn::Max(c.y[1], c.y[2])));
    left = hn::Max(low[0], set(0));
    top = hn::Max(low[1], set(0));
    right = hn::Min(high[0], set(grid.width - 1));
    bottom = hn::Min(high[1], set(grid.height - 1));
  }

  IntegerMask areFilled() const { return hn::Not(hn::Or(hn::Gt(left, right), hn::Gt(top, bottom))); }
  IntegerMask lieInOneTile() const {
    const IntegerVector difference = hn::Or(hn::Xor(left, right), hn::Xor(top, bottom));
    return hn::Lt(difference, set(tileSide));
  }
  /// Small enough for a mask, in one tile, and not cut by the image's border.
  IntegerMask fitMasks() const {
    const IntegerVector cut = hn::Or(hn::Or(hn::Xor(left, low[0]), hn::Xor(right, high[0])),
                                     hn::Or(hn::Xor(top, low[1]), hn::Xor(bottom, high[1])));
    const IntegerVector size = hn::Max(hn::Sub(right, left), hn::Sub(bottom, top));
    return hn::And(hn::And(lieInOneTile(), hn::Eq(cut, set(0))), hn::Lt(size, set(maskSide)));
  }
};

/// The covered pixels of small triangles, as in a record of that form.
struct CoverageMasks {
  IntegerVector upper, lower;
};

/// Where `fits` is set, coordinates differ by less than 2^12 from each other and from the box's pixels.
HWY_INLINE CoverageMasks coverageMasks(const Corners& c, const PixelBoxes& boxes, IntegerMask fits) {
  constexpr Integers integers;
  const IntegerVector columns = hn::IfThenElseZero(fits, hn::Add(hn::Sub(boxes.right, boxes.left), set(1)));
  const IntegerVector rows = hn::IfThenElseZero(fits, hn::Add(hn::Sub(boxes.bottom, boxes.top), set(1)));
  const std::int32_t mostColumns = hn::GetLane(hn::MaxOfLanes(integers, columns));
  const std::int32_t mostRows = hn::GetLane(hn::MaxOfLanes(integers, rows));
  const IntegerVector centerX = hn::Add(hn::ShiftLeft<subpixelBits>(boxes.left), set(subpixelHalf));
  const IntegerVector centerY = hn::Add(hn::ShiftLeft<subpixelBits>(boxes.top), set(subpixelHalf));
  IntegerVector atRow[3], stepX[3], stepY[3];
  for (std::size_t k = 0; k < 3; ++k) {
    const std::size_t next = k == 2 ? 0 : k + 1;
    const IntegerVector dx = hn::Sub(c.x[next], c.x[k]), dy = hn::Sub(c.y[next], c.y[k]);
    const IntegerVector value = hn::Sub(hn::Mul(dx, hn::Sub(centerY, c.y[k])), hn::Mul(dy, hn::Sub(centerX, c.x[k])));
    const auto ownsLine = hn::Or(hn::Lt(dy, set(0)), hn::And(hn::Eq(dy, set(0)), hn::Gt(dx, set(0))));
    atRow[k] = hn::ShiftRight<subpixelBits>(hn::Sub(value, hn::IfThenZeroElse(ownsLine, set(1))));
    stepX[k] = hn::Neg(dy);
    stepY[k] = dx;
  }
  CoverageMasks masks{set(0), set(0)};
  for (std::int32_t row = 0; row < mostRows; ++row) {
    IntegerVector edge[3] = {atRow[0], atRow[1], atRow[2]};
    IntegerVector bits = set(0);
    for (std::int32_t column = 0; column < mostColumns; ++column) {
      const IntegerVector outside = hn::BroadcastSignBit(hn::Or(hn::Or(edge[0], edge[1]), edge[2]));
      bits = hn::Or(bits, hn::AndNot(outside, set(1 << column)));
      for (std::size_t k = 0; k < 3; ++k) edge[k] = hn::Add(edge[k], stepX[k]);
    }
    for (std::size_t k = 0; k < 3; ++k) atRow[k] = hn::Add(atRow[k], stepY[k]);
    IntegerVector& half = row < 4 ? masks.upper : masks.lower;
    half = hn::Or(half, hn::ShiftLeftSame(bits, (row & 3) * maskSide));
  }
  return {hn::IfThenElseZero(fits, masks.upper), hn::IfThenElseZero(fits, masks.lower)};
}

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

HWY_INLINE DepthPlanes depthPlanes(const Corners& c, const PixelBoxes& boxes) {
  const IntegerVector tileX = hn::And(boxes.left, set(-tileSide)), tileY = hn::And(boxes.top, set(-tileSide));
  const HalfPlanes low = depthPlanes({lowDoubles(c.x[0]), lowDoubles(c.x[1]), lowDoubles(c.x[2])},
                                     {lowDoubles(c.y[0]), lowDoubles(c.y[1]), lowDoubles(c.y[2])},
                                     {lowDoubles(c.depth[0]), lowDoubles(c.depth[1]), lowDoubles(c.depth[2])},
                                     lowDoubles(tileX), lowDoubles(tileY));
  const HalfPlanes high = depthPlanes({highDoubles(c.x[0]), highDoubles(c.x[1]), highDoubles(c.x[2])},
                                      {highDoubles(c.y[0]), highDoubles(c.y[1]), highDoubles(c.y[2])},
                                      {highDoubles(c.depth[0]), highDoubles(c.depth[1]), highDoubles(c.depth[2])},
                                      highDoubles(tileX), highDoubles(tileY));
  constexpr Floats floats;
  return {hn::Combine(floats, high.origin, low.origin), hn::Combine(floats, high.perX, low.perX),
          hn::Combine(floats, high.perY, low.perY)};
}

/// Finds the triangles of a run that are worth a record, and makes their records, in blocks.
class RunSetup {
 public:
  RunSetup(const TriangleRun& run, const std::function<void(std::uint32_t)>& addPlain, RecordList& records)
      : run_(run), addPlain_(addPlain), records_(records) {}

  void setUp() {
    for (std::uint32_t first = run_.first; first < run_.end;) {
      const std::uint32_t size = HWY_MIN(blockSize, run_.end - first);
      selectCandidates(first, size);
      for (std::size_t i = 0; i < count_; i += lanes_) makeRecords(i);
      first += size;
    }
  }

 private:
  static constexpr std::uint32_t blockSize = 1024;

  /// Lists the triangles that face the right way and whose box holds a pixel of the image, and those that are not
  /// regular.
  void selectCandidates(std::uint32_t first, std::uint32_t size) {
    constexpr Integers integers;
    count_ = 0;
    const IntegerVector wantsPositive = set(run_.drawsPositive ? -1 : 0);
    const IntegerVector wantsNegative = set(run_.drawsNegative ? -1 : 0);
    for (std::uint32_t done = 0; done < size; done += static_cast<std::uint32_t>(lanes_)) {
      const Corners corners = cornersInRow(first + done, HWY_MIN(size - done, static_cast<std::uint32_t>(lanes_)));
      const IntegerVector orientation = orientations(corners);
      // -1 times the sign bit of what is wanted: 0 stays out on both sides.
      const IntegerVector wanted = hn::Or(hn::And(hn::BroadcastSignBit(orientation), wantsNegative),
                                          hn::And(hn::BroadcastSignBit(hn::Neg(orientation)), wantsPositive));
      const PixelBoxes boxes(corners, run_.grid);
      const IntegerMask isDrawn = hn::And(hn::Ne(wanted, set(0)), boxes.areFilled());
      const IntegerMask isKept = hn::Or(hn::Eq(corners.isRegular, set(0)), isDrawn);
      const IntegerVector number = hn::Iota(integers, static_cast<std::int32_t>(done));
      const IntegerMask isInRun = hn::Lt(number, set(static_cast<std::int32_t>(size)));
      // Storing the compressed vector whole is many times faster than a compressing store on some processors.
      const IntegerMask isTaken = hn::And(isKept, isInRun);
      hn::StoreU(hn::Compress(number, isTaken), integers, candidates_ + count_);
      count_ += hn::CountTrue(integers, isTaken);
    }
    for (std::size_t i = 0; i < count_; ++i) candidates_[i] += static_cast<std::int32_t>(first);
    // Lanes behind the last repeat it.
    for (std::size_t i = count_; i < count_ + lanes_ && count_ > 0; ++i) candidates_[i] = candidates_[count_ - 1];
  }

  /// The corners of `count` triangles from `first`; where they are fewer than lanes, the last one is repeated.
  Corners cornersInRow(std::uint32_t first, std::uint32_t count) const {
    const std::uint32_t* const indices = run_.indices + std::size_t{first} * 3;
    if (count == lanes_) return gatherCorners(run_, [indices](std::size_t i) { return indices + i * 3; });
    return gatherCorners(run_, [indices, count](std::size_t i) {
      return indices + HWY_MIN(i, static_cast<std::size_t>(count - 1)) * 3;
    });
  }

  void makeRecords(std::size_t begin) {
    const std::size_t size = HWY_MIN(lanes_, count_ - begin);
    Corners corners = gatherCorners(
        run_, [&](std::size_t i) { return run_.indices + static_cast<std::size_t>(candidates_[begin + i]) * 3; });
    if (!hn::AllTrue(Integers(), hn::Ne(corners.isRegular, set(0)))) {
      for (std::size_t i = 0; i < size; ++i) addPlain_(static_cast<std::uint32_t>(candidates_[begin + i]));
      return;
    }
    const IntegerVector orientation = orientations(corners);
    orient(corners, hn::Gt(orientation, set(0)));
    const PixelBoxes boxes(corners, run_.grid);
    const IntegerMask fits = boxes.fitMasks();
    const CoverageMasks masks = coverageMasks(corners, boxes, fits);
    store(corners, boxes, fits, masks, begin);
    const IntegerMask isSeen = hn::Or(hn::Not(fits), hn::Ne(hn::Or(masks.upper, masks.lower), set(0)));
    hn::Store(hn::IfThenElseZero(isSeen, orientation), Integers(), orientation_);
    emit(size);
  }

  static void orient(Corners& corners, IntegerMask isPositive) {
    const auto swap = [&](auto& one, auto& other, auto mask) {
      const auto first = hn::IfThenElse(mask, one, other);
      other = hn::IfThenElse(mask, other, one);
      one = first;
    };
    swap(corners.x[1], corners.x[2], isPositive);
    swap(corners.y[1], corners.y[2], isPositive);
    swap(corners.depth[1], corners.depth[2], hn::RebindMask(Floats(), isPositive));
  }

  /// Lays the fields of the lanes' records out as the records have them.
  void store(const Corners& c, const PixelBoxes& boxes, IntegerMask fits, const CoverageMasks& masks,
             std::size_t begin) {
    constexpr Integers integers;
    const IntegerMask isPlaced = boxes.lieInOneTile();
    const auto isPlane = hn::RebindMask(Floats(), isPlaced);
    const DepthPlanes planes = depthPlanes(c, boxes);
    const auto depth = [&](FloatVector plane, FloatVector corner) {
      return hn::BitCast(integers, hn::IfThenElse(isPlane, plane, corner));
    };
    const IntegerVector rows = hn::Add(hn::Sub(boxes.bottom, boxes.top), set(1));
    const IntegerVector columns = hn::Add(hn::Sub(boxes.right, boxes.left), set(1));
    hn::StoreInterleaved4(hn::IfThenElse(fits, boxes.left, c.x[0]), hn::IfThenElse(fits, masks.upper, c.x[1]),
                          hn::IfThenElse(fits, masks.lower, c.x[2]), hn::IfThenElse(fits, boxes.top, c.y[0]), integers,
                          fields_[0]);
    hn::StoreInterleaved4(hn::IfThenElse(fits, rows, c.y[1]), hn::IfThenElse(fits, columns, c.y[2]),
                          depth(planes.origin, c.depth[0]), depth(planes.perX, c.depth[1]), integers, fields_[1]);
    hn::StoreInterleaved4(depth(planes.perY, c.depth[2]), hn::LoadU(integers, candidates_ + begin),
                          set(static_cast<std::int32_t>(run_.item)), set(0), integers, fields_[2]);
    const IntegerVector form =
        hn::IfThenElse(fits, set(static_cast<std::int32_t>(TriangleForm::mask)),
                       hn::IfThenElse(isPlaced, set(static_cast<std::int32_t>(TriangleForm::placed)),
                                      set(static_cast<std::int32_t>(TriangleForm::corners))));
    hn::Store(form, integers, form_);
    static_assert(tileSide == 64);
    const IntegerVector tile =
        hn::Add(hn::Mul(hn::ShiftRight<6>(boxes.top), set(run_.grid.columns)), hn::ShiftRight<6>(boxes.left));
    hn::Store(hn::IfThenElse(isPlaced, tile, set(-1)), integers, tile_);
  }

  void emit(std::size_t size) {
    constexpr hn::FixedTag<std::int32_t, 4> block;
    records_.reserveMore(size);
    for (std::size_t i = 0; i < size; ++i) {
      if (orientation_[i] == 0) continue;
      PrimitiveRecord& record = records_.nextRecord();
      auto* out = reinterpret_cast<std::int32_t*>(&record);
      for (std::size_t part = 0; part < 3; ++part) {
        hn::StoreU(hn::Load(block, fields_[part] + 4 * i), block, out + 4 * part);
      }
      record.kind = PrimitiveKind::triangle;
      record.edge = 0;
      record.isBackFacing = (orientation_[i] > 0) == run_.isPositiveBack;
      record.isTriangleEdge = false;
      record.form = static_cast<TriangleForm>(form_[i]);
      records_.nextTile() = static_cast<std::uint32_t>(tile_[i]);
      records_.appended();
    }
  }

  const TriangleRun& run_;
  const std::function<void(std::uint32_t)>& addPlain_;
  RecordList& records_;
  const std::size_t lanes_ = hn::Lanes(Integers());
  std::size_t count_ = 0;
  std::int32_t candidates_[blockSize + 2 * maximumLanes];
  HWY_ALIGN std::int32_t fields_[3][maximumLanes * 4];
  HWY_ALIGN std::int32_t orientation_[maximumLanes];  ///< 0 where there is nothing to draw.
  HWY_ALIGN std::int32_t form_[maximumLanes];
  HWY_ALIGN std::int32_t tile_[maximumLanes];
};

bool setUpRun(const TriangleRun& run, const std::function<void(std::uint32_t)>& addPlain, RecordList& records) {
  RunSetup(run, addPlain, records).setUp();
  return true;
}

#endif

}  // namespace ornolith::raster::HWY_NAMESPACE
HWY_AFTER_NAMESPACE();

#if HWY_ONCE

namespace ornolith::raster {

HWY_EXPORT(setUpRun);

bool setUpTriangles(const TriangleRun& run, const std::function<void(std::uint32_t triangle)>& addPlain,
                    RecordList& records) {
  return HWY_DYNAMIC_DISPATCH(setUpRun)(run, addPlain, records);
}

}  // namespace ornolith::raster

#endif
