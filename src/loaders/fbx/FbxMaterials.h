#pragma once

#include <ufbx.h>

#include <memory>
#include <string>
#include <vector>

#include "loaders/fbx/FbxConversion.h"
#include "scenegraph/SCNMaterial.h"

namespace ornolith {

/// A material of one mesh.
struct FbxMappedMaterial {
  std::shared_ptr<SCNMaterial> material;
  bool usedFallback = false;  ///< The surface shows the neutral colour, for want of any other.
};

/// The physically based material that stands for `source` on `mesh`; without a source the neutral one. Texture faults
/// leave a text in `diagnostics`, which may be null, and the value that the source has besides.
FbxMappedMaterial mapMaterial(const ufbx_material* source, const ufbx_mesh& mesh, FbxConversion& conversion,
                              std::vector<std::string>* diagnostics);

/// The embedded image bytes that `mapMaterial` would show for `source`.
std::vector<ufbx_blob> embeddedContentsOfMaterial(const ufbx_material& source);

}  // namespace ornolith
