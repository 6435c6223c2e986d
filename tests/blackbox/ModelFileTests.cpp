// Models in OBJ, STL and PLY, and the resources beside models of any format, through the built program.

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <bit>
#include <filesystem>
#include <span>
#include <string>
#include <string_view>
#include <vector>

#include "blackbox/Program.h"
#include "imaging/ImageDecoder.h"
#include "support/TemporaryFolder.h"

namespace ornolith::blackbox {
namespace {

namespace fs = std::filesystem;
using testsupport::contentsOf;

const std::string examples = ORNOLITH_EXAMPLES;
const Outcome success{.status = 0, .output = "", .error = ""};

/// A square with texture coordinates that faces the viewer.
const std::string square =
    "v -1 -1 0\nv 1 -1 0\nv 1 1 0\nv -1 1 0\nvt 0 0\nvt 1 0\nvt 1 1\nvt 0 1\nusemtl paint\nf 1/1 2/2 3/3 4/4\n";

/// A scratch folder in which runs take place.
class ModelFile : public testing::Test {
 protected:
  testsupport::TemporaryFolder folder;

  void put(const std::string& name, std::string_view contents) const {
    fs::create_directories(fs::path(folder / name).parent_path());
    folder.makeFile(name, contents);
  }
  void putTexture(const std::string& name) const { put(name, contentsOf(examples + "/textures/crate.png")); }
  Outcome runHere(const std::vector<std::string>& arguments) const {
    return run(arguments, Surroundings{.directory = folder.path()});
  }
  Outcome rendering(const std::string& model, const std::vector<std::string>& more = {}) const {
    std::vector<std::string> arguments{model, "--output", "picture.png", "--width", "64", "--height", "64"};
    arguments.insert(arguments.end(), more.begin(), more.end());
    return runHere(arguments);
  }
  /// The picture of a model about which there is nothing to say.
  Image picture(const std::string& model, const std::vector<std::string>& more = {}) const {
    EXPECT_EQ(rendering(model, more), success);
    const std::string bytes = contentsOf(folder / "picture.png");
    return decodeImage(std::as_bytes(std::span(bytes))).value_or(Image{});
  }
  static std::size_t drawnPixelCount(const Image& image) {
    std::size_t count = 0;
    for (std::size_t offset = 3; offset < image.pixels.size(); offset += 4) count += image.pixels[offset] != 0 ? 1 : 0;
    return count;
  }
};

// OBJ.

TEST_F(ModelFile, OBJFindsItsMaterialsAndTexturesBesideItAndInFurtherFolders) {
  put("plain/m.obj", "mtllib m.mtl\n" + square);
  const Image plain = picture("plain/m.obj");
  EXPECT_GT(drawnPixelCount(plain), 400U);

  const std::string library = "newmtl paint\nmap_Kd -s 1 1 1 textures/crate one.png\n";
  put("beside/m.obj", "mtllib m.mtl\n" + square);
  put("beside/m.mtl", library);
  putTexture("beside/textures/crate one.png");
  const Image textured = picture("beside/m.obj");
  EXPECT_NE(textured, plain);

  put("further/m.mtl", library);
  putTexture("further/textures/crate one.png");
  EXPECT_EQ(picture("plain/m.obj", {"--asset-dir", "further"}), textured);
  EXPECT_EQ(picture("plain/m.obj"), plain);
}

TEST_F(ModelFile, OBJFollowsNoLinks) {
  put("plain/m.obj", "mtllib m.mtl\n" + square);
  const Image plain = picture("plain/m.obj");
  put("outside/m.mtl", "newmtl paint\nKd 1 0 0\n");
  fs::create_symlink(folder / "outside/m.mtl", folder / "plain/m.mtl");
  EXPECT_EQ(picture("plain/m.obj"), plain) << "a link beside the model is not imported";
}

TEST_F(ModelFile, OBJMayNotReachOut) {
  put("secret.mtl", "newmtl paint\nKd 1 0 0\n");
  putTexture("secret.png");
  for (const std::string name : {"../secret.mtl", "sub/../../secret.mtl", "/etc/passwd", "~/secret.mtl",
                                 "file:secret.mtl", "%2e%2e/secret.mtl", "secret.mtl?x", ".", ".."}) {
    put("model/m.obj", "mtllib " + name + "\n" + square);
    EXPECT_EQ(rendering("model/m.obj"), failure("OBJ/MTL resource path is unsafe: " + name));
  }
  put("model/m.obj", "mtllib m.mtl\n" + square);
  for (const std::string name : {"../secret.png", "/etc/passwd", "http://host/secret.png"}) {
    put("model/m.mtl", "newmtl paint\nmap_Kd " + name + "\n");
    EXPECT_EQ(rendering("model/m.obj"), failure("OBJ/MTL resource path is unsafe: " + name));
  }
  EXPECT_FALSE(fs::exists(folder / "picture.png"));
}

TEST_F(ModelFile, OBJIsRefusedForWhatItsLibrariesDoWrong) {
  put("m.obj", "mtllib m.mtl\n" + square);
  put("textures/a.png", "one");
  put("materials/a.png", "two");
  const std::string longLine(1'048'577, '#');
  const std::string largeLibrary = [] {
    std::string text;
    while (text.size() <= 16'777'216) text += std::string(1023, '#') + "\n";
    return text;
  }();
  for (const auto& [library, text] : {
           std::pair{std::string("map_Kd -foo 1 a.png\n"), "OBJ/MTL map option is unsupported: -foo"},
           std::pair{std::string("map_Kd -clamp\n"), "OBJ/MTL directive is malformed: map_Kd -clamp"},
           std::pair{std::string("newmtl\n"), "OBJ/MTL directive is malformed: newmtl"},
           std::pair{std::string("newmtl 'a\n"), "OBJ/MTL directive is malformed: newmtl 'a"},
           std::pair{std::string("map_Kd a.png\n"), "OBJ/MTL resource resolves to more than one file: a.png"},
           std::pair{longLine, "OBJ/MTL line exceeds the supported size: m.mtl"},
           std::pair{largeLibrary, "OBJ material library exceeds the supported size: m.mtl"},
       }) {
    put("m.mtl", library);
    EXPECT_EQ(rendering("m.obj"), failure(text));
  }
  std::string references;
  for (int i = 0; i < 64; ++i) references += "mtllib " + std::to_string(i) + ".mtl\n";
  put("many.obj", references + square);
  EXPECT_EQ(rendering("many.obj"), success);
  put("many.obj", references + "mtllib m.mtl\n" + square);
  EXPECT_EQ(rendering("many.obj"), failure("OBJ references too many material libraries."));
}

TEST_F(ModelFile, OBJIsVettedBeforeItIsRead) {
  put("m.obj", "f 1 2 3\nmtllib ../m.mtl\n");
  EXPECT_EQ(rendering("m.obj"), failure("OBJ/MTL resource path is unsafe: ../m.mtl"));
  put("m.obj", "f 1 2 3\n");
  EXPECT_EQ(rendering("m.obj"),
            failure("The OBJ file is damaged: it refers to a vertex that it does not have; it has 0."));
}

TEST_F(ModelFile, OBJThatHoldsNothingToDrawIsRefused) {
  for (const std::string& text :
       {std::string(), std::string("# nothing\no x\ng y\nvt 0 0\n"), std::string(1000, '\0')}) {
    put("m.obj", text);
    EXPECT_EQ(rendering("m.obj"), failure("The OBJ file holds nothing that can be drawn."));
  }
  EXPECT_FALSE(fs::exists(folder / "picture.png"));
}

// STL and PLY.

const std::string plyHeader =
    "ply\nformat ascii 1.0\nelement vertex 4\nproperty float x\nproperty float y\nproperty float z\n";
const std::string plyCorners = "-1 -1 0\n1 -1 0\n1 1 0\n-1 1 0\n";

std::string binarySTL(std::uint32_t claimedCount) {
  std::string bytes(80, '\0');
  const auto add = [&bytes](std::uint32_t word) {
    for (unsigned shift = 0; shift < 32; shift += 8) bytes.push_back(static_cast<char>((word >> shift) & 0xFFU));
  };
  add(claimedCount);
  for (const float value : {0.F, 0.F, 1.F, -1.F, -1.F, 0.F, 1.F, -1.F, 0.F, 0.F, 1.F, 0.F}) {
    add(std::bit_cast<std::uint32_t>(value));
  }
  return bytes + std::string(2, '\0');
}

TEST_F(ModelFile, STLIsReadInBothForms) {
  put("binary.stl", binarySTL(1));
  put("text.STL",
      "solid s\nfacet normal 0 0 1\nouter loop\nvertex -1 -1 0\nvertex 1 -1 0\nvertex 0 1 0\nendloop\nendfacet\n"
      "endsolid s\n");
  const Image binary = picture("binary.stl");
  EXPECT_GT(drawnPixelCount(binary), 200U);
  EXPECT_EQ(picture("text.STL"), binary);
}

TEST_F(ModelFile, PLYIsDrawnAsFacesOrAsPoints) {
  put("faces.ply",
      plyHeader + "element face 1\nproperty list uchar int vertex_indices\nend_header\n" + plyCorners + "4 0 1 2 3\n");
  put("points.ply", plyHeader + "end_header\n" + plyCorners);
  const std::size_t faces = drawnPixelCount(picture("faces.ply"));
  const std::size_t points = drawnPixelCount(picture("points.ply"));
  EXPECT_GT(faces, 400U);
  EXPECT_GE(points, 4U);
  EXPECT_LT(points, faces / 4);
}

TEST_F(ModelFile, MeshFilesThatAreNoneEndInOneMessage) {
  put("empty.stl", "");
  put("short.stl", binarySTL(1000));
  put("claim.ply",
      "ply\nformat binary_little_endian 1.0\nelement vertex 4000000000\nproperty float x\nproperty float "
      "y\nproperty float z\nend_header\n");
  put("nothing.ply", "ply\nformat ascii 1.0\nend_header\n");
  put("index.ply",
      plyHeader + "element face 1\nproperty list uchar int vertex_indices\nend_header\n" + plyCorners + "3 0 1 4\n");
  EXPECT_EQ(rendering("empty.stl"), failure("The STL file is neither text nor long enough for a binary file."));
  EXPECT_EQ(rendering("nothing.ply"),
            failure("nothing.ply wurde gelesen, enthält aber keine darstellbare 3D-Geometrie."));
  for (const std::string name : {"short.stl", "claim.ply", "index.ply"}) {
    const Outcome outcome = rendering(name);
    EXPECT_EQ(outcome.status, 1) << name;
    EXPECT_EQ(outcome.output, "");
    EXPECT_THAT(outcome.error, testing::StartsWith("ornolith-render: The ")) << name;
    EXPECT_THAT(outcome.error, testing::EndsWith("\n\n" + usageText + "\n")) << name;
  }
  EXPECT_FALSE(fs::exists(folder / "picture.png"));
}

// All of them.

TEST_F(ModelFile, EveryFormatIsDrawnInEverySurfaceAndLayout) {
  for (const std::string name : {"toy-chest.obj", "knob.stl", "vertex-colors.ply", "desk-lamp.glb"}) {
    SCOPED_TRACE(name);
    std::vector<Image> pictures;
    for (const std::string surface : {"textured", "untextured", "transparent", "mesh"}) {
      pictures.push_back(picture(examples + "/" + name, {"--surface", surface}));
      EXPECT_GT(drawnPixelCount(pictures.back()), 50U) << surface;
      for (std::size_t i = 0; i + 1 < pictures.size(); ++i) EXPECT_NE(pictures[i], pictures.back()) << surface;
    }
    const Image sheet = picture(examples + "/" + name, {"--layout", "contact-4"});
    for (std::uint32_t cell = 0; cell < 4; ++cell) {
      std::size_t drawn = 0;
      for (std::uint32_t y = 0; y < 32; ++y) {
        for (std::uint32_t x = 0; x < 32; ++x) drawn += sheet.pixel(cell % 2 * 32 + x, cell / 2 * 32 + y)[3] != 0;
      }
      EXPECT_GT(drawn, 20U) << "cell " << cell;
    }
  }
}

TEST_F(ModelFile, FormatsWithoutAnAuthoredHierarchyAreNeitherListedNorPosed) {
  for (const auto& [name, format] : {std::pair{"toy-chest.obj", "OBJ"}, std::pair{"knob.stl", "STL"},
                                     std::pair{"vertex-colors.ply", "PLY"}, std::pair{"textured-box.gltf", "GLTF"}}) {
    const Outcome expected = failure("Explicit part poses require a hierarchy-preserving FBX or GLB model; got " +
                                     std::string(format) + ".");
    EXPECT_EQ(runHere({examples + "/" + name, "--list-parts"}), expected);
    EXPECT_EQ(rendering(examples + "/" + name, {"--rotate-part", "lid", "x=1"}), expected);
  }
}

TEST_F(ModelFile, FormatsThatHaveNoReaderAreNamed) {
  for (const std::string format : {"dae", "scn", "usd", "usda", "usdc", "usdz"}) {
    put("m." + format, "anything");
    std::string capitals = format;
    for (char& letter : capitals) letter = static_cast<char>(letter - 'a' + 'A');
    const Outcome expected = failure("This build cannot read " + capitals + " files.");
    EXPECT_EQ(rendering("m." + format), expected);
    EXPECT_EQ(runHere({"m." + format, "--list-parts"}), expected);
  }
}

// What is said of resources.

TEST_F(ModelFile, FindingsOfTheImportComeBeforeTheErrorsOfTheReaders) {
  put("m.usda", "anything");
  fs::create_symlink("/etc/passwd", folder / "link.png");
  EXPECT_EQ(rendering("m.usda"),
            (Outcome{.status = 1,
                     .output = "",
                     .error = "ornolith-render: warning [resource.symlink-skipped]: Symbolic link was not imported.\n" +
                              failure("This build cannot read USDA files.").error}));
}

TEST_F(ModelFile, AnEmbeddedMediaFolderThatIsALinkIsReportedAndTheModelDrawn) {
  fs::copy_file(examples + "/textured-box.fbx", folder / "m.fbx");
  ASSERT_EQ(rendering("m.fbx").status, 0);
  const std::string said = rendering("m.fbx").error;
  fs::create_directories(folder / "outside");
  fs::create_symlink(folder / "outside", folder / "m.fbm");
  EXPECT_EQ(rendering("m.fbx"),
            (Outcome{.status = 0,
                     .output = "",
                     .error = "ornolith-render: warning [resource.copy-failed]: A resource file could not be "
                              "imported.\n" +
                              said}));
}

TEST_F(ModelFile, AManifestMayNotReachOut) {
  put("secret.bin", std::string(36, '\0'));
  for (const std::string uri : {"../secret.bin", "..", "/etc/passwd", "file:///etc/passwd", "http://host/a.bin",
                                "x/../../secret.bin", "a.bin?x", "a.bin#x"}) {
    put("model/m.gltf", R"({"asset":{"version":"2.0"},"buffers":[{"byteLength":36,"uri":")" + uri + "\"}]}");
    EXPECT_EQ(rendering("model/m.gltf"),
              failure("Die Ressource " + uri + " liegt außerhalb des erlaubten Asset-Ordners."));
  }
  put("model/m.gltf", "[]");
  EXPECT_EQ(rendering("model/m.gltf"), failure("Die glTF-Ressourcen in m.gltf konnten nicht gelesen werden."));
}

TEST_F(ModelFile, ANamedFolderThatIsALinkIsRefused) {
  put("m.stl", binarySTL(1));
  fs::create_directories(folder / "real");
  fs::create_symlink(folder / "real", folder / "link");
  EXPECT_EQ(rendering("m.stl", {"--asset-dir", "link"}),
            failure("Symbolic links cannot be imported: " + (folder / "link")));
}

}  // namespace
}  // namespace ornolith::blackbox
