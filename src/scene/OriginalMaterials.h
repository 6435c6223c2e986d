#pragma once

#include <map>
#include <memory>
#include <string>
#include <string_view>
#include <unordered_map>

#include "scenegraph/SCNGeometry.h"
#include "scenegraph/SCNNode.h"

namespace ornolith {

/// The materials that geometries had when they were loaded, to be put back after another surface mode. The materials
/// themselves are kept, never copied. Geometries are known by identity and kept alive for it; nodes whose name begins
/// with
/// "__fbx_" also by name, since an animation replaces their whole geometry.
class OriginalMaterials {
 public:
  static constexpr std::string_view fallbackNodeNamePrefix = "__fbx_";

  /// Records the present materials of the geometries of `root` and everything below it. Later records replace earlier
  /// ones.
  void collect(const SCNNode& root);
  void clear();

  /// What `node`'s geometry had: by the geometry, else by the node's name, or null where neither is known.
  const SCNGeometry::Materials* find(const SCNNode& node) const;
  /// What this geometry had, or null.
  const SCNGeometry::Materials* find(const std::shared_ptr<SCNGeometry>& geometry) const;

 private:
  std::unordered_map<std::shared_ptr<const SCNGeometry>, SCNGeometry::Materials> byGeometry_;
  std::map<std::string, SCNGeometry::Materials, std::less<>> byFallbackNodeName_;
};

}  // namespace ornolith
