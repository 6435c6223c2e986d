#include "cli/RenderCLIParser.h"

#include <array>
#include <cmath>
#include <iterator>
#include <optional>
#include <vector>

#include "foundation/NumberText.h"
#include "foundation/Text.h"

namespace ornolith {

namespace {

using Values = std::span<const std::string>;

/// One row of the option table.
struct Option {
  std::string_view name;
  std::size_t valueCount;
  /// Whether the option has been given before; null where it may be repeated.
  bool (*isAlreadySet)(const RenderCLIOptions& options);
  /// Whether the option means nothing for an inventory.
  bool isRenderOnly;
  void (*apply)(RenderCLIOptions& options, Values values);
};

constexpr bool renderOnly = true;
constexpr bool always = false;

template <typename Enumeration>
Enumeration named(std::optional<Enumeration> value, const std::string& text, std::string_view what,
                  std::string_view choices) {
  if (!value) throw CLIError("Invalid " + std::string(what) + " '" + text + "'. Use " + std::string(choices) + ".");
  return *value;
}

void requireAutomaticCamera(const std::string& text) {
  if (text != "auto") throw CLIError("Invalid camera '" + text + "'. Only 'auto' is supported for --camera.");
}

constexpr std::array<Option, 21> optionTable{{
    {"--output", 1, [](const RenderCLIOptions& o) { return o.outputURL.has_value(); }, renderOnly,
     [](RenderCLIOptions& o, Values v) { o.outputURL = FileURL(v[0]); }},
    {"--output-directory", 1, [](const RenderCLIOptions& o) { return o.outputDirectoryURL.has_value(); }, renderOnly,
     [](RenderCLIOptions& o, Values v) { o.outputDirectoryURL = FileURL(v[0], true); }},
    {"--list-parts", 0, [](const RenderCLIOptions& o) { return o.listsParts; }, always,
     [](RenderCLIOptions& o, Values) { o.listsParts = true; }},
    {"--width", 1, nullptr, renderOnly,
     [](RenderCLIOptions& o, Values v) { o.width = RenderCLIParser::positiveInteger(v[0], "width"); }},
    {"--height", 1, nullptr, renderOnly,
     [](RenderCLIOptions& o, Values v) { o.height = RenderCLIParser::positiveInteger(v[0], "height"); }},
    {"--tile-width", 1, nullptr, renderOnly,
     [](RenderCLIOptions& o, Values v) {
       o.tileWidth = RenderCLIParser::positiveInteger(v[0], "tile-width");
       o.usesExplicitTileWidth = true;
     }},
    {"--tile-height", 1, nullptr, renderOnly,
     [](RenderCLIOptions& o, Values v) {
       o.tileHeight = RenderCLIParser::positiveInteger(v[0], "tile-height");
       o.usesExplicitTileHeight = true;
     }},
    {"--layout", 1, nullptr, renderOnly,
     [](RenderCLIOptions& o, Values v) {
       o.layout = named(fromRawValue<ModelRenderLayout>(v[0]), v[0], "layout", "single, contact-4, or contact-6");
     }},
    {"--contact-arrangement", 1, nullptr, renderOnly,
     [](RenderCLIOptions& o, Values v) {
       o.contactArrangement =
           named(fromRawValue<ContactSheetArrangement>(v[0]), v[0], "contact-arrangement", "grid or strip");
     }},
    {"--surface", 1, nullptr, renderOnly,
     [](RenderCLIOptions& o, Values v) {
       o.surfaceMode =
           named(fromRawValue<SurfaceMode>(v[0]), v[0], "surface", "textured, untextured, transparent, or mesh");
     }},
    {"--background", 1, nullptr, renderOnly,
     [](RenderCLIOptions& o, Values v) { o.background = RenderCLIParser::background(v[0]); }},
    {"--camera", 1, nullptr, renderOnly,
     [](RenderCLIOptions& o, Values v) {
       requireAutomaticCamera(v[0]);
       o.usesExplicitAutomaticCamera = true;
     }},
    {"--camera-position", 1, nullptr, renderOnly,
     [](RenderCLIOptions& o, Values v) { o.cameraPosition = RenderCLIParser::vector(v[0], "camera-position"); }},
    {"--camera-target", 1, nullptr, renderOnly,
     [](RenderCLIOptions& o, Values v) { o.cameraTarget = RenderCLIParser::vector(v[0], "camera-target"); }},
    {"--fov", 1, nullptr, renderOnly,
     [](RenderCLIOptions& o, Values v) { o.fieldOfView = RenderCLIParser::fieldOfView(v[0]); }},
    {"--camera-preset", 1, [](const RenderCLIOptions& o) { return o.cameraPresetURL.has_value(); }, renderOnly,
     [](RenderCLIOptions& o, Values v) { o.cameraPresetURL = FileURL(v[0]); }},
    {"--asset-dir", 1, nullptr, always,
     [](RenderCLIOptions& o, Values v) { o.assetDirectories.emplace_back(v[0], true); }},
    {"--rotate-part", 2, nullptr, renderOnly,
     [](RenderCLIOptions& o, Values v) {
       ModelPartSelector selector = ModelPartSelector::parsing(v[0]);
       o.rotations.push_back({std::move(selector), LocalRotationDegrees::fromAxisSpec(v[1])});
     }},
    {"--pose-file", 1, [](const RenderCLIOptions& o) { return o.poseFileURL.has_value(); }, renderOnly,
     [](RenderCLIOptions& o, Values v) { o.poseFileURL = FileURL(v[0]); }},
    {"--show-pivot", 0, nullptr, renderOnly, [](RenderCLIOptions& o, Values) { o.showsPivot = true; }},
    {"--show-rigging", 0, nullptr, renderOnly, [](RenderCLIOptions& o, Values) { o.showsRigging = true; }},
}};

const Option* optionNamed(std::string_view argument) {
  for (const Option& option : optionTable) {
    if (option.name == argument) return &option;
  }
  return nullptr;
}

/// The values of `option`, which stands at `index`; moves `index` on to the last of them.
Values takeValues(const Option& option, Values arguments, std::size_t& index) {
  if (option.valueCount == 2) return RenderCLIParser::twoValues(option.name, arguments, index);
  if (option.valueCount == 0) return {};
  if (index + 1 >= arguments.size()) throw CLIError("Missing value for " + std::string(option.name) + ".");
  ++index;
  return arguments.subspan(index, 1);
}

void takeModelPath(RenderCLIOptions& options, const std::string& argument) {
  if (argument.starts_with("--")) throw CLIError("Unknown option '" + argument + "'.");
  if (options.inputURL) throw CLIError("Only one input model path is supported.");
  options.inputURL = FileURL(argument);
}

void validateRotations(const RenderCLIOptions& options) {
  if (options.rotations.empty()) return;
  if (options.poseFileURL) throw CLIError("--pose-file cannot be combined with --rotate-part.");
  if (std::ssize(options.rotations) > ExplicitPoseDocument::maximumRotationCount) {
    throw CLIError("A command-line pose may contain at most 256 --rotate-part entries.");
  }
  commandLinePoseDocument(options.rotations).validate();
}

}  // namespace

RenderCLIOptions RenderCLIParser::parse(std::span<const std::string> arguments) {
  RenderCLIOptions options;
  std::set<std::string, std::less<>> renderOnlyOptions;
  for (std::size_t index = 0; index < arguments.size(); ++index) {
    const Option* const option = optionNamed(arguments[index]);
    if (option == nullptr) {
      takeModelPath(options, arguments[index]);
      continue;
    }
    if (option->isAlreadySet != nullptr && option->isAlreadySet(options)) {
      throw CLIError(std::string(option->name) + " may only be specified once.");
    }
    option->apply(options, takeValues(*option, arguments, index));
    if (option->isRenderOnly) renderOnlyOptions.emplace(option->name);
  }
  validateCombinations(options, renderOnlyOptions);
  return options;
}

std::int64_t RenderCLIParser::positiveInteger(std::string_view text, std::string_view name) {
  const std::optional<std::int64_t> value = parseInt64(text);
  if (!value || *value <= 0) {
    throw CLIError("Invalid " + std::string(name) + " '" + std::string(text) + "'. Use a positive integer.");
  }
  return *value;
}

RenderBackground RenderCLIParser::background(std::string_view text) {
  if (text == "transparent") return RenderBackground::transparent();
  if (characterCount(text) == 7 && text.front() == '#') {
    if (const std::optional<std::uint32_t> number = parseUInt32(text.substr(1), 16)) {
      const auto channel = [&](unsigned shift) { return static_cast<double>((*number >> shift) & 255U) / 255.0; };
      return {.color = RenderRGBAColor{channel(16), channel(8), channel(0), 1.0}};
    }
  }
  throw CLIError("Invalid background '" + std::string(text) + "'. Use transparent or #RRGGBB.");
}

simd_double3 RenderCLIParser::vector(std::string_view text, std::string_view name) {
  const CLIError invalid("Invalid " + std::string(name) + " '" + std::string(text) + "'. Use x,y,z.");
  const std::vector<std::string_view> pieces = splitting(text, ',');
  if (pieces.size() != 3) throw invalid;
  simd_double3 result;
  for (std::size_t axis = 0; axis < 3; ++axis) {
    const std::optional<float> component = parseFloat(pieces[axis]);
    if (!component || !std::isfinite(*component)) throw invalid;
    result[axis] = static_cast<double>(*component);
  }
  return result;
}

double RenderCLIParser::fieldOfView(std::string_view text) {
  const std::optional<double> degrees = parseDouble(text);
  if (!degrees || !(*degrees > 0 && *degrees < 180)) {
    throw CLIError("Invalid fov '" + std::string(text) + "'. Use degrees between 0 and 180.");
  }
  return *degrees;
}

std::span<const std::string> RenderCLIParser::twoValues(std::string_view option, std::span<const std::string> arguments,
                                                        std::size_t& index) {
  if (index + 2 >= arguments.size()) {
    throw CLIError("Missing selector or axis specification for " + std::string(option) + ".");
  }
  index += 2;
  return arguments.subspan(index - 1, 2);
}

void RenderCLIParser::validateCombinations(const RenderCLIOptions& options,
                                           const std::set<std::string, std::less<>>& renderOnlyOptions) {
  if (options.listsParts && !renderOnlyOptions.empty()) {
    throw CLIError("--list-parts cannot be combined with " + *renderOnlyOptions.begin() + ".");
  }
  if (options.outputURL && options.outputDirectoryURL) {
    throw CLIError("--output cannot be combined with --output-directory.");
  }
  validateRotations(options);
  if ((options.usesExplicitTileWidth || options.usesExplicitTileHeight) && !options.outputDirectoryURL) {
    throw CLIError("--tile-width and --tile-height require --output-directory.");
  }
  if (options.outputDirectoryURL && !options.poseFileURL && options.rotations.empty()) {
    throw CLIError("--output-directory requires --pose-file or at least one --rotate-part.");
  }
}

}  // namespace ornolith
