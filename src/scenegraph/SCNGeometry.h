#pragma once

#include <memory>
#include <string>
#include <vector>

#include "scenegraph/SCNGeometryElement.h"
#include "scenegraph/SCNGeometrySource.h"
#include "scenegraph/SCNMaterial.h"
#include "scenegraph/SCNTypes.h"

namespace ornolith {

/// Vertex streams, elements over them, and a list of materials, shared by identity: its address is its key in maps for
/// as long as the key's owner holds it. The material at slot i draws element i, and the list repeats where it is
/// shorter.
class SCNGeometry {
 public:
  using Sources = std::vector<std::shared_ptr<const SCNGeometrySource>>;
  using Elements = std::vector<std::shared_ptr<SCNGeometryElement>>;
  using Materials = std::vector<std::shared_ptr<SCNMaterial>>;

  static std::shared_ptr<SCNGeometry> geometryWithSources(Sources sources, Elements elements);
  virtual ~SCNGeometry() = default;
  SCNGeometry(const SCNGeometry&) = delete;
  SCNGeometry& operator=(const SCNGeometry&) = delete;

  std::string name;

  const Sources& geometrySources() const noexcept { return sources_; }
  Sources geometrySourcesForSemantic(SCNGeometrySourceSemantic semantic) const;
  /// The first source of a kind, or null.
  const SCNGeometrySource* firstSourceForSemantic(SCNGeometrySourceSemantic semantic) const noexcept;
  const Elements& geometryElements() const noexcept { return elements_; }

  const Materials& materials() const noexcept { return materials_; }
  void setMaterials(Materials materials) { materials_ = std::move(materials); }
  std::shared_ptr<SCNMaterial> firstMaterial() const;
  void setFirstMaterial(std::shared_ptr<SCNMaterial> material);
  /// The material that draws element `element`, or null where there is none at all.
  std::shared_ptr<SCNMaterial> materialForElement(std::size_t element) const;

  /// The box of the first vertex source's finite positions; a zero box where there are none. Computed once.
  const SCNBoundingBox& boundingBox() const;
  /// Whether `boundingBox` rests on at least one position.
  bool hasExtent() const;

 protected:
  SCNGeometry() = default;
  /// For ready shapes that build themselves anew when a parameter changes.
  void setSourcesAndElements(Sources sources, Elements elements);

 private:
  Sources sources_;
  Elements elements_;
  Materials materials_;
  mutable SCNBoundingBox boundingBox_;
  mutable bool hasExtent_ = false;
  mutable bool boundingBoxIsKnown_ = false;
};

}  // namespace ornolith
