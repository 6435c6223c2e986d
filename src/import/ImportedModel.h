#pragma once

#include <optional>
#include <string>
#include <vector>

#include "foundation/FileURL.h"
#include "import/formats/ModelFormat.h"
#include "import/formats/ModelLoadDiagnostic.h"
#include "parts/RigidArticulationDescriptor.h"

namespace ornolith {

/// What an import has brought into the import root.
struct ImportedModel {
  FileURL modelURL;                       ///< The staged copy of the primary model.
  std::vector<FileURL> assetDirectories;  ///< The import root, then every folder in it, parents before children.
  ModelFormat format = ModelFormat::fbx;
  FileURL importRoot;
  std::vector<ModelLoadDiagnostic> diagnostics;  ///< In order of emission.
  std::optional<FileURL> articulationReportURL;  ///< The report's staged copy, also where it then fails to decode.
  std::optional<std::string> modelSHA256;        ///< Of the staged model; set exactly where a report was staged.
  std::optional<RigidArticulationDescriptor> rigidArticulationDescriptor;
  /// True where a report was meant for this model but could not be used: no hierarchy must be inferred in its place.
  bool blocksRigidArticulationInference = false;
};

}  // namespace ornolith
