#include "raster/TileRenderer.h"

#include <algorithm>
#include <cstring>
#include <numeric>

#include "raster/PixelMath.h"

namespace ornolith::raster {

namespace {

TilePixels pixelsOf(const TileBounds& bounds, Image& image) noexcept {
  const std::size_t rowBytes = image.rowBytes();
  return {image.pixels.data() + static_cast<std::size_t>(bounds.y) * rowBytes + static_cast<std::size_t>(bounds.x) * 4,
          rowBytes};
}

}  // namespace

void TileRenderer::render(const TileInputs& inputs, std::size_t tile, Image& image) {
  bool isTouched = false;
  for (const PrimitiveChunk& chunk : inputs.chunks) {
    const std::span<const std::uint32_t> entries = chunk.recordsOf(tile, binScratch_);
    if (entries.empty()) continue;
    if (!isTouched) begin(inputs, tile, image);
    isTouched = true;
    draw(chunk.records(), entries);
  }
  if (!isTouched) {
    const TileBounds bounds = inputs.grid.bounds(tile);
    return fillWithBackground(pixelsOf(bounds, image), bounds, inputs.backgroundCode);
  }
  if (!isBlending_) shadeOpaque();
  flushBatch();
  if (hasBlending_) encodeColors();
}

void TileRenderer::begin(const TileInputs& inputs, std::size_t tile, Image& image) {
  inputs_ = &inputs;
  bounds_ = inputs.grid.bounds(tile);
  pixels_ = pixelsOf(bounds_, image);
  const device::FrameDescription& description = *inputs.frame.description;
  rays_ =
      inputs.projection.viewRays(bounds_.x + 0.5 - description.width * 0.5, bounds_.y + 0.5 - description.height * 0.5);
  records_.clear();
  groups_.clear();
  batch_.count = 0;
  isBlending_ = false;
  hasBlending_ = blendsIn(inputs, tile);
  visibility_.clear(inputs.projection.farthestDepth());
  if (hasBlending_) colors_.clear(inputs.background);
}

bool TileRenderer::blendsIn(const TileInputs& inputs, std::size_t tile) {
  // Blended items come last.
  if (!inputs.frame.items.back().isBlended) return false;
  for (auto chunk = inputs.chunks.rbegin(); chunk != inputs.chunks.rend(); ++chunk) {
    const std::span<const std::uint32_t> entries = chunk->recordsOf(tile, lookAhead_);
    if (!entries.empty()) return inputs.frame.items[chunk->records()[entries.back()].item].isBlended;
  }
  return false;
}

void TileRenderer::draw(const PrimitiveRecord* records, std::span<const std::uint32_t> entries) {
  while (!entries.empty()) {
    // Runs of one item, so that what depends on the item is decided once for each. Items come in ascending order.
    const PrimitiveRecord& first = records[entries.front()];
    std::size_t size = entries.size();
    if (records[entries.back()].item != first.item) {
      for (size = 1; records[entries[size]].item == first.item;) ++size;
    }
    const PreparedItem& item = inputs_->frame.items[first.item];
    const std::span<const std::uint32_t> run = entries.first(size);
    if (item.isBlended) {
      if (!isBlending_) shadeOpaque();
      for (const std::uint32_t entry : run) drawBlended(records[entry], item);
    } else if (first.kind == PrimitiveKind::triangle && !item.plan.dropsFragments()) {
      const std::size_t before = records_.size();
      drawOpaqueTriangles(records, run, item);
      enlargeGroup(first.item, before);
    } else {
      const std::size_t before = records_.size();
      for (const std::uint32_t entry : run) drawOpaque(records[entry], item);
      enlargeGroup(first.item, before);
    }
    entries = entries.subspan(size);
  }
}

void TileRenderer::enlargeGroup(std::uint32_t item, std::size_t firstRecord) {
  const auto begin = static_cast<std::uint32_t>(firstRecord), end = static_cast<std::uint32_t>(records_.size());
  if (begin == end) return;
  if (!groups_.empty() && groups_.back().item == item) {
    groups_.back().end = end;
  } else {
    groups_.push_back({item, begin, end});
  }
}

void TileRenderer::drawOpaqueTriangles(const PrimitiveRecord* records, std::span<const std::uint32_t> run,
                                       const PreparedItem& item) {
  const DepthRules rules{item.material->readsDepth, item.material->writesDepth};
  const auto count = static_cast<std::uint32_t>(records_.size());
  records_.resize(count + run.size());
  records_.resize(drawTriangles({records, run, bounds_, rules}, visibility_, records_.data(), count));
}

void TileRenderer::drawOpaque(const PrimitiveRecord& record, const PreparedItem& item) {
  collectFragments(record, bounds_, item.material->readsDepth, visibility_, fragments_);
  if (item.plan.dropsFragments()) dropTransparent(record, item);
  if (fragments_.count == 0) return;
  const auto number = static_cast<std::uint32_t>(records_.size());
  records_.push_back(&record);
  for (std::uint32_t i = 0; i < fragments_.count; ++i) {
    if (item.material->writesDepth) visibility_.depth[fragments_.pixel[i]] = fragments_.depth[i];
    visibility_.primitive[fragments_.pixel[i]] = number;
  }
}

void TileRenderer::shadeOpaque() {
  pixelCounts_.assign(records_.size(), 0);
  const std::span<PixelRun> found = std::span(runs_).first(findRuns(visibility_, bounds_, runs_, pixelCounts_));
  planGroups();
  const auto covered = std::accumulate(pixelCounts_.begin(), pixelCounts_.end(), std::uint32_t{0});
  if (!hasBlending_ && covered < static_cast<std::uint32_t>(bounds_.width * bounds_.height)) {
    fillWithBackground(pixels_, bounds_, inputs_->backgroundCode);
  }
  const std::span<PixelRun> runs = sortByWay(found);
  std::uint32_t begin = 0;
  for (std::size_t way = 0; way < wayEnds_.size(); ++way) {
    const std::uint32_t end = wayEnds_[way];
    if (end == begin) continue;
    const std::span<PixelRun> part = runs.subspan(begin, end - begin);
    const RecordGroup& group = groups_[way / 2];
    if (way % 2 == 0) {
      shadeByRows(group.item, part);
    } else {
      shadeByPrimitives(group, part);
    }
    begin = end;
  }
  isBlending_ = true;
}

void TileRenderer::planGroups() {
  ways_.resize(records_.size());
  planes_.resize(records_.size());
  for (std::size_t g = 0; g < groups_.size(); ++g) {
    const RecordGroup& group = groups_[g];
    const PreparedItem& item = inputs_->frame.items[group.item];
    const bool takesPlanes = takesNormalPlanes(item);
    const std::uint32_t byRows = static_cast<std::uint32_t>(2 * g), byPrimitives = byRows + 1;
    std::fill(ways_.begin() + group.begin, ways_.begin() + group.end, takesPlanes ? byRows : byPrimitives);
    if (!takesPlanes || !item.plan.isLit) continue;
    visible_.clear();
    for (std::uint32_t i = group.begin; i < group.end; ++i) {
      if (pixelCounts_[i] > 0) visible_.push_back(i);
    }
    setUpNormalPlanes({inputs_->frame, item, bounds_, records_, visible_}, planes_.data());
    for (const std::uint32_t number : visible_) {
      if (!planes_[number].isSound) ways_[number] = byPrimitives;
    }
  }
}

std::span<PixelRun> TileRenderer::sortByWay(std::span<PixelRun> runs) {
  wayEnds_.assign(2 * groups_.size(), 0);
  const bool isOneWay =
      groups_.size() == 1 && std::count(ways_.begin(), ways_.end(), ways_.front()) == std::ssize(ways_);
  if (isOneWay) {
    std::fill(wayEnds_.begin() + ways_.front(), wayEnds_.end(), static_cast<std::uint32_t>(runs.size()));
    return runs;
  }
  for (const PixelRun& run : runs) ++wayEnds_[ways_[run.primitive]];
  std::exclusive_scan(wayEnds_.begin(), wayEnds_.end(), wayEnds_.begin(), std::uint32_t{0});
  for (const PixelRun& run : runs) sortedRuns_[wayEnds_[ways_[run.primitive]]++] = run;
  return std::span(sortedRuns_).first(runs.size());
}

/// The order of an item's opaque fragments makes no difference.
void TileRenderer::shadeByRows(std::uint32_t itemNumber, std::span<PixelRun> runs) {
  const PreparedItem& item = inputs_->frame.items[itemNumber];
  const RunSource source{item.plan.isLit ? planes_.data() : nullptr, item.material->isDoubleSided};
  batchItem_ = itemNumber;
  while (!runs.empty()) {
    runs = runs.subspan(appendRuns(source, runs, batch_));
    if (batch_.count == batchSize) flushBatch();
  }
  flushBatch();
}

void TileRenderer::shadeByPrimitives(const RecordGroup& group, std::span<const PixelRun> runs) {
  pixelEnds_.resize(records_.size());
  std::uint32_t sum = 0;
  for (std::uint32_t i = group.begin; i < group.end; ++i) {
    pixelEnds_[i] = sum;
    if (ways_[i] % 2 == 1) sum += pixelCounts_[i];
  }
  sortPixels(runs, pixelEnds_.data(), sortedPixels_);
  std::uint32_t begin = 0;
  for (std::uint32_t i = group.begin; i < group.end; ++i) {
    const std::uint32_t end = pixelEnds_[i];
    if (end > begin) appendToBatch(*records_[i], {sortedPixels_.data() + begin, end - begin});
    begin = end;
  }
  flushBatch();
}

void TileRenderer::drawBlended(const PrimitiveRecord& record, const PreparedItem& item) {
  collectFragments(record, bounds_, item.material->readsDepth, visibility_, fragments_);
  if (item.plan.dropsFragments()) dropTransparent(record, item);
  if (fragments_.count == 0) return;
  if (item.material->writesDepth) {
    for (std::uint32_t i = 0; i < fragments_.count; ++i) {
      visibility_.depth[fragments_.pixel[i]] = fragments_.depth[i];
    }
  }
  appendToBatch(record, {fragments_.pixel.data(), fragments_.count});
}

void TileRenderer::dropTransparent(const PrimitiveRecord& record, const PreparedItem& item) {
  if (fragments_.count == 0) return;
  const PrimitiveAttributes attributes(inputs_->frame, record, bounds_);
  const std::uint32_t count = fragments_.count;
  std::uint32_t kept = 0;
  for (std::uint32_t first = 0; first < count;) {
    const auto size = std::min<std::uint32_t>(count - first, batchSize);
    opacityBatch_.count = 0;
    attributes.append({fragments_.pixel.data() + first, size}, opacityBatch_);
    shadeOpacity(item.plan, scratch_, opacityBatch_);
    for (std::uint32_t i = 0; i < size; ++i) {
      if (!(opacityBatch_.result.w[i] >= item.plan.cutoff)) continue;
      fragments_.pixel[kept] = fragments_.pixel[first + i];
      fragments_.depth[kept++] = fragments_.depth[first + i];
    }
    first += size;
  }
  fragments_.count = kept;
}

void TileRenderer::appendToBatch(const PrimitiveRecord& record, std::span<const std::uint16_t> pixels) {
  if (batch_.count > 0 && batchItem_ != record.item) flushBatch();
  batchItem_ = record.item;
  const PrimitiveAttributes attributes(inputs_->frame, record, bounds_);
  while (!pixels.empty()) {
    if (batch_.count == batchSize) flushBatch();
    const std::size_t size = std::min(pixels.size(), batchSize - batch_.count);
    attributes.append(pixels.first(size), batch_);
    pixels = pixels.subspan(size);
  }
}

void TileRenderer::flushBatch() {
  if (batch_.count == 0) return;
  const PreparedItem& item = inputs_->frame.items[batchItem_];
  shadeBatch(item.plan, inputs_->lights, rays_, scratch_, batch_);
  const bool keepsAlpha = item.material->blendMode == device::BlendMode::replace;
  if (isBlending_) {
    blendFragments(batch_, item.material->blendMode, colors_);
  } else if (hasBlending_) {
    storeFragments(batch_, keepsAlpha, colors_);
  } else {
    encodeFragments(inputs_->output, batch_, keepsAlpha, pixels_);
  }
  batch_.count = 0;
}

void TileRenderer::encodeColors() const {
  for (std::int32_t y = 0; y < bounds_.height; ++y) {
    EncodedRow row;
    encodePixels(inputs_->output,
                 std::span(colors_.values).subspan(static_cast<std::size_t>(y) * rowValues).first<rowValues>(), row);
    std::memcpy(pixels_.first + static_cast<std::size_t>(y) * pixels_.rowBytes, row.data(),
                static_cast<std::size_t>(bounds_.width) * 4);
  }
}

void TileRenderer::fillWithBackground(const TilePixels& pixels, const TileBounds& bounds, std::uint32_t code) {
  std::array<std::uint32_t, tileSide> row;
  row.fill(code);
  for (std::int32_t y = 0; y < bounds.height; ++y) {
    std::memcpy(pixels.first + static_cast<std::size_t>(y) * pixels.rowBytes, row.data(),
                static_cast<std::size_t>(bounds.width) * 4);
  }
}

}  // namespace ornolith::raster
