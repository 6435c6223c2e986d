#include <gtest/gtest.h>

#include <filesystem>
#include <string>

#include "GLTFFile.h"
#include "support/Damage.h"
#include "support/TestModels.h"

namespace ornolith {
namespace {

using namespace gltf_files;
using testsupport::cutEverywhere;
using testsupport::patchAtRandom;

/// A small file with something of everything: interleaved, sparse and quantised attributes, a strip, a skin, a morph,
/// instances, a camera.
File richFile() {
  File file;
  file.positions({0, 0, 0, 1, 0, 0, 0, 1, 0, 1, 1, 0});
  file.floats({0, 0, 1, 0, 0, 1, 0, 0, 1, 0, 0, 1}, "VEC3", 3);
  file.accessor(file.view(packed<std::uint8_t>({0, 0, 0, 0, 1, 0, 0, 0, 0, 1, 0, 0, 1, 1, 0, 0})), unsignedByte, 4,
                "VEC4");
  file.floats({1, 0, 0, 0, 1, 0, 0, 0, 0.5F, 0.5F, 0, 0, 1, 0, 0, 0}, "VEC4", 4);
  const int sparseIndices = file.view(packed<std::uint16_t>({1, 3}));
  const int sparseValues = file.view(packed({0.F, 0.F, 1.F, 0.F, 0.F, 2.F}));
  file.accessor(-1, floatingPoint, 4, "VEC3",
                ",\"sparse\":{\"count\":2,\"indices\":{\"bufferView\":" + std::to_string(sparseIndices) +
                    ",\"componentType\":5123},\"values\":{\"bufferView\":" + std::to_string(sparseValues) + "}}");
  file.shorts({0, 1, 2, 3});
  file.add("meshes", R"([{"primitives":[{"attributes":{"POSITION":0,"NORMAL":1,"JOINTS_0":2,"WEIGHTS_0":3},"mode":5,
      "indices":5,"targets":[{"POSITION":4}]}],"weights":[0.5]}])");
  file.add("skins", R"([{"joints":[1,2]}])");
  file.add("cameras", R"([{"type":"perspective","perspective":{"yfov":1,"znear":1}}])");
  file.add("nodes", R"([{"mesh":0,"skin":0},{"children":[2],"camera":0},{"rotation":[0,0,1,0]},
      {"mesh":0,"extensions":{"EXT_mesh_gpu_instancing":{"attributes":{"TRANSLATION":1}}}}])");
  return file;
}

TEST(GLTFDamage, IsSurvivedAtEveryByteWhereTheFileIsCut) {
  const std::string glb = richFile().glb();
  const std::string gltf = richFile().gltf();
  EXPECT_EQ(refusalOf(glb), "");
  cutEverywhere(glb, [](const std::string& cut) { EXPECT_NE(refusalOf(cut), "") << cut.size(); });
  cutEverywhere(gltf, [](const std::string& cut) { EXPECT_NE(refusalOf(cut, ModelFormat::gltf), "") << cut.size(); });
}

TEST(GLTFDamage, IsSurvivedAtEveryByteWhereTheBinaryChunkIsCut) {
  const File file = richFile();
  cutEverywhere(file.binary(), [&](const std::string& cut) {
    EXPECT_NE(refusalOf(container(chunk(jsonType, file.json()) + chunk(binaryType, cut))), "") << cut.size();
  });
}

TEST(GLTFDamage, OfAnyBytesEndsInASoundSceneOrARefusal) {
  std::size_t refused = 0;
  patchAtRandom(richFile().glb(), 6000, 11, [&](const std::string& patched) {
    if (!refusalOf(patched).empty()) ++refused;
  });
  EXPECT_GT(refused, 1000U);
}

TEST(GLTFDamage, OfNumbersEndsInASoundSceneOrARefusal) {
  const std::string json = richFile().gltf();
  const std::string numbers[] = {
      "-1",  "0",   "7",     "255",  "65536", "4294967295", "4294967296", "9223372036854775807",
      "1e9", "0.5", "1e308", "null", "\"x\"", "[]",         "{}"};
  for (std::size_t at = 0; at < json.size(); ++at) {
    if (json[at] < '0' || json[at] > '9' || (json[at - 1] >= '0' && json[at - 1] <= '9')) continue;
    if (json.compare(at - 1, 1, ":") != 0 && json.compare(at - 1, 1, "[") != 0 && json.compare(at - 1, 1, ",") != 0) {
      continue;
    }
    std::size_t end = at;
    while (json[end] >= '0' && json[end] <= '9') ++end;
    for (const std::string& number : numbers) {
      refusalOf(json.substr(0, at) + number + json.substr(end), ModelFormat::gltf);
    }
  }
}

// Real files.

std::vector<std::filesystem::path> modelsBelow(const std::filesystem::path& folder) {
  return testsupport::filesBelow(folder, {"glb", "gltf"});
}

ModelFormat formatOf(const std::filesystem::path& model) {
  return FileURL(model.string()).lowercasedPathExtension() == "glb" ? ModelFormat::glb : ModelFormat::gltf;
}

TEST(GLTFRealFiles, OfOtherPeoplesExportersLoadSoundly) {
  const std::filesystem::path folder = testsupport::sharedModels() / "gltf";
  std::size_t loaded = 0;
  for (const auto& model : modelsBelow(folder)) {
    const auto result = GLTFSceneLoader::loadScene(FileURL(model.string()), {}, formatOf(model));
    EXPECT_EQ(checkScene(*result.scene).brokenPromise, std::nullopt) << model;
    ++loaded;
  }
  if (loaded == 0) GTEST_SKIP() << "There are no models under " << folder << ".";
}

TEST(GLTFRealFiles, MadeToTestReadersLoadSoundlyOrAreRefused) {
  const auto models = modelsBelow("/usr/share/assimp/models/glTF2");
  if (models.empty()) GTEST_SKIP() << "The package assimp-testmodels is not installed.";
  std::size_t loaded = 0;
  for (const auto& model : models) {
    try {
      const auto result = GLTFSceneLoader::loadScene(FileURL(model.string()), {}, formatOf(model));
      EXPECT_EQ(checkScene(*result.scene).brokenPromise, std::nullopt) << model;
      ++loaded;
    } catch (const GLTFSceneLoaderError& error) {
      EXPECT_FALSE(error.errorDescription().empty()) << model;
    }
  }
  EXPECT_GT(loaded, 30U);
}

}  // namespace
}  // namespace ornolith
