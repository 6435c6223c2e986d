#pragma once

#include <optional>
#include <string>
#include <vector>

#include "foundation/FileURL.h"
#include "foundation/UUID.h"
#include "import/formats/ModelFormat.h"
#include "import/formats/ModelLoadDiagnostic.h"
#include "parts/PartPresentationState.h"
#include "parts/RigidArticulationDescriptor.h"
#include "viewport/ModelInfo.h"
#include "viewport/ModelTransform.h"

namespace ornolith {

/// One model in a viewport document. Its `id` is its identity in collections.
struct ViewportModelInstance {
  UUID id;
  std::optional<UUID> libraryItemID;
  std::string displayName;
  ModelFormat format = ModelFormat::fbx;
  std::string modelPath;
  std::vector<std::string> assetDirectoryPaths;
  ModelTransform transform;
  ModelInfo modelInfo;
  std::optional<std::string> selectedAnimationID;
  std::vector<ModelLoadDiagnostic> diagnostics;
  std::optional<RigidArticulationDescriptor> rigidArticulationDescriptor;
  bool blocksRigidArticulationInference = false;
  PartPresentationState partPresentationState;

  /// The asset folders in order: a path that begins with "/" as it stands, any other below `base`.
  std::vector<FileURL> resolvedAssetDirectories(const FileURL& base) const;

  /// The keys are the field names. `libraryItemID`, `selectedAnimationID` and what stands from `diagnostics` on may be
  /// absent.
  static ViewportModelInstance fromJSON(const JSONElement& element);
  JSONValue toJSON() const;

  bool operator==(const ViewportModelInstance&) const = default;
};

}  // namespace ornolith
