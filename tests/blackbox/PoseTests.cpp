// Inventories, poses and contact sheets through the built program.

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <csignal>
#include <filesystem>
#include <fstream>
#include <optional>
#include <span>
#include <string>
#include <vector>

#include "blackbox/Program.h"
#include "contracts/ListedModelPartsDocument.h"
#include "contracts/PoseRenderIndexDocument.h"
#include "imaging/ImageDecoder.h"
#include "support/TemporaryFolder.h"

namespace ornolith::blackbox {
namespace {

namespace fs = std::filesystem;
using testing::ElementsAre;
using testing::HasSubstr;
using testing::IsEmpty;
using testing::StartsWith;
using testsupport::contentsOf;

const std::string lamp = std::string(ORNOLITH_EXAMPLES) + "/desk-lamp.fbx";
const Outcome success{.status = 0, .output = "", .error = ""};

JSONDocument parsed(const std::string& text) {
  return JSONDocument::parse(std::as_bytes(std::span(text)));
}

/// A scratch folder in which runs take place.
class Poses : public testing::Test {
 protected:
  testsupport::TemporaryFolder folder;

  Outcome runHere(std::vector<std::string> arguments) const {
    return run(arguments, Surroundings{.directory = folder.path()});
  }
  std::vector<std::string> names() const {
    std::vector<std::string> result;
    for (const auto& entry : fs::directory_iterator(folder.path())) result.push_back(entry.path().filename().string());
    std::ranges::sort(result);
    return result;
  }
  Image image(const std::string& name) const {
    const std::string bytes = contentsOf(folder / name);
    return decodeImage(std::as_bytes(std::span(bytes))).value_or(Image{});
  }
  void writePoses(const std::string& name, const std::string& poses, const std::string& more = "") const {
    std::ofstream(folder / name) << R"({"schema": "ornolabs.ornolith-render.poses", "version": 1)" << more
                                 << R"(, "poses": [)" << poses << "]}";
  }
  static ListedModelPartsDocument inventory(const std::string& model) {
    const Outcome outcome = run({model, "--list-parts"});
    EXPECT_EQ(outcome.status, 0) << outcome.error;
    return ListedModelPartsDocument::fromJSON(parsed(outcome.output).root());
  }
};

TEST_F(Poses, InventoryListsTheAuthoredNodesWithoutCameraAndLight) {
  std::vector<std::string> partNames;
  const ListedModelPartsDocument document = inventory(lamp);
  for (const ListedModelPart& part : document.parts) {
    partNames.push_back(part.originalName);
    EXPECT_TRUE(part.isRotatable) << part.originalName;
    EXPECT_TRUE(part.hasGeometry) << part.originalName;
  }
  EXPECT_THAT(partNames, ElementsAre("Desk", "Base", "Lower Arm", "Upper Arm", "Head", "Bulb", "Spare Bulb"));
  EXPECT_EQ(document.format, ModelFormat::fbx);
  EXPECT_FALSE(document.parts[0].parent);
  EXPECT_EQ(document.parts[1].parent, document.parts[0].selector);
}

TEST_F(Poses, InventoryIsTheSameTwiceAndIgnoresRenderingLimits) {
  const Outcome first = run({lamp, "--list-parts"});
  EXPECT_EQ(first, run({"--list-parts", lamp, "--asset-dir", folder.path()}));
  EXPECT_THAT(first.output, StartsWith("{\n  \"format\" : \"fbx\",\n  \"model_sha256\" : \""));
  EXPECT_THAT(first.output, testing::EndsWith("  \"version\" : 1\n}\n"));
  EXPECT_THAT(first.output, HasSubstr("\"selector\" : \"path:fbx:"));
}

TEST_F(Poses, InventoryNamesWhatKeepsAModelFromBeingPosed) {
  const ListedModelPartsDocument skinned = inventory(std::string(ORNOLITH_EXAMPLES) + "/skinned.fbx");
  ASSERT_FALSE(skinned.parts.empty());
  for (const ListedModelPart& part : skinned.parts) {
    EXPECT_EQ(part.rotationBlockReason, "model-has-animation-or-deformation");
  }
  EXPECT_EQ(run({std::string(ORNOLITH_EXAMPLES) + "/skinned.fbx", "--rotate-part", "Tube", "x=1", "--output",
                 folder / "x.png"})
                .error,
            run({std::string(ORNOLITH_EXAMPLES) + "/skinned.fbx", "--list-parts"}).error +
                failure("Explicit part poses are unavailable because the model contains animation, skinning, morphing, "
                        "or deformation.")
                    .error);
}

TEST_F(Poses, ARotatedPartChangesThePictureAndAFullTurnDoesNot) {
  const std::vector<std::string> size = {"--width", "128", "--height", "128"};
  const auto render = [&](const std::string& axes, const std::string& name) {
    EXPECT_EQ(
        run({lamp, "--rotate-part", "Lower Arm", axes, "--output", folder / name, "--width", "128", "--height", "128"}),
        success);
    return image(name);
  };
  const Image rest = render("z=0", "rest.png");
  EXPECT_EQ(rest.width, 128U);
  EXPECT_EQ(render("z=360", "full.png"), rest);
  EXPECT_NE(render("z=-40", "turned.png"), rest);
}

TEST_F(Poses, OnePNGHoldsAllPosesStacked) {
  writePoses("poses.json",
             R"({"id": "a", "rotations": []},
                {"id": "b", "rotations": [{"selector": "name:Head", "local_degrees": {"z": 60}}]})");
  EXPECT_EQ(runHere({lamp, "--pose-file", "poses.json", "--output", "both.png", "--width", "256", "--height", "256"}),
            success);
  EXPECT_EQ(image("both.png").height, 256U);
  EXPECT_THAT(names(), ElementsAre("both.png", "poses.json"));
}

TEST_F(Poses, ADirectoryHoldsPagesAndAnIndexThatDescribesThem) {
  writePoses("poses.json",
             R"({"id": "rest", "rotations": []},
                {"id": "up", "label": "Arm up", "rotations": [{"selector": "Upper Arm", "local_degrees": {"z": -90}}]})");
  EXPECT_EQ(runHere({lamp, "--pose-file", "poses.json", "--output-directory", "deep/er/out", "--tile-width", "64",
                     "--tile-height", "48", "--layout", "contact-4", "--contact-arrangement", "strip", "--background",
                     "#102030"}),
            success);
  std::vector<std::string> files;
  for (const auto& entry : fs::directory_iterator(folder / "deep/er/out")) files.push_back(entry.path().filename());
  std::ranges::sort(files);
  EXPECT_THAT(files, ElementsAre("contact-sheet.json", "page-0001.png"));
  EXPECT_EQ(std::distance(fs::directory_iterator(folder / "deep/er"), fs::directory_iterator()), 1);

  const std::string text = contentsOf(folder / "deep/er/out/contact-sheet.json");
  const auto index = PoseRenderIndexDocument::fromJSON(parsed(text).root());
  EXPECT_EQ(index.canonicalJSONData(), text);
  EXPECT_EQ(index.modelFilename, "desk-lamp.fbx");
  EXPECT_EQ(index.modelSHA256, inventory(lamp).modelSHA256);
  EXPECT_EQ(index.layout, ModelRenderLayout::contact4);
  ASSERT_EQ(index.poses.size(), 2U);
  EXPECT_EQ(index.poses[1].label, "Arm up");
  EXPECT_EQ(index.poses[1].rotations[0].requestedLocalDegrees.z, -90.0);
  EXPECT_EQ(index.poses[1].rotations[0].normalizedLocalDegrees.z, 270.0);
  ASSERT_EQ(index.pages.size(), 1U);
  ASSERT_EQ(index.pages[0].cells.size(), 8U);
  EXPECT_EQ(index.pages[0].cells[5].view, "back");

  const Image page = image("deep/er/out/page-0001.png");
  EXPECT_EQ(page.width, index.pages[0].width);
  EXPECT_EQ(page.height, index.pages[0].height);
  for (std::size_t offset = 3; offset < page.pixels.size(); offset += 4) ASSERT_EQ(page.pixels[offset], 255);
}

TEST_F(Poses, AModelWhoseNameIsNoUTF8GivesAnIndexAllTheSame) {
  const std::string model = folder / "x\xFF.fbx";
  fs::copy_file(lamp, model);
  writePoses("poses.json", R"({"id": "rest", "rotations": []})");
  EXPECT_EQ(runHere({model, "--pose-file", "poses.json", "--output-directory", "series"}).status, 0);
  const std::string text = contentsOf(folder / "series/contact-sheet.json");
  EXPECT_EQ(PoseRenderIndexDocument::fromJSON(parsed(text).root()).modelFilename, "x\uFFFD.fbx");
}

TEST_F(Poses, AnExistingDestinationIsNeverTouched) {
  writePoses("poses.json", R"({"id": "rest", "rotations": []})");
  fs::create_directory(folder / "empty");
  folder.makeFile("file", "kept");
  for (const std::string name : {"empty", "file"}) {
    const Outcome outcome = runHere({lamp, "--pose-file", "poses.json", "--output-directory", name});
    EXPECT_EQ(outcome, failure("The item '" + (folder / name) + "' could not be written: File exists."));
  }
  EXPECT_EQ(contentsOf(folder / "file"), "kept");
  EXPECT_TRUE(fs::is_empty(folder / "empty"));
  EXPECT_THAT(names(), ElementsAre("empty", "file", "poses.json"));
}

TEST_F(Poses, AFailureLeavesNoStagingFolder) {
  writePoses("poses.json", R"({"id": "p", "rotations": [{"selector": "Nobody", "local_degrees": {"x": 1}}]})");
  EXPECT_EQ(runHere({lamp, "--pose-file", "poses.json", "--output-directory", "out"}),
            failure("Part selector 'name:Nobody' did not match an addressable logical node. Run --list-parts and use a "
                    "listed selector."));
  EXPECT_THAT(names(), ElementsAre("poses.json"));
  folder.makeFile("wall", "");
  EXPECT_EQ(runHere({lamp, "--rotate-part", "Head", "x=1", "--output-directory", "wall/out"}).status, 1);
  EXPECT_THAT(names(), ElementsAre("poses.json", "wall"));
}

TEST_F(Poses, ADocumentForAnotherModelIsRefused) {
  writePoses("poses.json", R"({"id": "rest", "rotations": []})",
             R"(, "model_sha256": ")" + std::string(64, '0') + "\"");
  EXPECT_EQ(runHere({lamp, "--pose-file", "poses.json", "--output", "x.png"}),
            failure("Pose document model_sha256 mismatch (expected " + std::string(64, '0') + ", got " +
                    inventory(lamp).modelSHA256 + ")."));
}

TEST_F(Poses, PlansThatDoNotFitAreRefused) {
  EXPECT_EQ(runHere({lamp, "--rotate-part", "Head", "x=1", "--output", "x.png", "--width", "127"}),
            failure("Every pose tile in a single PNG must be at least 128 by 128 pixels. Use a larger output or "
                    "--output-directory."));
  EXPECT_EQ(runHere({lamp, "--rotate-part", "Head", "x=1", "--output", "x.png", "--width", "8193"}),
            failure("This explicit pose plan does not fit in one PNG. Use --output-directory."));
  EXPECT_EQ(runHere({lamp, "--rotate-part", "Head", "x=1", "--output-directory", "x", "--tile-width", "8193"}),
            failure("One pose block exceeds 16 megapixels or 8192 pixels per dimension."));
  EXPECT_THAT(names(), IsEmpty());
}

TEST_F(Poses, HostilePoseFilesEndInOneMessage) {
  folder.makeFile("nested.json", std::string(16'777'216, '['));
  folder.makeFile("large.json", std::string(16'777'217, ' '));
  writePoses("huge-number.json", R"({"id": "p", "rotations": [{"selector": "Head", "local_degrees": {"x": 1e999}}]})");
  writePoses("surrogate.json", R"({"id": "\ud800", "rotations": []})");
  std::string rotations;
  for (int i = 0; i < 257; ++i)
    rotations +=
        (i > 0 ? "," : "") + std::string(R"({"selector": "n)") + std::to_string(i) + R"(", "local_degrees": {"x": 1}})";
  writePoses("257.json", R"({"id": "p", "rotations": [)" + rotations + "]}");
  std::string poses;
  for (int i = 0; i < 4097; ++i)
    poses += (i > 0 ? "," : "") + std::string(R"({"rotations": [], "id": ")") + std::to_string(i) + "\"}";
  writePoses("4097.json", poses);
  const std::vector<std::pair<std::string, std::string>> expected = {
      {"nested.json", "Invalid pose JSON: "},
      {"large.json", "Pose JSON is limited to 16 MiB."},
      {"huge-number.json", "Invalid pose JSON: "},
      {"surrogate.json", "Invalid pose JSON: "},
      {"257.json", "Pose 'p' may contain at most 256 node rotations."},
      {"4097.json", "A pose document may contain at most 4096 poses."}};
  for (const auto& [name, text] : expected) {
    const Outcome outcome = runHere({lamp, "--pose-file", name, "--output", "x.png"});
    EXPECT_EQ(outcome.status, 1);
    EXPECT_THAT(outcome.error, StartsWith("ornolith-render: Invalid pose file '" + (folder / name) + "': " + text));
  }
  EXPECT_FALSE(fs::exists(folder / "x.png"));
}

TEST_F(Poses, ContactSheetsShowEveryViewAndTheBackgroundInTheGutters) {
  EXPECT_EQ(runHere({lamp, "--layout", "contact-6", "--output", "six.png", "--width", "300", "--height", "200",
                     "--background", "#FF0000"}),
            success);
  const Image sheet = image("six.png");
  EXPECT_EQ(sheet.width, 300U);
  EXPECT_EQ(sheet.height, 200U);
  EXPECT_THAT(std::vector<int>(sheet.pixel(0, 0), sheet.pixel(0, 0) + 4), ElementsAre(255, 0, 0, 255));
  EXPECT_EQ(runHere({lamp, "--layout", "contact-4", "--contact-arrangement", "strip", "--output", "four.png", "--width",
                     "300", "--height", "100"}),
            success);
  EXPECT_EQ(image("four.png").pixel(0, 0)[3], 0);
}

TEST_F(Poses, AnInterruptedSeriesLeavesNothing) {
  std::string poses;
  for (int i = 0; i < 400; ++i)
    poses += (i > 0 ? "," : "") + std::string(R"({"rotations": [], "id": ")") + std::to_string(i) + "\"}";
  writePoses("poses.json", poses);
  Program program({lamp, "--pose-file", "poses.json", "--output-directory", "out"},
                  Surroundings{.directory = folder.path()});
  bool staged = false;
  for (int i = 0; i < 4000 && !staged && !program.hasEnded(); ++i) {
    staged = names().size() > 1;
    usleep(1000);
  }
  ASSERT_TRUE(staged) << "no staging folder appeared";
  program.signal(SIGTERM);
  EXPECT_EQ(program.wait().status, 1);
  EXPECT_THAT(names(), ElementsAre("poses.json"));
}

TEST_F(Poses, ADestinationThatAppearsDuringTheRenderIsKept) {
  std::string poses;
  for (int i = 0; i < 400; ++i) {
    poses += (i > 0 ? "," : "") + std::string(R"({"rotations": [], "id": ")") + std::to_string(i) + "\"}";
  }
  writePoses("poses.json", poses);
  Program program(
      {lamp, "--pose-file", "poses.json", "--output-directory", "out", "--tile-width", "128", "--tile-height", "128"},
      Surroundings{.directory = folder.path()});
  bool staged = false;
  for (int i = 0; i < 4000 && !staged && !program.hasEnded(); ++i) {
    staged = names().size() > 1;
    usleep(1000);
  }
  ASSERT_TRUE(staged) << "no staging folder appeared";
  fs::create_directory(folder / "out");
  EXPECT_EQ(program.wait(), failure("The item '" + (folder / "out") + "' could not be written: File exists."));
  EXPECT_TRUE(fs::is_empty(folder / "out"));
  EXPECT_THAT(names(), ElementsAre("out", "poses.json"));
}

TEST_F(Poses, APlaceThatTakesNoFilesEndsInOneMessage) {
  const Outcome directory = run({lamp, "--rotate-part", "Head", "x=1", "--output-directory", "/proc/out"});
  EXPECT_EQ(directory.status, 1);
  EXPECT_THAT(directory.error,
              testing::MatchesRegex("ornolith-render: The item '/proc/\\.out\\.ornolith-staging-[^\n]*' "
                                    "could not be created: No such file or directory\\.\n\n.*"));
  const Outcome png = run({lamp, "--rotate-part", "Head", "x=1", "--output", "/proc/out.png"});
  EXPECT_EQ(png.status, 1);
  EXPECT_THAT(png.error, StartsWith("ornolith-render: The item '/proc/"));
}

}  // namespace
}  // namespace ornolith::blackbox
