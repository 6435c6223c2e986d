#include "loaders/fbx/FbxTexturePaths.h"

#include <sys/stat.h>

#include <algorithm>
#include <array>
#include <cstddef>
#include <string_view>

namespace ornolith {

namespace {

enum class Origin { resolvedByLibrary, writtenInFile };

struct Candidate {
  std::string_view text;
  Origin origin;
};

bool isRegularFile(const std::string& path) {
  struct stat status {};
  return ::stat(path.c_str(), &status) == 0 && S_ISREG(status.st_mode);
}

/// Whether a walk along `path` ever stands above the place where it began.
bool climbsOut(std::string_view path) {
  std::ptrdiff_t depth = 0;
  while (!path.empty()) {
    const std::size_t end = std::min(path.find('/'), path.size());
    const std::string_view component = path.substr(0, end);
    if (component == "..") {
      if (--depth < 0) return true;
    } else if (!component.empty() && component != ".") {
      ++depth;
    }
    path.remove_prefix(std::min(end + 1, path.size()));
  }
  return false;
}

/// Whether `path` names a regular file below `folder` with no link on the way from there. What a link leads to was not
/// vetted when the folder was named or filled.
bool isFileInside(const std::string& path, const FileURL& folder) {
  const std::string inside = folder.path() == "/" ? folder.path() : folder.path() + "/";
  if (path.size() <= inside.size() || !path.starts_with(inside)) return false;
  struct stat status {};
  std::size_t end = inside.size();
  do {
    end = std::min(path.find('/', end + 1), path.size());
    if (::lstat(path.substr(0, end).c_str(), &status) != 0 || S_ISLNK(status.st_mode)) return false;
  } while (end < path.size());
  return S_ISREG(status.st_mode);
}

/// The regular file at `name` below `folder`, where the walk there stays below it.
std::optional<std::string> fileBelow(const FileURL& folder, std::string_view name) {
  if (name.empty() || climbsOut(name)) return std::nullopt;
  std::string path = standardizingPath(folder.path() + "/" + std::string(name));
  if (!isFileInside(path, folder)) return std::nullopt;
  return path;
}

std::optional<std::string> fileAtAbsolutePath(const Candidate& candidate, const std::vector<FileURL>& folders) {
  if (!candidate.text.starts_with('/')) return std::nullopt;
  std::string path = standardizingPath(candidate.text);
  const bool isThere = candidate.origin == Origin::resolvedByLibrary
                           ? std::any_of(folders.begin(), folders.end(),
                                         [&path](const FileURL& folder) { return isFileInside(path, folder); })
                           : isRegularFile(path);
  if (!isThere) return std::nullopt;
  return path;
}

}  // namespace

std::string_view lastComponent(std::string_view path, const char* separators) {
  while (!path.empty() && std::string_view(separators).find(path.back()) != std::string_view::npos) {
    path.remove_suffix(1);
  }
  const std::size_t separator = path.find_last_of(separators);
  return separator == std::string_view::npos ? path : path.substr(separator + 1);
}

std::optional<std::string> ResolvedPathForSingleTexture(const ufbx_texture& texture, const FileURL& modelURL,
                                                        const std::vector<FileURL>& assetDirectories) {
  std::vector<FileURL> folders{modelURL.deletingLastPathComponent()};
  folders.insert(folders.end(), assetDirectories.begin(), assetDirectories.end());
  const auto view = [](const ufbx_string& text) { return std::string_view(text.data, text.length); };
  const std::array<Candidate, 3> candidates{{{view(texture.filename), Origin::resolvedByLibrary},
                                             {view(texture.relative_filename), Origin::writtenInFile},
                                             {view(texture.absolute_filename), Origin::writtenInFile}}};

  for (const Candidate& candidate : candidates) {
    if (candidate.text.empty()) continue;
    if (auto path = fileAtAbsolutePath(candidate, folders)) return path;
    for (const FileURL& folder : folders) {
      if (auto path = fileBelow(folder, candidate.text)) return path;
      if (auto path = fileBelow(folder, lastComponent(candidate.text, "/"))) return path;
    }
  }

  // The names by the last component that either kind of separator sets off.
  for (const Candidate& candidate : candidates) {
    for (const FileURL& folder : folders) {
      if (auto path = fileBelow(folder, lastComponent(candidate.text, "/\\"))) return path;
    }
  }
  return std::nullopt;
}

}  // namespace ornolith
