#pragma once

#include <cstddef>
#include <memory>
#include <span>
#include <string>
#include <vector>

#include "loaders/gltf/GLTFDocument.h"
#include "loaders/gltf/GLTFLimits.h"

namespace ornolith {

/// The `count * byteStride` bytes of a compressed buffer view (Khronos, "EXT_meshopt_compression"), its filter undone.
/// The same bytes on every machine. Throws `GLTFReadError` for damaged data and for layouts that the mode or the filter
/// does not allow; `subject` names the view in the message.
std::shared_ptr<const std::vector<std::byte>> decompressMeshopt(const GLTFMeshoptCompression& compression,
                                                                std::span<const std::byte> source,
                                                                const std::string& subject, GLTFMemoryBudget& budget);

}  // namespace ornolith
