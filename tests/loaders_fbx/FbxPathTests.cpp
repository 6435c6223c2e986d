#include <gmock/gmock.h>
#include <sys/stat.h>
#include <unistd.h>

#include <filesystem>
#include <string>

#include "loaders/fbx/FbxFileAccess.h"
#include "loaders/fbx/FbxSceneReading.h"
#include "loaders/fbx/FbxTexturePaths.h"
#include "loaders_fbx/FbxTestSupport.h"

namespace ornolith::test {
namespace {

using ::testing::HasSubstr;
using ::testing::StartsWith;

ufbx_string textOf(const std::string& text) {
  return {text.data(), text.size()};
}

/// A model's folder, an asset folder, and a place that belongs to neither.
struct Places {
  TemporaryFolder all;
  FileURL model{all.path() + "/root/model/model.fbx"};
  FileURL assets{all.path() + "/root/assets", true};
  FileURL more{all.path() + "/root/more", true};

  Places() {
    for (const char* name : {"root/model", "root/assets", "root/more", "elsewhere"}) {
      std::filesystem::create_directories(all.path() + "/" + name);
    }
  }
  std::string put(std::string_view name) const { return all.makeFile(name, "x"); }
  std::optional<std::string> resolve(const std::string& filename, const std::string& relative = "",
                                     const std::string& absolute = "") const {
    ufbx_texture texture{};
    texture.filename = textOf(filename);
    texture.relative_filename = textOf(relative);
    texture.absolute_filename = textOf(absolute);
    return ResolvedPathForSingleTexture(texture, model, {assets, more});
  }
};

TEST(FbxTexturePaths, NothingNamedIsNothingFound) {
  const Places places;
  EXPECT_EQ(places.resolve(""), std::nullopt);
  EXPECT_EQ(places.resolve("none.png", "none.png", "/none.png"), std::nullopt);
}

TEST(FbxTexturePaths, NamesAreLookedForInTheFolderOfTheModelAndThenInTheAssetFoldersInOrder) {
  const Places places;
  const std::string third = places.put("root/more/a.png");
  EXPECT_EQ(places.resolve("", "a.png"), third);
  const std::string second = places.put("root/assets/a.png");
  EXPECT_EQ(places.resolve("", "a.png"), second);
  const std::string first = places.put("root/model/a.png");
  EXPECT_EQ(places.resolve("", "a.png"), first);
}

TEST(FbxTexturePaths, TheNameAsWrittenCountsBeforeItsLastComponent) {
  const Places places;
  const std::string bare = places.put("root/model/a.png");
  EXPECT_EQ(places.resolve("", "textures/a.png"), bare);
  const std::string written = places.put("root/model/textures/a.png");
  EXPECT_EQ(places.resolve("", "textures/a.png"), written);
}

TEST(FbxTexturePaths, TheFirstNameThatIsFoundWins) {
  const Places places;
  const std::string first = places.put("root/more/first.png");
  const std::string second = places.put("root/model/second.png");
  EXPECT_EQ(places.resolve("first.png", "second.png"), first);
  EXPECT_EQ(places.resolve("none.png", "second.png"), second);
}

TEST(FbxTexturePaths, TheAuthorsAbsolutePathIsTakenAsItStands) {
  const Places places;
  const std::string elsewhere = places.put("elsewhere/a.png");
  EXPECT_EQ(places.resolve("", "", elsewhere), elsewhere);
  EXPECT_EQ(places.resolve("", elsewhere, ""), elsewhere);
  EXPECT_EQ(places.resolve("", "", places.all.path() + "/root//../elsewhere/./a.png"), elsewhere);
}

TEST(FbxTexturePaths, AnotherMachinesAbsolutePathIsFoundByItsLastComponent) {
  const Places places;
  const std::string here = places.put("root/assets/wood.png");
  EXPECT_EQ(places.resolve("", "", "/home/author/textures/wood.png"), here);
  EXPECT_EQ(places.resolve("", "", "C:/Users/author/wood.png"), here);
  EXPECT_EQ(places.resolve("", "", "C:\\Users\\author\\wood.png"), here);
}

TEST(FbxTexturePaths, ABackslashInANameIsAnOrdinaryCharacterFirst) {
  const Places places;
  const std::string odd = places.put("root/more/C:\\wood.png");
  places.put("root/model/wood.png");
  EXPECT_EQ(places.resolve("", "", "C:\\wood.png"), odd);
}

TEST(FbxTexturePaths, NamesThatClimbOutAreNotFollowed) {
  const Places places;
  places.put("elsewhere/secret.png");
  EXPECT_EQ(places.resolve("", "../../elsewhere/secret.png"), std::nullopt);
  EXPECT_EQ(places.resolve("", "a/../../../elsewhere/secret.png"), std::nullopt);
  EXPECT_EQ(places.resolve("", "/../../../elsewhere/secret.png"), std::nullopt);
  // The resolved name is the relative one made absolute.
  EXPECT_EQ(places.resolve(places.all.path() + "/elsewhere/secret.png", "../../elsewhere/secret.png"), std::nullopt);
  EXPECT_EQ(places.resolve(places.model.deletingLastPathComponent().path() + "/../../elsewhere/secret.png",
                           "../../elsewhere/secret.png"),
            std::nullopt);
  // One that comes back, or that lies in another of the folders, does not climb out.
  const std::string own = places.put("root/model/own.png");
  EXPECT_EQ(places.resolve("", "textures/../own.png"), own);
  const std::string shared = places.put("root/assets/deep/shared.png");
  EXPECT_EQ(places.resolve(places.all.path() + "/root/assets/deep/shared.png", "../assets/deep/shared.png"), shared);
}

TEST(FbxTexturePaths, AFileThatClimbsOutIsNotFollowedEndToEnd) {
  const Places places;
  places.put("elsewhere/secret.png");
  for (const std::string name :
       {"../../elsewhere/secret.png", "..\\\\..\\\\elsewhere\\\\secret.png", "x/../../../elsewhere/secret.png"}) {
    OneMaterial model("");
    model.addTexture("DiffuseColor", "RelativeFilename: \"" + name + "\"\n");
    places.all.makeFile("root/model/model.fbx", model.script.text());
    const auto result = FbxFallbackSceneLoader::loadSceneAtURL(places.model, {places.assets});
    EXPECT_EQ(result.diagnostics.size(), 1u) << name;
    EXPECT_TRUE(result.usedMaterialFallback);
  }
}

TEST(FbxTexturePaths, OnlyRegularFilesAreTextures) {
  const Places places;
  std::filesystem::create_directories(places.all.path() + "/root/model/folder.png");
  ASSERT_EQ(::mkfifo((places.all.path() + "/root/model/pipe.png").c_str(), 0600), 0);
  EXPECT_EQ(places.resolve("", "folder.png"), std::nullopt);
  EXPECT_EQ(places.resolve("", "pipe.png"), std::nullopt);
  EXPECT_EQ(places.resolve("", "", places.all.path() + "/root/model/pipe.png"), std::nullopt);
  EXPECT_EQ(places.resolve("", "", "/dev/zero"), std::nullopt);
  EXPECT_EQ(places.resolve("", ".."), std::nullopt);
  EXPECT_EQ(places.resolve("", "."), std::nullopt);
}

TEST(FbxTexturePaths, NoLinkIsFollowedBelowAFolder) {
  const Places places;
  const std::string outside = places.put("elsewhere/a.png");
  const std::string inside = places.put("root/assets/real/b.png");
  std::filesystem::create_symlink(outside, places.assets.path() + "/a.png");
  std::filesystem::create_symlink(places.all.path() + "/elsewhere", places.assets.path() + "/folder");
  std::filesystem::create_symlink(inside, places.assets.path() + "/b.png");
  EXPECT_EQ(places.resolve("", "a.png"), std::nullopt);
  EXPECT_EQ(places.resolve("", "folder/a.png"), std::nullopt);
  EXPECT_EQ(places.resolve("", "b.png"), std::nullopt);
  EXPECT_EQ(places.resolve(places.assets.path() + "/folder/a.png"), std::nullopt);
  EXPECT_EQ(places.resolve("", "real/b.png"), inside);
}

TEST(FbxTexturePaths, TheWayToAFolderMayLeadThroughLinks) {
  Places places;
  places.put("root/assets/real/b.png");
  std::filesystem::create_symlink(places.all.path() + "/root", places.all.path() + "/way");
  places.assets = FileURL(places.all.path() + "/way/assets", true);
  const std::string throughLink = places.assets.path() + "/real/b.png";
  EXPECT_EQ(places.resolve("", "real/b.png"), throughLink);
  EXPECT_EQ(places.resolve(throughLink), throughLink);
}

/// Whether `access` opens `path` for what a model refers to.
bool opens(FbxFileAccess& access, const std::string& path, ufbx_open_file_type type = UFBX_OPEN_FILE_GEOMETRY_CACHE) {
  const ufbx_open_file_cb callback = access.callback();
  ufbx_stream stream{};
  ufbx_open_file_info info{};
  info.type = type;
  if (!callback.fn(callback.user, &stream, path.data(), path.size(), &info)) return false;
  char byte = 0;
  EXPECT_EQ(stream.read_fn(stream.user, &byte, 1), 1u);
  EXPECT_EQ(byte, 'x');
  EXPECT_EQ(stream.size_fn(stream.user), 1u);
  EXPECT_EQ(stream.read_fn(stream.user, &byte, 1), 0u);
  stream.close_fn(stream.user);
  return true;
}

TEST(FbxFileAccess, LetsTheLibraryOpenWhatLiesInTheModelsFolder) {
  const Places places;
  FbxFileAccess access(places.model.path());
  EXPECT_TRUE(opens(access, places.put("root/model/cache.xml")));
  EXPECT_TRUE(opens(access, places.put("root/model/deep/cache.xml")));
  EXPECT_TRUE(opens(access, places.put("root/model/model.fbx"), UFBX_OPEN_FILE_MAIN_MODEL));
  EXPECT_FALSE(opens(access, places.all.path() + "/root/model/none.xml"));
  EXPECT_FALSE(opens(access, places.put("elsewhere/cache.xml")));
  EXPECT_FALSE(opens(access, places.put("root/model-2/cache.xml")));
  EXPECT_FALSE(opens(access, places.all.path() + "/root/model/../../elsewhere/cache.xml"));
  EXPECT_FALSE(opens(access, places.all.path() + "/root/model"));
  EXPECT_FALSE(opens(access, std::string("/dev/zero")));
  EXPECT_FALSE(opens(access, places.all.path() + "/root/model/cache.xml" + std::string(1, '\0')));
}

TEST(FbxFileAccess, FollowsNoLinkOutOfTheFolderAndWaitsOnNoPipe) {
  const Places places;
  FbxFileAccess access(places.model.path());
  const std::string folder = places.all.path() + "/root/model";
  ASSERT_EQ(::symlink(places.put("elsewhere/secret.xml").c_str(), (folder + "/link.xml").c_str()), 0);
  ASSERT_EQ(::symlink(places.put("root/model/own.xml").c_str(), (folder + "/own-link.xml").c_str()), 0);
  ASSERT_EQ(::mkfifo((folder + "/pipe.xml").c_str(), 0600), 0);
  EXPECT_FALSE(opens(access, folder + "/link.xml"));
  EXPECT_TRUE(opens(access, folder + "/own-link.xml"));
  EXPECT_FALSE(opens(access, folder + "/pipe.xml"));
  EXPECT_FALSE(opens(access, folder + "/pipe.xml", UFBX_OPEN_FILE_MAIN_MODEL));
}

TEST(FbxFileAccess, MaterialLibrariesOfOtherFormatsStayInside) {
  const Places places;
  places.all.makeFile("elsewhere/secret.mtl", "newmtl Paint\nKd 1 0 0\n");
  places.all.makeFile("root/model/own.mtl", "newmtl Paint\nKd 0 1 0\n");
  const auto diffuse = [&places](const std::string& library) {
    places.all.makeFile("root/model/model.fbx",
                        "mtllib " + library + "\no Part\nv 0 0 0\nv 1 0 0\nv 0 1 0\nusemtl Paint\nf 1 2 3\n");
    const auto result = FbxFallbackSceneLoader::loadSceneAtURL(places.model, {});
    const auto* color = std::get_if<NSColor>(&firstMaterialOf(result).diffuse.contents);
    return color != nullptr ? *color : NSColor{};
  };
  EXPECT_EQ(diffuse("own.mtl"), (NSColor{.red = 0, .green = 1, .blue = 0, .alpha = 1}));
  EXPECT_NE(diffuse("../../elsewhere/secret.mtl"), (NSColor{.red = 1, .green = 0, .blue = 0, .alpha = 1}));
  EXPECT_NE(diffuse("/" + places.all.path() + "/elsewhere/secret.mtl"),
            (NSColor{.red = 1, .green = 0, .blue = 0, .alpha = 1}));
}

TEST(FbxErrors, TextsThatAreNotUTF8BecomeOurs) {
  ufbx_error error{};
  error.description = {"bad \xFF byte", 10};
  EXPECT_EQ(fbxErrorDescription(error), "FBX konnte nicht gelesen werden.");
  error.description = {"plain", 5};
  EXPECT_EQ(fbxErrorDescription(error), "ufbx v0.22.0 error: plain\n");
}

TEST(FbxErrors, OtherContentIsRefusedInTheWordsOfTheLibrary) {
  const TemporaryFolder folder;
  for (const std::string_view contents : {"", "plain text", "\x89PNG\r\n\x1a\n", "Kaydara FBX Binary  "}) {
    try {
      FbxFallbackSceneLoader::loadSceneAtURL(FileURL(folder.makeFile("model.fbx", contents)), {});
      FAIL() << "loaded " << contents;
    } catch (const FbxLoadError& error) {
      if (error.code() == 1) {
        EXPECT_THAT(error.errorDescription(), StartsWith("ufbx v0.22.0 error: "));
      }
    }
  }
}

}  // namespace
}  // namespace ornolith::test
