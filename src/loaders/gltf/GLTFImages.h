#pragma once

#include <cstddef>
#include <functional>
#include <memory>
#include <optional>
#include <span>
#include <string>
#include <string_view>
#include <vector>

#include "foundation/FileURL.h"
#include "foundation/JSON.h"
#include "imaging/EncodedImage.h"
#include "scenegraph/SCNMaterial.h"

namespace ornolith {

/// Where the bytes of images are found. Each gives nothing where there are none; none throws but for lack of memory.
struct GLTFImageSources {
  /// The bytes of a buffer view, with what keeps them alive.
  std::function<std::optional<EncodedImage>(std::size_t bufferView)> bufferView;
  /// The file that a URI without a scheme names, inside the folders that files may come from.
  std::function<std::optional<FileURL>(const std::string& uri)> file;
};

/// The images of a glTF document as contents of material properties: a file by its URL; a buffer view or a data URI as
/// its encoded bytes. Nothing is decoded here. However many textures use an image, they share one object, and so it is
/// decoded once.
class GLTFImages {
 public:
  /// `root` is the document's top object; it must outlive this one.
  GLTFImages(const JSONElement& root, GLTFImageSources sources);

  /// The contents that show image `index`; no contents where there is no such image or its bytes are not there.
  const SCNMaterialContents& contents(std::size_t index);

 private:
  SCNMaterialContents read(const JSONElement& image) const;

  GLTFImageSources sources_;
  std::vector<JSONElement> images_;
  std::vector<std::optional<SCNMaterialContents>> contents_;
};

}  // namespace ornolith
