#include "import/GLTFReferences.h"

#include <algorithm>
#include <cstdint>
#include <optional>
#include <set>
#include <utility>

#include "foundation/FileSystem.h"
#include "foundation/JSON.h"
#include "foundation/RelativeResourcePath.h"
#include "import/ModelImportError.h"

namespace ornolith {

namespace {

/// Manifests hold whole models where their buffers are inline, but the parser counts in 32 bits.
constexpr std::size_t maximumManifestByteCount = std::size_t{2} << 30;

/// The members that hold `key`'s list of objects; any other shape counts as an empty list.
std::vector<JSONElement> objectsUnder(const JSONElement& root, std::string_view key) {
  const std::optional<JSONElement> list = root.optionalValue(key);
  if (!list || list->kind() != JSONElement::Kind::array) return {};
  std::vector<JSONElement> objects = list->elements();
  const bool areObjects = std::all_of(objects.begin(), objects.end(), [](const JSONElement& element) {
    return element.kind() == JSONElement::Kind::object;
  });
  return areObjects ? objects : std::vector<JSONElement>();
}

}  // namespace

std::vector<std::string> gltfResourceURIs(const FileURL& manifest) {
  const FileBytes bytes = readFile(manifest, maximumManifestByteCount + 1, FinalLink::refuse);
  if (bytes.size() > maximumManifestByteCount) {
    throw ModelImportError(model_import_error::InvalidGLTFManifest{manifest});
  }
  const JSONDocument document = JSONDocument::parse(bytes);
  if (document.root().kind() != JSONElement::Kind::object) {
    throw ModelImportError(model_import_error::InvalidGLTFManifest{manifest});
  }
  std::set<std::string> uris;
  for (const std::string_view key : {"buffers", "images"}) {
    for (const JSONElement& object : objectsUnder(document.root(), key)) {
      const std::optional<JSONElement> uri = object.optionalValue("uri");
      if (!uri || uri->kind() != JSONElement::Kind::string) continue;
      uris.insert(uri->asString());
    }
  }
  return {uris.begin(), uris.end()};
}

std::string gltfResourcePath(const std::string& uri) {
  std::optional<std::string> path = relativeResourcePath(uri);
  if (!path) throw ModelImportError(model_import_error::UnsafeResourcePath{uri});
  return *std::move(path);
}

}  // namespace ornolith
