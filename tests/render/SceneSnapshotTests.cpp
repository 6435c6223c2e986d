#include <gtest/gtest.h>

#include <algorithm>
#include <array>
#include <limits>
#include <memory>
#include <vector>

#include "imaging/ImageDecoder.h"
#include "render/ModelRenderError.h"
#include "render/SceneSnapshot.h"

namespace ornolith {
namespace {

using Pixel = std::array<int, 4>;

constexpr Pixel clear{0, 0, 0, 0};
constexpr Pixel red{255, 0, 0, 255};
constexpr Pixel green{0, 255, 0, 255};
constexpr Pixel blue{0, 0, 255, 255};

Pixel pixelAt(const Image& image, std::uint32_t x, std::uint32_t y) {
  const std::uint8_t* const p = image.pixel(x, y);
  return {p[0], p[1], p[2], p[3]};
}

/// A square of half size `half` in the plane z = `depth`, unlit, seen from both sides.
SCNNode::Pointer squareNode(NSColor color, double half, double depth, std::optional<std::string> name = {}) {
  const std::vector<SCNVector3> corners{{-half, -half, depth}, {half, -half, depth}, {half, half, depth},
                                        {-half, -half, depth}, {half, half, depth},  {-half, half, depth}};
  auto geometry = SCNGeometry::geometryWithSources(
      {SCNGeometrySource::geometrySourceWithVertices(corners)},
      {SCNGeometryElement::geometryElementWithData(nullptr, SCNGeometryPrimitiveType::triangles, 2, 4)});
  auto material = SCNMaterial::material();
  material->lightingModelName = SCNLightingModelConstant;
  material->diffuse.contents = color;
  material->isDoubleSided = true;
  geometry->setMaterials({material});
  auto node = SCNNode::nodeWithGeometry(geometry);
  node->setName(std::move(name));
  return node;
}

constexpr NSColor redColor{1, 0, 0, 1};
constexpr NSColor greenColor{0, 1, 0, 1};
constexpr NSColor blueColor{0, 0, 1, 1};
constexpr CameraState fromTheFront{.position = {0, 0, 5}, .eulerAngles = {}, .target = {}, .fieldOfView = 45};

Image render(const std::shared_ptr<SCNScene>& scene, const CameraState& state = fromTheFront) {
  return snapshot(*scene, state, 16, 16);
}

TEST(Snapshot, ShowsTheModelBeforeNothing) {
  const auto scene = SCNScene::scene();
  applyBackground(RenderBackground::transparent(), *scene);
  scene->rootNode()->addChildNode(squareNode(redColor, 1, 0));
  const Image image = render(scene);
  EXPECT_EQ(image.width, 16U);
  EXPECT_EQ(image.height, 16U);
  EXPECT_EQ(pixelAt(image, 8, 8), red);
  EXPECT_EQ(pixelAt(image, 0, 0), clear);
}

TEST(Snapshot, ShowsTheModelBeforeAColor) {
  const auto scene = SCNScene::scene();
  applyBackground({.color = RenderRGBAColor{0, 0, 1, 1}}, *scene);
  scene->rootNode()->addChildNode(squareNode(redColor, 1, 0));
  const Image image = render(scene);
  EXPECT_EQ(pixelAt(image, 8, 8), red);
  EXPECT_EQ(pixelAt(image, 0, 0), blue);
}

TEST(Snapshot, StandsWhereTheStateSays) {
  const auto scene = SCNScene::scene();
  applyBackground(RenderBackground::transparent(), *scene);
  scene->rootNode()->addChildNode(squareNode(redColor, 1, 0));
  CameraState state = fromTheFront;
  state.eulerAngles.y = 3.14159274F;
  EXPECT_EQ(pixelAt(render(scene, state), 8, 8), clear) << "the camera looks away";
  state.position.z = -5;
  EXPECT_EQ(pixelAt(render(scene, state), 8, 8), red) << "the camera looks from behind";
  state = fromTheFront;
  state.target = {100, 100, 100};
  EXPECT_EQ(pixelAt(render(scene, state), 8, 8), red) << "the target plays no part";
}

TEST(Snapshot, CutsNothingFarAway) {
  const auto scene = SCNScene::scene();
  applyBackground(RenderBackground::transparent(), *scene);
  scene->rootNode()->addChildNode(squareNode(redColor, 50000, -100000));
  EXPECT_EQ(pixelAt(render(scene), 8, 8), red);
}

TEST(Snapshot, LeavesOutTheOverlaysOfACapture) {
  for (const char* name : {"__OrnolithSelectionOverlay", "__OrnolithInteractionOverlay"}) {
    const auto scene = SCNScene::scene();
    applyBackground(RenderBackground::transparent(), *scene);
    scene->rootNode()->addChildNode(squareNode(redColor, 1, 0));
    const auto overlay = squareNode(greenColor, 1, 1, name);
    overlay->addChildNode(squareNode(blueColor, 1, 2));
    scene->rootNode()->addChildNode(overlay);
    EXPECT_EQ(pixelAt(render(scene), 8, 8), red) << name << " at the top";

    const auto group = SCNNode::node();
    const auto deeper = SCNNode::node();
    scene->rootNode()->addChildNode(group);
    group->addChildNode(deeper);
    deeper->addChildNode(overlay);
    EXPECT_EQ(pixelAt(render(scene), 8, 8), red) << name << " deep in the tree";
    EXPECT_EQ(overlay->parentNode(), deeper) << "the scene itself is not touched";
  }
}

TEST(Snapshot, ShowsOtherOverlays) {
  const auto scene = SCNScene::scene();
  applyBackground(RenderBackground::transparent(), *scene);
  scene->rootNode()->addChildNode(squareNode(greenColor, 1, 1, "__OrnoviewOverlay"));
  EXPECT_EQ(pixelAt(render(scene), 8, 8), green);
}

TEST(Snapshot, LeavesOutTopLevelNodesWithACamera) {
  const auto scene = SCNScene::scene();
  applyBackground(RenderBackground::transparent(), *scene);
  const auto node = squareNode(redColor, 1, 0);
  node->camera = SCNCamera::camera();
  scene->rootNode()->addChildNode(node);
  EXPECT_EQ(pixelAt(render(scene), 8, 8), clear);
}

TEST(Snapshot, LeavesTheSceneAsItWas) {
  const auto scene = SCNScene::scene();
  applyBackground({.color = RenderRGBAColor{0, 0, 1, 1}}, *scene);
  const auto first = squareNode(redColor, 1, 0);
  scene->rootNode()->addChildNode(first);
  const Image before = render(scene);
  ASSERT_EQ(scene->rootNode()->childCount(), 1U);
  EXPECT_EQ(scene->rootNode()->childNodes().front(), first);
  EXPECT_EQ(render(scene), before);
}

TEST(Snapshot, AddsNoLightOfItsOwn) {
  const auto scene = SCNScene::scene();
  applyBackground(RenderBackground::transparent(), *scene);
  const auto node = squareNode(redColor, 1, 0);
  node->geometry->firstMaterial()->lightingModelName = SCNLightingModelLambert;
  scene->rootNode()->addChildNode(node);
  EXPECT_EQ(pixelAt(render(scene), 8, 8), (Pixel{0, 0, 0, 255})) << "without a light the model is black";
}

TEST(Snapshot, RefusesAnImageOverThePixelBudget) {
  const auto scene = SCNScene::scene();
  constexpr std::int64_t most = std::numeric_limits<std::int64_t>::max();
  for (const auto& [width, height] : std::vector<std::pair<std::int64_t, std::int64_t>>{
           {8193, 1}, {1, 8193}, {8192, 2049}, {100000, 100000}, {most, most}, {0, 1}, {1, -1}}) {
    try {
      snapshot(*scene, fromTheFront, width, height);
      FAIL() << width << " by " << height << " was accepted";
    } catch (const ImageSizeError& error) {
      EXPECT_EQ(error.errorDescription(), "An image of " + std::to_string(width) + " by " + std::to_string(height) +
                                              " pixels cannot be rendered. Output is limited to 16 megapixels and 8192 "
                                              "pixels per dimension.");
    }
  }
}

TEST(Snapshot, RendersTheLongestSideThereIs) {
  const auto scene = SCNScene::scene();
  EXPECT_EQ(snapshot(*scene, fromTheFront, 8192, 1).pixels.size(), 8192U * 4);
}

TEST(Fill, HasTheColorInEveryPixel) {
  const Image image = fill(3, 2, {.color = RenderRGBAColor{16 / 255.0, 32 / 255.0, 48 / 255.0, 1}});
  ASSERT_EQ(image.pixels.size(), 24U);
  EXPECT_EQ(pixelAt(image, 0, 0), (Pixel{16, 32, 48, 255}));
  EXPECT_EQ(pixelAt(image, 2, 1), (Pixel{16, 32, 48, 255}));
  EXPECT_EQ(pixelAt(fill(1, 1, RenderBackground::transparent()), 0, 0), clear);
  EXPECT_EQ(pixelAt(fill(1, 1, {.color = RenderRGBAColor{-1, 2, std::numeric_limits<double>::quiet_NaN(), 0.5}}), 0, 0),
            (Pixel{0, 255, 0, 128}));
}

Image onePixel(Pixel pixel) {
  Image image{.width = 1, .height = 1, .pixels = {}};
  for (const int channel : pixel) image.pixels.push_back(static_cast<std::uint8_t>(channel));
  return image;
}

Pixel writtenPixel(Pixel pixel, const RenderBackground& background) {
  const std::optional<Image> decoded = decodeImage(pngData(onePixel(pixel), background));
  return decoded && decoded->pixels.size() == 4 ? pixelAt(*decoded, 0, 0) : Pixel{-1, -1, -1, -1};
}

TEST(PngData, KeepsThePixelsOfATransparentBackground) {
  for (const Pixel pixel : {Pixel{10, 20, 30, 40}, clear, red, Pixel{1, 2, 3, 255}}) {
    EXPECT_EQ(writtenPixel(pixel, RenderBackground::transparent()), pixel);
  }
}

TEST(PngData, LaysAColorUnderWhatIsNotOpaque) {
  const RenderBackground background{.color = RenderRGBAColor{16 / 255.0, 32 / 255.0, 48 / 255.0, 1}};
  EXPECT_EQ(writtenPixel(clear, background), (Pixel{16, 32, 48, 255}));
  EXPECT_EQ(writtenPixel({200, 100, 50, 255}, background), (Pixel{200, 100, 50, 255}));
  EXPECT_EQ(writtenPixel({255, 0, 0, 51}, background), (Pixel{64, 26, 38, 255})) << "a fifth of red over the colour";
}

TEST(PngData, AnOpaqueColorGivesAnOpaqueFileWhateverLiesOnIt) {
  const RenderBackground background{.color = RenderRGBAColor{0.5, 0.25, 1, 1}};
  for (int alpha = 0; alpha < 256; ++alpha) {
    EXPECT_EQ(writtenPixel({255, 128, 0, alpha}, background)[3], 255) << alpha;
  }
}

TEST(PngData, ATranslucentColorStaysTranslucent) {
  const RenderBackground background{.color = RenderRGBAColor{0, 0, 1, 0.2}};
  EXPECT_EQ(writtenPixel(clear, background), (Pixel{0, 0, 255, 51}));
  EXPECT_EQ(writtenPixel(red, background), red);
  // 0.6 of red over 0.2 of blue: alpha 0.6 + 0.4 * 0.2 = 0.68, red 0.6 / 0.68.
  EXPECT_EQ(writtenPixel({255, 0, 0, 153}, background), (Pixel{225, 0, 30, 173}));
}

}  // namespace
}  // namespace ornolith
