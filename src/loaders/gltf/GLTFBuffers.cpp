#include "loaders/gltf/GLTFBuffers.h"

#include <utility>

#include "foundation/Directory.h"
#include "foundation/FileMapping.h"
#include "foundation/RelativeResourcePath.h"
#include "foundation/SystemError.h"
#include "foundation/Text.h"
#include "loaders/gltf/GLTFDataURI.h"
#include "loaders/gltf/GLTFMeshopt.h"
#include "loaders/gltf/GLTFReadError.h"

namespace ornolith {

namespace {

std::string nameOf(const char* kind, GLTFIndex index) {
  return std::string(kind) + " " + std::to_string(index);
}

/// The URI for a message, which a long one would drown.
std::string quoted(std::string_view uri) {
  constexpr std::size_t longest = 200;
  return "'" + repairingUTF8(uri.substr(0, longest)) + (uri.size() > longest ? "...'" : "'");
}

}  // namespace

GLTFBuffers::GLTFBuffers(const GLTFDocument& document, std::optional<GLTFBytes> binaryChunk, FileURL resourceFolder,
                         GLTFMemoryBudget& budget)
    : document_(document),
      binaryChunk_(std::move(binaryChunk)),
      resourceFolder_(std::move(resourceFolder)),
      budget_(budget),
      buffers_(document.buffers.size()) {}

// Resources.

std::optional<FileURL> GLTFBuffers::fileOfURI(std::string_view uri) const {
  if (isDataURI(uri)) return std::nullopt;
  const std::optional<std::string> path = relativeResourcePath(uri);
  if (!path) return std::nullopt;
  try {
    DirectoryCursor folder = DirectoryCursor::open(resourceFolder_, FinalLink::follow);
    const std::vector<std::string_view> components = splitting(*path, '/');
    for (std::size_t i = 0; i + 1 < components.size(); ++i) folder.descend(std::string(components[i]));
    const auto attributes = folder.attributesOfEntry(std::string(components.back()));
    if (!attributes || attributes->type != FileType::regular) return std::nullopt;
  } catch (const SystemError&) {
    return std::nullopt;
  }
  return resourceFolder_.appendingPathComponent(*path);
}

GLTFBytes GLTFBuffers::bytesOfURI(std::string_view uri) {
  if (isDataURI(uri)) {
    std::optional<std::vector<std::byte>> decoded = decodeDataURI(uri);
    if (!decoded) throwMalformedGLTF("The data URI " + quoted(uri) + " is malformed.");
    auto data = std::make_shared<const std::vector<std::byte>>(*std::move(decoded));
    return {*data, data};
  }
  const std::optional<FileURL> file = fileOfURI(uri);
  if (!file) throwMalformedGLTF("The file " + quoted(uri) + " was not found.");
  if (const auto known = files_.find(*file); known != files_.end()) return known->second;
  auto mapping = std::make_shared<const FileMapping>(*file, FinalLink::refuse);
  budget_.addFileBytes(mapping->bytes().size());
  return files_[*file] = {mapping->bytes(), mapping};
}

// Buffers.

GLTFBytes GLTFBuffers::fetch(GLTFIndex index) {
  const GLTFBuffer& buffer = document_.buffers[index];
  if (buffer.uri) return bytesOfURI(*buffer.uri);
  // Only the first buffer may stand for the chunk of a GLB container.
  if (index == 0 && binaryChunk_) return *binaryChunk_;
  throwMalformedGLTF("The " + nameOf("buffer", index) + " has no data.");
}

const GLTFBytes& GLTFBuffers::buffer(GLTFIndex index) {
  std::optional<GLTFBytes>& known = buffers_.at(index);
  if (!known) {
    GLTFBytes fetched = fetch(index);
    const std::uint64_t length = document_.buffers[index].byteLength;
    if (fetched.bytes.size() < length) {
      throwMalformedGLTF("The " + nameOf("buffer", index) + " is to have " + std::to_string(length) +
                         " bytes, but there are only " + std::to_string(fetched.bytes.size()) + ".");
    }
    fetched.bytes = fetched.bytes.first(static_cast<std::size_t>(length));
    known = std::move(fetched);
  }
  return *known;
}

GLTFBytes GLTFBuffers::stretch(GLTFIndex index, std::uint64_t offset, std::uint64_t length, GLTFIndex view) {
  const GLTFBytes& whole = buffer(index);
  if (offset > whole.bytes.size() || length > whole.bytes.size() - offset) {
    throwMalformedGLTF("The " + nameOf("buffer view", view) + " lies outside its buffer.");
  }
  return {whole.bytes.subspan(static_cast<std::size_t>(offset), static_cast<std::size_t>(length)), whole.owner};
}

// Views.

GLTFBytes GLTFBuffers::bytesOfView(GLTFIndex index) {
  if (index >= document_.bufferViews.size()) {
    throwMalformedGLTF("There is no " + nameOf("buffer view", index) + ".");
  }
  const GLTFBufferView& view = document_.bufferViews[index];
  if (!view.compression) return stretch(view.buffer, view.byteOffset, view.byteLength, index);
  if (const auto known = decompressedViews_.find(index); known != decompressedViews_.end()) return known->second;
  const GLTFMeshoptCompression& compression = *view.compression;
  const GLTFBytes source = stretch(compression.buffer, compression.byteOffset, compression.byteLength, index);
  auto data = decompressMeshopt(compression, source.bytes, nameOf("buffer view", index), budget_);
  return decompressedViews_[index] = {*data, data};
}

}  // namespace ornolith
