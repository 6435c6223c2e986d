#include "loaders/gltf/GLTFImages.h"

#include <utility>

#include "foundation/FileMapping.h"
#include "foundation/SystemError.h"
#include "imaging/ImageDecoder.h"
#include "loaders/gltf/GLTFDataURI.h"
#include "loaders/gltf/GLTFOptionalValues.h"
#include "loaders/gltf/GLTFReadError.h"

namespace ornolith {

namespace {

const SCNMaterialContents noContents;

/// The contents that show what `bytes` finds. A picture can miss an image, so a failure to find it is none of the load.
template <typename Bytes>
SCNMaterialContents encodedContents(const Bytes& bytes) {
  try {
    GLTFBytes found = bytes();
    if (!imageKind(found.bytes)) return {};
    return std::make_shared<const EncodedImage>(EncodedImage{found.bytes, std::move(found.owner)});
  } catch (const GLTFReadError&) {
    return {};
  }
}

SCNMaterialContents fileContents(FileURL file) {
  try {
    if (!imageKind(FileMapping(file, FinalLink::refuse).bytes())) return {};
    return file;
  } catch (const SystemError&) {
    return {};
  }
}

}  // namespace

GLTFImages::GLTFImages(const JSONElement& root, GLTFBuffers& buffers)
    : buffers_(buffers), images_(optionalList(root, "images")), contents_(images_.size()) {}

const SCNMaterialContents& GLTFImages::contents(std::size_t index) {
  if (index >= images_.size()) return noContents;
  std::optional<SCNMaterialContents>& contents = contents_[index];
  if (!contents) contents = read(images_[index]);
  return *contents;
}

SCNMaterialContents GLTFImages::read(const JSONElement& image) {
  if (const std::optional<GLTFIndex> view = optionalIndex(image, "bufferView")) {
    const auto [place, isNew] = contentsByView_.try_emplace(*view);
    if (isNew) place->second = encodedContents([&] { return buffers_.bytesOfView(*view); });
    return place->second;
  }
  const std::optional<std::string> uri = optionalString(image, "uri");
  if (!uri) return {};
  if (!isDataURI(*uri)) {
    std::optional<FileURL> file = buffers_.fileOfURI(*uri);
    return file ? fileContents(*std::move(file)) : SCNMaterialContents();
  }
  const auto [place, isNew] = contentsByURI_.try_emplace(*uri);
  if (isNew) place->second = encodedContents([&] { return buffers_.bytesOfURI(*uri); });
  return place->second;
}

}  // namespace ornolith
