#pragma once

#include <ufbx.h>

#include <cstddef>
#include <cstdint>
#include <memory>
#include <span>
#include <string>

#include "foundation/FileURL.h"

namespace ornolith {

struct FbxSceneFree {
  void operator()(ufbx_scene* scene) const noexcept { ufbx_free_scene(scene); }
};
/// The FBX library's scene, with its owner.
using FbxSceneHandle = std::unique_ptr<ufbx_scene, FbxSceneFree>;

/// The scene of the file at `url`. Throws `FbxLoadError` with the library's text where it refuses the file, a missing
/// one included.
FbxSceneHandle readFbxScene(const FileURL& url);

/// The same of a file's bytes, which are read as if they stood at `url`; nothing is read from there. `contents` is
/// needed no longer than the call.
FbxSceneHandle readFbxScene(std::span<const std::byte> contents, const FileURL& url);

/// The size of the file at `url` in bytes, by which its limits go; 0 where there is none.
std::uint64_t fbxFileSize(const FileURL& url);

/// The library's own text of `error`, or a text of ours where that is not UTF-8.
std::string fbxErrorDescription(const ufbx_error& error);

/// Throws `FbxLoadError` in the library's words for a file that would take more memory than its size warrants; `what`
/// names what was being made.
[[noreturn]] void throwFbxMemoryLimitExceeded(const char* what);

}  // namespace ornolith
