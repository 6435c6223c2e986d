#pragma once

#include <cstdint>
#include <map>
#include <span>
#include <tuple>
#include <vector>

#include "scenegraph/SCNMaterial.h"
#include "scenegraph/TextureCache.h"
#include "scenegraph/device/FrameDescription.h"

namespace ornolith {

/// Straight linear RGBA of an sRGB colour; red, green and blue are held to 0..1, and alpha too.
simd_float4 linearColor(const NSColor& color);

/// Asks `cache` for the images that drawing `material` takes: those of the properties that its lighting model reads.
void requestTextures(const SCNMaterial& material, TextureCache& cache);

/// The textures of one frame: each image once as colour, with and without its alpha, and once as data at most.
class FrameTextures {
 public:
  explicit FrameTextures(std::vector<device::Texture>& textures) : textures_(textures) {}
  std::int32_t number(const LoadedTexture& texture, bool isSRGB);

 private:
  std::vector<device::Texture>& textures_;
  std::map<std::tuple<const Image*, bool, bool>, std::int32_t> numbers_;
};

/// `material` as a device takes it. Contents that are missing, or an image that cannot be shown, give the default of a
/// new material. A number as a colour is a grey (encoded as colours are); a colour as a number is its luminance. A
/// number as `transparent` is an opacity.
device::Material describeMaterial(const SCNMaterial& material, const TextureCache& cache, FrameTextures& textures);

/// Whether what `material` draws lets through what is behind it.
bool isBlended(const device::Material& material, std::span<const device::Texture> textures);

}  // namespace ornolith
