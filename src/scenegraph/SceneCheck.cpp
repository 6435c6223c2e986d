#include "scenegraph/SceneCheck.h"

#include <algorithm>
#include <cmath>
#include <string_view>
#include <unordered_set>
#include <utility>

#include "scenegraph/SCNSubtreeWalk.h"

namespace ornolith {
namespace {

using Fault = std::optional<std::string>;

std::string counted(std::size_t count, std::string_view what) {
  return std::to_string(count) + " " + std::string(what);
}

Fault checkLinks(const SCNNode& node) {
  const std::vector<SCNNode::Pointer> children = node.childNodes();
  if (children.size() != node.childCount()) {
    return "lists " + counted(children.size(), "children and counts ") + std::to_string(node.childCount()) + ".";
  }
  for (const SCNNode::Pointer& child : children) {
    if (!child) return "lists a child that is null.";
    if (child->parentNode().get() != &node) return "lists a child that names another parent.";
  }
  return std::nullopt;
}

Fault checkSource(const SCNGeometrySource& source, std::size_t vertexCount) {
  if (!source.data()) return "has a source without data.";
  const std::size_t bytes = source.bytesPerComponent();
  const bool isKnown = source.floatComponents() ? bytes == 4 || bytes == 8 : bytes == 1 || bytes == 2;
  if (!isKnown || source.componentsPerVector() == 0) return "has a source of an unknown format.";
  if (source.vectorCount() != vertexCount) {
    return "has a source of " + counted(source.vectorCount(), "vectors for ") + counted(vertexCount, "vertices.");
  }
  if (vertexCount == 0) return std::nullopt;
  const std::size_t size = source.data()->size();
  const std::size_t vectorBytes = source.componentsPerVector() * bytes;
  const bool startsInside = source.dataOffset() <= size && size - source.dataOffset() >= vectorBytes;
  if (!startsInside || (size - source.dataOffset() - vectorBytes) / source.dataStride() < vertexCount - 1) {
    return "has a source whose vectors reach beyond its data.";
  }
  return std::nullopt;
}

// How many indices the element's primitive count asks for. Polygon counts must lie inside the data.
std::size_t requiredIndices(const SCNGeometryElement& element) {
  const std::size_t primitives = element.primitiveCount();
  switch (element.primitiveType()) {
    case SCNGeometryPrimitiveType::triangles:
      return primitives * 3;
    case SCNGeometryPrimitiveType::triangleStrip:
      return primitives == 0 ? 0 : primitives + 2;
    case SCNGeometryPrimitiveType::line:
      return primitives * 2;
    case SCNGeometryPrimitiveType::point:
      return primitives;
    case SCNGeometryPrimitiveType::polygon: {
      std::size_t count = primitives;
      for (std::size_t i = 0; i < std::min(primitives, element.indexCount()); ++i) count += element.index(i);
      return count;
    }
  }
  return 0;
}

Fault checkElement(const SCNGeometryElement& element, std::size_t vertexCount) {
  constexpr std::size_t mostPrimitives = std::size_t{1} << 40U;
  if (element.primitiveCount() > mostPrimitives) return "has an element with too many primitives.";
  const std::size_t required = requiredIndices(element);
  const std::size_t held = element.data() ? element.indexCount() : vertexCount;
  if (held < required) {
    return "has an element of " + counted(held, "indices that needs ") + std::to_string(required) + ".";
  }
  if (!element.data()) return std::nullopt;
  const bool isPolygon = element.primitiveType() == SCNGeometryPrimitiveType::polygon;
  for (std::size_t i = isPolygon ? element.primitiveCount() : 0; i < held; ++i) {
    if (element.index(i) >= vertexCount) {
      return "has the index " + std::to_string(element.index(i)) + " over " + counted(vertexCount, "vertices.");
    }
  }
  return std::nullopt;
}

Fault checkMaterial(const SCNMaterial& material) {
  const SCNMaterialProperty* properties[] = {&material.diffuse,      &material.normal,
                                             &material.roughness,    &material.metalness,
                                             &material.emission,     &material.transparent,
                                             &material.specular,     &material.ambientOcclusion,
                                             &material.clearCoat,    &material.clearCoatRoughness,
                                             &material.specularTint, &material.specularStrength};
  for (const SCNMaterialProperty* property : properties) {
    if (property->mappingChannel < 0) return "has a material with a negative mapping channel.";
    const auto* encoded = std::get_if<std::shared_ptr<const EncodedImage>>(&property->contents);
    if (encoded != nullptr && !*encoded) return "has a material with a null image.";
    const auto* image = std::get_if<std::shared_ptr<const Image>>(&property->contents);
    if (image == nullptr) continue;
    if (!*image) return "has a material with a null image.";
    if ((*image)->pixels.size() != std::size_t{(*image)->width} * (*image)->height * 4) {
      return "has a material with an image whose pixels do not match its size.";
    }
  }
  return std::nullopt;
}

class SceneChecker {
 public:
  SceneCheckResult check(const SCNScene& scene) {
    for (SCNSubtreeWalk walk(*scene.rootNode()); !walk.isAtEnd(); walk.next()) {
      result_.deepestLevel = std::max(result_.deepestLevel, walk.depth());
      if (const Fault fault = checkNode(walk.node())) {
        result_.brokenPromise = "The node " + described(walk.node()) + " " + *fault;
        break;
      }
    }
    return result_;
  }

 private:
  std::string described(const SCNNode& node) const {
    const std::string number = "number " + std::to_string(result_.nodeCount);
    return node.name() ? number + " '" + *node.name() + "'" : number;
  }

  Fault checkNode(const SCNNode& node) {
    ++result_.nodeCount;
    if (!nodes_.insert(&node).second) return "stands in the tree twice.";
    if (Fault fault = checkLinks(node)) return fault;
    for (const simd_double4& column : node.transform().columns) {
      if (std::isfinite(column.x) && std::isfinite(column.y) && std::isfinite(column.z)) continue;
      ++result_.nonFiniteTransformCount;
      break;
    }
    if (!node.geometry || !geometries_.insert(node.geometry.get()).second) return std::nullopt;
    ++result_.geometryCount;
    return checkGeometry(*node.geometry);
  }

  Fault checkGeometry(const SCNGeometry& geometry) {
    const SCNGeometrySource* vertices = geometry.firstSourceForSemantic(SCNGeometrySourceSemantic::vertex);
    if (vertices == nullptr) return "has a geometry without vertices.";
    if (geometry.geometryElements().empty()) return "has a geometry without elements.";
    for (const auto& source : geometry.geometrySources()) {
      if (Fault fault = checkSource(*source, vertices->vectorCount())) return fault;
    }
    for (const auto& element : geometry.geometryElements()) {
      if (Fault fault = checkElement(*element, vertices->vectorCount())) return fault;
    }
    countNonFinitePositions(*vertices);
    for (const auto& material : geometry.materials()) {
      if (!material) return "has a geometry with a null material.";
      if (!materials_.insert(material.get()).second) continue;
      ++result_.materialCount;
      if (Fault fault = checkMaterial(*material)) return fault;
    }
    return std::nullopt;
  }

  void countNonFinitePositions(const SCNGeometrySource& vertices) {
    for (std::size_t i = 0; i < vertices.vectorCount(); ++i) {
      const SCNVector3 position{vertices.component(i, 0), vertices.component(i, 1), vertices.component(i, 2)};
      if (!isFinite(position)) ++result_.nonFinitePositionCount;
    }
  }

  SceneCheckResult result_;
  std::unordered_set<const SCNNode*> nodes_;
  std::unordered_set<const SCNGeometry*> geometries_;
  std::unordered_set<const SCNMaterial*> materials_;
};

}  // namespace

SceneCheckResult checkScene(const SCNScene& scene) {
  return SceneChecker().check(scene);
}

}  // namespace ornolith
