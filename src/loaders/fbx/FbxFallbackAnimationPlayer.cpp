#include "loaders/fbx/FbxFallbackAnimationPlayer.h"

#include <ufbx.h>

#include <utility>

namespace ornolith {

FbxFallbackAnimationPlayer::FbxFallbackAnimationPlayer(ufbx_scene* scene, FileURL modelURL,
                                                       std::vector<FileURL> assetDirectories)
    : scene_(scene), modelURL_(std::move(modelURL)), assetDirectories_(std::move(assetDirectories)) {}

FbxFallbackAnimationPlayer::~FbxFallbackAnimationPlayer() {
  ufbx_free_scene(scene_);
}

}  // namespace ornolith
