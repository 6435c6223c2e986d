#include "scenegraph/TextureCache.h"

#include <algorithm>
#include <span>
#include <utility>

#include "foundation/Parallel.h"
#include "imaging/ImageDecoder.h"
#include "imaging/ImageSize.h"

namespace ornolith {
namespace {

/// Keeps the sums of sizes far from their end.
constexpr std::uint64_t maximumVouchingSize = std::uint64_t{1} << 40;

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

LoadedTexture inspected(std::optional<Image> image) {
  if (!image) return {};
  return inspected(std::make_shared<const Image>(*std::move(image)));
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
  if (const auto* encoded = std::get_if<std::shared_ptr<const EncodedImage>>(&contents)) {
    if (!*encoded) return nullptr;
    const auto [position, isNew] = byEncodedImage_.try_emplace(encoded->get());
    if (isNew) position->second.encoded = *encoded;
    return &position->second;
  }
  const auto* image = std::get_if<std::shared_ptr<const Image>>(&contents);
  if (image == nullptr || !*image) return nullptr;
  const auto [position, isNew] = byImage_.try_emplace(image->get());
  if (isNew) position->second.given = *image;
  return &position->second;
}

const TextureCache::Entry* TextureCache::known(const SCNMaterialContents& contents) const {
  const auto entryIn = [](const auto& entries, const auto& key) -> const Entry* {
    const auto found = entries.find(key);
    return found != entries.end() ? &found->second : nullptr;
  };
  if (const std::string* path = pathOf(contents)) return entryIn(byPath_, *path);
  if (const auto* encoded = std::get_if<std::shared_ptr<const EncodedImage>>(&contents)) {
    return entryIn(byEncodedImage_, encoded->get());
  }
  if (const auto* image = std::get_if<std::shared_ptr<const Image>>(&contents)) return entryIn(byImage_, image->get());
  return nullptr;
}

void TextureCache::request(const SCNMaterialContents& contents, TextureUse use) {
  Entry* entry = find(contents);
  if (entry == nullptr) return;
  const bool needsOpacity = use == TextureUse::opacity && !entry->opacity && !entry->needsOpacity;
  if (entry->isLoaded && !needsOpacity) return;
  entry->needsOpacity = entry->needsOpacity || needsOpacity;
  if (!std::exchange(entry->isRequested, true)) requested_.push_back(entry);
}

void TextureCache::readEntry(Entry& entry) {
  if (!entry.given && !entry.encoded) entry.file = readImageFile(entry.path).value_or(std::vector<std::byte>());
}

std::span<const std::byte> TextureCache::bytesOf(const Entry& entry) noexcept {
  return entry.encoded ? entry.encoded->bytes : entry.file;
}

void TextureCache::decodeEntry(Entry& entry) {
  entry.plain = entry.given ? inspected(entry.given) : inspected(decodeImage(bytesOf(entry)));
}

/// How much more may be held for having the entry's bytes.
std::uint64_t TextureCache::vouchedBytes(const Entry& entry) {
  const std::uint64_t count = entry.encoded ? vouching_.add(bytesOf(entry)) : entry.file.size();
  return std::min(count, maximumVouchingSize) * heldBytesPerByte;
}

/// Whether the entry may be decoded, after those before it in their order.
bool TextureCache::admits(const Entry& entry) {
  if (entry.given) return true;
  const std::span<const std::byte> bytes = bytesOf(entry);
  limit_.allowed += vouchedBytes(entry);
  const std::optional<std::uint64_t> decodedBytes = decodedByteCount(bytes);
  return decodedBytes && limit_.take(bytesWithMipLevels(*decodedBytes));
}

void TextureCache::load() {
  // A few at a time, so that few files are held in their encoded form.
  const std::size_t batchSize = 2 * availableThreadCount();
  std::vector<Entry*> missing;
  for (Entry* entry : requested_) {
    if (!entry->isLoaded) missing.push_back(entry);
  }
  for (std::size_t first = 0; first < missing.size(); first += batchSize) {
    const std::span<Entry*> batch = std::span(missing).subspan(first, std::min(batchSize, missing.size() - first));
    parallelFor(batch.size(), 1, [&](std::size_t i) { readEntry(*batch[i]); });
    std::vector<Entry*> admitted;
    for (Entry* entry : batch) {
      if (admits(*entry)) admitted.push_back(entry);
    }
    parallelFor(admitted.size(), 1, [&](std::size_t i) { decodeEntry(*admitted[i]); });
    for (Entry* entry : batch) {
      entry->isLoaded = true;
      entry->file = {};
    }
  }

  std::vector<Entry*> copied;
  for (Entry* entry : requested_) {
    if (needsOpacityCopy(*entry)) copied.push_back(entry);
  }
  parallelFor(copied.size(), 1,
              [&](std::size_t i) { copied[i]->opacity = inspected(luminanceAsAlpha(*copied[i]->plain.image)); });
  for (Entry* entry : requested_) entry->isRequested = false;
  requested_.clear();
}

/// Whether a copy is to be made, which then counts; else what stands for the opacity is there now.
bool TextureCache::needsOpacityCopy(Entry& entry) {
  if (!std::exchange(entry.needsOpacity, false)) return false;
  entry.opacity = entry.plain;
  if (!entry.plain.image || entry.plain.hasTransparency) return false;
  if (limit_.take(bytesWithMipLevels(entry.plain.image->pixels.size()))) return true;
  entry.opacity = LoadedTexture();
  return false;
}

LoadedTexture TextureCache::texture(const SCNMaterialContents& contents, TextureUse use) const {
  const Entry* entry = known(contents);
  if (entry == nullptr) return {};
  return use == TextureUse::opacity && entry->opacity ? *entry->opacity : entry->plain;
}

}  // namespace ornolith
