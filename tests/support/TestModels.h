#pragma once

#include <algorithm>
#include <cstdlib>
#include <filesystem>
#include <initializer_list>
#include <string_view>
#include <system_error>
#include <vector>

#include "foundation/FileURL.h"

namespace ornolith::testsupport {

/// The folder of models from other people's exporters: the one that the environment variable `ORNOLITH_TEST_MODELS`
/// names, or `shared/models` beside the checkout. It need not be there.
inline std::filesystem::path sharedModels() {
  const char* configured = std::getenv("ORNOLITH_TEST_MODELS");
  return configured != nullptr ? std::filesystem::path(configured)
                               : std::filesystem::path(__FILE__).parent_path() / "../../../shared/models";
}

/// The regular files below `folder` with one of these extensions, in any case of letters, by their paths; none where
/// there is no such folder.
inline std::vector<std::filesystem::path> filesBelow(const std::filesystem::path& folder,
                                                     std::initializer_list<std::string_view> extensions) {
  std::vector<std::filesystem::path> files;
  std::error_code ignored;
  for (const auto& entry : std::filesystem::recursive_directory_iterator(folder, ignored)) {
    const auto extension = FileURL(entry.path().string()).lowercasedPathExtension();
    const bool isWanted = std::find(extensions.begin(), extensions.end(), extension) != extensions.end();
    if (isWanted && entry.is_regular_file()) files.push_back(entry.path());
  }
  std::sort(files.begin(), files.end());
  return files;
}

}  // namespace ornolith::testsupport
