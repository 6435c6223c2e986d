#include <fcntl.h>
#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <unistd.h>

#include <algorithm>
#include <csignal>
#include <string>
#include <vector>

#include "cli/CLIError.h"
#include "cli/RunDriver.h"
#include "cli/Usage.h"
#include "support/TemporaryFolder.h"

namespace ornolith {
namespace {

struct Outcome {
  int status = -1;
  std::string output;
  std::string error;
  bool operator==(const Outcome&) const = default;
};

void PrintTo(const Outcome& outcome, std::ostream* out) {
  *out << "status " << outcome.status << "\noutput: " << outcome.output << "\nerror: " << outcome.error;
}

Outcome run(const std::vector<std::string>& arguments) {
  const testsupport::TemporaryFolder folder;
  const std::string output = folder.makeFile("output");
  const std::string error = folder.makeFile("error");
  const StandardStreams streams{.output = ::open(output.c_str(), O_WRONLY), .error = ::open(error.c_str(), O_WRONLY)};
  const int status = runDriver(arguments, streams);
  ::close(streams.output);
  ::close(streams.error);
  return {.status = status, .output = testsupport::contentsOf(output), .error = testsupport::contentsOf(error)};
}

Outcome failed(const std::string& text) {
  return {.status = 1, .output = "", .error = "ornolith-render: " + text + "\n\n" + std::string(usage) + "\n"};
}

Outcome printed(const std::string& text) {
  return {.status = 0, .output = text + "\n", .error = ""};
}

TEST(RunDriver, PrintsTheVersionOnItsOwn) {
  EXPECT_EQ(run({"--version"}), printed("ornolith-render 1.2 (10)"));
  EXPECT_EQ(run({"--version", "extra"}), failed("Unknown option '--version'."));
  EXPECT_EQ(run({"--version", "--version"}), failed("Unknown option '--version'."));
}

TEST(RunDriver, PrintsTheUsageWhereverHelpStands) {
  EXPECT_EQ(run({"--help"}), printed(std::string(usage)));
  EXPECT_EQ(run({"-h"}), printed(std::string(usage)));
  EXPECT_EQ(run({"model.obj", "--help", "--width", "x"}), printed(std::string(usage)));
  EXPECT_EQ(run({"--output", "--help"}), printed(std::string(usage)));
  EXPECT_EQ(run({"--bad", "--version", "-h"}), printed(std::string(usage)));
}

TEST(RunDriver, PrintsEveryFailureWithTheUsage) {
  EXPECT_EQ(run({}), failed("Missing input model path."));
  EXPECT_EQ(run({"--width", "x"}), failed("Invalid width 'x'. Use a positive integer."));
  EXPECT_EQ(run({"/nowhere/model.fbx", "--output", "x.png"}), failed("Input model not found: /nowhere/model.fbx"));
}

TEST(RunDriver, KeepsTheBytesOfAnArgument) {
  EXPECT_EQ(run({"--\xFF%s%n"}), failed("Unknown option '--\xFF%s%n'."));
}

TEST(RunDriver, FailsWhereStandardOutputCannotBeWritten) {
  for (const char* option : {"--version", "--help"}) {
    const testsupport::TemporaryFolder folder;
    const std::string error = folder.makeFile("error");
    const StandardStreams streams{.output = ::open("/dev/full", O_WRONLY), .error = ::open(error.c_str(), O_WRONLY)};
    EXPECT_EQ(runDriver(std::vector<std::string>{option}, streams), 1);
    ::close(streams.output);
    ::close(streams.error);
    EXPECT_THAT(testsupport::contentsOf(error),
                testing::StartsWith("ornolith-render: The item 'standard output' could not be written: "));
  }
}

TEST(RunDriver, FailsQuietlyWhereStandardErrorCannotBeWritten) {
  const int full = ::open("/dev/full", O_WRONLY);
  EXPECT_EQ(runDriver(std::vector<std::string>{"--bad"}, {.output = full, .error = full}), 1);
  ::close(full);
}

TEST(ProductVersion, NeedsBothTexts) {
  EXPECT_EQ(productVersionDescription(), "ornolith-render 1.2 (10)");
  EXPECT_EQ(productVersionDescription("3.4", "56"), "ornolith-render 3.4 (56)");
  for (const auto& [shortVersion, bundleVersion] :
       std::vector<std::pair<std::optional<std::string_view>, std::optional<std::string_view>>>{
           {std::nullopt, "10"}, {"1.2", std::nullopt}, {std::nullopt, std::nullopt}}) {
    try {
      productVersionDescription(shortVersion, bundleVersion);
      FAIL() << "a missing text was accepted";
    } catch (const CLIError& error) {
      EXPECT_EQ(error.errorDescription(), "Embedded product version metadata is missing.");
    }
  }
}

TEST(Usage, HasNoNewlineAtItsEndAndItsOddLine) {
  EXPECT_THAT(std::string(usage), testing::StartsWith("usage: ornolith-render <model> (--output <render.png> | "
                                                      "--output-directory <path> | --list-parts) [options]\n\n"));
  EXPECT_THAT(std::string(usage), testing::EndsWith("\n  --help                       Show this help."));
  EXPECT_THAT(std::string(usage),
              testing::HasSubstr("\n  --contact-arrangement <mode>  grid or strip. Default: grid.\n"));
  EXPECT_EQ(std::ranges::count(usage, '\n'), 29);
}

}  // namespace
}  // namespace ornolith
