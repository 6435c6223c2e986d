#include <sys/stat.h>
#include <unistd.h>

#include "foundation/UUID.h"
#include "import/ImportTestSupport.h"
#include "import/PrivateImportRoot.h"

namespace ornolith {
namespace {

using testing::ElementsAre;
using testing::IsEmpty;
using testsupport::contentsOf;
using testsupport::ImportFixture;
using testsupport::TemporaryFolder;

class Selection : public ImportFixture {};

TEST_F(Selection, TakesTheFirstModelAndStagesEverythingFlat) {
  const ImportedModel imported = importModel({put("elsewhere/t.png"), put("src/MODEL.FBX"), put("src/second.obj"),
                                              put("src/x.JSON"), FileURL(folder / "src", true)});
  EXPECT_EQ(imported.format, ModelFormat::fbx);
  EXPECT_EQ(imported.modelURL.path(), folder / "root/MODEL.FBX");
  EXPECT_EQ(imported.importRoot.path(), folder / "root");
  EXPECT_THAT(staged(), ElementsAre("MODEL.FBX", "second.obj", "t.png"));
  EXPECT_FALSE(imported.modelSHA256);
  EXPECT_EQ(std::filesystem::status(folder / "root").permissions(), std::filesystem::perms{0700});
}

TEST_F(Selection, NeedsAModel) {
  const std::string text =
      "Keine unterstützte 3D-Datei gefunden. Unterstützt: FBX, OBJ, DAE, SCN, USD, USDA, USDC, USDZ, GLTF, GLB, STL, "
      "PLY.";
  EXPECT_EQ(failureOf({}), text);
  EXPECT_EQ(failureOf({put("src/a.png")}), text);
  EXPECT_FALSE(std::filesystem::exists(folder / "root"));
}

TEST_F(Selection, RefusesLinksAndWhatIsNoRegularFile) {
  folder.makeLink("src/m.fbx", put("real.fbx").path());
  EXPECT_EQ(failureOf({source("m.fbx")}), "Symbolic links cannot be imported: " + folder / "src/m.fbx");
  EXPECT_EQ(failureOf({source("none.fbx")}),
            "The item '" + folder / "src/none.fbx" + "' could not be copied: No such file or directory.");
  ASSERT_EQ(::mkfifo((folder / "src/pipe.fbx").c_str(), 0600), 0);
  EXPECT_EQ(failureOf({source("pipe.fbx")}),
            "The item '" + folder / "src/pipe.fbx" + "' could not be copied: It is not a regular file.");
}

TEST_F(Selection, LetsTheLaterOfTwoEqualNamesWin) {
  importModel({put("src/m.fbx", "first"), put("other/m.fbx", "second")});
  EXPECT_EQ(stagedContents("m.fbx"), "second");
}

TEST_F(Selection, NeverRemovesASourceThatLiesInTheImportRoot) {
  const FileURL model = put("root/m.fbx", "precious");
  importModel({model});
  EXPECT_EQ(stagedContents("m.fbx"), "precious");
}

TEST_F(Selection, RefusesALinkInPlaceOfTheImportRoot) {
  folder.makeDirectory("real");
  folder.makeLink("root", folder / "real");
  EXPECT_EQ(failureOf({put("src/m.fbx")}), "The item '" + folder / "root" + "' could not be created: File exists.");
}

struct CountingScope : SecurityScope {
  bool startAccessingSecurityScopedResource(const FileURL& url) noexcept override {
    ++started;
    if (url.pathExtension() == "png") return false;
    ++open;
    return true;
  }
  void stopAccessingSecurityScopedResource(const FileURL&) noexcept override { --open; }
  int started = 0;
  int open = 0;
};

TEST_F(Selection, EndsAllAccessOnEveryWay) {
  const auto scope = std::make_shared<CountingScope>();
  host.securityScope = scope;
  importModel({put("src/m.fbx"), put("src/a.png")});
  EXPECT_EQ(scope->started, 2);
  EXPECT_EQ(scope->open, 0);
  const FileURL broken = put("src/broken.gltf", "{");
  const FileURL fine = put("src/m.fbx");
  put("file");
  EXPECT_NE(failureOf({fine, source("none.obj")}), "no failure");
  EXPECT_NE(failureOf({broken, fine}), "no failure");
  EXPECT_NE(failureOf({fine}, {FileURL(folder / "file")}), "no failure");
  EXPECT_GT(scope->started, 6);
  EXPECT_EQ(scope->open, 0);
}

class Reports : public ImportFixture {
 protected:
  Reports() { configuration.discoversArticulationReports = true; }

  static std::string goodReport() {
    return R"({"schema":"ornogen.local.rigid_articulation.v1","status":"success",
"plan":{"source_mode":"part_files","fixed_parts":["b"],"pivot_part":"p","rotating_parts":["m"],
"export_names":{"b":"B","p":"P","m":"M"},"root_name":"Root","pivot_node_name":"Pivot","unity_rotation_axis":"Y",
"requires_blender":true,"network_required":false},
"result":{"schema":"ornogen.local.rigid_articulation.blender.v1","source_mode":"part_files","mesh_names":["B","P","M"],
"mesh_count":3,"armature_count":0,"hierarchy":{"Root":["B","Pivot"],"Pivot":["P","M"]}},
"verification":{"schema":"ornogen.local.rigid_articulation.verification.v1","passed":true,"missing":[],
"armature_count":0,"hierarchy_valid":true,"root_parent_is_none":true,"root_transform_neutral":true,
"rotating_changed_90":true}})";
  }
  static ModelLoadDiagnostic warning(std::string code, std::string message, std::string path) {
    return {.severity = ModelDiagnosticSeverity::warning,
            .code = std::move(code),
            .format = ModelFormat::fbx,
            .message = std::move(message),
            .resourcePath = std::move(path)};
  }
  const std::string name = "m.articulation.json";
};

TEST_F(Reports, HaveTheModelsName) {
  EXPECT_EQ(ModelImportService::articulationReportFileName(FileURL("/x/MODEL.FBX")), "MODEL.articulation.json");
  EXPECT_EQ(ModelImportService::articulationReportFileName(FileURL("/x/a.b.glb")), "a.b.articulation.json");
  EXPECT_EQ(ModelImportService::articulationReportFileName(FileURL("/x/m.obj")), std::nullopt);
}

TEST_F(Reports, AreFoundBesideTheModelAndBoundToIt) {
  put("src/" + name, goodReport());
  const ImportedModel imported = importModel({put("src/m.fbx", "")});
  EXPECT_THAT(imported.diagnostics, IsEmpty());
  EXPECT_EQ(imported.articulationReportURL->path(), folder / "root/" + name);
  EXPECT_EQ(imported.modelSHA256, "e3b0c44298fc1c149afbf4c8996fb92427ae41e4649b934ca495991b7852b855");
  ASSERT_TRUE(imported.rigidArticulationDescriptor);
  EXPECT_EQ(imported.rigidArticulationDescriptor->modelSHA256, *imported.modelSHA256);
  EXPECT_FALSE(imported.blocksRigidArticulationInference);
}

TEST_F(Reports, AreNotLookedForWhereTheyAreSwitchedOffOrMakeNoSense) {
  put("src/" + name, goodReport());
  EXPECT_FALSE(importModel({put("src/m.obj")}).articulationReportURL);
  configuration.discoversArticulationReports = false;
  EXPECT_FALSE(importModel({put("src/m.fbx")}).articulationReportURL);
  EXPECT_THAT(staged(), testing::Not(testing::Contains(name)));
}

TEST_F(Reports, ThatDoNotDecodeBlockInferenceAndDoNotStopTheModel) {
  put("src/" + name, "{}");
  const ImportedModel imported = importModel({put("src/m.fbx")});
  EXPECT_TRUE(imported.articulationReportURL);
  EXPECT_TRUE(imported.modelSHA256);
  EXPECT_FALSE(imported.rigidArticulationDescriptor);
  EXPECT_TRUE(imported.blocksRigidArticulationInference);
  EXPECT_THAT(imported.diagnostics,
              ElementsAre(warning("articulation.report-invalid",
                                  "The articulation report is invalid or does not match the model.", name)));
}

TEST_F(Reports, AreAmbiguousForModelsOfOneName) {
  EXPECT_FALSE(importModel({put("src/m.fbx")}, {}, false).blocksRigidArticulationInference);
  put("src/" + name, goodReport());
  const ImportedModel imported = importModel({put("src/m.fbx")}, {}, false);
  EXPECT_TRUE(imported.blocksRigidArticulationInference);
  EXPECT_FALSE(imported.articulationReportURL);
  EXPECT_THAT(
      imported.diagnostics,
      ElementsAre(warning(
          "articulation.report-ambiguous",
          "The articulation report was ignored because multiple selected models have the same base name.", name)));
}

TEST_F(Reports, AreTakenFromTheFirstRootThatHasAGoodOne) {
  folder.makeLink("src/" + name, put("real.json", goodReport()).path());
  put("extra/" + name, goodReport());
  const ImportedModel imported = importModel({put("src/m.fbx")}, {FileURL(folder / "extra")});
  EXPECT_TRUE(imported.rigidArticulationDescriptor);
  EXPECT_FALSE(imported.blocksRigidArticulationInference);
  EXPECT_THAT(imported.diagnostics,
              ElementsAre(warning("articulation.report-invalid",
                                  "Symbolic links cannot be imported: " + folder / "src/" + name, name)));
}

TEST_F(Reports, ThatAllFailBlockInference) {
  folder.makeDirectory("src/" + name);
  const ImportedModel imported = importModel({put("src/m.fbx")});
  EXPECT_TRUE(imported.blocksRigidArticulationInference);
  EXPECT_FALSE(imported.articulationReportURL);
  EXPECT_THAT(imported.diagnostics,
              ElementsAre(warning("articulation.report-invalid",
                                  "The articulation report " + name + " is not a readable regular file.", name)));
}

TEST_F(Reports, OfTheFirstRootHideThoseOfTheSecond) {
  put("src/" + name, goodReport());
  put("extra/" + name, "{}");
  EXPECT_TRUE(importModel({put("src/m.fbx")}, {FileURL(folder / "extra")}).rigidArticulationDescriptor);
}

TEST_F(Reports, ChosenByHandAreUsedBeforeThoseFoundAndMustBeGood) {
  put("src/" + name, "{}");
  EXPECT_TRUE(importModel({put("src/m.fbx"), put("chosen/" + name, goodReport())}).rigidArticulationDescriptor);
  std::filesystem::remove(folder / "chosen/" + name);
  folder.makeLink("chosen/" + name, folder / "src/" + name);
  EXPECT_EQ(failureOf({put("src/m.fbx"), FileURL(folder / "chosen/" + name)}),
            "Symbolic links cannot be imported: " + folder / "chosen/" + name);
}

TEST_F(Reports, MayHaveFourMebibytesAndNotOneByteMore) {
  const std::string padding(4'194'304 - goodReport().size(), ' ');
  const FileURL report = put("chosen/" + name, goodReport() + padding);
  EXPECT_TRUE(importModel({put("src/m.fbx"), report}).rigidArticulationDescriptor);
  put("chosen/" + name, goodReport() + padding + " ");
  EXPECT_EQ(failureOf({put("src/m.fbx"), report}),
            "The articulation report " + name + " exceeds the limit of 4194304 bytes.");
}

TEST(ModelImportError, HasATextForTheCasesThatOnlyHostsRaise) {
  const FileURL url("/x/m.abc");
  EXPECT_EQ(ModelImportError(model_import_error::UnsupportedFile{url}).errorDescription(),
            "Die Datei m.abc wird nicht unterstützt.");
  EXPECT_EQ(ModelImportError(model_import_error::ImportFolderUnreadable{url}).errorDescription(),
            "Der Ordner m.abc konnte nicht gelesen werden.");
  EXPECT_EQ(ModelImportError(model_import_error::ImportDirectoryUnavailable{}).errorDescription(),
            "Der Import-Ordner konnte nicht erstellt werden.");
}

mode_t modeOf(const std::string& path) {
  struct stat status {};
  EXPECT_EQ(::lstat(path.c_str(), &status), 0);
  return status.st_mode & 07777;
}

TEST(PrivateImportRoot, IsPrivateBelowAFolderThatIsSharedByAll) {
  const TemporaryFolder folder;
  const mode_t before = ::umask(0777);
  {
    const PrivateImportRoot root(FileURL(folder.path()));
    EXPECT_EQ(root.url().deletingLastPathComponent().path(), folder / "Ornolith3DRender");
    EXPECT_TRUE(UUID::parse(root.url().lastPathComponent()));
    EXPECT_EQ(modeOf(root.url().path()), 0700U);
    EXPECT_EQ(modeOf(folder / "Ornolith3DRender"), 01777U);
    const PrivateImportRoot other(FileURL(folder.path()));
    EXPECT_NE(root.url(), other.url());
    folder.makeFile("Ornolith3DRender/" + root.url().lastPathComponent() + "/x");
  }
  ::umask(before);
  EXPECT_TRUE(std::filesystem::is_empty(folder / "Ornolith3DRender"));
}

TEST(PrivateImportRoot, ProtectsAFolderOfItsOwnUser) {
  const TemporaryFolder folder;
  folder.makeDirectory("Ornolith3DRender");
  ASSERT_EQ(::chmod((folder / "Ornolith3DRender").c_str(), 0777), 0);
  const PrivateImportRoot root(FileURL(folder.path()));
  EXPECT_EQ(modeOf(folder / "Ornolith3DRender"), 01777U);
}

TEST(PrivateImportRoot, RefusesWhatElseStandsThere) {
  const auto failure = [](const TemporaryFolder& folder) -> std::string {
    try {
      const PrivateImportRoot root(FileURL(folder.path()));
    } catch (const Error& error) {
      return error.errorDescription();
    }
    return "no failure";
  };
  const TemporaryFolder folder;
  folder.makeDirectory("real");
  folder.makeLink("Ornolith3DRender", folder / "real");
  const std::string beginning = "The import folder '" + folder / "Ornolith3DRender" + "' cannot be used: ";
  EXPECT_EQ(failure(folder), beginning + "It is a symbolic link.");
  std::filesystem::remove(folder / "Ornolith3DRender");
  folder.makeFile("Ornolith3DRender");
  EXPECT_EQ(failure(folder), beginning + "It is not a folder.");
  EXPECT_EQ(ImportFolderError(import_folder_error::Unprotected{"/tmp/x"}).errorDescription(),
            "The import folder '/tmp/x' cannot be used: It belongs to another user and does not have the sticky bit.");
}

}  // namespace
}  // namespace ornolith
