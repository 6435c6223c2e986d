#include <gmock/gmock.h>
#include <ufbx.h>

#include <limits>
#include <string>

#include "loaders/fbx/FbxMaterials.h"
#include "loaders_fbx/FbxTestSupport.h"

namespace ornolith::test {
namespace {

using ::testing::ElementsAre;
using ::testing::IsEmpty;
using ::testing::SizeIs;

NSColor colorOf(const SCNMaterialProperty& property) {
  return std::get<NSColor>(property.contents);
}
NSColor opaque(double red, double green, double blue) {
  return {.red = red, .green = green, .blue = blue, .alpha = 1};
}

TEST(FbxMaterials, ADiffuseColorIsShownWithoutFallback) {
  const auto result = load(OneMaterial(colorProperty("DiffuseColor", 0.25, 0.5, 0.75)).script);
  const SCNMaterial& material = firstMaterialOf(result);
  EXPECT_EQ(colorOf(material.diffuse), opaque(0.25, 0.5, 0.75));
  EXPECT_EQ(material.blendMode, SCNMaterial().blendMode);
  EXPECT_TRUE(material.isDoubleSided);
  EXPECT_FALSE(result.usedMaterialFallback);
  EXPECT_THAT(result.diagnostics, IsEmpty());
}

TEST(FbxMaterials, OpacityOneLeavesTheBlendModeAlone) {
  const auto result =
      load(OneMaterial(colorProperty("DiffuseColor", 1, 1, 1) + numberProperty("TransparencyFactor", 0)).script);
  EXPECT_EQ(firstMaterialOf(result).blendMode, SCNMaterial().blendMode);
  EXPECT_EQ(firstMaterialOf(result).transparency, 1);
}

double transparencyOf(std::string_view properties) {
  return firstMaterialOf(load(OneMaterial(properties).script)).transparency;
}

TEST(FbxMaterials, TransparencyIsTheProductOfColorAndFactor) {
  // The most common exporter writes this for an opaque material.
  EXPECT_EQ(transparencyOf(colorProperty("TransparentColor", 0, 0, 0) + numberProperty("TransparencyFactor", 1)), 1);
  EXPECT_EQ(transparencyOf(colorProperty("TransparentColor", 1, 1, 1) + numberProperty("TransparencyFactor", 0.25)),
            0.75);
  EXPECT_EQ(
      transparencyOf(colorProperty("TransparentColor", 0.75, 0.5, 0.25) + numberProperty("TransparencyFactor", 0.5)),
      0.75);
  // Each part is clamped first.
  EXPECT_EQ(transparencyOf(colorProperty("TransparentColor", 3, 0, -3) + numberProperty("TransparencyFactor", 9)),
            1 - 1.0 / 3);
}

TEST(FbxMaterials, AFactorAloneCountsTransparency) {
  EXPECT_EQ(transparencyOf(numberProperty("TransparencyFactor", 0.25)), 0.75);
  EXPECT_EQ(transparencyOf(numberProperty("TransparencyFactor", 7)), 0);
  EXPECT_EQ(transparencyOf(numberProperty("TransparencyFactor", -7)), 1);
}

TEST(FbxMaterials, SeeThroughMaterialsBlend) {
  const auto result =
      load(OneMaterial(numberProperty("TransparencyFactor", 0.25) + colorProperty("DiffuseColor", 1, 0, 0)).script);
  EXPECT_EQ(firstMaterialOf(result).blendMode, SCNBlendMode::alpha);
}

TEST(FbxMaterials, EmissionGlowsByItsFactor) {
  const auto lit =
      load(OneMaterial(colorProperty("EmissiveColor", 1, 0.5, 0) + numberProperty("EmissiveFactor", 0.5)).script);
  EXPECT_EQ(colorOf(firstMaterialOf(lit).emission), opaque(1, 0.5, 0));
  EXPECT_EQ(firstMaterialOf(lit).emission.intensity, 0.5);
  const auto dark =
      load(OneMaterial(colorProperty("EmissiveColor", 1, 0.5, 0) + numberProperty("EmissiveFactor", 0)).script);
  EXPECT_EQ(colorOf(firstMaterialOf(dark).emission), colorOf(SCNMaterial().emission));
  EXPECT_EQ(firstMaterialOf(dark).emission.intensity, 1);
}

TEST(FbxMaterials, SpecularColorIsTaken) {
  const auto result = load(OneMaterial(colorProperty("SpecularColor", 0.5, 0.25, 0.125)).script);
  EXPECT_EQ(colorOf(firstMaterialOf(result).specular), opaque(0.5, 0.25, 0.125));
}

/// The material of a hand-made record, for the values that only some exporters' shaders have.
FbxMappedMaterial mapped(const ufbx_material& source) {
  FbxConversion conversion(FileURL("/nowhere/model.fbx"), {}, 0);
  return mapMaterial(&source, ufbx_mesh{}, conversion, nullptr);
}

void state(ufbx_material_map& map, double x, double y = 0, double z = 0, double w = 0) {
  map.has_value = true;
  map.value_vec4 = {{{x, y, z, w}}};
}

TEST(FbxMaterials, RoughnessAndMetalnessAreNumbersInsideZeroAndOne) {
  ufbx_material source{};
  state(source.pbr.roughness, 7);
  state(source.pbr.metalness, 0.5);
  const auto inside = mapped(source);
  EXPECT_EQ(std::get<double>(inside.material->roughness.contents), 1);
  EXPECT_EQ(std::get<double>(inside.material->metalness.contents), 0.5);
  state(source.pbr.roughness, std::numeric_limits<double>::quiet_NaN());
  state(source.pbr.metalness, -1);
  const auto damaged = mapped(source);
  EXPECT_EQ(std::get<double>(damaged.material->roughness.contents), 0);
  EXPECT_EQ(std::get<double>(damaged.material->metalness.contents), 0);
}

TEST(FbxMaterials, APhysicalBaseColorKeepsItsAlphaAndCountsFirst) {
  ufbx_material source{};
  state(source.pbr.base_color, 0.1, 0.2, 0.3, 0.4);
  state(source.fbx.diffuse_color, 1, 1, 1);
  const auto result = mapped(source);
  EXPECT_EQ(colorOf(result.material->diffuse), (NSColor{.red = 0.1, .green = 0.2, .blue = 0.3, .alpha = 0.4}));
  EXPECT_FALSE(result.usedFallback);
  source.pbr.base_color.has_value = false;
  EXPECT_EQ(colorOf(mapped(source).material->diffuse), opaque(1, 1, 1));
}

TEST(FbxMaterials, APhysicalOpacityCountsBeforeTheLegacyPair) {
  ufbx_material source{};
  state(source.pbr.opacity, 0.25);
  state(source.fbx.transparency_factor, 0);
  EXPECT_EQ(mapped(source).material->transparency, 0.25);
  EXPECT_EQ(mapped(source).material->blendMode, SCNBlendMode::alpha);
  state(source.pbr.opacity, -4);
  EXPECT_EQ(mapped(source).material->transparency, 0);
}

TEST(FbxMaterials, ATransparencyColorAloneCountsItsMean) {
  ufbx_material source{};
  state(source.fbx.transparency_color, 0.75, 0.5, 9);
  EXPECT_EQ(mapped(source).material->transparency, 0.25);
}

TEST(FbxMaterials, PhysicalEmissionCountsWhereItHasAFactor) {
  ufbx_material source{};
  state(source.fbx.emission_factor, 3);
  state(source.fbx.emission_color, 1, 0, 0);
  EXPECT_EQ(mapped(source).material->emission.intensity, 3);
  EXPECT_EQ(colorOf(mapped(source).material->emission), opaque(1, 0, 0));
  state(source.pbr.emission_factor, 0.5);
  state(source.pbr.emission_color, 0, 1, 0);
  EXPECT_EQ(mapped(source).material->emission.intensity, 0.5);
  EXPECT_EQ(colorOf(mapped(source).material->emission), opaque(0, 1, 0));
}

TEST(FbxMaterials, AMaterialWithNoColorAtAllShowsTheNeutralOne) {
  OneMaterial bare("");
  const auto result = load(bare.script);
  const SCNMaterial& material = firstMaterialOf(result);
  EXPECT_EQ(colorOf(material.diffuse), opaque(0.65, 0.65, 0.65));
  EXPECT_EQ(material.blendMode, SCNBlendMode::replace);
  EXPECT_TRUE(result.usedMaterialFallback);
}

// Textures.

std::string pathOf(const SCNMaterialProperty& property) {
  const auto* path = std::get_if<std::string>(&property.contents);
  return path != nullptr ? *path : "";
}
std::shared_ptr<const Image> imageOf(const SCNMaterialProperty& property) {
  const auto* image = std::get_if<std::shared_ptr<const Image>>(&property.contents);
  return image != nullptr ? *image : nullptr;
}

TEST(FbxTextures, EverySlotTakesItsTexture) {
  const TemporaryFolder folder;
  folder.makeFile("a.png", "x");
  OneMaterial model(numberProperty("EmissiveFactor", 1) + colorProperty("EmissiveColor", 1, 1, 1));
  for (const char* property : {"DiffuseColor", "NormalMap", "EmissiveColor", "SpecularColor"}) {
    model.addTexture(property, "RelativeFilename: \"a.png\"\n");
  }
  const auto result = load(model.script, folder);
  const SCNMaterial& material = firstMaterialOf(result);
  const std::string path = folder.path() + "/a.png";
  EXPECT_EQ(pathOf(material.diffuse), path);
  EXPECT_EQ(pathOf(material.normal), path);
  EXPECT_EQ(pathOf(material.emission), path);
  EXPECT_EQ(pathOf(material.specular), path);
  EXPECT_EQ(pathOf(material.ambientOcclusion), "");
  EXPECT_EQ(pathOf(material.transparent), "");
  EXPECT_THAT(result.diagnostics, IsEmpty());
  EXPECT_FALSE(result.usedMaterialFallback);
}

TEST(FbxTextures, BumpStandsInForANormalMap) {
  const TemporaryFolder folder;
  folder.makeFile("a.png", "x");
  OneMaterial model("");
  model.addTexture("Bump", "RelativeFilename: \"a.png\"\n");
  EXPECT_EQ(pathOf(firstMaterialOf(load(model.script, folder)).normal), folder.path() + "/a.png");
}

TEST(FbxTextures, WrappingIsRepeatUnlessTheFileSaysClamp) {
  const TemporaryFolder folder;
  folder.makeFile("a.png", "x");
  OneMaterial model("");
  model.addTexture("DiffuseColor", "RelativeFilename: \"a.png\"\n", "P: \"WrapModeV\", \"enum\", \"\", \"\",1\n");
  const auto result = load(model.script, folder);
  EXPECT_EQ(firstMaterialOf(result).diffuse.wrapS, SCNWrapMode::repeat);
  EXPECT_EQ(firstMaterialOf(result).diffuse.wrapT, SCNWrapMode::clamp);
}

int channelFor(std::string_view set) {
  const TemporaryFolder folder;
  folder.makeFile("a.png", "x");
  FbxMesh mesh = FbxMesh::triangle();
  mesh.uvSets = {{0, 0, 1, 0, 0, 1}, {0, 0, 1, 0, 0, 1}};
  OneMaterial model("", mesh);
  model.addTexture("DiffuseColor", "RelativeFilename: \"a.png\"\n",
                   "P: \"UVSet\", \"KString\", \"\", \"\", \"" + std::string(set) + "\"\n");
  const auto result = load(model.script, folder);
  EXPECT_THAT(result.diagnostics, IsEmpty());
  return firstMaterialOf(result).diffuse.mappingChannel;
}

TEST(FbxTextures, TheChannelIsThatOfTheNamedSet) {
  EXPECT_EQ(channelFor("UV0"), 0);
  EXPECT_EQ(channelFor("UV1"), 1);
  EXPECT_EQ(channelFor("Nowhere"), 0);
  EXPECT_EQ(channelFor(""), 0);
}

TEST(FbxTextures, TheTransformIsThatFromCoordinatesToTexture) {
  const TemporaryFolder folder;
  folder.makeFile("a.png", "x");
  OneMaterial model("");
  model.addTexture("DiffuseColor", "RelativeFilename: \"a.png\"\n",
                   "P: \"Translation\", \"Vector\", \"\", \"A\",0.5,0.25,0\n"
                   "P: \"Scaling\", \"Vector\", \"\", \"A\",2,4,1\n");
  const auto result = load(model.script, folder);
  const ufbx_texture& texture = *result.animationPlayer->scene().textures[0];
  ASSERT_TRUE(texture.has_uv_transform);
  const SCNMatrix4& transform = firstMaterialOf(result).diffuse.contentsTransform;
  EXPECT_EQ(transform.columns[0], (Vector4<double>{texture.uv_to_texture.m00, texture.uv_to_texture.m10, 0, 0}));
  EXPECT_EQ(transform.columns[1], (Vector4<double>{texture.uv_to_texture.m01, texture.uv_to_texture.m11, 0, 0}));
  EXPECT_EQ(transform.columns[2], (Vector4<double>{0, 0, 1, 0}));
  EXPECT_EQ(transform.columns[3], (Vector4<double>{texture.uv_to_texture.m03, texture.uv_to_texture.m13, 0, 1}));
  EXPECT_NE(transform, SCNMatrix4());
}

TEST(FbxTextures, AnEmbeddedImageIsShownAndDecodedOnce) {
  FbxScript script;
  const std::vector<std::byte> png = smallPNG();
  for (int part = 0; part < 3; ++part) {
    const auto node = script.model("Part", "Mesh");
    const auto material = script.material("Paint");
    // The third has the same bytes in another clip.
    script.connect(node, FbxScript::root);
    script.connect(script.geometry(FbxMesh::triangle()), node);
    script.connect(material, node);
    const auto texture = script.texture("Skin", "");
    script.connect(texture, material, "DiffuseColor");
    script.connect(script.video(png), texture);
  }
  const auto result = load(script);
  const auto nodes = meshNodes(result);
  ASSERT_EQ(nodes.size(), 3u);
  const auto first = imageOf(nodes[0]->geometry->materials()[0]->diffuse);
  ASSERT_NE(first, nullptr);
  EXPECT_EQ(first->width, 2u);
  EXPECT_EQ(first->pixels[0], 200);
  EXPECT_EQ(imageOf(nodes[1]->geometry->materials()[0]->diffuse), first);
  EXPECT_EQ(imageOf(nodes[2]->geometry->materials()[0]->diffuse), first);
  EXPECT_THAT(result.diagnostics, IsEmpty());
}

/// A model whose diffuse texture holds bytes that are no image, and names `file`.
FbxScript damagedEmbedding(std::string_view file) {
  OneMaterial model("");
  const auto texture = model.addTexture("DiffuseColor", "RelativeFilename: \"" + std::string(file) + "\"\n");
  model.script.connect(model.script.video(bytesOf("this is no image at all")), texture);
  return model.script;
}

TEST(FbxTextures, AFileStandsInForAnEmbeddedImageThatDoesNotDecode) {
  const TemporaryFolder folder;
  folder.makeFile("a.png", "x");
  const auto result = load(damagedEmbedding("a.png"), folder);
  EXPECT_EQ(pathOf(firstMaterialOf(result).diffuse), folder.path() + "/a.png");
  EXPECT_THAT(result.diagnostics, IsEmpty());
}

TEST(FbxTextures, MessagesSayWhyATextureWasNotLoaded) {
  EXPECT_THAT(load(damagedEmbedding("a.png")).diagnostics,
              ElementsAre("FBX material 'Paint' BaseColor texture 'Skin' was not loaded: embedded image data could not "
                          "be decoded."));
  OneMaterial missing(colorProperty("DiffuseColor", 1, 0, 0));
  missing.addTexture("DiffuseColor", "RelativeFilename: \"a.png\"\n");
  const auto result = load(missing.script);
  EXPECT_THAT(
      result.diagnostics,
      ElementsAre("FBX material 'Paint' BaseColor texture 'Skin' was not loaded: image data or an external file "
                  "could not be resolved."));
  EXPECT_EQ(colorOf(firstMaterialOf(result).diffuse), opaque(1, 0, 0));
  EXPECT_FALSE(result.usedMaterialFallback);
}

TEST(FbxTextures, NamelessMaterialsAndTexturesAreCalledSo) {
  OneMaterial model("", FbxMesh::triangle(), "");
  model.addTexture("DiffuseColor", "RelativeFilename: \"deep/a.png\"\n", "", "");
  EXPECT_THAT(load(model.script).diagnostics,
              ElementsAre("FBX material 'unnamed material' BaseColor texture 'a.png' was not loaded: image data or an "
                          "external file could not be resolved."));
  OneMaterial empty("", FbxMesh::triangle(), "");
  empty.addTexture("DiffuseColor", "", "", "");
  EXPECT_THAT(load(empty.script).diagnostics,
              ElementsAre("FBX material 'unnamed material' BaseColor texture 'unnamed texture' was not loaded: image "
                          "data or an external file could not be resolved."));
}

TEST(FbxTextures, ALayeredTextureIsShownByItsFileWithAMessage) {
  const TemporaryFolder folder;
  folder.makeFile("a.png", "x");
  OneMaterial model("");
  const auto layered = model.script.object("LayeredTexture", "Layers", "",
                                           "LayeredTexture: 101\nBlendModes: *1 {\na: 0\n}\nAlphas: *1 {\na: 1\n}\n");
  model.script.connect(layered, model.material, "DiffuseColor");
  model.script.connect(model.script.texture("Skin", "RelativeFilename: \"a.png\"\n"), layered);
  const auto result = load(model.script, folder);
  EXPECT_EQ(pathOf(firstMaterialOf(result).diffuse), folder.path() + "/a.png");
  EXPECT_THAT(result.diagnostics,
              ElementsAre("FBX material 'Paint' BaseColor uses a layered or procedural texture; the "
                          "representative file texture is rendered."));
}

TEST(FbxTextures, ATextureOfAnotherSlotStandsInForTheBaseColor) {
  const TemporaryFolder folder;
  folder.makeFile("a.png", "x");
  OneMaterial model("");
  model.addTexture("SpecularColor", "RelativeFilename: \"a.png\"\n");
  EXPECT_EQ(pathOf(firstMaterialOf(load(model.script, folder)).diffuse), folder.path() + "/a.png");
}

}  // namespace
}  // namespace ornolith::test
