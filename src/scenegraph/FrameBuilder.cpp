#include "scenegraph/FrameBuilder.h"

#include <algorithm>
#include <cmath>
#include <limits>
#include <memory>
#include <unordered_map>
#include <unordered_set>
#include <utility>
#include <vector>

#include "scenegraph/MaterialDescription.h"
#include "scenegraph/SCNSubtreeWalk.h"
#include "scenegraph/Transforms.h"

namespace ornolith {
namespace {

// A node to be drawn, or to light, and where it stands.
struct Placement {
  const SCNNode* node;
  SCNMatrix4 worldMatrix;
};

struct VisibleNodes {
  std::vector<Placement> geometries;
  std::vector<Placement> lights;
  bool sceneHoldsLight = false;
};

bool isFiniteMatrix(const SCNMatrix4& matrix) {
  return std::all_of(matrix.columns.begin(), matrix.columns.end(), [](const simd_double4& c) {
    return std::isfinite(c.x) && std::isfinite(c.y) && std::isfinite(c.z);
  });
}

bool isBillboard(const SCNNode& node) {
  return std::any_of(node.constraints.begin(), node.constraints.end(), [](const auto& constraint) {
    return dynamic_cast<const SCNBillboardConstraint*>(constraint.get()) != nullptr;
  });
}

// The world matrices of a walk. At and below a node with a billboard constraint they differ from the nodes' own: that
// node keeps its place and size and takes the camera's orientation.
class WorldMatrices {
 public:
  explicit WorldMatrices(simd_quatd cameraOrientation) : cameraOrientation_(cameraOrientation) {}

  SCNMatrix4 at(const SCNNode& node, std::size_t depth) {
    while (!turned_.empty() && turned_.back().depth >= depth) turned_.pop_back();
    const bool isBelowBillboard = !turned_.empty();
    if (!isBelowBillboard && node.constraints.empty()) return node.worldTransform();
    SCNMatrix4 matrix = isBelowBillboard ? turned_.back().matrix * node.transform() : node.worldTransform();
    const bool isTurned = isBillboard(node);
    if (isTurned) {
      TransformComponents components = componentsFromMatrix(matrix);
      components.orientation = cameraOrientation_;
      matrix = matrixFromComponents(components);
    }
    if (isTurned || isBelowBillboard) turned_.push_back({depth, matrix});
    return matrix;
  }

 private:
  struct Turned {
    std::size_t depth;
    SCNMatrix4 matrix;
  };
  simd_quatd cameraOrientation_;
  std::vector<Turned> turned_;
};

TransformComponents cameraPlacement(const SCNNode* pointOfView) {
  return pointOfView != nullptr ? componentsFromMatrix(pointOfView->worldTransform()) : TransformComponents{};
}

device::Camera describeCamera(const SCNNode* pointOfView, TransformComponents placement) {
  placement.scale = {1, 1, 1};
  device::Camera camera;
  camera.viewMatrix = invertedAffine(matrixFromComponents(placement));
  const SCNCamera values = pointOfView != nullptr && pointOfView->camera ? *pointOfView->camera : SCNCamera{};
  camera.usesOrthographicProjection = values.usesOrthographicProjection;
  camera.verticalFieldOfView = values.fieldOfView;
  camera.orthographicScale = values.orthographicScale;
  camera.zNear = values.zNear;
  return camera;
}

VisibleNodes collectVisibleNodes(SCNNode& root, simd_quatd cameraOrientation) {
  VisibleNodes visible;
  WorldMatrices worldMatrices(cameraOrientation);
  SCNSubtreeWalk walk(root);
  while (!walk.isAtEnd()) {
    SCNNode& node = walk.node();
    if (walk.isHidden()) {
      walk.nextBesideSubtree();
      continue;
    }
    SCNMatrix4 matrix = worldMatrices.at(node, walk.depth());
    if (isFiniteMatrix(matrix)) {
      for (std::size_t c = 0; c < 4; ++c) matrix.columns[c].w = c == 3 ? 1 : 0;
      if (node.geometry) visible.geometries.push_back({&node, matrix});
      if (node.light) visible.lights.push_back({&node, matrix});
    }
    if (node.light) visible.sceneHoldsLight = true;
    walk.next();
  }
  return visible;
}

// Lights.

constexpr double neutralIntensity = 1000;

simd_float3 lightColor(const SCNLight& light) {
  const simd_float4 color = linearColor(light.color);
  return simd_float3{color.x, color.y, color.z} * static_cast<float>(light.intensity / neutralIntensity);
}

void addDirectionalLight(const SCNMatrix4& worldMatrix, simd_float3 color, device::FrameDescription& frame) {
  const SCNVector3 direction = transformDirection(worldMatrix, SCNVector3{0, 0, -1});
  const double size = length(direction);
  if (!std::isfinite(size) || !(size > 0)) return;
  frame.directionalLights.push_back({vectorCast<float>(direction / size), color});
}

void addLights(const VisibleNodes& visible, bool addsDefault, const TransformComponents& camera,
               device::FrameDescription& frame) {
  for (const Placement& placement : visible.lights) {
    const SCNLight& light = *placement.node->light;
    if (light.type == SCNLightType::ambient) frame.ambientLight = frame.ambientLight + lightColor(light);
    if (light.type == SCNLightType::directional) addDirectionalLight(placement.worldMatrix, lightColor(light), frame);
  }
  if (addsDefault && !visible.sceneHoldsLight) {
    addDirectionalLight(rotationMatrix(camera.orientation), {1, 1, 1}, frame);
  }
}

// Items.

std::array<simd_float3, 3> normalMatrix(const SCNMatrix4& matrix) {
  const auto column = [&](std::size_t i) {
    return SCNVector3{matrix.columns[i].x, matrix.columns[i].y, matrix.columns[i].z};
  };
  const double determinant = determinant3(matrix);
  const SCNVector3 columns[3] = {cross(column(1), column(2)) / determinant, cross(column(2), column(0)) / determinant,
                                 cross(column(0), column(1)) / determinant};
  std::array<simd_float3, 3> result;
  for (std::size_t i = 0; i < 3; ++i) {
    result[i] = vectorCast<float>(columns[i]);
    if (!isFinite(result[i])) return {};
  }
  return result;
}

// An item with what decides its place in the drawing order.
struct OrderedItem {
  device::DrawItem item;
  std::int64_t renderingOrder = 0;
  bool isBlended = false;
  double depth = 0;  // Of the centre along the view; only of blended items.
};

class ItemBuilder {
 public:
  ItemBuilder(const GeometryCache& geometries, const TextureCache& textures, device::FrameDescription& frame)
      : geometries_(geometries), textures_(textures), frame_(frame), frameTextures_(frame.textures) {}

  void add(const Placement& placement) {
    const SCNGeometry& geometry = *placement.node->geometry;
    const std::shared_ptr<const FlatGeometry>& flat = geometries_.flat(geometry);
    if (flat->runs.empty()) return;
    device::DrawItem item;
    item.mesh = meshNumber(flat);
    item.worldMatrix = placement.worldMatrix;
    item.normalMatrix = normalMatrix(placement.worldMatrix);
    item.isMirrored = determinant3(placement.worldMatrix) < 0;
    for (const FlatElement& run : flat->runs) addRun(placement, *flat, run, item);
  }

  std::vector<OrderedItem> takeItems() { return std::move(items_); }

 private:
  void addRun(const Placement& placement, const FlatGeometry& flat, const FlatElement& run, device::DrawItem item) {
    item.material = materialNumber(placement.node->geometry->materialForElement(run.slot));
    item.topology = run.topology;
    item.indices = run.indices.data();
    item.indexCount = static_cast<std::uint32_t>(run.indices.size());
    item.pointSize = static_cast<float>(run.element->pointSize);
    item.minimumPointRadius = static_cast<float>(run.element->minimumPointScreenSpaceRadius);
    item.maximumPointRadius = static_cast<float>(run.element->maximumPointScreenSpaceRadius);
    OrderedItem ordered{item, placement.node->renderingOrder, blended_[item.material], 0};
    if (ordered.isBlended) ordered.depth = depthOf(flat.centreOf(run), placement.worldMatrix);
    items_.push_back(ordered);
  }

  double depthOf(SCNVector3 centre, const SCNMatrix4& worldMatrix) const {
    const SCNVector3 world = transformPoint(worldMatrix, centre);
    const double depth = -transformPoint(frame_.camera.viewMatrix, world).z;
    return std::isfinite(depth) ? depth : std::numeric_limits<double>::max();
  }

  std::uint32_t meshNumber(const std::shared_ptr<const FlatGeometry>& flat) {
    const auto [position, isNew] =
        meshNumbers_.try_emplace(flat.get(), static_cast<std::uint32_t>(frame_.meshes.size()));
    if (isNew) {
      frame_.meshes.push_back(flat->mesh);
      frame_.meshes.back().owner = flat;
    }
    return position->second;
  }

  std::uint32_t materialNumber(const std::shared_ptr<SCNMaterial>& material) {
    const auto [position, isNew] =
        materialNumbers_.try_emplace(material.get(), static_cast<std::uint32_t>(frame_.materials.size()));
    if (isNew) {
      frame_.materials.push_back(describeMaterial(material ? *material : withoutMaterial_, textures_, frameTextures_));
      blended_.push_back(isBlended(frame_.materials.back(), frame_.textures));
    }
    return position->second;
  }

  const GeometryCache& geometries_;
  const TextureCache& textures_;
  device::FrameDescription& frame_;
  FrameTextures frameTextures_;
  const SCNMaterial withoutMaterial_;
  std::unordered_map<const FlatGeometry*, std::uint32_t> meshNumbers_;
  std::unordered_map<const SCNMaterial*, std::uint32_t> materialNumbers_;
  std::vector<bool> blended_;  // By material.
  std::vector<OrderedItem> items_;
};

// Higher rendering orders are drawn later. An opaque item with a higher order than something blended has to follow it,
// so it joins the blended items, where it comes before those of its own order.
void putItemsInOrder(std::vector<OrderedItem> items, device::FrameDescription& frame) {
  std::int64_t lowestBlendedOrder = std::numeric_limits<std::int64_t>::max();
  for (const OrderedItem& item : items) {
    if (item.isBlended) lowestBlendedOrder = std::min(lowestBlendedOrder, item.renderingOrder);
  }
  std::stable_sort(items.begin(), items.end(), [](const OrderedItem& a, const OrderedItem& b) {
    if (a.renderingOrder != b.renderingOrder) return a.renderingOrder < b.renderingOrder;
    if (a.isBlended != b.isBlended) return b.isBlended;
    return a.isBlended && a.depth > b.depth;
  });
  for (const OrderedItem& item : items) {
    const bool followsBlended = item.isBlended || item.renderingOrder > lowestBlendedOrder;
    (followsBlended ? frame.blendedItems : frame.opaqueItems).push_back(item.item);
  }
}

// What the caches have to hold before items are made.
void prepareCaches(const VisibleNodes& visible, GeometryCache& geometries, TextureCache& textures) {
  std::unordered_set<const SCNGeometry*> seen;
  std::vector<std::shared_ptr<SCNGeometry>> unique;
  for (const Placement& placement : visible.geometries) {
    const std::shared_ptr<SCNGeometry>& geometry = placement.node->geometry;
    if (!seen.insert(geometry.get()).second) continue;
    unique.push_back(geometry);
    const std::size_t used = std::min(geometry->materials().size(), geometry->geometryElements().size());
    for (std::size_t i = 0; i < used; ++i) {
      if (geometry->materials()[i]) requestTextures(*geometry->materials()[i], textures);
    }
  }
  textures.load();
  geometries.prepare(unique);
}

simd_float4 backgroundColor(const SCNMaterialProperty& background) {
  if (const NSColor* color = std::get_if<NSColor>(&background.contents)) return linearColor(*color);
  if (const double* grey = std::get_if<double>(&background.contents)) return linearColor({*grey, *grey, *grey, 1});
  return {0, 0, 0, 0};
}

}  // namespace

device::FrameDescription buildFrame(const FrameRequest& request, GeometryCache& geometries, TextureCache& textures) {
  device::FrameDescription frame;
  frame.width = request.width;
  frame.height = request.height;
  frame.background = backgroundColor(request.scene.background);
  const TransformComponents camera = cameraPlacement(request.pointOfView);
  frame.camera = describeCamera(request.pointOfView, camera);
  const VisibleNodes visible = collectVisibleNodes(*request.scene.rootNode(), camera.orientation);
  addLights(visible, request.autoenablesDefaultLighting, camera, frame);
  prepareCaches(visible, geometries, textures);
  ItemBuilder items(geometries, textures, frame);
  for (const Placement& placement : visible.geometries) items.add(placement);
  putItemsInOrder(items.takeItems(), frame);
  return frame;
}

}  // namespace ornolith
