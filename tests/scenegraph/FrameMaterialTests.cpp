#include <gtest/gtest.h>
#include <stdlib.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <filesystem>
#include <fstream>

#include "SceneFixtures.h"
#include "foundation/Parallel.h"
#include "imaging/Color.h"
#include "imaging/ImageSize.h"
#include "imaging/PNGEncoder.h"
#include "scenegraph/MaterialDescription.h"

namespace ornolith {
namespace {

std::shared_ptr<const Image> onePixel(std::uint8_t r, std::uint8_t g, std::uint8_t b, std::uint8_t a) {
  return std::make_shared<const Image>(Image{1, 1, {r, g, b, a}});
}

class FrameMaterialTest : public ::testing::Test {
 protected:
  FrameMaterialTest() {
    char name[] = "/tmp/ornolith-materials-XXXXXX";
    folder = ::mkdtemp(name);
  }
  ~FrameMaterialTest() override { std::filesystem::remove_all(folder); }

  std::string writePNG(const std::string& name, const Image& image) {
    const std::string path = folder + "/" + name;
    const std::vector<std::byte> bytes = encodePNG(image);
    std::ofstream(path, std::ios::binary)
        .write(reinterpret_cast<const char*>(bytes.data()), static_cast<std::streamsize>(bytes.size()));
    return path;
  }

  device::Material describe() {
    requestTextures(material, cache);
    cache.load();
    textures.clear();
    FrameTextures frameTextures(textures);
    return describeMaterial(material, cache, frameTextures);
  }

  bool blends() {
    const device::Material described = describe();
    return isBlended(described, textures);
  }

  std::string folder;
  SCNMaterial material;
  TextureCache cache;
  std::vector<device::Texture> textures;
};

TEST_F(FrameMaterialTest, ColoursAreDecodedAndNumbersAreNot) {
  material.diffuse.contents = NSColor{0.5, 0.25, 1, 0.75};
  material.roughness.contents = 0.5;
  material.metalness.contents = 1.0;
  material.emission.intensity = 2.5;
  material.lightingModelName = SCNLightingModelPhysicallyBased;
  const device::Material described = describe();
  EXPECT_EQ(described.diffuse.value, (simd_float4{linearFromSRGB(0.5F), linearFromSRGB(0.25F), 1, 0.75F}));
  EXPECT_EQ(described.roughness.value.x, 0.5F);
  EXPECT_EQ(described.metalness.value.x, 1);
  EXPECT_EQ(described.emission.intensity, 2.5F);
  EXPECT_EQ(described.lightingModel, device::LightingModel::physicallyBased);
}

TEST_F(FrameMaterialTest, AColourAsANumberIsItsLuminanceAndANumberAsAColourAGrey) {
  material.roughness.contents = NSColor{0.5, 0.5, 0.5, 1};
  material.metalness.contents = NSColor{0, 1, 0, 1};
  material.diffuse.contents = 0.5;
  material.transparent.contents = 0.25;
  const device::Material described = describe();
  EXPECT_FLOAT_EQ(described.roughness.value.x, 0.5F);
  EXPECT_FLOAT_EQ(described.metalness.value.x, 0.7152F);
  const float grey = linearFromSRGB(0.5F);
  EXPECT_EQ(described.diffuse.value, (simd_float4{grey, grey, grey, 1}));
  EXPECT_EQ(described.transparent.value.w, 0.25F);
}

TEST_F(FrameMaterialTest, ValuesOutOfRangeAreHeld) {
  material.diffuse.contents = NSColor{2, -1, 0, 7};
  material.roughness.contents = -3.0;
  material.transparency = 5;
  material.diffuse.mappingChannel = -4;
  const device::Material described = describe();
  EXPECT_EQ(described.diffuse.value, (simd_float4{1, 0, 0, 1}));
  EXPECT_EQ(described.roughness.value.x, 0);
  EXPECT_EQ(described.transparency, 1);
  EXPECT_EQ(described.diffuse.channel, 0U);
}

TEST_F(FrameMaterialTest, MissingContentsShowTheDefault) {
  material.diffuse.contents = {};
  material.specular.contents = {};
  material.roughness.contents = {};
  material.transparent.contents = {};
  const device::Material described = describe();
  EXPECT_EQ(described.diffuse.value, (simd_float4{1, 1, 1, 1}));
  EXPECT_EQ(described.specular.value, (simd_float4{0, 0, 0, 1}));
  EXPECT_EQ(described.roughness.value.x, 0.5F);
  EXPECT_EQ(described.transparent.value.w, 1);
}

TEST_F(FrameMaterialTest, SettingsAreCarriedOver) {
  material.isDoubleSided = true;
  material.fillMode = SCNFillMode::lines;
  material.readsFromDepthBuffer = false;
  material.writesToDepthBuffer = false;
  material.blendMode = SCNBlendMode::replace;
  material.alphaCutoff = 0.5;
  material.shininess = 0.25;
  material.lightingModelName = SCNLightingModelConstant;
  const device::Material described = describe();
  EXPECT_TRUE(described.isDoubleSided);
  EXPECT_TRUE(described.fillsLines);
  EXPECT_FALSE(described.readsDepth);
  EXPECT_FALSE(described.writesDepth);
  EXPECT_EQ(described.blendMode, device::BlendMode::replace);
  EXPECT_EQ(described.alphaCutoff, 0.5F);
  EXPECT_EQ(described.shininess, 0.25F);
  EXPECT_EQ(described.lightingModel, device::LightingModel::constant);
}

TEST_F(FrameMaterialTest, TexturesAreColourOrDataByProperty) {
  material.lightingModelName = SCNLightingModelPhysicallyBased;
  const auto image = onePixel(1, 2, 3, 255);
  material.diffuse.contents = image;
  material.emission.contents = image;
  material.normal.contents = image;
  material.roughness.contents = image;
  material.ambientOcclusion.contents = image;
  const device::Material described = describe();
  ASSERT_EQ(textures.size(), 2U);
  EXPECT_EQ(textures[0].image, image);
  EXPECT_TRUE(textures[static_cast<std::size_t>(described.diffuse.texture)].isSRGB);
  EXPECT_EQ(described.emission.texture, described.diffuse.texture);
  EXPECT_FALSE(textures[static_cast<std::size_t>(described.normal.texture)].isSRGB);
  EXPECT_EQ(described.roughness.texture, described.normal.texture);
  EXPECT_EQ(described.ambientOcclusion.texture, described.normal.texture);
  EXPECT_EQ(described.metalness.texture, -1);
}

TEST_F(FrameMaterialTest, TextureSettingsAreCarriedOver) {
  material.diffuse.contents = onePixel(1, 2, 3, 255);
  material.diffuse.mappingChannel = 2;
  material.diffuse.wrapS = SCNWrapMode::repeat;
  material.diffuse.wrapT = SCNWrapMode::mirror;
  // Row vectors: (u, v, 0, 1) times rows (2, 3), (5, 7), -, (11, 13).
  auto& columns = material.diffuse.contentsTransform.columns;
  columns[0].x = 2;
  columns[0].y = 3;
  columns[1].x = 5;
  columns[1].y = 7;
  columns[3].x = 11;
  columns[3].y = 13;
  const device::MaterialSlot slot = describe().diffuse;
  EXPECT_EQ(slot.channel, 2U);
  EXPECT_EQ(slot.wrapS, device::WrapMode::repeat);
  EXPECT_EQ(slot.wrapT, device::WrapMode::mirror);
  EXPECT_EQ(slot.magnificationFilter, device::FilterMode::linear);
  EXPECT_EQ(slot.mipFilter, device::FilterMode::linear);
  const float* m = slot.transform;
  EXPECT_EQ(m[0] * 1 + m[2] * 10 + m[4], 2 + 50 + 11);
  EXPECT_EQ(m[1] * 1 + m[3] * 10 + m[5], 3 + 70 + 13);
}

TEST_F(FrameMaterialTest, FiltersThatAreNearestAreCarriedOver) {
  material.diffuse.contents = onePixel(1, 2, 3, 255);
  material.diffuse.magnificationFilter = SCNFilterMode::nearest;
  EXPECT_EQ(describe().diffuse.magnificationFilter, device::FilterMode::nearest);
  EXPECT_EQ(describe().diffuse.mipFilter, device::FilterMode::linear);
  material.diffuse.magnificationFilter = SCNFilterMode::none;
  material.diffuse.mipFilter = SCNFilterMode::none;
  EXPECT_EQ(describe().diffuse.magnificationFilter, device::FilterMode::linear);
  EXPECT_EQ(describe().diffuse.mipFilter, device::FilterMode::linear);
  material.diffuse.mipFilter = SCNFilterMode::nearest;
  EXPECT_EQ(describe().diffuse.mipFilter, device::FilterMode::nearest);
}

TEST_F(FrameMaterialTest, FactorsAndComponentsAreCarriedOver) {
  material.lightingModelName = SCNLightingModelPhysicallyBased;
  const auto image = onePixel(1, 2, 3, 255);
  material.diffuse.factor = {0.5F, 0.25F, 3, 0.75F};
  material.roughness.contents = image;
  material.roughness.factor.x = 0.5F;
  material.roughness.textureComponents = SCNColorMask::green;
  material.metalness.contents = image;
  material.metalness.textureComponents = SCNColorMask::blue;
  material.clearCoat.contents = image;
  material.clearCoat.textureComponents = SCNColorMask::alpha;
  material.clearCoatRoughness.contents = 0.25;
  const device::Material described = describe();
  EXPECT_EQ(described.diffuse.factor, (simd_float4{0.5F, 0.25F, 3, 0.75F}));
  EXPECT_EQ(described.roughness.factor.x, 0.5F);
  EXPECT_EQ(described.roughness.component, device::TextureComponent::green);
  EXPECT_EQ(described.metalness.component, device::TextureComponent::blue);
  EXPECT_EQ(described.clearCoat.component, device::TextureComponent::alpha);
  EXPECT_EQ(described.ambientOcclusion.component, device::TextureComponent::red);
  EXPECT_EQ(described.metalness.texture, described.roughness.texture);
  EXPECT_EQ(described.clearCoat.texture, described.roughness.texture);
  EXPECT_EQ(described.clearCoatRoughness.value.x, 0.25F);
}

TEST_F(FrameMaterialTest, ANewMaterialHasNoCoatAndReflectsAsGlassDoes) {
  const device::Material described = describe();
  EXPECT_EQ(described.clearCoat.value.x, 0);
  EXPECT_EQ(described.clearCoat.texture, -1);
  EXPECT_EQ(described.dielectricF0, (simd_float3{0.04F, 0.04F, 0.04F}));
  for (const device::MaterialSlot* slot : {&described.specularTint, &described.specularStrength}) {
    EXPECT_EQ(slot->value, (simd_float4{1, 1, 1, 1}));
    EXPECT_EQ(slot->texture, -1);
  }
  material.dielectricF0 = {2, -1, 0.5F};
  EXPECT_EQ(describe().dielectricF0, (simd_float3{1, 0, 0.5F}));
}

TEST_F(FrameMaterialTest, TintAndStrengthOfSpecularBelongToPhysicallyBasedSurfaces) {
  const auto image = onePixel(1, 2, 3, 100);
  material.specularTint.contents = image;
  material.specularTint.factor = {0.5F, 2, 30, 1};
  material.specularStrength.contents = image;
  material.specularStrength.textureComponents = SCNColorMask::alpha;
  EXPECT_EQ(describe().specularTint.texture, -1);
  EXPECT_EQ(describe().specularStrength.texture, -1);
  material.lightingModelName = SCNLightingModelPhysicallyBased;
  const device::Material described = describe();
  EXPECT_EQ(described.specularTint.factor, (simd_float4{0.5F, 2, 30, 1}));
  EXPECT_EQ(described.specularStrength.component, device::TextureComponent::alpha);
  EXPECT_NE(described.specularTint.texture, described.specularStrength.texture) << "one is a colour, one a number";
  ASSERT_GE(std::min(described.specularTint.texture, described.specularStrength.texture), 0);
  const auto has = [&](const device::MaterialSlot& slot) {
    return textures[static_cast<std::size_t>(slot.texture)].hasTransparency;
  };
  EXPECT_TRUE(has(described.specularStrength)) << "its alpha is read";
  EXPECT_FALSE(has(described.specularTint));
}

TEST_F(FrameMaterialTest, AMaskIsNoBlending) {
  material.diffuse.contents = onePixel(255, 0, 0, 100);
  EXPECT_TRUE(blends());
  material.alphaMode = SCNAlphaMode::mask;
  EXPECT_FALSE(blends());
  EXPECT_TRUE(textures[0].hasTransparency);
  material.transparency = 0.5;
  EXPECT_TRUE(blends());
}

TEST_F(FrameMaterialTest, AFactorOfAlphaBelowOneBlends) {
  material.diffuse.contents = onePixel(255, 0, 0, 255);
  EXPECT_FALSE(blends());
  material.diffuse.factor.w = 0.5F;
  EXPECT_TRUE(blends());
  material.diffuse.contents = NSColor{1, 1, 1, 1};
  EXPECT_TRUE(blends());
}

TEST_F(FrameMaterialTest, ACutoffAboveOneLetsNothingPass) {
  material.alphaCutoff = 1.5;
  EXPECT_GT(describe().alphaCutoff, 1);
}

TEST_F(FrameMaterialTest, OnlyPropertiesThatTheLightingModelReadsAreLoaded) {
  material.lightingModelName = SCNLightingModelConstant;
  const auto image = onePixel(1, 2, 3, 255);
  for (SCNMaterialProperty* property :
       {&material.normal, &material.roughness, &material.metalness, &material.specular, &material.ambientOcclusion}) {
    property->contents = image;
  }
  describe();
  EXPECT_TRUE(textures.empty());
  material.lightingModelName = SCNLightingModelBlinn;
  const device::Material described = describe();
  EXPECT_GE(described.specular.texture, 0);
  EXPECT_GE(described.normal.texture, 0);
  EXPECT_EQ(described.roughness.texture, -1);
}

TEST_F(FrameMaterialTest, AFileIsDecodedOnceForPathsAndUrlsAndKept) {
  const std::string path = writePNG("a.png", *onePixel(10, 20, 30, 255));
  material.diffuse.contents = path;
  material.emission.contents = FileURL(path);
  device::Material described = describe();
  ASSERT_EQ(textures.size(), 1U);
  EXPECT_EQ(described.diffuse.texture, 0);
  EXPECT_EQ(described.emission.texture, 0);
  EXPECT_EQ(*textures[0].image, *onePixel(10, 20, 30, 255));
  EXPECT_FALSE(textures[0].hasTransparency);
  const auto kept = textures[0].image;
  std::filesystem::remove(path);
  describe();
  EXPECT_EQ(textures[0].image, kept);
}

TEST_F(FrameMaterialTest, AnImageThatDoesNotDecodeShowsTheDefaultAndIsNotTriedAgain) {
  const std::string path = folder + "/broken.png";
  std::ofstream(path) << "no image";
  material.diffuse.contents = path;
  material.emission.contents = folder + "/missing.png";
  device::Material described = describe();
  EXPECT_EQ(described.diffuse.texture, -1);
  EXPECT_EQ(described.diffuse.value, (simd_float4{1, 1, 1, 1}));
  EXPECT_EQ(described.emission.value, (simd_float4{0, 0, 0, 1}));
  writePNG("broken.png", *onePixel(1, 2, 3, 255));
  EXPECT_EQ(describe().diffuse.texture, -1);
}

TEST_F(FrameMaterialTest, FoldersAndPipesAreNoTextures) {
  const std::string pipe = folder + "/pipe.png";
  ASSERT_EQ(::mkfifo(pipe.c_str(), 0600), 0);
  material.diffuse.contents = pipe;
  material.emission.contents = folder;
  const device::Material described = describe();
  EXPECT_EQ(described.diffuse.texture, -1);
  EXPECT_EQ(described.emission.texture, -1);
}

TEST_F(FrameMaterialTest, ImagesThatAreEmptyOrIncompleteShowTheDefault) {
  material.diffuse.contents = std::make_shared<const Image>();
  material.emission.contents = std::make_shared<const Image>(Image{2, 2, {1, 2, 3, 4}});
  material.transparent.contents = std::shared_ptr<const Image>();
  const device::Material described = describe();
  EXPECT_EQ(described.diffuse.texture, -1);
  EXPECT_EQ(described.emission.texture, -1);
  EXPECT_EQ(described.transparent.texture, -1);
}

TEST_F(FrameMaterialTest, ATextureWithAlphaBlends) {
  material.diffuse.contents = onePixel(1, 2, 3, 254);
  EXPECT_TRUE(blends());
  material.diffuse.contents = onePixel(1, 2, 3, 255);
  EXPECT_FALSE(blends());
  material.blendMode = SCNBlendMode::replace;
  material.diffuse.contents = onePixel(1, 2, 3, 0);
  EXPECT_FALSE(blends());
}

std::shared_ptr<const EncodedImage> encoded(const Image& image) {
  const auto bytes = std::make_shared<const std::vector<std::byte>>(encodePNG(image));
  return std::make_shared<const EncodedImage>(EncodedImage{*bytes, bytes});
}

TEST_F(FrameMaterialTest, AnEncodedImageIsDecodedOnceHoweverManyPropertiesShowIt) {
  const auto contents = encoded(Image{1, 1, {10, 20, 30, 255}});
  material.diffuse.contents = contents;
  material.emission.contents = contents;
  const device::Material described = describe();
  ASSERT_EQ(textures.size(), 1U);
  EXPECT_EQ(described.diffuse.texture, 0);
  EXPECT_EQ(described.emission.texture, 0);
  EXPECT_EQ(textures[0].image->pixels, (PixelBytes{10, 20, 30, 255}));
  const auto before = textures[0].image;
  describe();
  EXPECT_EQ(textures[0].image, before);
}

TEST_F(FrameMaterialTest, AnEncodedImageThatDoesNotDecodeShowsTheDefault) {
  const auto bytes = std::make_shared<const std::vector<std::byte>>(100, std::byte{7});
  material.diffuse.contents = std::make_shared<const EncodedImage>(EncodedImage{*bytes, bytes});
  material.emission.contents = std::shared_ptr<const EncodedImage>();
  const device::Material described = describe();
  EXPECT_EQ(described.diffuse.texture, -1);
  EXPECT_EQ(described.diffuse.value, (simd_float4{1, 1, 1, 1}));
  EXPECT_EQ(described.emission.texture, -1);
}

TEST_F(FrameMaterialTest, SmallImagesThatBecomeTooMuchTogetherAreNotShown) {
  const Image large{4096, 4096, PixelBytes(std::size_t{4096} * 4096 * 4, 200)};
  const auto first = encoded(large);
  constexpr std::size_t count = 24;
  std::vector<std::shared_ptr<const EncodedImage>> images;
  for (std::size_t i = 0; i < count; ++i) images.push_back(std::make_shared<const EncodedImage>(*first));
  // They share their bytes, which count once.
  const std::uint64_t allowed =
      TextureCache::heldBytesWithoutEvidence + first->bytes.size() * TextureCache::heldBytesPerByte;
  const std::uint64_t shown = allowed / bytesWithMipLevels(large.pixels.size());
  ASSERT_LT(shown, count);
  for (const auto& image : images) cache.request(image, TextureUse::colorOrData);
  cache.load();
  for (std::size_t i = 0; i < shown; ++i) EXPECT_TRUE(cache.texture(images[i], TextureUse::colorOrData).image) << i;
  EXPECT_FALSE(cache.texture(images[shown], TextureUse::colorOrData).image);
  const auto small = encoded(Image{1, 1, {1, 2, 3, 255}});
  cache.request(small, TextureUse::colorOrData);
  cache.load();
  EXPECT_TRUE(cache.texture(small, TextureUse::colorOrData).image);
}

/// The images of `count` requests of `contents`, each an object of its own, that the cache shows.
std::size_t shownOf(const EncodedImage& contents, std::size_t count, TextureUse use, TextureCache& cache) {
  std::vector<std::shared_ptr<const EncodedImage>> images;
  for (std::size_t i = 0; i < count; ++i) images.push_back(std::make_shared<const EncodedImage>(contents));
  for (const auto& image : images) cache.request(image, use);
  cache.load();
  return static_cast<std::size_t>(std::count_if(
      images.begin(), images.end(), [&](const auto& image) { return cache.texture(image, use).image != nullptr; }));
}

TEST_F(FrameMaterialTest, AnImageInWhichDamageIsFoundCountsLikeOneWithout) {
  Image image{4096, 4096, {}};
  image.pixels.resize(std::size_t{4096} * 4096 * 4, 255);
  const auto sound = encoded(image);
  auto damagedBytes = std::make_shared<std::vector<std::byte>>(sound->bytes.begin(), sound->bytes.end());
  (*damagedBytes)[damagedBytes->size() - 20] ^= std::byte{1};  // The end of the last row's data or its checksum.
  const EncodedImage damaged{*damagedBytes, damagedBytes};
  const std::size_t fitting = shownOf(*sound, 30, TextureUse::colorOrData, cache);
  ASSERT_GT(fitting, 2U);
  ASSERT_LT(fitting, 30U);
  TextureCache second;
  EXPECT_EQ(shownOf(damaged, 2, TextureUse::colorOrData, second), 0U);
  EXPECT_EQ(shownOf(*sound, 30, TextureUse::colorOrData, second), fitting - 2);
}

TEST_F(FrameMaterialTest, AnImageThatItsHeaderTellsNotToDecodeCountsNothing) {
  // Claims that no bytes follow, and an image that is there behind them.
  std::vector<std::byte> claim = encodePNG(Image{1, 1, {1, 2, 3, 255}});
  claim[18] = claim[22] = std::byte{32};  // 8193 by 8193, beyond what so few bytes may be.
  const auto bytes = std::make_shared<const std::vector<std::byte>>(claim);
  EXPECT_EQ(shownOf({*bytes, bytes}, 200, TextureUse::colorOrData, cache), 0U);
  EXPECT_EQ(shownOf(*encoded(Image{2048, 2048, PixelBytes(std::size_t{2048} * 2048 * 4, 9)}), 1,
                    TextureUse::colorOrData, cache),
            1U);
}

TEST_F(FrameMaterialTest, ASmallImageIsShownWhateverWasTooMuchBeforeIt) {
  std::vector<std::byte> damaged = encodePNG(Image{1, 1, {1, 2, 3, 255}});
  damaged[18] = damaged[22] = std::byte{8};  // 2049 by 2049.
  damaged.resize(damaged.size() - 20);
  const auto bytes = std::make_shared<const std::vector<std::byte>>(damaged);
  EXPECT_EQ(shownOf({*bytes, bytes}, 200, TextureUse::colorOrData, cache), 0U);
  EXPECT_EQ(shownOf(*encoded(Image{1, 1, {1, 2, 3, 255}}), 1, TextureUse::colorOrData, cache), 1U);
}

TEST_F(FrameMaterialTest, TheCopyOfAnImageForItsOpacityCounts) {
  Image image{4096, 4096, {}};
  image.pixels.resize(std::size_t{4096} * 4096 * 4, 255);
  const auto opaque = encoded(image);
  TextureCache ofFew;
  EXPECT_EQ(shownOf(*opaque, 2, TextureUse::opacity, ofFew), 2U);
  // The limit holds six such images, and with them no six copies.
  TextureCache ofMany;
  EXPECT_LT(shownOf(*opaque, 6, TextureUse::opacity, ofMany), 6U);
  image.pixels[3] = 254;
  EXPECT_EQ(shownOf(*encoded(image), 6, TextureUse::opacity, cache), 6U);
}

TEST_F(FrameMaterialTest, WhatImagesClaimKeepsNoneOutOnAnyNumberOfThreads) {
  const auto claiming = [](std::uint8_t heightOver256) {
    std::vector<std::byte> damaged = encodePNG(Image{1, 1, {1, 2, 3, 255}});
    damaged[18] = std::byte{32};  // 8193 wide.
    damaged[22] = std::byte{heightOver256};
    damaged.resize(damaged.size() - 20);
    const auto bytes = std::make_shared<const std::vector<std::byte>>(std::move(damaged));
    return std::make_shared<const EncodedImage>(EncodedImage{*bytes, bytes});
  };
  Image image{2048, 2048, {}};
  image.pixels.resize(std::size_t{2048} * 2048 * 4);
  const auto sound = encoded(image);
  const auto claim = claiming(32), restOfTheLimit = claiming(15);
  for (const std::size_t threads : {1U, 2U, 7U}) {
    withThreadLimit(threads, [&] {
      TextureCache ofThreads;
      for (const auto& contents : {claim, restOfTheLimit, sound}) ofThreads.request(contents, TextureUse::colorOrData);
      ofThreads.load();
      EXPECT_FALSE(ofThreads.texture(claim, TextureUse::colorOrData).image);
      EXPECT_TRUE(ofThreads.texture(sound, TextureUse::colorOrData).image) << threads;
    });
  }
}

TEST_F(FrameMaterialTest, AlphaCountsOnlyWhereItIsAnOpacity) {
  const auto image = onePixel(1, 2, 3, 0);
  material.diffuse.contents = image;
  material.emission.contents = image;
  device::Material described = describe();
  EXPECT_TRUE(textures[static_cast<std::size_t>(described.diffuse.texture)].hasTransparency);
  EXPECT_FALSE(textures[static_cast<std::size_t>(described.emission.texture)].hasTransparency);
  EXPECT_TRUE(isBlended(described, textures));
  material.alphaMode = SCNAlphaMode::opaque;
  described = describe();
  EXPECT_FALSE(textures[static_cast<std::size_t>(described.diffuse.texture)].hasTransparency);
  EXPECT_EQ(described.diffuse.texture, described.emission.texture);
  EXPECT_FALSE(isBlended(described, textures));
}

TEST_F(FrameMaterialTest, AnOpacityMapWithoutAlphaCountsByItsLuminance) {
  const auto mask = std::make_shared<const Image>(Image{2, 1, {255, 255, 255, 255, 128, 128, 128, 255}});
  material.transparent.contents = mask;
  material.diffuse.contents = mask;
  device::Material described = describe();
  const auto& opacity = textures[static_cast<std::size_t>(described.transparent.texture)];
  EXPECT_EQ(opacity.image->pixels[3], 255);
  EXPECT_EQ(opacity.image->pixels[7], 128);
  EXPECT_TRUE(opacity.hasTransparency);
  EXPECT_EQ(textures[static_cast<std::size_t>(described.diffuse.texture)].image, mask);
  EXPECT_TRUE(isBlended(described, textures));
  const auto derived = opacity.image;
  described = describe();
  EXPECT_EQ(textures[static_cast<std::size_t>(described.transparent.texture)].image, derived);

  const auto withAlpha = onePixel(255, 255, 255, 64);
  material.transparent.contents = withAlpha;
  described = describe();
  EXPECT_EQ(textures[static_cast<std::size_t>(described.transparent.texture)].image, withAlpha);
}

}  // namespace
}  // namespace ornolith
