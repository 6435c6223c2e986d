#pragma once

#include <ufbx.h>

#include <cstddef>
#include <memory>
#include <span>
#include <string_view>
#include <unordered_map>
#include <utility>

#include "imaging/Image.h"
#include "loaders/fbx/FbxLimits.h"

namespace ornolith {

/// The images that a file carries inside it, each decoded once however many textures hold the same bytes. The FBX
/// library's scene, whose memory the contents are, must outlive this object.
class FbxEmbeddedImages {
 public:
  /// Images beyond `memoryLimit` bytes of pixels with their mip levels, all together, count as not decodable.
  explicit FbxEmbeddedImages(std::size_t memoryLimit) : budget_(memoryLimit) {}

  /// Decodes those of `contents` that are not yet known, several at a time.
  void decode(std::span<const ufbx_blob> contents);

  /// The first image of `content`, or null where it does not decode.
  std::shared_ptr<const Image> image(const ufbx_blob& content);

 private:
  using Place = std::pair<const void*, std::size_t>;
  struct PlaceHash {
    std::size_t operator()(const Place& place) const noexcept {
      return std::hash<const void*>()(place.first) ^ (place.second * 0x9E3779B97F4A7C15u);
    }
  };
  bool takeMemory(std::string_view content) noexcept;

  std::unordered_map<std::string_view, std::shared_ptr<const Image>> byContent_;
  std::unordered_map<Place, std::shared_ptr<const Image>, PlaceHash> byPlace_;
  FbxMemoryBudget budget_;
};

}  // namespace ornolith
