#pragma once

#include <cstddef>
#include <cstdint>
#include <memory>
#include <optional>
#include <span>
#include <string>
#include <vector>

#include "foundation/Error.h"
#include "foundation/FileURL.h"
#include "loaders/fbx/FbxFallbackAnimationPlayer.h"
#include "scenegraph/SCNScene.h"

namespace ornolith {

namespace fbx_error {
/// Code 1: the FBX library refused the file; the description is its text.
struct Unreadable {
  std::string description;
  bool operator==(const Unreadable&) const = default;
};
/// Code 2: the file was read, but no node received geometry.
struct NoGeometry {
  bool operator==(const NoGeometry&) const = default;
};
}  // namespace fbx_error

/// The failures of the FBX loader, of the domain "FbxFallbackSceneLoader".
class FbxLoadError final : public TypedError<FbxLoadError, fbx_error::Unreadable, fbx_error::NoGeometry> {
 public:
  using TypedError::TypedError;
  static constexpr const char* domain = "FbxFallbackSceneLoader";
  int code() const noexcept;
  static std::string describe(const fbx_error::Unreadable& error);
  static std::string describe(const fbx_error::NoGeometry& error);
};

/// One animation stack of a file.
struct FbxAnimation {
  std::string id;  ///< "0-Take": position and name.
  std::string name;
  double startTime = 0;                   ///< Seconds.
  double endTime = 0;                     ///< Seconds.
  double duration = 0;                    ///< Seconds, never negative.
  std::optional<double> framesPerSecond;  ///< Only where the file states a rate above 0.
  bool operator==(const FbxAnimation&) const = default;
};

/// What the FBX loader built from one file.
struct FbxFallbackLoadResult {
  std::shared_ptr<SCNScene> scene;
  std::uint64_t skeletonCount = 0;
  std::uint64_t boneCount = 0;
  std::vector<FbxAnimation> animations;
  std::vector<std::string> diagnostics;  ///< Free-text findings in the order in which they arose.
  bool usedMaterialFallback = false;     ///< Some surface shows the neutral colour.
  std::shared_ptr<FbxFallbackAnimationPlayer> animationPlayer;  ///< Owns the FBX library's scene.
};

struct FbxFallbackSceneLoader {
  /// Reads the FBX file at `url` and builds a scene from it. A rigid model keeps its hierarchy; one that is animated,
  /// skinned or deformed becomes a flat list of nodes with vertices in world space. Textures are searched in the file's
  /// folder and then in `assetDirectories`, in order; embedded images are decoded here, files when a frame needs them.
  /// Throws `FbxLoadError`.
  static FbxFallbackLoadResult loadSceneAtURL(const FileURL& url, const std::vector<FileURL>& assetDirectories);

  /// The same of a file's bytes, as if they stood at `url`.
  static FbxFallbackLoadResult loadSceneFromContents(std::span<const std::byte> contents, const FileURL& url,
                                                     const std::vector<FileURL>& assetDirectories);
};

}  // namespace ornolith
