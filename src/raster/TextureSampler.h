#pragma once

#include <cstddef>
#include <cstdint>
#include <span>

#include "raster/FragmentBatch.h"
#include "raster/TexturePyramid.h"
#include "scenegraph/device/FrameDescription.h"

namespace ornolith::raster {

/// The most samples along the long axis of a footprint.
inline constexpr int maximumAnisotropy = 8;

/// The most textures of one material.
inline constexpr std::size_t maximumTextureReads = 11;

/// Components of a texel, for `TextureRead::components`.
inline constexpr std::uint8_t redComponent = 1, greenComponent = 2, blueComponent = 4, alphaComponent = 8;
inline constexpr std::uint8_t colorComponents = 7, allComponents = 15;

/// One texture to be sampled at one place per fragment.
struct TextureRead {
  const TexturePyramid* pyramid = nullptr;
  const device::MaterialSlot* slot = nullptr;  ///< Its transform and wrap modes.
  std::size_t coordinateSet = 0;
  std::uint8_t components = allComponents;  ///< Those that are wanted; others may come out as anything.
  std::uint32_t sample = 0;                 ///< Number of the samples that the result goes to.
  bool sharesFootprints = false;  ///< Reads the texels of the same place as the read before, of a like pyramid.
};

/// Whether two reads ask for the same texels of two pyramids of one size.
bool sharesFootprints(const TextureRead& a, const TextureRead& b) noexcept;

/// Fills `samples[read.sample]` for each read and each fragment: filtered texels, straight linear RGBA.
///
/// Trilinear; up to `maximumAnisotropy` samples along the longer axis of the ellipse that the pixel's circle becomes in
/// the texture (its axes are the singular values of the 2-by-2 matrix of derivatives, in texels, the shorter one
/// counting as a texel at least). Filters that are nearest take one texel instead of four on the level of the image
/// itself, where nothing is left out by that, and one level instead of two. Colour is weighted by alpha where the
/// pyramid has transparency. Coordinates may be anything: one that is not finite counts as 0, derivatives that are not
/// finite select the smallest level. Lanes from `count` to the end of a vector hold anything.
void sampleTextures(std::span<const TextureRead> reads, std::span<const CoordinateLanes> coordinates, std::size_t count,
                    std::span<Lane4> samples) noexcept;

}  // namespace ornolith::raster
