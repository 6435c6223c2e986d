// The command line from outside: every message, both streams and the exit status.

#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <sys/stat.h>

#include <filesystem>
#include <string>
#include <vector>

#include "blackbox/Program.h"
#include "support/TemporaryFolder.h"

namespace ornolith::blackbox {
namespace {

using testing::HasSubstr;
using testing::StartsWith;
using testsupport::TemporaryFolder;

/// A folder with everything that the rows below name.
class Folder : public TemporaryFolder {
 public:
  Folder() {
    std::filesystem::copy_file(ORNOLITH_EXAMPLES "/mirrored.fbx", *this / "box.fbx");
    makeFile("notes.txt");
    makeDirectory("folder.fbx");
    makeDirectory("textures");
    makeLink("dangling.fbx", *this / "nowhere");
    makeFile("poses.json", R"({"schema": "ornolabs.ornolith-render.poses", "version": 1,
                               "poses": [{"id": "rest", "rotations": []}]})");
    makeLink("poses-link.json", *this / "poses.json");
    makeFile("other-poses.json", R"({"schema": "other", "version": 1, "poses": []})");
    makeFile("large-poses.json", std::string(16'777'217, ' '));
    makeFile("camera.json", R"({"schema": "ornolith-camera-preset", "version": 1, "name": "Front",
      "coordinateSpace": "scene", "camera": {"position": {"x": 0, "y": 1, "z": 5},
      "eulerAngles": {"x": 0, "y": 0, "z": 0}, "target": {"x": 0, "y": 0, "z": 0}, "fieldOfView": 40}})");
    makeFile("new-camera.json", R"({"schema": "ornolith-camera-preset", "version": 2, "name": "Front",
      "coordinateSpace": "scene", "camera": {"position": {"x": 0, "y": 1, "z": 5},
      "eulerAngles": {"x": 0, "y": 0, "z": 0}, "target": {"x": 0, "y": 0, "z": 0}, "fieldOfView": 40}})");
    makeFile("large-camera.json", std::string(65'537, ' '));
    ::mkfifo((*this / "pipe.json").c_str(), 0600);
    ::mkfifo((*this / "pipe.fbx").c_str(), 0600);
  }
};

/// `text` with every "{}" replaced by `folder`.
std::string inFolder(std::string text, const std::string& folder) {
  for (std::size_t place = 0; (place = text.find("{}", place)) != std::string::npos; place += folder.size()) {
    text.replace(place, 2, folder);
  }
  return text;
}

struct Row {
  const char* name;
  std::vector<std::string> arguments;
  std::string text;  ///< The message; "{}" stands for the folder.
};

void PrintTo(const Row& row, std::ostream* out) {
  *out << row.name;
}

class Failure : public testing::TestWithParam<Row> {};

TEST_P(Failure, HasItsTextAndLeavesNothing) {
  const Folder folder;
  EXPECT_EQ(run(GetParam().arguments, {.directory = folder.path()}), failure(inFolder(GetParam().text, folder.path())));
  EXPECT_FALSE(std::filesystem::exists(folder / "x.png"));
}

const std::string formats = "FBX, OBJ, DAE, SCN, USD, USDA, USDC, USDZ, GLTF, GLB, STL, PLY";

const std::vector<Row> rows{
    // clang-format off
    // The grammar.
    {"NoArguments", {}, "Missing input model path."},
    {"UnknownOption", {"box.fbx", "--colour"}, "Unknown option '--colour'."},
    {"VersionBesideOthers", {"--version", "extra"}, "Unknown option '--version'."},
    {"TwoModels", {"a.fbx", "b.fbx"}, "Only one input model path is supported."},
    {"BytesOfNoText", {"--caf\xE9"}, "Unknown option '--caf\xE9'."},
    {"MissingValue", {"box.fbx", "--output"}, "Missing value for --output."},
    {"MissingSelector", {"--rotate-part", "arm"}, "Missing selector or axis specification for --rotate-part."},
    {"OutputTwice", {"--output", "a.png", "--output", "b.png"}, "--output may only be specified once."},
    {"OutputDirectoryTwice", {"--output-directory", "a", "--output-directory"}, "--output-directory may only be specified once."},
    {"ListPartsTwice", {"--list-parts", "--list-parts"}, "--list-parts may only be specified once."},
    {"CameraPresetTwice", {"--camera-preset", "a", "--camera-preset"}, "--camera-preset may only be specified once."},
    {"PoseFileTwice", {"--pose-file", "a", "--pose-file"}, "--pose-file may only be specified once."},
    // Values.
    {"Width", {"--width", "-5"}, "Invalid width '-5'. Use a positive integer."},
    {"Height", {"--height", "1.5"}, "Invalid height '1.5'. Use a positive integer."},
    {"TileWidth", {"--tile-width", ""}, "Invalid tile-width ''. Use a positive integer."},
    {"TileHeight", {"--tile-height", "99999999999999999999"}, "Invalid tile-height '99999999999999999999'. Use a positive integer."},
    {"Layout", {"--layout", "contact"}, "Invalid layout 'contact'. Use single, contact-4, or contact-6."},
    {"Arrangement", {"--contact-arrangement", "row"}, "Invalid contact-arrangement 'row'. Use grid or strip."},
    {"Surface", {"--surface", "wire"}, "Invalid surface 'wire'. Use textured, untextured, transparent, or mesh."},
    {"Background", {"--background", "#abc"}, "Invalid background '#abc'. Use transparent or #RRGGBB."},
    {"Camera", {"--camera", "manual"}, "Invalid camera 'manual'. Only 'auto' is supported for --camera."},
    {"CameraPosition", {"--camera-position", "1,2,nan"}, "Invalid camera-position '1,2,nan'. Use x,y,z."},
    {"CameraTarget", {"--camera-target", "1,2"}, "Invalid camera-target '1,2'. Use x,y,z."},
    {"FieldOfView", {"--fov", "180"}, "Invalid fov '180'. Use degrees between 0 and 180."},
    {"Selector", {"--rotate-part", "name: ", "x=1"}, "Invalid part selector 'name: '. Use name:<name>, id:<source-id>, path:<source-id/...>, or an unambiguous bare name."},
    {"SourceID", {"--rotate-part", "id:obj:1", "x=1"}, "Invalid source node ID 'obj:1'. Use fbx:<number> or gltf:<number>."},
    {"AxisSpec", {"--rotate-part", "arm", "x=1,"}, "Invalid axis specification 'x=1,'. Use comma-separated x=<degrees>, y=<degrees>, and/or z=<degrees>."},
    {"AxisTwice", {"--rotate-part", "arm", "x=1,x=2"}, "Axis 'x' may only be specified once."},
    {"Angle", {"--rotate-part", "arm", "y=inf"}, "Invalid angle 'inf' for axis 'y'. Use a finite number of degrees."},
    // Combinations.
    {"ListPartsAndRendering", {"--list-parts", "--width", "10", "--camera", "auto"}, "--list-parts cannot be combined with --camera."},
    {"TwoOutputs", {"--output", "a.png", "--output-directory", "b"}, "--output cannot be combined with --output-directory."},
    {"PoseFileAndRotation", {"--pose-file", "p", "--rotate-part", "arm", "x=1"}, "--pose-file cannot be combined with --rotate-part."},
    {"SelectorTwice", {"--rotate-part", "arm", "x=1", "--rotate-part", "arm", "y=1"}, "Pose 'command-line' specifies selector 'name:arm' more than once."},
    {"TilesWithoutDirectory", {"--tile-width", "64"}, "--tile-width and --tile-height require --output-directory."},
    {"DirectoryWithoutPoses", {"--output-directory", "b"}, "--output-directory requires --pose-file or at least one --rotate-part."},
    // The request.
    {"NoDestination", {"box.fbx"}, "Missing --output, --output-directory, or --list-parts."},
    {"OutputExtension", {"box.fbx", "--output", "x.JPG"}, "Unsupported output extension '.JPG'. PNG is required."},
    {"ContactSheetSize", {"box.fbx", "--output", "x.png", "--layout", "contact-4", "--width", "8193"}, "Contact-sheet output is limited to 16 megapixels and 8192 pixels per dimension."},
    {"ContactSheetCamera", {"box.fbx", "--output", "x.png", "--layout", "contact-4", "--camera-target", "1,2,3"}, "--camera-position and --camera-target are only supported with --layout single."},
    {"PresetAndLayout", {"box.fbx", "--output", "x.png", "--layout", "contact-6", "--camera-preset", "nowhere"}, "--camera-preset is only supported with --layout single."},
    {"PresetAndCamera", {"box.fbx", "--output", "x.png", "--camera", "auto", "--camera-preset", "nowhere"}, "--camera-preset cannot be combined with --camera, --camera-position, --camera-target, or --fov."},
    {"ModelExtension", {"notes.Txt", "--output", "x.png"}, "Unsupported input model extension '.Txt'. Supported: " + formats + "."},
    {"ModelMissing", {"./a/../nowhere.fbx", "--output", "x.png"}, "Input model not found: {}/nowhere.fbx"},
    {"ModelIsFolder", {"folder.fbx", "--output", "x.png"}, "Input model not found: {}/folder.fbx"},
    {"ModelIsDanglingLink", {"dangling.fbx", "--output", "x.png"}, "Input model not found: {}/dangling.fbx"},
    {"AssetDirectoryMissing", {"box.fbx", "--output", "x.png", "--asset-dir", "textures", "--asset-dir", "box.fbx"}, "Asset directory not found: {}/box.fbx"},
    {"PresetMissing", {"box.fbx", "--output", "x.png", "--camera-preset", "nowhere", "--pose-file", "nowhere"}, "Camera preset not found: {}/nowhere"},
    {"PresetVersion", {"box.fbx", "--output", "x.png", "--camera-preset", "new-camera.json"}, "Invalid camera preset '{}/new-camera.json': This camera preset was created with a newer, unsupported version."},
    {"PresetSize", {"box.fbx", "--output", "x.png", "--camera-preset", "large-camera.json"}, "Invalid camera preset '{}/large-camera.json': Camera presets must be smaller than 64 KiB."},
    {"PresetIsPipe", {"box.fbx", "--output", "x.png", "--camera-preset", "pipe.json"}, "Invalid camera preset '{}/pipe.json': The item '{}/pipe.json' could not be read: It is not a regular file."},
    {"PoseFileMissing", {"box.fbx", "--output", "x.png", "--pose-file", "textures"}, "Pose file not found: {}/textures"},
    {"PoseFileIsLink", {"box.fbx", "--output", "x.png", "--pose-file", "poses-link.json"}, "Pose file must be a regular file: {}/poses-link.json"},
    {"PoseFileIsPipe", {"box.fbx", "--output", "x.png", "--pose-file", "pipe.json"}, "Pose file must be a regular file: {}/pipe.json"},
    {"PoseFileSchema", {"box.fbx", "--output", "x.png", "--pose-file", "other-poses.json"}, "Invalid pose file '{}/other-poses.json': This file is not an Ornolith renderer pose document."},
    {"PoseFileSize", {"box.fbx", "--output", "x.png", "--pose-file", "large-poses.json"}, "Invalid pose file '{}/large-poses.json': Pose JSON is limited to 16 MiB."},
    // The render.
    {"ImageSize", {"box.fbx", "--output", "x.png", "--width", "100000", "--height", "100000"}, "An image of 100000 by 100000 pixels cannot be rendered. Output is limited to 16 megapixels and 8192 pixels per dimension."},
    // clang-format on
};

INSTANTIATE_TEST_SUITE_P(CommandLine, Failure, testing::ValuesIn(rows),
                         [](const auto& test) { return std::string(test.param.name); });

TEST(CommandLine, PrintsTheVersion) {
  EXPECT_EQ(run({"--version"}), (Outcome{.status = 0, .output = "ornolith-render 1.2 (10)\n", .error = ""}));
}

TEST(CommandLine, PrintsTheUsageWhereverHelpStands) {
  const Outcome help{.status = 0, .output = usageText + "\n", .error = ""};
  EXPECT_EQ(run({"--help"}), help);
  EXPECT_EQ(run({"-h"}), help);
  EXPECT_EQ(run({"model.obj", "--help", "--width", "x"}), help);
  EXPECT_EQ(run({"--output", "--help"}), help);
}

TEST(CommandLine, FailsWhereStandardOutputTakesNothing) {
  for (const auto kind : {Surroundings::Output::brokenPipe, Surroundings::Output::full, Surroundings::Output::closed}) {
    for (const char* option : {"--version", "--help"}) {
      const Outcome outcome = run({option}, {.output = kind});
      EXPECT_EQ(outcome.status, 1);
      EXPECT_THAT(outcome.error, StartsWith("ornolith-render: The item 'standard output' could not be written: "));
      EXPECT_THAT(outcome.error, HasSubstr(usageText));
    }
  }
}

TEST(CommandLine, FailsQuietlyWithoutAStandardError) {
  EXPECT_EQ(run({"--bad"}, {.closesError = true}), (Outcome{.status = 1, .output = "", .error = ""}));
}

TEST(CommandLine, RefusesAModelThatIsAPipe) {
  const Folder folder;
  const Outcome outcome = run({"pipe.fbx", "--output", "x.png"}, {.directory = folder.path()});
  EXPECT_EQ(outcome.status, 1);
  EXPECT_THAT(outcome.error, StartsWith("ornolith-render: "));
  EXPECT_THAT(outcome.error, HasSubstr(folder / "pipe.fbx"));
}

TEST(CommandLine, RefusesAModelThatIsALink) {
  const Folder folder;
  folder.makeLink("link.fbx", folder / "box.fbx");
  EXPECT_EQ(run({"link.fbx", "--output", "x.png"}, {.directory = folder.path()}),
            failure("Symbolic links cannot be imported: " + (folder / "link.fbx")));
}

TEST(CommandLine, ReportsAModelThatIsNoFBX) {
  const Folder folder;
  folder.makeFile("text.fbx", "This is not a model.");
  const Outcome outcome = run({"text.fbx", "--output", "x.png"}, {.directory = folder.path()});
  EXPECT_EQ(outcome.status, 1);
  EXPECT_EQ(outcome.output, "");
  EXPECT_THAT(outcome.error, StartsWith("ornolith-render: "));
  EXPECT_THAT(outcome.error, testing::EndsWith("\n\n" + usageText + "\n"));
  EXPECT_FALSE(std::filesystem::exists(folder / "x.png"));
}

}  // namespace
}  // namespace ornolith::blackbox
