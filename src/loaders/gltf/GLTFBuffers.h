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
#include "loaders/gltf/GLTFDocument.h"
#include "loaders/gltf/GLTFLimits.h"

namespace ornolith {

/// The bytes of a glTF document's buffers, buffer views and resources: the binary chunk of a GLB container, data URIs,
/// and files of one folder, below which no link is followed. Buffers are fetched at their first use, so that what nobody
/// asks for need not be there. One thread at a time; what was handed out stays valid as long as this object.
class GLTFBuffers {
 public:
  /// `binaryChunk` is absent for a plain glTF file. `document`, the chunk's memory and `budget` must outlive this object.
  GLTFBuffers(const GLTFDocument& document, std::optional<std::span<const std::byte>> binaryChunk,
              FileURL resourceFolder, GLTFMemoryBudget& budget);
  ~GLTFBuffers();
  GLTFBuffers(const GLTFBuffers&) = delete;
  GLTFBuffers& operator=(const GLTFBuffers&) = delete;

  /// The bytes of buffer view `index`, decompressed where the file has them compressed. Throws `GLTFReadError` where
  /// there is no such view, where it lies outside its buffer, or where the buffer cannot be had.
  std::span<const std::byte> bytesOfView(std::uint32_t index);

  /// The bytes that a data URI holds or that the file under a relative URI holds. Throws `GLTFReadError` for a URI that
  /// is neither, and for a file that is not there or cannot be read.
  std::span<const std::byte> bytesOfURI(std::string_view uri);

  /// The regular file in the resource folder that a relative URI means; nothing for a data URI, an unsafe URI, and where
  /// no such file is.
  std::optional<FileURL> fileOfURI(std::string_view uri) const;

  /// A stretch of a buffer view's bytes as data that a geometry source can hold.
  struct SharedBytes {
    std::shared_ptr<const std::vector<std::byte>> data;
    std::size_t offset = 0;  ///< Where the view begins in `data`; a multiple of 4 where the view's offset is one.
  };
  /// The bytes of buffer view `index` as data to be kept beyond this object. Views that overlap share it.
  /// Throws as `bytesOfView`.
  SharedBytes sharedBytesOfView(std::uint32_t index);

 private:
  struct Storage;
  std::unique_ptr<Storage> storage_;
};

/// Whether `uri` is a data URI (RFC 2397).
bool isDataURI(std::string_view uri) noexcept;

/// The media type that a data URI states, in lower case without parameters; empty where it states none.
std::string mediaTypeOfDataURI(std::string_view uri);

}  // namespace ornolith
