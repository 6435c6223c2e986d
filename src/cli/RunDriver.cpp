#include "cli/RunDriver.h"

#include <algorithm>
#include <exception>
#include <new>

#include "cli/CLIError.h"
#include "cli/RenderCLIParser.h"
#include "cli/Usage.h"
#include "foundation/FileSystem.h"
#include "foundation/TemporaryItems.h"
#include "import/ModelImportService.h"
#include "render/RenderService.h"

namespace ornolith {

namespace {

#ifdef ORNOLITH_SHORT_VERSION
constexpr std::optional<std::string_view> embeddedShortVersion = ORNOLITH_SHORT_VERSION;
#else
constexpr std::optional<std::string_view> embeddedShortVersion;
#endif
#ifdef ORNOLITH_BUNDLE_VERSION
constexpr std::optional<std::string_view> embeddedBundleVersion = ORNOLITH_BUNDLE_VERSION;
#else
constexpr std::optional<std::string_view> embeddedBundleVersion;
#endif

bool asksForVersion(std::span<const std::string> arguments) {
  return arguments.size() == 1 && arguments.front() == "--version";
}

bool asksForHelp(std::span<const std::string> arguments) {
  return std::ranges::any_of(arguments, [](const std::string& text) { return text == "--help" || text == "-h"; });
}

void printLine(std::string_view text, StandardStreams streams) {
  writeAll(streams.output, std::string(text) + "\n", "standard output");
}

void render(std::span<const std::string> arguments, StandardStreams streams) {
  const TerminationCleanup cleanup;
  const ModelRenderRequest request = RenderCLIParser::parse(arguments).renderRequest();
  const ModelImageRenderService service(ModelImportService(ModelImportService::commandLineConfiguration()), streams);
  service.render(request);
}

void run(std::span<const std::string> arguments, StandardStreams streams) {
  if (asksForVersion(arguments)) {
    printLine(productVersionDescription(), streams);
  } else if (asksForHelp(arguments)) {
    printLine(usage, streams);
  } else {
    render(arguments, streams);
  }
}

/// Says on standard error why the run failed; where nobody can be told any more, the exit status alone says it.
int fail(const std::string& description, StandardStreams streams) {
  const std::string text = "ornolith-render: " + description + "\n\n" + std::string(usage) + "\n";
  try {
    writeAll(streams.error, text, "standard error");
  } catch (const SystemError&) {
    return 1;
  }
  return 1;
}

}  // namespace

int runDriver(std::span<const std::string> arguments, StandardStreams streams) {
  try {
    run(arguments, streams);
    return 0;
  } catch (const Error& error) {
    return fail(error.errorDescription(), streams);
  } catch (const std::bad_alloc&) {
    return fail("There is not enough memory.", streams);
  } catch (const std::exception& error) {
    return fail(error.what(), streams);
  }
}

std::string productVersionDescription() {
  return productVersionDescription(embeddedShortVersion, embeddedBundleVersion);
}

std::string productVersionDescription(std::optional<std::string_view> shortVersion,
                                      std::optional<std::string_view> bundleVersion) {
  if (!shortVersion || !bundleVersion) throw CLIError("Embedded product version metadata is missing.");
  return "ornolith-render " + std::string(*shortVersion) + " (" + std::string(*bundleVersion) + ")";
}

}  // namespace ornolith
