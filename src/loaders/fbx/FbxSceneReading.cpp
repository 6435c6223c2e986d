#include "loaders/fbx/FbxSceneReading.h"

#include <sys/stat.h>

#include <algorithm>
#include <array>
#include <cstdint>
#include <cstring>

#include "foundation/Text.h"
#include "loaders/fbx/FbxFallbackSceneLoader.h"
#include "loaders/fbx/FbxFileAccess.h"
#include "loaders/fbx/FbxLimits.h"

namespace ornolith {

namespace {

/// The options that decide what a file means. Units are not converted, and hierarchies may be of any depth, which is
/// why nothing here walks them by recursion.
ufbx_load_opts loadOptions(std::uint64_t fileSize, FbxFileAccess& access) {
  ufbx_load_opts options{};
  options.evaluate_skinning = true;
  options.load_external_files = true;
  options.ignore_missing_external_files = true;
  options.clean_skin_weights = true;
  options.use_blender_pbr_material = true;
  options.generate_missing_normals = true;
  options.target_axes = ufbx_axes_right_handed_y_up;
  options.space_conversion = UFBX_SPACE_CONVERSION_MODIFY_GEOMETRY;

  // Bounds on what a file can make the library do; they change no result.
  options.open_file_cb = access.callback();
  options.temp_allocator.memory_limit = fbxMemoryLimit(fbxSceneMemoryFloor, fileSize);
  options.result_allocator.memory_limit = fbxMemoryLimit(fbxSceneMemoryFloor, fileSize);
  return options;
}

FbxSceneHandle checked(ufbx_scene* scene, const ufbx_error& error) {
  if (scene == nullptr) throw FbxLoadError(fbx_error::Unreadable{fbxErrorDescription(error)});
  return FbxSceneHandle(scene);
}

}  // namespace

std::uint64_t fbxFileSize(const FileURL& url) {
  struct stat status {};
  const bool isKnown = ::stat(url.path().c_str(), &status) == 0 && status.st_size > 0;
  return isKnown ? static_cast<std::uint64_t>(status.st_size) : 0;
}

FbxSceneHandle readFbxScene(const FileURL& url) {
  FbxFileAccess access(url.path());
  const ufbx_load_opts options = loadOptions(fbxFileSize(url), access);
  ufbx_error error{};
  ufbx_scene* scene = ufbx_load_file(url.path().c_str(), &options, &error);
  return checked(scene, error);
}

FbxSceneHandle readFbxScene(std::span<const std::byte> contents, const FileURL& url) {
  FbxFileAccess access(url.path());
  ufbx_load_opts options = loadOptions(contents.size(), access);
  options.filename.data = url.path().c_str();
  options.filename.length = url.path().size();
  ufbx_error error{};
  ufbx_scene* scene = ufbx_load_memory(contents.data(), contents.size(), &options, &error);
  return checked(scene, error);
}

std::string fbxErrorDescription(const ufbx_error& error) {
  std::array<char, 512> buffer{};
  ufbx_format_error(buffer.data(), buffer.size(), &error);
  std::string text(buffer.data(), ::strnlen(buffer.data(), buffer.size()));
  return isValidUTF8(text) ? text : "FBX konnte nicht gelesen werden.";
}

void throwFbxMemoryLimitExceeded(const char* what) {
  ufbx_error error{};
  error.type = UFBX_ERROR_MEMORY_LIMIT;
  error.description.data = "Memory limit exceeded";
  error.description.length = std::strlen(error.description.data);
  error.info_length = std::min(std::strlen(what), sizeof(error.info) - 1);
  std::copy_n(what, error.info_length, error.info);
  throw FbxLoadError(fbx_error::Unreadable{fbxErrorDescription(error)});
}

}  // namespace ornolith
