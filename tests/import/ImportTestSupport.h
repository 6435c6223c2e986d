#pragma once

#include <gmock/gmock.h>

#include <algorithm>
#include <filesystem>
#include <string>
#include <vector>

#include "foundation/Directory.h"
#include "foundation/FileSystem.h"
#include "import/ModelImportService.h"
#include "support/TemporaryFolder.h"

namespace ornolith::testsupport {

/// A folder for sources ("src"), an import root beside it ("root"), and a service.
class ImportFixture : public testing::Test {
 protected:
  ImportFixture() { folder.makeDirectory("src"); }

  FileURL source(const std::string& name) const { return FileURL(folder / "src/" + name); }
  FileURL put(const std::string& name, std::string_view contents = "x") const {
    std::filesystem::create_directories(std::filesystem::path(folder / name).parent_path());
    return FileURL(folder.makeFile(name, contents));
  }
  ImportedModel importModel(const std::vector<FileURL>& sources, const std::vector<FileURL>& additional = {},
                            bool allowsDiscovered = true) const {
    return ModelImportService(configuration, host)
        .importModel(sources, FileURL(folder / "root"), additional, allowsDiscovered);
  }

  /// The description of the failure that the import ends in.
  std::string failureOf(const std::vector<FileURL>& sources, const std::vector<FileURL>& additional = {}) const {
    try {
      importModel(sources, additional);
    } catch (const Error& error) {
      return error.errorDescription();
    }
    return "no failure";
  }

  /// Everything in the import root, by relative path in byte order; folders end in "/".
  std::vector<std::string> staged() const {
    std::vector<std::string> paths;
    if (!std::filesystem::exists(folder / "root")) return paths;
    for (const auto& entry : std::filesystem::recursive_directory_iterator(folder / "root")) {
      paths.push_back(std::filesystem::relative(entry.path(), folder / "root").string() +
                      (entry.is_directory() ? "/" : ""));
    }
    std::sort(paths.begin(), paths.end());
    return paths;
  }
  std::string stagedContents(const std::string& name) const { return contentsOf(folder / "root/" + name); }

  static std::vector<std::string> codes(const ImportedModel& model) {
    std::vector<std::string> codes;
    for (const ModelLoadDiagnostic& diagnostic : model.diagnostics) codes.push_back(diagnostic.code);
    return codes;
  }

  const TemporaryFolder folder;
  ModelImportService::Configuration configuration = ModelImportService::commandLineConfiguration();
  ModelImportService::Host host;
};

}  // namespace ornolith::testsupport
