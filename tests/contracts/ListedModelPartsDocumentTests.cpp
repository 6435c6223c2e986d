#include <gmock/gmock.h>

#include "contracts/ListedModelPartsDocument.h"

namespace ornolith {
namespace {

using testing::HasSubstr;
using testing::Not;

ListedModelPart part() {
  return {.originalName = "arm",
          .sourceID = "fbx:2",
          .selector = ModelPartSelector::parsing("path:fbx:1/fbx:2"),
          .parent = ModelPartSelector::parsing("path:fbx:1"),
          .hasGeometry = true,
          .hasChildren = false,
          .localTransform = {.columnMajorMatrix = {{1, 0, 0, 0, 0, 1, 0, 0, 0, 0, 1, 0, 0.5, 0, 0, 1}},
                             .translation = ListedModelVector3{.x = 0.5, .y = 0, .z = 0},
                             .rotation = ListedModelQuaternion{},
                             .scale = ListedModelVector3{.x = 1, .y = 1, .z = 1}},
          .isRotatable = true,
          .rotationBlockReason = std::nullopt};
}

ListedModelPartsDocument document(std::vector<ListedModelPart> parts) {
  return {.modelSHA256 = std::string(64, '0'), .format = ModelFormat::fbx, .parts = std::move(parts)};
}

ListedModelPartsDocument reread(const std::string& text) {
  return ListedModelPartsDocument::fromJSON(
      JSONDocument::parse(std::as_bytes(std::span(text.data(), text.size()))).root());
}

TEST(ListedModelPartsDocument, KeepsItsHeadWithoutParts) {
  EXPECT_EQ(
      document({}).canonicalJSONData(),
      "{\n  \"format\" : \"fbx\",\n  \"model_sha256\" : \"" + std::string(64, '0') +
          "\",\n  \"parts\" : [\n\n  ],\n  \"schema\" : \"ornolabs.ornolith-render.parts\",\n  \"version\" : 1\n}\n");
}

TEST(ListedModelPartsDocument, SortsTheKeysOfAPart) {
  ListedModelPart blocked = part();
  blocked.isRotatable = false;
  blocked.rotationBlockReason = "model-has-animation-or-deformation";
  const std::string text = document({blocked}).canonicalJSONData();
  std::size_t last = 0;
  for (const char* key :
       {"\"has_children\"", "\"has_geometry\"", "\"local_transform\"", "\"original_name\"", "\"parent\"",
        "\"rotatable\"", "\"rotation_block_reason\"", "\"selector\"", "\"source_id\""}) {
    const std::size_t place = text.find(key);
    ASSERT_NE(place, std::string::npos) << key;
    EXPECT_GT(place, last) << key;
    last = place;
  }
  EXPECT_THAT(text, HasSubstr(R"("selector" : "path:fbx:1\/fbx:2")"));
}

TEST(ListedModelPartsDocument, LeavesOutTheParentAtTheTopAndTheReasonOfARotatablePart) {
  ListedModelPart top = part();
  top.parent.reset();
  const std::string text = document({top}).canonicalJSONData();
  EXPECT_THAT(text, Not(HasSubstr("parent")));
  EXPECT_THAT(text, Not(HasSubstr("rotation_block_reason")));
  EXPECT_EQ(reread(text), document({top}));
}

TEST(ListedModelPartsDocument, WritesAMissingMatrixAsNullAndNoDecomposition) {
  ListedModelPart broken = part();
  broken.localTransform = {};
  const std::string text = document({broken}).canonicalJSONData();
  EXPECT_THAT(text, HasSubstr("\"local_transform\" : {\n        \"column_major_matrix\" : null\n      }"));
  EXPECT_EQ(reread(text), document({broken}));
}

TEST(ListedModelPartsDocument, ReadsBackWhatItWrites) {
  const ListedModelPartsDocument written = document({part(), part()});
  EXPECT_EQ(reread(written.canonicalJSONData()), written);
}

TEST(ListedModelPartsDocument, ReadsAnySchemaVersionAndHash) {
  ListedModelPartsDocument other = document({});
  other.schema = "another";
  other.version = 7;
  other.modelSHA256 = "no hash";
  EXPECT_EQ(reread(other.canonicalJSONData()), other);
}

TEST(ListedModelPartsDocument, RefusesAMatrixOfFifteenNumbersAndABadSelector) {
  std::string text = document({part()}).canonicalJSONData();
  const std::size_t number = text.find("0.5,");
  text.erase(number, 4);
  EXPECT_THROW(reread(text), JSONError);
  std::string other = document({part()}).canonicalJSONData();
  other.replace(other.find("path:fbx:1\\/fbx:2"), 10, "path:fbx:x");
  EXPECT_THROW(reread(other), JSONError);
}

}  // namespace
}  // namespace ornolith
