#pragma once

#include <cstdint>
#include <functional>
#include <map>
#include <memory>
#include <optional>
#include <string>
#include <string_view>
#include <thread>
#include <unordered_map>
#include <vector>

#include "contracts/CameraState.h"
#include "contracts/RenderOutputOptions.h"
#include "contracts/ViewportAxis.h"
#include "foundation/FileURL.h"
#include "foundation/UUID.h"
#include "import/formats/ModelFormat.h"
#include "import/formats/ModelLoadDiagnostic.h"
#include "loaders/fbx/FbxFallbackSceneLoader.h"
#include "parts/PartPresentationState.h"
#include "parts/RigidArticulationDescriptor.h"
#include "scene/FbxFallbackMetadata.h"
#include "scene/ModelFacts.h"
#include "scene/OriginalMaterials.h"
#include "scene/Published.h"
#include "scene/SceneModelEntry.h"
#include "scenegraph/SCNScene.h"
#include "viewport/ModelRenderBounds.h"
#include "viewport/PhotoCapture.h"
#include "viewport/SCNView.h"
#include "viewport/SceneGroupTransform.h"
#include "viewport/TransformDrag.h"
#include "viewport/ViewportInteraction.h"
#include "viewport/ViewportModelInstance.h"
#include "viewport/ViewportTransformGizmo.h"

namespace ornolith {

/// A timer of the interactive view's run loop.
class RepeatingTimer {
 public:
  virtual ~RepeatingTimer() = default;
  virtual void invalidate() = 0;
};

/// Owns the one scene of a run: its fixed tree, its default lights and camera, one entry per loaded model, and what
/// surface modes and animation work from. The tree is
///
///     root
///       ambient light, key light, camera
///       "__OrnolithSceneTransform" > "__OrnolithSceneContent" > one "__OrnoscopeModelInstance_<UUID>" per model
///
/// It belongs to the thread that made it; use from another thread ends the process. A sum of counts that overflows ends
/// the process too.
class SceneController {
 public:
  static constexpr std::string_view overlayNodeName = "__OrnoviewOverlay";
  static constexpr std::string_view selectionOverlayNodeName = "__OrnolithSelectionOverlay";
  static constexpr std::string_view modelInstanceNodePrefix = "__OrnoscopeModelInstance_";
  static constexpr std::string_view sceneTransformNodeName = "__OrnolithSceneTransform";
  static constexpr std::string_view sceneContentNodeName = "__OrnolithSceneContent";

  /// An empty scene with the default lights and camera.
  SceneController();
  ~SceneController();
  SceneController(const SceneController&) = delete;
  SceneController& operator=(const SceneController&) = delete;

  // Loading. An operation that throws leaves no model behind.

  /// Replaces all contents by the model at `url`, framed by the camera and selected. Throws the error of the format's
  /// reader; then the scene is empty.
  void load(const FileURL& url, const std::vector<FileURL>& assetDirectories, ModelFormat format);
  /// Replaces all contents by a finished result of the FBX loader, framed by the camera and selected.
  void loadFbxFallback(const FbxFallbackLoadResult& result, const FileURL& modelURL,
                       const std::vector<FileURL>& assetDirectories);
  /// Loads a further model into the scene. A relative `modelPath` resolves against "/". The first model is selected.
  /// Throws the error of the reader that was tried last, with nothing but a running animation changed. A second
  /// instance of the same id takes the entry over, while the root of the first stays in the tree.
  LoadedModelSummary addModelInstance(const ViewportModelInstance& instance, bool resetCameraAfterLoad);
  /// The same with a finished result of the FBX loader in place of the instance's file; throws nothing.
  LoadedModelSummary addModelInstance(const ViewportModelInstance& instance, const FbxFallbackLoadResult& result,
                                      bool resetCameraAfterLoad);
  /// Stops whatever plays. Geometry stays as the last tick left it.
  void stopAnimation();

  // The scene.

  const std::shared_ptr<SCNScene>& scene() const noexcept { return scene_; }
  const SCNNode::Pointer& cameraNode() const noexcept { return cameraNode_; }
  const SCNNode::Pointer& ambientLightNode() const noexcept { return ambientLightNode_; }
  const SCNNode::Pointer& keyLightNode() const noexcept { return keyLightNode_; }
  const SCNNode::Pointer& sceneTransformNode() const noexcept { return sceneTransformNode_; }
  const SCNNode::Pointer& sceneContentNode() const noexcept { return sceneContentNode_; }
  const SceneGroupTransform& sceneGroupTransform() const noexcept { return sceneGroupTransform_; }
  const ViewportTransformGizmo& transformGizmo() const noexcept { return transformGizmo_; }
  /// The instance roots in the order in which they were added.
  const std::vector<SCNNode::Pointer>& modelRootNodes() const noexcept { return modelRootNodes_; }
  const std::map<UUID, SceneModelEntry>& modelEntries() const noexcept { return modelEntries_; }
  /// Facts of all models together. After a load `dimensions` is (1, 1, 1) where there is no geometry.
  const ModelInfo& modelInfo() const noexcept { return modelInfo_; }
  bool hasRigging() const noexcept { return hasRigging_; }
  /// Native animations by their ids in the scene.
  const std::map<std::string, NativeAnimationTarget>& nativeAnimationTargets() const noexcept {
    return nativeAnimationTargets_;
  }
  /// Animations of FBX models by their ids in the scene.
  const std::map<std::string, FallbackAnimationTarget>& fallbackAnimationTargets() const noexcept {
    return fallbackAnimationTargets_;
  }

  // Published state: observers are told before each change.

  Published<std::int64_t, SceneController> cameraRevision;  ///< Counts changes of the camera.
  Published<std::optional<UUID>, SceneController> selectedModelInstanceID;
  Published<std::optional<ViewportTransformTarget>, SceneController> transformTarget;
  Published<std::vector<ModelLoadDiagnostic>, SceneController>
      diagnostics;  ///< Of all models, in the order of loading.
  Published<std::int64_t, SceneController> partsRevision;

  // Settings, to be set by the owner. A change of options or of these flags takes effect with the pair
  // `applySurfaceMode`, `rebuildViewportOverlays`, in this order.

  ViewerOptions currentOptions;
  PhotoModeOptions currentPhotoOptions;
  ViewportInteractionMode currentInteractionMode = ViewportInteractionMode::camera;
  bool isTransformInteractionEnabled = true;
  bool isPhotoModeActive = false;
  bool includesSelectionOverlayForCurrentOptions = true;
  bool isSelectionOverlaySuppressedForCapture = false;
  bool isInteractionOverlaySuppressedForCapture = false;
  std::optional<bool> selectionOverlaySuppressionBeforeVideoRecording;
  std::weak_ptr<SCNView> renderedView;  ///< Empty where no window shows the scene.
  std::optional<ActiveTransformDragState> activeTransformDrag;
  std::optional<ViewportAxis> focusedGizmoAxis;
  std::shared_ptr<PhotoVideoRecordingSession> videoRecordingSession;
  std::shared_ptr<RepeatingTimer> videoRecordingTimer;
  std::optional<PhotoVideoRecordingSettings> videoRecordingSettings;
  std::function<void()> onTransformChanged;
  std::function<void(const UUID&, const PartPresentationState&, const std::optional<RigidArticulationDescriptor>&)>
      onPartPresentationChanged;
  std::function<void()> onCameraChanged;
  std::function<void(const CameraMutation&)> onCameraMutationRequested;

  // Selection.

  /// Selects a model, or none where `id` names none. A selection that is there already changes nothing at all.
  void selectModelInstance(const std::optional<UUID>& id);
  /// World position of what the transform target stands for, or nothing for a hinge, no target or a model that is gone.
  std::optional<simd_float3> targetWorldPivot() const;
  /// World orientation of a target as it is shown; the identity where it cannot be found.
  simd_quatf targetWorldOrientation(const ViewportTransformTarget& target) const;
  /// Ends a drag and puts back what it moved.
  void cancelTransformDrag();
  /// Shows and hides the parts of a model by its presentation state.
  void applyPartVisibility(const UUID& modelID);

  // Camera.

  const SCNVector3& cameraTarget() const noexcept { return cameraTarget_; }
  /// Puts the camera in front of and a little above the visible part of `roots`.
  void positionCamera(const std::vector<SCNNode::Pointer>& roots);
  /// Sets position, Euler angles, field of view and target of the camera, which is made where there is none.
  void applyCameraState(const CameraState& state);
  /// The camera as it stands; the field of view is `defaultFieldOfView` where the node has no camera.
  CameraState currentCameraState();
  /// The box of all visible models in world space, or that from -0.5 to 0.5 where it is not finite in 32-bit floats.
  ModelRenderBounds currentModelRenderBounds() const;

  // Appearance.

  /// Gives every geometry of the scene the materials of `mode`; textured puts back the very materials of the load. The
  /// diagnostic colours of parts follow on top. Does not change `currentOptions`.
  void applySurfaceMode(SurfaceMode mode);
  /// Replaces the materials of models whose diagnostic colours are on; nothing during a capture.
  void applyPartDiagnosticColorsIfNeeded();
  /// Takes away the overlays under `overlayNodeName`. This build draws no overlays of its own: selection frame, pivot,
  /// rigging and vertex overlays are not made.
  void rebuildViewportOverlays();
  /// True for the nodes that a capture leaves out: the selection frame and the gizmo, known by their names.
  static bool isTransientCaptureOverlay(const SCNNode& node);

  // Steps of a load, for those who bring a scene of their own.

  /// A new instance root named after `instance`, with its transform and the children of `loadedScene`'s root, which the
  /// scene loses. Cameras and lights are taken off the nodes, which stay and are marked as not addressable.
  static SCNNode::Pointer makeModelInstanceRoot(const SCNScene& loadedScene, const ViewportModelInstance& instance);

 private:
  struct LoadedScene;

  void prepareForLoad();
  static LoadedScene loadScene(const ViewportModelInstance& instance, const FileURL& modelURL);
  LoadedModelSummary installModelInstance(const ViewportModelInstance& instance, LoadedScene loaded,
                                          bool resetCameraAfterLoad);
  static std::vector<ModelLoadDiagnostic> configureRigidArticulation(const ViewportModelInstance& instance,
                                                                     ScenePartRuntime& runtime);
  void clearModelContents();
  void configureCompositionRoot();
  void applySceneGroupTransform();
  void addDefaultLights();
  void addCamera(SCNVector3 position, SCNVector3 target);
  void syncCameraFromRenderedView();
  void ensureCamera();
  void rebuildAggregateState();
  void recenterScenePivotIfIdentity();
  ModelInfo calculateModelInfo(const SCNNode::Pointer& root, const FbxFallbackMetadata* fallbackMetadata,
                               const UUID& instanceID);
  bool detectRigging() const;
  void applyCurrentAppearance();
  const SceneModelEntry* entryOf(const UUID& id) const;
  void removeOverlay();
  void requireOwningThread() const;

  std::shared_ptr<SCNScene> scene_;
  SCNNode::Pointer cameraNode_;
  SCNNode::Pointer ambientLightNode_;
  SCNNode::Pointer keyLightNode_;
  SCNNode::Pointer sceneTransformNode_;
  SCNNode::Pointer sceneContentNode_;
  SceneGroupTransform sceneGroupTransform_;
  ViewportTransformGizmo transformGizmo_;
  SCNVector3 cameraTarget_;
  bool hasRigging_ = false;
  ModelInfo modelInfo_;
  OriginalMaterials originalMaterials_;
  std::vector<SCNNode::Pointer> modelRootNodes_;
  std::map<UUID, SceneModelEntry> modelEntries_;
  std::vector<UUID> modelEntryOrder_;
  std::map<std::string, NativeAnimationTarget> nativeAnimationTargets_;
  std::map<std::string, FallbackAnimationTarget> fallbackAnimationTargets_;
  std::shared_ptr<SCNAnimationPlayer> activeAnimationPlayer_;
  std::shared_ptr<RepeatingTimer> fallbackAnimationTimer_;
  std::optional<std::string> activeFallbackAnimationID_;
  std::optional<std::string> activeFallbackOriginalAnimationID_;
  std::shared_ptr<FbxFallbackAnimationPlayer> activeFallbackAnimationPlayer_;
  std::optional<ModelAnimationInfo> activeFallbackAnimationInfo_;
  std::optional<double> fallbackAnimationStartedAt_;
  std::thread::id owningThread_;
};

}  // namespace ornolith
