#include "render/ContactSheetRenderError.h"

namespace ornolith {

using namespace contact_sheet_render_error;

std::string ContactSheetRenderError::describe(const InvalidLayout&) {
  return "Contact-sheet rendering requires contact-4 or contact-6.";
}
std::string ContactSheetRenderError::describe(const InvalidOutputSize&) {
  return "Contact-sheet width and height must be positive and representable.";
}
std::string ContactSheetRenderError::describe(const InvalidBackground&) {
  return "Contact-sheet color components must be finite values between 0 and 1.";
}
std::string ContactSheetRenderError::describe(const InvalidFieldOfView&) {
  return "Contact-sheet field of view must be greater than 0 and less than 180 degrees.";
}
std::string ContactSheetRenderError::describe(const MetalDeviceUnavailable&) {
  return "Metal device unavailable. SceneKit offscreen rendering requires GPU access.";
}
std::string ContactSheetRenderError::describe(const BitmapCreationFailed&) {
  return "The contact-sheet bitmap could not be created.";
}
std::string ContactSheetRenderError::describe(const ImageConversionFailed&) {
  return "A rendered contact-sheet view could not be converted to an image.";
}
std::string ContactSheetRenderError::describe(const PngEncodingFailed&) {
  return "The contact sheet could not be encoded as PNG.";
}

}  // namespace ornolith
