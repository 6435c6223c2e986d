#include <gtest/gtest.h>

#include <string>

#include "loaders/SceneLoadError.h"
#include "loaders/SceneLoaders.h"
#include "support/FailureOf.h"
#include "support/TemporaryFolder.h"

namespace ornolith {
namespace {

TEST(SceneLoadError, NamesAnUnsupportedMeshFormatInCapitals) {
  const SceneLoadError error(scene_load_error::UnsupportedModelIOFormat{ModelFormat::ply});
  EXPECT_EQ(error.errorDescription(), "PLY kann auf diesem System nicht über ModelIO importiert werden.");
}

TEST(SceneLoadError, NamesAFileThatGaveNothing) {
  const SceneLoadError error(scene_load_error::EmptyModelIOScene{FileURL("/tmp/models/leer.ply")});
  EXPECT_EQ(error.errorDescription(), "leer.ply wurde gelesen, enthält aber keine darstellbare 3D-Geometrie.");
}

TEST(SceneLoadError, CasesCompareByTheirPayload) {
  EXPECT_EQ(SceneLoadError(scene_load_error::NoReader{ModelFormat::obj}),
            SceneLoadError(scene_load_error::NoReader{ModelFormat::obj}));
  EXPECT_FALSE(SceneLoadError(scene_load_error::NoReader{ModelFormat::obj}) ==
               SceneLoadError(scene_load_error::NoReader{ModelFormat::dae}));
}

TEST(SceneLoaders, FormatsWithoutAReaderEndInASentenceThatNamesTheFormat) {
  EXPECT_EQ(failureOf([] { loadSceneKitScene(FileURL("/tmp/a.DAE"), {}); }), "This build cannot read DAE files.");
  EXPECT_EQ(failureOf([] { loadSceneKitScene(FileURL("/tmp/a.usdz"), {}); }), "This build cannot read USDZ files.");
}

TEST(SceneLoaders, AnOBJFileIsReadWhateverTheCaseOfItsExtension) {
  const testsupport::TemporaryFolder folder;
  const FileURL url(folder.makeFile("a.OBJ", "o Blatt\nv 0 0 0\nv 1 0 0\nv 0 1 0\nf 1 2 3\n"));
  EXPECT_EQ(loadSceneKitScene(url, {})->rootNode()->childNodes().at(0)->name(), "Blatt");
}

TEST(SceneLoaders, AMeshFileWithoutGeometryIsRefusedByItsName) {
  const testsupport::TemporaryFolder folder;
  const FileURL url(folder.makeFile("leer.ply", "ply\nformat ascii 1.0\nend_header\n"));
  EXPECT_EQ(failureOf([&] { loadModelIOScene(url, ModelFormat::ply); }),
            "leer.ply wurde gelesen, enthält aber keine darstellbare 3D-Geometrie.");
}

TEST(SceneLoaders, TheMeshReaderRefusesAFormatThatIsNotItsOwn) {
  EXPECT_EQ(failureOf([] { loadModelIOScene(FileURL("/tmp/a.fbx"), ModelFormat::fbx); }),
            "FBX kann auf diesem System nicht über ModelIO importiert werden.");
}

}  // namespace
}  // namespace ornolith
