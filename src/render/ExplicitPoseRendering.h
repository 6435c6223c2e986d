#pragma once

#include <string>

#include "contracts/ExplicitPoseDocument.h"
#include "foundation/Cancellation.h"
#include "import/formats/ModelFormat.h"
#include "render/ModelRenderRequest.h"
#include "scene/SceneController.h"

namespace ornolith {

/// Renders each pose of `document` into one PNG or into a new directory of pages with an index, as the request's
/// destination says. One camera serves all cells of a view: it is fitted to the union of the bounds of all poses. The
/// model is at rest again afterwards, however this ends.
///
/// A PNG replaces what stands there. A directory is built in a hidden folder beside its place and appears by one
/// rename, complete or not at all; whatever stands there already is never touched. Throws the errors of the steps as
/// they are.
void renderExplicitPoses(const ExplicitPoseDocument& document, const std::string& modelSHA256,
                         ModelFormat importedFormat, SceneController& controller, const ModelRenderRequest& request,
                         const CancellationToken& cancellation = {});

}  // namespace ornolith
