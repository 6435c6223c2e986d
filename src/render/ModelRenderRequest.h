#pragma once

#include <cstdint>
#include <optional>
#include <variant>
#include <vector>

#include "contracts/CameraPresetDocument.h"
#include "contracts/ExplicitPoseDocument.h"
#include "contracts/RenderOutputOptions.h"
#include "foundation/FileURL.h"
#include "foundation/LinearAlgebra.h"

namespace ornolith {

namespace model_render_destination {
/// Write one PNG here; an existing file is replaced.
struct Png {
  FileURL url;
  bool operator==(const Png&) const = default;
};
/// Write a new pose-series directory here.
struct Directory {
  FileURL url;
  bool operator==(const Directory&) const = default;
};
/// Print the inventory to standard output.
struct PartsList {
  bool operator==(const PartsList&) const = default;
};
}  // namespace model_render_destination

using ModelRenderDestination = std::variant<model_render_destination::Png, model_render_destination::Directory,
                                            model_render_destination::PartsList>;

/// One complete render job.
struct ModelRenderRequest {
  FileURL modelURL;
  ModelRenderDestination destination;
  std::vector<FileURL> assetDirectories;  ///< Searched behind the folders of the import.
  std::int64_t width = 1024;              ///< Pixels, positive.
  std::int64_t height = 1024;             ///< Pixels, positive.
  std::int64_t tileWidth = 512;           ///< Pixels, positive.
  std::int64_t tileHeight = 512;          ///< Pixels, positive.
  ModelRenderLayout layout = ModelRenderLayout::single;
  ContactSheetArrangement contactArrangement = ContactSheetArrangement::grid;
  ViewerOptions options;
  RenderBackground background;
  std::optional<simd_double3> cameraPosition;  ///< Units of the scene.
  std::optional<simd_double3> cameraTarget;    ///< Units of the scene.
  std::optional<double> fieldOfView;           ///< Degrees, vertical.
  std::optional<CameraPresetDocument> cameraPreset;
  std::optional<ExplicitPoseDocument> explicitPoseDocument;
};

}  // namespace ornolith
