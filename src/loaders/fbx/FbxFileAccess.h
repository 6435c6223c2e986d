#pragma once

#include <ufbx.h>

#include <string>

namespace ornolith {

/// Which files the FBX library may open for one model: the model itself, and what the model refers to (geometry caches,
/// material libraries) where that lies in the model's folder or below it when all links have been followed. Everything
/// else, and everything that is no regular file, is to the library as if it did not exist; so a model cannot reach out
/// of its folder, nor wait on a pipe. This is no option that changes what a file means: files that a model may use are
/// read as the library's own opening would read them.
class FbxFileAccess {
 public:
  /// `modelPath` is the path under which the library will open the model.
  explicit FbxFileAccess(std::string modelPath);
  FbxFileAccess(const FbxFileAccess&) = delete;
  FbxFileAccess& operator=(const FbxFileAccess&) = delete;

  /// For the library's options; this object must outlive their use.
  ufbx_open_file_cb callback() noexcept;

 private:
  static bool open(void* user, ufbx_stream* stream, const char* path, size_t length, const ufbx_open_file_info* info);
  /// `path` without links, where that lies below the model's folder; empty otherwise.
  std::string realPathInFolder(const std::string& path) const;

  std::string modelPath_;
  std::string realFolder_;  ///< The model's folder without links, or empty where there is none.
};

}  // namespace ornolith
