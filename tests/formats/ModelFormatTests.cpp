#include <gmock/gmock.h>

#include <functional>

#include "import/formats/ModelFormat.h"
#include "import/formats/ModelLoadDiagnostic.h"

namespace ornolith {
namespace {

ModelLoadDiagnostic decode(std::string_view text) {
  const JSONDocument document = JSONDocument::parse(std::as_bytes(std::span(text)));
  return decodeJSON<ModelLoadDiagnostic>(document.root());
}

const ModelLoadDiagnostic missing{.severity = ModelDiagnosticSeverity::warning,
                                  .code = "resource.missing",
                                  .format = ModelFormat::gltf,
                                  .message = "glTF resource 'a.png' was not found.",
                                  .resourcePath = "a.png"};

ModelLoadDiagnostic withoutResource() {
  ModelLoadDiagnostic diagnostic = missing;
  diagnostic.resourcePath.reset();
  return diagnostic;
}

TEST(ModelFormat, HasTwelveCasesInTheirOrder) {
  std::vector<std::string_view> names;
  for (const ModelFormat format : allModelFormats) names.push_back(fileExtension(format));
  EXPECT_THAT(names, testing::ElementsAre("fbx", "obj", "dae", "scn", "usd", "usda", "usdc", "usdz", "gltf", "glb",
                                          "stl", "ply"));
}

TEST(ModelFormat, IsFoundByItsExactRawValue) {
  EXPECT_EQ(modelFormat("fbx"), ModelFormat::fbx);
  EXPECT_EQ(modelFormat("FBX"), std::nullopt);
  EXPECT_EQ(modelFormat(""), std::nullopt);
  EXPECT_EQ(modelFormat("usd "), std::nullopt);
}

TEST(ModelFormat, ListsTheSupportedFiles) {
  EXPECT_EQ(supportedFileListDescription(), "FBX, OBJ, DAE, SCN, USD, USDA, USDC, USDZ, GLTF, GLB, STL, PLY");
}

TEST(ModelLoadDiagnostic, HasAStableKey) {
  EXPECT_EQ(missing.id(), "warning|resource.missing|gltf|a.png|glTF resource 'a.png' was not found.");
  EXPECT_EQ(withoutResource().id(), "warning|resource.missing|gltf||glTF resource 'a.png' was not found.");
}

TEST(ModelLoadDiagnostic, ComparesAllFields) {
  EXPECT_EQ(missing, ModelLoadDiagnostic(missing));
  EXPECT_NE(missing, withoutResource());
  const std::vector<std::function<void(ModelLoadDiagnostic&)>> changes{
      [](ModelLoadDiagnostic& diagnostic) { diagnostic.severity = ModelDiagnosticSeverity::info; },
      [](ModelLoadDiagnostic& diagnostic) { diagnostic.code = "resource.copy-failed"; },
      [](ModelLoadDiagnostic& diagnostic) { diagnostic.format = ModelFormat::glb; },
      [](ModelLoadDiagnostic& diagnostic) { diagnostic.message = "other"; },
      [](ModelLoadDiagnostic& diagnostic) { diagnostic.resourcePath = "b.png"; }};
  for (std::size_t i = 0; i < changes.size(); ++i) {
    ModelLoadDiagnostic other = missing;
    changes[i](other);
    EXPECT_NE(other, missing) << i;
    EXPECT_NE(other.id(), missing.id()) << i;
    EXPECT_NE(std::hash<ModelLoadDiagnostic>{}(other), std::hash<ModelLoadDiagnostic>{}(missing)) << i;
  }
  EXPECT_EQ(std::hash<ModelLoadDiagnostic>{}(missing), std::hash<ModelLoadDiagnostic>{}(ModelLoadDiagnostic(missing)));
}

TEST(ModelLoadDiagnostic, WritesItsKeysInOrderAndOmitsAnAbsentResource) {
  EXPECT_EQ(compactJSON(encodeJSON(missing)),
            R"({"severity":"warning","code":"resource.missing","format":"gltf",)"
            R"("message":"glTF resource 'a.png' was not found.","resourcePath":"a.png"})");
  EXPECT_EQ(compactJSON(encodeJSON(withoutResource())),
            R"({"severity":"warning","code":"resource.missing","format":"gltf",)"
            R"("message":"glTF resource 'a.png' was not found."})");
}

TEST(ModelLoadDiagnostic, ReadsWhatItWrites) {
  EXPECT_EQ(decode(compactJSON(encodeJSON(missing))), missing);
  EXPECT_EQ(decode(compactJSON(encodeJSON(withoutResource()))), withoutResource());
}

TEST(ModelLoadDiagnostic, RefusesUnknownWordsAndMissingKeys) {
  EXPECT_THROW(decode(R"({"severity":"fatal","code":"c","format":"fbx","message":"m"})"), JSONError);
  EXPECT_THROW(decode(R"({"severity":"info","code":"c","format":"FBX","message":"m"})"), JSONError);
  EXPECT_THROW(decode(R"({"code":"c","format":"fbx","message":"m"})"), JSONError);
  EXPECT_THROW(decode(R"({"severity":"info","format":"fbx","message":"m"})"), JSONError);
  EXPECT_THROW(decode(R"({"severity":"info","code":"c","message":"m"})"), JSONError);
  EXPECT_THROW(decode(R"({"severity":"info","code":"c","format":"fbx"})"), JSONError);
  EXPECT_NO_THROW(decode(R"({"severity":"error","code":"c","format":"fbx","message":"m","resourcePath":null})"));
}

}  // namespace
}  // namespace ornolith
