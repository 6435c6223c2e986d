#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <span>
#include <string>
#include <string_view>

#include "foundation/JSON.h"
#include "viewport/ModelRenderBounds.h"
#include "viewport/PhotoCapture.h"
#include "viewport/SceneGroupTransform.h"
#include "viewport/ViewportInteraction.h"
#include "viewport/ViewportModelInstance.h"
#include "viewport/ViewportTransformGizmo.h"

namespace ornolith {
namespace {

using ::testing::ElementsAre;
using ::testing::IsEmpty;

template <typename T>
T parsed(std::string_view text) {
  const JSONDocument document = JSONDocument::parse(std::as_bytes(std::span(text)));
  return decodeJSON<T>(document.root());
}

template <typename T>
T roundTripped(const T& value) {
  return parsed<T>(canonicalJSON(encodeJSON(value)));
}

std::vector<std::string> keysOf(const JSONValue& value) {
  std::vector<std::string> keys;
  for (const auto& [key, member] : std::get<JSONValue::Object>(value.storage())) keys.push_back(key);
  return keys;
}

/// A complete document of the first version, without the keys that came later.
std::string instanceText(const std::string& assetDirectories = R"("assetDirectoryPaths": ["/a", "b"],)") {
  return R"({"id": "6F9619FF-8B86-D011-B42D-00CF4FC964FF", "displayName": "lamp.fbx", "format": "fbx",
             "modelPath": "/m/lamp.fbx", )" +
         assetDirectories +
         R"("transform": {"position": {"x": 1, "y": 2, "z": 3}, "eulerAngles": {"x": 0, "y": 0.5, "z": 0},
                          "scale": {"x": 1, "y": 1, "z": 1}},
             "modelInfo": {"meshCount": 1, "vertexCount": 2, "faceCount": 3, "triangleCount": 4, "materialCount": 5,
                           "textureCount": 6, "skeletonCount": 7, "boneCount": 8, "animationCount": 0, "animations": [],
                           "dimensions": {"width": 1, "height": 2, "depth": 3}}})";
}

TEST(ViewportModelInstance, ADocumentFromBeforeArticulationReads) {
  const auto instance = parsed<ViewportModelInstance>(instanceText());
  EXPECT_EQ(instance.displayName, "lamp.fbx");
  EXPECT_EQ(instance.transform.position, (CodableVector3{1, 2, 3}));
  EXPECT_EQ(instance.modelInfo.boneCount, 8);
  EXPECT_EQ(instance.libraryItemID, std::nullopt);
  EXPECT_THAT(instance.diagnostics, IsEmpty());
  EXPECT_EQ(instance.rigidArticulationDescriptor, std::nullopt);
  EXPECT_FALSE(instance.blocksRigidArticulationInference);
  EXPECT_EQ(instance.partPresentationState, PartPresentationState{});
}

TEST(ViewportModelInstance, NeedsItsListOfAssetFoldersThoughItMayBeEmpty) {
  EXPECT_THROW(parsed<ViewportModelInstance>(instanceText("")), JSONError);
  EXPECT_THAT(parsed<ViewportModelInstance>(instanceText(R"("assetDirectoryPaths": [],)")).assetDirectoryPaths,
              IsEmpty());
}

TEST(ViewportModelInstance, ReadsBackWhatItWrites) {
  auto instance = parsed<ViewportModelInstance>(instanceText());
  instance.libraryItemID = UUID::random();
  instance.selectedAnimationID = "0-Take";
  instance.diagnostics.push_back({ModelDiagnosticSeverity::info, "parts.state-stale", ModelFormat::fbx, "m", "/p"});
  instance.blocksRigidArticulationInference = true;
  instance.partPresentationState.showsDiagnosticColors = true;
  EXPECT_EQ(roundTripped(instance), instance);
}

TEST(ViewportModelInstance, ResolvesAssetFoldersAgainstTheBaseUnlessAbsolute) {
  ViewportModelInstance instance;
  instance.assetDirectoryPaths = {"/textures", "maps/x"};
  EXPECT_THAT(instance.resolvedAssetDirectories(FileURL("/base", true)),
              ElementsAre(FileURL("/textures"), FileURL("/base/maps/x")));
}

TEST(ModelInfo, RequiresEveryKeyAndKeepsTheirOrder) {
  ModelInfo info;
  info.meshCount = 3;
  info.animations.push_back({"id", "name", 0.5, 2, 1.5, 24.0});
  info.animations.push_back({"id2", "name2", 0, 0, 0, std::nullopt});
  info.dimensions = {1, 0.25F, 3};
  EXPECT_EQ(roundTripped(info), info);
  EXPECT_THAT(keysOf(info.toJSON()),
              ElementsAre("meshCount", "vertexCount", "faceCount", "triangleCount", "materialCount", "textureCount",
                          "skeletonCount", "boneCount", "animationCount", "animations", "dimensions"));
  EXPECT_THROW(parsed<ModelInfo>(R"({"meshCount": 1})"), JSONError);
}

TEST(ModelInfo, EmptyHasZerosEverywhere) {
  EXPECT_EQ(ModelInfo::empty().dimensions, (ModelDimensions{0, 0, 0}));
  EXPECT_EQ(ModelInfo::empty().meshCount, 0);
}

TEST(ModelTransform, TheIdentityScalesByOne) {
  const ModelTransform identity = ModelTransform::identity();
  EXPECT_EQ(identity.position, (CodableVector3{0, 0, 0}));
  EXPECT_EQ(identity.eulerAngles, (CodableVector3{0, 0, 0}));
  EXPECT_EQ(identity.scale, (CodableVector3{1, 1, 1}));
  EXPECT_EQ(roundTripped(identity), identity);
}

TEST(SceneGroupTransform, IsTheIdentityWhateverItsPivot) {
  SceneGroupTransform transform = SceneGroupTransform::identity();
  transform.pivot = {1, 2, 3};
  EXPECT_TRUE(transform.isIdentity());
  transform.scale = {1, 1, 1.0000001F};
  EXPECT_FALSE(transform.isIdentity());
  transform = SceneGroupTransform::identity();
  transform.eulerAngles.y = 1e-30F;
  EXPECT_FALSE(transform.isIdentity());
  transform = SceneGroupTransform::identity();
  transform.translation.x = -0.0F;
  EXPECT_TRUE(transform.isIdentity());
}

TEST(ModelRenderBounds, HaveTheirCentreHalfWay) {
  EXPECT_EQ((ModelRenderBounds{{0, -2, 4}, {1, 2, 6}}.center()), (simd_float3{0.5F, 0, 5}));
}

TEST(ViewportInteractionMode, HasItsTextsInOrder) {
  std::vector<std::string> texts;
  for (const auto& entry : rawValueTable<ViewportInteractionMode>) texts.emplace_back(entry.text);
  EXPECT_THAT(texts, ElementsAre("camera", "select", "move", "rotate", "scale"));
}

TEST(PhotoModeOptions, HaveTheirDefaultsAndReadBack) {
  PhotoModeOptions options;
  EXPECT_EQ(options.lightIntensity, 1.0);
  EXPECT_EQ(options.cropRect, (PhotoCropRect{0.18, 0.15, 0.64, 0.7}));
  EXPECT_EQ(roundTripped(options), options);
  options.backgroundImageURL = FileURL("/tmp/sky.png");
  options.modelFilter = PhotoFilter::monochrome;
  options.captureMode = PhotoCaptureMode::video;
  EXPECT_EQ(roundTripped(options), options);
  EXPECT_THROW(parsed<PhotoModeOptions>(R"({"captureMode": "photo"})"), JSONError);
}

TEST(GizmoHandle, NamesItsNodesByKindAndAxis) {
  EXPECT_EQ(nodeName(gizmo_handle::Move{ViewportAxis::x}), "__OrnolithGizmoHandle.move.x");
  EXPECT_EQ(nodeName(gizmo_handle::Rotate{ViewportAxis::y}), "__OrnolithGizmoHandle.rotate.y");
  EXPECT_EQ(nodeName(gizmo_handle::Scale{ViewportAxis::z}), "__OrnolithGizmoHandle.scale.z");
  EXPECT_EQ(nodeName(gizmo_handle::UniformScale{}), "__OrnolithGizmoHandle.scale.uniform");
}

TEST(ViewportTransformGizmo, KeepsItsHandlesUnderNamedNodes) {
  ViewportTransformGizmo gizmo;
  EXPECT_EQ(gizmo.rootNode()->name(), "__OrnolithInteractionOverlay");
  EXPECT_EQ(gizmo.contentNode()->name(), "__OrnolithTransformGizmoContent");
  EXPECT_EQ(gizmo.contentNode()->parentNode(), gizmo.rootNode());
  EXPECT_EQ(gizmo.rootNode()->renderingOrder, 100000);
  EXPECT_EQ(gizmo.contentNode()->renderingOrder, 100000);
  gizmo.contentNode()->addChildNode(SCNNode::node());
  gizmo.clear();
  EXPECT_EQ(gizmo.contentNode()->childCount(), 0U);
}

}  // namespace
}  // namespace ornolith
