#include <gmock/gmock.h>

#include "loaders/obj/SceneKitOBJMaterialError.h"
#include "loaders/obj/SceneKitOBJMaterialNormalization.h"
#include "support/FailureOf.h"
#include "support/TemporaryFolder.h"

namespace ornolith {
namespace {

using Normalization = SceneKitOBJMaterialNormalization;
using testing::ElementsAre;
using testing::Optional;
namespace error = scene_kit_obj_material_error;

/// A folder with a model and what it refers to.
class OBJMaterialNormalization : public testing::Test {
 protected:
  Normalization::Prepared prepare(const std::string& obj, const std::vector<std::string>& assetDirectories = {}) const {
    folder_.makeFile("model/model.obj", obj);
    std::vector<FileURL> directories;
    for (const std::string& directory : assetDirectories) directories.emplace_back(folder_ / directory, true);
    return Normalization::prepare(FileURL(folder_ / "model/model.obj"), directories);
  }
  /// What comes of a model with one library of these lines.
  Normalization::Prepared prepareLibrary(const std::string& mtl) const {
    folder_.makeFile("model/m.mtl", mtl);
    return prepare("mtllib m.mtl\n");
  }
  std::string failureOfLibrary(const std::string& mtl) const {
    return failureOf([&] { prepareLibrary(mtl); });
  }
  std::string failureOfModel(const std::string& obj, const std::vector<std::string>& assetDirectories = {}) const {
    return failureOf([&] { prepare(obj, assetDirectories); });
  }
  FileURL file(const std::string& path) const { return FileURL(folder_ / path); }

  void SetUp() override {
    folder_.makeDirectory("model/sub");
    folder_.makeDirectory("assets");
    folder_.makeFile("outside.mtl", "newmtl secret\n");
    folder_.makeFile("outside.png", "secret");
  }

  testsupport::TemporaryFolder folder_;
};

TEST(SceneKitOBJMaterialError, SaysWhatIsWrongWithThePayload) {
  const auto text = [](SceneKitOBJMaterialError::Case errorCase) {
    return SceneKitOBJMaterialError(std::move(errorCase)).errorDescription();
  };
  EXPECT_EQ(text(error::UnsafeResourcePath{"../a"}), "OBJ/MTL resource path is unsafe: ../a");
  EXPECT_EQ(text(error::ResourceEscapesAllowedRoots{"a"}), "OBJ/MTL resource escapes the allowed asset roots: a");
  EXPECT_EQ(text(error::SymbolicLinkNotAllowed{"a"}), "OBJ/MTL resource path contains a symbolic link: a");
  EXPECT_EQ(text(error::AmbiguousResourcePath{"a"}), "OBJ/MTL resource resolves to more than one file: a");
  EXPECT_EQ(text(error::UnsupportedMapOption{"-x"}), "OBJ/MTL map option is unsupported: -x");
  EXPECT_EQ(text(error::MalformedDirective{"newmtl"}), "OBJ/MTL directive is malformed: newmtl");
  EXPECT_EQ(text(error::MaterialLibraryTooLarge{"a.mtl"}), "OBJ material library exceeds the supported size: a.mtl");
  EXPECT_EQ(text(error::LineTooLong{"a.obj"}), "OBJ/MTL line exceeds the supported size: a.obj");
  EXPECT_EQ(text(error::TooManyMaterialLibraries{}), "OBJ references too many material libraries.");
}

TEST_F(OBJMaterialNormalization, FindsTheDefinitionsOfALibrary) {
  for (const char* name : {"d.png", "e.png", "n.png", "r.png", "sub/m.png"}) {
    folder_.makeFile("model/" + std::string(name));
  }
  const auto prepared = prepareLibrary(
      "# made by hand\nnewmtl Holz  und Stahl\nKe 0.5 .25 1e-1\nMAP_Kd d.png\nmap_Ke e.png\nbump n.png\nmap_Pr r.png\n"
      "map_Pm sub/m.png\nmap_Ka d.png\nKd 1 1 1\nnewmtl Glas\r\nmap_Bump -bm 0.5 n.png\r\n");
  ASSERT_EQ(prepared.definitions.size(), 2U);
  const auto& wood = prepared.definitions.find("Holz und Stahl")->second;
  EXPECT_THAT(wood.emission, Optional(ElementsAre(0.5, 0.25, 0.1)));
  EXPECT_THAT(wood.diffuseURL, Optional(file("model/d.png")));
  EXPECT_THAT(wood.emissionURL, Optional(file("model/e.png")));
  EXPECT_THAT(wood.normalURL, Optional(file("model/n.png")));
  EXPECT_THAT(wood.roughnessURL, Optional(file("model/r.png")));
  EXPECT_THAT(wood.metalnessURL, Optional(file("model/sub/m.png")));
  const auto& glass = prepared.definitions.find("Glas")->second;
  EXPECT_THAT(glass.normalURL, Optional(file("model/n.png")));
  EXPECT_FALSE(glass.emission);
  EXPECT_FALSE(glass.diffuseURL);
}

TEST_F(OBJMaterialNormalization, KeepsMaterialsApartThatDifferBehindANumberSign) {
  folder_.makeFile("model/a.png");
  folder_.makeFile("model/b.png");
  const auto prepared = prepareLibrary(
      "newmtl Material\nmap_Kd a.png\nnewmtl Material  #25\nmap_Kd b.png\nnewmtl Material #26\nKe 1 0 0\n");
  ASSERT_EQ(prepared.definitions.size(), 3U);
  EXPECT_THAT(prepared.definitions.at("Material").diffuseURL, Optional(file("model/a.png")));
  EXPECT_FALSE(prepared.definitions.at("Material").emission);
  EXPECT_THAT(prepared.definitions.at("Material #25").diffuseURL, Optional(file("model/b.png")));
}

TEST_F(OBJMaterialNormalization, LooksForTexturesBesideTheLibraryToo) {
  folder_.makeFile("model/sub/deep.mtl", "newmtl a\nmap_Kd t.png\n");
  folder_.makeFile("model/sub/t.png");
  const auto prepared = prepare("MtlLib sub/deep.mtl\n");
  EXPECT_THAT(prepared.definitions.at("a").diffuseURL, Optional(file("model/sub/t.png")));
}

TEST_F(OBJMaterialNormalization, LooksInTheAssetDirectories) {
  folder_.makeFile("assets/a.mtl", "newmtl a\nmap_Kd t.png\n");
  folder_.makeFile("assets/t.png");
  const auto prepared = prepare("v 0 0 0\n  mtllib a.mtl # the library\n", {"assets", "nowhere"});
  EXPECT_THAT(prepared.definitions.at("a").diffuseURL, Optional(file("assets/t.png")));
}

TEST_F(OBJMaterialNormalization, TakesWhatStandsNowhereAsNothing) {
  EXPECT_TRUE(prepare("mtllib gone.mtl\n").definitions.empty());
  EXPECT_FALSE(prepareLibrary("newmtl a\nmap_Kd gone.png\nmap_Ke sub\n").definitions.at("a").diffuseURL);
  EXPECT_FALSE(prepareLibrary("newmtl a\nmap_Kd gone.png\nmap_Ke sub\n").definitions.at("a").emissionURL);
}

TEST_F(OBJMaterialNormalization, TakesALibraryWhoseNameHasBlanks) {
  folder_.makeFile("model/my model.mtl", "newmtl a\n");
  EXPECT_EQ(prepare("mtllib my model.mtl\n").definitions.size(), 1U);
  EXPECT_EQ(prepare("mtllib \"my model.mtl\"\n").definitions.size(), 1U);
  EXPECT_EQ(prepare("mtllib my\\ model.mtl\n").definitions.size(), 1U);
}

TEST_F(OBJMaterialNormalization, RefusesALibraryThatLeavesTheRoots) {
  EXPECT_EQ(failureOfModel("mtllib ../outside.mtl\n"), "OBJ/MTL resource path is unsafe: ../outside.mtl");
  EXPECT_EQ(failureOfModel("mtllib sub/../../outside.mtl\n"), "OBJ/MTL resource path is unsafe: sub/../../outside.mtl");
  EXPECT_EQ(failureOfModel("mtllib " + folder_ / "outside.mtl" + "\n"),
            "OBJ/MTL resource path is unsafe: " + folder_ / "outside.mtl");
}

TEST_F(OBJMaterialNormalization, RefusesReferencesThatAreNoRelativePaths) {
  for (const char* path : {"/etc/passwd", "~/a.png", "~root", "C:/a.png", "file:a.png", "http://h/a.png", "//h/a.png",
                           "a.png?b", "%2e%2e/outside.png", "%2Fetc", "100%.png", ".", "sub/..", "\"a\\b.png\"",
                           "a\\\\b.png", "\"a#b.png\"", "..\\outside.png", "C:\\a.png"}) {
    EXPECT_THAT(failureOfLibrary("newmtl a\nmap_Kd " + std::string(path) + "\n"),
                testing::StartsWith("OBJ/MTL resource path is unsafe: "))
        << path;
  }
  EXPECT_THAT(failureOfLibrary(std::string("map_Kd a\0b.png\n", 15)), testing::StartsWith("OBJ/MTL resource path"));
}

TEST_F(OBJMaterialNormalization, VetsTexturesThatItHasNoUseForToo) {
  EXPECT_EQ(failureOfLibrary("map_Ks ../outside.png\n"), "OBJ/MTL resource path is unsafe: ../outside.png");
}

TEST_F(OBJMaterialNormalization, RefusesSymbolicLinksOnTheWay) {
  folder_.makeLink("model/linked.mtl", folder_ / "outside.mtl");
  folder_.makeLink("model/folder", folder_ / "assets");
  folder_.makeFile("assets/t.png");
  EXPECT_EQ(failureOfModel("mtllib linked.mtl\n"), "OBJ/MTL resource path contains a symbolic link: linked.mtl");
  EXPECT_EQ(failureOfLibrary("map_Kd folder/t.png\n"), "OBJ/MTL resource path contains a symbolic link: folder/t.png");
  folder_.makeLink("model/dangling.mtl", folder_ / "none");
  EXPECT_TRUE(prepare("mtllib dangling.mtl\n").definitions.empty());
}

TEST_F(OBJMaterialNormalization, FollowsLinksInTheRootsThemselves) {
  folder_.makeFile("assets/a.mtl", "newmtl a\n");
  folder_.makeLink("link", folder_ / "assets");
  EXPECT_EQ(prepare("mtllib a.mtl\n", {"link", "assets"}).roots.size(), 2U);
  EXPECT_EQ(prepare("mtllib a.mtl\n", {"link"}).definitions.size(), 1U);
}

TEST_F(OBJMaterialNormalization, RefusesANameThatMeansTwoDifferentFiles) {
  folder_.makeFile("model/t.png", "one");
  folder_.makeFile("assets/t.png", "two");
  folder_.makeFile("model/m.mtl", "newmtl a\nmap_Kd t.png\n");
  EXPECT_EQ(failureOfModel("mtllib m.mtl\n", {"assets"}), "OBJ/MTL resource resolves to more than one file: t.png");
  folder_.makeFile("assets/t.png", "one");
  EXPECT_THAT(prepare("mtllib m.mtl\n", {"assets"}).definitions.at("a").diffuseURL, Optional(file("model/t.png")));
}

TEST_F(OBJMaterialNormalization, ReadsALibraryOfTheLargestSizeAndNoLarger) {
  std::string library = "newmtl a\n";
  const std::string line(1023, '#');
  while (library.size() + 1024 <= 16777216) library += line + "\n";
  library += std::string(16777216 - library.size(), '#');
  EXPECT_EQ(prepareLibrary(library).definitions.size(), 1U);
  EXPECT_EQ(failureOfLibrary(library + "#"), "OBJ material library exceeds the supported size: m.mtl");
}

TEST_F(OBJMaterialNormalization, ReadsALineOfTheLargestSizeAndNoLarger) {
  const std::string line = "#" + std::string(1048575, ' ');
  EXPECT_EQ(prepareLibrary(line + "\nnewmtl a").definitions.size(), 1U);
  EXPECT_EQ(prepareLibrary("newmtl a\n" + line).definitions.size(), 1U);
  EXPECT_EQ(failureOfLibrary(line + " \nnewmtl a"), "OBJ/MTL line exceeds the supported size: m.mtl");
  EXPECT_EQ(failureOfLibrary("newmtl a\n" + line + " "), "OBJ/MTL line exceeds the supported size: m.mtl");

  folder_.makeFile("model/m.mtl", "newmtl a\n");
  EXPECT_EQ(prepare("v 0 0 0\n" + line + "\nmtllib m.mtl").libraries.size(), 1U);
  EXPECT_EQ(prepare(line + "\n" + line).libraries.size(), 0U);
  EXPECT_EQ(failureOfModel("v 0 0 0\n" + line + " \nmtllib m.mtl"),
            "OBJ/MTL line exceeds the supported size: model.obj");
  EXPECT_EQ(failureOfModel("v 0 0 0\n" + line + " "), "OBJ/MTL line exceeds the supported size: model.obj");
  // What comes first decides.
  EXPECT_EQ(failureOfModel("mtllib\n" + line + " "), "OBJ/MTL directive is malformed: mtllib");
}

TEST_F(OBJMaterialNormalization, TakesSixtyFourLibrariesAndNoMore) {
  std::string lines;
  for (int i = 0; i < 32; ++i) lines += "mtllib a.mtl b.mtl\n";
  EXPECT_TRUE(prepare(lines).definitions.empty());
  EXPECT_EQ(failureOfModel(lines + "mtllib c.mtl\n"), "OBJ references too many material libraries.");
}

TEST_F(OBJMaterialNormalization, RefusesDirectivesThatSayNothing) {
  EXPECT_EQ(failureOfModel("v 0 0 0\nmtllib\n"), "OBJ/MTL directive is malformed: mtllib");
  EXPECT_EQ(failureOfModel(" mtllib # a.mtl\n"), "OBJ/MTL directive is malformed: mtllib # a.mtl");
  EXPECT_EQ(failureOfModel("mtllib \"a.mtl\n"), "OBJ/MTL directive is malformed: mtllib \"a.mtl");
  EXPECT_EQ(failureOfLibrary("newmtl \n"), "OBJ/MTL directive is malformed: newmtl");
  EXPECT_EQ(failureOfLibrary("newmtl 'a\n"), "OBJ/MTL directive is malformed: newmtl 'a");
  EXPECT_EQ(failureOfLibrary("map_Kd\n"), "OBJ/MTL directive is malformed: map_Kd");
  EXPECT_EQ(failureOfLibrary("map_Kd -clamp\n"), "OBJ/MTL directive is malformed: map_Kd -clamp");
  EXPECT_EQ(failureOfLibrary("map_Kd -s t.png\n"), "OBJ/MTL directive is malformed: map_Kd -s t.png");
  EXPECT_EQ(failureOfLibrary("map_Kd -s 1 1 1\n"), "OBJ/MTL directive is malformed: map_Kd -s 1 1 1");
  EXPECT_EQ(failureOfLibrary("map_Kd -mm 0\n"), "OBJ/MTL directive is malformed: map_Kd -mm 0");
}

TEST_F(OBJMaterialNormalization, HeedsOtherLinesOfTheModelInNoWay) {
  EXPECT_TRUE(prepare("o \"Bob\ng 'a\n# mtllib ../x\nusemtl mtllib\nvmtllib ../x\nmtllibs ../x\no a mtllib ../x\n")
                  .libraries.empty());
}

TEST_F(OBJMaterialNormalization, FindsLibrariesInFilesWithAnyLineEnds) {
  folder_.makeFile("model/a.mtl", "newmtl a\n");
  folder_.makeFile("model/b.mtl", "newmtl b\n");
  EXPECT_EQ(prepare("\xEF\xBB\xBFmtllib a.mtl\r\nmtllib b.mtl").libraries.size(), 2U);
  EXPECT_EQ(prepare("# x\rmtllib a.mtl\rMTLLIB b.mtl\rv 0 0 0\r").libraries.size(), 2U);
}

TEST_F(OBJMaterialNormalization, LooksThroughLongModels) {
  folder_.makeFile("model/a.mtl", "newmtl a\n");
  std::string model;
  while (model.size() < 3000000) model += "v 0.125 0.25 0.5\n";
  EXPECT_EQ(prepare(model + "mtllib a.mtl\n" + model).libraries.size(), 1U);
}

TEST_F(OBJMaterialNormalization, PutsTheVettedValuesOnTheScene) {
  folder_.makeFile("model/t.png");
  const auto prepared = prepareLibrary(
      "newmtl a\nKe 1 0.5 0\nmap_Kd t.png\nmap_Pr t.png\nnewmtl b\nmap_Ke t.png\nmap_Pm t.png\nnorm t.png\n");
  const auto scene = SCNScene::scene();
  std::vector<std::shared_ptr<SCNMaterial>> materials;
  for (const char* name : {"a", "b", "c"}) {
    auto material = SCNMaterial::material();
    material->name = name;
    material->emission.intensity = 3;
    const auto geometry = SCNGeometry::geometryWithSources({}, {});
    geometry->setMaterials({material});
    scene->rootNode()->addChildNode(SCNNode::nodeWithGeometry(geometry));
    materials.push_back(material);
  }
  Normalization::apply(prepared, *scene);
  const SCNMaterialContents texture = file("model/t.png");
  EXPECT_EQ(materials[0]->lightingModelName, SCNLightingModelPhysicallyBased);
  EXPECT_EQ(std::get<NSColor>(materials[0]->emission.contents), (NSColor{1, 0.5, 0, 1}));
  EXPECT_EQ(materials[0]->emission.intensity, 1);
  EXPECT_EQ(materials[0]->diffuse.contents, texture);
  EXPECT_EQ(materials[0]->roughness.contents, texture);
  EXPECT_FALSE(holdsImage(materials[0]->metalness.contents));
  EXPECT_EQ(materials[1]->emission.contents, texture);
  EXPECT_EQ(materials[1]->emission.intensity, 3);
  EXPECT_EQ(materials[1]->metalness.contents, texture);
  EXPECT_EQ(materials[1]->normal.contents, texture);
  EXPECT_EQ(materials[2]->lightingModelName, SCNLightingModelBlinn);
}

TEST(OBJTokens, AreSeparatedByWhiteSpace) {
  EXPECT_THAT(Normalization::tokens(" map_Kd\t-s  1 a.png \r"), ElementsAre("map_Kd", "-s", "1", "a.png"));
  EXPECT_TRUE(Normalization::tokens("").empty());
}

TEST(OBJTokens, KeepQuotedTextTogether) {
  EXPECT_THAT(Normalization::tokens("a \"b c\" 'd \"e'f \"\""), ElementsAre("a", "b c", "d \"ef", ""));
  EXPECT_THAT(Normalization::tokens("Bob's 12\""), ElementsAre("Bob's", "12\""));
  EXPECT_EQ(failureOf([] { Normalization::tokens("a \"b"); }), "OBJ/MTL directive is malformed: a \"b");
}

TEST(OBJTokens, EndAtAComment) {
  EXPECT_THAT(Normalization::tokens("a b#c d"), ElementsAre("a", "b"));
  EXPECT_THAT(Normalization::tokens("a '#b' # \"c"), ElementsAre("a", "#b"));
  EXPECT_TRUE(Normalization::tokens("# don't").empty());
}

TEST(OBJTokens, TakeABackslashAsEscapeOrSeparator) {
  EXPECT_THAT(Normalization::tokens("a\\ b c\\#d \\\"e f\\\\g"), ElementsAre("a b", "c#d", "\"e", "f\\g"));
  EXPECT_THAT(Normalization::tokens(".\\a\\b.png \\"), ElementsAre("./a/b.png"));
  EXPECT_THAT(Normalization::tokens("'a\\b'"), ElementsAre("a\\b"));
}

TEST(OBJMapResourcePath, StandsBehindTheOptions) {
  const auto path = [](const char* line) { return Normalization::mapResourcePath(Normalization::tokens(line)); };
  EXPECT_EQ(path("map_Kd -s 1 1 1 wood.png"), "wood.png");
  EXPECT_EQ(path("map_Kd -o 1 wood.png"), "wood.png");
  EXPECT_EQ(path("map_Kd -t 1 2 3 4 wood.png"), "4 wood.png");
  EXPECT_EQ(path("map_Kd -MM 0 1 -BM 0.3 -clamp on -blendu off -blendv off -boost 1 -cc off -colorspace x -imfchan m "
                 "-texres 4 -type sphere my wood.png"),
            "my wood.png");
  EXPECT_EQ(path("map_Kd 'wood - oak.png'"), "wood - oak.png");
  EXPECT_EQ(failureOf([&] { path("map_Kd wood - oak.png"); }), "OBJ/MTL map option is unsupported: -");
  EXPECT_EQ(path("map_Bump wood.png -bm 1"), "wood.png");
  EXPECT_EQ(failureOf([&] { path("map_Kd -Foo 1 wood.png"); }), "OBJ/MTL map option is unsupported: -Foo");
}

TEST(OBJRawLines, AreCutAtLineFeeds) {
  const testsupport::TemporaryFolder folder;
  std::vector<std::string> lines;
  const auto read = [&](const std::string& text, std::optional<std::uint64_t> maximum = {}) {
    lines.clear();
    Normalization::forEachRawLine(FileURL(folder.makeFile("f", text)), maximum,
                                  [&](std::string_view line) { lines.emplace_back(line); });
    return lines;
  };
  EXPECT_THAT(read("a\r\n\nb"), ElementsAre("a\r", "", "b"));
  EXPECT_THAT(read("a\n"), ElementsAre("a"));
  EXPECT_TRUE(read("").empty());
  const std::string longLine(200000, 'x');
  EXPECT_THAT(read("a\n" + longLine + "\nb\n"), ElementsAre("a", longLine, "b"));
  EXPECT_THAT(read("abc", 3), ElementsAre("abc"));
  EXPECT_EQ(failureOf([&] { read("abcd", 3); }), "OBJ material library exceeds the supported size: f");
}

}  // namespace
}  // namespace ornolith
