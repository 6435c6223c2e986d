#include <gmock/gmock.h>

#include "ContractTestSupport.h"
#include "contracts/RenderOutputOptions.h"

namespace ornolith {
namespace {

/// Expects that the cases of `T` have exactly these texts, in this order.
template <typename T>
void expectTexts(const std::vector<std::string_view>& texts) {
  std::vector<std::string_view> found;
  for (const auto& entry : rawValueTable<T>) {
    EXPECT_EQ(static_cast<std::size_t>(entry.value), found.size());
    EXPECT_EQ(rawValue(entry.value), entry.text);
    EXPECT_EQ(fromRawValue<T>(entry.text), entry.value);
    found.push_back(entry.text);
  }
  EXPECT_EQ(found, texts);
}

TEST(RenderOutputOptions, EnumerationsHaveTheirTexts) {
  expectTexts<ModelRenderLayout>({"single", "contact-4", "contact-6"});
  expectTexts<ContactSheetArrangement>({"grid", "strip"});
  expectTexts<SurfaceMode>({"textured", "untextured", "transparent", "mesh"});
}

TEST(RenderOutputOptions, AnyOtherTextIsNoValue) {
  for (const char* text : {"", "Single", "contact4", "contact-5", " single"}) {
    EXPECT_EQ(fromRawValue<ModelRenderLayout>(text), std::nullopt) << text;
  }
}

TEST(RenderRGBAColor, AllKeysAreRequired) {
  const RenderRGBAColor color{.red = 0.25, .green = 0.5, .blue = 1, .alpha = 0};
  EXPECT_EQ(compactJSON(color.toJSON()), R"({"red":0.25,"green":0.5,"blue":1,"alpha":0})");
  EXPECT_EQ(readJSON<RenderRGBAColor>(compactJSON(color.toJSON())), color);
  EXPECT_EQ(descriptionOfFailure<JSONError>([] { readJSON<RenderRGBAColor>(R"({"red":0,"green":0,"blue":0})"); }),
            "The required key \"alpha\" is missing.");
}

TEST(RenderPixelRect, AllKeysAreRequiredIntegers) {
  const RenderPixelRect rect{.x = -1, .y = 2, .width = 512, .height = 9'007'199'254'740'993};
  EXPECT_EQ(compactJSON(rect.toJSON()), R"({"x":-1,"y":2,"width":512,"height":9007199254740993})");
  EXPECT_EQ(readJSON<RenderPixelRect>(compactJSON(rect.toJSON())), rect);
  EXPECT_THROW(readJSON<RenderPixelRect>(R"({"x":0,"y":0,"width":1})"), JSONError);
  EXPECT_THROW(readJSON<RenderPixelRect>(R"({"x":0,"y":0,"width":1.5,"height":1})"), JSONError);
}

TEST(RenderBackground, IsTransparentOrAColor) {
  EXPECT_TRUE(RenderBackground::transparent().isTransparent());
  EXPECT_TRUE(RenderBackground{}.isTransparent());
  const RenderBackground black{.color = RenderRGBAColor{.red = 0, .green = 0, .blue = 0, .alpha = 0}};
  EXPECT_FALSE(black.isTransparent());
  EXPECT_NE(black, RenderBackground::transparent());
}

TEST(ViewerOptions, AbsentAndNullKeysTakeTheirDefaults) {
  const ViewerOptions defaults{.surfaceMode = SurfaceMode::textured,
                               .showsPivot = false,
                               .showsRigging = false,
                               .showsSelectionFrame = true,
                               .showsWorldAxes = false};
  EXPECT_EQ(ViewerOptions{}, defaults);
  EXPECT_EQ(readJSON<ViewerOptions>("{}"), defaults);
  EXPECT_EQ(readJSON<ViewerOptions>(R"({"surfaceMode":null,"showsPivot":null,"other":1})"), defaults);
}

TEST(ViewerOptions, EveryFieldIsReadAndWritten) {
  const ViewerOptions options{.surfaceMode = SurfaceMode::mesh,
                              .showsPivot = true,
                              .showsRigging = true,
                              .showsSelectionFrame = false,
                              .showsWorldAxes = true};
  EXPECT_EQ(
      compactJSON(options.toJSON()),
      R"({"surfaceMode":"mesh","showsPivot":true,"showsRigging":true,"showsSelectionFrame":false,"showsWorldAxes":true})");
  EXPECT_EQ(readJSON<ViewerOptions>(compactJSON(options.toJSON())), options);
}

TEST(ViewerOptions, AnUnknownSurfaceModeOrAnotherTypeFails) {
  EXPECT_EQ(descriptionOfFailure<JSONError>([] { readJSON<ViewerOptions>(R"({"surfaceMode":"glass"})"); }),
            "surfaceMode: The text \"glass\" is none of the values that may stand here.");
  EXPECT_THROW(readJSON<ViewerOptions>(R"({"showsPivot":1})"), JSONError);
  EXPECT_THROW(readJSON<ViewerOptions>(R"({"surfaceMode":1})"), JSONError);
}

}  // namespace
}  // namespace ornolith
