#include "scenegraph/SCNMaterial.h"

namespace ornolith {

bool holdsImage(const SCNMaterialContents& contents) noexcept {
  return std::holds_alternative<std::string>(contents) || std::holds_alternative<FileURL>(contents) ||
         std::holds_alternative<std::shared_ptr<const Image>>(contents) ||
         std::holds_alternative<std::shared_ptr<const EncodedImage>>(contents);
}

SCNMaterial::SCNMaterial() {
  diffuse.contents = NSColor::whiteColor();
  roughness.contents = 0.5;
  metalness.contents = 0.0;
  emission.contents = NSColor::blackColor();
  transparent.contents = NSColor::whiteColor();
  specular.contents = NSColor::blackColor();
  ambientOcclusion.contents = NSColor::whiteColor();
  clearCoat.contents = 0.0;
  clearCoatRoughness.contents = 0.0;
  specularTint.contents = NSColor::whiteColor();
  specularStrength.contents = 1.0;
}

}  // namespace ornolith
