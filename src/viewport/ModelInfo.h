#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <vector>

#include "foundation/JSONCoding.h"

namespace ornolith {

/// The extent of a model along x, y and z, in units of its file.
struct ModelDimensions {
  float width = 0;
  float height = 0;
  float depth = 0;

  /// The keys are the field names, all required.
  static ModelDimensions fromJSON(const JSONElement& element);
  JSONValue toJSON() const;

  bool operator==(const ModelDimensions&) const = default;
};

/// One animation of a model; times are seconds.
struct ModelAnimationInfo {
  std::string id;
  std::string name;
  double startTime = 0;
  double endTime = 0;
  double duration = 0;
  std::optional<double> framesPerSecond;

  /// The keys are the field names, all required but `framesPerSecond`.
  static ModelAnimationInfo fromJSON(const JSONElement& element);
  JSONValue toJSON() const;

  bool operator==(const ModelAnimationInfo&) const = default;
};

/// What a loaded model contains. Nothing is counted once only: a geometry shared by ten nodes counts ten times.
struct ModelInfo {
  std::int64_t meshCount = 0;      ///< Nodes with geometry.
  std::int64_t vertexCount = 0;    ///< Vertices, per geometry node.
  std::int64_t faceCount = 0;      ///< Primitives of elements that have faces.
  std::int64_t triangleCount = 0;  ///< Primitives of triangle elements; polygons are not among them.
  std::int64_t materialCount = 0;  ///< Material slots, per geometry node.
  std::int64_t textureCount = 0;   ///< Materials that carry an image.
  std::int64_t skeletonCount = 0;  ///< Skeleton roots.
  std::int64_t boneCount = 0;      ///< Nodes at or below skeleton roots.
  std::int64_t animationCount = 0;
  std::vector<ModelAnimationInfo> animations;
  ModelDimensions dimensions;

  static ModelInfo empty() { return {}; }

  /// The keys are the field names, all required.
  static ModelInfo fromJSON(const JSONElement& element);
  JSONValue toJSON() const;

  bool operator==(const ModelInfo&) const = default;
};

}  // namespace ornolith
