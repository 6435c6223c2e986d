#include "loaders/fbx/FbxConversion.h"

#include <utility>

#include "loaders/fbx/FbxMeshStreams.h"
#include "loaders/fbx/FbxSceneReading.h"
#include "loaders/fbx/FbxTexturePaths.h"

namespace ornolith {

FbxConversion::FbxConversion(FileURL url, std::vector<FileURL> directories, std::uint64_t fileSize)
    : modelURL(std::move(url)),
      assetDirectories(std::move(directories)),
      images(fbxMemoryLimit(fbxResultMemoryFloor, fileSize)),
      budget(fbxMemoryLimit(fbxResultMemoryFloor, fileSize)),
      drawing(fbxDrawingLimit(fileSize)) {}

FbxConversion::~FbxConversion() = default;

void FbxConversion::report(std::vector<std::string>* diagnostics, std::string text) {
  if (diagnostics == nullptr) return;
  if (!budget.take(sizeof(std::string) + text.size())) throwFbxMemoryLimitExceeded("diagnostics");
  diagnostics->push_back(std::move(text));
}

const std::optional<std::string>& FbxConversion::resolvedPath(const ufbx_texture& texture) {
  const auto [place, isNew] = resolvedPaths_.try_emplace(texture.element_id);
  if (isNew) place->second = ResolvedPathForSingleTexture(texture, modelURL, assetDirectories);
  return place->second;
}

}  // namespace ornolith
