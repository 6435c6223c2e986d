#pragma once

#include <cstddef>
#include <cstdint>
#include <optional>
#include <set>
#include <span>
#include <string>
#include <string_view>

#include "foundation/FileURL.h"
#include "foundation/JSON.h"
#include "import/formats/ModelFormat.h"
#include "loaders/gltf/GLTFInspection.h"

namespace ornolith {

/// A look at the manifest of a glTF file before anything is built from it, so that a file whose demands cannot be met
/// is refused with a clear message.
struct GLTFManifestPreflight {
  /// The extensions that the file at `url` names. Throws `SystemError` and `GLTFManifestPreflightError`.
  static GLTFInspection inspect(const FileURL& url, ModelFormat format);

  /// The manifest of a file's bytes: those of the JSON chunk for `glb`, all of them otherwise, as a JSON object. Throws
  /// `GLTFManifestPreflightError`.
  static JSONDocument manifest(std::span<const std::byte> data, ModelFormat format);
  /// What `inspect` reads from a manifest's top object.
  static GLTFInspection inspection(const JSONElement& manifest);

  /// The bytes of the JSON chunk of a GLB container (glTF 2.0, section 4.4). The chunks may stand in any order and have
  /// any length; bytes past the container's own length are ignored. Throws `GLTFManifestPreflightError`.
  static std::span<const std::byte> jsonManifest(std::span<const std::byte> data);
  /// The bytes of the first binary chunk of a container in which `jsonManifest` finds a manifest, or nothing.
  static std::optional<std::span<const std::byte>> binaryChunk(std::span<const std::byte> data);

  /// The little-endian number at `offset`; nothing where its four bytes do not lie in `data`.
  static std::optional<std::uint32_t> uint32(std::span<const std::byte> data, std::int64_t offset);

  /// The texts under `key`, where there is a list of nothing but texts; empty otherwise.
  static std::set<std::string> stringSet(std::string_view key, const JSONElement& object);
};

}  // namespace ornolith
