#include "loaders/obj/OBJResources.h"

#include <algorithm>
#include <cstdlib>
#include <cstring>
#include <memory>

#include "foundation/FileMapping.h"
#include "foundation/FileSystem.h"
#include "foundation/RelativeResourcePath.h"
#include "loaders/obj/SceneKitOBJMaterialError.h"

namespace ornolith {

namespace {

std::optional<FileURL> resolvingSymbolicLinks(const FileURL& url) {
  const std::unique_ptr<char, decltype(&std::free)> resolved(::realpath(url.path().c_str(), nullptr), &std::free);
  if (!resolved) return std::nullopt;
  return FileURL(resolved.get(), url.hasDirectoryPath());
}

bool isBelow(const FileURL& item, const FileURL& root) {
  if (root.path() == "/") return item.path().size() > 1;
  return item.path().size() > root.path().size() && item.path().starts_with(root.path()) &&
         item.path()[root.path().size()] == '/';
}

bool holdTheSame(const FileURL& left, const FileURL& right) {
  const FileAttributes leftAttributes = attributesOfItem(left);
  const FileAttributes rightAttributes = attributesOfItem(right);
  if (leftAttributes.isSameItem(rightAttributes)) return true;
  if (leftAttributes.size != rightAttributes.size) return false;
  const FileMapping leftBytes(left, FinalLink::refuse);
  const FileMapping rightBytes(right, FinalLink::refuse);
  return leftBytes.text() == rightBytes.text();
}

}  // namespace

std::vector<FileURL> canonicalRoots(const std::vector<FileURL>& folders) {
  std::vector<FileURL> roots;
  for (const FileURL& folder : folders) {
    const std::optional<FileURL> root = resolvingSymbolicLinks(folder);
    if (!root || !directoryExists(*root) || std::find(roots.begin(), roots.end(), *root) != roots.end()) continue;
    roots.push_back(*root);
  }
  return roots;
}

bool pathContainsSymbolicLink(const FileURL& root, const std::string& relativePath) {
  FileURL item = root;
  std::size_t begin = 0;
  while (begin < relativePath.size()) {
    const std::size_t end = std::min(relativePath.find('/', begin), relativePath.size());
    if (end > begin) {
      item = item.appendingPathComponent(std::string_view(relativePath).substr(begin, end - begin));
      const std::optional<FileAttributes> attributes = attributesOfItemIfReadable(item);
      if (attributes && attributes->type == FileType::symbolicLink) return true;
    }
    begin = end + 1;
  }
  return false;
}

std::optional<FileURL> OBJResourceFinder::resolveResource(const std::string& reference) {
  const auto known = found_.find(reference);
  if (known != found_.end()) return known->second;
  std::optional<FileURL> file = find(reference);
  found_.emplace(reference, file);
  return file;
}

std::optional<FileURL> OBJResourceFinder::find(const std::string& reference) const {
  namespace error = scene_kit_obj_material_error;
  const std::optional<std::string> path = relativeResourcePathOfFileName(reference);
  if (!path) throw SceneKitOBJMaterialError(error::UnsafeResourcePath{reference});
  std::optional<FileURL> file;
  for (const FileURL& root : roots_) {
    const FileURL candidate = root.appendingPathComponent(*path);
    if (!isBelow(candidate, root)) throw SceneKitOBJMaterialError(error::ResourceEscapesAllowedRoots{reference});
    if (!fileExists(candidate)) continue;
    if (pathContainsSymbolicLink(root, *path)) throw SceneKitOBJMaterialError(error::SymbolicLinkNotAllowed{reference});
    const std::optional<FileURL> resolved = resolvingSymbolicLinks(candidate);
    if (!resolved) continue;
    if (!isBelow(*resolved, root)) throw SceneKitOBJMaterialError(error::ResourceEscapesAllowedRoots{reference});
    if (attributesOfItem(*resolved).type != FileType::regular) continue;
    if (!file) {
      file = resolved;
    } else if (*file != *resolved && !holdTheSame(*file, *resolved)) {
      throw SceneKitOBJMaterialError(error::AmbiguousResourcePath{reference});
    }
  }
  return file;
}

}  // namespace ornolith
