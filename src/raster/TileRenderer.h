#pragma once

#include <array>
#include <cstdint>
#include <span>
#include <vector>

#include "imaging/Image.h"
#include "raster/Coverage.h"
#include "raster/FragmentBatch.h"
#include "raster/Interpolation.h"
#include "raster/NormalPlanes.h"
#include "raster/PixelOutput.h"
#include "raster/PrimitiveChunk.h"
#include "raster/Shading.h"

namespace ornolith::raster {

/// What every tile of a frame is drawn from.
struct TileInputs {
  const PreparedFrame& frame;
  const Projection& projection;
  const TileGrid& grid;
  std::span<const PrimitiveChunk> chunks;
  const LightRig& lights;
  const OutputTable& output;
  std::array<float, 4> background;  ///< As a pixel of `TileColors`.
  std::uint32_t backgroundCode;     ///< As the four bytes of a pixel.
};

/// Draws one tile after another; its memory is kept. Per tile: the opaque primitives into a visibility buffer, then the
/// visible pixels shaded item by item, then the blended primitives over them in order; pixels that nothing
/// is blended over are encoded as soon as they are shaded.
class TileRenderer {
 public:
  void render(const TileInputs& inputs, std::size_t tile, Image& image);

 private:
  /// Opaque records of one item.
  struct RecordGroup {
    std::uint32_t item;
    std::uint32_t begin, end;  ///< Among `records_`.
  };

  void begin(const TileInputs& inputs, std::size_t tile, Image& image);
  /// Whether any blended primitive may touch the tile.
  bool blendsIn(const TileInputs& inputs, std::size_t tile);
  void draw(const PrimitiveRecord* records, std::span<const std::uint32_t> entries);
  void enlargeGroup(std::uint32_t item, std::size_t firstRecord);
  void drawOpaqueTriangles(const PrimitiveRecord* records, std::span<const std::uint32_t> run,
                           const PreparedItem& item);
  void drawOpaque(const PrimitiveRecord& record, const PreparedItem& item);
  void shadeOpaque();
  /// Makes the plane of each record of which some pixel is seen where the item takes planes, and decides its way.
  void planGroups();
  /// The runs of each way together, in their order; `wayEnds_` gets where each way ends.
  std::span<PixelRun> sortByWay(std::span<PixelRun> runs);
  void shadeByRows(std::uint32_t item, std::span<PixelRun> runs);
  void shadeByPrimitives(const RecordGroup& group, std::span<const PixelRun> runs);
  void drawBlended(const PrimitiveRecord& record, const PreparedItem& item);
  void dropTransparent(const PrimitiveRecord& record, const PreparedItem& item);
  void appendToBatch(const PrimitiveRecord& record, std::span<const std::uint16_t> pixels);
  void flushBatch();
  void encodeColors() const;
  static void fillWithBackground(const TilePixels& pixels, const TileBounds& bounds, std::uint32_t code);

  const TileInputs* inputs_ = nullptr;
  TileBounds bounds_{};
  ViewRays rays_{};
  VisibilityBuffer visibility_;
  std::vector<std::uint32_t> binScratch_, lookAhead_;
  std::vector<const PrimitiveRecord*> records_;  ///< The opaque ones; the visibility buffer holds indices into it.
  std::vector<RecordGroup> groups_;
  PixelRuns runs_, sortedRuns_;
  std::vector<std::uint32_t> pixelCounts_;  ///< By record: how many of its pixels are seen.
  std::vector<std::uint32_t> visible_;      ///< Records of one group of which some pixel is seen.
  std::vector<NormalPlane> planes_;         ///< By record.
  /// By record: twice the number of its group, and 1 more where it is shaded by primitives, not by rows: where the item
  /// takes no planes, or the record's is not sound.
  std::vector<std::uint32_t> ways_;
  std::vector<std::uint32_t> wayEnds_, pixelEnds_;
  PixelList sortedPixels_;
  FragmentList fragments_;
  FragmentBatch batch_;
  FragmentBatch opacityBatch_;
  ShadingScratch scratch_;
  std::uint32_t batchItem_ = 0;
  bool isBlending_ = false;
  bool hasBlending_ = false;  ///< Something is blended over the tile's opaque pixels.
  TileColors colors_;         ///< Where something is blended.
  TilePixels pixels_{};       ///< Elsewhere: what is opaque is encoded at once.
};

}  // namespace ornolith::raster
