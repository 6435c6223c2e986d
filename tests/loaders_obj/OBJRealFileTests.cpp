#include <gmock/gmock.h>

#include <filesystem>
#include <string>
#include <vector>

#include "OBJFiles.h"
#include "foundation/Error.h"
#include "scenegraph/SceneCheck.h"
#include "support/TestModels.h"

namespace ornolith {
namespace {

using testsupport::sharedModels;

/// Every OBJ file below `folder` loads into a sound scene or is refused with a message; gives the names of the refused.
std::vector<std::string> loadAll(const std::filesystem::path& folder, std::size_t& count) {
  std::vector<std::string> refused;
  for (const auto& path : testsupport::filesBelow(folder, {"obj"})) {
    const FileURL url(path.string());
    ++count;
    SCOPED_TRACE(path);
    try {
      EXPECT_FALSE(checkScene(*loadOBJScene(url, {})).brokenPromise);
    } catch (const Error& error) {
      EXPECT_FALSE(error.errorDescription().empty());
      refused.push_back(url.lastPathComponent());
    }
  }
  return refused;
}

TEST(OBJRealFiles, OfPeoplesExportersLoad) {
  std::size_t count = 0;
  const auto refused = loadAll(sharedModels() / "obj", count);
  if (count == 0) GTEST_SKIP() << "no models at " << sharedModels() << "; ORNOLITH_TEST_MODELS names their folder";
  EXPECT_THAT(refused, testing::IsEmpty());
}

TEST(OBJRealFiles, AMaterialThatItsExporterCannotHaveMeantToBeInvisibleIsShown) {
  const FileURL url((sharedModels() / "obj/capsule/capsule.obj").string());
  if (!std::filesystem::exists(url.path())) GTEST_SKIP() << "no model at " << url.path();
  const auto material = testsupport::geometryIn(*loadOBJScene(url, {}))->firstMaterial();
  EXPECT_EQ(material->transparency, 1);
  EXPECT_EQ(std::get<FileURL>(material->diffuse.contents).lastPathComponent(), "capsule0.jpg");
}

TEST(OBJRealFiles, OfATestCollectionLoadButForThoseThatAreDamaged) {
  std::size_t count = 0;
  auto refused = loadAll("/usr/share/assimp/models/OBJ", count);
  if (count == 0) GTEST_SKIP() << "the package assimp-testmodels is not installed";
  EXPECT_THAT(refused, testing::IsSubsetOf({"box_UTF16BE.obj", "empty_mat.obj"}));
}

}  // namespace
}  // namespace ornolith
