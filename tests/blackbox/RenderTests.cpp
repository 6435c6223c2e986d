// What a run puts on disk, and what it leaves behind.

#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <sys/mount.h>

#include <algorithm>
#include <csignal>
#include <filesystem>
#include <fstream>
#include <optional>
#include <span>
#include <string>
#include <vector>

#include "blackbox/Program.h"
#include "imaging/ImageDecoder.h"
#include "support/TemporaryFolder.h"

namespace ornolith::blackbox {
namespace {

namespace fs = std::filesystem;
using testing::HasSubstr;
using testing::StartsWith;
using testsupport::contentsOf;

const std::string importRoots = "/tmp/Ornolith3DRender";
const Outcome success{.status = 0, .output = "", .error = ""};

/// A folder with one model under a name of its own, by which its import root can be told from those of other runs.
class Folder : public testsupport::TemporaryFolder {
 public:
  explicit Folder(const std::string& example = "mirrored.fbx") {
    fs::copy_file(std::string(ORNOLITH_EXAMPLES) + "/" + example, model());
  }
  std::string modelName() const { return fs::path(path()).filename().string() + ".fbx"; }
  std::string model() const { return *this / modelName(); }

  /// Whether some import root holds this folder's model now.
  bool hasImportRoot() const {
    std::error_code ignored;
    for (const auto& root : fs::directory_iterator(importRoots, ignored)) {
      if (fs::exists(root.path() / modelName(), ignored)) return true;
    }
    return false;
  }

  Outcome render(const std::vector<std::string>& more, Surroundings surroundings = {}) const {
    std::vector<std::string> arguments{modelName(), "--width", "64", "--height", "48"};
    arguments.insert(arguments.end(), more.begin(), more.end());
    surroundings.directory = path();
    return run(arguments, surroundings);
  }

  /// The names in the folder but for the model's, in order.
  std::vector<std::string> otherNames() const {
    std::vector<std::string> names;
    for (const auto& entry : fs::directory_iterator(path())) {
      if (entry.path() != model()) names.push_back(entry.path().filename().string());
    }
    std::ranges::sort(names);
    return names;
  }
};

Image imageAt(const std::string& path) {
  const std::string bytes = contentsOf(path);
  return decodeImage(std::as_bytes(std::span(bytes))).value_or(Image{});
}

int alphaAt(const Image& image, std::uint32_t x, std::uint32_t y) {
  return image.pixel(x, y)[3];
}

TEST(Render, WritesAPNGOfTheSizeAskedForAndNothingElse) {
  const Folder folder;
  EXPECT_EQ(folder.render({"--output", "x.png"}), success);
  const Image image = imageAt(folder / "x.png");
  ASSERT_EQ(image.width, 64U);
  ASSERT_EQ(image.height, 48U);
  EXPECT_EQ(alphaAt(image, 32, 24), 255) << "the model is in the middle";
  EXPECT_EQ(alphaAt(image, 0, 0), 0) << "nothing is in the corner";
  EXPECT_THAT(folder.otherNames(), testing::ElementsAre("x.png"));
  EXPECT_FALSE(folder.hasImportRoot());
}

TEST(Render, WritesTheThreeChunksAPNGNeeds) {
  const Folder folder;
  ASSERT_EQ(folder.render({"--output", "x.png"}), success);
  const std::string bytes = contentsOf(folder / "x.png");
  std::vector<std::string> chunks;
  for (std::size_t offset = 8; offset + 8 <= bytes.size();) {
    std::size_t length = 0;
    for (std::size_t digit = 0; digit < 4; ++digit)
      length = length * 256 + static_cast<unsigned char>(bytes[offset + digit]);
    if (const std::string chunk = bytes.substr(offset + 4, 4); chunks.empty() || chunks.back() != chunk)
      chunks.push_back(chunk);
    offset += length + 12;
  }
  EXPECT_THAT(chunks, testing::ElementsAre("IHDR", "IDAT", "IEND"));
  EXPECT_EQ(bytes.substr(24, 5), std::string("\x08\x06\0\0\0", 5)) << "8-bit RGBA, not interlaced";
}

TEST(Render, AnOpaqueBackgroundLeavesNoPixelTransparent) {
  const Folder folder;
  ASSERT_EQ(folder.render({"--output", "x.png", "--background", "#102030"}), success);
  const Image image = imageAt(folder / "x.png");
  ASSERT_EQ(image.pixels.size(), 64U * 48 * 4);
  for (std::size_t offset = 3; offset < image.pixels.size(); offset += 4) ASSERT_EQ(image.pixels[offset], 255);
  EXPECT_EQ((std::vector<int>{image.pixel(0, 0)[0], image.pixel(0, 0)[1], image.pixel(0, 0)[2]}),
            (std::vector<int>{16, 32, 48}));
}

TEST(Render, TakesExtensionsInUpperCase) {
  const Folder folder;
  fs::copy_file(folder.model(), folder / "MODEL.FBX");
  EXPECT_EQ(run({"MODEL.FBX", "--output", "X.PNG", "--width", "16", "--height", "16"}, {.directory = folder.path()}),
            success);
  EXPECT_EQ(imageAt(folder / "X.PNG").width, 16U);
}

TEST(Render, ReplacesAnExistingFile) {
  const Folder folder;
  folder.makeFile("x.png", "something else");
  EXPECT_EQ(folder.render({"--output", "x.png"}), success);
  EXPECT_EQ(imageAt(folder / "x.png").width, 64U);
  EXPECT_THAT(folder.otherNames(), testing::ElementsAre("x.png"));
}

TEST(Render, ReplacesALinkAndNotWhatItPointsAt) {
  const Folder folder;
  const std::string kept = folder.makeFile("kept.png", "something else");
  folder.makeLink("x.png", kept);
  EXPECT_EQ(folder.render({"--output", "x.png"}), success);
  EXPECT_EQ(contentsOf(kept), "something else");
  EXPECT_FALSE(fs::is_symlink(folder / "x.png"));
}

TEST(Render, MakesMissingFolders) {
  const Folder folder;
  EXPECT_EQ(folder.render({"--output", "a/b/c/x.png"}), success);
  EXPECT_EQ(imageAt(folder / "a/b/c/x.png").width, 64U);
}

TEST(Render, FailsOnAFolderInItsWayAndLeavesNothing) {
  const Folder folder;
  folder.makeDirectory("x.png");
  const Outcome outcome = folder.render({"--output", "x.png"});
  EXPECT_EQ(outcome.status, 1);
  EXPECT_THAT(outcome.error, StartsWith("ornolith-render: The item '" + (folder / "x.png") +
                                        "' could not be written: Is a directory."));
  EXPECT_THAT(folder.otherNames(), testing::ElementsAre("x.png"));
  EXPECT_TRUE(fs::is_empty(folder / "x.png"));
  EXPECT_FALSE(folder.hasImportRoot());
}

TEST(Render, FailsBelowARegularFile) {
  const Folder folder;
  folder.makeFile("file");
  const Outcome outcome = folder.render({"--output", "file/x.png"});
  EXPECT_EQ(outcome.status, 1);
  EXPECT_THAT(outcome.error, StartsWith("ornolith-render: The item '" + (folder / "file")));
  EXPECT_THAT(outcome.error, HasSubstr(usageText));
  EXPECT_THAT(folder.otherNames(), testing::ElementsAre("file"));
  EXPECT_FALSE(folder.hasImportRoot());
}

TEST(Render, FailsWhereNoFileCanBeMade) {
  const Folder folder;
  const Outcome outcome = folder.render({"--output", "/proc/x.png"});
  EXPECT_EQ(outcome.status, 1);
  EXPECT_THAT(outcome.error, StartsWith("ornolith-render: The item '/proc/x.png' could not be written: "));
  EXPECT_FALSE(folder.hasImportRoot());
}

TEST(Render, FailsOnAFullDiskAndKeepsTheOldFile) {
  const Folder folder;
  const std::string disk = folder.makeDirectory("disk");
  if (::mount("tmpfs", disk.c_str(), "tmpfs", 0, "size=8k") != 0) GTEST_SKIP() << "no file system can be mounted here";
  folder.makeFile("disk/x.png", "something else");
  const Outcome outcome = folder.render({"--output", "disk/x.png", "--width", "1024", "--height", "1024"});
  const std::string kept = contentsOf(folder / "disk/x.png");
  const auto names = std::distance(fs::directory_iterator(disk), fs::directory_iterator{});
  ::umount(disk.c_str());
  EXPECT_EQ(outcome.status, 1);
  EXPECT_THAT(outcome.error, StartsWith("ornolith-render: The item '" + (folder / "disk/x.png") +
                                        "' could not be written: No space left on device."));
  EXPECT_EQ(kept, "something else");
  EXPECT_EQ(names, 1);
}

TEST(Render, LeavesTheTargetAloneWhenTheModelFails) {
  const Folder folder;
  folder.makeFile("x.png", "something else");
  std::ofstream(folder.model(), std::ios::trunc) << "no model";
  const Outcome outcome = folder.render({"--output", "x.png"});
  EXPECT_EQ(outcome.status, 1);
  EXPECT_EQ(contentsOf(folder / "x.png"), "something else");
  EXPECT_FALSE(folder.hasImportRoot());
}

TEST(Render, NeedsNoStandardStreams) {
  const Folder folder;
  EXPECT_EQ(folder.render({"--output", "x.png"}, {.output = Surroundings::Output::closed, .closesError = true}),
            success);
  EXPECT_EQ(imageAt(folder / "x.png").width, 64U);
}

TEST(Render, ReadsNoEnvironment) {
  const Folder folder;
  ASSERT_EQ(folder.render({"--output", "a.png"}), success);
  ASSERT_EQ(folder.render({"--output", "b.png"}, {.environment = {"TMPDIR=/nowhere", "HOME=/nowhere",
                                                                  "LANG=de_DE.UTF-8", "LC_ALL=de_DE.UTF-8"}}),
            success);
  EXPECT_EQ(contentsOf(folder / "a.png"), contentsOf(folder / "b.png"));
}

TEST(Render, TheCameraFollowsTheArguments) {
  const Folder folder;
  const auto rendered = [&](std::vector<std::string> more) {
    more.insert(more.end(), {"--output", "x.png"});
    EXPECT_EQ(folder.render(more), success);
    return contentsOf(folder / "x.png");
  };
  const std::string plain = rendered({});
  EXPECT_EQ(rendered({"--camera", "auto"}), plain);
  EXPECT_NE(rendered({"--fov", "30"}), plain);
  EXPECT_NE(rendered({"--camera-position", "3,4,5"}), plain);
  EXPECT_NE(rendered({"--camera-target", "1,0,0"}), plain);
  EXPECT_NE(rendered({"--surface", "mesh"}), plain);
  rendered({"--camera-position", "0,0,0", "--camera-target", "0,0,0"});
  folder.makeFile("camera.json", R"({"schema": "ornolith-camera-preset", "version": 1, "name": "Away",
    "coordinateSpace": "scene", "camera": {"position": {"x": 0, "y": 1000, "z": 0},
    "eulerAngles": {"x": 1.5, "y": 0, "z": 0}, "target": {"x": 0, "y": 2000, "z": 0}, "fieldOfView": 40}})");
  rendered({"--camera-preset", "camera.json"});
  const Image away = imageAt(folder / "x.png");
  EXPECT_EQ(alphaAt(away, 32, 24), 0) << "the preset looks away from the model";
}

TEST(Render, TheSameBytesOnAnyNumberOfProcessors) {
  const Folder folder("desk-lamp.fbx");
  const auto rendered = [&](const char* name, Surroundings surroundings) {
    EXPECT_EQ(folder.render({"--width", "300", "--height", "200", "--output", name}, std::move(surroundings)).status,
              0);
    return contentsOf(folder / name);
  };
  const std::string onOne = rendered("one.png", {.processors = 1});
  EXPECT_GT(onOne.size(), 1000U);
  EXPECT_EQ(rendered("two.png", {.processors = 2}), onOne);
  EXPECT_EQ(rendered("all.png", {}), onOne);
}

TEST(Render, TheSameBytesWithoutTheProcessorsWideInstructions) {
  const Folder folder("desk-lamp.fbx");
  const auto rendered = [&](const char* name, std::vector<std::string> environment) {
    EXPECT_EQ(folder.render({"--output", name}, {.environment = std::move(environment)}).status, 0);
    return contentsOf(folder / name);
  };
  EXPECT_EQ(rendered("a.png", {}), rendered("b.png", {"GLIBC_TUNABLES=glibc.cpu.hwcaps=-AVX2,-FMA,-FMA4,-AVX512F"}));
}

TEST(Render, TwoRunsAtOnceDoNotMeet) {
  const Folder folder;
  const std::vector<std::string> arguments{folder.model(), "--output", folder / "x.png", "--width", "200",
                                           "--height",     "200"};
  ASSERT_EQ(run(arguments), success);
  const std::string expected = contentsOf(folder / "x.png");
  Program first(arguments, {});
  Program second(arguments, {});
  EXPECT_EQ(first.wait(), success);
  EXPECT_EQ(second.wait(), success);
  EXPECT_EQ(contentsOf(folder / "x.png"), expected);
  EXPECT_THAT(folder.otherNames(), testing::ElementsAre("x.png"));
  EXPECT_FALSE(folder.hasImportRoot());
}

/// A run that is ended by `signal` as soon as its import root is there; nothing where it was over before.
std::optional<Outcome> interrupted(const Folder& folder, int signal) {
  Program program({folder.modelName(), "--output", "x.png", "--width", "4096", "--height", "4096"},
                  {.directory = folder.path()});
  while (!program.hasEnded()) {
    if (folder.hasImportRoot()) {
      program.signal(signal);
      return program.wait();
    }
  }
  return std::nullopt;
}

class Interrupted : public testing::TestWithParam<int> {};

TEST_P(Interrupted, LeavesNothingBehind) {
  const Folder folder("desk-lamp.fbx");
  const std::optional<Outcome> outcome = interrupted(folder, GetParam());
  ASSERT_TRUE(outcome) << "the run was over before it could be interrupted";
  EXPECT_EQ(outcome->status, 1);
  EXPECT_EQ(outcome->output, "");
  EXPECT_FALSE(folder.hasImportRoot());
  EXPECT_TRUE(folder.otherNames().empty()) << folder.otherNames().front();
}

INSTANTIATE_TEST_SUITE_P(Render, Interrupted, testing::Values(SIGINT, SIGTERM, SIGHUP));

struct Road {
  const char* name;
  std::vector<std::string> arguments;
  const char* text;
};

TEST(Render, WhatIsNotMadeEndsInAClearText) {
  const Folder folder;
  folder.makeFile("bound.json", R"({"schema": "ornolabs.ornolith-render.poses", "version": 1, "model_sha256": ")" +
                                    std::string(64, 'a') + R"(", "poses": [{"id": "rest", "rotations": []}]})");
  for (const Road& road : std::vector<Road>{
           {"pivot", {"--output", "x.png", "--show-pivot"}, "The pivot overlay is not available in this version."},
           {"rigging",
            {"--output", "x.png", "--show-rigging"},
            "The rigging overlay is not available in this version."}}) {
    EXPECT_EQ(folder.render(road.arguments), failure(road.text)) << road.name;
  }
  EXPECT_THAT(folder.render({"--output", "x.png", "--pose-file", "bound.json"}).error,
              StartsWith("ornolith-render: Pose document model_sha256 mismatch (expected " + std::string(64, 'a')));
  EXPECT_THAT(folder.otherNames(), testing::ElementsAre("bound.json"));
}

TEST(Render, EveryExampleGivesAPicture) {
  for (const auto& entry : fs::directory_iterator(ORNOLITH_EXAMPLES)) {
    if (entry.path().extension() != ".fbx") continue;
    const testsupport::TemporaryFolder folder;
    const Outcome outcome =
        run({entry.path().string(), "--output", folder / "x.png", "--width", "96", "--height", "96"});
    EXPECT_EQ(outcome.status, 0) << entry.path() << outcome.error;
    const Image image = imageAt(folder / "x.png");
    ASSERT_EQ(image.width, 96U) << entry.path();
    std::size_t covered = 0;
    for (std::size_t offset = 3; offset < image.pixels.size(); offset += 4)
      covered += image.pixels[offset] > 0 ? 1U : 0U;
    EXPECT_GT(covered, 300U) << entry.path();
    EXPECT_LT(covered, 96U * 96U) << entry.path();
  }
}

}  // namespace
}  // namespace ornolith::blackbox
