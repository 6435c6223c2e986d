#pragma once

#include <map>
#include <memory>
#include <string>

#include "loaders/obj/OBJMaterialName.h"
#include "loaders/obj/SceneKitOBJMaterialNormalization.h"
#include "scenegraph/SCNMaterial.h"

namespace ornolith {

using OBJMaterials = std::map<std::string, std::shared_ptr<SCNMaterial>, std::less<>>;

/// Reads the material libraries that were found: Kd, Ks, Ke, Ns, d, Tr, illum, Pr, Pm, Pc, Pcr and the texture maps,
/// whose files are found by the same rules as `prepare` has them. Colours are sRGB. Of two materials with one name the
/// later counts. A material whose name could end in a comment is there under what stands before it too, unless another
/// has that name. Throws as `prepare` does.
OBJMaterials readOBJMaterials(const SceneKitOBJMaterialNormalization::Prepared& prepared);

}  // namespace ornolith
