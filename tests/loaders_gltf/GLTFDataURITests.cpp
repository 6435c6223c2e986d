#include <gmock/gmock.h>

#include <optional>
#include <string>

#include "GLTFFile.h"
#include "loaders/gltf/GLTFDataURI.h"

namespace ornolith {
namespace {

using testing::Optional;

std::optional<std::string> textOf(const std::string& uri) {
  const auto bytes = decodeDataURI(uri);
  if (!bytes) return std::nullopt;
  return std::string(reinterpret_cast<const char*>(bytes->data()), bytes->size());
}

TEST(GLTFDataURI, DecodesBase64OfEveryLengthWithAndWithoutPadding) {
  EXPECT_THAT(textOf("data:;base64,"), Optional(std::string()));
  EXPECT_THAT(textOf("data:;base64,YQ=="), Optional(std::string("a")));
  EXPECT_THAT(textOf("data:;base64,YWI="), Optional(std::string("ab")));
  EXPECT_THAT(textOf("data:;base64,YWJj"), Optional(std::string("abc")));
  EXPECT_THAT(textOf("data:;base64,YWI"), Optional(std::string("ab")));
  EXPECT_THAT(textOf("data:;base64,+/+/"), Optional(std::string("\xFB\xFF\xBF")));
  std::string all;
  for (int i = 0; i < 256; ++i) all += static_cast<char>(i);
  EXPECT_THAT(textOf("data:;base64," + gltf_files::base64(all)), Optional(all));
}

TEST(GLTFDataURI, KnowsItsSchemeInEitherCase) {
  EXPECT_THAT(textOf("DATA:;base64,YWI="), Optional(std::string("ab")));
  EXPECT_THAT(textOf("Data:,ab"), Optional(std::string("ab")));
  EXPECT_FALSE(isDataURI("date:,ab"));
  EXPECT_FALSE(isDataURI("DATA"));
  EXPECT_FALSE(isDataURI(""));
}

TEST(GLTFDataURI, DecodesPercentEncodedText) {
  EXPECT_THAT(textOf("data:,a%20b%00%fF"), Optional(std::string("a b\0\xFF", 5)));
}

TEST(GLTFDataURI, KnowsBase64InEveryFormThatIsInUse) {
  EXPECT_THAT(textOf("data:application/octet-stream;charset=utf-8;base64,YWI="), Optional(std::string("ab")));
  EXPECT_THAT(textOf("data:;BASE64,YWI="), Optional(std::string("ab")));
  EXPECT_THAT(textOf("data:image/png; base64,YWI="), Optional(std::string("ab")));
  EXPECT_THAT(textOf("data:;base64,YWI%3D"), Optional(std::string("ab")));
  EXPECT_THAT(textOf("data:;base64,%2B%2f+/"), Optional(std::string("\xFB\xFF\xBF")));
  EXPECT_THAT(textOf("data:;base64,YW\r\n I=\n"), Optional(std::string("ab")));
  EXPECT_THAT(textOf("data:base64,YWI="), Optional(std::string("YWI=")));
}

TEST(GLTFDataURI, RefusesWhatIsMalformed) {
  for (const char* uri : {"data:;base64", "data:", "data:;base64,YWJ*", "data:;base64,Y", "data:;base64,YW=j",
                          "data:;base64,YWJ%2", "data:,%2", "data:,%2g", "a.bin"}) {
    EXPECT_EQ(textOf(uri), std::nullopt) << uri;
  }
}

}  // namespace
}  // namespace ornolith
