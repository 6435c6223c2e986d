#include "loaders/gltf/GLTFSpecularGlossiness.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <cstddef>
#include <cstdint>
#include <utility>
#include <vector>

#include "foundation/Parallel.h"
#include "imaging/Color.h"
#include "imaging/ImageDecoder.h"
#include "imaging/ImageSize.h"

namespace ornolith {

namespace {

constexpr float dielectricSpecular = 0.04F;
constexpr float epsilon = 1e-4F;

/// What each byte of an encoded image may become, and what an attempt counts at least, so that images that do not
/// decode are not tried for ever.
constexpr std::uint64_t bytesPerEncodedByte = 128;
constexpr std::uint64_t largestVouchingSize = std::uint64_t{1} << 40;
constexpr std::uint64_t bytesPerAttempt = std::uint64_t{1} << 20;

float saturated(float value) {
  return value > 0 ? std::min(value, 1.0F) : 0.0F;
}

simd_float3 saturated(simd_float3 color) {
  return {saturated(color.x), saturated(color.y), saturated(color.z)};
}

float perceivedBrightness(simd_float3 color) {
  return std::sqrt(0.299F * color.x * color.x + 0.587F * color.y * color.y + 0.114F * color.z * color.z);
}

float largestComponent(simd_float3 color) {
  return std::max({color.x, color.y, color.z});
}

/// The root of a quadratic equation that says how much of the surface is metal.
float solvedMetallic(float diffuse, float specular, float oneMinusSpecularStrength) {
  if (specular < dielectricSpecular) return 0;
  const float a = dielectricSpecular;
  const float b = diffuse * oneMinusSpecularStrength / (1 - a) + specular - 2 * a;
  const float c = a - specular;
  const float discriminant = std::max(b * b - 4 * a * c, 0.0F);
  return saturated((-b + std::sqrt(discriminant)) / (2 * a));
}

std::uint8_t byteOf(float value) {
  const float code = saturated(value) * 255.0F + 0.5F;
  return static_cast<std::uint8_t>(code);
}

bool isSameTexel(const std::uint8_t* a, const std::uint8_t* b) {
  return std::equal(a, a + 4, b);
}

simd_float3 linearColorOf(const std::uint8_t* texel) {
  return {linearFromSRGB8(texel[0]), linearFromSRGB8(texel[1]), linearFromSRGB8(texel[2])};
}

/// An image stretched to a size, by the nearest texel; white where there is none.
class Stretched {
 public:
  Stretched(const Image* image, std::uint32_t width, std::uint32_t height)
      : image_(image), width_(width), height_(height) {}

  const std::uint8_t* texel(std::uint32_t x, std::uint32_t y) const {
    static constexpr std::array<std::uint8_t, 4> white{255, 255, 255, 255};
    if (image_ == nullptr) return white.data();
    return image_->pixel(scaled(x, image_->width, width_), scaled(y, image_->height, height_));
  }

 private:
  static std::uint32_t scaled(std::uint32_t place, std::uint32_t own, std::uint32_t full) {
    return static_cast<std::uint32_t>(std::uint64_t{place} * own / full);
  }
  const Image* image_;
  std::uint32_t width_;
  std::uint32_t height_;
};

}  // namespace

MetallicRoughness metallicRoughness(simd_float3 diffuse, simd_float3 specular, float glossiness) {
  diffuse = saturated(diffuse);
  specular = saturated(specular);
  const float oneMinusSpecularStrength = 1 - largestComponent(specular);
  const float metallic =
      solvedMetallic(perceivedBrightness(diffuse), perceivedBrightness(specular), oneMinusSpecularStrength);
  const simd_float3 ofDielectric =
      diffuse * (oneMinusSpecularStrength / (1 - dielectricSpecular) / std::max(1 - metallic, epsilon));
  const float ownShare = dielectricSpecular * (1 - metallic);
  const simd_float3 ofMetal =
      (specular - simd_float3{ownShare, ownShare, ownShare}) * (1 / std::max(metallic, epsilon));
  const float share = metallic * metallic;
  return {saturated(ofDielectric * (1 - share) + ofMetal * share), metallic, 1 - saturated(glossiness)};
}

std::optional<MetallicRoughnessImages> SpecularGlossinessConverter::convert(const SpecularGlossiness& source) {
  if (!take(bytesPerAttempt)) return std::nullopt;
  const std::shared_ptr<const Image> diffuseImage = decoded(source.diffuse);
  const std::shared_ptr<const Image> specularImage = decoded(source.specularGlossiness);
  if (!diffuseImage && !specularImage) return std::nullopt;
  const auto side = [&](std::uint32_t Image::*size) {
    return std::max(diffuseImage ? (*diffuseImage).*size : 1, specularImage ? (*specularImage).*size : 1);
  };
  const std::uint32_t width = side(&Image::width);
  const std::uint32_t height = side(&Image::height);
  const std::uint64_t byteCount = std::uint64_t{width} * height * 4;
  if (!take(2 * bytesWithMipLevels(byteCount))) return std::nullopt;

  const Stretched diffuse(diffuseImage.get(), width, height);
  const Stretched specularGlossiness(specularImage.get(), width, height);
  auto baseColor = std::make_shared<Image>(Image{width, height, PixelBytes(byteCount)});
  auto roughness = std::make_shared<Image>(Image{width, height, PixelBytes(byteCount)});
  parallelFor(height, 64, [&](std::size_t row) {
    const auto y = static_cast<std::uint32_t>(row);
    std::uint8_t* color = baseColor->pixels.data() + row * baseColor->rowBytes();
    std::uint8_t* data = roughness->pixels.data() + row * roughness->rowBytes();
    for (std::uint32_t x = 0; x < width; ++x, color += 4, data += 4) {
      const std::uint8_t* diffuseTexel = diffuse.texel(x, y);
      const std::uint8_t* specularTexel = specularGlossiness.texel(x, y);
      const bool isAsBefore = x > 0 && isSameTexel(diffuseTexel, diffuse.texel(x - 1, y)) &&
                              isSameTexel(specularTexel, specularGlossiness.texel(x - 1, y));
      if (isAsBefore) {
        std::copy_n(color - 4, 4, color);
        std::copy_n(data - 4, 4, data);
        continue;
      }
      const MetallicRoughness converted = metallicRoughness(
          linearColorOf(diffuseTexel) * source.diffuseFactor, linearColorOf(specularTexel) * source.specularFactor,
          static_cast<float>(specularTexel[3]) / 255.0F * source.glossinessFactor);
      color[0] = sRGB8FromLinear(converted.baseColor.x);
      color[1] = sRGB8FromLinear(converted.baseColor.y);
      color[2] = sRGB8FromLinear(converted.baseColor.z);
      color[3] = diffuseTexel[3];
      data[0] = 255;
      data[1] = byteOf(converted.roughness);
      data[2] = byteOf(converted.metallic);
      data[3] = 255;
    }
  });
  return MetallicRoughnessImages{std::move(baseColor), std::move(roughness)};
}

std::shared_ptr<const Image> SpecularGlossinessConverter::decoded(const SCNMaterialContents& contents) {
  if (const auto* encoded = std::get_if<std::shared_ptr<const EncodedImage>>(&contents)) {
    allow(vouching_.add((*encoded)->bytes));
    return decoded((*encoded)->bytes);
  }
  if (const FileURL* url = std::get_if<FileURL>(&contents)) {
    const std::optional<std::vector<std::byte>> file = readImageFile(url->path());
    if (!file) return nullptr;
    takenBytes_ += file->size();
    if (knownFiles_.insert(url->path()).second) allow(file->size());
    return decoded(*file);
  }
  return nullptr;
}

std::shared_ptr<const Image> SpecularGlossinessConverter::decoded(std::span<const std::byte> bytes) {
  const std::optional<std::uint64_t> byteCount = decodedByteCount(bytes);
  if (!byteCount || !take(*byteCount)) return nullptr;
  std::optional<Image> image = decodeImage(bytes);
  if (!image) return nullptr;
  return std::make_shared<const Image>(*std::move(image));
}

void SpecularGlossinessConverter::allow(std::uint64_t encodedBytes) noexcept {
  allowedBytes_ += std::min(encodedBytes, largestVouchingSize) * bytesPerEncodedByte;
}

bool SpecularGlossinessConverter::take(std::uint64_t bytes) noexcept {
  if (takenBytes_ >= allowedBytes_ || bytes > allowedBytes_ - takenBytes_) return false;
  takenBytes_ += bytes;
  return true;
}

}  // namespace ornolith
