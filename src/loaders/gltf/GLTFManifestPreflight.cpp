#include "loaders/gltf/GLTFManifestPreflight.h"

#include <vector>

#include "foundation/FileMapping.h"
#include "loaders/gltf/GLTFManifestPreflightError.h"

namespace ornolith {

namespace {

constexpr std::uint32_t containerMagic = 0x46546C67;  // "glTF"
constexpr std::uint32_t containerVersion = 2;
constexpr std::uint32_t jsonChunkType = 0x4E4F534A;    // "JSON"
constexpr std::uint32_t binaryChunkType = 0x004E4942;  // "BIN"
constexpr std::size_t smallestContainer = 20;
constexpr std::size_t containerHeaderSize = 12;
constexpr std::size_t chunkHeaderSize = 8;

[[noreturn]] void throwInvalidGLB() {
  throw GLTFManifestPreflightError(gltf_manifest_preflight_error::InvalidGLB{});
}

std::uint32_t requiredUInt32(std::span<const std::byte> data, std::size_t offset) {
  const std::optional<std::uint32_t> value = GLTFManifestPreflight::uint32(data, static_cast<std::int64_t>(offset));
  if (!value) throwInvalidGLB();
  return *value;
}

/// The container without what lies past its own length.
std::span<const std::byte> container(std::span<const std::byte> data) {
  if (data.size() < smallestContainer) throwInvalidGLB();
  const std::uint32_t length = requiredUInt32(data, 8);
  const bool isSound = requiredUInt32(data, 0) == containerMagic && requiredUInt32(data, 4) == containerVersion &&
                       length >= smallestContainer && length <= data.size();
  if (!isSound) throwInvalidGLB();
  return data.first(length);
}

/// The first chunk of a type; nothing where the chunks end without one.
std::optional<std::span<const std::byte>> chunk(std::span<const std::byte> container, std::uint32_t type) {
  std::size_t offset = containerHeaderSize;
  while (offset + chunkHeaderSize <= container.size()) {
    const std::size_t length = requiredUInt32(container, offset);
    const std::size_t start = offset + chunkHeaderSize;
    if (length > container.size() - start) throwInvalidGLB();
    if (requiredUInt32(container, offset + 4) == type) return container.subspan(start, length);
    offset = start + length;
  }
  if (offset != container.size()) throwInvalidGLB();
  return std::nullopt;
}

}  // namespace

std::optional<std::uint32_t> GLTFManifestPreflight::uint32(std::span<const std::byte> data, std::int64_t offset) {
  constexpr std::size_t size = 4;
  if (offset < 0 || data.size() < size || static_cast<std::uint64_t>(offset) > data.size() - size) return std::nullopt;
  std::uint32_t value = 0;
  for (std::size_t i = size; i-- > 0;) {
    value = value << 8U | std::to_integer<std::uint32_t>(data[static_cast<std::size_t>(offset) + i]);
  }
  return value;
}

std::span<const std::byte> GLTFManifestPreflight::jsonManifest(std::span<const std::byte> data) {
  const auto json = chunk(container(data), jsonChunkType);
  if (!json) throw GLTFManifestPreflightError(gltf_manifest_preflight_error::MissingGLBJSON{});
  return *json;
}

std::optional<std::span<const std::byte>> GLTFManifestPreflight::binaryChunk(std::span<const std::byte> data) {
  try {
    return chunk(container(data), binaryChunkType);
  } catch (const GLTFManifestPreflightError&) {
    // What follows the manifest has not been vetted: a torn chunk there is as good as none.
    return std::nullopt;
  }
}

std::set<std::string> GLTFManifestPreflight::stringSet(std::string_view key, const JSONElement& object) {
  const std::optional<JSONElement> list = object.optionalValue(key);
  if (!list || list->kind() != JSONElement::Kind::array) return {};
  std::set<std::string> texts;
  for (const JSONElement& element : list->elements()) {
    if (element.kind() != JSONElement::Kind::string) return {};
    texts.insert(element.asString());
  }
  return texts;
}

JSONDocument GLTFManifestPreflight::manifest(std::span<const std::byte> data, ModelFormat format) {
  const std::span<const std::byte> text = format == ModelFormat::glb ? jsonManifest(data) : data;
  try {
    JSONDocument document = JSONDocument::parse(text);
    if (document.root().kind() == JSONElement::Kind::object) return document;
  } catch (const JSONError&) {
    // Falls to the one message for every manifest that is none.
  }
  throw GLTFManifestPreflightError(gltf_manifest_preflight_error::InvalidJSON{});
}

GLTFInspection GLTFManifestPreflight::inspection(const JSONElement& manifest) {
  return {stringSet("extensionsRequired", manifest), stringSet("extensionsUsed", manifest)};
}

GLTFInspection GLTFManifestPreflight::inspect(const FileURL& url, ModelFormat format) {
  const FileMapping file(url);
  return inspection(manifest(file.bytes(), format).root());
}

}  // namespace ornolith
