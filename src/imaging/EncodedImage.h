#pragma once

#include <cstddef>
#include <memory>
#include <span>

namespace ornolith {

/// An image as its file holds it, in memory: the bytes that `decodeImage` takes.
struct EncodedImage {
  std::span<const std::byte> bytes;
  std::shared_ptr<const void> owner;  ///< Keeps `bytes` alive.
};

}  // namespace ornolith
