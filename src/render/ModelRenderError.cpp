#include "render/ModelRenderError.h"

namespace ornolith {

std::string ModelRenderError::describe(const model_render_error::MetalDeviceUnavailable&) {
  return "Metal device unavailable. SceneKit offscreen rendering requires GPU access.";
}

std::string ModelRenderError::describe(const model_render_error::InvalidOutputDestination&) {
  return "The requested renderer output destination is invalid.";
}

std::string ModelRenderError::describe(const model_render_error::ExplicitPoseOutputRequiresOnePage&) {
  return "This explicit pose plan does not fit in one PNG. Use --output-directory.";
}

std::string ModelRenderError::describe(const model_render_error::ExplicitPoseTilesTooSmall&) {
  return "Every pose tile in a single PNG must be at least 128 by 128 pixels. Use a larger output or "
         "--output-directory.";
}

std::string ModelRenderError::describe(const model_render_error::ExplicitPoseResultMissing&) {
  return "The explicit pose renderer did not produce the requested PNG.";
}

std::string ImageSizeError::describe(const image_size_error::OverPixelBudget& error) {
  return "An image of " + std::to_string(error.width) + " by " + std::to_string(error.height) +
         " pixels cannot be rendered. Output is limited to 16 megapixels and 8192 pixels per dimension.";
}

std::string RenderRoadError::describe(const render_road_error::PivotOverlay&) {
  return "The pivot overlay is not available in this version.";
}

std::string RenderRoadError::describe(const render_road_error::RiggingOverlay&) {
  return "The rigging overlay is not available in this version.";
}

}  // namespace ornolith
