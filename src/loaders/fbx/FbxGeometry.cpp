#include "loaders/fbx/FbxGeometry.h"

#include <bit>
#include <cstddef>
#include <unordered_set>
#include <utility>

#include "loaders/fbx/FbxMaterials.h"
#include "loaders/fbx/FbxMeshStreams.h"
#include "loaders/fbx/FbxSceneReading.h"
#include "loaders/fbx/FbxText.h"

namespace ornolith {

namespace {

bool hasFaces(const ufbx_node& node) {
  return node.mesh != nullptr && node.mesh->num_faces > 0 && node.mesh->vertex_position.exists;
}

std::size_t groupCount(const ufbx_node& node) {
  if (node.materials.count > 0) return node.materials.count;
  return node.mesh->materials.count > 0 ? node.mesh->materials.count : 1;
}

/// The instance's own material counts before the mesh's; null where neither has one.
const ufbx_material* materialOfGroup(const ufbx_node& node, std::size_t group) {
  if (group < node.materials.count) return node.materials[group];
  if (group < node.mesh->materials.count) return node.mesh->materials[group];
  return nullptr;
}

FbxConversion::StreamKey streamKey(const ufbx_node& node, std::size_t groups) {
  std::array<std::uint64_t, 12> bits{};
  for (std::size_t index = 0; index < bits.size(); ++index) {
    bits[index] = std::bit_cast<std::uint64_t>(node.geometry_to_node.v[index]);
  }
  return {node.mesh->element_id, groups, bits};
}

std::shared_ptr<const FbxMeshStreams> streamsOf(const ufbx_node& node, bool usesAuthoredHierarchy, std::size_t groups,
                                                FbxConversion& conversion) {
  if (!usesAuthoredHierarchy) {
    return std::make_shared<const FbxMeshStreams>(
        makeMeshStreams(node, FbxVertexSpace::world, groups, conversion.budget));
  }
  std::shared_ptr<const FbxMeshStreams>& streams = conversion.sharedStreams[streamKey(node, groups)];
  if (!streams) {
    streams =
        std::make_shared<const FbxMeshStreams>(makeMeshStreams(node, FbxVertexSpace::node, groups, conversion.budget));
  }
  return streams;
}

/// Maps the material of every group, and keeps those of the groups that have triangles.
std::vector<FbxMappedMaterial> mapMaterials(const ufbx_node& node, std::size_t groups, const FbxMeshStreams& streams,
                                            FbxConversion& conversion, std::vector<std::string>* diagnostics) {
  std::vector<FbxMappedMaterial> kept;
  kept.reserve(streams.groups.size());
  for (std::size_t group = 0; group < groups; ++group) {
    if (!conversion.budget.take(sizeof(SCNMaterial))) throwFbxMemoryLimitExceeded("materials");
    FbxMappedMaterial mapped = mapMaterial(materialOfGroup(node, group), *node.mesh, conversion, diagnostics);
    const bool isUsed = kept.size() < streams.groups.size() && streams.groups[kept.size()].first == group;
    if (isUsed) kept.push_back(std::move(mapped));
  }
  return kept;
}

}  // namespace

std::shared_ptr<SCNGeometry> GeometryForMeshNode(const ufbx_node& node, FbxConversion& conversion,
                                                 std::vector<std::string>* diagnostics, bool usesAuthoredHierarchy,
                                                 bool* usedFallback, SCNGeometry::Materials* materials) {
  if (!hasFaces(node)) return nullptr;
  const std::size_t groups = groupCount(node);
  const std::shared_ptr<const FbxMeshStreams> streams = streamsOf(node, usesAuthoredHierarchy, groups, conversion);
  const std::vector<FbxMappedMaterial> mapped = mapMaterials(node, groups, *streams, conversion, diagnostics);
  if (const std::size_t count = node.mesh->blend_deformers.count; count > 0) {
    conversion.report(diagnostics, "FBX mesh '" + SceneNodeNameForUfbxNode(node) + "' contains " +
                                       std::to_string(count) +
                                       " blend shape deformer(s); morph targets are rendered in their base state.");
  }
  if (streams->sources.empty()) return nullptr;

  SCNGeometry::Elements elements;
  SCNGeometry::Materials shown;
  for (std::size_t index = 0; index < streams->groups.size(); ++index) {
    const SCNGeometryElement::Data& indices = streams->groups[index].second;
    constexpr std::size_t bytesPerTriangle = 3 * sizeof(std::uint32_t);
    elements.push_back(SCNGeometryElement::geometryElementWithData(
        indices, SCNGeometryPrimitiveType::triangles, indices->size() / bytesPerTriangle, sizeof(std::uint32_t)));
    if (!conversion.drawing.take(drawingCost(*elements.back()))) throwFbxMemoryLimitExceeded("drawing");
    shown.push_back(mapped[index].material);
    if (mapped[index].usedFallback && usedFallback != nullptr) *usedFallback = true;
  }
  if (materials != nullptr) *materials = shown;
  auto geometry = SCNGeometry::geometryWithSources(streams->sources, std::move(elements));
  geometry->setMaterials(std::move(shown));
  return geometry;
}

void decodeEmbeddedImages(const ufbx_scene& scene, FbxConversion& conversion) {
  std::unordered_set<const ufbx_material*> seen;
  std::vector<ufbx_blob> contents;
  const auto collect = [&](const ufbx_material_list& materials) {
    for (const ufbx_material* material : materials) {
      if (material == nullptr || !seen.insert(material).second) continue;
      for (const ufbx_blob& content : embeddedContentsOfMaterial(*material)) contents.push_back(content);
    }
  };
  for (const ufbx_node* node : scene.nodes) {
    if (!hasFaces(*node)) continue;
    collect(node->materials.count > 0 ? node->materials : node->mesh->materials);
  }
  conversion.images.decode(contents);
}

}  // namespace ornolith
