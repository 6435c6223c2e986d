#pragma once

#include <map>
#include <memory>
#include <string>
#include <string_view>

#include "loaders/obj/SceneKitOBJMaterialNormalization.h"
#include "scenegraph/SCNMaterial.h"

namespace ornolith {

using OBJMaterials = std::map<std::string, std::shared_ptr<SCNMaterial>, std::less<>>;

/// The name that the rest of a "newmtl" or "usemtl" line means: runs of blanks count as one, quotes around it do not
/// count, and bytes that are no UTF-8 are replaced.
std::string objMaterialName(std::string_view rest);

/// Reads the material libraries that were found: Kd, Ks, Ke, Ns, d, Tr, illum, Pr, Pm, Pc, Pcr and the texture maps,
/// whose files are found by the same rules as `prepare` has them. Colours are sRGB. Of two materials with one name the
/// later counts. Throws as `prepare` does.
OBJMaterials readOBJMaterials(const SceneKitOBJMaterialNormalization::Prepared& prepared);

}  // namespace ornolith
