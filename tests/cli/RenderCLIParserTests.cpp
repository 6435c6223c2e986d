#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <filesystem>
#include <string>
#include <vector>

#include "cli/RenderCLIParser.h"

namespace ornolith {
namespace {

using Arguments = std::vector<std::string>;

RenderCLIOptions parse(const Arguments& arguments) {
  return RenderCLIParser::parse(arguments);
}

/// The text with which the parse fails, or "" where it does not fail.
std::string failure(const Arguments& arguments) {
  try {
    parse(arguments);
  } catch (const Error& error) {
    return error.errorDescription();
  }
  return "";
}

std::string inCurrentDirectory(const std::string& name) {
  return (std::filesystem::current_path() / name).string();
}

TEST(RenderCLIParser, AnEmptyListGivesTheStartValues) {
  const RenderCLIOptions options = parse({});
  EXPECT_FALSE(options.inputURL);
  EXPECT_FALSE(options.outputURL);
  EXPECT_FALSE(options.outputDirectoryURL);
  EXPECT_FALSE(options.listsParts);
  EXPECT_EQ(options.width, 1024);
  EXPECT_EQ(options.height, 1024);
  EXPECT_EQ(options.tileWidth, 512);
  EXPECT_EQ(options.tileHeight, 512);
  EXPECT_FALSE(options.usesExplicitTileWidth);
  EXPECT_FALSE(options.usesExplicitTileHeight);
  EXPECT_EQ(options.layout, ModelRenderLayout::single);
  EXPECT_EQ(options.contactArrangement, ContactSheetArrangement::grid);
  EXPECT_EQ(options.surfaceMode, SurfaceMode::textured);
  EXPECT_TRUE(options.background.isTransparent());
  EXPECT_FALSE(options.cameraPosition);
  EXPECT_FALSE(options.cameraTarget);
  EXPECT_FALSE(options.fieldOfView);
  EXPECT_FALSE(options.cameraPresetURL);
  EXPECT_FALSE(options.usesExplicitAutomaticCamera);
  EXPECT_TRUE(options.assetDirectories.empty());
  EXPECT_TRUE(options.rotations.empty());
  EXPECT_FALSE(options.poseFileURL);
  EXPECT_FALSE(options.showsPivot);
  EXPECT_FALSE(options.showsRigging);
}

TEST(RenderCLIParser, EveryOptionSetsItsField) {
  const RenderCLIOptions options = parse({"lamp.fbx",
                                          "--output-directory",
                                          "out",
                                          "--width",
                                          "64",
                                          "--height",
                                          "65",
                                          "--tile-width",
                                          "66",
                                          "--tile-height",
                                          "67",
                                          "--layout",
                                          "contact-6",
                                          "--contact-arrangement",
                                          "strip",
                                          "--surface",
                                          "mesh",
                                          "--background",
                                          "#102030",
                                          "--camera",
                                          "auto",
                                          "--camera-position",
                                          "1,2,3",
                                          "--camera-target",
                                          "4,5,6",
                                          "--fov",
                                          "30",
                                          "--camera-preset",
                                          "camera.json",
                                          "--asset-dir",
                                          "a",
                                          "--asset-dir",
                                          "b",
                                          "--rotate-part",
                                          "arm",
                                          "x=90",
                                          "--rotate-part",
                                          "id:fbx:7",
                                          "y=1,z=2",
                                          "--show-pivot",
                                          "--show-rigging"});
  EXPECT_EQ(options.inputURL->path(), inCurrentDirectory("lamp.fbx"));
  EXPECT_FALSE(options.inputURL->hasDirectoryPath());
  EXPECT_EQ(options.outputDirectoryURL->path(), inCurrentDirectory("out"));
  EXPECT_TRUE(options.outputDirectoryURL->hasDirectoryPath());
  EXPECT_EQ(options.width, 64);
  EXPECT_EQ(options.height, 65);
  EXPECT_EQ(options.tileWidth, 66);
  EXPECT_EQ(options.tileHeight, 67);
  EXPECT_TRUE(options.usesExplicitTileWidth);
  EXPECT_TRUE(options.usesExplicitTileHeight);
  EXPECT_EQ(options.layout, ModelRenderLayout::contact6);
  EXPECT_EQ(options.contactArrangement, ContactSheetArrangement::strip);
  EXPECT_EQ(options.surfaceMode, SurfaceMode::mesh);
  EXPECT_EQ(options.background.color, (RenderRGBAColor{16 / 255.0, 32 / 255.0, 48 / 255.0, 1.0}));
  EXPECT_TRUE(options.usesExplicitAutomaticCamera);
  EXPECT_EQ(options.cameraPosition, (simd_double3{1, 2, 3}));
  EXPECT_EQ(options.cameraTarget, (simd_double3{4, 5, 6}));
  EXPECT_EQ(options.fieldOfView, 30.0);
  EXPECT_EQ(options.cameraPresetURL->path(), inCurrentDirectory("camera.json"));
  ASSERT_EQ(options.assetDirectories.size(), 2U);
  EXPECT_EQ(options.assetDirectories[0].path(), inCurrentDirectory("a"));
  EXPECT_EQ(options.assetDirectories[1].path(), inCurrentDirectory("b"));
  EXPECT_TRUE(options.assetDirectories[0].hasDirectoryPath());
  ASSERT_EQ(options.rotations.size(), 2U);
  EXPECT_EQ(options.rotations[0].selector.canonicalString(), "name:arm");
  EXPECT_EQ(options.rotations[0].localDegrees.x, 90.0);
  EXPECT_EQ(options.rotations[1].selector.canonicalString(), "id:fbx:7");
  EXPECT_EQ(options.rotations[1].localDegrees.z, 2.0);
  EXPECT_TRUE(options.showsPivot);
  EXPECT_TRUE(options.showsRigging);
}

TEST(RenderCLIParser, TheRemainingFileOptionsSetTheirFields) {
  EXPECT_EQ(parse({"--output", "a.png"}).outputURL->path(), inCurrentDirectory("a.png"));
  EXPECT_EQ(parse({"--pose-file", "p.json"}).poseFileURL->path(), inCurrentDirectory("p.json"));
  EXPECT_EQ(parse({"--output", "/x/./y/../a.png"}).outputURL->path(), "/x/a.png");
  EXPECT_TRUE(parse({"--list-parts"}).listsParts);
}

TEST(RenderCLIParser, TheLastValueOfARepeatedOptionStands) {
  EXPECT_EQ(parse({"--width", "10", "--width", "20"}).width, 20);
  EXPECT_EQ(parse({"--layout", "contact-4", "--layout", "single"}).layout, ModelRenderLayout::single);
  EXPECT_TRUE(parse({"--background", "#000000", "--background", "transparent"}).background.isTransparent());
  EXPECT_TRUE(parse({"--show-pivot", "--show-pivot"}).showsPivot);
  EXPECT_EQ(failure({"--width", "zero", "--width", "20"}), "Invalid width 'zero'. Use a positive integer.");
}

TEST(RenderCLIParser, AnOptionTakesTheNextArgumentWhateverItLooksLike) {
  EXPECT_EQ(parse({"--output", "--width"}).outputURL->path(), inCurrentDirectory("--width"));
  EXPECT_EQ(parse({"--asset-dir", "--list-parts"}).assetDirectories.size(), 1U);
}

TEST(RenderCLIParser, OneDashMakesAModelPath) {
  EXPECT_EQ(parse({"-x"}).inputURL->path(), inCurrentDirectory("-x"));
  EXPECT_EQ(parse({"-"}).inputURL->path(), inCurrentDirectory("-"));
}

struct FailureCase {
  const char* name;
  Arguments arguments;
  std::string text;
};

void PrintTo(const FailureCase& test, std::ostream* out) {
  *out << test.name;
}

class RenderCLIParserFailure : public testing::TestWithParam<FailureCase> {};

TEST_P(RenderCLIParserFailure, HasItsText) {
  EXPECT_EQ(failure(GetParam().arguments), GetParam().text);
}

const std::string bytesOfNoText = "caf\xE9";

INSTANTIATE_TEST_SUITE_P(
    Grammar, RenderCLIParserFailure,
    testing::ValuesIn(std::vector<FailureCase>{
        {"UnknownOption", {"--frobnicate"}, "Unknown option '--frobnicate'."},
        {"NoEqualsForm", {"--width=5"}, "Unknown option '--width=5'."},
        {"CaseMatters", {"--Width", "5"}, "Unknown option '--Width'."},
        {"NoTerminator", {"--"}, "Unknown option '--'."},
        {"VersionBesideOthers", {"--version", "lamp.fbx"}, "Unknown option '--version'."},
        {"UnknownOptionKeepsItsBytes", {"--" + bytesOfNoText}, "Unknown option '--" + bytesOfNoText + "'."},
        {"TwoModels", {"a.fbx", "b.fbx"}, "Only one input model path is supported."},
        {"OutputTwice", {"--output", "a", "--output", "b"}, "--output may only be specified once."},
        {"OutputTwiceBeforeItsValue", {"--output", "a", "--output"}, "--output may only be specified once."},
        {"OutputDirectoryTwice",
         {"--output-directory", "a", "--output-directory"},
         "--output-directory may only be specified once."},
        {"ListPartsTwice", {"--list-parts", "--list-parts"}, "--list-parts may only be specified once."},
        {"CameraPresetTwice",
         {"--camera-preset", "a", "--camera-preset"},
         "--camera-preset may only be specified once."},
        {"PoseFileTwice", {"--pose-file", "a", "--pose-file"}, "--pose-file may only be specified once."},
        {"FirstFaultFromTheLeft", {"--width", "0", "--bad"}, "Invalid width '0'. Use a positive integer."},
        {"RotatePartWithoutValues", {"--rotate-part"}, "Missing selector or axis specification for --rotate-part."},
        {"RotatePartWithOneValue",
         {"--rotate-part", "arm"},
         "Missing selector or axis specification for --rotate-part."},
        {"RotatePartSelector",
         {"--rotate-part", "id:fbx:x", "bad"},
         "Invalid source node ID 'fbx:x'. Use fbx:<number> or gltf:<number>."},
        {"RotatePartAxisSpec",
         {"--rotate-part", "arm", "90"},
         "Invalid axis specification '90'. Use comma-separated x=<degrees>, y=<degrees>, and/or z=<degrees>."},
    }),
    [](const auto& test) { return test.param.name; });

std::vector<FailureCase> missingValues() {
  std::vector<FailureCase> cases;
  for (const char* option :
       {"--output", "--output-directory", "--width", "--height", "--tile-width", "--tile-height", "--layout",
        "--contact-arrangement", "--surface", "--background", "--camera", "--camera-position", "--camera-target",
        "--fov", "--camera-preset", "--asset-dir", "--pose-file"}) {
    cases.push_back({option, {"lamp.fbx", option}, "Missing value for " + std::string(option) + "."});
  }
  return cases;
}

INSTANTIATE_TEST_SUITE_P(MissingValue, RenderCLIParserFailure, testing::ValuesIn(missingValues()),
                         [](const auto& test) {
                           std::string name = test.param.name;
                           std::erase(name, '-');
                           return name;
                         });

INSTANTIATE_TEST_SUITE_P(
    Values, RenderCLIParserFailure,
    testing::ValuesIn(std::vector<FailureCase>{
        {"NegativeWidth", {"--width", "-5"}, "Invalid width '-5'. Use a positive integer."},
        {"WidthWithBlank", {"--width", " 5"}, "Invalid width ' 5'. Use a positive integer."},
        {"WidthWithFraction", {"--width", "5.0"}, "Invalid width '5.0'. Use a positive integer."},
        {"EmptyHeight", {"--height", ""}, "Invalid height ''. Use a positive integer."},
        {"HeightBeyond64Bits",
         {"--height", "9223372036854775808"},
         "Invalid height '9223372036854775808'. Use a positive integer."},
        {"TileWidth", {"--tile-width", "x"}, "Invalid tile-width 'x'. Use a positive integer."},
        {"TileHeight", {"--tile-height", "0"}, "Invalid tile-height '0'. Use a positive integer."},
        {"WidthKeepsItsBytes",
         {"--width", bytesOfNoText},
         "Invalid width '" + bytesOfNoText + "'. Use a positive integer."},
        {"Layout", {"--layout", "Single"}, "Invalid layout 'Single'. Use single, contact-4, or contact-6."},
        {"Arrangement", {"--contact-arrangement", "row"}, "Invalid contact-arrangement 'row'. Use grid or strip."},
        {"Surface", {"--surface", "wire"}, "Invalid surface 'wire'. Use textured, untextured, transparent, or mesh."},
        {"BackgroundShort", {"--background", "#abc"}, "Invalid background '#abc'. Use transparent or #RRGGBB."},
        {"BackgroundName", {"--background", "red"}, "Invalid background 'red'. Use transparent or #RRGGBB."},
        {"BackgroundLong", {"--background", "#1234567"}, "Invalid background '#1234567'. Use transparent or #RRGGBB."},
        {"BackgroundNoHex", {"--background", "#12345g"}, "Invalid background '#12345g'. Use transparent or #RRGGBB."},
        {"BackgroundMinus", {"--background", "#-12345"}, "Invalid background '#-12345'. Use transparent or #RRGGBB."},
        {"BackgroundPrefix", {"--background", "#0x123"}, "Invalid background '#0x123'. Use transparent or #RRGGBB."},
        {"BackgroundSixCharactersOfMoreBytes",
         {"--background", "#12345\xC3\xA9"},
         "Invalid background '#12345\xC3\xA9'. Use transparent or #RRGGBB."},
        {"Camera", {"--camera", "manual"}, "Invalid camera 'manual'. Only 'auto' is supported for --camera."},
        {"PositionTooFew", {"--camera-position", "1,2"}, "Invalid camera-position '1,2'. Use x,y,z."},
        {"PositionNaN", {"--camera-position", "1,2,nan"}, "Invalid camera-position '1,2,nan'. Use x,y,z."},
        {"PositionInfinite", {"--camera-position", "inf,2,3"}, "Invalid camera-position 'inf,2,3'. Use x,y,z."},
        {"PositionBeyondSinglePrecision",
         {"--camera-position", "1,1e39,3"},
         "Invalid camera-position '1,1e39,3'. Use x,y,z."},
        {"TargetEmptyPiece", {"--camera-target", "1,,3"}, "Invalid camera-target '1,,3'. Use x,y,z."},
        {"TargetTooMany", {"--camera-target", "1,2,3,4"}, "Invalid camera-target '1,2,3,4'. Use x,y,z."},
        {"TargetBlank", {"--camera-target", "1, 2,3"}, "Invalid camera-target '1, 2,3'. Use x,y,z."},
        {"FovTooLarge", {"--fov", "180"}, "Invalid fov '180'. Use degrees between 0 and 180."},
        {"FovZero", {"--fov", "0"}, "Invalid fov '0'. Use degrees between 0 and 180."},
        {"FovNaN", {"--fov", "nan"}, "Invalid fov 'nan'. Use degrees between 0 and 180."},
        {"FovInfinite", {"--fov", "inf"}, "Invalid fov 'inf'. Use degrees between 0 and 180."},
        {"FovText", {"--fov", "45deg"}, "Invalid fov '45deg'. Use degrees between 0 and 180."},
    }),
    [](const auto& test) { return test.param.name; });

INSTANTIATE_TEST_SUITE_P(Combinations, RenderCLIParserFailure,
                         testing::ValuesIn(std::vector<FailureCase>{
                             {"ListPartsNamesTheFirstInOrder",
                              {"--list-parts", "--width", "10", "--camera", "auto"},
                              "--list-parts cannot be combined with --camera."},
                             {"ListPartsAndShowPivot",
                              {"--list-parts", "--show-pivot", "model.obj"},
                              "--list-parts cannot be combined with --show-pivot."},
                             {"ListPartsBeforeTheOutputs",
                              {"--list-parts", "--output", "a.png", "--output-directory", "b"},
                              "--list-parts cannot be combined with --output."},
                             {"TwoOutputs",
                              {"--output", "a.png", "--output-directory", "b"},
                              "--output cannot be combined with --output-directory."},
                             {"PoseFileAndRotatePart",
                              {"--pose-file", "p.json", "--rotate-part", "arm", "x=1"},
                              "--pose-file cannot be combined with --rotate-part."},
                             {"SameSelectorTwice",
                              {"--rotate-part", "arm", "x=1", "--rotate-part", "name:arm", "y=1"},
                              "Pose 'command-line' specifies selector 'name:arm' more than once."},
                             {"TilesWithoutDirectory",
                              {"--tile-width", "512"},
                              "--tile-width and --tile-height require --output-directory."},
                             {"TileHeightWithoutDirectory",
                              {"--tile-height", "512", "--output", "a.png"},
                              "--tile-width and --tile-height require --output-directory."},
                             {"DirectoryWithoutPoses",
                              {"--output-directory", "b"},
                              "--output-directory requires --pose-file or at least one --rotate-part."},
                             {"RotationsBeforeTiles",
                              {"--tile-width", "5", "--pose-file", "p.json", "--rotate-part", "arm", "x=1"},
                              "--pose-file cannot be combined with --rotate-part."},
                         }),
                         [](const auto& test) { return test.param.name; });

Arguments rotations(int count) {
  Arguments arguments;
  for (int part = 0; part < count; ++part) {
    arguments.insert(arguments.end(), {"--rotate-part", "part" + std::to_string(part), "x=1"});
  }
  return arguments;
}

TEST(RenderCLIParser, AtMost256RotationsAreAllowed) {
  EXPECT_EQ(parse(rotations(256)).rotations.size(), 256U);
  EXPECT_EQ(failure(rotations(257)), "A command-line pose may contain at most 256 --rotate-part entries.");
  Arguments withPoseFile = rotations(257);
  withPoseFile.insert(withPoseFile.end(), {"--pose-file", "p.json"});
  EXPECT_EQ(failure(withPoseFile), "--pose-file cannot be combined with --rotate-part.");
}

TEST(RenderCLIParser, AnInventoryMayNameAssetDirectories) {
  const RenderCLIOptions options = parse({"--list-parts", "--asset-dir", "textures", "model.obj"});
  EXPECT_TRUE(options.listsParts);
  EXPECT_EQ(options.assetDirectories.size(), 1U);
}

TEST(RenderCLIParser, PositiveIntegersMayHaveASign) {
  EXPECT_EQ(RenderCLIParser::positiveInteger("+12", "width"), 12);
  EXPECT_EQ(RenderCLIParser::positiveInteger("0012", "width"), 12);
  EXPECT_EQ(RenderCLIParser::positiveInteger("9223372036854775807", "width"), 9223372036854775807);
}

TEST(RenderCLIParser, BackgroundsReadSixHexadecimalDigits) {
  EXPECT_EQ(RenderCLIParser::background("#ABCDEF"), RenderCLIParser::background("#abcdef"));
  EXPECT_EQ(RenderCLIParser::background("#ABCDEF").color,
            (RenderRGBAColor{0xAB / 255.0, 0xCD / 255.0, 0xEF / 255.0, 1.0}));
  EXPECT_EQ(RenderCLIParser::background("#+12345").color,
            (RenderRGBAColor{0x01 / 255.0, 0x23 / 255.0, 0x45 / 255.0, 1.0}));
  EXPECT_EQ(RenderCLIParser::background("#-00000").color, (RenderRGBAColor{0, 0, 0, 1.0}));
}

TEST(RenderCLIParser, VectorsHaveSinglePrecision) {
  EXPECT_EQ(RenderCLIParser::vector("0.1,-2.5e1,0x1p-1", "v"), (simd_double3{static_cast<double>(0.1F), -25.0, 0.5}));
}

TEST(RenderCLIParser, FieldsOfViewHaveDoublePrecision) {
  EXPECT_EQ(RenderCLIParser::fieldOfView("179.9"), 179.9);
  EXPECT_EQ(RenderCLIParser::fieldOfView("1e-300"), 1e-300);
}

TEST(RenderCLIParser, TwoValuesMovesTheIndexOn) {
  const Arguments arguments{"--rotate-part", "a", "b", "c"};
  std::size_t index = 0;
  const auto values = RenderCLIParser::twoValues("--rotate-part", arguments, index);
  EXPECT_EQ(index, 2U);
  EXPECT_THAT(values, testing::ElementsAre("a", "b"));
}

}  // namespace
}  // namespace ornolith
