#include <gtest/gtest.h>

#include <cstddef>
#include <vector>

#include "imaging/ImageSize.h"
#include "imaging/PNGEncoder.h"
#include "loaders/fbx/FbxEmbeddedImages.h"

namespace ornolith {
namespace {

constexpr std::size_t imageBytes = std::size_t{64} * 64 * 4;
constexpr std::size_t imageMemory = bytesWithMipLevels(imageBytes);

std::vector<std::byte> pngOf(std::uint8_t value) {
  return encodePNG(Image{64, 64, PixelBytes(imageBytes, value)});
}

ufbx_blob blobOf(const std::vector<std::byte>& bytes) {
  return {bytes.data(), bytes.size()};
}

TEST(FbxEmbeddedImages, AreDecodedOncePerContent) {
  const std::vector<std::byte> first = pngOf(1), same = pngOf(1), other = pngOf(2);
  FbxEmbeddedImages images(2 * imageMemory);
  const auto decoded = images.image(blobOf(first));
  ASSERT_TRUE(decoded);
  EXPECT_EQ(decoded->pixels[0], 1);
  EXPECT_EQ(images.image(blobOf(first)), decoded);
  EXPECT_EQ(images.image(blobOf(same)), decoded);
  EXPECT_TRUE(images.image(blobOf(other)));
}

TEST(FbxEmbeddedImages, AreNotDecodedBeyondTheLimitWithTheirMipLevels) {
  const std::vector<std::byte> contents[] = {pngOf(1), pngOf(2), pngOf(3)};
  const ufbx_blob blobs[] = {blobOf(contents[0]), blobOf(contents[1]), blobOf(contents[2])};
  FbxEmbeddedImages images(3 * imageMemory - 1);
  images.decode(blobs);
  EXPECT_TRUE(images.image(blobs[0]));
  EXPECT_TRUE(images.image(blobs[1]));
  EXPECT_FALSE(images.image(blobs[2]));
}

TEST(FbxEmbeddedImages, CountWhereDamageIsFoundButNotWhereTheyAreNone) {
  std::vector<std::byte> damaged = pngOf(1);
  damaged.resize(damaged.size() - 20);
  const std::vector<std::byte> none(100, std::byte{7}), sound = pngOf(2), another = pngOf(3);
  FbxEmbeddedImages images(2 * imageMemory);
  EXPECT_FALSE(images.image(blobOf(damaged)));
  EXPECT_FALSE(images.image(blobOf(none)));
  EXPECT_TRUE(images.image(blobOf(sound)));
  EXPECT_FALSE(images.image(blobOf(another)));
}

}  // namespace
}  // namespace ornolith
