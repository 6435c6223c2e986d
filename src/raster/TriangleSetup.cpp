#include "raster/TriangleSetup.h"

#include <bit>

#undef HWY_TARGET_INCLUDE
#define HWY_TARGET_INCLUDE "raster/TriangleSetup.cpp"
#include "hwy/foreach_target.h"
#include "hwy/highway.h"
#include "raster/SpanLanes-inl.h"

HWY_BEFORE_NAMESPACE();
namespace ornolith::raster::HWY_NAMESPACE {

#if HWY_TARGET == HWY_SCALAR

bool setUpRun(const TriangleRun&, const std::function<void(std::uint32_t)>&, RecordList&) {
  return false;
}

#else

/// Finds the triangles of a run that are worth a record, and makes their records, in blocks. A small triangle gets one
/// for either tile that it touches; the few that may touch four are taken as large ones, as many copies of a record
/// could take a multiple of the memory.
class RunSetup {
 public:
  RunSetup(const TriangleRun& run, const std::function<void(std::uint32_t)>& addPlain, RecordList& records)
      : run_(run), addPlain_(addPlain), records_(records) {}

  void setUp() {
    for (std::uint32_t first = run_.first; first < run_.end;) {
      const std::uint32_t size = HWY_MIN(blockSize, run_.end - first);
      selectCandidates(first, size);
      for (std::size_t i = 0; i < candidateCount_; ++i) addPieces(first, i);
      first += size;
    }
    makeRecords();
  }

 private:
  static constexpr std::uint32_t blockSize = 1024;

  /// Lists the triangles that face the right way and whose box holds a pixel of the image, and those that are not
  /// regular.
  void selectCandidates(std::uint32_t first, std::uint32_t size) {
    constexpr Integers integers;
    candidateCount_ = 0;
    const IntegerVector wantsPositive = set(run_.drawsPositive ? -1 : 0);
    const IntegerVector wantsNegative = set(run_.drawsNegative ? -1 : 0);
    for (std::uint32_t done = 0; done < size; done += static_cast<std::uint32_t>(lanes)) {
      const Corners corners = cornersInRow(first + done, HWY_MIN(size - done, static_cast<std::uint32_t>(lanes)));
      const IntegerVector orientation = orientations(corners);
      // -1 times the sign bit of what is wanted: 0 stays out on both sides.
      const IntegerVector wanted = hn::Or(hn::And(hn::BroadcastSignBit(orientation), wantsNegative),
                                          hn::And(hn::BroadcastSignBit(hn::Neg(orientation)), wantsPositive));
      const PixelBoxes whole(corners), boxes = whole.cutTo(run_.grid);
      const IntegerMask isDrawn = hn::And(hn::Ne(wanted, set(0)), boxes.areFilled());
      const IntegerMask isIrregular = hn::Eq(corners.isRegular, set(0));
      const IntegerVector number = hn::Add(hn::Iota(integers, 0), set(static_cast<std::int32_t>(done)));
      const IntegerMask isInRun = hn::Lt(number, set(static_cast<std::int32_t>(size)));
      const IntegerMask isTaken = hn::And(hn::Or(isIrregular, isDrawn), isInRun);
      if (hn::AllFalse(integers, isTaken)) continue;
      // Storing the compressed vector whole is many times faster than a compressing store on some processors.
      const IntegerVector marked = hn::IfThenElse(isIrregular, hn::Not(number), number);
      hn::StoreU(hn::Compress(marked, isTaken), integers, candidates_ + candidateCount_);
      hn::StoreU(hn::Compress(packedTiles(boxes, areSmall(whole, boxes)), isTaken), integers,
                 candidateTiles_ + candidateCount_);
      candidateCount_ += hn::CountTrue(integers, isTaken);
    }
  }

  static IntegerMask areSmall(const PixelBoxes& whole, const PixelBoxes& inImage) {
    return hn::AndNot(inImage.holdTileCorners(), whole.fitSpans());
  }

  /// The column and row, eight bits each, of the first tile and above them those of the last; of triangles that are not
  /// small, twice the first.
  static IntegerVector packedTiles(const PixelBoxes& boxes, IntegerMask isSmall) {
    static_assert(tileSide == 64 && maximumSide / tileSide <= 256);
    const IntegerVector left = hn::ShiftRight<6>(boxes.left), top = hn::ShiftRight<6>(boxes.top);
    const IntegerVector right = hn::IfThenElse(isSmall, hn::ShiftRight<6>(boxes.right), left);
    const IntegerVector bottom = hn::IfThenElse(isSmall, hn::ShiftRight<6>(boxes.bottom), top);
    return hn::Or(hn::Or(left, hn::ShiftLeft<8>(top)), hn::Or(hn::ShiftLeft<16>(right), hn::ShiftLeft<24>(bottom)));
  }

  /// The corners of `count` triangles from `first`; where they are fewer than lanes, the last one is repeated.
  Corners cornersInRow(std::uint32_t first, std::uint32_t count) const {
    const std::uint32_t* const indices = run_.indices + std::size_t{first} * 3;
    if (count == lanes) return gatherCorners(run_, [indices](std::size_t i) { return indices + i * 3; });
    return gatherCorners(run_, [indices, count](std::size_t i) {
      return indices + HWY_MIN(i, static_cast<std::size_t>(count - 1)) * 3;
    });
  }

  /// Adds a candidate's pieces, one for each tile of it.
  void addPieces(std::uint32_t first, std::size_t candidate) {
    const std::int32_t number = candidates_[candidate];
    if (HWY_UNLIKELY(number < 0)) {
      makeRecords();
      return addPlain_(first + static_cast<std::uint32_t>(~number));
    }
    const std::uint32_t triangle = first + static_cast<std::uint32_t>(number);
    const auto tiles = static_cast<std::uint32_t>(candidateTiles_[candidate]);
    const std::uint32_t firstTile = tiles & 0xffff, lastTile = tiles >> 16;
    addPiece(triangle, firstTile);
    if (HWY_UNLIKELY(firstTile != lastTile)) addPiece(triangle, lastTile);
  }

  void addPiece(std::uint32_t triangle, std::uint32_t tile) {
    triangles_[pieceCount_] = static_cast<std::int32_t>(triangle);
    tiles_[pieceCount_] = static_cast<std::int32_t>(tile);
    if (++pieceCount_ == lanes) makeRecords();
  }

  /// The records of the pieces so far, as many as a vector has lanes at most.
  void makeRecords() {
    const std::size_t size = pieceCount_;
    if (size == 0) return;
    pieceCount_ = 0;
    // Lanes behind the last repeat it.
    for (std::size_t i = size; i < lanes; ++i) {
      triangles_[i] = triangles_[size - 1];
      tiles_[i] = tiles_[size - 1];
    }
    Corners corners =
        gatherCorners(run_, [&](std::size_t i) { return run_.indices + static_cast<std::size_t>(triangles_[i]) * 3; });
    const IntegerVector orientation = orientations(corners);
    orient(corners, hn::Gt(orientation, set(0)));
    constexpr Integers integers;
    const IntegerVector packed = hn::Load(integers, tiles_);
    const TileLanes tiles{hn::ShiftLeft<6>(hn::And(packed, set(0xff))), hn::ShiftLeft<6>(hn::ShiftRight<8>(packed))};
    store(corners, hn::Gt(orientation, set(0)), tiles);
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
  void store(const Corners& c, IntegerMask isPositive, const TileLanes& tiles) {
    constexpr Integers integers;
    const auto constant = [](auto value) { return set(static_cast<std::int32_t>(value)); };
    const PixelBoxes whole(c), inImage = whole.cutTo(run_.grid);
    const IntegerMask isSmall = areSmall(whole, inImage);
    const IntegerMask isInOneTile = inImage.lieInOneTile();
    const IntegerMask isPlaced = hn::Or(isSmall, isInOneTile);

    const PixelBoxes boxes =
        whole.cutTo(tiles.x, tiles.y, hn::Min(hn::Add(tiles.x, set(tileSide - 1)), set(run_.grid.width - 1)),
                    hn::Min(hn::Add(tiles.y, set(tileSide - 1)), set(run_.grid.height - 1)));
    const SpanLanes spans = spansOf(c, tiles, boxes, isSmall);
    const auto shape = [&](std::size_t i, IntegerVector corner) {
      return hn::IfThenElse(isSmall, spans.rows[i], corner);
    };
    hn::StoreInterleaved4(shape(0, c.x[0]), shape(1, c.x[1]), shape(2, c.x[2]), shape(3, c.y[0]), integers, fields_[0]);
    hn::StoreInterleaved4(shape(4, c.y[1]), shape(5, c.y[2]), spans.rows[6], spans.rows[7], integers, fields_[1]);

    const DepthPlanes planes = depthPlanes(c, tiles);
    const auto depth = [&](FloatVector plane, FloatVector corner) {
      return hn::BitCast(integers, hn::IfThenElse(hn::RebindMask(Floats(), isPlaced), plane, corner));
    };
    hn::StoreInterleaved4(depth(planes.origin, c.depth[0]), depth(planes.perX, c.depth[1]),
                          depth(planes.perY, c.depth[2]), hn::Load(integers, triangles_), integers, fields_[2]);

    static_assert(std::endian::native == std::endian::little && static_cast<int>(PrimitiveKind::triangle) == 0);
    const IntegerMask isBack = run_.isPositiveBack ? isPositive : hn::Not(isPositive);
    const IntegerVector facing = hn::IfThenElseZero(isBack, set(1 << 16));
    const IntegerVector form =
        hn::IfThenElse(isSmall, constant(TriangleForm::spans),
                       hn::IfThenElse(isPlaced, constant(TriangleForm::placed), constant(TriangleForm::corners)));
    const IntegerVector rows = hn::IfThenElseZero(
        isSmall, hn::Or(hn::ShiftLeft<8>(hn::Sub(boxes.top, tiles.y)), hn::ShiftLeft<16>(spans.rowCount)));
    hn::StoreInterleaved4(constant(run_.item), facing, hn::Or(form, rows), set(0), integers, fields_[3]);

    const IntegerVector tile =
        hn::Add(hn::Mul(hn::ShiftRight<6>(tiles.y), set(run_.grid.columns)), hn::ShiftRight<6>(tiles.x));
    hn::Store(hn::IfThenElse(isPlaced, tile, set(-1)), integers, tile_);
    hn::Store(hn::IfThenElse(isSmall, spans.rowCount, set(1)), integers, isSeen_);
  }

  void emit(std::size_t size) {
    constexpr hn::FixedTag<std::int32_t, 4> block;
    records_.reserveMore(size);
    for (std::size_t i = 0; i < size; ++i) {
      if (isSeen_[i] == 0) continue;
      auto* out = reinterpret_cast<std::int32_t*>(&records_.nextRecord());
      for (std::size_t part = 0; part < 4; ++part) {
        hn::StoreU(hn::Load(block, fields_[part] + 4 * i), block, out + 4 * part);
      }
      records_.nextTile() = static_cast<std::uint32_t>(tile_[i]);
      records_.appended();
    }
  }

  static constexpr std::size_t lanes = maximumLanes;

  const TriangleRun& run_;
  const std::function<void(std::uint32_t)>& addPlain_;
  RecordList& records_;
  /// By candidate: its number from the block's first triangle on, or the complement of that where it is not regular;
  /// and its first and last tile.
  std::int32_t candidates_[blockSize + maximumLanes];
  std::int32_t candidateTiles_[blockSize + maximumLanes];
  std::size_t candidateCount_ = 0;
  /// By piece: its triangle and its tile.
  HWY_ALIGN std::int32_t triangles_[maximumLanes];
  HWY_ALIGN std::int32_t tiles_[maximumLanes];
  std::size_t pieceCount_ = 0;
  HWY_ALIGN std::int32_t fields_[4][maximumLanes * 4];
  HWY_ALIGN std::int32_t isSeen_[maximumLanes];  ///< 0 where there is nothing to draw.
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
