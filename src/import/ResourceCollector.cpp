#include "import/ResourceCollector.h"

#include <cerrno>
#include <climits>
#include <functional>
#include <optional>
#include <string_view>
#include <utility>

#include "foundation/Directory.h"
#include "foundation/FileSystem.h"
#include "foundation/ScopeExit.h"
#include "foundation/Text.h"
#include "import/GLTFReferences.h"
#include "import/ModelImportError.h"

namespace ornolith {

namespace {

bool hasExtension(const std::string& name, const std::set<std::string>& extensions) {
  return extensions.contains(FileURL("/").appendingPathComponent(name).lowercasedPathExtension());
}

/// True exactly for the system's no-such-file condition.
bool isMissingFileError(const Error& error) noexcept {
  const auto* const systemError = dynamic_cast<const SystemError*>(&error);
  return systemError != nullptr && systemError->code() == ENOENT;
}

/// Opens a folder in which to look for assets. A folder that is a link is refused outright.
DirectoryCursor openAssetDirectory(const FileURL& url) {
  try {
    return DirectoryCursor::open(url, FinalLink::refuse);
  } catch (const SystemError& error) {
    if (error.code() == ELOOP) throw ModelImportError(model_import_error::SymbolicLinkNotAllowed{url.path()});
    throw;
  }
}

void requireNoLink(const FileURL& directory) {
  const std::optional<FileAttributes> attributes = attributesOfItemIfReadable(directory);
  if (attributes && attributes->type == FileType::symbolicLink) {
    throw ModelImportError(model_import_error::SymbolicLinkNotAllowed{directory.path()});
  }
}

/// One folder of a walk and how far the walk through it has come.
struct WalkLevel {
  std::vector<DirectoryEntry> entries;
  std::size_t next = 0;
};

/// The next entry of a walk that has begun. Climbs out of the folders that are done with, also in the staging area;
/// nothing at the walk's end.
std::optional<DirectoryEntry> nextEntry(std::vector<WalkLevel>& levels, DirectoryCursor& cursor, StagedPath& staged) {
  while (levels.back().next == levels.back().entries.size()) {
    levels.pop_back();
    if (levels.empty()) return std::nullopt;
    cursor.ascend();
    staged.pop_back();
  }
  WalkLevel& level = levels.back();
  return std::move(level.entries[level.next++]);
}

}  // namespace

ResourceCollector::Extensions ResourceCollector::assetExtensions(ModelFormat format) const {
  Extensions extensions = configuration_.textureExtensions;
  if (format == ModelFormat::obj) extensions.insert("mtl");
  if (format == ModelFormat::gltf) extensions.insert("bin");
  return extensions;
}

void ResourceCollector::copyNearbyAssets(const FileURL& primary, ModelFormat format,
                                         const std::vector<FileURL>& additionalAssetDirectories) {
  const Extensions extensions = assetExtensions(format);
  switch (format) {
    case ModelFormat::gltf:
      copyGLTFResources(primary, additionalAssetDirectories);
      break;
    case ModelFormat::usd:
    case ModelFormat::usda:
    case ModelFormat::usdc: {
      Extensions usdExtensions = extensions;
      usdExtensions.insert(configuration_.usdResourceExtensions.begin(), configuration_.usdResourceExtensions.end());
      copyResourceTree(primary.deletingLastPathComponent(), usdExtensions, format);
      for (const FileURL& directory : additionalAssetDirectories) {
        requireNoLink(directory);
        copyResourceTree(directory, usdExtensions, format);
      }
      break;
    }
    default:
      copyFlatAssets(primary, format, additionalAssetDirectories, extensions);
  }
}

void ResourceCollector::copyFlatAssets(const FileURL& primary, ModelFormat format,
                                       const std::vector<FileURL>& additionalAssetDirectories,
                                       const Extensions& assetExtensions) {
  const FileURL folder = primary.deletingLastPathComponent();
  copyTopLevelAssets(folder, assetExtensions);
  for (const std::string& name : configuration_.knownAssetDirectoryNames) {
    try {
      copyAssetDirectoryIfPresent(folder.appendingPathComponent(name, true), {name}, assetExtensions);
    } catch (const Error&) {
      // A folder that nobody named does not stop an import.
    }
  }
  for (const FileURL& directory : additionalAssetDirectories) {
    const std::string name = directory.lastPathComponent();
    copyAssetDirectoryIfPresent(directory, name == "/" ? StagedPath() : StagedPath{name}, assetExtensions);
  }
  if (format == ModelFormat::fbx) copyEmbeddedMediaFolder(primary, assetExtensions);
}

void ResourceCollector::copyTopLevelAssets(const FileURL& directory, const Extensions& assetExtensions) {
  try {
    const DirectoryCursor cursor = DirectoryCursor::open(directory, FinalLink::follow);
    for (const DirectoryEntry& entry : cursor.entries()) {
      if (entry.isHidden() || entry.type == FileType::directory || !hasExtension(entry.name, assetExtensions)) continue;
      try {
        stagingArea_.copyItemIfNeeded(cursor, entry.name, {}, entry.name);
      } catch (const Error&) {
        // Nobody named this file; the next one may be fine.
      }
    }
  } catch (const Error&) {
    // A folder that cannot be listed has no assets.
  }
}

bool ResourceCollector::copyAssetDirectoryIfPresent(const FileURL& source, const StagedPath& destination,
                                                    const Extensions& assetExtensions) {
  std::optional<DirectoryCursor> opened;
  try {
    opened = openAssetDirectory(source);
  } catch (const SystemError& error) {
    if (isMissingFileError(error)) return false;
    throw;
  }
  DirectoryCursor& cursor = *opened;
  if (stagingArea_.isRoot(cursor.attributes())) return true;

  StagedPath staged = destination;
  std::vector<WalkLevel> levels;
  const auto enterFolder = [&] {
    levels.push_back({cursor.entries(), 0});
    stagingArea_.createFolder(staged);
  };
  enterFolder();
  while (const std::optional<DirectoryEntry> next = nextEntry(levels, cursor, staged)) {
    const DirectoryEntry& entry = *next;
    if (entry.isHidden() || entry.type == FileType::symbolicLink) continue;
    if (entry.type != FileType::directory) {
      if (hasExtension(entry.name, assetExtensions)) {
        stagingArea_.copyItemIfNeeded(cursor, entry.name, staged, entry.name);
      }
      continue;
    }
    try {
      cursor.descend(entry.name);
    } catch (const SystemError& error) {
      if (isMissingFileError(error)) continue;
      if (error.code() == ELOOP) {
        throw ModelImportError(model_import_error::SymbolicLinkNotAllowed{cursor.pathOf(entry.name)});
      }
      throw;
    }
    if (stagingArea_.isRoot(cursor.attributes())) {
      cursor.ascend();
      continue;
    }
    staged.push_back(entry.name);
    enterFolder();
  }
  return true;
}

void ResourceCollector::copyEmbeddedMediaFolder(const FileURL& primary, const Extensions& assetExtensions) {
  const std::string name = primary.lastPathComponentWithoutExtension() + ".fbm";
  const FileURL source = primary.deletingLastPathComponent().appendingPathComponent(name, true);
  try {
    copyAssetDirectoryIfPresent(source, {name}, assetExtensions);
    return;
  } catch (const Error&) {
    if (!configuration_.usesRelatedItemCoordination) {
      appendResourceCopyDiagnostic(source);
      return;
    }
  }
  try {
    copyRelatedAssetDirectory(source, primary, {name}, assetExtensions);
  } catch (const Error& error) {
    if (!isMissingFileError(error)) appendResourceCopyDiagnostic(source);
  }
}

bool ResourceCollector::copyRelatedAssetDirectory(const FileURL& source, const FileURL& primary,
                                                  const StagedPath& destination, const Extensions& assetExtensions) {
  const RelatedItemFilePresenter presenter(primary, source);
  fileCoordinator_.addFilePresenter(presenter);
  const ScopeExit unregister([&] { fileCoordinator_.removeFilePresenter(presenter); });
  bool isPresent = false;
  std::exception_ptr accessorError;
  fileCoordinator_.coordinateReadingItem(source, presenter, [&](const FileURL& url) {
    try {
      isPresent = copyAssetDirectoryIfPresent(url, destination, assetExtensions);
    } catch (...) {
      accessorError = std::current_exception();
    }
  });
  if (accessorError) std::rethrow_exception(accessorError);
  return isPresent;
}

void ResourceCollector::copyResourceTree(const FileURL& root, const Extensions& assetExtensions, ModelFormat format) {
  std::optional<DirectoryCursor> opened;
  std::vector<WalkLevel> levels;
  try {
    opened = DirectoryCursor::open(root, FinalLink::follow);
    levels.push_back({opened->entries(), 0});
  } catch (const SystemError&) {
    return;
  }
  DirectoryCursor& cursor = *opened;
  if (stagingArea_.isRoot(cursor.attributes())) return;

  const auto reportCopyFailure = [&](const std::string& path) {
    report("resource.copy-failed", format, "A resource file could not be imported.", path);
  };
  StagedPath staged;
  while (const std::optional<DirectoryEntry> next = nextEntry(levels, cursor, staged)) {
    const DirectoryEntry& entry = *next;
    if (entry.isHidden()) continue;
    const std::string path = cursor.pathOf(entry.name);
    if (entry.type == FileType::symbolicLink) {
      report("resource.symlink-skipped", format, "Symbolic link was not imported.", path);
    } else if (entry.type == FileType::directory) {
      const std::size_t depth = cursor.depth();
      try {
        if (path.size() >= PATH_MAX) throwSystemError("read", path, ENAMETOOLONG);
        cursor.descend(entry.name);
        if (stagingArea_.isRoot(cursor.attributes())) {
          cursor.ascend();
          continue;
        }
        levels.push_back({cursor.entries(), 0});
        staged.push_back(entry.name);
      } catch (const SystemError&) {
        cursor.ascendTo(depth);
        reportCopyFailure(path);
      }
    } else if (entry.type == FileType::regular && hasExtension(entry.name, assetExtensions)) {
      try {
        stagingArea_.copyItemIfNeeded(cursor, entry.name, staged, entry.name);
      } catch (const Error&) {
        reportCopyFailure(path);
      }
    }
  }
}

void ResourceCollector::copyGLTFResources(const FileURL& manifest,
                                          const std::vector<FileURL>& additionalAssetDirectories) {
  for (const FileURL& directory : additionalAssetDirectories) requireNoLink(directory);
  const std::vector<std::string> uris = gltfResourceURIs(manifest);

  std::vector<DirectoryCursor> searchRoots;
  const auto addSearchRoot = [&searchRoots](const FileURL& url, FinalLink finalLink) {
    try {
      searchRoots.push_back(DirectoryCursor::open(url, finalLink));
    } catch (const SystemError&) {
      // Nothing is found in a folder that is not there.
    }
  };
  addSearchRoot(manifest.deletingLastPathComponent(), FinalLink::follow);
  for (const FileURL& directory : additionalAssetDirectories) addSearchRoot(directory, FinalLink::refuse);

  for (const std::string& uri : uris) {
    if (uri.starts_with("data:")) continue;
    const std::string path = gltfResourcePath(uri);
    StagedPath folder;
    for (const std::string_view part : splitting(path, '/')) folder.emplace_back(part);
    const std::string name = std::move(folder.back());
    folder.pop_back();

    bool isFound = false;
    for (DirectoryCursor& root : searchRoots) {
      // The walk down goes without links, so that a candidate below one counts as absent.
      try {
        for (const std::string& part : folder) root.descend(part);
        const std::optional<FileAttributes> attributes = root.attributesOfEntry(name);
        isFound = attributes && attributes->type != FileType::symbolicLink && attributes->type != FileType::directory;
      } catch (const SystemError&) {
        isFound = false;
      }
      if (isFound) stagingArea_.copyItemIfNeeded(root, name, folder, name);
      root.ascendTo(0);
      if (isFound) break;
    }
    if (!isFound) {
      report("resource.missing", ModelFormat::gltf, "glTF resource '" + uri + "' was not found.", uri);
    }
  }
}

void ResourceCollector::appendResourceCopyDiagnostic(const FileURL& source) {
  report("resource.copy-failed", ModelFormat::fbx, "A resource file could not be imported.", source.path());
}

void ResourceCollector::report(std::string code, ModelFormat format, std::string message, std::string resourcePath) {
  diagnostics_.push_back({.severity = ModelDiagnosticSeverity::warning,
                          .code = std::move(code),
                          .format = format,
                          .message = std::move(message),
                          .resourcePath = std::move(resourcePath)});
}

}  // namespace ornolith
