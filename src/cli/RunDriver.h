#pragma once

#include <optional>
#include <span>
#include <string>
#include <string_view>

#include "render/StandardStreams.h"

namespace ornolith {

/// The whole life of one run, from the arguments (without the program's name) to the exit status: 0, or 1 after a
/// failure, whose text stands on standard error with the usage text behind it. "--version" alone prints the version,
/// "--help" or "-h" anywhere the usage text. Nothing is printed on success otherwise.
///
/// "--version" and "--help" do no work and start no thread. In every other run SIGINT, SIGTERM, SIGHUP and SIGXCPU
/// end the process with status 1 after its clean-up (see `TerminationCleanup`).
int runDriver(std::span<const std::string> arguments, StandardStreams streams = {});

/// "ornolith-render 1.2 (10)", from the two texts that the build embeds in the program. Throws `CLIError` where one is
/// missing.
std::string productVersionDescription();
std::string productVersionDescription(std::optional<std::string_view> shortVersion,
                                      std::optional<std::string_view> bundleVersion);

}  // namespace ornolith
