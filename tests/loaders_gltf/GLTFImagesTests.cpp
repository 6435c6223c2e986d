#include <gtest/gtest.h>
#include <unistd.h>

#include "GLTFParsedDocument.h"
#include "imaging/ImageDecoder.h"
#include "imaging/PNGEncoder.h"
#include "loaders/gltf/GLTFImages.h"
#include "support/TemporaryFolder.h"

namespace ornolith {
namespace {

using testsupport::TemporaryFolder;

std::vector<std::byte> pixelPNG(std::uint8_t red) {
  return encodePNG(Image{1, 1, {red, 0, 0, 255}});
}

std::shared_ptr<const EncodedImage> encodedIn(const SCNMaterialContents& contents) {
  const auto* encoded = std::get_if<std::shared_ptr<const EncodedImage>>(&contents);
  return encoded != nullptr ? *encoded : nullptr;
}

bool isEmpty(const SCNMaterialContents& contents) {
  return std::holds_alternative<std::monostate>(contents);
}

/// A document with one buffer, the binary chunk, in two views that each hold `png`.
struct TwoViews {
  explicit TwoViews(const std::string& images, const std::vector<std::byte>& png = pixelPNG(9))
      : document(R"("buffers": [{"byteLength": )" + std::to_string(png.size() * 2) +
                     R"(}], "bufferViews": [{"buffer": 0, "byteLength": )" + std::to_string(png.size()) +
                     R"(}, {"buffer": 0, "byteOffset": )" + std::to_string(png.size()) + R"(, "byteLength": )" +
                     std::to_string(png.size()) + R"(}, {"buffer": 0, "byteLength": 4000000000}], "images": )" + images,
                 twice(png)) {}
  static std::vector<std::byte> twice(std::vector<std::byte> png) {
    const std::size_t size = png.size();
    png.resize(size * 2);
    std::copy_n(png.begin(), size, png.begin() + static_cast<std::ptrdiff_t>(size));
    return png;
  }
  GLTFParsedDocument document;
};

TEST(GLTFImages, InABufferViewAreItsBytes) {
  const std::vector<std::byte> png = pixelPNG(77);
  TwoViews views(R"([{"bufferView": 1, "mimeType": "image/png"}])", png);
  const auto encoded = encodedIn(views.document.images.contents(0));
  ASSERT_TRUE(encoded);
  EXPECT_TRUE(std::equal(encoded->bytes.begin(), encoded->bytes.end(), png.begin(), png.end()));
  const auto image = decodeImage(encoded->bytes);
  ASSERT_TRUE(image);
  EXPECT_EQ(image->pixels[0], 77);
}

TEST(GLTFImages, OutliveTheDocument) {
  SCNMaterialContents contents;
  {
    TwoViews views(R"([{"bufferView": 1}])");
    contents = views.document.images.contents(0);
  }
  ASSERT_TRUE(encodedIn(contents));
  EXPECT_TRUE(decodeImage(encodedIn(contents)->bytes));
}

TEST(GLTFImages, OfOneViewAreOneObject) {
  TwoViews views(R"([{"bufferView": 0}, {"bufferView": 0}, {"bufferView": 1}])");
  const auto first = encodedIn(views.document.images.contents(0));
  EXPECT_EQ(first, encodedIn(views.document.images.contents(0)));
  EXPECT_EQ(first, encodedIn(views.document.images.contents(1)));
  EXPECT_NE(first, encodedIn(views.document.images.contents(2)));
}

TEST(GLTFImages, InADataURIAreItsBytesOnce) {
  // A PNG of one transparent pixel, in base64.
  const std::string uri =
      "data:image/png;base64,iVBORw0KGgoAAAANSUhEUgAAAAEAAAABCAYAAAAfFcSJAAAADUlEQVR42mNkYPhfDwAChwGA60e6kgAAAABJRU5E"
      "rkJggg==";
  GLTFParsedDocument document(R"("images": [{"uri": ")" + uri + R"("}, {"uri": ")" + uri + R"("}])");
  const auto encoded = encodedIn(document.images.contents(0));
  ASSERT_TRUE(encoded);
  const auto image = decodeImage(encoded->bytes);
  ASSERT_TRUE(image);
  EXPECT_EQ(image->width, 1U);
  EXPECT_EQ(encoded, encodedIn(document.images.contents(1)));
}

TEST(GLTFImages, InFilesAreTheirURLs) {
  const TemporaryFolder folder;
  folder.makeDirectory("maps");
  const std::vector<std::byte> png = pixelPNG(1);
  folder.makeFile("maps/with blank.png", {reinterpret_cast<const char*>(png.data()), png.size()});
  folder.makeFile("letter.png", "Dear reader, this is no picture.");
  folder.makeFile("empty.png");
  GLTFParsedDocument document(
      R"("images": [{"uri": "maps/with%20blank.png"}, {"uri": "letter.png"}, {"uri": "empty.png"}, {"uri": "maps"}])",
      {}, folder.path());
  const SCNMaterialContents contents = document.images.contents(0);
  const FileURL* url = std::get_if<FileURL>(&contents);
  ASSERT_NE(url, nullptr);
  EXPECT_EQ(url->path(), folder / "maps/with blank.png");
  for (std::size_t index = 1; index < 4; ++index) EXPECT_TRUE(isEmpty(document.images.contents(index))) << index;
}

TEST(GLTFImages, OutsideTheFolderAreNotShown) {
  const TemporaryFolder folder;
  folder.makeDirectory("inside");
  const std::vector<std::byte> png = pixelPNG(1);
  folder.makeFile("secret.png", {reinterpret_cast<const char*>(png.data()), png.size()});
  ASSERT_EQ(::symlink("../secret.png", (folder / "inside/link.png").c_str()), 0);
  GLTFParsedDocument document(R"("images": [{"uri": "../secret.png"}, {"uri": "link.png"}, {"uri": ")" +
                                  (folder / "secret.png") +
                                  R"("}, {"uri": "file:///etc/passwd"}, {"uri": "%2e%2e/secret.png"}, {"uri": "."}])",
                              {}, folder / "inside");
  for (std::size_t index = 0; index < 6; ++index) EXPECT_TRUE(isEmpty(document.images.contents(index))) << index;
}

TEST(GLTFImages, ThatAreNotThereAreNotShown) {
  TwoViews views(R"([{"bufferView": 2}, {"bufferView": 3}, {"bufferView": -1}, {"bufferView": 0.5}, {"uri": 7}, {},
                     {"uri": "missing.png"}, {"uri": "data:image/png;base64,!!!"}, null, [], "text", {"bufferView": 1e300}])");
  for (std::size_t index = 0; index < 14; ++index) {
    EXPECT_TRUE(isEmpty(views.document.images.contents(index))) << index;
  }
}

TEST(GLTFImages, OfNoKnownKindAreNotShown) {
  TwoViews views(R"([{"bufferView": 0}])", std::vector<std::byte>(64, std::byte{0xEE}));
  EXPECT_TRUE(isEmpty(views.document.images.contents(0)));
}

TEST(GLTFImages, MayBeNoList) {
  GLTFParsedDocument document(R"("images": {"0": {}})");
  EXPECT_TRUE(isEmpty(document.images.contents(0)));
}

}  // namespace
}  // namespace ornolith
