#include "cli/RenderCLIOptions.h"

#include <string>
#include <utility>

#include "cli/CLIError.h"
#include "foundation/FileSystem.h"
#include "imaging/Image.h"
#include "import/formats/ModelFormat.h"

namespace ornolith {

namespace {

bool isExistingNonDirectory(const FileURL& url) {
  return fileExists(url) && !directoryExists(url);
}

ModelRenderDestination requestedDestination(const RenderCLIOptions& options) {
  if (options.listsParts) return model_render_destination::PartsList{};
  if (options.outputURL) {
    if (options.outputURL->lowercasedPathExtension() != "png") {
      throw CLIError("Unsupported output extension '." + options.outputURL->pathExtension() + "'. PNG is required.");
    }
    return model_render_destination::Png{*options.outputURL};
  }
  if (options.outputDirectoryURL) return model_render_destination::Directory{*options.outputDirectoryURL};
  throw CLIError("Missing --output, --output-directory, or --list-parts.");
}

void checkContactSheet(const RenderCLIOptions& options) {
  if (options.layout == ModelRenderLayout::single) return;
  if (!isOutputImageSize(options.width, options.height)) {
    throw CLIError("Contact-sheet output is limited to 16 megapixels and 8192 pixels per dimension.");
  }
  if (options.cameraPosition || options.cameraTarget) {
    throw CLIError("--camera-position and --camera-target are only supported with --layout single.");
  }
}

void checkCameraPresetCombinations(const RenderCLIOptions& options) {
  if (!options.cameraPresetURL) return;
  if (options.layout != ModelRenderLayout::single) {
    throw CLIError("--camera-preset is only supported with --layout single.");
  }
  if (options.usesExplicitAutomaticCamera || options.cameraPosition || options.cameraTarget || options.fieldOfView) {
    throw CLIError("--camera-preset cannot be combined with --camera, --camera-position, --camera-target, or --fov.");
  }
}

void checkModel(const FileURL& url) {
  if (!modelFormat(url.lowercasedPathExtension())) {
    throw CLIError("Unsupported input model extension '." + url.pathExtension() +
                   "'. Supported: " + supportedFileListDescription() + ".");
  }
  if (!isExistingNonDirectory(url)) throw CLIError("Input model not found: " + url.path());
}

void checkAssetDirectories(const std::vector<FileURL>& directories) {
  for (const FileURL& directory : directories) {
    if (!directoryExists(directory)) throw CLIError("Asset directory not found: " + directory.path());
  }
}

/// The document that `load` gives; its failures, but for a `CLIError`, come out as those of the file that was named.
template <typename Load>
auto namingFile(const char* kind, const FileURL& url, Load load) {
  try {
    return load();
  } catch (const CLIError&) {
    throw;
  } catch (const Error& error) {
    throw CLIError("Invalid " + std::string(kind) + " '" + url.path() + "': " + error.errorDescription());
  }
}

/// Throws `DocumentError` where a regular file has more bytes than a document may have.
template <typename DocumentError, typename PayloadTooLarge>
void checkSize(const FileAttributes& attributes, std::int64_t maximumByteCount) {
  if (attributes.type == FileType::regular && std::cmp_greater(attributes.size, maximumByteCount)) {
    throw DocumentError(PayloadTooLarge{.maximumByteCount = maximumByteCount});
  }
}

/// What a file holds, but not more than one byte over what a document may have: enough for its reader to refuse it.
FileBytes readBounded(const FileURL& url, std::int64_t maximumByteCount, FinalLink finalLink) {
  return readFile(url, static_cast<std::size_t>(maximumByteCount) + 1, finalLink);
}

}  // namespace

ModelRenderRequest RenderCLIOptions::renderRequest() const {
  if (!inputURL) throw CLIError("Missing input model path.");
  ModelRenderDestination destination = requestedDestination(*this);
  checkContactSheet(*this);
  checkCameraPresetCombinations(*this);
  checkModel(*inputURL);
  checkAssetDirectories(assetDirectories);
  std::optional<CameraPresetDocument> cameraPreset;
  if (cameraPresetURL) cameraPreset = loadCameraPreset(*cameraPresetURL);
  std::optional<ExplicitPoseDocument> poseDocument = requestedPoseDocument();

  // It has been found to be no directory: a slash at the end of the path makes it none.
  return {.modelURL = FileURL(inputURL->path()),
          .destination = std::move(destination),
          .assetDirectories = assetDirectories,
          .width = width,
          .height = height,
          .tileWidth = tileWidth,
          .tileHeight = tileHeight,
          .layout = layout,
          .contactArrangement = contactArrangement,
          .options = {.surfaceMode = surfaceMode,
                      .showsPivot = showsPivot,
                      .showsRigging = showsRigging,
                      .showsSelectionFrame = true,
                      .showsWorldAxes = false},
          .background = background,
          .cameraPosition = cameraPosition,
          .cameraTarget = cameraTarget,
          .fieldOfView = fieldOfView,
          .cameraPreset = std::move(cameraPreset),
          .explicitPoseDocument = std::move(poseDocument)};
}

std::optional<ExplicitPoseDocument> RenderCLIOptions::requestedPoseDocument() const {
  if (poseFileURL) return loadPoseDocument(*poseFileURL);
  if (rotations.empty()) return std::nullopt;
  ExplicitPoseDocument document = commandLinePoseDocument(rotations);
  document.validate();
  return document;
}

ExplicitPoseDocument RenderCLIOptions::loadPoseDocument(const FileURL& url) {
  if (!isExistingNonDirectory(url)) throw CLIError("Pose file not found: " + url.path());
  return namingFile("pose file", url, [&] {
    constexpr std::int64_t limit = ExplicitPoseDocument::maximumByteCount;
    const FileAttributes attributes = attributesOfItem(url);
    if (attributes.type != FileType::regular) throw CLIError("Pose file must be a regular file: " + url.path());
    checkSize<ExplicitPoseDocumentError, explicit_pose_document_error::PayloadTooLarge>(attributes, limit);
    return ExplicitPoseDocument::decode(readBounded(url, limit, FinalLink::refuse));
  });
}

CameraPresetDocument RenderCLIOptions::loadCameraPreset(const FileURL& url) {
  if (!isExistingNonDirectory(url)) throw CLIError("Camera preset not found: " + url.path());
  return namingFile("camera preset", url, [&] {
    constexpr std::int64_t limit = CameraPresetDocument::maximumByteCount;
    checkSize<CameraPresetDocumentError, camera_preset_document_error::PayloadTooLarge>(attributesOfItem(url), limit);
    return CameraPresetDocument::decode(readBounded(url, limit, FinalLink::follow));
  });
}

ExplicitPoseDocument commandLinePoseDocument(const std::vector<ModelPartRotation>& rotations) {
  ExplicitPoseDocument document;
  document.poses.push_back({.id = "command-line", .label = std::nullopt, .rotations = rotations});
  return document;
}

}  // namespace ornolith
