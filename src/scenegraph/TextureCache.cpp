#include "scenegraph/TextureCache.h"

#include <algorithm>
#include <utility>

#include "foundation/Parallel.h"
#include "imaging/ImageDecoder.h"

namespace ornolith {
namespace {

bool isUsable(const Image& image) {
  return image.width > 0 && image.height > 0 && image.pixels.size() == std::size_t{image.width} * image.height * 4;
}

// The path of contents given by path or URL.
const std::string* pathOf(const SCNMaterialContents& contents) {
  if (const std::string* path = std::get_if<std::string>(&contents)) return path;
  if (const FileURL* url = std::get_if<FileURL>(&contents)) return &url->path();
  return nullptr;
}

LoadedTexture inspected(std::shared_ptr<const Image> image) {
  if (!image || !isUsable(*image)) return {};
  const bool isTransparent = hasTransparency(*image);
  return {std::move(image), isTransparent};
}

LoadedTexture decoded(const std::string& path) {
  std::optional<Image> image = decodeImageFile(path);
  if (!image) return {};
  return inspected(std::make_shared<const Image>(std::move(*image)));
}

// Rec. 709 weights on the encoded values, in 1/256, as a mask painted in greys is meant.
std::shared_ptr<const Image> luminanceAsAlpha(const Image& image) {
  auto mask = std::make_shared<Image>(image);
  for (std::size_t i = 0; i + 3 < mask->pixels.size(); i += 4) {
    const unsigned weighted = 54U * mask->pixels[i] + 183U * mask->pixels[i + 1] + 19U * mask->pixels[i + 2];
    mask->pixels[i + 3] = static_cast<std::uint8_t>((weighted + 128U) >> 8U);
  }
  return mask;
}

}  // namespace

TextureCache::Entry* TextureCache::find(const SCNMaterialContents& contents) {
  if (const std::string* path = pathOf(contents)) {
    const auto [position, isNew] = byPath_.try_emplace(*path);
    if (isNew) position->second.path = *path;
    return &position->second;
  }
  const auto* image = std::get_if<std::shared_ptr<const Image>>(&contents);
  if (image == nullptr || !*image) return nullptr;
  const auto [position, isNew] = byImage_.try_emplace(image->get());
  if (isNew) position->second.given = *image;
  return &position->second;
}

void TextureCache::request(const SCNMaterialContents& contents, TextureUse use) {
  Entry* entry = find(contents);
  if (entry == nullptr) return;
  const bool needsOpacity = use == TextureUse::opacity && !entry->opacity && !entry->needsOpacity;
  if (entry->isLoaded && !needsOpacity) return;
  entry->needsOpacity = entry->needsOpacity || needsOpacity;
  requested_.push_back(entry);
}

void TextureCache::loadEntry(Entry& entry) {
  if (!entry.isLoaded) {
    entry.plain = entry.given ? inspected(entry.given) : decoded(entry.path);
    entry.isLoaded = true;
  }
  if (!entry.needsOpacity) return;
  entry.needsOpacity = false;
  entry.opacity = entry.plain;
  if (!entry.plain.image || entry.plain.hasTransparency) return;
  entry.opacity = inspected(luminanceAsAlpha(*entry.plain.image));
}

void TextureCache::load() {
  std::sort(requested_.begin(), requested_.end());
  requested_.erase(std::unique(requested_.begin(), requested_.end()), requested_.end());
  parallelFor(requested_.size(), 1, [&](std::size_t i) { loadEntry(*requested_[i]); });
  requested_.clear();
}

LoadedTexture TextureCache::texture(const SCNMaterialContents& contents, TextureUse use) const {
  const Entry* entry = nullptr;
  if (const std::string* path = pathOf(contents)) {
    const auto found = byPath_.find(*path);
    if (found != byPath_.end()) entry = &found->second;
  } else if (const auto* image = std::get_if<std::shared_ptr<const Image>>(&contents)) {
    const auto found = byImage_.find(image->get());
    if (found != byImage_.end()) entry = &found->second;
  }
  if (entry == nullptr) return {};
  return use == TextureUse::opacity && entry->opacity ? *entry->opacity : entry->plain;
}

}  // namespace ornolith
