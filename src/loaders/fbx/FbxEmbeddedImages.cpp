#include "loaders/fbx/FbxEmbeddedImages.h"

#include <optional>
#include <vector>

#include "foundation/Parallel.h"
#include "imaging/ImageDecoder.h"
#include "imaging/ImageSize.h"

namespace ornolith {

namespace {

std::string_view bytesOf(const ufbx_blob& content) {
  return {static_cast<const char*>(content.data), content.size};
}

std::span<const std::byte> bytesIn(std::string_view content) {
  return std::as_bytes(std::span(content.data(), content.size()));
}

std::shared_ptr<const Image> decoded(std::string_view content) {
  std::optional<Image> image = decodeImage(bytesIn(content));
  if (!image) return nullptr;
  return std::make_shared<const Image>(*std::move(image));
}

}  // namespace

/// By the header alone, so that what a hostile file makes of its images is bounded before any is made. Damage that is
/// found later gives nothing back: finding it costs as much.
bool FbxEmbeddedImages::takeMemory(std::string_view content) noexcept {
  const std::optional<std::uint64_t> byteCount = decodedByteCount(bytesIn(content));
  return byteCount && budget_.take(bytesWithMipLevels(*byteCount));
}

void FbxEmbeddedImages::decode(std::span<const ufbx_blob> contents) {
  std::vector<std::string_view> unknown;
  for (const ufbx_blob& content : contents) {
    if (byPlace_.contains({content.data, content.size})) continue;
    if (byContent_.try_emplace(bytesOf(content)).second) unknown.push_back(bytesOf(content));
    byPlace_.try_emplace({content.data, content.size});
  }

  std::vector<std::string_view> admitted;
  for (const std::string_view content : unknown) {
    if (takeMemory(content)) admitted.push_back(content);
  }
  std::vector<std::shared_ptr<const Image>> images(admitted.size());
  parallelFor(images.size(), 1, [&](std::size_t index) { images[index] = decoded(admitted[index]); });
  for (std::size_t index = 0; index < images.size(); ++index) byContent_[admitted[index]] = std::move(images[index]);
  for (const ufbx_blob& content : contents) byPlace_[{content.data, content.size}] = byContent_[bytesOf(content)];
}

std::shared_ptr<const Image> FbxEmbeddedImages::image(const ufbx_blob& content) {
  const auto known = byPlace_.find({content.data, content.size});
  if (known != byPlace_.end()) return known->second;
  decode(std::span(&content, 1));
  return byPlace_[{content.data, content.size}];
}

}  // namespace ornolith
