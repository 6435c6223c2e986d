#include "loaders/fbx/FbxEmbeddedImages.h"

#include <optional>
#include <vector>

#include "foundation/Parallel.h"
#include "imaging/ImageDecoder.h"

namespace ornolith {

namespace {

std::string_view bytesOf(const ufbx_blob& content) {
  return {static_cast<const char*>(content.data), content.size};
}

std::shared_ptr<const Image> decoded(std::string_view bytes) {
  std::optional<Image> image = decodeImage(std::as_bytes(std::span(bytes.data(), bytes.size())));
  if (!image || image->pixels.empty()) return nullptr;
  return std::make_shared<const Image>(*std::move(image));
}

}  // namespace

void FbxEmbeddedImages::decode(std::span<const ufbx_blob> contents) {
  std::vector<std::string_view> unknown;
  for (const ufbx_blob& content : contents) {
    if (byPlace_.contains({content.data, content.size})) continue;
    if (byContent_.try_emplace(bytesOf(content)).second) unknown.push_back(bytesOf(content));
    byPlace_.try_emplace({content.data, content.size});
  }

  // A few at a time, so that what a hostile file can make of its images is bounded before it has all been made.
  const std::size_t batchSize = availableThreadCount();
  std::vector<std::shared_ptr<const Image>> images(batchSize);
  for (std::size_t first = 0; first < unknown.size(); first += batchSize) {
    const std::size_t count = std::min(batchSize, unknown.size() - first);
    parallelFor(count, 1, [&](std::size_t index) { images[index] = decoded(unknown[first + index]); });
    for (std::size_t index = 0; index < count; ++index) {
      if (images[index] && !budget_.take(images[index]->pixels.size())) images[index] = nullptr;
      byContent_[unknown[first + index]] = std::move(images[index]);
    }
  }
  for (const ufbx_blob& content : contents) byPlace_[{content.data, content.size}] = byContent_[bytesOf(content)];
}

std::shared_ptr<const Image> FbxEmbeddedImages::image(const ufbx_blob& content) {
  const auto known = byPlace_.find({content.data, content.size});
  if (known != byPlace_.end()) return known->second;
  decode(std::span(&content, 1));
  return byPlace_[{content.data, content.size}];
}

}  // namespace ornolith
