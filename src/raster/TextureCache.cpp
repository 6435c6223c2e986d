#include "raster/TextureCache.h"

#include <map>
#include <tuple>
#include <utility>

#include "foundation/Parallel.h"

namespace ornolith::raster {

std::vector<const TexturePyramid*> TextureCache::pyramidsFor(const std::vector<device::Texture>& textures,
                                                             const TexelTables& tables) {
  const auto keyOf = [](const auto& texture) {
    return std::tuple(texture.image.get(), texture.isSRGB, texture.hasTransparency);
  };
  std::map<decltype(keyOf(textures.front())), std::size_t> known;
  std::vector<Entry> old = std::exchange(entries_, {});
  for (std::size_t i = 0; i < old.size(); ++i) known.emplace(keyOf(old[i]), i);

  // Several textures may be one image: `used` tells which entry each has.
  std::map<decltype(keyOf(textures.front())), std::size_t> kept;
  std::vector<std::size_t> used;
  used.reserve(textures.size());
  std::vector<std::size_t> missing;
  for (const device::Texture& texture : textures) {
    const auto [place, isNew] = kept.emplace(keyOf(texture), entries_.size());
    used.push_back(place->second);
    if (!isNew) continue;
    const auto found = known.find(keyOf(texture));
    if (found != known.end()) {
      entries_.push_back(std::move(old[found->second]));
    } else {
      missing.push_back(entries_.size());
      entries_.push_back({texture.image, texture.isSRGB, texture.hasTransparency, nullptr});
    }
  }
  parallelFor(missing.size(), 1, [&](std::size_t i) {
    Entry& entry = entries_[missing[i]];
    entry.pyramid = std::make_unique<TexturePyramid>(entry.image, entry.isSRGB, entry.hasTransparency, tables);
  });

  std::vector<const TexturePyramid*> pyramids;
  pyramids.reserve(used.size());
  for (const std::size_t entry : used) pyramids.push_back(entries_[entry].pyramid.get());
  return pyramids;
}

}  // namespace ornolith::raster
