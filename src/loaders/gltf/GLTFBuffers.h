#pragma once

#include <cstddef>
#include <cstdint>
#include <map>
#include <memory>
#include <optional>
#include <span>
#include <string>
#include <string_view>
#include <vector>

#include "foundation/FileURL.h"
#include "foundation/SharedBytes.h"
#include "loaders/gltf/GLTFDocument.h"
#include "loaders/gltf/GLTFLimits.h"

namespace ornolith {

/// Bytes in memory, with what keeps them there.
struct GLTFBytes {
  std::span<const std::byte> bytes;
  std::shared_ptr<const void> owner;

  SharedBytes shared() const { return {owner, bytes}; }
};

/// The bytes of a glTF document's buffers, buffer views and resources: the binary chunk of a GLB container, data URIs,
/// and files of one folder, below which no link is followed. Buffers are fetched at their first use, so that what
/// nobody asks for need not be there; files and chunks are handed out in place. One thread at a time.
class GLTFBuffers {
 public:
  /// `binaryChunk` is absent for a plain glTF file. `document` and `budget` must outlive this object.
  GLTFBuffers(const GLTFDocument& document, std::optional<GLTFBytes> binaryChunk, FileURL resourceFolder,
              GLTFMemoryBudget& budget);
  GLTFBuffers(const GLTFBuffers&) = delete;
  GLTFBuffers& operator=(const GLTFBuffers&) = delete;

  /// The bytes of buffer view `index`, decompressed where the file has them compressed. Throws `GLTFReadError` where
  /// there is no such view, where it lies outside its buffer, or where the buffer cannot be had.
  GLTFBytes bytesOfView(GLTFIndex index);

  /// The bytes that a data URI holds or that the file under a relative URI holds. Throws `GLTFReadError` for a URI that
  /// is neither and for a file that is not there, `SystemError` ("read") for one that cannot be read.
  GLTFBytes bytesOfURI(std::string_view uri);

  /// The regular file in the resource folder that a relative URI means; nothing for a data URI, for an unsafe URI, and
  /// where no such file is.
  std::optional<FileURL> fileOfURI(std::string_view uri) const;

 private:
  GLTFBytes fetch(GLTFIndex buffer);
  const GLTFBytes& buffer(GLTFIndex index);
  GLTFBytes stretch(GLTFIndex buffer, std::uint64_t offset, std::uint64_t length, GLTFIndex view);

  const GLTFDocument& document_;
  std::optional<GLTFBytes> binaryChunk_;
  FileURL resourceFolder_;
  GLTFMemoryBudget& budget_;
  std::vector<std::optional<GLTFBytes>> buffers_;
  std::map<FileURL, GLTFBytes> files_;
  std::map<GLTFIndex, GLTFBytes> decompressedViews_;
};

}  // namespace ornolith
