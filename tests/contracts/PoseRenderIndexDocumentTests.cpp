#include <gmock/gmock.h>

#include "contracts/PoseRenderIndexDocument.h"

namespace ornolith {
namespace {

using testing::HasSubstr;
using testing::Not;

PoseRenderIndexDocument sample() {
  return {.modelFilename = "lamp.fbx",
          .modelSHA256 = std::string(64, 'a'),
          .layout = ModelRenderLayout::contact4,
          .arrangement = ContactSheetArrangement::strip,
          .tileWidth = 128,
          .tileHeight = 64,
          .poses = {{.index = 0,
                     .id = "up",
                     .label = std::nullopt,
                     .rotations = {{.selector = ModelPartSelector::parsing("path:fbx:1/fbx:2"),
                                    .requestedLocalDegrees = {.x = -90.0, .y = std::nullopt, .z = std::nullopt},
                                    .normalizedLocalDegrees = {.x = 270.0, .y = std::nullopt, .z = std::nullopt}}}}},
          .pages = {{.number = 1,
                     .file = "page-0001.png",
                     .width = 512,
                     .height = 64,
                     .cells = {{.poseIndex = 0,
                                .poseID = "up",
                                .viewIndex = 0,
                                .view = "front",
                                .frame = {.x = 0, .y = 0, .width = 128, .height = 64}}}}}};
}

PoseRenderIndexDocument reread(const std::string& text) {
  return PoseRenderIndexDocument::fromJSON(
      JSONDocument::parse(std::as_bytes(std::span(text.data(), text.size()))).root());
}

TEST(PoseRenderIndexDocument, HasOneCanonicalText) {
  EXPECT_EQ(sample().canonicalJSONData(),
            R"({
  "arrangement" : "strip",
  "layout" : "contact-4",
  "model_filename" : "lamp.fbx",
  "model_sha256" : "aaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaa",
  "pages" : [
    {
      "cells" : [
        {
          "frame" : {
            "height" : 64,
            "width" : 128,
            "x" : 0,
            "y" : 0
          },
          "pose_id" : "up",
          "pose_index" : 0,
          "view" : "front",
          "view_index" : 0
        }
      ],
      "file" : "page-0001.png",
      "height" : 64,
      "number" : 1,
      "width" : 512
    }
  ],
  "poses" : [
    {
      "id" : "up",
      "index" : 0,
      "rotations" : [
        {
          "normalized_local_degrees" : {
            "x" : 270
          },
          "requested_local_degrees" : {
            "x" : -90
          },
          "selector" : "path:fbx:1\/fbx:2"
        }
      ]
    }
  ],
  "schema" : "ornolabs.ornolith-render.contact-sheet",
  "tile_height" : 64,
  "tile_width" : 128,
  "version" : 1
}
)");
}

TEST(PoseRenderIndexDocument, ReadsBackWhatItWrites) {
  EXPECT_EQ(reread(sample().canonicalJSONData()), sample());
}

TEST(PoseRenderIndexDocument, WritesAnEmptyLabelButNoAbsentOne) {
  PoseRenderIndexDocument document = sample();
  EXPECT_THAT(document.canonicalJSONData(), Not(HasSubstr("\"label\"")));
  document.poses[0].label = "";
  EXPECT_THAT(document.canonicalJSONData(), HasSubstr("\"label\" : \"\""));
  EXPECT_EQ(reread(document.canonicalJSONData()), document);
}

TEST(PoseRenderIndexDocument, KeepsTheSelectorOfThePoseFile) {
  PoseRenderIndexDocument document = sample();
  document.poses[0].rotations[0].selector = ModelPartSelector::parsing("arm");
  EXPECT_THAT(document.canonicalJSONData(), HasSubstr("\"selector\" : \"name:arm\""));
}

TEST(PoseRenderIndexDocument, RequiresEveryKeyButLabelsAndAxes) {
  for (const char* key : {"arrangement", "layout", "model_filename", "model_sha256", "pages", "poses", "schema",
                          "tile_height", "tile_width", "version", "file", "frame", "pose_id", "view_index", "id",
                          "index", "rotations", "normalized_local_degrees", "selector"}) {
    std::string text = sample().canonicalJSONData();
    const std::string quoted = "\"" + std::string(key) + "\" :";
    const std::size_t place = text.find(quoted);
    ASSERT_NE(place, std::string::npos) << key;
    text.replace(place, quoted.size(), "\"other\" :");
    EXPECT_THROW(reread(text), JSONError) << key;
  }
}

TEST(PoseRenderPageFileName, HasFourDigits) {
  EXPECT_EQ(poseRenderPageFileName(1), "page-0001.png");
  EXPECT_EQ(poseRenderPageFileName(12), "page-0012.png");
  EXPECT_EQ(poseRenderPageFileName(256), "page-0256.png");
}

}  // namespace
}  // namespace ornolith
