#pragma once

#include <memory>

#include "scenegraph/NSColor.h"

namespace ornolith {

enum class SCNLightType { ambient, directional, omni, spot };
inline constexpr SCNLightType SCNLightTypeAmbient = SCNLightType::ambient;
inline constexpr SCNLightType SCNLightTypeDirectional = SCNLightType::directional;

/// A light, shared by identity. Only ambient and directional lights are drawn; a directional light shines along its
/// node's negative z, and its position has no effect.
struct SCNLight {
  static std::shared_ptr<SCNLight> light() { return std::make_shared<SCNLight>(); }

  SCNLightType type = SCNLightType::omni;
  NSColor color = NSColor::whiteColor();
  double intensity = 1000;  ///< 1000 is neutral: a white diffuse surface that faces the light comes out white.
};

}  // namespace ornolith
