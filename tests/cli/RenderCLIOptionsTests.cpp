#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <sys/socket.h>
#include <sys/stat.h>
#include <sys/un.h>
#include <unistd.h>

#include <string>
#include <vector>

#include "cli/RenderCLIOptions.h"
#include "cli/RenderCLIParser.h"
#include "support/TemporaryFolder.h"

namespace ornolith {
namespace {

using testing::HasSubstr;
using testing::StartsWith;
using testsupport::TemporaryFolder;

constexpr std::size_t poseLimit = 16'777'216;
constexpr std::size_t presetLimit = 65'536;

const std::string poseText = R"({"schema": "ornolabs.ornolith-render.poses", "version": 1,
  "poses": [{"id": "one", "rotations": [{"selector": "arm", "local_degrees": {"x": 90}}]}]})";
const std::string presetText = R"({"schema": "ornolith-camera-preset", "version": 1, "name": "Front",
  "coordinateSpace": "scene", "camera": {"position": {"x": 0, "y": 1, "z": 5}, "eulerAngles": {"x": 0, "y": 0, "z": 0},
  "target": {"x": 0, "y": 0, "z": 0}, "fieldOfView": 40}})";

std::string paddedTo(std::size_t size, std::string text) {
  text.resize(size, ' ');
  return text;
}

class RenderRequest : public testing::Test {
 protected:
  TemporaryFolder folder;
  const std::string model = folder.makeFile("model.fbx", "any bytes");
  const std::string preset = folder.makeFile("camera.json", presetText);
  const std::string poses = folder.makeFile("poses.json", poseText);
  const std::string missing = folder / "missing";

  static ModelRenderRequest request(const std::vector<std::string>& arguments) {
    return RenderCLIParser::parse(arguments).renderRequest();
  }

  /// The text with which a request fails, or "" where it does not.
  static std::string failure(const std::vector<std::string>& arguments) {
    try {
      request(arguments);
    } catch (const CLIError& error) {
      return error.errorDescription();
    }
    return "";
  }
};

TEST_F(RenderRequest, CarriesEveryOptionOver) {
  const std::string textures = folder.makeDirectory("textures");
  const ModelRenderRequest result = request({model,
                                             "--output",
                                             folder / "a.png",
                                             "--width",
                                             "10",
                                             "--height",
                                             "20",
                                             "--surface",
                                             "mesh",
                                             "--background",
                                             "#ffffff",
                                             "--camera-position",
                                             "1,2,3",
                                             "--camera-target",
                                             "4,5,6",
                                             "--fov",
                                             "30",
                                             "--asset-dir",
                                             textures,
                                             "--pose-file",
                                             poses,
                                             "--show-pivot",
                                             "--show-rigging"});
  EXPECT_EQ(result.modelURL.path(), model);
  EXPECT_EQ(std::get<model_render_destination::Png>(result.destination).url.path(), folder / "a.png");
  EXPECT_EQ(result.assetDirectories, std::vector<FileURL>{FileURL(textures, true)});
  EXPECT_EQ(result.width, 10);
  EXPECT_EQ(result.height, 20);
  EXPECT_EQ(result.tileWidth, 512);
  EXPECT_EQ(result.tileHeight, 512);
  EXPECT_EQ(result.options, (ViewerOptions{.surfaceMode = SurfaceMode::mesh,
                                           .showsPivot = true,
                                           .showsRigging = true,
                                           .showsSelectionFrame = true,
                                           .showsWorldAxes = false}));
  EXPECT_EQ(result.background.color, (RenderRGBAColor{1, 1, 1, 1}));
  EXPECT_EQ(result.cameraPosition, (simd_double3{1, 2, 3}));
  EXPECT_EQ(result.cameraTarget, (simd_double3{4, 5, 6}));
  EXPECT_EQ(result.fieldOfView, 30.0);
  EXPECT_FALSE(result.cameraPreset);
  ASSERT_TRUE(result.explicitPoseDocument);
  EXPECT_EQ(result.explicitPoseDocument->poses[0].id, "one");
}

TEST_F(RenderRequest, HasOneOfThreeDestinations) {
  EXPECT_TRUE(
      std::holds_alternative<model_render_destination::PartsList>(request({model, "--list-parts"}).destination));
  const auto destination =
      request({model, "--output-directory", folder / "out", "--pose-file", poses, "--tile-width", "64"}).destination;
  EXPECT_EQ(std::get<model_render_destination::Directory>(destination).url.path(), folder / "out");
  EXPECT_EQ(failure({model}), "Missing --output, --output-directory, or --list-parts.");
}

TEST_F(RenderRequest, NeedsAModelFirstOfAll) {
  EXPECT_EQ(failure({}), "Missing input model path.");
  EXPECT_EQ(failure({"--list-parts"}), "Missing input model path.");
  EXPECT_EQ(failure({"--output", "x.jpg"}), "Missing input model path.");
}

TEST_F(RenderRequest, WritesPNGAlone) {
  EXPECT_EQ(failure({model, "--output", "x.jpg"}), "Unsupported output extension '.jpg'. PNG is required.");
  EXPECT_EQ(failure({model, "--output", "x.JpG"}), "Unsupported output extension '.JpG'. PNG is required.");
  EXPECT_EQ(failure({model, "--output", "x"}), "Unsupported output extension '.'. PNG is required.");
  EXPECT_EQ(failure({model, "--output", "x.PNG"}), "");
}

TEST_F(RenderRequest, ContactSheetsHaveAPixelBudget) {
  const std::string limit = "Contact-sheet output is limited to 16 megapixels and 8192 pixels per dimension.";
  const auto sized = [&](const char* layout, const char* width, const char* height) {
    return failure({model, "--output", "x.png", "--layout", layout, "--width", width, "--height", height});
  };
  EXPECT_EQ(sized("contact-4", "8193", "1"), limit);
  EXPECT_EQ(sized("contact-4", "1", "8193"), limit);
  EXPECT_EQ(sized("contact-6", "8192", "2049"), limit);
  EXPECT_EQ(sized("contact-6", "9223372036854775807", "9223372036854775807"), limit);
  EXPECT_EQ(sized("contact-6", "8192", "2048"), "");
  EXPECT_EQ(sized("single", "8193", "8193"), "");
}

TEST_F(RenderRequest, ContactSheetsPlaceTheirOwnCamera) {
  const std::string text = "--camera-position and --camera-target are only supported with --layout single.";
  EXPECT_EQ(failure({model, "--output", "x.png", "--layout", "contact-4", "--camera-position", "1,2,3"}), text);
  EXPECT_EQ(failure({model, "--output", "x.png", "--layout", "contact-6", "--camera-target", "1,2,3"}), text);
  EXPECT_EQ(failure({model, "--output", "x.png", "--layout", "contact-6", "--fov", "30"}), "");
}

TEST_F(RenderRequest, ACameraPresetStandsAlone) {
  EXPECT_EQ(failure({model, "--output", "x.png", "--layout", "contact-6", "--camera-preset", missing}),
            "--camera-preset is only supported with --layout single.");
  const std::string text =
      "--camera-preset cannot be combined with --camera, --camera-position, --camera-target, or --fov.";
  EXPECT_EQ(failure({model, "--output", "x.png", "--camera-preset", missing, "--camera", "auto"}), text);
  EXPECT_EQ(failure({model, "--output", "x.png", "--camera-preset", missing, "--camera-position", "1,2,3"}), text);
  EXPECT_EQ(failure({model, "--output", "x.png", "--camera-preset", missing, "--camera-target", "1,2,3"}), text);
  EXPECT_EQ(failure({model, "--output", "x.png", "--camera-preset", missing, "--fov", "30"}), text);
  EXPECT_EQ(failure({model, "--output", "x.png", "--camera", "auto"}), "");
}

TEST_F(RenderRequest, KnowsTheModelByItsExtension) {
  const std::string list = "FBX, OBJ, DAE, SCN, USD, USDA, USDC, USDZ, GLTF, GLB, STL, PLY";
  EXPECT_EQ(failure({folder / "model.Txt", "--output", "x.png"}),
            "Unsupported input model extension '.Txt'. Supported: " + list + ".");
  EXPECT_EQ(failure({folder / "model", "--output", "x.png"}),
            "Unsupported input model extension '.'. Supported: " + list + ".");
  EXPECT_EQ(failure({folder.makeFile("MODEL.OBJ"), "--output", "x.png"}), "");
}

TEST_F(RenderRequest, NeedsAModelThatIsThere) {
  EXPECT_EQ(failure({missing + ".fbx", "--output", "x.png"}), "Input model not found: " + missing + ".fbx");
  EXPECT_EQ(failure({folder / "./a/../missing.fbx", "--output", "x.png"}),
            "Input model not found: " + missing + ".fbx");
  const std::string directory = folder.makeDirectory("folder.fbx");
  EXPECT_EQ(failure({directory, "--output", "x.png"}), "Input model not found: " + directory);
  const std::string dangling = folder.makeLink("dangling.fbx", missing);
  EXPECT_EQ(failure({dangling, "--output", "x.png"}), "Input model not found: " + dangling);
  EXPECT_EQ(failure({folder.makeLink("link.fbx", model), "--output", "x.png"}), "");
}

TEST_F(RenderRequest, AModelIsAFileWhateverSlashItsPathEndsWith) {
  const ModelRenderRequest made = request({model + "/", "--list-parts"});
  EXPECT_EQ(made.modelURL.path(), model);
  EXPECT_FALSE(made.modelURL.hasDirectoryPath());
}

TEST_F(RenderRequest, NeedsAssetDirectoriesThatAreThere) {
  EXPECT_EQ(failure({model, "--output", "x.png", "--asset-dir", folder.path(), "--asset-dir", missing}),
            "Asset directory not found: " + missing);
  EXPECT_EQ(failure({model, "--output", "x.png", "--asset-dir", model}), "Asset directory not found: " + model);
}

TEST_F(RenderRequest, ChecksInAFixedOrder) {
  // Each list of arguments holds one fault less than the one before; the first fault in the order is the one reported.
  const std::string jpg = "x.jpg";
  EXPECT_EQ(failure({folder / "m.txt", "--output", jpg, "--layout", "contact-4", "--width", "9000"}),
            "Unsupported output extension '.jpg'. PNG is required.");
  EXPECT_THAT(failure({folder / "m.txt", "--output", "x.png", "--layout", "contact-4", "--width", "9000",
                       "--camera-position", "1,2,3"}),
              StartsWith("Contact-sheet output"));
  EXPECT_THAT(failure({folder / "m.txt", "--output", "x.png", "--layout", "contact-4", "--camera-position", "1,2,3",
                       "--camera-preset", missing}),
              StartsWith("--camera-position and"));
  EXPECT_THAT(failure({folder / "m.txt", "--output", "x.png", "--fov", "30", "--camera-preset", missing}),
              StartsWith("--camera-preset cannot"));
  EXPECT_THAT(failure({folder / "m.txt", "--output", "x.png", "--asset-dir", missing, "--camera-preset", missing}),
              StartsWith("Unsupported input model"));
  EXPECT_THAT(failure({missing + ".fbx", "--output", "x.png", "--asset-dir", missing, "--camera-preset", missing}),
              StartsWith("Input model not found"));
  EXPECT_THAT(failure({model, "--output", "x.png", "--asset-dir", missing, "--camera-preset", missing}),
              StartsWith("Asset directory not found"));
  EXPECT_EQ(failure({model, "--output", "x.png", "--camera-preset", missing, "--pose-file", missing}),
            "Camera preset not found: " + missing);
  EXPECT_EQ(failure({model, "--output", "x.png", "--camera-preset", preset, "--pose-file", missing}),
            "Pose file not found: " + missing);
  EXPECT_EQ(failure({model, "--output", "x.png", "--camera-preset", preset, "--pose-file", poses}), "");
}

TEST_F(RenderRequest, AnInventorySkipsEveryOutputCheck) {
  EXPECT_EQ(failure({folder / "m.txt", "--list-parts"}).substr(0, 23), "Unsupported input model");
  EXPECT_EQ(failure({model, "--list-parts"}), "");
}

TEST_F(RenderRequest, RotationsMakeOnePose) {
  const auto document =
      request({model, "--output", "x.png", "--rotate-part", "arm", "x=90", "--rotate-part", "id:fbx:1", "y=5"})
          .explicitPoseDocument;
  ASSERT_TRUE(document);
  EXPECT_EQ(document->schema, "ornolabs.ornolith-render.poses");
  EXPECT_EQ(document->version, 1);
  EXPECT_FALSE(document->modelSHA256);
  ASSERT_EQ(document->poses.size(), 1U);
  EXPECT_EQ(document->poses[0].id, "command-line");
  EXPECT_FALSE(document->poses[0].label);
  ASSERT_EQ(document->poses[0].rotations.size(), 2U);
  EXPECT_EQ(document->poses[0].rotations[0].selector.canonicalString(), "name:arm");
  EXPECT_EQ(document->poses[0].rotations[1].selector.canonicalString(), "id:fbx:1");
  EXPECT_FALSE(request({model, "--output", "x.png"}).explicitPoseDocument);
}

class LoadPoseDocument : public testing::Test {
 protected:
  TemporaryFolder folder;

  static std::string failure(const std::string& path) {
    try {
      RenderCLIOptions::loadPoseDocument(FileURL(path));
    } catch (const CLIError& error) {
      return error.errorDescription();
    }
    return "";
  }
};

TEST_F(LoadPoseDocument, ReadsTheDocument) {
  EXPECT_EQ(RenderCLIOptions::loadPoseDocument(FileURL(folder.makeFile("p.json", poseText))).poses.size(), 1U);
}

TEST_F(LoadPoseDocument, NeedsAFileThatIsThere) {
  EXPECT_EQ(failure(folder / "p.json"), "Pose file not found: " + (folder / "p.json"));
  EXPECT_EQ(failure(folder.path()), "Pose file not found: " + folder.path());
  const std::string dangling = folder.makeLink("dangling", folder / "p.json");
  EXPECT_EQ(failure(dangling), "Pose file not found: " + dangling);
}

TEST_F(LoadPoseDocument, NeedsARegularFile) {
  const std::string link = folder.makeLink("link.json", folder.makeFile("p.json", poseText));
  EXPECT_EQ(failure(link), "Pose file must be a regular file: " + link);
  const std::string fifo = folder / "fifo.json";
  ASSERT_EQ(::mkfifo(fifo.c_str(), 0600), 0);
  EXPECT_EQ(failure(fifo), "Pose file must be a regular file: " + fifo);
  EXPECT_EQ(failure("/dev/zero"), "Pose file must be a regular file: /dev/zero");
}

TEST_F(LoadPoseDocument, AcceptsSixteenMebibytesAndNotOneByteMore) {
  EXPECT_EQ(failure(folder.makeFile("p.json", paddedTo(poseLimit, poseText))), "");
  const std::string tooLarge = folder.makeFile("q.json", paddedTo(poseLimit + 1, poseText));
  EXPECT_EQ(failure(tooLarge), "Invalid pose file '" + tooLarge + "': Pose JSON is limited to 16 MiB.");
}

TEST_F(LoadPoseDocument, WrapsWhatIsWrongWithTheDocument) {
  const std::string version = folder.makeFile("v.json", R"({"schema": "ornolabs.ornolith-render.poses", "version": 2,
    "poses": [{"id": "a", "rotations": []}]})");
  EXPECT_EQ(failure(version), "Invalid pose file '" + version + "': This pose document uses an unsupported version.");
  const std::string empty = folder.makeFile("e.json");
  EXPECT_THAT(failure(empty), StartsWith("Invalid pose file '" + empty + "': Invalid pose JSON: "));
}

class LoadCameraPreset : public testing::Test {
 protected:
  TemporaryFolder folder;

  static std::string failure(const std::string& path) {
    try {
      RenderCLIOptions::loadCameraPreset(FileURL(path));
    } catch (const CLIError& error) {
      return error.errorDescription();
    }
    return "";
  }
};

TEST_F(LoadCameraPreset, ReadsTheDocument) {
  const CameraPresetDocument document =
      RenderCLIOptions::loadCameraPreset(FileURL(folder.makeFile("c.json", presetText)));
  EXPECT_EQ(document.name, "Front");
  EXPECT_EQ(document.camera.position, (CodableVector3{0, 1, 5}));
}

TEST_F(LoadCameraPreset, FollowsALink) {
  EXPECT_EQ(failure(folder.makeLink("link.json", folder.makeFile("c.json", presetText))), "");
}

TEST_F(LoadCameraPreset, NeedsAFileThatIsThere) {
  EXPECT_EQ(failure(folder / "c.json"), "Camera preset not found: " + (folder / "c.json"));
  EXPECT_EQ(failure(folder.path()), "Camera preset not found: " + folder.path());
}

TEST_F(LoadCameraPreset, AcceptsSixtyFourKibibytesAndNotOneByteMore) {
  EXPECT_EQ(failure(folder.makeFile("c.json", paddedTo(presetLimit, presetText))), "");
  const std::string tooLarge = folder.makeFile("d.json", paddedTo(presetLimit + 1, presetText));
  const std::string text = "': Camera presets must be smaller than 64 KiB.";
  EXPECT_EQ(failure(tooLarge), "Invalid camera preset '" + tooLarge + text);
  const std::string link = folder.makeLink("link.json", tooLarge);
  EXPECT_EQ(failure(link), "Invalid camera preset '" + link + text);
}

TEST_F(LoadCameraPreset, WrapsWhatIsWrongWithTheDocument) {
  const std::string file = folder.makeFile("c.json", R"({"schema": "x"})");
  EXPECT_THAT(failure(file), StartsWith("Invalid camera preset '" + file + "': "));
}

TEST_F(LoadCameraPreset, NeverReadsForEver) {
  const std::string fifo = folder / "fifo.json";
  ASSERT_EQ(::mkfifo(fifo.c_str(), 0600), 0);
  EXPECT_THAT(failure(fifo), HasSubstr("not a regular file"));
  EXPECT_THAT(failure("/dev/zero"), HasSubstr("not a regular file"));

  const std::string socketPath = folder / "socket.json";
  const int socket = ::socket(AF_UNIX, SOCK_STREAM, 0);
  sockaddr_un address{};
  address.sun_family = AF_UNIX;
  socketPath.copy(address.sun_path, sizeof address.sun_path - 1);
  ASSERT_EQ(::bind(socket, reinterpret_cast<const sockaddr*>(&address), sizeof address), 0);
  EXPECT_THAT(failure(socketPath), StartsWith("Invalid camera preset '" + socketPath + "': "));
  ::close(socket);
}

}  // namespace
}  // namespace ornolith
