#include "import/StagingArea.h"

#include <algorithm>
#include <cerrno>
#include <climits>
#include <optional>
#include <utility>

#include "foundation/AtomicFile.h"
#include "foundation/FileSystem.h"
#include "foundation/TemporaryItems.h"
#include "foundation/Text.h"
#include "import/ModelImportError.h"

namespace ornolith {

namespace {

constexpr mode_t stagedFolderMode = 0700;

/// The folder above `importRoot`, created where it is missing.
DirectoryCursor openParent(const FileURL& importRoot) {
  const FileURL parent = importRoot.deletingLastPathComponent();
  createDirectory(parent);
  return DirectoryCursor::open(parent, FinalLink::follow);
}

}  // namespace

StagingArea::StagingArea(const FileURL& importRoot) : url_(importRoot), cursor_(openParent(importRoot)) {
  cursor_.descendCreating(importRoot.lastPathComponent(), stagedFolderMode);
  root_ = cursor_.attributes();
  rootDepth_ = cursor_.depth();
}

DirectoryCursor& StagingArea::at(const StagedPath& path) {
  const auto [common, wanted] = std::mismatch(position_.begin(), position_.end(), path.begin(), path.end());
  const auto commonCount = static_cast<std::size_t>(common - position_.begin());
  while (position_.size() > commonCount) {
    cursor_.ascend();
    position_.pop_back();
  }
  for (std::size_t i = commonCount; i < path.size(); ++i) {
    // A longer path could be made step by step, but nobody could open it.
    if (cursor_.pathOf(path[i]).size() >= PATH_MAX) {
      throwSystemError("created", cursor_.pathOf(path[i]), ENAMETOOLONG);
    }
    cursor_.descendCreating(path[i], stagedFolderMode);
    position_.push_back(path[i]);
  }
  return cursor_;
}

void StagingArea::createFolder(const StagedPath& path) {
  at(path);
}

void StagingArea::copyItemIfNeeded(const DirectoryCursor& source, const std::string& name, const StagedPath& path,
                                   const std::string& stagedName) {
  const auto refuseLink = [&] {
    throw ModelImportError(model_import_error::SymbolicLinkNotAllowed{source.pathOf(name)});
  };
  const std::optional<FileAttributes> attributes = source.attributesOfEntry(name);
  if (attributes && attributes->type == FileType::symbolicLink) refuseLink();

  const DirectoryCursor& destination = at(path);
  if (destination.pathOf(stagedName).size() >= PATH_MAX) {
    throwSystemError("copied", source.pathOf(name), ENAMETOOLONG);
  }
  // What is no regular file is refused by the copy; until then nothing is taken away for its sake.
  if (attributes && attributes->type == FileType::regular) {
    if (const std::optional<FileAttributes> existing = destination.attributesOfEntry(stagedName)) {
      if (existing->isSameItem(*attributes)) return;
      removeItemAt(destination.descriptor(), stagedName, destination.pathOf(stagedName));
    }
  }
  try {
    copyRegularFile(source, name, destination, stagedName);
  } catch (const SystemError& error) {
    if (error.code() == ELOOP) refuseLink();
    throw;
  }
}

FileURL StagingArea::write(const std::string& name, std::span<const std::byte> bytes) {
  FileURL destination = url_.appendingPathComponent(name);
  writeFileAtomically(destination, bytes);
  return destination;
}

std::vector<FileURL> StagingArea::collectAssetDirectories() {
  at({});
  const auto subfoldersHere = [this] {
    std::vector<DirectoryEntry> folders = cursor_.entries();
    std::erase_if(folders,
                  [](const DirectoryEntry& entry) { return entry.isHidden() || entry.type != FileType::directory; });
    std::stable_sort(folders.begin(), folders.end(), [](const DirectoryEntry& left, const DirectoryEntry& right) {
      return localizedStandardCompare(left.name, right.name) < 0;
    });
    // Taken from the back.
    std::reverse(folders.begin(), folders.end());
    return folders;
  };

  std::vector<FileURL> collected;
  std::vector<std::vector<DirectoryEntry>> open{subfoldersHere()};
  std::vector<FileURL> folders{url_};
  while (!open.empty()) {
    if (open.back().empty()) {
      open.pop_back();
      folders.pop_back();
      if (!open.empty()) cursor_.ascend();
      continue;
    }
    const std::string name = std::move(open.back().back().name);
    open.back().pop_back();
    cursor_.descend(name);
    folders.push_back(folders.back().appendingPathComponent(name, true));
    collected.push_back(folders.back());
    open.push_back(subfoldersHere());
  }
  return collected;
}

}  // namespace ornolith
