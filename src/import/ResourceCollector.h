#pragma once

#include <exception>
#include <set>
#include <string>
#include <vector>

#include "foundation/FileURL.h"
#include "import/ModelImportService.h"
#include "import/StagingArea.h"
#include "import/formats/ModelLoadDiagnostic.h"

namespace ornolith {

/// Decides which files near a model may enter the import root, and copies them. glTF names its resources, so exactly
/// those are fetched; a USD stage may reach anything below its folder, so that tree is walked; every other format gets
/// the top level of the model's folder and a few well-known folders. Links are never followed, and folders are taken in
/// byte order of their names. No folder is a package whose inside would be left out.
class ResourceCollector {
 public:
  /// The references must outlive this object.
  ResourceCollector(const ModelImportService::Configuration& configuration, FileCoordinator& fileCoordinator,
                    StagingArea& stagingArea, std::vector<ModelLoadDiagnostic>& diagnostics)
      : configuration_(configuration),
        fileCoordinator_(fileCoordinator),
        stagingArea_(stagingArea),
        diagnostics_(diagnostics) {}

  /// Throws for what concerns a file or folder that the caller named, and for hostile references in a glTF manifest:
  /// `ModelImportError`, `SystemError`, `JSONError`. Everything else becomes a diagnostic or is passed over.
  void copyNearbyAssets(const FileURL& primary, ModelFormat format,
                        const std::vector<FileURL>& additionalAssetDirectories);

 private:
  using Extensions = std::set<std::string>;

  Extensions assetExtensions(ModelFormat format) const;
  void copyFlatAssets(const FileURL& primary, ModelFormat format,
                      const std::vector<FileURL>& additionalAssetDirectories, const Extensions& assetExtensions);
  void copyTopLevelAssets(const FileURL& directory, const Extensions& assetExtensions);
  bool copyAssetDirectoryIfPresent(const FileURL& source, const StagedPath& destination,
                                   const Extensions& assetExtensions);
  void copyEmbeddedMediaFolder(const FileURL& primary, const Extensions& assetExtensions);
  bool copyRelatedAssetDirectory(const FileURL& source, const FileURL& primary, const StagedPath& destination,
                                 const Extensions& assetExtensions);
  void copyResourceTree(const FileURL& root, const Extensions& assetExtensions, ModelFormat format);
  void copyGLTFResources(const FileURL& manifest, const std::vector<FileURL>& additionalAssetDirectories);
  void appendResourceCopyDiagnostic(const FileURL& source);
  void report(std::string code, ModelFormat format, std::string message, std::string resourcePath);

  const ModelImportService::Configuration& configuration_;
  FileCoordinator& fileCoordinator_;
  StagingArea& stagingArea_;
  std::vector<ModelLoadDiagnostic>& diagnostics_;
};

}  // namespace ornolith
