#include "raster/TileRenderer.h"

#include <algorithm>
#include <cstring>

#include "imaging/Color.h"
#include "raster/PixelMath.h"

namespace ornolith::raster {

void TileRenderer::render(const TileInputs& inputs, std::size_t tile, Image& image) {
  begin(inputs, tile);
  for (const PrimitiveChunk& chunk : inputs.chunks) {
    const std::span<const std::uint32_t> entries = chunk.recordsOf(tile, binScratch_);
    if (entries.empty()) continue;
    if (!isTouched_) clearBuffers();
    draw(chunk.records(), entries);
  }
  if (!isTouched_) return fillWithBackground(image);
  if (!isBlending_) shadeOpaque();
  flushBatch();
  resolve(image);
}

void TileRenderer::begin(const TileInputs& inputs, std::size_t tile) {
  inputs_ = &inputs;
  bounds_ = inputs.grid.bounds(tile);
  const device::FrameDescription& description = *inputs.frame.description;
  rays_ =
      inputs.projection.viewRays(bounds_.x + 0.5 - description.width * 0.5, bounds_.y + 0.5 - description.height * 0.5);
  records_.clear();
  batch_.count = 0;
  isBlending_ = false;
  isTouched_ = false;
  const simd_float4 color = description.background;
  const float alpha = saturate(color.w);
  background_ = {color.x * alpha, color.y * alpha, color.z * alpha, alpha};
}

void TileRenderer::clearBuffers() {
  isTouched_ = true;
  visibility_.clear(inputs_->projection.farthestDepth());
  for (std::size_t c = 0; c < 4; ++c) color_[c].fill(background_[c]);
}

void TileRenderer::draw(const PrimitiveRecord* records, std::span<const std::uint32_t> entries) {
  while (!entries.empty()) {
    // Runs of one item, so that what depends on the item is decided once for each.
    const PrimitiveRecord& first = records[entries.front()];
    std::size_t size = 1;
    while (size < entries.size() && records[entries[size]].item == first.item) ++size;
    const PreparedItem& item = inputs_->frame.items[first.item];
    const std::span<const std::uint32_t> run = entries.first(size);
    if (item.isBlended) {
      if (!isBlending_) shadeOpaque();
      for (const std::uint32_t entry : run) drawBlended(records[entry], item);
    } else if (first.kind == PrimitiveKind::triangle && !item.plan.dropsFragments()) {
      drawOpaqueTriangles(records, run, item);
    } else {
      for (const std::uint32_t entry : run) drawOpaque(records[entry], item);
    }
    entries = entries.subspan(size);
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
  // Sort the visible pixels by primitive; primitives stand in drawing order, so that this groups them by item as well.
  runEnds_.assign(records_.size() + 1, 0);
  const auto forEachVisible = [&](const auto& visit) {
    for (std::int32_t y = 0; y < bounds_.height; ++y) {
      for (std::int32_t x = 0; x < bounds_.width; ++x) {
        const auto pixel = static_cast<std::uint16_t>(pixelIndex(x, y));
        const std::uint32_t primitive = visibility_.primitive[pixel];
        if (primitive != noPrimitive) visit(primitive, pixel);
      }
    }
  };
  forEachVisible([&](std::uint32_t primitive, std::uint16_t) { ++runEnds_[primitive + 1]; });
  for (std::size_t i = 1; i < runEnds_.size(); ++i) runEnds_[i] += runEnds_[i - 1];
  forEachVisible([&](std::uint32_t primitive, std::uint16_t pixel) { sortedPixels_[runEnds_[primitive]++] = pixel; });

  std::uint32_t begin = 0;
  for (std::size_t i = 0; i < records_.size(); ++i) {
    const std::uint32_t end = runEnds_[i];
    if (end > begin) appendToBatch(*records_[i], {sortedPixels_.data() + begin, end - begin});
    begin = end;
  }
  flushBatch();
  isBlending_ = true;
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
    shadeOpacity(item.plan, inputs_->tables, scratch_, opacityBatch_);
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
  shadeBatch(item.plan, inputs_->lights, rays_, inputs_->tables, scratch_, batch_);
  isBlending_ ? blendOver(item) : storeOpaque(item);
  batch_.count = 0;
}

void TileRenderer::storeOpaque(const PreparedItem& item) {
  const bool keepsAlpha = item.material->blendMode == device::BlendMode::replace;
  for (std::size_t i = 0; i < batch_.count; ++i) {
    const std::size_t pixel = batch_.pixel[i];
    const float alpha = keepsAlpha ? batch_.result.w[i] : 1.0f;
    color_[0][pixel] = batch_.result.x[i] * alpha;
    color_[1][pixel] = batch_.result.y[i] * alpha;
    color_[2][pixel] = batch_.result.z[i] * alpha;
    color_[3][pixel] = alpha;
  }
}

void TileRenderer::blendOver(const PreparedItem& item) {
  const device::BlendMode mode = item.material->blendMode;
  for (std::size_t i = 0; i < batch_.count; ++i) {
    const std::size_t pixel = batch_.pixel[i];
    const float alpha = batch_.result.w[i];
    const float keepColor = mode == device::BlendMode::add     ? 1.0f
                            : mode == device::BlendMode::alpha ? 1.0f - alpha
                                                               : 0.0f;
    // Light that is added covers as much of what is behind as its opacity says.
    const float keepAlpha = mode == device::BlendMode::replace ? 0.0f : 1.0f - alpha;
    color_[0][pixel] = batch_.result.x[i] * alpha + color_[0][pixel] * keepColor;
    color_[1][pixel] = batch_.result.y[i] * alpha + color_[1][pixel] * keepColor;
    color_[2][pixel] = batch_.result.z[i] * alpha + color_[2][pixel] * keepColor;
    color_[3][pixel] = alpha + color_[3][pixel] * keepAlpha;
  }
}

namespace {

/// One pixel of the picture from light multiplied by alpha.
std::array<std::uint8_t, 4> encodePixel(float red, float green, float blue, float coverage) noexcept {
  const float alpha = saturate(coverage);
  const float scale = alpha > 0.0f ? 1.0f / alpha : 0.0f;
  const float alphaCode = alpha * 255.0f + 0.5f;
  return {sRGB8FromLinear(red * scale), sRGB8FromLinear(green * scale), sRGB8FromLinear(blue * scale),
          static_cast<std::uint8_t>(alphaCode)};
}

std::uint8_t* rowOf(Image& image, const TileBounds& bounds, std::int32_t y) noexcept {
  return image.pixels.data() + static_cast<std::size_t>(bounds.y + y) * image.rowBytes() +
         static_cast<std::size_t>(bounds.x) * 4;
}

}  // namespace

void TileRenderer::resolve(Image& image) const {
  for (std::int32_t y = 0; y < bounds_.height; ++y) {
    std::uint8_t* out = rowOf(image, bounds_, y);
    for (std::int32_t x = 0; x < bounds_.width; ++x, out += 4) {
      const std::size_t pixel = pixelIndex(x, y);
      const auto encoded = encodePixel(color_[0][pixel], color_[1][pixel], color_[2][pixel], color_[3][pixel]);
      std::memcpy(out, encoded.data(), encoded.size());
    }
  }
}

void TileRenderer::fillWithBackground(Image& image) const {
  const auto encoded = encodePixel(background_[0], background_[1], background_[2], background_[3]);
  for (std::int32_t y = 0; y < bounds_.height; ++y) {
    std::uint8_t* out = rowOf(image, bounds_, y);
    for (std::int32_t x = 0; x < bounds_.width; ++x, out += 4) std::memcpy(out, encoded.data(), encoded.size());
  }
}

}  // namespace ornolith::raster
