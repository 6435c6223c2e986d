#include "scene/SceneController.h"

#include <set>
#include <utility>

#include "loaders/SceneLoaders.h"
#include "scene/Invariants.h"
#include "scene/ModelBounds.h"
#include "scene/SurfaceModeMaterials.h"
#include "scenegraph/NodeMetadata.h"

namespace ornolith {

namespace {

FileURL fileSystemRoot() {
  return FileURL("/", true);
}

/// A model path as a location: absolute as it stands, relative below the file system's root.
FileURL resolvedModelURL(const std::string& path) {
  return path.starts_with('/') ? FileURL(path) : fileSystemRoot().appendingPathComponent(path);
}

ViewportModelInstance makeInstance(const FileURL& url, const std::vector<FileURL>& assetDirectories,
                                   ModelFormat format) {
  ViewportModelInstance instance;
  instance.id = UUID::random();
  instance.displayName = url.lastPathComponent();
  instance.format = format;
  instance.modelPath = url.path();
  for (const FileURL& directory : assetDirectories) instance.assetDirectoryPaths.push_back(directory.path());
  return instance;
}

ModelDimensions dimensionsOf(const ModelBounds& bounds) {
  const simd_float3 extent = vectorCast<float>(bounds.extent);
  return {extent.x, extent.y, extent.z};
}

/// Marks a node that holds a camera or a light as no part; its other metadata stays.
void markNonAddressableIfCameraOrLight(SCNNode& node) {
  if (!node.camera && !node.light) return;
  if (!node.ornolithMetadata) node.ornolithMetadata.emplace();
  node.ornolithMetadata->insert_or_assign(std::string(ornolithIsNonAddressableNodeKey), true);
}

void removeExistingCamerasAndLights(SCNNode& node) {
  markNonAddressableIfCameraOrLight(node);
  node.camera.reset();
  node.light.reset();
}

template <typename T>
void append(std::vector<T>& list, std::vector<T> more) {
  list.insert(list.end(), std::make_move_iterator(more.begin()), std::make_move_iterator(more.end()));
}

}  // namespace

/// What a reader made of a file.
struct SceneController::LoadedScene {
  std::shared_ptr<SCNScene> scene;
  std::optional<FbxFallbackMetadata> fallbackMetadata;
  std::vector<ModelLoadDiagnostic> diagnostics;

  static LoadedScene from(const FbxFallbackLoadResult& result) {
    return {result.scene, ornolith::fallbackMetadata(result), fbxDiagnostics(result)};
  }
};

SceneController::SceneController() : scene_(SCNScene::scene()), owningThread_(std::this_thread::get_id()) {
  scene_->background.contents = NSColor::windowBackgroundColor();
  addDefaultLights();
  addCamera({0, 0.4, 4}, cameraTarget_);
  configureCompositionRoot();
}

SceneController::~SceneController() = default;

void SceneController::requireOwningThread() const {
  if (std::this_thread::get_id() != owningThread_) fatalInvariant("a scene is used on the thread that made it");
}

void SceneController::configureCompositionRoot() {
  for (const SCNNode::Pointer& node : {sceneTransformNode_, sceneContentNode_}) {
    if (node) node->removeFromParentNode();
  }
  sceneTransformNode_ = SCNNode::node();
  sceneTransformNode_->setName(std::string(sceneTransformNodeName));
  sceneContentNode_ = SCNNode::node();
  sceneContentNode_->setName(std::string(sceneContentNodeName));
  scene_->rootNode()->addChildNode(sceneTransformNode_);
  sceneTransformNode_->addChildNode(sceneContentNode_);
  applySceneGroupTransform();
}

void SceneController::applySceneGroupTransform() {
  const SceneGroupTransform& group = sceneGroupTransform_;
  sceneTransformNode_->setSimdPosition(group.translation + group.pivot);
  sceneTransformNode_->setSimdEulerAngles(group.eulerAngles);
  sceneTransformNode_->setSimdScale(group.scale);
  sceneContentNode_->setSimdPosition(-group.pivot);
}

void SceneController::load(const FileURL& url, const std::vector<FileURL>& assetDirectories, ModelFormat format) {
  prepareForLoad();
  const ViewportModelInstance instance = makeInstance(url, assetDirectories, format);
  addModelInstance(instance, true);
  recenterScenePivotIfIdentity();
  selectModelInstance(instance.id);
  positionCamera(modelRootNodes_);
  applySurfaceMode(currentOptions.surfaceMode);
  rebuildViewportOverlays();
}

void SceneController::loadFbxFallback(const FbxFallbackLoadResult& result, const FileURL& modelURL,
                                      const std::vector<FileURL>& assetDirectories) {
  prepareForLoad();
  addModelInstance(makeInstance(modelURL, assetDirectories, ModelFormat::fbx), result, true);
}

void SceneController::prepareForLoad() {
  requireOwningThread();
  stopAnimation();
  clearModelContents();
}

void SceneController::clearModelContents() {
  for (const SCNNode::Pointer& child : scene_->rootNode()->childNodes()) child->removeFromParentNode();
  modelRootNodes_.clear();
  modelEntries_.clear();
  modelEntryOrder_.clear();
  diagnostics.publish({});
  originalMaterials_.clear();
  nativeAnimationTargets_.clear();
  fallbackAnimationTargets_.clear();
  selectedModelInstanceID.publish(std::nullopt);
  transformTarget.publish(std::nullopt);
  sceneGroupTransform_ = SceneGroupTransform::identity();
  hasRigging_ = false;
  modelInfo_ = ModelInfo::empty();
  scene_->background.contents = NSColor::windowBackgroundColor();
  addDefaultLights();
  addCamera({0, 0.4, 4}, SCNVector3Zero);
  configureCompositionRoot();
}

void SceneController::stopAnimation() {
  if (activeAnimationPlayer_) activeAnimationPlayer_->stop();
  activeAnimationPlayer_.reset();
  if (fallbackAnimationTimer_) fallbackAnimationTimer_->invalidate();
  fallbackAnimationTimer_.reset();
  activeFallbackAnimationID_.reset();
  activeFallbackOriginalAnimationID_.reset();
  activeFallbackAnimationPlayer_.reset();
  activeFallbackAnimationInfo_.reset();
  fallbackAnimationStartedAt_.reset();
}

LoadedModelSummary SceneController::addModelInstance(const ViewportModelInstance& instance, bool resetCameraAfterLoad) {
  requireOwningThread();
  stopAnimation();
  return installModelInstance(instance, loadScene(instance, resolvedModelURL(instance.modelPath)),
                              resetCameraAfterLoad);
}

LoadedModelSummary SceneController::addModelInstance(const ViewportModelInstance& instance,
                                                     const FbxFallbackLoadResult& result, bool resetCameraAfterLoad) {
  requireOwningThread();
  stopAnimation();
  return installModelInstance(instance, LoadedScene::from(result), resetCameraAfterLoad);
}

SceneController::LoadedScene SceneController::loadScene(const ViewportModelInstance& instance,
                                                        const FileURL& modelURL) {
  const std::vector<FileURL> assetDirectories = instance.resolvedAssetDirectories(fileSystemRoot());
  switch (instance.format) {
    case ModelFormat::fbx:
      try {
        return LoadedScene::from(FbxFallbackSceneLoader::loadSceneAtURL(modelURL, assetDirectories));
      } catch (const FbxLoadError&) {
        // The general reader has the last word, and its error is the one to report.
        return {loadSceneKitScene(modelURL, assetDirectories), std::nullopt, {}};
      }
    case ModelFormat::gltf:
    case ModelFormat::glb: {
      GLTFSceneLoader::Result result = GLTFSceneLoader::loadScene(modelURL, assetDirectories, instance.format);
      return {std::move(result.scene), std::nullopt, std::move(result.diagnostics)};
    }
    case ModelFormat::stl:
    case ModelFormat::ply:
      return {loadModelIOScene(modelURL, instance.format), std::nullopt, {}};
    case ModelFormat::obj:
    case ModelFormat::dae:
    case ModelFormat::scn:
    case ModelFormat::usd:
    case ModelFormat::usda:
    case ModelFormat::usdc:
    case ModelFormat::usdz:
      break;
  }
  return {loadSceneKitScene(modelURL, assetDirectories), std::nullopt, {}};
}

LoadedModelSummary SceneController::installModelInstance(const ViewportModelInstance& instance, LoadedScene loaded,
                                                         bool resetCameraAfterLoad) {
  std::vector<ModelLoadDiagnostic> findings = instance.diagnostics;
  append(findings, std::move(loaded.diagnostics));

  // Bounds ignore a root without a parent, and materials must be recorded before a surface mode replaces them.
  const SCNNode::Pointer root = makeModelInstanceRoot(*loaded.scene, instance);
  sceneContentNode_->addChildNode(root);
  modelRootNodes_.push_back(root);
  originalMaterials_.collect(*root);
  const FbxFallbackMetadata* metadata = loaded.fallbackMetadata ? &*loaded.fallbackMetadata : nullptr;
  const ModelInfo info = calculateModelInfo(root, metadata, instance.id);

  ScenePartRuntime runtime = makePartRuntime(*root, instance.partPresentationState);
  if (discardedPartStateCount(instance.partPresentationState, runtime.presentation) > 0) {
    findings.push_back({ModelDiagnosticSeverity::info, "parts.state-stale", instance.format,
                        "Some saved part selections could no longer be matched and were discarded.", std::nullopt});
  }
  append(findings, configureRigidArticulation(instance, runtime));

  LoadedModelSummary summary{info, findings, runtime.articulationDescriptor, runtime.blocksRigidArticulationInference,
                             runtime.presentation};
  if (!modelEntries_.contains(instance.id)) modelEntryOrder_.push_back(instance.id);
  modelEntries_.insert_or_assign(
      instance.id, SceneModelEntry{instance.id, root, info, metadata ? metadata->player : nullptr, std::move(findings),
                                   std::move(runtime)});
  applyPartVisibility(instance.id);
  rebuildAggregateState();
  recenterScenePivotIfIdentity();
  if (!selectedModelInstanceID.value()) selectModelInstance(instance.id);
  if (resetCameraAfterLoad) positionCamera(modelRootNodes_);
  applyCurrentAppearance();
  return summary;
}

SCNNode::Pointer SceneController::makeModelInstanceRoot(const SCNScene& loadedScene,
                                                        const ViewportModelInstance& instance) {
  const SCNNode::Pointer root = SCNNode::node();
  root->setName(std::string(modelInstanceNodePrefix) + instance.id.uuidString());
  root->setSimdPosition(instance.transform.position.simd());
  root->setSimdEulerAngles(instance.transform.eulerAngles.simd());
  root->setSimdScale(instance.transform.scale.simd());
  for (const SCNNode::Pointer& child : loadedScene.rootNode()->childNodes()) root->addChildNode(child);
  root->enumerateChildNodes(removeExistingCamerasAndLights);
  return root;
}

/// Takes over whether a hinge may be inferred. No hinge is resolved here, so that a model moves as a whole.
std::vector<ModelLoadDiagnostic> SceneController::configureRigidArticulation(const ViewportModelInstance& instance,
                                                                             ScenePartRuntime& runtime) {
  const bool isArticulable = instance.format == ModelFormat::fbx || instance.format == ModelFormat::glb;
  if (!isArticulable || runtime.tree->parts().empty()) return {};
  runtime.blocksRigidArticulationInference = instance.blocksRigidArticulationInference;
  return {};
}

ModelInfo SceneController::calculateModelInfo(const SCNNode::Pointer& root, const FbxFallbackMetadata* fallbackMetadata,
                                              const UUID& instanceID) {
  const std::vector<SCNNode::Pointer> roots{root};
  const std::vector<SCNNode::Pointer> skeletons = collectUniqueSkeletonRoots(roots);
  std::set<std::string> seen;
  std::vector<ModelAnimationInfo> nativeAnimations;
  collectNativeAnimations(root, instanceID, seen, nativeAnimations, nativeAnimationTargets_);

  ModelInfo info = countGeometry(geometryNodes(roots), originalMaterials_);
  if (fallbackMetadata) {
    info.skeletonCount = checkedCount(fallbackMetadata->skeletonCount);
    info.boneCount = checkedCount(fallbackMetadata->boneCount);
    for (ModelAnimationInfo animation : fallbackMetadata->animations) {
      const std::string originalID = std::exchange(animation.id, instanceID.uuidString() + "|" + animation.id);
      fallbackAnimationTargets_.insert_or_assign(
          animation.id, FallbackAnimationTarget{originalID, fallbackMetadata->player, animation});
      info.animations.push_back(std::move(animation));
    }
  } else {
    info.skeletonCount = checkedCount(skeletons.size());
    info.boneCount = countUniqueBones(skeletons);
    info.animations = std::move(nativeAnimations);
  }
  info.animationCount = checkedCount(info.animations.size());
  info.dimensions = dimensionsOf(modelBounds(roots, nullptr, true));
  return info;
}

void SceneController::rebuildAggregateState() {
  ModelInfo total;
  std::vector<ModelLoadDiagnostic> findings;
  for (const UUID& id : modelEntryOrder_) {
    const SceneModelEntry& entry = modelEntries_.at(id);
    const ModelInfo& info = entry.modelInfo;
    for (std::int64_t ModelInfo::*count :
         {&ModelInfo::meshCount, &ModelInfo::vertexCount, &ModelInfo::faceCount, &ModelInfo::triangleCount,
          &ModelInfo::materialCount, &ModelInfo::textureCount, &ModelInfo::skeletonCount, &ModelInfo::boneCount}) {
      total.*count = checkedSum(total.*count, info.*count);
    }
    append(total.animations, info.animations);
    append(findings, entry.diagnostics);
  }
  total.animationCount = checkedCount(total.animations.size());
  total.dimensions = dimensionsOf(modelBounds(modelRootNodes_, nullptr, true));
  modelInfo_ = std::move(total);
  hasRigging_ = detectRigging();
  diagnostics.publish(std::move(findings));
}

bool SceneController::detectRigging() const {
  for (const SCNNode::Pointer& skeleton : collectSkeletonRoots(modelRootNodes_)) {
    if (skeleton->childCount() > 0) return true;
  }
  return false;
}

void SceneController::recenterScenePivotIfIdentity() {
  if (!sceneGroupTransform_.isIdentity()) return;
  const ModelBounds bounds = modelBounds(modelRootNodes_, sceneContentNode_.get(), true);
  sceneGroupTransform_ = SceneGroupTransform::identity();
  sceneGroupTransform_.pivot = vectorCast<float>(bounds.center);
  applySceneGroupTransform();
}

void SceneController::applySurfaceMode(SurfaceMode mode) {
  requireOwningThread();
  scene_->rootNode()->enumerateChildNodes([this, mode](SCNNode& node) {
    if (node.geometry && !node.hasName(overlayNodeName)) ornolith::applySurfaceMode(mode, node, originalMaterials_);
  });
  applyPartDiagnosticColorsIfNeeded();
}

void SceneController::applyPartDiagnosticColorsIfNeeded() {
  if (isSelectionOverlaySuppressedForCapture) return;
  for (const UUID& id : modelEntryOrder_) {
    const SceneModelEntry& entry = modelEntries_.at(id);
    if (entry.parts.presentation.showsDiagnosticColors) applyPartDiagnosticColors(entry);
  }
}

void SceneController::applyCurrentAppearance() {
  includesSelectionOverlayForCurrentOptions = true;
  applySurfaceMode(currentOptions.surfaceMode);
  rebuildViewportOverlays();
}

void SceneController::rebuildViewportOverlays() {
  requireOwningThread();
  removeOverlay();
}

void SceneController::removeOverlay() {
  for (const SCNNode::Pointer& child : scene_->rootNode()->childNodes()) {
    if (child->hasName(overlayNodeName)) child->removeFromParentNode();
  }
}

bool SceneController::isTransientCaptureOverlay(const SCNNode& node) {
  return node.hasName(selectionOverlayNodeName) || node.hasName(ViewportTransformGizmo::rootNodeName);
}

}  // namespace ornolith
