#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "SceneFixtures.h"
#include "scene/OriginalMaterials.h"
#include "scene/SceneController.h"
#include "scene/SurfaceModeMaterials.h"

namespace ornolith {
namespace {

using scene_fixtures::addNode;
using scene_fixtures::boxGeometry;
using scene_fixtures::elementOf;
using scene_fixtures::loadResult;
using scene_fixtures::stamp;
using scene_fixtures::unitCube;
using ::testing::IsEmpty;
using ::testing::SizeIs;

NSColor diffuseColor(const SCNGeometry& geometry) {
  return std::get<NSColor>(geometry.materials().at(0)->diffuse.contents);
}

bool sameContents(const SCNMaterialProperty& a, const SCNMaterialProperty& b) {
  return a.contents == b.contents;
}

TEST(SurfaceModeMaterial, UntexturedIsGreyClay) {
  const auto material = makeSurfaceModeMaterial(SurfaceMode::untextured);
  const SCNMaterial fresh;
  EXPECT_EQ(material->lightingModelName, fresh.lightingModelName);
  EXPECT_EQ(std::get<NSColor>(material->diffuse.contents), NSColor::systemGrayColor());
  EXPECT_EQ(std::get<double>(material->roughness.contents), 0.95);
  EXPECT_EQ(std::get<double>(material->metalness.contents), 0);
  EXPECT_TRUE(sameContents(material->emission, fresh.emission));
  EXPECT_EQ(material->transparency, 1);
  EXPECT_TRUE(material->isDoubleSided);
  EXPECT_TRUE(material->writesToDepthBuffer);
  EXPECT_EQ(material->fillMode, SCNFillMode::fill);
}

TEST(SurfaceModeMaterial, TransparentIsGlassThatWritesNoDepth) {
  const auto material = makeSurfaceModeMaterial(SurfaceMode::transparent);
  EXPECT_EQ(material->lightingModelName, SCNMaterial().lightingModelName);
  EXPECT_EQ(std::get<NSColor>(material->diffuse.contents), NSColor::tertiaryLabelColor());
  EXPECT_EQ(std::get<double>(material->roughness.contents), 0.95);
  EXPECT_EQ(std::get<double>(material->metalness.contents), 0);
  EXPECT_EQ(material->transparency, 0.38);
  EXPECT_EQ(material->blendMode, SCNBlendMode::alpha);
  EXPECT_TRUE(material->isDoubleSided);
  EXPECT_FALSE(material->writesToDepthBuffer);
  EXPECT_TRUE(material->readsFromDepthBuffer);
}

TEST(SurfaceModeMaterial, MeshIsBlackWire) {
  const auto material = makeSurfaceModeMaterial(SurfaceMode::mesh);
  const SCNMaterial fresh;
  EXPECT_EQ(material->lightingModelName, SCNLightingModelConstant);
  EXPECT_EQ(std::get<NSColor>(material->diffuse.contents), NSColor::blackColor());
  EXPECT_EQ(std::get<NSColor>(material->emission.contents), NSColor::blackColor());
  EXPECT_TRUE(sameContents(material->roughness, fresh.roughness));
  EXPECT_TRUE(sameContents(material->metalness, fresh.metalness));
  EXPECT_TRUE(material->isDoubleSided);
  EXPECT_EQ(material->fillMode, SCNFillMode::lines);
  EXPECT_EQ(material->transparency, 1);
}

/// A controller with one model: the node under test hangs at the top of the loaded scene.
class SurfaceModesTest : public ::testing::Test {
 protected:
  void load() { controller.loadFbxFallback(loadResult(loaded), FileURL("/tmp/model.fbx"), {}); }

  std::shared_ptr<SCNScene> loaded = SCNScene::scene();
  SceneController controller;
};

TEST_F(SurfaceModesTest, SwitchingBackPutsTheVerySameMaterialsBack) {
  const auto geometry = boxGeometry({0, 0, 0}, {1, 1, 1}, 3);
  addNode(loaded->rootNode(), geometry);
  const SCNGeometry::Materials originals = geometry->materials();
  load();
  for (const SurfaceMode mode : {SurfaceMode::textured, SurfaceMode::mesh, SurfaceMode::untextured,
                                 SurfaceMode::transparent, SurfaceMode::textured}) {
    controller.applySurfaceMode(mode);
    if (mode == SurfaceMode::textured) {
      EXPECT_EQ(geometry->materials(), originals);
    } else {
      ASSERT_THAT(geometry->materials(), SizeIs(3));
      EXPECT_NE(geometry->materials()[0], geometry->materials()[1]);
      EXPECT_NE(geometry->materials()[0], originals[0]);
    }
  }
  originals[1]->transparency = 0.5;
  controller.applySurfaceMode(SurfaceMode::textured);
  EXPECT_EQ(geometry->materials()[1]->transparency, 0.5);
}

TEST(OriginalMaterials, AreKnownByTheGeometryFirstAndByAStableNameElse) {
  const SCNNode::Pointer root = SCNNode::node();
  const SCNNode::Pointer first = addNode(root, unitCube());
  const SCNNode::Pointer second = addNode(root, unitCube());
  for (const SCNNode::Pointer& node : {first, second}) node->setName("__fbx_1__Twin");
  const SCNGeometry::Materials ofFirst = first->geometry->materials();
  const SCNGeometry::Materials ofSecond = second->geometry->materials();
  OriginalMaterials originals;
  originals.collect(*root);
  EXPECT_EQ(*originals.find(*first), ofFirst);
  EXPECT_EQ(*originals.find(*second), ofSecond);
  first->geometry = unitCube();
  EXPECT_EQ(*originals.find(*first), ofSecond) << "the later of one name";
  originals.clear();
  EXPECT_EQ(originals.find(*first), nullptr);
  EXPECT_EQ(originals.find(*second), nullptr);
}

TEST(OriginalMaterials, OfALaterRecordReplaceTheEarlierOnes) {
  const SCNNode::Pointer root = SCNNode::nodeWithGeometry(unitCube());
  OriginalMaterials originals;
  originals.collect(*root);
  const SCNGeometry::Materials later{SCNMaterial::material(), SCNMaterial::material()};
  root->geometry->setMaterials(later);
  originals.collect(*root);
  EXPECT_EQ(*originals.find(*root), later);
}

TEST_F(SurfaceModesTest, DoesNotChangeTheOptions) {
  load();
  controller.applySurfaceMode(SurfaceMode::mesh);
  EXPECT_EQ(controller.currentOptions.surfaceMode, SurfaceMode::textured);
}

TEST_F(SurfaceModesTest, ALoadAppliesTheModeOfTheOptions) {
  const auto geometry = unitCube();
  addNode(loaded->rootNode(), geometry);
  controller.currentOptions.surfaceMode = SurfaceMode::mesh;
  load();
  EXPECT_EQ(geometry->materials()[0]->fillMode, SCNFillMode::lines);
}

TEST_F(SurfaceModesTest, AGeometryWithoutMaterialsGetsOneInEveryModeButTextured) {
  const auto geometry = boxGeometry({0, 0, 0}, {1, 1, 1}, 0);
  addNode(loaded->rootNode(), geometry);
  load();
  EXPECT_THAT(geometry->materials(), IsEmpty());
  for (const SurfaceMode mode : {SurfaceMode::untextured, SurfaceMode::transparent, SurfaceMode::mesh}) {
    controller.applySurfaceMode(mode);
    EXPECT_THAT(geometry->materials(), SizeIs(1));
    controller.applySurfaceMode(SurfaceMode::textured);
    EXPECT_THAT(geometry->materials(), IsEmpty());
  }
  const auto unrecorded = boxGeometry({0, 0, 0}, {1, 1, 1}, 0);
  addNode(controller.sceneContentNode(), unrecorded);
  controller.applySurfaceMode(SurfaceMode::textured);
  EXPECT_THAT(unrecorded->materials(), IsEmpty());
}

TEST_F(SurfaceModesTest, AReplacedGeometryIsFoundByAStableNameOnly) {
  const SCNNode::Pointer stable = addNode(loaded->rootNode(), unitCube());
  const SCNNode::Pointer renamed = addNode(loaded->rootNode(), unitCube());
  const SCNNode::Pointer plain = addNode(loaded->rootNode(), unitCube());
  stable->setName("__fbx_7__Arm");
  renamed->setName("__fbx_8__Hand");
  plain->setName("Plain");
  const SCNGeometry::Materials originals = stable->geometry->materials();
  load();
  for (const SCNNode::Pointer& node : {stable, renamed, plain}) node->geometry = unitCube();
  renamed->setName("other");
  controller.applySurfaceMode(SurfaceMode::mesh);
  controller.applySurfaceMode(SurfaceMode::textured);
  EXPECT_EQ(stable->geometry->materials(), originals);
  EXPECT_EQ(renamed->geometry->materials()[0]->fillMode, SCNFillMode::lines);
  EXPECT_EQ(plain->geometry->materials()[0]->fillMode, SCNFillMode::lines);
}

TEST_F(SurfaceModesTest, NodesThatShareAGeometryAreServedTogether) {
  const auto geometry = boxGeometry({0, 0, 0}, {1, 1, 1}, 2);
  const SCNGeometry::Materials originals = geometry->materials();
  addNode(loaded->rootNode(), geometry);
  addNode(loaded->rootNode(), geometry);
  load();
  controller.applySurfaceMode(SurfaceMode::mesh);
  EXPECT_THAT(geometry->materials(), SizeIs(2));
  controller.applySurfaceMode(SurfaceMode::textured);
  EXPECT_EQ(geometry->materials(), originals);
}

TEST_F(SurfaceModesTest, LinesStayBlackLinesInMeshMode) {
  const auto lines = SCNGeometry::geometryWithSources({}, {elementOf(SCNGeometryPrimitiveType::line, 2)});
  addNode(loaded->rootNode(), lines);
  load();
  controller.applySurfaceMode(SurfaceMode::mesh);
  EXPECT_EQ(diffuseColor(*lines), NSColor::blackColor());
  EXPECT_EQ(lines->geometryElements().size(), 1U);
}

TEST_F(SurfaceModesTest, TheOverlayRootItselfIsSparedButNotWhatHangsBelowIt) {
  load();
  const SCNNode::Pointer overlay = addNode(controller.scene()->rootNode(), unitCube());
  overlay->setName("__OrnoviewOverlay");
  const SCNNode::Pointer inside = addNode(overlay, unitCube());
  controller.applySurfaceMode(SurfaceMode::mesh);
  EXPECT_EQ(overlay->geometry->materials()[0]->fillMode, SCNFillMode::fill);
  EXPECT_EQ(inside->geometry->materials()[0]->fillMode, SCNFillMode::lines);
}

TEST_F(SurfaceModesTest, InfoAndBoundsAreTheSameInEveryMode) {
  const auto geometry = boxGeometry({0, 0, 0}, {1, 2, 3}, 2);
  geometry->materials()[0]->diffuse.contents = std::string("a.png");
  addNode(loaded->rootNode(), geometry);
  load();
  const ModelInfo textured = controller.modelInfo();
  const ModelRenderBounds bounds = controller.currentModelRenderBounds();
  EXPECT_EQ(textured.textureCount, 1);
  controller.applySurfaceMode(SurfaceMode::transparent);
  EXPECT_EQ(controller.currentModelRenderBounds(), bounds);
  ViewportModelInstance unread;
  unread.format = ModelFormat::obj;
  unread.modelPath = "/tmp/none.obj";
  EXPECT_THROW(controller.addModelInstance(unread, false), Error);
  EXPECT_EQ(controller.modelInfo(), textured);
}

class DiagnosticColorsTest : public ::testing::Test {
 protected:
  DiagnosticColorsTest() : container(SCNNode::node()) {
    pivot = part(container, "pivot");
    moving = part(pivot, "moving");
    fixed = part(container, "fixed");
    loose = part(container, "loose");
    outside = addNode(container, boxGeometry({0, 0, 0}, {1, 1, 1}, 2));
    entry.rootNode = container;
    container->geometry = unitCube();
  }

  SCNNode::Pointer part(const SCNNode::Pointer& parent, const std::string& name) {
    SCNNode::Pointer node = addNode(parent, boxGeometry({0, 0, 0}, {1, 1, 1}, 2));
    stamp(*node, "fbx:" + name, name);
    return node;
  }
  static ModelNodePath::Component component(const std::string& name) {
    return {ModelNodeSourceID{"fbx:" + name}, name};
  }
  void apply() {
    auto binding = std::move(entry.parts.articulationBinding);
    entry.parts = makePartRuntime(*container, {});
    entry.parts.articulationBinding = std::move(binding);
    applyPartDiagnosticColors(entry);
  }

  SCNNode::Pointer container, pivot, moving, fixed, loose, outside;
  SceneModelEntry entry;
};

TEST_F(DiagnosticColorsTest, WithoutAHingeEveryPartIsRedAndNodesWithoutAPartKeepTheirMaterials) {
  const SCNGeometry::Materials kept = outside->geometry->materials();
  const SCNGeometry::Materials rootKept = container->geometry->materials();
  apply();
  EXPECT_EQ(diffuseColor(*pivot->geometry), NSColor::systemRedColor().colorWithAlphaComponent(0.72));
  const SCNMaterial& material = *pivot->geometry->materials()[1];
  EXPECT_EQ(std::get<NSColor>(material.emission.contents), NSColor::systemRedColor().colorWithAlphaComponent(0.18));
  EXPECT_EQ(material.lightingModelName, SCNLightingModelConstant);
  EXPECT_TRUE(material.isDoubleSided);
  EXPECT_EQ(outside->geometry->materials(), kept);
  EXPECT_EQ(container->geometry->materials(), rootKept);
}

TEST_F(DiagnosticColorsTest, AHingeColoursItsRolesAndWhatHangsBelowThem) {
  const SCNNode::Pointer belowFixed = addNode(fixed, unitCube());
  const SCNNode::Pointer partBelowMoving = part(moving, "finger");
  RigidArticulationBinding binding;
  binding.pivotPath = ModelNodePath{{component("pivot")}};
  binding.movingPartPaths = {ModelNodePath{{component("pivot"), component("moving")}}};
  binding.fixedPartPaths = {ModelNodePath{{component("fixed")}}};
  entry.parts.articulationBinding = binding;
  apply();
  EXPECT_EQ(diffuseColor(*pivot->geometry), NSColor::systemOrangeColor().colorWithAlphaComponent(0.72));
  EXPECT_EQ(diffuseColor(*moving->geometry), NSColor::systemTealColor().colorWithAlphaComponent(0.72));
  EXPECT_EQ(diffuseColor(*partBelowMoving->geometry), NSColor::systemTealColor().colorWithAlphaComponent(0.72));
  EXPECT_EQ(diffuseColor(*fixed->geometry), NSColor::systemIndigoColor().colorWithAlphaComponent(0.72));
  EXPECT_EQ(diffuseColor(*belowFixed->geometry), NSColor::systemIndigoColor().colorWithAlphaComponent(0.72));
  EXPECT_EQ(diffuseColor(*loose->geometry), NSColor::systemRedColor().colorWithAlphaComponent(0.72));
}

TEST_F(DiagnosticColorsTest, OfSeveralRolesThePivotComesFirstAndMovingBeforeFixed) {
  const ModelNodePath pivotPath{{component("pivot")}};
  const ModelNodePath movingPath = pivotPath.appending(component("moving"));
  RigidArticulationBinding binding;
  binding.pivotPath = pivotPath;
  binding.movingPartPaths = {pivotPath, movingPath};
  binding.fixedPartPaths = {pivotPath, movingPath};
  entry.parts.articulationBinding = binding;
  apply();
  EXPECT_EQ(diffuseColor(*pivot->geometry), NSColor::systemOrangeColor().colorWithAlphaComponent(0.72));
  EXPECT_EQ(diffuseColor(*moving->geometry), NSColor::systemTealColor().colorWithAlphaComponent(0.72));
}

TEST_F(DiagnosticColorsTest, APathIsAPrefixByItsIdentitiesAndItsNames) {
  RigidArticulationBinding binding;
  binding.movingPartPaths = {ModelNodePath{{{ModelNodeSourceID{"fbx:fixed"}, "renamed"}}},
                             ModelNodePath{{{ModelNodeSourceID{"fbx:other"}, "loose"}}},
                             ModelNodePath{{component("pivot"), component("moving"), component("finger")}}};
  entry.parts.articulationBinding = binding;
  apply();
  for (const SCNNode::Pointer& node : {fixed, loose, pivot, moving}) {
    EXPECT_EQ(diffuseColor(*node->geometry), NSColor::systemRedColor().colorWithAlphaComponent(0.72));
  }
}

TEST_F(DiagnosticColorsTest, AnEmptyPathIsThePrefixOfEveryPath) {
  RigidArticulationBinding binding;
  binding.movingPartPaths = {ModelNodePath::root};
  entry.parts.articulationBinding = binding;
  apply();
  EXPECT_EQ(diffuseColor(*loose->geometry), NSColor::systemTealColor().colorWithAlphaComponent(0.72));
}

TEST_F(DiagnosticColorsTest, ANodeAddedLaterBelongsToTheNearestPartAbove) {
  apply();
  const SCNNode::Pointer late = addNode(addNode(loose), unitCube());
  applyPartDiagnosticColors(entry);
  EXPECT_EQ(diffuseColor(*late->geometry), NSColor::systemRedColor().colorWithAlphaComponent(0.72));
}

}  // namespace
}  // namespace ornolith
