#pragma once

#include <functional>

#include "scene/SceneController.h"

namespace ornolith {

/// Runs `body` with the selection frame, the gizmo and diagnostic colours off, and brings them back afterwards. Both
/// flags return to what the selection flag was. If `body` throws, the flags stay set.
void withSelectionOverlaySuppressedForCapture(SceneController& controller, const std::function<void()>& body);

}  // namespace ornolith
