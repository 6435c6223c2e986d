#include <gtest/gtest.h>

#include "SceneFixtures.h"
#include "scenegraph/NSColor.h"
#include "scenegraph/NodeMetadata.h"
#include "scenegraph/SCNScene.h"

namespace ornolith {
namespace {

TEST(NSColor, NamedColoursAreConstants) {
  EXPECT_EQ(NSColor::whiteColor(), (NSColor{1, 1, 1, 1}));
  EXPECT_EQ(NSColor::blackColor(), (NSColor{0, 0, 0, 1}));
  EXPECT_EQ(NSColor::clearColor(), (NSColor{0, 0, 0, 0}));
  EXPECT_EQ(NSColor::labelColor(), (NSColor{0, 0, 0, 0.85}));
  EXPECT_EQ(NSColor::tertiaryLabelColor(), (NSColor{0, 0, 0, 0.26}));
  EXPECT_EQ(NSColor::windowBackgroundColor(), (NSColor{236 / 255.0, 236 / 255.0, 236 / 255.0, 1}));
  EXPECT_EQ(NSColor::systemRedColor(), (NSColor{1, 59 / 255.0, 48 / 255.0, 1}));
  EXPECT_EQ(NSColor::systemGreenColor(), (NSColor{52 / 255.0, 199 / 255.0, 89 / 255.0, 1}));
  EXPECT_EQ(NSColor::systemBlueColor(), (NSColor{0, 122 / 255.0, 1, 1}));
  EXPECT_EQ(NSColor::systemOrangeColor(), (NSColor{1, 149 / 255.0, 0, 1}));
  EXPECT_EQ(NSColor::systemYellowColor(), (NSColor{1, 204 / 255.0, 0, 1}));
  EXPECT_EQ(NSColor::systemTealColor(), (NSColor{48 / 255.0, 176 / 255.0, 199 / 255.0, 1}));
  EXPECT_EQ(NSColor::systemIndigoColor(), (NSColor{88 / 255.0, 86 / 255.0, 214 / 255.0, 1}));
  EXPECT_EQ(NSColor::systemGrayColor(), (NSColor{142 / 255.0, 142 / 255.0, 147 / 255.0, 1}));
}

TEST(NSColor, BlendsAndChangesAlpha) {
  const NSColor red{1, 0, 0, 1};
  EXPECT_EQ(red.colorWithAlphaComponent(0.25), (NSColor{1, 0, 0, 0.25}));
  EXPECT_EQ(red.blendedColorWithFraction(0.25, {0, 1, 0, 0}), (NSColor{0.75, 0.25, 0, 0.75}));
  EXPECT_EQ(red.blendedColorWithFraction(0, NSColor::whiteColor()), red);
  EXPECT_EQ(red.blendedColorWithFraction(1, NSColor::whiteColor()), NSColor::whiteColor());
  EXPECT_EQ(red.colorUsingDeviceRGBColorSpace(), red);
}

TEST(NodeMetadata, FlagsAreBooleansOrNumbers) {
  const SCNNode::Pointer node = SCNNode::node();
  EXPECT_FALSE(metadataBool("flag", *node));
  node->ornolithMetadata =
      MetadataDictionary{{"true", true}, {"false", false}, {"one", std::int64_t{1}},     {"zero", std::int64_t{0}},
                         {"half", 0.5},  {"nothing", 0.0}, {"text", std::string("true")}};
  EXPECT_TRUE(metadataBool("true", *node));
  EXPECT_FALSE(metadataBool("false", *node));
  EXPECT_TRUE(metadataBool("one", *node));
  EXPECT_FALSE(metadataBool("zero", *node));
  EXPECT_TRUE(metadataBool("half", *node));
  EXPECT_FALSE(metadataBool("nothing", *node));
  EXPECT_FALSE(metadataBool("text", *node));
  EXPECT_FALSE(metadataBool("absent", *node));
}

TEST(NodeMetadata, TextsAreTextsOnly) {
  const SCNNode::Pointer node = SCNNode::node();
  EXPECT_EQ(metadataString(ornolithSourceNodeIDKey, *node), std::nullopt);
  node->ornolithMetadata = MetadataDictionary{
      {std::string(ornolithSourceNodeIDKey), std::string("fbx:3")}, {"empty", std::string()}, {"number", 3.0}};
  EXPECT_EQ(metadataString(ornolithSourceNodeIDKey, *node), "fbx:3");
  EXPECT_EQ(metadataString("empty", *node), "");
  EXPECT_EQ(metadataString("number", *node), std::nullopt);
  EXPECT_EQ(metadataString("absent", *node), std::nullopt);
}

TEST(SCNMaterial, ANewMaterialIsWhiteBlinnAndOpaque) {
  const SCNMaterial material;
  EXPECT_EQ(material.lightingModelName, SCNLightingModelBlinn);
  EXPECT_EQ(std::get<NSColor>(material.diffuse.contents), NSColor::whiteColor());
  EXPECT_EQ(std::get<NSColor>(material.specular.contents), NSColor::blackColor());
  EXPECT_EQ(std::get<NSColor>(material.emission.contents), NSColor::blackColor());
  EXPECT_EQ(std::get<NSColor>(material.transparent.contents), NSColor::whiteColor());
  EXPECT_EQ(std::get<NSColor>(material.ambientOcclusion.contents), NSColor::whiteColor());
  EXPECT_EQ(std::get<double>(material.roughness.contents), 0.5);
  EXPECT_EQ(std::get<double>(material.metalness.contents), 0.0);
  EXPECT_TRUE(std::holds_alternative<std::monostate>(material.normal.contents));
  EXPECT_EQ(material.transparency, 1);
  EXPECT_EQ(material.blendMode, SCNBlendMode::alpha);
  EXPECT_EQ(material.fillMode, SCNFillMode::fill);
  for (const SCNMaterialProperty* property :
       {&material.diffuse, &material.normal, &material.roughness, &material.metalness, &material.emission,
        &material.transparent, &material.specular, &material.ambientOcclusion}) {
    EXPECT_EQ(property->intensity, 1);
    EXPECT_EQ(property->contentsTransform, SCNMatrix4{});
    EXPECT_EQ(property->mappingChannel, 0);
    EXPECT_EQ(property->wrapS, SCNWrapMode::clamp);
    EXPECT_EQ(property->wrapT, SCNWrapMode::clamp);
  }
  EXPECT_FALSE(material.isDoubleSided);
  EXPECT_TRUE(material.readsFromDepthBuffer);
  EXPECT_TRUE(material.writesToDepthBuffer);
}

TEST(SCNMaterial, ACopyIsAnotherObjectWithTheSameValues) {
  SCNMaterial material;
  material.name = "steel";
  material.metalness.contents = 1.0;
  const auto copy = material.copy();
  copy->metalness.contents = 0.0;
  EXPECT_EQ(copy->name, "steel");
  EXPECT_EQ(std::get<double>(material.metalness.contents), 1.0);
}

TEST(SCNMaterial, ImagesArePathsUrlsAndImages) {
  EXPECT_FALSE(holdsImage({}));
  EXPECT_FALSE(holdsImage(NSColor::whiteColor()));
  EXPECT_FALSE(holdsImage(0.5));
  EXPECT_TRUE(holdsImage(std::string("/a.png")));
  EXPECT_TRUE(holdsImage(FileURL("/a.png")));
  EXPECT_TRUE(holdsImage(std::make_shared<const Image>()));
}

TEST(SCNMaterial, ModesHaveThePlatformsNumbers) {
  EXPECT_EQ(static_cast<int>(SCNBlendMode::alpha), 0);
  EXPECT_EQ(static_cast<int>(SCNBlendMode::replace), 5);
  EXPECT_EQ(static_cast<int>(SCNFillMode::lines), 1);
  EXPECT_EQ(static_cast<int>(SCNWrapMode::clamp), 1);
  EXPECT_EQ(static_cast<int>(SCNWrapMode::repeat), 2);
}

TEST(SCNLight, ANewLightIsWhiteAndNeutral) {
  const auto light = SCNLight::light();
  EXPECT_EQ(light->color, NSColor::whiteColor());
  EXPECT_EQ(light->intensity, 1000);
}

TEST(SCNCamera, ANewCameraIsPerspective) {
  EXPECT_FALSE(SCNCamera::camera()->usesOrthographicProjection);
}

TEST(SCNScene, KeepsAttributesByKey) {
  SCNScene scene;
  EXPECT_EQ(scene.attributeForKey(SCNSceneUpAxisAttributeKey), std::nullopt);
  scene.setAttribute(SCNVector3{0, 0, 1}, SCNSceneUpAxisAttributeKey);
  EXPECT_EQ(scene.attributeForKey(SCNSceneUpAxisAttributeKey), SCNSceneAttribute(SCNVector3{0, 0, 1}));
  scene.setAttribute(2.0, SCNSceneUpAxisAttributeKey);
  EXPECT_EQ(scene.attributeForKey(SCNSceneUpAxisAttributeKey), SCNSceneAttribute(2.0));
}

}  // namespace
}  // namespace ornolith
