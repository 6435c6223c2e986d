#include <gtest/gtest.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cstdlib>
#include <fstream>
#include <string>
#include <thread>

#include "TestImages.h"
#include "imaging/ByteOrder.h"
#include "imaging/ImageDecoder.h"
#include "imaging/ImageSize.h"
#include "imaging/PNGEncoder.h"

namespace ornolith {
namespace {

using namespace ornolith::testing;

struct Sample {
  std::string name;
  ImageKind kind;
  ByteVector file;
};

const std::vector<Sample>& samples() {
  static const std::vector<Sample> all = [] {
    const Image small = gradientImage(24, 16);
    const Image clear = noiseImage(24, 16);
    ByteWriter tga = tgaHeader(10, 24, 16, 24, 0);
    for (int i = 0; i < 48; ++i) tga.u8(0x87).u8(1).u8(2).u8(3);
    ByteWriter bmp = bmpHeader(24, 16, 24, 0, 0);
    bmp.zeros(24 * 16 * 3);
    return std::vector<Sample>{
        {"png", ImageKind::png, encodePNG(clear)},
        {"interlaced png", ImageKind::png, writePNG(24, 16, {8, 0, true}, std::vector<ByteVector>(16, ByteVector(24)))},
        {"jpeg", ImageKind::jpeg, writeJPEG(small, {})},
        {"progressive jpeg", ImageKind::jpeg, writeJPEG(small, {.isProgressive = true, .orientation = 6})},
        {"tiff", ImageKind::tiff, writeTIFF(clear, {.compression = 5})},
        {"converted tiff", ImageKind::tiff, writeTIFF(clear, {.samples = 1, .isTiled = true, .isPalette = true})},
        {"big-endian tiff", ImageKind::tiff, writeTIFF(clear, {.isBigEndian = true})},
        {"large-file tiff", ImageKind::tiff, writeTIFF(clear, {.isTiled = true, .isBig = true})},
        {"tga", ImageKind::tga, tga.take()},
        {"bmp", ImageKind::bmp, bmp.take()},
        {"heic", ImageKind::heic, writeHEIC(small)},
        {"exr", ImageKind::exr, writeEXR(clear, {})},
        {"tiled exr", ImageKind::exr, writeEXR(clear, {.isTiled = true})},
        {"webp", ImageKind::webp, writeWebP(clear)},
        {"animated webp", ImageKind::webp, writeAnimatedWebP(small, 0, 0, 24, 16)}};
  }();
  return all;
}

void expectSoundOrNothing(const ByteVector& file, const std::optional<Image>& image) {
  if (!image) return;
  EXPECT_EQ(decodedByteCount(file), image->pixels.size());
  const ImageSize size = claimedImageSize(file).value_or(ImageSize{});
  EXPECT_TRUE(size == (ImageSize{image->width, image->height}) || size == (ImageSize{image->height, image->width}));
  EXPECT_GT(image->width, 0U);
  EXPECT_GT(image->height, 0U);
  EXPECT_EQ(image->pixels.size(), std::size_t{image->width} * image->height * 4);
}

TEST(ImageDecoder, TheKindIsToldByContent) {
  for (const Sample& sample : samples()) {
    EXPECT_EQ(imageKind(sample.file), sample.kind) << sample.name;
    const std::optional<Image> image = decodeImage(sample.file);
    ASSERT_TRUE(image) << sample.name;
    EXPECT_EQ(image->width * image->height, 24U * 16U) << sample.name;
  }
}

TEST(ImageDecoder, TheSizeIsToldByTheHeaderAlone) {
  for (const Sample& sample : samples()) {
    EXPECT_EQ(claimedImageSize(sample.file), (ImageSize{24, 16})) << sample.name;
    EXPECT_EQ(decodedByteCount(sample.file), 24U * 16 * 4) << sample.name;
  }
  // A picture that stands upright and rows that run from the top.
  ByteWriter bmp = bmpHeader(24, -16, 24, 0, 0);
  EXPECT_EQ(claimedImageSize(bmp.zeros(24 * 16 * 3).take()), (ImageSize{24, 16}));
}

TEST(ImageDecoder, TheSizeOfAJPEGIsToldWhereItsDecoderPassesOverWhatIsWrong) {
  const ByteVector insertions[] = {{std::byte{0}},
                                   {std::byte{0x12}, std::byte{0xff}, std::byte{0}},
                                   {std::byte{0xff}, std::byte{0xff}},
                                   {std::byte{0xff}, std::byte{0xfe}, std::byte{0}, std::byte{0}}};
  for (const Sample& sample : samples()) {
    if (sample.kind != ImageKind::jpeg) continue;
    for (const ByteVector& inserted : insertions) {
      ByteVector file = sample.file;
      const auto endOfFirstSegment = static_cast<std::ptrdiff_t>(4 + bigEndian16(file, 4));
      file.insert(file.begin() + endOfFirstSegment, inserted.begin(), inserted.end());
      ASSERT_TRUE(decodeImage(file)) << sample.name << " " << inserted.size();
      EXPECT_EQ(claimedImageSize(file), (ImageSize{24, 16})) << sample.name << " " << inserted.size();
    }
  }
}

TEST(ImageDecoder, TheSizeOfACutHeaderIsNothingOrTheSameSize) {
  for (const Sample& sample : samples()) {
    for (std::size_t length = 0; length < sample.file.size(); ++length) {
      const ByteVector cut(sample.file.begin(), sample.file.begin() + static_cast<std::ptrdiff_t>(length));
      const std::optional<ImageSize> size = claimedImageSize(cut);
      EXPECT_EQ(size.value_or(ImageSize{24, 16}), (ImageSize{24, 16})) << sample.name << " " << length;
    }
  }
}

TEST(ImageDecoder, AFileCutAtAnyLengthIsNothingOrSound) {
  for (const Sample& sample : samples()) {
    for (std::size_t length = 0; length < sample.file.size(); ++length) {
      // A copy of exactly this size, so that reading behind it is noticed.
      const ByteVector cut(sample.file.begin(), sample.file.begin() + static_cast<std::ptrdiff_t>(length));
      const std::optional<Image> image = decodeImage(cut);
      expectSoundOrNothing(cut, image);
      // What is cut by half has lost pixels in every kind.
      if (length < sample.file.size() / 2) {
        EXPECT_FALSE(image) << sample.name << " " << length;
      }
    }
  }
}

TEST(ImageDecoder, PatchedBytesGiveNothingOrASoundImage) {
  std::mt19937 random(5);
  for (const Sample& sample : samples()) {
    const int rounds = sample.kind == ImageKind::heic ? 150 : 500;
    for (int round = 0; round < rounds; ++round) {
      ByteVector patched = sample.file;
      for (unsigned i = 0; i <= random() % 4; ++i) {
        // Headers stand in front: half of the patches go there.
        const std::size_t range = random() % 2 == 0 ? std::min<std::size_t>(patched.size(), 64) : patched.size();
        patched[random() % range] = static_cast<std::byte>(random());
      }
      expectSoundOrNothing(patched, decodeImage(patched));
    }
  }
}

void writeBigEndian(ByteVector& file, std::size_t offset, std::uint32_t value) {
  for (std::size_t i = 0; i < 4; ++i) file[offset + i] = static_cast<std::byte>(value >> (24 - 8 * i) & 255U);
}

TEST(ImageDecoder, ClaimsOutOfProportionAreRefused) {
  // 16384 x 8192 pixels, half a gigabyte, in a few bytes.
  ByteWriter tga = tgaHeader(10, 16'384, 8192, 24, 0);
  EXPECT_FALSE(decodeImage(tga.zeros(1000).take()));
  ByteWriter bmp = bmpHeader(16'384, 8192, 8, 1, 0);
  EXPECT_FALSE(decodeImage(bmp.u16(0x0100).take()));
  ByteVector tiff = writeTIFF(noiseImage(4, 4), {});
  for (std::size_t i = 0; i + 12 <= tiff.size(); ++i) {
    const auto tag = std::to_integer<unsigned>(tiff[i]) | std::to_integer<unsigned>(tiff[i + 1]) << 8;
    if (tag == 256 || tag == 257) tiff[i + 9] = std::byte{0x20};  // Type and count lie between.
  }
  EXPECT_FALSE(decodeImage(tiff));
  ByteVector jpeg = writeJPEG(gradientImage(16, 16), {});
  for (std::size_t i = 0; i + 9 < jpeg.size(); ++i) {
    if (jpeg[i] == std::byte{0xff} && jpeg[i + 1] == std::byte{0xc0}) writeBigEndian(jpeg, i + 5, 0x20002000);
  }
  EXPECT_FALSE(decodeImage(jpeg));
  EXPECT_FALSE(decodedByteCount(tiff));
  EXPECT_FALSE(decodedByteCount(jpeg));
  // A flat picture of 12288 x 12288 that its own coder writes in a few hundred bytes.
  EXPECT_FALSE(decodeImage(writeWebP(blankImage(12'288, 12'288))));
}

TEST(ImageDecoder, WhatIsNoImageIsNothing) {
  EXPECT_FALSE(decodeImage({}));
  EXPECT_FALSE(imageKind({}));
  ByteWriter text;
  text.text("This is a text and no image, whatever its name says. It goes on for a while, and then it ends.\n");
  EXPECT_FALSE(decodeImage(text.take()));
  EXPECT_FALSE(decodeImage(ByteVector(5000)));
  EXPECT_FALSE(decodeImage(ByteVector(5000, std::byte{0xff})));
}

class ImageFile : public ::testing::Test {
 protected:
  void SetUp() override {
    std::string pattern = "/tmp/ornolith-imaging-XXXXXX";
    ASSERT_NE(::mkdtemp(pattern.data()), nullptr);
    folder_ = pattern;
  }
  void TearDown() override {
    for (const char* const name : {"file", "pipe", "link"}) ::unlink(path(name).c_str());
    ::rmdir(folder_.c_str());
  }
  std::string path(const std::string& name) const { return folder_ + "/" + name; }
  void write(const ByteVector& bytes) const {
    std::ofstream file(path("file"), std::ios::binary);
    file.write(reinterpret_cast<const char*>(bytes.data()), static_cast<std::streamsize>(bytes.size()));
  }

  std::string folder_;
};

TEST_F(ImageFile, IsDecodedWhateverItsName) {
  const Image image = noiseImage(9, 9);
  write(encodePNG(image));
  EXPECT_TRUE(decodeImageFile(path("file")) == image);
  ASSERT_EQ(::symlink(path("file").c_str(), path("link").c_str()), 0);
  EXPECT_TRUE(decodeImageFile(path("link")) == image);
}

TEST_F(ImageFile, ThatIsNoRegularFileOrHoldsNothingIsNothing) {
  EXPECT_FALSE(decodeImageFile(path("absent")));
  EXPECT_FALSE(decodeImageFile(folder_));
  EXPECT_FALSE(decodeImageFile(""));
  write({});
  EXPECT_FALSE(decodeImageFile(path("file")));
  ASSERT_EQ(::mkfifo(path("pipe").c_str(), 0600), 0);
  EXPECT_FALSE(decodeImageFile(path("pipe")));  // And does not wait for a writer.
}

TEST(ImageDecoder, SeveralThreadsMayDecodeAtOnce) {
  std::vector<std::thread> threads;
  for (int t = 0; t < 4; ++t) {
    threads.emplace_back([] {
      for (const Sample& sample : samples()) EXPECT_TRUE(decodeImage(sample.file)) << sample.name;
    });
  }
  for (std::thread& thread : threads) thread.join();
}

TEST(Image, TransparencyIsFoundInAnyPixel) {
  EXPECT_FALSE(hasTransparency({}));
  Image image = opaque(noiseImage(13, 7));
  EXPECT_FALSE(hasTransparency(image));
  for (const std::size_t pixel : {0U, 45U, 90U}) {
    image.pixels[pixel * 4 + 3] = 254;
    EXPECT_TRUE(hasTransparency(image));
    image.pixels[pixel * 4 + 3] = 255;
  }
}

}  // namespace
}  // namespace ornolith
