#include "scene/CaptureSuppression.h"

namespace ornolith {

namespace {

void setSuppression(SceneController& controller, bool isSuppressed) {
  controller.isSelectionOverlaySuppressedForCapture = isSuppressed;
  controller.isInteractionOverlaySuppressedForCapture = isSuppressed;
  controller.applySurfaceMode(controller.currentOptions.surfaceMode);
  controller.rebuildViewportOverlays();
}

}  // namespace

void withSelectionOverlaySuppressedForCapture(SceneController& controller, const std::function<void()>& body) {
  const bool saved = controller.isSelectionOverlaySuppressedForCapture;
  if (!saved || !controller.isInteractionOverlaySuppressedForCapture) setSuppression(controller, true);
  body();
  if (controller.isSelectionOverlaySuppressedForCapture != saved ||
      controller.isInteractionOverlaySuppressedForCapture != saved) {
    setSuppression(controller, saved);
  }
}

}  // namespace ornolith
