#pragma once

#include <cstddef>
#include <functional>
#include <map>
#include <memory>
#include <optional>
#include <string>
#include <vector>

#include "foundation/JSON.h"
#include "loaders/gltf/GLTFBuffers.h"
#include "scenegraph/SCNMaterial.h"

namespace ornolith {

/// The images of a glTF document as contents of material properties: a file by its URL; a buffer view or a data URI as
/// its encoded bytes. Nothing is decoded here. However many images name the same file or bytes, they share one object,
/// and so it is decoded once.
class GLTFImages {
 public:
  /// `root` is the document's top object; its document and `buffers` must outlive this object.
  GLTFImages(const JSONElement& root, GLTFBuffers& buffers);

  /// The contents that show image `index`; no contents where there is no such image, where its bytes are not there, and
  /// where these are no image of a known kind by their beginning.
  const SCNMaterialContents& contents(std::size_t index);

 private:
  SCNMaterialContents read(const JSONElement& image);

  GLTFBuffers& buffers_;
  std::vector<JSONElement> images_;
  std::vector<std::optional<SCNMaterialContents>> contents_;  // By image.
  std::map<GLTFIndex, SCNMaterialContents> contentsByView_;
  std::map<std::string, SCNMaterialContents, std::less<>> contentsByURI_;
};

}  // namespace ornolith
