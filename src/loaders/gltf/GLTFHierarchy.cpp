#include "loaders/gltf/GLTFHierarchy.h"

#include <algorithm>
#include <cmath>
#include <map>
#include <optional>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include "foundation/Rotation.h"
#include "loaders/gltf/GLTFCorners.h"
#include "loaders/gltf/GLTFReadError.h"
#include "scenegraph/NodeMetadata.h"
#include "scenegraph/Transforms.h"

namespace ornolith {

namespace {

/// What a scene node costs, with its metadata and its place in the tables of the program.
constexpr std::size_t nodeBytes = 2048;

bool isFinite(const SCNMatrix4& matrix) noexcept {
  return std::all_of(matrix.columns.begin(), matrix.columns.end(), [](const simd_double4& column) {
    return std::isfinite(column.x) && std::isfinite(column.y) && std::isfinite(column.z) && std::isfinite(column.w);
  });
}

double degrees(double radians) noexcept {
  constexpr double degreesPerRadian = 57.29577951308232;
  return radians * degreesPerRadian;
}

std::shared_ptr<SCNCamera> makeCamera(const GLTFCamera& source) {
  std::shared_ptr<SCNCamera> camera = SCNCamera::camera();
  camera->usesOrthographicProjection = source.isOrthographic;
  camera->fieldOfView = degrees(source.verticalFieldOfView);
  camera->orthographicScale = source.verticalMagnification;
  camera->zNear = source.zNear;
  camera->zFar = source.zFar;
  return camera;
}

std::shared_ptr<SCNLight> makeLight(const GLTFLight& source) {
  std::shared_ptr<SCNLight> light = SCNLight::light();
  light->type = source.type == GLTFLightType::directional ? SCNLightType::directional
                : source.type == GLTFLightType::spot      ? SCNLightType::spot
                                                          : SCNLightType::omni;
  light->color = NSColor{.red = source.color[0], .green = source.color[1], .blue = source.color[2], .alpha = 1};
  light->intensity = source.intensity;
  return light;
}

void stamp(SCNNode& sceneNode, GLTFIndex index, const GLTFNode& node) {
  MetadataDictionary metadata;
  metadata.emplace(ornolithSourceNodeIDKey, "gltf:" + std::to_string(index));
  metadata.emplace(ornolithSourceNodeNameKey, node.name.value_or(std::string()));
  metadata.emplace(ornolithIsSyntheticPrimitiveKey, false);
  metadata.emplace(ornolithUsesAuthoredHierarchyKey, true);
  metadata.emplace(ornolithIsNonAddressableNodeKey, node.camera || node.light);
  sceneNode.ornolithMetadata = std::move(metadata);
}

void place(SCNNode& sceneNode, const GLTFTransform& transform) {
  if (transform.matrix) {
    sceneNode.setTransform(*transform.matrix);
    return;
  }
  sceneNode.setPosition(transform.translation);
  sceneNode.setOrientation(normalized(transform.rotation));
  sceneNode.setScale(transform.scale);
}

class HierarchyMaker {
 public:
  HierarchyMaker(const GLTFDocument& document, GLTFAccessors& accessors, GLTFMeshes& meshes, GLTFMemoryBudget& budget)
      : document_(document), accessors_(accessors), meshes_(meshes), budget_(budget), made_(document.nodes.size()) {}

  std::shared_ptr<SCNScene> make() {
    std::shared_ptr<SCNScene> scene = SCNScene::scene();
    makeNodes(*scene->rootNode());
    for (std::size_t index = 0; index < made_.size(); ++index) {
      if (made_[index]) addContent(static_cast<GLTFIndex>(index));
    }
    return scene;
  }

 private:
  /// Makes the nodes of the scene, each after its parent.
  void makeNodes(SCNNode& root) {
    struct Pending {
      GLTFIndex node;
      SCNNode* parent;
    };
    std::vector<Pending> pending;
    const auto addAll = [&](const std::vector<GLTFIndex>& nodes, SCNNode* parent) {
      for (auto node = nodes.rbegin(); node != nodes.rend(); ++node) pending.push_back({*node, parent});
    };
    addAll(document_.topNodes, &root);
    while (!pending.empty()) {
      const Pending current = pending.back();
      pending.pop_back();
      const GLTFNode& node = document_.nodes[current.node];
      const SCNNode::Pointer made = makeNode(*current.parent);
      made->setName(node.name);
      place(*made, node.transform);
      made->isHidden = !node.isVisible;
      stamp(*made, current.node, node);
      made_[current.node] = made;
      addAll(node.children, made.get());
    }
  }

  SCNNode::Pointer makeNode(SCNNode& parent) {
    budget_.take(1, nodeBytes);
    SCNNode::Pointer made = SCNNode::node();
    parent.addChildNode(made);
    return made;
  }

  void addContent(GLTFIndex index) {
    const GLTFNode& node = document_.nodes[index];
    SCNNode& sceneNode = *made_[index];
    if (node.camera) sceneNode.camera = makeCamera(document_.cameras[*node.camera]);
    if (node.light) sceneNode.light = makeLight(document_.lights[*node.light]);
    if (!node.mesh) return;
    const GLTFMeshes::Geometries geometries = geometriesOf(index);
    if (!node.instances.empty()) {
      addInstances(sceneNode, node.instances, geometries);
    } else {
      show(sceneNode, geometries);
    }
    noteDeformation(sceneNode, node);
  }

  void show(SCNNode& sceneNode, const GLTFMeshes::Geometries& geometries) {
    for (const std::shared_ptr<SCNGeometry>& geometry : geometries) {
      for (const auto& element : geometry->geometryElements()) budget_.takeDrawing(*element);
    }
    if (geometries.size() == 1) {
      sceneNode.geometry = geometries.front();
      return;
    }
    for (const std::shared_ptr<SCNGeometry>& geometry : geometries) makeNode(sceneNode)->geometry = geometry;
  }

  void noteDeformation(SCNNode& sceneNode, const GLTFNode& node) {
    std::size_t targetCount = 0;
    for (const GLTFPrimitive& primitive : document_.meshes[*node.mesh].primitives) {
      targetCount = std::max(targetCount, primitive.targets.size());
    }
    if (targetCount > 0) sceneNode.morpher = std::make_shared<SCNMorpher>(SCNMorpher{targetCount});
    if (node.skin) {
      sceneNode.skinner = std::make_shared<SCNSkinner>();
      sceneNode.skinner->skeleton = made_[skeletonOf(*node.skin)];
    }
  }

  /// The skeleton's root: the one that the skin names, or the uppermost ancestor of its first joint that is a joint
  /// too.
  GLTFIndex skeletonOf(GLTFIndex skin) {
    const auto [place, isNew] = skeletons_.try_emplace(skin);
    if (isNew) place->second = findSkeleton(document_.skins[skin]);
    return place->second;
  }

  GLTFIndex findSkeleton(const GLTFSkin& skin) const {
    if (skin.skeleton) return *skin.skeleton;
    std::vector<bool> isJoint(document_.nodes.size());
    for (const GLTFIndex joint : skin.joints) isJoint[joint] = true;
    GLTFIndex root = skin.joints.front();
    while (document_.nodes[root].parent && isJoint[*document_.nodes[root].parent]) root = *document_.nodes[root].parent;
    return root;
  }

  // Deformation.

  GLTFMeshes::Geometries geometriesOf(GLTFIndex index) {
    const GLTFNode& node = document_.nodes[index];
    if (!node.skin && node.weights.empty()) return meshes_.geometriesAtRest(*node.mesh);
    GLTFDeformation deformation;
    deformation.weights = node.weights.empty() ? document_.meshes[*node.mesh].weights : node.weights;
    if (node.skin) deformation.jointMatrices = jointMatrices(document_.skins[*node.skin], index);
    return meshes_.geometries(*node.mesh, deformation);
  }

  /// The joints' matrices into the space of `node`, whose own place thereby does not count. Empty where that space has
  /// no inverse: such a node shows nothing.
  std::vector<SCNMatrix4> jointMatrices(const GLTFSkin& skin, GLTFIndex node) {
    const std::vector<SCNMatrix4> inverseBinds = inverseBindMatrices(skin);
    const SCNMatrix4 nodeFromScene = invertedAffine(globalTransform(node));
    if (!isFinite(nodeFromScene)) return {};
    budget_.take(skin.joints.size(), sizeof(SCNMatrix4));
    std::vector<SCNMatrix4> matrices;
    matrices.reserve(skin.joints.size());
    for (std::size_t i = 0; i < skin.joints.size(); ++i) {
      matrices.push_back(nodeFromScene * globalTransform(skin.joints[i]) * inverseBinds[i]);
    }
    return matrices;
  }

  /// One for each joint; the identity where the skin has none.
  std::vector<SCNMatrix4> inverseBindMatrices(const GLTFSkin& skin) {
    std::vector<SCNMatrix4> matrices(skin.joints.size());
    if (!skin.inverseBindMatrices) return matrices;
    const GLTFAccessor& record = accessors_.record(*skin.inverseBindMatrices);
    if (record.type != GLTFElementType::mat4 || record.count < matrices.size()) {
      throwMalformedGLTF("The accessor " + std::to_string(*skin.inverseBindMatrices) +
                         " does not hold a matrix for each joint of a skin.");
    }
    const LargeVector<float> values = accessors_.floats(*skin.inverseBindMatrices);
    for (std::size_t i = 0; i < matrices.size() * 16; ++i) {
      matrices[i / 16].columns[i % 16 / 4][i % 4] = double{values[i]};
    }
    return matrices;
  }

  /// From the node's space to the scene's, also for nodes that the scene leaves out.
  const SCNMatrix4& globalTransform(GLTFIndex node) {
    if (globals_.empty()) findGlobalTransforms();
    return globals_[node];
  }

  void findGlobalTransforms() {
    budget_.take(document_.nodes.size(), sizeof(SCNMatrix4));
    globals_.resize(document_.nodes.size());
    std::vector<GLTFIndex> pending;
    for (std::size_t node = 0; node < document_.nodes.size(); ++node) {
      if (!document_.nodes[node].parent) pending.push_back(static_cast<GLTFIndex>(node));
    }
    while (!pending.empty()) {
      const GLTFIndex index = pending.back();
      pending.pop_back();
      const GLTFNode& node = document_.nodes[index];
      const SCNMatrix4 local = node.transform.asMatrix();
      globals_[index] = node.parent ? globals_[*node.parent] * local : local;
      pending.insert(pending.end(), node.children.begin(), node.children.end());
    }
  }

  // Instances.

  /// The values of an instance attribute, `components` each; empty where there is none.
  LargeVector<float> instanceValues(const GLTFAttributes& instances, std::string_view name, std::size_t components,
                                    std::size_t count) {
    const auto accessor = accessorOfAttribute(instances, name);
    if (!accessor) return {};
    const GLTFAccessor& record = accessors_.record(*accessor);
    if (GLTFAccessors::componentCount(record.type) != components || record.count != count) {
      throwMalformedGLTF("The accessor " + std::to_string(*accessor) + " does not fit the instances of a node.");
    }
    return accessors_.floats(*accessor);
  }

  void addInstances(SCNNode& sceneNode, const GLTFAttributes& instances, const GLTFMeshes::Geometries& geometries) {
    const auto count = static_cast<std::size_t>(accessors_.record(instances.front().second).count);
    const LargeVector<float> translations = instanceValues(instances, "TRANSLATION", 3, count);
    const LargeVector<float> rotations = instanceValues(instances, "ROTATION", 4, count);
    const LargeVector<float> scales = instanceValues(instances, "SCALE", 3, count);
    for (std::size_t i = 0; i < count; ++i) {
      const auto value = [&](const LargeVector<float>& values, std::size_t place) { return double{values[place]}; };
      GLTFTransform transform;
      if (!translations.empty()) {
        transform.translation = {value(translations, i * 3), value(translations, i * 3 + 1),
                                 value(translations, i * 3 + 2)};
      }
      if (!rotations.empty()) {
        transform.rotation = {value(rotations, i * 4), value(rotations, i * 4 + 1), value(rotations, i * 4 + 2),
                              value(rotations, i * 4 + 3)};
      }
      if (!scales.empty()) {
        transform.scale = {value(scales, i * 3), value(scales, i * 3 + 1), value(scales, i * 3 + 2)};
      }
      const SCNNode::Pointer instance = makeNode(sceneNode);
      place(*instance, transform);
      show(*instance, geometries);
    }
  }

  const GLTFDocument& document_;
  GLTFAccessors& accessors_;
  GLTFMeshes& meshes_;
  GLTFMemoryBudget& budget_;
  std::vector<SCNNode::Pointer> made_;  // By node; null for those that the scene leaves out.
  std::vector<SCNMatrix4> globals_;
  std::map<GLTFIndex, GLTFIndex> skeletons_;  // By skin.
};

}  // namespace

std::shared_ptr<SCNScene> makeGLTFScene(const GLTFDocument& document, GLTFAccessors& accessors, GLTFMeshes& meshes,
                                        GLTFMemoryBudget& budget) {
  return HierarchyMaker(document, accessors, meshes, budget).make();
}

}  // namespace ornolith
