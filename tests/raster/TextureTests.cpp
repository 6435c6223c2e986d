#include <gtest/gtest.h>

#include <algorithm>
#include <limits>

#include "foundation/Parallel.h"
#include "imaging/Color.h"
#include "raster/FrameBuilder.h"
#include "raster/TexturePyramid.h"
#include "raster/TextureSampler.h"

namespace ornolith {
namespace {

using namespace test;
using namespace raster;

Image checker(std::uint32_t side, std::uint32_t cell) {
  Image image = solidImage(side, side, {255, 255, 255, 255});
  for (std::uint32_t y = 0; y < side; ++y) {
    for (std::uint32_t x = 0; x < side; ++x) {
      if ((x / cell + y / cell) % 2 == 0) continue;
      for (std::size_t c = 0; c < 3; ++c) image.pixels[y * image.rowBytes() + x * 4 + c] = 0;
    }
  }
  return image;
}

TexturePyramid pyramidOf(Image image, bool isSRGB, bool hasTransparency = false) {
  static const TexelTables tables;
  return {std::make_shared<const Image>(std::move(image)), isSRGB, hasTransparency, tables};
}

TEST(TexturePyramid, AveragesColorInLinearLight) {
  const TexturePyramid pyramid = pyramidOf(checker(16, 1), true);
  ASSERT_EQ(pyramid.levels().size(), 5u);
  for (std::size_t level = 1; level < 5; ++level) {
    EXPECT_EQ(pyramid.levels()[level].width, 16u >> level);
    EXPECT_EQ(int{pyramid.levels()[level].texels[0]}, 188);
    EXPECT_EQ(int{pyramid.levels()[level].texels[3]}, 255);
  }
}

TEST(TexturePyramid, AveragesDataAsItStands) {
  EXPECT_EQ(int{pyramidOf(checker(4, 1), false).levels().back().texels[0]}, 128);
}

TEST(TexturePyramid, WeighsColorByAlpha) {
  Image image = solidImage(2, 2, {0, 255, 0, 0});
  image.pixels[0] = 255;
  image.pixels[1] = 0;
  image.pixels[3] = 255;
  const TexturePyramid pyramid = pyramidOf(image, true, true);
  const std::uint8_t* texel = pyramid.levels()[1].texels;
  EXPECT_EQ(int{texel[0]}, 255);
  EXPECT_EQ(int{texel[1]}, 0);
  EXPECT_EQ(int{texel[3]}, 64);
}

TEST(TexturePyramid, KeepsTheMeanOfOddSides) {
  // A ramp over 3, 5 and 7 texels keeps its mean at every level.
  for (const std::uint32_t side : {3u, 5u, 7u, 13u}) {
    Image image = solidImage(side, 1, {0, 0, 0, 255});
    double mean = 0;
    for (std::uint32_t x = 0; x < side; ++x) {
      image.pixels[x * 4] = static_cast<std::uint8_t>(x * 16);
      mean += x * 16.0 / side;
    }
    EXPECT_NEAR(pyramidOf(image, false).levels().back().texels[0], mean, 1.5) << side;
  }
}

TEST(TexturePyramid, IsTheSameOnAnyNumberOfThreads) {
  const Image image = checker(301, 3);
  std::vector<std::vector<std::uint8_t>> results;
  for (const std::size_t threads : {1u, 2u, 16u}) {
    withThreadLimit(threads, [&] {
      const TexturePyramid pyramid = pyramidOf(image, true);
      std::vector<std::uint8_t>& bytes = results.emplace_back();
      for (std::size_t l = 1; l < pyramid.levels().size(); ++l) {
        const MipLevel& level = pyramid.levels()[l];
        bytes.insert(bytes.end(), level.texels, level.texels + std::size_t{level.width} * level.height * 4);
      }
    });
  }
  EXPECT_EQ(results[0], results[1]);
  EXPECT_EQ(results[0], results[2]);
}

/// Texture coordinates at a pixel centre with their change from one pixel to the next.
struct TextureFootprint {
  float u = 0, v = 0;
  float dudx = 0, dvdx = 0;  ///< Per pixel to the right.
  float dudy = 0, dvdy = 0;  ///< Per pixel downwards.
};

/// One fragment's sample.
simd_float4 sampleTexture(const TexturePyramid& pyramid, const device::MaterialSlot& slot,
                          const TextureFootprint& footprint) {
  const auto lanes = std::make_unique<CoordinateLanes>();
  lanes->u[0] = footprint.u;
  lanes->v[0] = footprint.v;
  lanes->dudx[0] = footprint.dudx;
  lanes->dvdx[0] = footprint.dvdx;
  lanes->dudy[0] = footprint.dudy;
  lanes->dvdy[0] = footprint.dvdy;
  const TextureRead read{&pyramid, &slot};
  const auto sample = std::make_unique<Lane4>();
  sampleTextures({&read, 1}, {lanes.get(), 1}, 1, {sample.get(), 1});
  return {sample->x[0], sample->y[0], sample->z[0], sample->w[0]};
}

simd_float4 sampleTexture(const TexturePyramid& pyramid, device::WrapMode wrapS, device::WrapMode wrapT,
                          const TextureFootprint& footprint) {
  device::MaterialSlot slot;
  slot.wrapS = wrapS;
  slot.wrapT = wrapT;
  return sampleTexture(pyramid, slot, footprint);
}

simd_float4 sampleAt(const TexturePyramid& pyramid, device::WrapMode wrap, float u, float v) {
  return sampleTexture(pyramid, wrap, wrap, {u, v, 0, 0, 0, 0});
}

TEST(TextureSampler, WrapsClampsAndMirrors) {
  Image image = solidImage(4, 1, {0, 0, 0, 255});
  for (std::uint32_t x = 0; x < 4; ++x) image.pixels[x * 4] = static_cast<std::uint8_t>(x * 85);
  const TexturePyramid pyramid = pyramidOf(image, false);
  const auto at = [&](device::WrapMode wrap, float u) { return sampleAt(pyramid, wrap, u, 0.5f).x * 3; };
  using device::WrapMode;
  for (int texel = 0; texel < 4; ++texel) {
    const float center = (static_cast<float>(texel) + 0.5f) / 4;
    const auto value = static_cast<float>(texel);
    for (const WrapMode wrap : {WrapMode::clamp, WrapMode::repeat, WrapMode::mirror})
      EXPECT_NEAR(at(wrap, center), value, 1e-5);
    EXPECT_NEAR(at(WrapMode::repeat, center - 3), value, 1e-5);
    EXPECT_NEAR(at(WrapMode::repeat, center + 5), value, 1e-5);
    EXPECT_NEAR(at(WrapMode::mirror, -center), value, 1e-5);
    EXPECT_NEAR(at(WrapMode::mirror, 2 - center), value, 1e-5);
    EXPECT_NEAR(at(WrapMode::mirror, 4 + center), value, 1e-5);
  }
  EXPECT_NEAR(at(WrapMode::clamp, -7), 0, 1e-6);
  EXPECT_NEAR(at(WrapMode::clamp, 7), 3, 1e-6);
  EXPECT_NEAR(at(WrapMode::repeat, 0), 1.5, 1e-5);  // Between the last and the first.
  EXPECT_NEAR(at(WrapMode::mirror, 0), 0, 1e-6);
  EXPECT_NEAR(at(WrapMode::clamp, 0.5f), 1.5, 1e-5);
}

TEST(TextureSampler, GivesADefinedTexelForAnyCoordinates) {
  const TexturePyramid pyramid = pyramidOf(checker(8, 1), true);
  const float bad[] = {std::numeric_limits<float>::quiet_NaN(),
                       std::numeric_limits<float>::infinity(),
                       -std::numeric_limits<float>::infinity(),
                       1e30f,
                       -1e30f,
                       1e-40f,
                       16777217.0f};
  for (const auto wrap : {device::WrapMode::clamp, device::WrapMode::repeat, device::WrapMode::mirror}) {
    for (const float a : bad) {
      for (const float b : bad) {
        for (const TextureFootprint& footprint :
             {TextureFootprint{a, b, 0, 0, 0, 0}, TextureFootprint{0.5f, 0.5f, a, b, b, a},
              TextureFootprint{a, a, b, b, a, a}}) {
          const simd_float4 texel = sampleTexture(pyramid, wrap, wrap, footprint);
          ASSERT_TRUE(texel.x >= 0 && texel.x <= 1.0001f) << a << " " << b;
        }
      }
    }
  }
}

TEST(TextureSampler, ReadsTheSmallestLevelForAWholeTextureInAPixel) {
  const TexturePyramid pyramid = pyramidOf(checker(64, 1), true);
  const simd_float4 texel =
      sampleTexture(pyramid, device::WrapMode::repeat, device::WrapMode::repeat, {0.3f, 0.7f, 1, 0, 0, 1});
  EXPECT_NEAR(texel.x, linearFromSRGB8(188), 1e-5);
}

TEST(TextureSampler, ResolvesTheShortAxisOfALongFootprint) {
  // Vertical stripes 8 texels wide, seen with a footprint of 8 texels along the stripes and 1 across: the stripe stays
  // pure.
  Image stripes = solidImage(64, 64, {255, 255, 255, 255});
  for (std::uint32_t y = 0; y < 64; ++y) {
    for (std::uint32_t x = 0; x < 64; ++x) {
      if (x / 8 % 2 == 1) stripes.pixels[y * stripes.rowBytes() + x * 4] = 0;
    }
  }
  const TexturePyramid pyramid = pyramidOf(stripes, false);
  for (const bool isSwapped : {false, true}) {
    TextureFootprint footprint{4.0f / 64, 0.5f, 1.0f / 64, 0, 0, 8.0f / 64};
    if (isSwapped) footprint = {4.0f / 64, 0.5f, 0, 8.0f / 64, 1.0f / 64, 0};
    EXPECT_NEAR(sampleTexture(pyramid, device::WrapMode::repeat, device::WrapMode::repeat, footprint).x, 1, 1e-4);
  }
}

TEST(TextureSampler, ShowsSharpTexelsWhereTheNearestIsAskedFor) {
  Image image = solidImage(5, 3, {0, 0, 0, 255});
  for (std::size_t i = 0; i < image.pixels.size(); i += 4) image.pixels[i] = static_cast<std::uint8_t>(i * 4);
  const TexturePyramid pyramid = pyramidOf(image, false);
  for (const auto wrap : {device::WrapMode::clamp, device::WrapMode::repeat, device::WrapMode::mirror}) {
    device::MaterialSlot slot;
    slot.wrapS = slot.wrapT = wrap;
    slot.magnificationFilter = device::FilterMode::nearest;
    for (std::uint32_t y = 0; y < 3; ++y) {
      for (std::uint32_t x = 0; x < 5; ++x) {
        for (const float within : {0.01f, 0.3f, 0.7f, 0.99f}) {
          const TextureFootprint footprint{
              (static_cast<float>(x) + within) / 5, (static_cast<float>(y) + within) / 3, 0.1f / 5, 0, 0, 0.2f / 3};
          EXPECT_NEAR(sampleTexture(pyramid, slot, footprint).x, image.pixel(x, y)[0] / 255.0, 1e-6)
              << x << ", " << y << ", " << within;
        }
      }
    }
  }
}

TEST(TextureSampler, AveragesWhatIsSmallWhereTheNearestIsAskedFor) {
  const TexturePyramid pyramid = pyramidOf(checker(64, 1), false);
  device::MaterialSlot slot;
  slot.wrapS = slot.wrapT = device::WrapMode::repeat;
  slot.magnificationFilter = slot.mipFilter = device::FilterMode::nearest;
  for (const float u : {0.1f, 0.33f, 0.77f}) {
    EXPECT_NEAR(sampleTexture(pyramid, slot, {u, u, 3.0f / 64, 0, 0, 3.0f / 64}).x, 128 / 255.0, 1e-5) << u;
  }
}

TEST(TextureSampler, TakesTheNearerOfTwoLevelsWhereAskedFor) {
  // Level 0 is black and white, level 1 and all others are grey.
  const TexturePyramid pyramid = pyramidOf(checker(64, 1), false);
  device::MaterialSlot slot;
  slot.mipFilter = device::FilterMode::nearest;
  const auto sampled = [&](float texelsPerPixel) {
    const float step = texelsPerPixel / 64;
    return sampleTexture(pyramid, slot, {20.5f / 64, 20.5f / 64, step, 0, 0, step}).x;
  };
  EXPECT_NEAR(sampled(1.35f), 1, 1e-5);
  EXPECT_NEAR(sampled(1.5f), 128 / 255.0, 1e-5);
  EXPECT_NEAR(sampled(2.7f), 128 / 255.0, 1e-5);
  slot.mipFilter = device::FilterMode::linear;
  EXPECT_GT(sampled(1.5f), 0.6);
  EXPECT_LT(sampled(1.35f), 0.9);
}

/// Straight texels of one level, bilinear, in double precision, from the definitions.
std::array<double, 4> bilinear(const TexturePyramid& pyramid, std::size_t number, device::WrapMode wrap, double u,
                               double v) {
  const MipLevel& level = pyramid.levels()[number];
  const auto wrapped = [&](std::uint32_t side, std::int64_t texel) {
    const auto n = static_cast<std::int64_t>(side);
    if (wrap == device::WrapMode::repeat) return ((texel % n) + n) % n;
    return std::clamp<std::int64_t>(texel, 0, n - 1);
  };
  if (wrap == device::WrapMode::mirror) {
    const auto fold = [](double x) { return 1 - std::abs(1 - (x - 2 * std::floor(x / 2))); };
    u = fold(u);
    v = fold(v);
  }
  if (wrap == device::WrapMode::clamp) {
    u = std::clamp(u, 0.0, 1.0);
    v = std::clamp(v, 0.0, 1.0);
  }
  const double x = u * level.width - 0.5, y = v * level.height - 0.5;
  std::array<double, 4> sum{};
  for (int j = 0; j < 2; ++j) {
    for (int i = 0; i < 2; ++i) {
      const double column = std::floor(x) + i, row = std::floor(y) + j;
      const double weight = (1 - std::abs(x - column)) * (1 - std::abs(y - row));
      const auto s = static_cast<std::size_t>(wrapped(level.width, static_cast<std::int64_t>(column)));
      const auto t = static_cast<std::size_t>(wrapped(level.height, static_cast<std::int64_t>(row)));
      const std::uint8_t* texel = level.texels + (t * level.width + s) * 4;
      const double alpha = texel[3] / 255.0;
      for (std::size_t c = 0; c < 3; ++c) {
        const double value = pyramid.isSRGB() ? double{linearFromSRGB8(texel[c])} : texel[c] / 255.0;
        sum[c] += weight * value * (pyramid.isPremultiplied() ? alpha : 1);
      }
      sum[3] += weight * alpha;
    }
  }
  return sum;
}

struct ReferenceSample {
  std::array<double, 4> texel{};
  bool isOnEdge = false;  ///< Rounding may decide otherwise on the number of samples.
};

/// The documented filter, in double precision.
ReferenceSample referenceSample(const TexturePyramid& pyramid, device::WrapMode wrap, const TextureFootprint& f) {
  const double width = pyramid.levels()[0].width, height = pyramid.levels()[0].height;
  const double xu = f.dudx * width, xv = f.dvdx * height, yu = f.dudy * width, yv = f.dvdy * height;
  const double a = xu * xu + yu * yu, b = xu * xv + yu * yv, c = xv * xv + yv * yv;
  const double radius = std::hypot((a - c) / 2, b), major = (a + c) / 2 + radius;
  const double minor = std::max((a + c) / 2 - radius, 1.0);
  ReferenceSample result;
  double count = 1, level = 0, angle = 0;
  if (major > 1) {
    const double ratio = std::sqrt(major / minor) - 0.01;
    count = std::clamp(std::floor(ratio) + 1, 1.0, 8.0);
    result.isOnEdge = ratio < 8.1 && std::abs(ratio - std::round(ratio)) < 0.01;
    level = std::clamp(std::log2(std::sqrt(major) / count), 0.0, static_cast<double>(pyramid.levels().size() - 1));
    angle = 0.5 * std::atan2(2 * b, a - c);
  }
  result.isOnEdge = result.isOnEdge || std::abs(major - 1) < 0.01;
  const auto fine = static_cast<std::size_t>(level);
  const std::size_t coarse = std::min(fine + 1, pyramid.levels().size() - 1);
  const double share = level - static_cast<double>(fine);
  const double stepU = count > 1 ? std::sqrt(major) * std::cos(angle) / width : 0;
  const double stepV = count > 1 ? std::sqrt(major) * std::sin(angle) / height : 0;
  for (int k = 0; k < static_cast<int>(count); ++k) {
    const double along = (k + 0.5) / count - 0.5;
    const auto near = bilinear(pyramid, fine, wrap, f.u + stepU * along, f.v + stepV * along);
    const auto far = bilinear(pyramid, coarse, wrap, f.u + stepU * along, f.v + stepV * along);
    for (std::size_t i = 0; i < 4; ++i) result.texel[i] += (near[i] * (1 - share) + far[i] * share) / count;
  }
  if (pyramid.isPremultiplied() && result.texel[3] > 0) {
    for (std::size_t i = 0; i < 3; ++i) result.texel[i] /= result.texel[3];
  }
  return result;
}

TEST(TextureSampler, FollowsItsDefinitionInDoublePrecision) {
  std::mt19937 random(8);
  std::uniform_real_distribution<float> place(-1.5f, 2.5f), exponent(-9, -1), turn(0, 6.2831853f);
  Image noise = solidImage(48, 33, {0, 0, 0, 255});
  for (std::uint8_t& sample : noise.pixels) sample = static_cast<std::uint8_t>(random());
  int compared = 0;
  for (const auto& [isSRGB, hasTransparency] :
       {std::pair{true, true}, std::pair{false, true}, std::pair{true, false}}) {
    Image image = noise;
    for (std::size_t i = 3; i < image.pixels.size() && !hasTransparency; i += 4) image.pixels[i] = 255;
    const TexturePyramid pyramid = pyramidOf(image, isSRGB, hasTransparency);
    for (const auto wrap : {device::WrapMode::clamp, device::WrapMode::repeat, device::WrapMode::mirror}) {
      for (int trial = 0; trial < 1000; ++trial) {
        const float along = std::exp2(exponent(random)), across = std::exp2(exponent(random)), t = turn(random);
        const float s = std::sin(t), c = std::cos(t);
        const TextureFootprint footprint{place(random), place(random), along * c, along * s, -across * s, across * c};
        const ReferenceSample expected = referenceSample(pyramid, wrap, footprint);
        if (expected.isOnEdge) continue;
        ++compared;
        const simd_float4 texel = sampleTexture(pyramid, wrap, wrap, footprint);
        for (std::size_t i = 0; i < 4; ++i) {
          // Colour divided by a small alpha has fewer digits.
          const double tolerance = 2e-4 / (pyramid.isPremultiplied() ? std::max(expected.texel[3], 0.01) : 1.0);
          ASSERT_NEAR(texel[i], expected.texel[i], tolerance) << trial << ", component " << i;
        }
      }
    }
  }
  EXPECT_GT(compared, 8000);
}

FrameBuilder texturedQuad(Image image, bool hasTransparency, float repeats) {
  FrameBuilder scene(64, 64);
  device::Material material = FrameBuilder::constantMaterial({1, 1, 1, 1});
  material.diffuse.texture = scene.addTexture(std::move(image), true, hasTransparency);
  material.diffuse.wrapS = material.diffuse.wrapT = device::WrapMode::repeat;
  material.diffuse.transform[0] = material.diffuse.transform[3] = repeats;
  scene.add(quad(-1, -1, 1, 1, -1), material);
  return scene;
}

TEST(Textures, ShowTexelsWhereTheyBelong) {
  // The origin of coordinates is the top left of the image; 64 pixels over 2 texels, so that texel centres are pure.
  Image image = solidImage(2, 2, {0, 0, 0, 255});
  image.pixels[0] = 255;   // Top left red.
  image.pixels[5] = 255;   // Top right green.
  image.pixels[10] = 255;  // Bottom left blue.
  FrameBuilder scene = texturedQuad(image, false, 1);
  scene.frame.materials[0].diffuse.wrapS = scene.frame.materials[0].diffuse.wrapT = device::WrapMode::clamp;
  const Image picture = scene.render();
  EXPECT_EQ(pixelAt(picture, 2, 2), (std::array<int, 4>{255, 0, 0, 255}));
  EXPECT_EQ(pixelAt(picture, 61, 2), (std::array<int, 4>{0, 255, 0, 255}));
  EXPECT_EQ(pixelAt(picture, 2, 61), (std::array<int, 4>{0, 0, 255, 255}));
  EXPECT_EQ(pixelAt(picture, 61, 61), (std::array<int, 4>{0, 0, 0, 255}));
}

TEST(Textures, StayGreyWhenACheckerIsTooFineToSee) {
  const Image picture = texturedQuad(checker(64, 1), false, 16).render();
  for (std::uint32_t y = 0; y < 64; ++y) {
    for (std::uint32_t x = 0; x < 64; ++x) ASSERT_NEAR(pixelAt(picture, x, y)[0], 188, 1);
  }
}

/// A level square, one below the camera and 600 long, over which a texture repeats `repeats` times each way.
MeshData floorToTheHorizon(float repeats) {
  MeshData floor;
  floor.positions = {-300, -1, 0, 300, -1, 0, 300, -1, -600, -300, -1, -600};
  floor.texcoords = {0, repeats, repeats, repeats, repeats, 0, 0, 0};
  floor.indices = {0, 1, 2, 0, 2, 3};
  return floor;
}

TEST(Textures, KeepTheirMeanOnAPlaneSeenAtAGrazingAngle) {
  FrameBuilder scene(256, 128);
  device::Material material = FrameBuilder::constantMaterial({1, 1, 1, 1});
  material.diffuse.texture = scene.addTexture(checker(128, 8), true);
  material.diffuse.wrapS = material.diffuse.wrapT = device::WrapMode::repeat;
  scene.add(floorToTheHorizon(150), material);
  const Image picture = scene.render();
  // In linear light every stretch of rows averages to a half, and toward the horizon single pixels do.
  for (const std::uint32_t first : {66u, 70u, 80u, 96u}) {
    double sum = 0;
    for (std::uint32_t y = first; y < first + 4; ++y) {
      for (std::uint32_t x = 0; x < 256; ++x)
        sum += linearFromSRGB8(static_cast<std::uint8_t>(pixelAt(picture, x, y)[0]));
    }
    EXPECT_NEAR(sum / 1024, 0.5, 0.06) << first;
  }
  for (std::uint32_t x = 0; x < 256; ++x) ASSERT_NEAR(pixelAt(picture, x, 64)[0], 188, 6) << x;
}

TEST(Textures, KeepTheirContrastOnAPlaneSeenAtAGrazingAngleAsLongAsItCanBeSeen) {
  FrameBuilder scene(320, 160);
  scene.frame.camera.verticalFieldOfView = 60;
  device::Material material = FrameBuilder::constantMaterial({1, 1, 1, 1});
  material.diffuse.texture = scene.addTexture(checker(512, 64), true);
  material.diffuse.wrapS = material.diffuse.wrapT = device::WrapMode::repeat;
  scene.add(floorToTheHorizon(75), material);
  const Image picture = scene.render();
  const auto light = [&](std::uint32_t x, std::uint32_t y) {
    return linearFromSRGB8(static_cast<std::uint8_t>(pixelAt(picture, x, y)[0]));
  };
  const auto contrast = [&](std::uint32_t y) {
    float low = 1, high = 0;
    for (std::uint32_t x = 120; x < 200; ++x) {
      low = std::min(low, light(x, y));
      high = std::max(high, light(x, y));
    }
    return high - low;
  };
  // A cell has the side of the camera's height: d rows below the horizon it is d pixels wide, and a pixel spans 139 /
  // d^2 of it in depth. Of three rows one lies clear of the border between two cells.
  const auto clearest = [&](std::uint32_t y) { return std::max({contrast(y), contrast(y + 1), contrast(y + 2)}); };
  for (std::uint32_t y = 100; y < 158; ++y) EXPECT_GT(clearest(y), 0.99f) << y;
  for (std::uint32_t y = 94; y < 100; ++y) EXPECT_GT(clearest(y), 0.7f) << y;
  EXPECT_LT(contrast(81), 0.25f);
  // No shimmer: what can no longer be told apart is grey to the eye.
  for (std::uint32_t x = 100; x < 220; ++x) EXPECT_NEAR(light(x, 80), 0.5, 0.1) << x;
}

TEST(Textures, WithTransparencyHaveNoFringes) {
  // A white disc on transparent black: wherever anything is seen it is white, at every size.
  Image disc = solidImage(64, 64, {0, 0, 0, 0});
  for (std::uint32_t y = 0; y < 64; ++y) {
    for (std::uint32_t x = 0; x < 64; ++x) {
      const double dx = x - 31.5, dy = y - 31.5;
      if (dx * dx + dy * dy > 700) continue;
      for (std::size_t c = 0; c < 4; ++c) disc.pixels[y * disc.rowBytes() + x * 4 + c] = 255;
    }
  }
  for (const float repeats : {0.3f, 1.0f, 3.7f, 40.0f}) {
    FrameBuilder scene = texturedQuad(disc, true, repeats);
    scene.frame.blendedItems.swap(scene.frame.opaqueItems);
    const Image picture = scene.render();
    std::size_t seen = 0;
    for (std::uint32_t y = 0; y < 64; ++y) {
      for (std::uint32_t x = 0; x < 64; ++x) {
        const auto pixel = pixelAt(picture, x, y);
        if (pixel[3] == 0) continue;
        ++seen;
        ASSERT_EQ(pixel[0], 255) << repeats << " at " << x << ", " << y;
      }
    }
    EXPECT_GT(seen, 500u);
  }
}

TEST(Textures, OfAMissingChannelShowTheirCorner) {
  Image image = solidImage(4, 4, {0, 0, 0, 255});
  image.pixels[0] = 255;
  FrameBuilder scene = texturedQuad(image, false, 1);
  scene.frame.materials[0].diffuse.wrapS = scene.frame.materials[0].diffuse.wrapT = device::WrapMode::clamp;
  scene.frame.materials[0].diffuse.channel = 5;
  EXPECT_EQ(pixelAt(scene.render(), 50, 50)[0], 255);
}

TEST(Textures, AreKeptByIdentityAndChangeWithIt) {
  FrameBuilder scene = texturedQuad(solidImage(2, 2, {255, 0, 0, 255}), false, 1);
  const auto device = makeCPURenderDevice();
  EXPECT_EQ(pixelAt(device->render(scene.frame), 9, 9)[0], 255);
  EXPECT_EQ(pixelAt(device->render(scene.frame), 9, 9)[0], 255);
  scene.frame.textures[0].image = std::make_shared<const Image>(solidImage(2, 2, {0, 255, 0, 255}));
  EXPECT_EQ(pixelAt(device->render(scene.frame), 9, 9)[0], 0);
  device->releaseResources();
  EXPECT_EQ(pixelAt(device->render(scene.frame), 9, 9)[1], 255);
}

}  // namespace
}  // namespace ornolith
