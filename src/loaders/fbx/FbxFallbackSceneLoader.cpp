#include "loaders/fbx/FbxFallbackSceneLoader.h"

#include <unordered_set>
#include <utility>

#include "loaders/fbx/FbxConversion.h"
#include "loaders/fbx/FbxGeometry.h"
#include "loaders/fbx/FbxHierarchy.h"
#include "loaders/fbx/FbxSceneReading.h"
#include "loaders/fbx/FbxText.h"

namespace ornolith {

namespace {

/// Animated and deformed models are drawn from vertices in world space; only rigid ones keep their hierarchy.
bool isRigid(const ufbx_scene& scene) {
  return scene.anim_curves.count == 0 && scene.skin_deformers.count == 0 && scene.blend_deformers.count == 0 &&
         scene.cache_deformers.count == 0;
}

/// A scene in the making.
struct Build {
  FbxConversion& conversion;
  FbxFallbackLoadResult& result;
  std::size_t meshCount = 0;

  std::vector<std::string>* diagnostics() const { return &result.diagnostics; }
};

void addFlatNodes(const ufbx_scene& scene, Build& build) {
  build.conversion.report(build.diagnostics(),
                          "FBX authored hierarchy is not exposed for rigid articulation because the file contains "
                          "animation, skinning, morph targets, or cached deformation.");
  for (const ufbx_node* node : scene.nodes) {
    auto geometry =
        GeometryForMeshNode(*node, build.conversion, build.diagnostics(), false, &build.result.usedMaterialFallback);
    if (!geometry) continue;
    const SCNNode::Pointer sceneNode = SCNNode::nodeWithGeometry(std::move(geometry));
    sceneNode->setName(SceneNodeNameForUfbxNode(*node));
    ConfigureSourceMetadata(*sceneNode, *node, false);
    build.result.scene->rootNode()->addChildNode(sceneNode);
    ++build.meshCount;
  }
}

void addAuthoredNodes(const ufbx_scene& scene, Build& build) {
  for (const ufbx_node* child : scene.root_node->children) {
    const SCNNode::Pointer sceneNode = NodeForAuthoredHierarchy(*child, build.conversion, build.diagnostics(),
                                                                build.result.usedMaterialFallback, build.meshCount);
    // The file's root gets no node: the first level takes over its conversion.
    const ufbx_matrix transform = ufbx_matrix_mul(&scene.root_node->node_to_world, &child->node_to_parent);
    sceneNode->setTransform(matrixForUfbxMatrix(transform));
    build.result.scene->rootNode()->addChildNode(sceneNode);
  }
}

std::uint64_t countBones(const ufbx_scene& scene) {
  std::unordered_set<std::uint32_t> elements;
  for (const ufbx_bone* bone : scene.bones) elements.insert(bone->element_id);
  for (const ufbx_skin_cluster* cluster : scene.skin_clusters) {
    if (cluster->bone_node != nullptr) elements.insert(cluster->bone_node->element_id);
  }
  return elements.size();
}

std::vector<FbxAnimation> listAnimations(const ufbx_scene& scene) {
  std::vector<FbxAnimation> animations;
  animations.reserve(scene.anim_stacks.count);
  for (std::size_t index = 0; index < scene.anim_stacks.count; ++index) {
    const ufbx_anim_stack& stack = *scene.anim_stacks[index];
    FbxAnimation animation{.id = AnimationIdentifierForStack(index, stack),
                           .name = animationNameForStack(index, stack),
                           .startTime = stack.time_begin,
                           .endTime = stack.time_end,
                           .duration = 0,
                           .framesPerSecond = std::nullopt};
    const double difference = stack.time_end - stack.time_begin;
    if (difference > 0) animation.duration = difference;
    if (scene.settings.frames_per_second > 0) animation.framesPerSecond = scene.settings.frames_per_second;
    animations.push_back(std::move(animation));
  }
  return animations;
}

FbxFallbackLoadResult buildScene(FbxSceneHandle handle, std::uint64_t fileSize, const FileURL& url,
                                 const std::vector<FileURL>& assetDirectories) {
  const ufbx_scene& scene = *handle;
  FbxConversion conversion(url, assetDirectories, fileSize);
  FbxFallbackLoadResult result;
  result.scene = SCNScene::scene();
  Build build{.conversion = conversion, .result = result};

  decodeEmbeddedImages(scene, conversion);
  if (isRigid(scene)) {
    addAuthoredNodes(scene, build);
  } else {
    addFlatNodes(scene, build);
  }
  if (build.meshCount == 0) throw FbxLoadError(fbx_error::NoGeometry{});

  result.skeletonCount = scene.skin_deformers.count;
  result.boneCount = countBones(scene);
  result.animations = listAnimations(scene);
  result.animationPlayer = std::make_shared<FbxFallbackAnimationPlayer>(handle.get(), url, assetDirectories);
  static_cast<void>(handle.release());
  return result;
}

}  // namespace

int FbxLoadError::code() const noexcept {
  return getIf<fbx_error::Unreadable>() != nullptr ? 1 : 2;
}

std::string FbxLoadError::describe(const fbx_error::Unreadable& error) {
  return error.description;
}

std::string FbxLoadError::describe(const fbx_error::NoGeometry&) {
  return "FBX wurde gelesen, enthaelt aber keine darstellbare Mesh-Geometrie.";
}

FbxFallbackLoadResult FbxFallbackSceneLoader::loadSceneAtURL(const FileURL& url,
                                                             const std::vector<FileURL>& assetDirectories) {
  return buildScene(readFbxScene(url), fbxFileSize(url), url, assetDirectories);
}

FbxFallbackLoadResult FbxFallbackSceneLoader::loadSceneFromContents(std::span<const std::byte> contents,
                                                                    const FileURL& url,
                                                                    const std::vector<FileURL>& assetDirectories) {
  return buildScene(readFbxScene(contents, url), contents.size(), url, assetDirectories);
}

}  // namespace ornolith
