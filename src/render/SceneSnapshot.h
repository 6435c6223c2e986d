#pragma once

#include <cstddef>
#include <cstdint>
#include <vector>

#include "contracts/CameraState.h"
#include "contracts/RenderOutputOptions.h"
#include "imaging/Image.h"
#include "scenegraph/SCNScene.h"

namespace ornolith {

/// Puts `background` behind the scene: its colour in sRGB, or nothing.
void applyBackground(const RenderBackground& background, SCNScene& scene);

/// One frame of `scene` from `cameraState` (its target plays no part), `width` by `height` pixels, not antialiased,
/// straight alpha. The scene's own cameras, selection frame and gizmo are left out; its lights are the only lights. The
/// scene itself is not touched: a throwaway copy of its top level is drawn, which shares geometries and materials.
///
/// Throws `ImageSizeError` for an image that is empty or over the limits, before memory is set aside, and
/// `ModelRenderError` where the machine has no render device.
Image snapshot(const SCNScene& scene, const CameraState& cameraState, std::int64_t width, std::int64_t height);

/// An image of `width` by `height` pixels full of `background`.
Image fill(std::uint32_t width, std::uint32_t height, const RenderBackground& background);

/// The PNG file of `image`. With a transparent background its pixels stand as they are; a colour is laid under those
/// that are not opaque, so that an opaque colour gives an opaque file.
std::vector<std::byte> pngData(const Image& image, const RenderBackground& background);

}  // namespace ornolith
