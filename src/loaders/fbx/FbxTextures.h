#pragma once

#include <ufbx.h>

#include <string>
#include <string_view>
#include <vector>

#include "loaders/fbx/FbxConversion.h"
#include "scenegraph/SCNMaterial.h"

namespace ornolith {

/// The embedded image bytes that stand for `texture`: its own, its video's, or those of the first other file texture
/// that represents it. Empty where there are none.
ufbx_blob embeddedContent(const ufbx_texture& texture);

/// Makes `property` show `texture`, by its embedded image or its file, with its wrapping, channel and transform. True
/// where it does; false, with `property` as it was, where there is no texture, or no image for it: then the reason goes
/// to `diagnostics`, under `label` and `materialName`. `diagnostics` may be null.
bool ApplyTexture(SCNMaterialProperty& property, const ufbx_texture* texture, const ufbx_mesh& mesh,
                  std::string_view label, const std::string& materialName, FbxConversion& conversion,
                  std::vector<std::string>* diagnostics);

}  // namespace ornolith
