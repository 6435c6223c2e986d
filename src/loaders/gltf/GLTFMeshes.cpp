#include "loaders/gltf/GLTFMeshes.h"

#include <algorithm>
#include <optional>
#include <tuple>
#include <utility>

#include "loaders/gltf/GLTFCorners.h"
#include "loaders/gltf/GLTFVertexStreams.h"

namespace ornolith {

namespace {

/// What a geometry costs beside its streams.
constexpr std::size_t geometryBytes = 1024;

/// Primitives that share their vertex streams.
using Group = std::vector<const GLTFPrimitive*>;

/// A geometry as it grows.
struct Draft {
  SCNGeometry::Elements elements;
  SCNGeometry::Materials materials;
};

class GeometryMaker {
 public:
  GeometryMaker(const GLTFMesh& mesh, const GLTFDeformation& deformation, GLTFAccessors& accessors,
                GLTFMaterials& materials, GLTFMemoryBudget& budget)
      : mesh_(mesh), deformation_(deformation), accessors_(accessors), materials_(materials), budget_(budget) {}

  GLTFMeshes::Geometries make() {
    for (const Group& group : groups()) addGeometries(group);
    return std::move(geometries_);
  }

 private:
  /// A compressed primitive whose plain form has been left out shows nothing.
  bool canBeDrawn(const GLTFPrimitive& primitive) const {
    const auto positions = accessorOfAttribute(primitive.attributes, "POSITION");
    if (!positions) return false;
    if (!primitive.isDracoCompressed) return true;
    return accessors_.hasData(*positions) && (!primitive.indices || accessors_.hasData(*primitive.indices));
  }

  /// In the order of their first primitives.
  std::vector<Group> groups() const {
    using Key = std::tuple<GLTFAttributes, std::vector<GLTFAttributes>>;
    std::map<Key, std::size_t> places;
    std::vector<Group> groups;
    for (const GLTFPrimitive& primitive : mesh_.primitives) {
      if (!canBeDrawn(primitive)) continue;
      const auto [place, isNew] = places.try_emplace(Key{primitive.attributes, primitive.targets}, groups.size());
      if (isNew) groups.emplace_back();
      groups[place->second].push_back(&primitive);
    }
    return groups;
  }

  void addGeometries(const Group& group) {
    const SCNGeometry::Sources sources = vertexStreams(*group.front(), deformation_, accessors_, budget_);
    if (sources.empty()) return;
    const std::size_t vertexCount = sources.front()->vectorCount();
    const bool hasTransparentVertices = hasTransparentColor(sources, budget_);
    Draft shared;
    for (const GLTFPrimitive* primitive : group) {
      GLTFCorners corners = cornersOfPrimitive(*primitive, vertexCount, accessors_, budget_);
      if (corners.count == 0) continue;
      budget_.take(1, geometryBytes);
      const bool isUnlit = corners.type != SCNGeometryPrimitiveType::triangles &&
                           sourceIn(sources, SCNGeometrySourceSemantic::normal) == nullptr;
      const auto material = materials_.material(primitive->material,
                                                {.isUnlit = isUnlit, .hasTransparentVertices = hasTransparentVertices});
      if (const auto mapping = mappingOfMissingTangents(*primitive, corners, sources)) {
        budget_.takeDrawing(*corners.element());
        GLTFTangentStreams streams = addingTangents(sources, *mapping, corners, budget_);
        add(std::move(streams.sources), {{streams.corners.element()}, {material}});
      } else {
        shared.elements.push_back(corners.element());
        budget_.takeDrawing(*shared.elements.back());
        shared.materials.push_back(material);
      }
    }
    if (!shared.elements.empty()) add(sources, std::move(shared));
  }

  /// How the normal map lies, where its tangents are missing and can be generated.
  std::optional<GLTFTextureMapping> mappingOfMissingTangents(const GLTFPrimitive& primitive, const GLTFCorners& corners,
                                                             const SCNGeometry::Sources& sources) const {
    if (corners.type != SCNGeometryPrimitiveType::triangles || !sourceIn(sources, SCNGeometrySourceSemantic::normal) ||
        sourceIn(sources, SCNGeometrySourceSemantic::tangent)) {
      return std::nullopt;
    }
    std::optional<GLTFTextureMapping> mapping = materials_.normalMapping(primitive.material);
    const bool hasTexcoords =
        mapping && sourceIn(sources, SCNGeometrySourceSemantic::texcoord, mapping->texcoordSet) != nullptr;
    return hasTexcoords ? mapping : std::nullopt;
  }

  void add(SCNGeometry::Sources sources, Draft draft) {
    auto geometry = SCNGeometry::geometryWithSources(std::move(sources), std::move(draft.elements));
    geometry->name = mesh_.name;
    geometry->setMaterials(std::move(draft.materials));
    geometries_.push_back(std::move(geometry));
  }

  const GLTFMesh& mesh_;
  const GLTFDeformation& deformation_;
  GLTFAccessors& accessors_;
  GLTFMaterials& materials_;
  GLTFMemoryBudget& budget_;
  GLTFMeshes::Geometries geometries_;
};

}  // namespace

const GLTFMeshes::Geometries& GLTFMeshes::geometriesAtRest(GLTFIndex mesh) {
  const auto found = atRest_.find(mesh);
  if (found != atRest_.end()) return found->second;
  const GLTFDeformation deformation{.weights = document_.meshes[mesh].weights, .jointMatrices = {}};
  return atRest_.emplace(mesh, geometries(mesh, deformation)).first->second;
}

GLTFMeshes::Geometries GLTFMeshes::geometries(GLTFIndex mesh, const GLTFDeformation& deformation) {
  return GeometryMaker(document_.meshes[mesh], deformation, accessors_, materials_, budget_).make();
}

}  // namespace ornolith
