#include <sys/stat.h>

#include "import/ImportTestSupport.h"

namespace ornolith {
namespace {

using testing::ElementsAre;
using testing::IsEmpty;
using testsupport::ImportFixture;

class FlatAssets : public ImportFixture {};
class EmbeddedMedia : public ImportFixture {};
class USDTree : public ImportFixture {};
class GLTFResources : public ImportFixture {
 protected:
  FileURL putManifest(const std::string& uri) { return put("src/m.gltf", R"({"images":[{"uri":")" + uri + "\"}]}"); }
};

TEST_F(FlatAssets, TakesTheTopLevelAndTheWellKnownFolders) {
  const FileURL model = put("src/m.stl");
  for (const char* name :
       {"src/a.PNG", "src/b.txt", "src/noextension", "src/.hidden.png", "src/other/c.png", "src/textures/d.jpg",
        "src/textures/deep/e.tga", "src/textures/note.txt", "src/Materials/f.exr"}) {
    put(name);
  }
  const ImportedModel imported = importModel({model});
  EXPECT_THAT(staged(), ElementsAre("Materials/", "Materials/f.exr", "a.PNG", "m.stl", "textures/", "textures/d.jpg",
                                    "textures/deep/", "textures/deep/e.tga"));
  EXPECT_THAT(imported.diagnostics, IsEmpty());
  std::vector<std::string> folders;
  for (const FileURL& url : imported.assetDirectories) folders.push_back(url.path());
  EXPECT_THAT(folders, ElementsAre(folder / "root", folder / "root/Materials", folder / "root/textures",
                                   folder / "root/textures/deep"));
}

TEST_F(FlatAssets, TakesEveryKindOfImageAndEveryWellKnownFolder) {
  for (const char* extension :
       {"png", "jpg", "jpeg", "tif", "tiff", "tga", "bmp", "heic", "exr", "gif", "bin", "mtl"}) {
    put("src/a." + std::string(extension));
  }
  for (const char* name : {"textures", "Textures", "materials", "Materials", "TEXTURES", "images"}) {
    put("src/" + std::string(name) + "/b.png");
  }
  importModel({put("src/m.glb")});
  EXPECT_THAT(staged(), ElementsAre("Materials/", "Materials/b.png", "Textures/", "Textures/b.png", "a.bmp", "a.exr",
                                    "a.heic", "a.jpeg", "a.jpg", "a.png", "a.tga", "a.tif", "a.tiff", "m.glb",
                                    "materials/", "materials/b.png", "textures/", "textures/b.png"));
}

TEST_F(FlatAssets, LeavesHiddenFilesAndFoldersOutAtEveryLevel) {
  for (const char* name : {"src/.a.png", "src/textures/.b.png", "src/textures/.deep/c.png", "extra/.d.png"}) put(name);
  importModel({put("src/m.fbx")}, {FileURL(folder / "extra")});
  EXPECT_THAT(staged(), ElementsAre("extra/", "m.fbx", "textures/"));
}

TEST_F(FlatAssets, LetsTheLaterSourceOfOneDestinationWin) {
  const FileURL model = put("src/m.fbx");
  put("src/textures/a.png", "known folder");
  put("src/textures/b.png", "known folder");
  put("else/textures/a.png", "additional folder");
  put("else/m.fbm/c.png", "additional folder");
  put("src/m.fbm/c.png", "embedded media");
  importModel({model}, {FileURL(folder / "else/textures"), FileURL(folder / "else/m.fbm")});
  EXPECT_EQ(stagedContents("textures/a.png"), "additional folder");
  EXPECT_EQ(stagedContents("textures/b.png"), "known folder");
  EXPECT_EQ(stagedContents("m.fbm/c.png"), "embedded media");
}

TEST_F(FlatAssets, ListsTheFoldersAsAFileBrowserDoesAndNoHiddenOnes) {
  const FileURL model = put("src/m.fbx");
  std::vector<FileURL> additional;
  for (const char* name : {"t10/x/deep", "t9", "B", "a/z", ".hidden/x"})
    folder.makeDirectory("else/" + std::string(name));
  for (const char* name : {"t10", "t9", "B", "a", ".hidden"}) {
    additional.emplace_back(folder / "else/" + std::string(name), true);
  }
  std::vector<std::string> folders;
  for (const FileURL& url : importModel({model}, additional).assetDirectories) folders.push_back(url.path());
  const std::string root = folder / "root";
  EXPECT_THAT(folders, ElementsAre(root, root + "/a", root + "/a/z", root + "/B", root + "/t9", root + "/t10",
                                   root + "/t10/x", root + "/t10/x/deep"));
}

TEST_F(FlatAssets, MayStandInAFolderThatTheCallerReachesByALink) {
  put("real/m.stl");
  put("real/a.png");
  folder.makeLink("link", folder / "real");
  importModel({FileURL(folder / "link/m.stl")});
  EXPECT_THAT(staged(), ElementsAre("a.png", "m.stl"));
}

TEST_F(FlatAssets, TakesMaterialLibrariesForOBJAlone) {
  put("src/m.mtl");
  importModel({put("src/m.obj")});
  EXPECT_THAT(staged(), ElementsAre("m.mtl", "m.obj"));
  std::filesystem::remove_all(folder / "root");
  importModel({put("src/m.ply")});
  EXPECT_THAT(staged(), ElementsAre("m.ply"));
}

TEST_F(FlatAssets, PassesOverLinksFoldersAndPipesInSilence) {
  const FileURL model = put("src/m.fbx");
  put("outside/secret.png");
  folder.makeLink("src/link.png", folder / "outside/secret.png");
  folder.makeLink("src/textures", folder / "outside");
  folder.makeLink("src/dangling.png", folder / "nothing");
  folder.makeDirectory("src/folder.png");
  folder.makeLink("src/Materials", folder / "nothing");
  put("src/Textures/good.png");
  folder.makeLink("src/Textures/bad.png", folder / "outside/secret.png");
  folder.makeLink("src/Textures/deep", folder / "outside");
  ASSERT_EQ(::mkfifo((folder / "src/pipe.png").c_str(), 0600), 0);
  const ImportedModel imported = importModel({model});
  EXPECT_THAT(staged(), ElementsAre("Textures/", "Textures/good.png", "m.fbx"));
  EXPECT_THAT(imported.diagnostics, IsEmpty());
}

TEST_F(FlatAssets, TakesAdditionalFoldersUnderTheirOwnNames) {
  const FileURL model = put("src/m.fbx");
  put("extra/a/b.png", "first");
  put("else/extra/a/b.png", "second");
  folder.makeDirectory("empty");
  importModel({model}, {FileURL(folder / "extra"), FileURL(folder / "else/extra"), FileURL(folder / "empty"),
                        FileURL(folder / "missing")});
  EXPECT_THAT(staged(), ElementsAre("empty/", "extra/", "extra/a/", "extra/a/b.png", "m.fbx"));
  EXPECT_EQ(stagedContents("extra/a/b.png"), "second");
}

TEST_F(FlatAssets, EndsForAFaultInAnAdditionalFolder) {
  const FileURL model = put("src/m.fbx");
  folder.makeDirectory("real");
  const std::string link = folder.makeLink("link", folder / "real");
  EXPECT_EQ(failureOf({model}, {FileURL(link)}), "Symbolic links cannot be imported: " + link);
  EXPECT_EQ(failureOf({model}, {put("file")}),
            "The item '" + folder / "file" + "' could not be read: Not a directory.");
  // A folder of the model's own name has no place in the import root.
  folder.makeDirectory("other/m.fbx");
  EXPECT_EQ(failureOf({model}, {FileURL(folder / "other/m.fbx")}),
            "The item '" + folder / "root/m.fbx" + "' could not be created: File exists.");
  ASSERT_EQ(::mkfifo((folder / "real/pipe.png").c_str(), 0600), 0);
  EXPECT_EQ(failureOf({model}, {FileURL(folder / "real")}),
            "The item '" + folder / "real/pipe.png" + "' could not be copied: It is not a regular file.");
}

TEST_F(FlatAssets, DoesNotCopyItsOwnCopies) {
  put("a.png");
  const ImportedModel imported = importModel({put("src/m.fbx")}, {FileURL(folder.path())});
  const std::string name = FileURL(folder.path()).lastPathComponent();
  EXPECT_THAT(staged(), ElementsAre("m.fbx", name + "/", name + "/a.png", name + "/src/"));
}

TEST_F(FlatAssets, EndsInAnErrorForATreeDeeperThanPathsReach) {
  const FileURL model = put("src/m.fbx");
  const std::string name(200, 'd');
  DirectoryCursor cursor = DirectoryCursor::open(FileURL(folder.makeDirectory("deep")), FinalLink::refuse);
  for (int i = 0; i < 100; ++i) cursor.descendCreating(name, 0700);
  EXPECT_THAT(failureOf({model}, {FileURL(folder / "deep")}),
              testing::EndsWith("could not be created: File name too long."));
  removeItem(FileURL(folder / "deep"));
  removeItem(FileURL(folder / "root"));
}

TEST_F(FlatAssets, KeepsNamesOfAnyBytes) {
  put("src/line\nbreak \xFF.png");
  put("src/" + std::string(251, 'x') + ".png");
  importModel({put("src/m.fbx")});
  EXPECT_THAT(staged(), ElementsAre("line\nbreak \xFF.png", "m.fbx", std::string(251, 'x') + ".png"));
}

TEST_F(EmbeddedMedia, IsCopiedWhereItIsThereAndNotMissedWhereItIsNot) {
  EXPECT_THAT(importModel({put("src/m.FBX")}).diagnostics, IsEmpty());
  put("src/m.fbm/a.png");
  importModel({put("src/m.FBX")});
  EXPECT_THAT(staged(), ElementsAre("m.FBX", "m.fbm/", "m.fbm/a.png"));
}

TEST_F(EmbeddedMedia, IsReportedWhereItIsALinkOrAFile) {
  const FileURL model = put("src/m.fbx");
  folder.makeDirectory("real");
  folder.makeLink("src/m.fbm", folder / "real");
  const ModelLoadDiagnostic expected{.severity = ModelDiagnosticSeverity::warning,
                                     .code = "resource.copy-failed",
                                     .format = ModelFormat::fbx,
                                     .message = "A resource file could not be imported.",
                                     .resourcePath = folder / "src/m.fbm"};
  EXPECT_THAT(importModel({model}).diagnostics, ElementsAre(expected));
  std::filesystem::remove(folder / "src/m.fbm");
  put("src/m.fbm");
  EXPECT_THAT(importModel({model}).diagnostics, ElementsAre(expected));
}

struct RecordingCoordinator : FileCoordinator {
  void addFilePresenter(const RelatedItemFilePresenter& presenter) override {
    log.push_back("add " + presenter.primaryPresentedItemURL().lastPathComponent() + " " +
                  presenter.presentedItemURL().lastPathComponent() + " " +
                  presenter.presentedItemOperationQueue().name);
    EXPECT_EQ(presenter.presentedItemOperationQueue().maximumConcurrentOperationCount, 1);
  }
  void removeFilePresenter(const RelatedItemFilePresenter&) noexcept override { log.push_back("remove"); }
  void coordinateReadingItem(const FileURL& url, const RelatedItemFilePresenter&,
                             const std::function<void(const FileURL&)>& accessor) override {
    log.push_back("read");
    accessor(grantedURL.value_or(url));
    if (error) throw SystemError("read", url.path(), *error);
  }
  std::optional<FileURL> grantedURL;
  std::optional<int> error;
  std::vector<std::string> log;
};

class RelatedItems : public ImportFixture {
 protected:
  RelatedItems() {
    configuration.usesRelatedItemCoordination = true;
    host.fileCoordinator = coordinator;
    folder.makeDirectory("granted");
    folder.makeLink("src/m.fbm", folder / "granted");
  }
  const std::shared_ptr<RecordingCoordinator> coordinator = std::make_shared<RecordingCoordinator>();
  const std::vector<std::string> wholeLog{"add m.fbx m.fbm ornolabs.ornolith3d.related-item-access", "read", "remove"};
};

TEST_F(RelatedItems, ReadsWhatTheCoordinatorGrants) {
  put("granted/a.png");
  coordinator->grantedURL = FileURL(folder / "granted");
  EXPECT_THAT(importModel({put("src/m.fbx")}).diagnostics, IsEmpty());
  EXPECT_THAT(staged(), ElementsAre("m.fbm/", "m.fbm/a.png", "m.fbx"));
  EXPECT_EQ(coordinator->log, wholeLog);
}

TEST_F(RelatedItems, RemovesThePresenterWhenTheAccessorFails) {
  EXPECT_THAT(codes(importModel({put("src/m.fbx")})), ElementsAre("resource.copy-failed"));
  EXPECT_EQ(coordinator->log, wholeLog);
}

TEST_F(RelatedItems, LetsACoordinationErrorComeBeforeTheAccessors) {
  // The accessor fails for the link; that the folder is missing, as the coordinator says, is no finding.
  coordinator->error = ENOENT;
  EXPECT_THAT(importModel({put("src/m.fbx")}).diagnostics, IsEmpty());
  EXPECT_EQ(coordinator->log, wholeLog);
  coordinator->error = EACCES;
  EXPECT_THAT(codes(importModel({put("src/m.fbx")})), ElementsAre("resource.copy-failed"));
}

TEST_F(RelatedItems, AreNotAskedForWithoutNeed) {
  std::filesystem::remove(folder / "src/m.fbm");
  importModel({put("src/m.fbx")});
  EXPECT_THAT(coordinator->log, IsEmpty());
}

TEST_F(USDTree, TakesTheTreeButNoLinks) {
  const FileURL model = put("src/m.usda");
  for (const char* name : {"src/a/b.usdc", "src/a/c.txt", "src/.hidden/d.png", "src/t.png", "outside/e.png"}) put(name);
  folder.makeLink("src/link", folder / "outside");
  folder.makeLink("src/a/f.png", folder / "outside/e.png");
  const ImportedModel imported = importModel({model});
  EXPECT_THAT(staged(), ElementsAre("a/", "a/b.usdc", "m.usda", "t.png"));
  const auto skipped = [](const std::string& path) {
    return ModelLoadDiagnostic{.severity = ModelDiagnosticSeverity::warning,
                               .code = "resource.symlink-skipped",
                               .format = ModelFormat::usda,
                               .message = "Symbolic link was not imported.",
                               .resourcePath = path};
  };
  EXPECT_THAT(imported.diagnostics, ElementsAre(skipped(folder / "src/a/f.png"), skipped(folder / "src/link")));
}

TEST_F(USDTree, TakesEveryKindOfResourceAndNothingElse) {
  for (const char* name :
       {"a.usd", "a.USDA", "a.usdc", "a.usdz", "a.mdl", "a.mtlx", "a.png", "a.bin", "a.mtl", "a.usdx"}) {
    put("src/x/" + std::string(name));
  }
  ASSERT_EQ(::mkfifo((folder / "src/x/pipe.png").c_str(), 0600), 0);
  EXPECT_THAT(importModel({put("src/m.usda")}).diagnostics, IsEmpty());
  EXPECT_THAT(staged(), ElementsAre("m.usda", "x/", "x/a.USDA", "x/a.mdl", "x/a.mtlx", "x/a.png", "x/a.usd", "x/a.usdc",
                                    "x/a.usdz"));
}

TEST_F(USDTree, LetsTheLaterRootWin) {
  put("src/x/a.png", "own");
  put("extra/x/a.png", "extra");
  importModel({put("src/m.usdc")}, {FileURL(folder / "extra")});
  EXPECT_EQ(stagedContents("x/a.png"), "extra");
}

TEST_F(USDTree, DoesNotWalkIntoItsOwnCopies) {
  put("a.png");
  EXPECT_THAT(importModel({put("m.usd")}).diagnostics, IsEmpty());
  EXPECT_THAT(staged(), ElementsAre("a.png", "m.usd"));
}

TEST_F(USDTree, MayStandInAFolderThatTheCallerReachesByALink) {
  put("real/m.usd");
  put("real/x/a.png");
  folder.makeLink("link", folder / "real");
  importModel({FileURL(folder / "link/m.usd")});
  EXPECT_THAT(staged(), ElementsAre("m.usd", "x/", "x/a.png"));
}

TEST_F(USDTree, MergesSeveralRootsAndReportsWhatDoesNotFit) {
  const FileURL model = put("src/m.usd");
  put("src/x.png", "file");
  put("extra/x.png/y.png");
  put("extra/z.png");
  const ImportedModel imported =
      importModel({model}, {FileURL(folder / "extra"), FileURL(folder / "missing"), FileURL(folder / "src")});
  EXPECT_THAT(staged(), ElementsAre("m.usd", "x.png", "z.png"));
  EXPECT_THAT(codes(imported), ElementsAre("resource.copy-failed"));
  EXPECT_EQ(imported.diagnostics[0].resourcePath, folder / "extra/x.png/y.png");
}

TEST_F(USDTree, RefusesAnAdditionalFolderThatIsALink) {
  folder.makeDirectory("real");
  const std::string link = folder.makeLink("link", folder / "real");
  EXPECT_EQ(failureOf({put("src/m.usdc")}, {FileURL(link)}), "Symbolic links cannot be imported: " + link);
}

TEST_F(USDTree, LeavesASealedArchiveToTheFlatRule) {
  put("src/deep/a.usd");
  put("src/b.png");
  importModel({put("src/m.usdz")});
  EXPECT_THAT(staged(), ElementsAre("b.png", "m.usdz"));
}

TEST_F(GLTFResources, AreStagedUnderTheirDecodedNamesAndNothingElseIs) {
  put("src/a b.png");
  put("src/unasked.png");
  put("src/bin/x.bin");
  const FileURL model = put("src/m.gltf", R"({"buffers":[{"uri":"bin/x.bin"},{"byteLength":1}],
      "images":[{"uri":"a%20b.png"},{"uri":"data:image/png;base64,AAAA"},{"bufferView":0},{"uri":7}]})");
  EXPECT_THAT(importModel({model}).diagnostics, IsEmpty());
  EXPECT_THAT(staged(), ElementsAre("a b.png", "bin/", "bin/x.bin", "m.gltf"));
}

TEST_F(GLTFResources, EndTheImportWhereTheyReachOut) {
  put("src/a.png");
  for (const char* uri :
       {"http://h/a.png", "file:a.png",    "//host/a.png", "///a.png", "a.png?",  "a.png#",        "a.png?q", "a.png#f",
        "/a.png",         "a%5Cb.png",     "a b.png",      "../a.png", "..",      "x/../../a.png", "",        "./",
        "a/..",           "%2Fetc/passwd", "..%2Fa.png",   "a%FF.png", "a%2.png", "DATA:,x"}) {
    EXPECT_EQ(failureOf({putManifest(uri)}),
              "Die Ressource " + std::string(uri) + " liegt außerhalb des erlaubten Asset-Ordners.")
        << uri;
  }
  EXPECT_EQ(failureOf({putManifest("a\\\\b.png")}),
            "Die Ressource a\\b.png liegt außerhalb des erlaubten Asset-Ordners.");
}

TEST_F(GLTFResources, MayDescendAndComeBack) {
  put("src/b.png");
  importModel({putManifest("a/../b.png")});
  EXPECT_THAT(staged(), ElementsAre("b.png", "m.gltf"));
}

TEST_F(GLTFResources, AreMissingWhereOnlyALinkAFolderOrNothingStands) {
  put("outside/x.png");
  folder.makeLink("src/link", folder / "outside");
  folder.makeLink("src/l.png", folder / "outside/x.png");
  folder.makeDirectory("src/folder.png");
  for (const char* uri : {"link/x.png", "l.png", "folder.png", "none.png", "none/x.png", "a%00.png"}) {
    const ImportedModel imported = importModel({putManifest(uri)});
    EXPECT_THAT(imported.diagnostics,
                ElementsAre(ModelLoadDiagnostic{.severity = ModelDiagnosticSeverity::warning,
                                                .code = "resource.missing",
                                                .format = ModelFormat::gltf,
                                                .message = "glTF resource '" + std::string(uri) + "' was not found.",
                                                .resourcePath = uri}))
        << uri;
  }
  EXPECT_THAT(staged(), ElementsAre("m.gltf"));
}

TEST_F(GLTFResources, AreLookedForOnceEachInTheOrderOfTheirText) {
  const ImportedModel imported = importModel({put("src/m.gltf", R"({"images":[{"uri":"z.png"},{"uri":"b.png"},
      {"uri":"z.png"}],"buffers":[{"uri":"m.bin"},{"uri":"B.bin"},{"uri":"b%2Epng"}]})")});
  std::vector<std::string> missing;
  for (const ModelLoadDiagnostic& diagnostic : imported.diagnostics) missing.push_back(*diagnostic.resourcePath);
  EXPECT_THAT(missing, ElementsAre("B.bin", "b%2Epng", "b.png", "m.bin", "z.png"));
}

TEST_F(GLTFResources, AreTakenFromALaterRootWhereAnEarlierOneHasOnlyALink) {
  put("outside/x.png", "outside");
  put("extra/link/x.png", "extra");
  put("extra/l.png", "extra");
  folder.makeLink("src/link", folder / "outside");
  folder.makeLink("src/l.png", folder / "outside/x.png");
  const FileURL model = put("src/m.gltf", R"({"images":[{"uri":"link/x.png"},{"uri":"l.png"}]})");
  EXPECT_THAT(importModel({model}, {FileURL(folder / "extra")}).diagnostics, IsEmpty());
  EXPECT_EQ(stagedContents("link/x.png"), "extra");
  EXPECT_EQ(stagedContents("l.png"), "extra");
}

TEST_F(GLTFResources, MayStandInAFolderThatTheCallerReachesByALink) {
  put("real/m.gltf", R"({"images":[{"uri":"a.png"}]})");
  put("real/a.png");
  folder.makeLink("link", folder / "real");
  EXPECT_THAT(importModel({FileURL(folder / "link/m.gltf")}).diagnostics, IsEmpty());
  EXPECT_THAT(staged(), ElementsAre("a.png", "m.gltf"));
}

TEST_F(GLTFResources, MayHaveAnyExtensionAndLeaveNothingElseStaged) {
  for (const char* name : {"src/shapes.dat", "src/noextension", "src/textures/a.png", "src/b.png"}) put(name);
  importModel({put("src/m.gltf", R"({"buffers":[{"uri":"shapes.dat"},{"uri":"noextension"}]})")});
  EXPECT_THAT(staged(), ElementsAre("m.gltf", "noextension", "shapes.dat"));
}

TEST_F(GLTFResources, OfAContainerAreTakenByTheFlatRule) {
  put("src/a.png");
  put("src/a.bin");
  EXPECT_THAT(importModel({put("src/m.glb", "no container at all")}).diagnostics, IsEmpty());
  EXPECT_THAT(staged(), ElementsAre("a.png", "m.glb"));
}

TEST_F(GLTFResources, AreRefusedWhereTheyArePipes) {
  ASSERT_EQ(::mkfifo((folder / "src/pipe.png").c_str(), 0600), 0);
  EXPECT_EQ(failureOf({putManifest("pipe.png")}),
            "The item '" + folder / "src/pipe.png" + "' could not be copied: It is not a regular file.");
}

TEST_F(GLTFResources, AreTakenFromTheFirstRootThatHasThem) {
  put("src/a.png", "own");
  put("extra/a.png", "extra");
  put("extra/b.png", "extra");
  const FileURL model = put("src/m.gltf", R"({"images":[{"uri":"b.png"},{"uri":"a.png"},{"uri":"%61.png"}]})");
  EXPECT_THAT(importModel({model}, {FileURL(folder / "missing"), FileURL(folder / "extra")}).diagnostics, IsEmpty());
  EXPECT_EQ(stagedContents("a.png"), "own");
  EXPECT_EQ(stagedContents("b.png"), "extra");
}

TEST_F(GLTFResources, RefuseAnAdditionalFolderThatIsALink) {
  folder.makeDirectory("real");
  const std::string link = folder.makeLink("link", folder / "real");
  EXPECT_EQ(failureOf({put("src/m.gltf", "{}")}, {FileURL(link)}), "Symbolic links cannot be imported: " + link);
}

TEST_F(GLTFResources, CountOtherShapesAsNone) {
  EXPECT_THAT(importModel({put("src/m.gltf", R"({"buffers":7,"images":[{"uri":"../x"},3]})")}).diagnostics, IsEmpty());
  EXPECT_EQ(failureOf({put("src/m.gltf", "[]")}), "Die glTF-Ressourcen in m.gltf konnten nicht gelesen werden.");
  EXPECT_THROW(importModel({put("src/m.gltf", "{")}), JSONError);
}

}  // namespace
}  // namespace ornolith
