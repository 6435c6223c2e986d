#pragma once

#include <memory>
#include <vector>

#include "raster/TexturePyramid.h"
#include "scenegraph/device/FrameDescription.h"

namespace ornolith::raster {

/// The pyramids of the last frame's textures, kept by the identity of their images.
class TextureCache {
 public:
  /// The pyramids of `textures`, in order. Those not known are made, in parallel; those no longer used are dropped.
  std::vector<const TexturePyramid*> pyramidsFor(const std::vector<device::Texture>& textures,
                                                 const TexelTables& tables);
  void clear() noexcept { entries_.clear(); }

 private:
  struct Entry {
    std::shared_ptr<const Image> image;
    bool isSRGB;
    bool hasTransparency;
    std::unique_ptr<TexturePyramid> pyramid;
  };
  std::vector<Entry> entries_;
};

}  // namespace ornolith::raster
