#include <gmock/gmock.h>

#include <filesystem>
#include <string>
#include <vector>

#include "loaders_fbx/FbxSceneAssertions.h"
#include "loaders_fbx/FbxTestSupport.h"
#include "support/TestModels.h"

namespace ornolith::test {
namespace {

using ::testing::Contains;
using ::testing::HasSubstr;
using ::testing::IsEmpty;
using ::testing::IsSubsetOf;
using testsupport::sharedModels;

std::vector<std::filesystem::path> fbxFilesBelow(const std::filesystem::path& folder) {
  return testsupport::filesBelow(folder, {"fbx"});
}

/// Every file below `folder` loads into a sound scene, or is refused with a message; answers the names of those
/// refused.
std::vector<std::string> loadAll(const std::filesystem::path& folder) {
  std::vector<std::string> refused;
  for (const auto& path : fbxFilesBelow(folder)) {
    SCOPED_TRACE(path);
    try {
      const auto result = FbxFallbackSceneLoader::loadSceneAtURL(FileURL(path.string()), {});
      expectSoundScene(*result.scene);
    } catch (const FbxLoadError& error) {
      EXPECT_FALSE(error.errorDescription().empty());
      refused.push_back(path.filename());
    }
  }
  return refused;
}

TEST(FbxRealFiles, EveryExampleLoads) {
  const std::filesystem::path examples = std::filesystem::path(ORNOLITH_SOURCE_DIR) / "examples";
  EXPECT_GE(fbxFilesBelow(examples).size(), 8u);
  EXPECT_THAT(loadAll(examples), IsEmpty());
}

TEST(FbxRealFiles, TheAnimatedExampleLastsAsLongAsItsKeys) {
  const std::string path = std::string(ORNOLITH_SOURCE_DIR) + "/examples/animated.fbx";
  const auto result = FbxFallbackSceneLoader::loadSceneAtURL(FileURL(path), {});
  ASSERT_EQ(result.animations.size(), 1u);
  EXPECT_EQ(result.animations[0].name, "Spin");
  EXPECT_EQ(result.animations[0].startTime, 0);
  EXPECT_EQ(result.animations[0].endTime, 2);
  EXPECT_EQ(result.animations[0].duration, 2);
}

TEST(FbxRealFiles, FilesOfManyExportersLoad) {
  const std::filesystem::path models = sharedModels() / "fbx";
  if (!std::filesystem::exists(models)) {
    GTEST_SKIP() << "no models at " << models << "; ORNOLITH_TEST_MODELS names their folder";
  }
  // This one holds nothing but a skeleton.
  EXPECT_THAT(loadAll(models), IsSubsetOf({"maya_character_7500_binary.fbx"}));
}

TEST(FbxRealFiles, TheTestFilesOfTheDistributionLoadOrAreRefused) {
  std::size_t found = 0;
  for (const char* folder : {"/usr/share/assimp/models/FBX", "/usr/share/assimp/models-nonbsd/FBX"}) {
    found += fbxFilesBelow(folder).size();
    loadAll(folder);
  }
  if (found == 0) GTEST_SKIP() << "the package assimp-testmodels is not installed";
}

FbxFallbackLoadResult loadShared(const char* name) {
  return FbxFallbackSceneLoader::loadSceneAtURL(FileURL((sharedModels() / "fbx" / name).string()), {});
}

TEST(FbxRealFiles, VisibilityAsARealNumberShows) {
  if (!std::filesystem::exists(sharedModels() / "fbx")) GTEST_SKIP() << "no shared models";
  for (const SCNNode::Pointer& node : meshNodes(loadShared("max6_teapot_3000_binary.fbx"))) {
    EXPECT_FALSE(node->isHiddenInTree());
  }
  const auto hidden = meshNodes(loadShared("maya_cube_hidden_7500_binary.fbx"));
  ASSERT_FALSE(hidden.empty());
  for (const SCNNode::Pointer& node : hidden) EXPECT_TRUE(node->isHiddenInTree());
}

TEST(FbxRealFiles, EmbeddedTexturesAreImages) {
  if (!std::filesystem::exists(sharedModels() / "fbx")) GTEST_SKIP() << "no shared models";
  const auto result = loadShared("blender_293_embedded_textures_7400_binary.fbx");
  EXPECT_TRUE(std::holds_alternative<std::shared_ptr<const Image>>(firstMaterialOf(result).diffuse.contents));
  EXPECT_TRUE(result.diagnostics.empty());
}

TEST(FbxRealFiles, MorphTargetsAreAnnounced) {
  if (!std::filesystem::exists(sharedModels() / "fbx")) GTEST_SKIP() << "no shared models";
  EXPECT_THAT(loadShared("maya_blend_shape_cube_7700_binary.fbx").diagnostics,
              Contains(HasSubstr("blend shape deformer(s); morph targets are rendered in their base state.")));
}

}  // namespace
}  // namespace ornolith::test
