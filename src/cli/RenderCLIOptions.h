#pragma once

#include <cstdint>
#include <optional>
#include <vector>

#include "contracts/CameraPresetDocument.h"
#include "contracts/ExplicitPoseDocument.h"
#include "contracts/ModelPartSelector.h"
#include "contracts/RenderOutputOptions.h"
#include "foundation/FileURL.h"
#include "foundation/LinearAlgebra.h"
#include "render/ModelRenderRequest.h"

namespace ornolith {

/// What the command line says, before any look at the file system.
struct RenderCLIOptions {
  std::optional<FileURL> inputURL;
  std::optional<FileURL> outputURL;
  std::optional<FileURL> outputDirectoryURL;
  bool listsParts = false;
  std::int64_t width = 1024;      ///< Pixels, positive.
  std::int64_t height = 1024;     ///< Pixels, positive.
  std::int64_t tileWidth = 512;   ///< Pixels, positive.
  std::int64_t tileHeight = 512;  ///< Pixels, positive.
  bool usesExplicitTileWidth = false;
  bool usesExplicitTileHeight = false;
  ModelRenderLayout layout = ModelRenderLayout::single;
  ContactSheetArrangement contactArrangement = ContactSheetArrangement::grid;
  SurfaceMode surfaceMode = SurfaceMode::textured;
  RenderBackground background = RenderBackground::transparent();
  std::optional<simd_double3> cameraPosition;  ///< Finite, of single precision; units of the scene.
  std::optional<simd_double3> cameraTarget;    ///< Finite, of single precision; units of the scene.
  std::optional<double> fieldOfView;           ///< Degrees, between 0 and 180, both excluded.
  std::optional<FileURL> cameraPresetURL;
  bool usesExplicitAutomaticCamera = false;
  std::vector<FileURL> assetDirectories;
  std::vector<ModelPartRotation> rotations;
  std::optional<FileURL> poseFileURL;
  bool showsPivot = false;
  bool showsRigging = false;

  /// The render job that these options ask for. Checks them against each other and against the file system, and loads
  /// the documents that they name; the first failure, in a fixed order, is thrown as a `CLIError` (or as the error of
  /// the pose contract for a bad rotation).
  ModelRenderRequest renderRequest() const;

  /// The poses of `--pose-file`, or the one pose of `--rotate-part`, or nothing.
  std::optional<ExplicitPoseDocument> requestedPoseDocument() const;

  /// The document of a pose file, which must be a regular file, no link, of at most 16 MiB. Throws `CLIError`.
  static ExplicitPoseDocument loadPoseDocument(const FileURL& url);

  /// The document of a camera preset, which must be a regular file (a link to one will do) of at most 64 KiB. Throws
  /// `CLIError`.
  static CameraPresetDocument loadCameraPreset(const FileURL& url);
};

/// The document of one pose, named "command-line", that holds the rotations of the command line in their order.
ExplicitPoseDocument commandLinePoseDocument(const std::vector<ModelPartRotation>& rotations);

}  // namespace ornolith
