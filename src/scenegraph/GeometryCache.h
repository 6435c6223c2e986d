#pragma once

#include <cstdint>
#include <memory>
#include <optional>
#include <span>
#include <unordered_map>
#include <vector>

#include "scenegraph/SCNGeometry.h"
#include "scenegraph/device/FrameDescription.h"

namespace ornolith {

/// One element of a geometry as indices that a device takes.
struct FlatElement {
  std::shared_ptr<SCNGeometryElement> element;
  std::size_t slot = 0;  ///< The element's number, which chooses its material.
  device::Topology topology = device::Topology::triangles;
  /// All below the mesh's position count, a whole number of primitives. They stand in the element's own data or in
  /// `converted`.
  std::span<const std::uint32_t> indices;
  std::vector<std::uint32_t> converted;
  /// The centre of the box of the corners used, in model space; found when it is first asked for.
  mutable std::optional<SCNVector3> centre;
};

/// A geometry as a device takes it: streams as spans into the sources' own data where these are aligned 32-bit floats,
/// copies otherwise; strips and polygons as triangles. A primitive with an index out of range is left out. A stream
/// other than the positions counts only where it is as long as these.
struct FlatGeometry {
  SCNGeometry::Sources sources;  ///< What the streams were made from; held, so that addresses stay theirs.
  SCNGeometry::Elements elements;
  device::Mesh mesh;              ///< Without its owner.
  std::vector<FlatElement> runs;  ///< Those that hold a primitive.
  std::vector<std::vector<float>> converted;

  SCNVector3 centreOf(const FlatElement& run) const;
};

std::shared_ptr<const FlatGeometry> flattenGeometry(const SCNGeometry& geometry);

/// The flat forms of the geometries of the latest frame, by identity. A geometry whose sources or elements have been
/// replaced is flattened anew.
class GeometryCache {
 public:
  /// Flattens those of `geometries` (no address twice) that the cache does not hold, in parallel, and lets go of all
  /// others.
  void prepare(std::span<const std::shared_ptr<SCNGeometry>> geometries);

  /// The flat form of a geometry of the last `prepare`.
  const std::shared_ptr<const FlatGeometry>& flat(const SCNGeometry& geometry) const;

 private:
  struct Entry {
    std::shared_ptr<const SCNGeometry> owner;
    std::shared_ptr<const FlatGeometry> flat;
  };
  std::unordered_map<const SCNGeometry*, Entry> entries_;
};

}  // namespace ornolith
