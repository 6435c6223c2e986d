#include <gtest/gtest.h>

#include <cmath>
#include <numbers>
#include <stdexcept>

#include "SceneFixtures.h"
#include "imaging/Color.h"
#include "scenegraph/SCNRenderer.h"
#include "scenegraph/SCNSphere.h"
#include "scenegraph/device/CheckFrame.h"

namespace ornolith {
namespace {

using device::DrawItem;
using device::FrameDescription;
using testing::bytesOf;
using testing::elementOf;
using testing::expectNear;
using testing::triangleGeometry;
using Type = SCNGeometryPrimitiveType;
constexpr double pi = std::numbers::pi;

// Keeps the frame that it was given.
class RecordingDevice final : public device::RenderDevice {
 public:
  Image render(const FrameDescription& frame) override {
    last = frame;
    return {frame.width, frame.height, PixelBytes(std::size_t{frame.width} * frame.height * 4, 9)};
  }
  void releaseResources() override {}
  FrameDescription last;
};

class SCNRendererTest : public ::testing::Test {
 protected:
  SCNRendererTest() {
    renderer->setScene(scene);
    camera->camera = SCNCamera::camera();
    renderer->setPointOfView(camera);
  }

  SCNNode::Pointer add(std::shared_ptr<SCNGeometry> geometry) {
    const SCNNode::Pointer node = SCNNode::nodeWithGeometry(std::move(geometry));
    scene->rootNode()->addChildNode(node);
    return node;
  }

  FrameDescription frame() {
    FrameDescription described = renderer->describeFrame(8, 6);
    EXPECT_EQ(device::checkFrame(described), std::nullopt);
    return described;
  }

  // The model-space position of each corner of the only item of the frame.
  std::vector<SCNVector3> cornersOfOnlyItem() {
    held = frame();
    std::vector<SCNVector3> corners;
    EXPECT_EQ(held.opaqueItems.size(), 1U);
    if (held.opaqueItems.size() != 1) return corners;
    const DrawItem& item = held.opaqueItems[0];
    for (std::uint32_t i = 0; i < item.indexCount; ++i) {
      const float* p = held.meshes[item.mesh].position[item.indices[i]];
      corners.push_back({p[0], p[1], p[2]});
    }
    return corners;
  }

  std::shared_ptr<RecordingDevice> recorder = std::make_shared<RecordingDevice>();
  std::unique_ptr<SCNRenderer> renderer = SCNRenderer::rendererWithDevice(recorder);
  std::shared_ptr<SCNScene> scene = SCNScene::scene();
  SCNNode::Pointer camera = SCNNode::node();
  FrameDescription held;
};

std::vector<SCNVector3> rowOfPoints(std::size_t count) {
  std::vector<SCNVector3> points;
  for (std::size_t i = 0; i < count; ++i) points.push_back({static_cast<double>(i), i % 2 == 0 ? 0.0 : 1.0, 0});
  return points;
}

std::shared_ptr<SCNGeometry> geometryOver(const std::vector<SCNVector3>& points,
                                          std::shared_ptr<SCNGeometryElement> element) {
  auto geometry =
      SCNGeometry::geometryWithSources({SCNGeometrySource::geometrySourceWithVertices(points)}, {std::move(element)});
  geometry->setMaterials({SCNMaterial::material()});
  return geometry;
}

TEST_F(SCNRendererTest, ASnapshotIsWhatTheDeviceMakesOfTheFrame) {
  add(triangleGeometry());
  const Image image = renderer->snapshotAtTime(0, 8, 6, SCNAntialiasingMode::none);
  EXPECT_EQ(image.width, 8U);
  EXPECT_EQ(image.height, 6U);
  EXPECT_EQ(recorder->last.width, 8U);
  EXPECT_EQ(recorder->last.opaqueItems.size(), 1U);
}

TEST_F(SCNRendererTest, AnEmptySizeIsRefused) {
  EXPECT_THROW(renderer->snapshotAtTime(0, 0, 6, SCNAntialiasingMode::none), std::invalid_argument);
  EXPECT_THROW(renderer->describeFrame(8, 0), std::invalid_argument);
  EXPECT_THROW(SCNRenderer::rendererWithDevice(nullptr), std::invalid_argument);
}

TEST_F(SCNRendererTest, WithoutSceneAndPointOfViewTheFrameIsEmpty) {
  const auto bare = SCNRenderer::rendererWithDevice(recorder);
  const FrameDescription described = bare->describeFrame(2, 2);
  EXPECT_EQ(device::checkFrame(described), std::nullopt);
  EXPECT_TRUE(described.opaqueItems.empty());
  EXPECT_EQ(described.background, (simd_float4{0, 0, 0, 0}));
}

TEST_F(SCNRendererTest, HiddenSubtreesAreLeftOutWithTheirLights) {
  const SCNNode::Pointer shown = add(triangleGeometry());
  const SCNNode::Pointer hidden = add(triangleGeometry());
  hidden->isHidden = true;
  hidden->addChildNode(SCNNode::nodeWithGeometry(triangleGeometry()));
  const SCNNode::Pointer lamp = SCNNode::node();
  lamp->light = SCNLight::light();
  lamp->light->type = SCNLightTypeDirectional;
  hidden->addChildNode(lamp);
  const FrameDescription described = frame();
  EXPECT_EQ(described.opaqueItems.size(), 1U);
  EXPECT_TRUE(described.directionalLights.empty());
  shown->isHidden = true;
  EXPECT_TRUE(frame().opaqueItems.empty());
}

TEST_F(SCNRendererTest, MatricesAreWorldMatricesWithTheirNormals) {
  const SCNNode::Pointer parent = SCNNode::node();
  parent->setPosition({1, 2, 3});
  scene->rootNode()->addChildNode(parent);
  const SCNNode::Pointer node = SCNNode::nodeWithGeometry(triangleGeometry());
  node->setScale({2, 4, 0.5});
  parent->addChildNode(node);
  FrameDescription described = frame();
  ASSERT_EQ(described.opaqueItems.size(), 1U);
  EXPECT_EQ(described.opaqueItems[0].worldMatrix, node->worldTransform());
  EXPECT_EQ(described.opaqueItems[0].normalMatrix[0], (simd_float3{0.5, 0, 0}));
  EXPECT_EQ(described.opaqueItems[0].normalMatrix[1], (simd_float3{0, 0.25, 0}));
  EXPECT_EQ(described.opaqueItems[0].normalMatrix[2], (simd_float3{0, 0, 2}));
  EXPECT_FALSE(described.opaqueItems[0].isMirrored);

  node->setScale({-1, 1, 1});
  described = frame();
  EXPECT_TRUE(described.opaqueItems[0].isMirrored);
  EXPECT_EQ(described.opaqueItems[0].normalMatrix[0], (simd_float3{-1, 0, 0}));

  node->setScale({1, 0, 1});
  EXPECT_EQ(frame().opaqueItems[0].normalMatrix, (std::array<simd_float3, 3>{}));
}

TEST_F(SCNRendererTest, NodesWithoutAFinitePlaceAreLeftOut) {
  add(triangleGeometry())->setPosition({std::nan(""), 0, 0});
  add(triangleGeometry())->setScale({INFINITY, 1, 1});
  EXPECT_TRUE(frame().opaqueItems.empty());
}

TEST_F(SCNRendererTest, TheViewUndoesTheRigidPartOfThePointOfView) {
  camera->setPosition({1, 2, 3});
  camera->setEulerAngles({0.3, 0.5, 0});
  camera->setScale({5, 6, 7});
  camera->camera->fieldOfView = 45;
  camera->camera->zNear = 0.001;
  const device::Camera described = frame().camera;
  camera->setScale({1, 1, 1});
  expectNear(described.viewMatrix * camera->worldTransform(), SCNMatrix4{}, 1e-14);
  EXPECT_EQ(described.verticalFieldOfView, 45);
  EXPECT_EQ(described.zNear, 0.001);
  EXPECT_FALSE(described.usesOrthographicProjection);
  camera->camera->usesOrthographicProjection = true;
  camera->camera->orthographicScale = 3;
  EXPECT_TRUE(frame().camera.usesOrthographicProjection);
  EXPECT_EQ(frame().camera.orthographicScale, 3);
}

TEST_F(SCNRendererTest, TheBackgroundIsLinearWithStraightAlpha) {
  scene->background.contents = NSColor{0.5, 1, 0, 0.25};
  EXPECT_EQ(frame().background, (simd_float4{linearFromSRGB(0.5F), 1, 0, 0.25F}));
  scene->background.contents = NSColor::clearColor();
  EXPECT_EQ(frame().background.w, 0);
}

// Lights.

TEST_F(SCNRendererTest, AmbientLightsAddUpAndDirectionalOnesShineAlongNegativeZ) {
  for (const double intensity : {420.0, 80.0}) {
    const SCNNode::Pointer node = SCNNode::node();
    node->light = SCNLight::light();
    node->light->type = SCNLightTypeAmbient;
    node->light->intensity = intensity;
    scene->rootNode()->addChildNode(node);
  }
  const SCNNode::Pointer key = SCNNode::node();
  key->light = SCNLight::light();
  key->light->type = SCNLightTypeDirectional;
  key->light->color = {0.5, 1, 1, 1};
  key->light->intensity = 500;
  key->setEulerAngles({-pi / 2, 0, 0});
  key->setScale({3, 3, 3});
  scene->rootNode()->addChildNode(key);
  const SCNNode::Pointer omni = SCNNode::node();
  omni->light = SCNLight::light();
  scene->rootNode()->addChildNode(omni);

  const FrameDescription described = frame();
  EXPECT_NEAR(described.ambientLight.x, 0.5F, 1e-6F);
  ASSERT_EQ(described.directionalLights.size(), 1U);
  expectNear(vectorCast<double>(described.directionalLights[0].direction), {0, -1, 0}, 1e-7);
  EXPECT_FLOAT_EQ(described.directionalLights[0].color.x, linearFromSRGB(0.5F) / 2);
  EXPECT_FLOAT_EQ(described.directionalLights[0].color.y, 0.5F);
}

TEST_F(SCNRendererTest, DefaultLightingStandsInOnlyWithoutLights) {
  camera->setEulerAngles({0, pi / 2, 0});
  EXPECT_TRUE(frame().directionalLights.empty());
  renderer->setAutoenablesDefaultLighting(true);
  const FrameDescription described = frame();
  ASSERT_EQ(described.directionalLights.size(), 1U);
  expectNear(vectorCast<double>(described.directionalLights[0].direction), {-1, 0, 0}, 1e-7);
  scene->rootNode()->light = SCNLight::light();
  scene->rootNode()->light->type = SCNLightTypeAmbient;
  EXPECT_TRUE(frame().directionalLights.empty());
}

// Geometry.

TEST_F(SCNRendererTest, AlignedFloatsAndIndicesAreTakenInPlace) {
  const auto geometry = triangleGeometry();
  add(geometry);
  const FrameDescription described = frame();
  const auto& source = *geometry->geometrySources()[0];
  EXPECT_EQ(static_cast<const void*>(described.meshes[0].position.data), source.data()->data());
  EXPECT_EQ(static_cast<const void*>(described.opaqueItems[0].indices),
            geometry->geometryElements()[0]->data()->data());
}

TEST_F(SCNRendererTest, OtherFormatsAreConverted) {
  const auto positions = SCNGeometrySource::geometrySourceWithData(
      bytesOf(std::vector<double>{0, 0, 0, 1, 0, 0, 0, 1, 0}), SCNGeometrySourceSemantic::vertex, 3, true, 3, 8, 0, 24);
  const auto colors = SCNGeometrySource::geometrySourceWithData(
      bytesOf(std::vector<std::uint8_t>{255, 0, 51, 255, 0, 0, 0, 0, 9, 9, 9, 9}), SCNGeometrySourceSemantic::color, 3,
      false, 4, 1, 0, 4);
  const auto shortNormals = SCNGeometrySource::geometrySourceWithData(
      bytesOf(std::vector<float>(6)), SCNGeometrySourceSemantic::normal, 2, true, 3, 4, 0, 12);
  const auto element =
      SCNGeometryElement::geometryElementWithData(bytesOf(std::vector<std::uint8_t>{0, 1, 2}), Type::triangles, 1, 1);
  add(SCNGeometry::geometryWithSources({positions, colors, shortNormals}, {element}));
  const FrameDescription described = frame();
  const device::Mesh& mesh = described.meshes[0];
  EXPECT_EQ(mesh.position[1][0], 1);
  EXPECT_EQ(mesh.color.components, 4U);
  EXPECT_FLOAT_EQ(mesh.color[0][2], 0.2F);
  EXPECT_FALSE(mesh.normal.isPresent());
  EXPECT_EQ(described.opaqueItems[0].indices[2], 2U);
}

TEST_F(SCNRendererTest, TextureChannelsKeepTheirNumbers) {
  const auto uv = [](float first) {
    return SCNGeometrySource::geometrySourceWithData(bytesOf(std::vector<float>{first, 0, 1, 0, 0, 1}),
                                                     SCNGeometrySourceSemantic::texcoord, 3, true, 2, 4, 0, 8);
  };
  const auto empty = SCNGeometrySource::geometrySourceWithData(
      bytesOf(std::vector<float>{}), SCNGeometrySourceSemantic::texcoord, 0, true, 2, 4, 0, 8);
  const auto base = triangleGeometry();
  add(SCNGeometry::geometryWithSources({base->geometrySources()[0], uv(0.25F), empty, uv(0.75F)},
                                       base->geometryElements()));
  const FrameDescription described = frame();
  const auto& texcoords = described.meshes[0].texcoords;
  ASSERT_EQ(texcoords.size(), 3U);
  EXPECT_EQ(texcoords[0][0][0], 0.25F);
  EXPECT_FALSE(texcoords[1].isPresent());
  EXPECT_EQ(texcoords[2][0][0], 0.75F);
}

TEST_F(SCNRendererTest, StripsBecomeTrianglesThatWindAlike) {
  const auto points = rowOfPoints(5);
  add(geometryOver(points, elementOf(Type::triangleStrip, 3, {0, 1, 2, 3, 4})));
  const auto corners = cornersOfOnlyItem();
  ASSERT_EQ(corners.size(), 9U);
  for (std::size_t i = 0; i < 9; i += 3) {
    EXPECT_LT(cross(corners[i + 1] - corners[i], corners[i + 2] - corners[i]).z, 0);
  }
}

TEST_F(SCNRendererTest, StripsAreCutByTheLargestNumberAndAroundBadIndices) {
  const auto points = rowOfPoints(6);
  add(geometryOver(points, elementOf(Type::triangleStrip, 5, {0, 1, 2, 0xffffffffU, 3, 4, 5})));
  EXPECT_EQ(cornersOfOnlyItem(),
            (std::vector<SCNVector3>{points[0], points[1], points[2], points[3], points[4], points[5]}));
  scene->rootNode()->childNodes()[0]->geometry =
      geometryOver(points, elementOf(Type::triangleStrip, 4, {0, 1, 2, 77, 3, 4}));
  EXPECT_EQ(cornersOfOnlyItem(), (std::vector<SCNVector3>{points[0], points[1], points[2]}));
}

TEST_F(SCNRendererTest, PolygonsBecomeTriangles) {
  const std::vector<SCNVector3> points{{0, 0, 0}, {2, -1, 0}, {0.5, 0, 0}, {2, 1, 0}};
  add(geometryOver(points, elementOf(Type::polygon, 3, {3, 4, 3, 0, 1, 2, 1, 2, 3, 0, 0, 1, 99})));
  const auto corners = cornersOfOnlyItem();
  ASSERT_EQ(corners.size(), 9U);
  double area = 0;
  for (std::size_t i = 0; i < 9; i += 3) {
    const double twice = cross(corners[i + 1] - corners[i], corners[i + 2] - corners[i]).z;
    EXPECT_GT(twice, 0);
    area += twice / 2;
  }
  EXPECT_DOUBLE_EQ(area, 0.25 + 0.5);
}

TEST_F(SCNRendererTest, LinesAndPointsStayWhatTheyAre) {
  const auto points = rowOfPoints(4);
  const auto pointElement = elementOf(Type::point, 4, {0, 1, 2, 3});
  pointElement->pointSize = 0.5;
  pointElement->minimumPointScreenSpaceRadius = 2;
  pointElement->maximumPointScreenSpaceRadius = 9;
  add(SCNGeometry::geometryWithSources({SCNGeometrySource::geometrySourceWithVertices(points)},
                                       {elementOf(Type::line, 2, {0, 1, 2, 3}), pointElement}));
  const FrameDescription described = frame();
  ASSERT_EQ(described.opaqueItems.size(), 2U);
  EXPECT_EQ(described.opaqueItems[0].topology, device::Topology::lines);
  EXPECT_EQ(described.opaqueItems[0].indexCount, 4U);
  EXPECT_EQ(described.opaqueItems[1].topology, device::Topology::points);
  EXPECT_EQ(described.opaqueItems[1].pointSize, 0.5F);
  EXPECT_EQ(described.opaqueItems[1].minimumPointRadius, 2);
  EXPECT_EQ(described.opaqueItems[1].maximumPointRadius, 9);
  EXPECT_EQ(described.meshes.size(), 1U);
}

TEST_F(SCNRendererTest, PrimitivesWithIndicesOutOfRangeAreDropped) {
  const auto points = rowOfPoints(3);
  add(geometryOver(points, elementOf(Type::triangles, 3, {0, 1, 2, 0, 1, 3, 2, 1, 0, 0})));
  EXPECT_EQ(cornersOfOnlyItem(),
            (std::vector<SCNVector3>{points[0], points[1], points[2], points[2], points[1], points[0]}));
  scene->rootNode()->childNodes()[0]->geometry = geometryOver(points, elementOf(Type::line, 2, {0, 5, 1, 2}));
  EXPECT_EQ(cornersOfOnlyItem(), (std::vector<SCNVector3>{points[1], points[2]}));
  scene->rootNode()->childNodes()[0]->geometry = geometryOver(points, elementOf(Type::triangles, 1, {7, 8, 9}));
  EXPECT_TRUE(frame().opaqueItems.empty());
}

TEST_F(SCNRendererTest, ElementsWithoutDataTakeTheVerticesInOrder) {
  const auto points = rowOfPoints(7);
  add(geometryOver(points, SCNGeometryElement::geometryElementWithData(nullptr, Type::triangles, 9, 4)));
  EXPECT_EQ(cornersOfOnlyItem().size(), 6U);
  scene->rootNode()->childNodes()[0]->geometry =
      geometryOver(points, SCNGeometryElement::geometryElementWithData(nullptr, Type::line, 1, 4));
  EXPECT_EQ(cornersOfOnlyItem(), (std::vector<SCNVector3>{points[0], points[1]}));
}

TEST_F(SCNRendererTest, FlatFormsAreKeptFromFrameToFrameAndMadeAnewForNewSources) {
  const auto sphere = SCNSphere::sphereWithRadius(1);
  const auto polygon = geometryOver(rowOfPoints(4), elementOf(Type::polygon, 1, {4, 0, 1, 2, 3}));
  add(sphere);
  add(polygon);
  add(polygon);
  const FrameDescription first = frame();
  const FrameDescription second = frame();
  ASSERT_EQ(first.meshes.size(), 2U);
  ASSERT_EQ(first.opaqueItems.size(), 3U);
  EXPECT_EQ(first.opaqueItems[1].indices, first.opaqueItems[2].indices);
  EXPECT_EQ(first.meshes[1].owner, second.meshes[1].owner);
  EXPECT_EQ(first.opaqueItems[1].indices, second.opaqueItems[1].indices);
  sphere->setSegmentCount(8);
  const FrameDescription third = frame();
  EXPECT_NE(third.meshes[0].owner, first.meshes[0].owner);
  EXPECT_EQ(third.meshes[1].owner, first.meshes[1].owner);
}

TEST_F(SCNRendererTest, AFrameOutlivesTheSceneThatItCameFrom) {
  add(SCNSphere::sphereWithRadius(1));
  const FrameDescription described = frame();
  scene->rootNode()->childNodes()[0]->removeFromParentNode();
  frame();
  renderer.reset();
  scene.reset();
  EXPECT_EQ(device::checkFrame(described), std::nullopt);
}

TEST_F(SCNRendererTest, MaterialsRepeatOverElementsAndAMissingOneIsTheDefault) {
  const auto points = rowOfPoints(3);
  const auto triangle = [] { return elementOf(Type::triangles, 1, {0, 1, 2}); };
  const auto geometry = SCNGeometry::geometryWithSources({SCNGeometrySource::geometrySourceWithVertices(points)},
                                                         {triangle(), triangle(), triangle()});
  add(geometry);
  FrameDescription described = frame();
  ASSERT_EQ(described.materials.size(), 1U);
  EXPECT_EQ(described.materials[0].lightingModel, device::LightingModel::blinn);
  EXPECT_EQ(described.materials[0].diffuse.value, (simd_float4{1, 1, 1, 1}));
  geometry->setMaterials({SCNMaterial::material(), SCNMaterial::material()});
  described = frame();
  EXPECT_EQ(described.materials.size(), 2U);
  EXPECT_EQ(described.opaqueItems[0].material, described.opaqueItems[2].material);
  EXPECT_NE(described.opaqueItems[0].material, described.opaqueItems[1].material);
}

TEST_F(SCNRendererTest, BillboardsTakeTheCamerasOrientationAndCarryTheirChildren) {
  camera->setEulerAngles({0.2, 1.0, 0});
  const SCNNode::Pointer parent = SCNNode::node();
  parent->setEulerAngles({0, 0, 1});
  scene->rootNode()->addChildNode(parent);
  const SCNNode::Pointer label = SCNNode::nodeWithGeometry(triangleGeometry());
  label->constraints.push_back(std::make_shared<SCNBillboardConstraint>());
  label->setPosition({1, 2, 3});
  label->setScale({2, 2, 2});
  parent->addChildNode(label);
  const SCNNode::Pointer below = SCNNode::nodeWithGeometry(triangleGeometry());
  below->setPosition({1, 0, 0});
  label->addChildNode(below);
  const SCNNode::Pointer beside = SCNNode::nodeWithGeometry(triangleGeometry());
  parent->addChildNode(beside);

  const FrameDescription described = frame();
  ASSERT_EQ(described.opaqueItems.size(), 3U);
  const SCNMatrix4 turned = described.opaqueItems[0].worldMatrix;
  const SCNMatrix4 view = camera->worldTransform();
  for (std::size_t c = 0; c < 3; ++c) {
    for (std::size_t r = 0; r < 3; ++r) EXPECT_NEAR(turned.columns[c][r], view.columns[c][r] * 2, 1e-14);
  }
  expectNear(transformPoint(turned, SCNVector3{}), label->worldPosition(), 1e-14);
  expectNear(transformPoint(described.opaqueItems[1].worldMatrix, SCNVector3{}),
             transformPoint(turned, SCNVector3{1, 0, 0}), 1e-14);
  EXPECT_EQ(described.opaqueItems[2].worldMatrix, beside->worldTransform());
}

// Drawing order. Each node's triangle is at its own depth, which the world matrix tells.

class DrawingOrderTest : public SCNRendererTest {
 protected:
  std::shared_ptr<SCNMaterial> addAt(double z, double transparency, std::int64_t order = 0) {
    const auto geometry = triangleGeometry();
    geometry->firstMaterial()->transparency = transparency;
    const SCNNode::Pointer node = add(geometry);
    node->setPosition({0, 0, z});
    node->renderingOrder = order;
    return geometry->firstMaterial();
  }
  static std::vector<double> depths(const std::vector<DrawItem>& items) {
    std::vector<double> result;
    for (const DrawItem& item : items) result.push_back(item.worldMatrix.columns[3].z);
    return result;
  }
  using Depths = std::vector<double>;
};

TEST_F(DrawingOrderTest, OpaqueItemsFollowTheSceneAndBlendedOnesGoFarToNear) {
  addAt(-1, 1);
  addAt(-5, 0.5);
  addAt(-9, 1);
  addAt(-7, 0.5);
  addAt(-3, 0.5);
  const FrameDescription described = frame();
  EXPECT_EQ(depths(described.opaqueItems), (Depths{-1, -9}));
  EXPECT_EQ(depths(described.blendedItems), (Depths{-7, -5, -3}));
}

TEST_F(DrawingOrderTest, DepthIsMeasuredAlongTheViewToTheCentre) {
  camera->setEulerAngles({0, pi, 0});  // Looks along positive z.
  addAt(3, 0.5);
  addAt(7, 0.5);
  EXPECT_EQ(depths(frame().blendedItems), (Depths{7, 3}));
}

TEST_F(DrawingOrderTest, EqualDepthsKeepTheSceneOrder) {
  for (int i = 0; i < 20; ++i) add(triangleGeometry())->geometry->firstMaterial()->transparency = 0.5;
  const FrameDescription described = frame();
  for (std::uint32_t i = 0; i < 20; ++i) EXPECT_EQ(described.blendedItems[i].mesh, i);
}

TEST_F(DrawingOrderTest, HigherRenderingOrdersComeLater) {
  addAt(-1, 1, 5);
  addAt(-2, 1, -1);
  addAt(-3, 1);
  EXPECT_EQ(depths(frame().opaqueItems), (Depths{-2, -3, -1}));
  addAt(-4, 0.5, 2);
  addAt(-5, 0.5, 1);
  addAt(-6, 0.5, 2);
  const FrameDescription described = frame();
  EXPECT_EQ(depths(described.opaqueItems), (Depths{-2, -3}));
  EXPECT_EQ(depths(described.blendedItems), (Depths{-5, -6, -4, -1}));
}

TEST_F(DrawingOrderTest, AnOverlayThatIgnoresDepthFollowsWhatIsBlended) {
  addAt(-1, 1, 100)->readsFromDepthBuffer = false;
  addAt(-5, 0.5);
  const FrameDescription described = frame();
  EXPECT_TRUE(described.opaqueItems.empty());
  ASSERT_EQ(depths(described.blendedItems), (Depths{-5, -1}));
  EXPECT_FALSE(described.materials[described.blendedItems[1].material].readsDepth);
}

TEST_F(DrawingOrderTest, WhatBlendsDependsOnModeAndOpacity) {
  const auto blended = [&] { return frame().blendedItems.size(); };
  const auto material = addAt(-1, 1);
  EXPECT_EQ(blended(), 0U);
  material->transparency = 0.9;
  EXPECT_EQ(blended(), 1U);
  material->blendMode = SCNBlendMode::replace;
  EXPECT_EQ(blended(), 0U);
  material->blendMode = SCNBlendMode::add;
  material->transparency = 1;
  EXPECT_EQ(blended(), 1U);
  material->blendMode = SCNBlendMode::alpha;
  EXPECT_EQ(blended(), 0U);
  material->diffuse.contents = NSColor{1, 1, 1, 0.5};
  EXPECT_EQ(blended(), 1U);
  material->diffuse.contents = NSColor::whiteColor();
  material->transparent.contents = 0.5;
  EXPECT_EQ(blended(), 1U);
  material->transparent.contents = NSColor{0, 0, 0, 1};
  EXPECT_EQ(blended(), 0U);
}

TEST_F(SCNRendererTest, DeepScenesAreFlattenedInLinearTime) {
  const SCNNode::Pointer lowest = testing::addChain(scene->rootNode(), 100'000);
  lowest->geometry = triangleGeometry();
  EXPECT_EQ(frame().opaqueItems.size(), 1U);
}

TEST_F(SCNRendererTest, ManyNodesWithOneGeometryShareOneMesh) {
  const auto geometry = triangleGeometry();
  for (int i = 0; i < 20'000; ++i) add(geometry);
  const FrameDescription described = frame();
  EXPECT_EQ(described.meshes.size(), 1U);
  EXPECT_EQ(described.materials.size(), 1U);
  EXPECT_EQ(described.opaqueItems.size(), 20'000U);
}

}  // namespace
}  // namespace ornolith
