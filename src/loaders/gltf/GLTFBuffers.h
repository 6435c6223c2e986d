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

/// Bytes in memory, with what keeps them there.
struct GLTFBytes {
  std::span<const std::byte> bytes;
  std::shared_ptr<const void> owner;
};

/// A buffer view as data that a geometry source can hold.
struct GLTFSharedView {
  std::shared_ptr<const std::vector<std::byte>> data;
  std::size_t offset = 0;  ///< Where the view begins in `data`; a multiple of 4 where the view's own offset is one.
};

/// The bytes of a glTF document's buffers, buffer views and resources: the binary chunk of a GLB container, data URIs,
/// and files of one folder, below which no link is followed. Buffers are fetched at their first use, so that what
/// nobody asks for need not be there. One thread at a time.
class GLTFBuffers {
 public:
  /// `binaryChunk` is absent for a plain glTF file. `document` and `budget` must outlive this object.
  GLTFBuffers(const GLTFDocument& document, std::optional<GLTFBytes> binaryChunk, FileURL resourceFolder,
              GLTFMemoryBudget& budget);
  GLTFBuffers(const GLTFBuffers&) = delete;
  GLTFBuffers& operator=(const GLTFBuffers&) = delete;

  /// The bytes of buffer view `index`, decompressed where the file has them compressed. Throws `GLTFReadError` where
  /// there is no such view, where it lies outside its buffer, or where the buffer cannot be had. Nothing is copied.
  GLTFBytes bytesOfView(GLTFIndex index);

  /// The same as data to be kept by a scene. It is one copy for all views of vertex attributes that overlap.
  GLTFSharedView sharedView(GLTFIndex index);

  /// The bytes that a data URI holds or that the file under a relative URI holds. Throws `GLTFReadError` for a URI that
  /// is neither, and for a file that is not there or cannot be read.
  GLTFBytes bytesOfURI(std::string_view uri);

  /// The regular file in the resource folder that a relative URI means; nothing for a data URI, for an unsafe URI, and
  /// where no such file is.
  std::optional<FileURL> fileOfURI(std::string_view uri) const;

 private:
  struct Segment;

  const GLTFBytes& bytesOfBuffer(GLTFIndex index);
  std::span<const std::byte> stretchOfBuffer(GLTFIndex index, std::uint64_t offset, std::uint64_t length,
                                             const std::string& subject, GLTFBytes* whole);
  void findSegments();

  const GLTFDocument& document_;
  std::optional<GLTFBytes> binaryChunk_;
  FileURL resourceFolder_;
  GLTFMemoryBudget& budget_;
  std::vector<std::optional<GLTFBytes>> buffers_;
  std::map<FileURL, GLTFBytes> files_;
  std::map<GLTFIndex, GLTFBytes> decompressedViews_;
  std::map<GLTFIndex, std::size_t> segmentOfView_;
  std::vector<Segment> segments_;
  bool segmentsAreKnown_ = false;
};

}  // namespace ornolith
