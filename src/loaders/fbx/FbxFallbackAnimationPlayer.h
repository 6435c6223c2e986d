#pragma once

#include <memory>
#include <vector>

#include "foundation/FileURL.h"

struct ufbx_scene;

namespace ornolith {

/// Owns the FBX library's scene for as long as a model lives, with what is needed to evaluate its animation again.
class FbxFallbackAnimationPlayer {
 public:
  /// Takes `scene`, which is freed when the player is destroyed.
  FbxFallbackAnimationPlayer(ufbx_scene* scene, FileURL modelURL, std::vector<FileURL> assetDirectories);
  ~FbxFallbackAnimationPlayer();
  FbxFallbackAnimationPlayer(const FbxFallbackAnimationPlayer&) = delete;
  FbxFallbackAnimationPlayer& operator=(const FbxFallbackAnimationPlayer&) = delete;

  const ufbx_scene& scene() const noexcept { return *scene_; }
  const FileURL& modelURL() const noexcept { return modelURL_; }
  const std::vector<FileURL>& assetDirectories() const noexcept { return assetDirectories_; }

 private:
  ufbx_scene* scene_;
  FileURL modelURL_;
  std::vector<FileURL> assetDirectories_;
};

}  // namespace ornolith
