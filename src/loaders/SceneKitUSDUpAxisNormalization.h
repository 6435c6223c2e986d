#pragma once

#include <string_view>

#include "import/formats/ModelFormat.h"
#include "scenegraph/SCNScene.h"

namespace ornolith {

/// Turns a USD stage that is authored with z up so that y is up, as everything above the readers expects.
struct SceneKitUSDUpAxisNormalization {
  /// The name of the node that holds the turned contents; parts and overlays take it as structure, not as content.
  static constexpr std::string_view nodeName = "__OrnolithAxisNormalization";

  /// Moves the contents of a USD scene below one node that is turned by -90 degrees about x, where the scene's
  /// attribute `SCNSceneUpAxisAttributeKey` is a vector along positive z (within acos 0.9999, 0.8 degrees), and sets
  /// the attribute to y. Whether the scene was changed: a second call changes nothing, nor does any other axis, a scene
  /// without the attribute, or a format that is not of USD.
  static bool applyIfNeeded(SCNScene& scene, ModelFormat format);
};

}  // namespace ornolith
