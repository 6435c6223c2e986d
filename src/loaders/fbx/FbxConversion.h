#pragma once

#include <ufbx.h>

#include <array>
#include <cstdint>
#include <map>
#include <memory>
#include <optional>
#include <string>
#include <tuple>
#include <unordered_map>
#include <vector>

#include "foundation/FileURL.h"
#include "loaders/fbx/FbxEmbeddedImages.h"
#include "loaders/fbx/FbxLimits.h"

namespace ornolith {

struct FbxMeshStreams;

/// Everything that the conversion of one file's meshes has in common. It refers to the FBX library's scene, which must
/// outlive it.
struct FbxConversion {
  /// `fileSize` is the size of the model in bytes; it sets what the conversion may cost in memory and its result in
  /// drawing.
  FbxConversion(FileURL modelURL, std::vector<FileURL> assetDirectories, std::uint64_t fileSize);
  ~FbxConversion();
  FbxConversion(const FbxConversion&) = delete;
  FbxConversion& operator=(const FbxConversion&) = delete;

  const FileURL modelURL;
  const std::vector<FileURL> assetDirectories;
  FbxEmbeddedImages images;
  FbxMemoryBudget budget;   ///< What the conversion may take.
  FbxMemoryBudget drawing;  ///< What its result may cost to draw; instances count each.

  /// Appends `text` to `diagnostics` where that is given. Throws `FbxLoadError` where the file would leave more
  /// findings than its size warrants.
  void report(std::vector<std::string>* diagnostics, std::string text);

  /// `ResolvedPathForSingleTexture`, searched for once per texture.
  const std::optional<std::string>& resolvedPath(const ufbx_texture& texture);

  /// What the streams of a mesh in the authored hierarchy depend on: the mesh, its group count and the bits of its
  /// transform.
  using StreamKey = std::tuple<std::uint32_t, std::size_t, std::array<std::uint64_t, 12>>;
  /// The streams that instances of one mesh share.
  std::map<StreamKey, std::shared_ptr<const FbxMeshStreams>> sharedStreams;

 private:
  std::unordered_map<std::uint32_t, std::optional<std::string>> resolvedPaths_;
};

}  // namespace ornolith
