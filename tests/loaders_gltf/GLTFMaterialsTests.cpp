#include <gtest/gtest.h>

#include <cmath>

#include "GLTFParsedDocument.h"
#include "imaging/Color.h"
#include "imaging/PNGEncoder.h"
#include "loaders/gltf/GLTFMaterials.h"
#include "loaders/gltf/GLTFSpecularGlossiness.h"

namespace ornolith {
namespace {

/// A document of materials with textures 0 to 2, each of an image of its own, a WebP pretender among them.
class GLTFMaterialsTest : public ::testing::Test {
 protected:
  /// `images` are the pixels of the images 0, 1 and 2, each of one pixel unless a test says otherwise.
  void read(const std::string& materials, const std::string& textures = plainTextures,
            const std::vector<Image>& images = {Image{1, 1, {200, 100, 50, 255}}, Image{1, 1, {255, 128, 64, 128}},
                                                Image{1, 1, {1, 2, 3, 4}}}) {
    std::vector<std::byte> chunk;
    std::string views;
    std::string list;
    for (const Image& image : images) {
      const std::vector<std::byte> png = encodePNG(image);
      if (!views.empty()) views += ", ";
      if (!list.empty()) list += ", ";
      list += R"({"bufferView": )" + std::to_string(&image - images.data()) + "}";
      views += R"({"buffer": 0, "byteOffset": )" + std::to_string(chunk.size()) + R"(, "byteLength": )" +
               std::to_string(png.size()) + "}";
      chunk.insert(chunk.end(), png.begin(), png.end());
    }
    document = std::make_unique<GLTFParsedDocument>(
        R"("buffers": [{"byteLength": )" + std::to_string(chunk.size()) + R"(}], "bufferViews": [)" + views +
            R"(], "images": [)" + list + R"(], "samplers": [)" + firstSampler +
            R"(, {"wrapS": 33071, "wrapT": 33648}, {"wrapS": 10497, "wrapT": 33071, "minFilter": 9728}],
               "textures": )" +
            textures + R"(, "materials": )" + materials,
        chunk);
  }
  SCNMaterial& material(std::uint32_t index = 0) { return *document->materials.material(index); }
  const SCNMaterialContents& image(std::size_t index) { return document->images.contents(index); }

  static constexpr const char* plainTextures = R"([{"source": 0}, {"source": 1}, {"source": 2}])";
  std::unique_ptr<GLTFParsedDocument> document;
  std::string firstSampler = "{}";
};

NSColor colorIn(const SCNMaterialProperty& property) {
  const NSColor* color = std::get_if<NSColor>(&property.contents);
  return color != nullptr ? *color : NSColor{-1, -1, -1, -1};
}

double numberIn(const SCNMaterialProperty& property) {
  const double* number = std::get_if<double>(&property.contents);
  return number != nullptr ? *number : -1;
}

/// The colour of a linear one, as far as floats tell.
void expectLinear(const NSColor& color, double red, double green, double blue, double alpha) {
  EXPECT_NEAR(linearFromSRGB(static_cast<float>(color.red)), red, 1e-6);
  EXPECT_NEAR(linearFromSRGB(static_cast<float>(color.green)), green, 1e-6);
  EXPECT_NEAR(linearFromSRGB(static_cast<float>(color.blue)), blue, 1e-6);
  EXPECT_NEAR(color.alpha, alpha, 1e-6);
}

TEST_F(GLTFMaterialsTest, ThatAreMissingAreTheDefaultMaterial) {
  read("[]");
  for (const auto index : {std::optional<std::uint32_t>(), std::optional<std::uint32_t>(5)}) {
    const auto made = document->materials.material(index);
    EXPECT_EQ(colorIn(made->diffuse), NSColor::whiteColor());
    EXPECT_EQ(numberIn(made->metalness), 1);
    EXPECT_EQ(numberIn(made->roughness), 1);
    EXPECT_EQ(colorIn(made->emission), NSColor::blackColor());
    EXPECT_EQ(made->lightingModelName, SCNLightingModelPhysicallyBased);
    EXPECT_EQ(made->alphaMode, SCNAlphaMode::opaque);
    EXPECT_FALSE(made->isDoubleSided);
    EXPECT_EQ(made, document->materials.material(std::nullopt));
  }
}

TEST_F(GLTFMaterialsTest, AreSharedByTheirUsers) {
  read(R"([{"name": "Tin"}, {}])");
  EXPECT_EQ(document->materials.material(0), document->materials.material(0));
  EXPECT_NE(document->materials.material(0), document->materials.material(1));
  EXPECT_EQ(material().name, "Tin");
}

TEST_F(GLTFMaterialsTest, ShowLinearFactorsAsColours) {
  read(
      R"([{"doubleSided": true, "pbrMetallicRoughness": {"baseColorFactor": [0.5, 0.25, 1, 0.75], "metallicFactor": 0.25,
       "roughnessFactor": 0.125}, "emissiveFactor": [0, 0.5, 2]}])");
  expectLinear(colorIn(material().diffuse), 0.5, 0.25, 1, 0.75);
  EXPECT_EQ(numberIn(material().metalness), 0.25);
  EXPECT_EQ(numberIn(material().roughness), 0.125);
  expectLinear(colorIn(material().emission), 0, 0.5, 1, 1);
  EXPECT_TRUE(material().isDoubleSided);
}

TEST_F(GLTFMaterialsTest, MultiplyTexturesByFactors) {
  read(R"([{"pbrMetallicRoughness": {"baseColorTexture": {"index": 0}, "baseColorFactor": [0.5, 2, 0, 0.25],
       "metallicRoughnessTexture": {"index": 1}, "metallicFactor": 0.5, "roughnessFactor": 0.75},
       "normalTexture": {"index": 2, "scale": 0.5}, "occlusionTexture": {"index": 1, "strength": 0.25},
       "emissiveTexture": {"index": 0}, "emissiveFactor": [1, 0.5, 0.25],
       "extensions": {"KHR_materials_emissive_strength": {"emissiveStrength": 3}}}])");
  const SCNMaterial& made = material();
  EXPECT_EQ(made.diffuse.contents, image(0));
  EXPECT_EQ(made.diffuse.factor, (simd_float4{0.5F, 2, 0, 0.25F}));
  EXPECT_EQ(made.metalness.contents, image(1));
  EXPECT_EQ(made.metalness.textureComponents, SCNColorMask::blue);
  EXPECT_EQ(made.metalness.factor.x, 0.5F);
  EXPECT_EQ(made.roughness.contents, image(1));
  EXPECT_EQ(made.roughness.textureComponents, SCNColorMask::green);
  EXPECT_EQ(made.roughness.factor.x, 0.75F);
  EXPECT_EQ(made.normal.contents, image(2));
  EXPECT_EQ(made.normal.intensity, 0.5);
  EXPECT_EQ(made.ambientOcclusion.contents, image(1));
  EXPECT_EQ(made.ambientOcclusion.textureComponents, SCNColorMask::red);
  EXPECT_EQ(made.ambientOcclusion.intensity, 0.25);
  EXPECT_EQ(made.emission.contents, image(0));
  EXPECT_EQ(made.emission.factor, (simd_float4{1, 0.5F, 0.25F, 1}));
  EXPECT_EQ(made.emission.intensity, 3);
}

TEST_F(GLTFMaterialsTest, DoNotLoadATextureOfLightThatIsOff) {
  read(R"([{"emissiveTexture": {"index": 0}}])");
  EXPECT_EQ(colorIn(material().emission), NSColor::blackColor());
}

TEST_F(GLTFMaterialsTest, ShowFactorsWhereTexturesAreMissing) {
  read(R"([{"pbrMetallicRoughness": {"baseColorTexture": {"index": 9}, "baseColorFactor": [1, 0, 0, 1],
       "metallicRoughnessTexture": {"index": 0}, "metallicFactor": 0.5}, "normalTexture": {"index": 1},
       "occlusionTexture": {"index": "0"}}])",
       R"([{"source": 7}, {}])");
  expectLinear(colorIn(material().diffuse), 1, 0, 0, 1);
  EXPECT_EQ(numberIn(material().metalness), 0.5);
  EXPECT_FALSE(holdsImage(material().normal.contents));
  EXPECT_FALSE(holdsImage(material().ambientOcclusion.contents));
}

TEST_F(GLTFMaterialsTest, TakeValuesOfTheWrongTypeAsAbsent) {
  read(
      R"([{"name": 3, "doubleSided": "yes", "pbrMetallicRoughness": {"baseColorFactor": [1, 0, 0], "metallicFactor": "0",
       "roughnessFactor": null}, "emissiveFactor": [1, 1, "1"], "alphaMode": 4, "extensions": []}, 17, null, "text"])");
  for (std::uint32_t index = 0; index < 4; ++index) {
    EXPECT_EQ(colorIn(material(index).diffuse), NSColor::whiteColor()) << index;
    EXPECT_EQ(numberIn(material(index).metalness), 1);
    EXPECT_EQ(numberIn(material(index).roughness), 1);
    EXPECT_EQ(colorIn(material(index).emission), NSColor::blackColor());
    EXPECT_EQ(material(index).alphaMode, SCNAlphaMode::opaque);
    EXPECT_FALSE(material(index).isDoubleSided);
    EXPECT_EQ(document->materials.normalMapping(index), std::nullopt);
  }
}

TEST_F(GLTFMaterialsTest, HoldValuesThatAreOutOfRange) {
  read(
      R"([{"pbrMetallicRoughness": {"baseColorFactor": [-1, 1e300, 0.5, 7], "metallicFactor": -3, "roughnessFactor": 8},
       "occlusionTexture": {"index": 0, "strength": 9}, "alphaMode": "MASK", "alphaCutoff": -2}])");
  expectLinear(colorIn(material().diffuse), 0, 1, 0.5, 1);
  EXPECT_EQ(numberIn(material().metalness), 0);
  EXPECT_EQ(numberIn(material().roughness), 1);
  EXPECT_EQ(material().ambientOcclusion.intensity, 1);
  EXPECT_EQ(material().alphaCutoff, 0);
}

TEST_F(GLTFMaterialsTest, HaveThreeWaysWithAlpha) {
  read(
      R"([{"alphaMode": "OPAQUE", "alphaCutoff": 0.3}, {"alphaMode": "MASK"}, {"alphaMode": "MASK", "alphaCutoff": 0.25},
       {"alphaMode": "BLEND"}, {"alphaMode": "MASK", "alphaCutoff": 1.5}, {"alphaMode": "MASK", "alphaCutoff": 0}])");
  EXPECT_EQ(material(0).alphaMode, SCNAlphaMode::opaque);
  EXPECT_EQ(material(1).alphaMode, SCNAlphaMode::mask);
  EXPECT_EQ(material(1).alphaCutoff, 0.5);
  EXPECT_EQ(material(2).alphaCutoff, 0.25);
  EXPECT_EQ(material(3).alphaMode, SCNAlphaMode::blend);
  EXPECT_EQ(material(3).transparency, 1);
  EXPECT_EQ(material(4).transparency, 0) << "no alpha reaches the cutoff";
  EXPECT_EQ(material(5).alphaMode, SCNAlphaMode::opaque) << "every alpha reaches the cutoff";
}

TEST_F(GLTFMaterialsTest, BlendWhereVertexColoursAreTransparent) {
  read(R"([{"alphaMode": "BLEND"}, {}])");
  const auto plain = document->materials.material(0);
  const auto seeThrough = document->materials.material(0, {.hasTransparentVertices = true});
  EXPECT_EQ(plain->transparency, 1);
  EXPECT_LT(static_cast<float>(seeThrough->transparency), 1);
  EXPECT_EQ(static_cast<int>(static_cast<float>(seeThrough->transparency) * 255 + 0.5F), 255);
  EXPECT_EQ(document->materials.material(1, {.hasTransparentVertices = true})->transparency, 1);
}

TEST_F(GLTFMaterialsTest, TakeWrapModesFromSamplers) {
  read(R"([{"pbrMetallicRoughness": {"baseColorTexture": {"index": 0}, "metallicRoughnessTexture": {"index": 1}},
       "normalTexture": {"index": 2}, "occlusionTexture": {"index": 3}}])",
       R"([{"source": 0}, {"source": 1, "sampler": 1}, {"source": 2, "sampler": 2}, {"source": 0, "sampler": 66}])");
  EXPECT_EQ(material().diffuse.wrapS, SCNWrapMode::repeat);
  EXPECT_EQ(material().diffuse.wrapT, SCNWrapMode::repeat);
  EXPECT_EQ(material().roughness.wrapS, SCNWrapMode::clamp);
  EXPECT_EQ(material().roughness.wrapT, SCNWrapMode::mirror);
  EXPECT_EQ(material().normal.wrapS, SCNWrapMode::repeat);
  EXPECT_EQ(material().normal.wrapT, SCNWrapMode::clamp);
  EXPECT_EQ(material().ambientOcclusion.wrapS, SCNWrapMode::repeat);
}

TEST_F(GLTFMaterialsTest, TakeFiltersFromSamplers) {
  using enum SCNFilterMode;
  struct Case {
    std::string sampler;
    SCNFilterMode magnification, minification, mip;
  };
  for (const Case& each :
       {Case{"", linear, linear, linear}, Case{R"("magFilter": 9728)", nearest, linear, linear},
        Case{R"("magFilter": 9729, "minFilter": 9728)", linear, nearest, none},
        Case{R"("minFilter": 9729)", linear, linear, none}, Case{R"("minFilter": 9984)", linear, nearest, nearest},
        Case{R"("minFilter": 9985)", linear, linear, nearest}, Case{R"("minFilter": 9986)", linear, nearest, linear},
        Case{R"("minFilter": 9987)", linear, linear, linear},
        Case{R"("magFilter": 9984, "minFilter": 3)", linear, linear, linear},
        Case{R"("magFilter": "nearest", "minFilter": -1)", linear, linear, linear}}) {
    firstSampler = "{" + each.sampler + "}";
    read(R"([{"pbrMetallicRoughness": {"baseColorTexture": {"index": 0}}}])", R"([{"source": 0, "sampler": 0}])");
    EXPECT_EQ(material().diffuse.magnificationFilter, each.magnification) << each.sampler;
    EXPECT_EQ(material().diffuse.minificationFilter, each.minification) << each.sampler;
    EXPECT_EQ(material().diffuse.mipFilter, each.mip) << each.sampler;
  }
}

TEST_F(GLTFMaterialsTest, TakeTheSetOfTextureCoordinatesFromTheTransformFirst) {
  read(R"([{"pbrMetallicRoughness": {"baseColorTexture": {"index": 0, "texCoord": 1}}, "normalTexture": {"index": 0,
       "texCoord": 1, "extensions": {"KHR_texture_transform": {"texCoord": 3}}}, "occlusionTexture": {"index": 0,
       "extensions": {"KHR_texture_transform": {"offset": [0.25, 0.5]}}, "texCoord": 2}}, {},
       {"normalTexture": {"index": 0, "texCoord": 4000000000}}])");
  EXPECT_EQ(material().diffuse.mappingChannel, 1);
  EXPECT_EQ(material().normal.mappingChannel, 3);
  EXPECT_EQ(material().ambientOcclusion.mappingChannel, 2);
  EXPECT_EQ(document->materials.normalMapping(0)->texcoordSet, 3U);
  EXPECT_EQ(material(2).normal.mappingChannel, 255);
}

TEST_F(GLTFMaterialsTest, TransformTexturesByScaleThenRotationThenOffset) {
  read(R"([{"pbrMetallicRoughness": {"baseColorTexture": {"index": 0, "extensions": {"KHR_texture_transform":
       {"offset": [0.25, 0.5], "rotation": 0.5, "scale": [2, 3]}}}}}])");
  const SCNMatrix4& m = material().diffuse.contentsTransform;
  const auto place = [&](double u, double v) { return m * simd_double4{u, v, 0, 1}; };
  const double c = std::cos(0.5);
  const double s = std::sin(0.5);
  EXPECT_NEAR(place(0, 0).x, 0.25, 1e-12);
  EXPECT_NEAR(place(0, 0).y, 0.5, 1e-12);
  EXPECT_NEAR(place(1, 0).x, 0.25 + 2 * c, 1e-12);
  EXPECT_NEAR(place(1, 0).y, 0.5 - 2 * s, 1e-12);
  EXPECT_NEAR(place(0, 1).x, 0.25 + 3 * s, 1e-12);
  EXPECT_NEAR(place(0, 1).y, 0.5 + 3 * c, 1e-12);
}

TEST_F(GLTFMaterialsTest, PreferTheWebPFormOfATexture) {
  read(R"([{"pbrMetallicRoughness": {"baseColorTexture": {"index": 0}, "metallicRoughnessTexture": {"index": 1}},
       "normalTexture": {"index": 2}}])",
       R"([{"source": 0, "extensions": {"EXT_texture_webp": {"source": 1}}},
           {"source": 0, "extensions": {"EXT_texture_webp": {"source": 77}}},
           {"extensions": {"EXT_texture_webp": {"source": 2}}}])");
  EXPECT_EQ(material().diffuse.contents, image(1));
  EXPECT_EQ(material().roughness.contents, image(0));
  EXPECT_EQ(material().normal.contents, image(2));
}

TEST_F(GLTFMaterialsTest, WithoutLightShowTheirColourAlone) {
  read(R"([{"pbrMetallicRoughness": {"baseColorFactor": [1, 0, 0, 1]}, "normalTexture": {"index": 0},
       "emissiveFactor": [1, 1, 1], "extensions": {"KHR_materials_unlit": {}}}, {}])");
  const auto unlit = document->materials.material(0);
  EXPECT_EQ(unlit->lightingModelName, SCNLightingModelConstant);
  EXPECT_EQ(colorIn(unlit->emission), NSColor::blackColor());
  EXPECT_EQ(document->materials.normalMapping(0), std::nullopt);
  const auto lit = document->materials.material(1);
  const auto line = document->materials.material(1, {.isUnlit = true});
  EXPECT_NE(lit, line);
  EXPECT_EQ(line->lightingModelName, SCNLightingModelConstant);

  for (const auto& each : {unlit, lit, line}) each->lightingModelName = SCNLightingModelLambert;
  document->materials.restoreLightingModels();
  EXPECT_EQ(unlit->lightingModelName, SCNLightingModelConstant);
  EXPECT_EQ(lit->lightingModelName, SCNLightingModelPhysicallyBased);
  EXPECT_EQ(line->lightingModelName, SCNLightingModelConstant);
}

TEST_F(GLTFMaterialsTest, NeedTangentsForAMapOfNormals) {
  read(R"([{"normalTexture": {"index": 0, "extensions": {"KHR_texture_transform": {"scale": [2, 3]}}}},
       {"normalTexture": {"index": 8}}, {}])");
  EXPECT_EQ(document->materials.normalMapping(0), (GLTFTextureMapping{0, material().normal.contentsTransform}));
  EXPECT_EQ(document->materials.normalMapping(1), std::nullopt);
  EXPECT_EQ(document->materials.normalMapping(2), std::nullopt);
  EXPECT_EQ(document->materials.normalMapping(std::nullopt), std::nullopt);
}

TEST_F(GLTFMaterialsTest, ReflectAsTheirIndexOfRefractionAndSpecularValuesSay) {
  read(R"([{}, {"extensions": {"KHR_materials_ior": {"ior": 2}}}, {"extensions": {"KHR_materials_ior": {"ior": 0}}},
       {"extensions": {"KHR_materials_specular": {"specularFactor": 0.5, "specularColorFactor": [1, 2, 100]}}},
       {"extensions": {"KHR_materials_ior": {}, "KHR_materials_specular": {}}}, {"extensions": {"KHR_materials_ior": {"ior": -1}}}])");
  EXPECT_EQ(material(0).dielectricF0, (simd_float3{0.04F, 0.04F, 0.04F}));
  EXPECT_EQ(numberIn(material(0).specularStrength), 1);
  EXPECT_FLOAT_EQ(material(1).dielectricF0.y, 1.0F / 9.0F);
  EXPECT_EQ(material(2).dielectricF0.z, 1);
  EXPECT_FLOAT_EQ(material(3).dielectricF0.x, 0.04F);
  EXPECT_EQ(colorIn(material(3).specularTint), NSColor::whiteColor());
  EXPECT_EQ(material(3).specularTint.factor, (simd_float4{1, 2, 100, 1}));
  EXPECT_EQ(numberIn(material(3).specularStrength), 0.5);
  EXPECT_FLOAT_EQ(material(4).dielectricF0.x, 0.04F);
  EXPECT_EQ(material(5).dielectricF0.x, 0);
}

TEST_F(GLTFMaterialsTest, TakeSpecularStrengthFromAlphaAndItsTintFromColour) {
  read(R"([{"extensions": {"KHR_materials_specular": {"specularFactor": 0.5, "specularTexture": {"index": 0},
       "specularColorFactor": [1, 0.5, 2], "specularColorTexture": {"index": 1, "texCoord": 1}}}},
       {"extensions": {"KHR_materials_specular": {"specularTexture": {"index": 77}, "specularFactor": 0.25}}}])");
  EXPECT_EQ(material(0).specularStrength.contents, image(0));
  EXPECT_EQ(material(0).specularStrength.factor.x, 0.5F);
  EXPECT_EQ(material(0).specularStrength.textureComponents, SCNColorMask::alpha);
  EXPECT_EQ(material(0).specularTint.contents, image(1));
  EXPECT_EQ(material(0).specularTint.factor, (simd_float4{1, 0.5F, 2, 1}));
  EXPECT_EQ(material(0).specularTint.mappingChannel, 1);
  EXPECT_EQ(numberIn(material(1).specularStrength), 0.25);
}

TEST_F(GLTFMaterialsTest, MayHaveAClearCoat) {
  read(R"([{"extensions": {"KHR_materials_clearcoat": {"clearcoatFactor": 0.75, "clearcoatRoughnessFactor": 0.25,
       "clearcoatTexture": {"index": 0}}}}, {"extensions": {"KHR_materials_clearcoat": {"clearcoatTexture": {"index": 0}}}},
       {"extensions": {"KHR_materials_clearcoat": {"clearcoatFactor": 1, "clearcoatRoughnessTexture": {"index": 1},
       "clearcoatRoughnessFactor": 0.5}}}])");
  EXPECT_EQ(material(0).clearCoat.contents, image(0));
  EXPECT_EQ(material(0).clearCoat.factor.x, 0.75F);
  EXPECT_EQ(material(0).clearCoat.textureComponents, SCNColorMask::red);
  EXPECT_EQ(numberIn(material(0).clearCoatRoughness), 0.25);
  EXPECT_EQ(numberIn(material(1).clearCoat), 0) << "no strength without a factor";
  EXPECT_EQ(numberIn(material(2).clearCoat), 1);
  EXPECT_EQ(material(2).clearCoatRoughness.contents, image(1));
  EXPECT_EQ(material(2).clearCoatRoughness.textureComponents, SCNColorMask::green);
}

TEST_F(GLTFMaterialsTest, OfSpecularAndGlossinessBecomeMetalsAndDielectrics) {
  read(R"([{"extensions": {"KHR_materials_pbrSpecularGlossiness": {"diffuseFactor": [0.48, 0.24, 0.12, 0.5],
         "specularFactor": [0.04, 0.04, 0.04], "glossinessFactor": 0.75}}, "alphaMode": "BLEND",
         "pbrMetallicRoughness": {"baseColorFactor": [0, 0, 0, 1]}},
       {"extensions": {"KHR_materials_pbrSpecularGlossiness": {"diffuseFactor": [0, 0, 0, 1],
         "specularFactor": [0.9, 0.6, 0.3]}}}])");
  expectLinear(colorIn(material(0).diffuse), 0.48, 0.24, 0.12, 0.5);
  EXPECT_NEAR(numberIn(material(0).metalness), 0, 1e-6);
  EXPECT_NEAR(numberIn(material(0).roughness), 0.25, 1e-6);
  EXPECT_EQ(material(0).alphaMode, SCNAlphaMode::blend);
  EXPECT_GT(numberIn(material(1).metalness), 0.95);
  expectLinear(colorIn(material(1).diffuse), 0.9, 0.6, 0.3, 1);
  EXPECT_EQ(numberIn(material(1).roughness), 0);
}

TEST_F(GLTFMaterialsTest, OfADullDiffuseTextureKeepIt) {
  read(R"([{"extensions": {"KHR_materials_pbrSpecularGlossiness": {"diffuseTexture": {"index": 0},
       "specularFactor": [0.04, 0.04, 0.04], "glossinessFactor": 0.25}}}])");
  EXPECT_EQ(material().diffuse.contents, image(0));
  EXPECT_NEAR(material().diffuse.factor.x, 1, 1e-6);
  EXPECT_NEAR(numberIn(material().roughness), 0.75, 1e-6);
}

std::shared_ptr<const Image> imageIn(const SCNMaterialProperty& property) {
  const auto* image = std::get_if<std::shared_ptr<const Image>>(&property.contents);
  return image != nullptr ? *image : nullptr;
}

TEST_F(GLTFMaterialsTest, OfSpecularGlossinessTexturesAreConvertedTexelByTexel) {
  // The left texel is a black diffuse under gold, the right a white diffuse that reflects 0.04 and is dull.
  const Image diffuse{2, 1, {0, 0, 0, 255, 255, 255, 255, 128}};
  const Image specular{2, 2, {255, 200, 100, 255, 56, 56, 56, 0, 255, 200, 100, 255, 56, 56, 56, 0}};
  read(R"([{"extensions": {"KHR_materials_pbrSpecularGlossiness": {"diffuseTexture": {"index": 0},
       "diffuseFactor": [1, 1, 1, 0.5], "specularGlossinessTexture": {"index": 1}, "glossinessFactor": 0.8}}}])",
       plainTextures, {diffuse, specular});
  const auto color = imageIn(material().diffuse);
  const auto data = imageIn(material().roughness);
  ASSERT_TRUE(color && data);
  EXPECT_EQ(data, imageIn(material().metalness));
  ASSERT_EQ(color->width, 2U);
  ASSERT_EQ(color->height, 2U);
  EXPECT_NEAR(color->pixels[0], 255, 2);
  EXPECT_NEAR(color->pixels[1], 200, 2);
  EXPECT_NEAR(color->pixels[2], 100, 2);
  EXPECT_NEAR(color->pixels[4], 255, 2);
  EXPECT_EQ(color->pixels[7], 128);
  EXPECT_EQ(material().diffuse.factor, (simd_float4{1, 1, 1, 0.5F}));
  EXPECT_GT(data->pixels[2], 250);
  EXPECT_LT(data->pixels[6], 3);
  EXPECT_NEAR(data->pixels[1], 51, 1);
  EXPECT_EQ(data->pixels[5], 255);
  EXPECT_EQ(material().metalness.textureComponents, SCNColorMask::blue);
  EXPECT_EQ(material().roughness.textureComponents, SCNColorMask::green);
}

TEST(SpecularGlossinessConverter, CountsWhatItDecodesEachTimeTowardsItsLimit) {
  constexpr std::uint64_t mebibyte = std::uint64_t{1} << 20;
  const std::vector<std::byte> png = encodePNG(Image{512, 512, PixelBytes(mebibyte, 200)});
  const auto image = std::make_shared<const EncodedImage>(EncodedImage{png, nullptr});
  SpecularGlossiness source;
  source.diffuse = image;
  source.specularGlossiness = image;
  // Each attempt counts one mebibyte, each of two images decoded one, each of two images made one and
  // a third of it for its mip levels.
  SpecularGlossinessConverter converter(23 * mebibyte);
  std::size_t converted = 0;
  for (int attempt = 0; attempt < 20; ++attempt) converted += converter.convert(source) ? 1 : 0;
  EXPECT_EQ(converted, 4U);
}

TEST_F(GLTFMaterialsTest, OfSpecularGlossinessTexturesThatLieDifferentlyKeepTheDiffuseOne) {
  read(R"([{"extensions": {"KHR_materials_pbrSpecularGlossiness": {"diffuseTexture": {"index": 0},
       "specularGlossinessTexture": {"index": 1, "texCoord": 1}}}}])");
  EXPECT_EQ(material().diffuse.contents, image(0));
  ASSERT_TRUE(imageIn(material().roughness));
  EXPECT_EQ(material().roughness.mappingChannel, 1);
  EXPECT_EQ(imageIn(material().roughness)->pixels[1], 127);
}

}  // namespace
}  // namespace ornolith
