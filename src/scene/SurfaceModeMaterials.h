#pragma once

#include <memory>

#include "contracts/RenderOutputOptions.h"
#include "scene/OriginalMaterials.h"
#include "scene/SceneModelEntry.h"
#include "scenegraph/NSColor.h"
#include "scenegraph/SCNMaterial.h"
#include "scenegraph/SCNNode.h"

namespace ornolith {

/// A new material of a surface mode other than textured: grey clay, x-ray glass or black wire lines.
std::shared_ptr<SCNMaterial> makeSurfaceModeMaterial(SurfaceMode mode);

/// Gives `node`'s geometry the materials of `mode`, a new one for each slot it has and at least one. Textured puts back
/// what `originalMaterials` knows and leaves any other geometry as it is.
void applySurfaceMode(SurfaceMode mode, const SCNNode& node, const OriginalMaterials& originalMaterials);

/// Gives each geometry below the entry's root that belongs to a part the colour of the part's role: pivot orange,
/// moving teal, fixed indigo, any other red.
void applyPartDiagnosticColors(const SceneModelEntry& entry);

}  // namespace ornolith
