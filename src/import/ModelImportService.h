#pragma once

#include <memory>
#include <optional>
#include <set>
#include <string>
#include <vector>

#include "foundation/Cancellation.h"
#include "foundation/FileURL.h"
#include "import/FileAccess.h"
#include "import/ImportedModel.h"
#include "import/ModelImportError.h"

namespace ornolith {

/// Brings a model, and the resources that may be read with it, into a private folder, the import root. Loaders read the
/// import root alone, so a model cannot reach a file that the import did not vet.
///
/// A fault in the model, or in a file or folder that the caller named, ends an import with an error. A fault in
/// something found by looking around becomes a `ModelLoadDiagnostic`. No link is followed at any level, but those in
/// the paths that the caller gave. Only regular files are copied. Nothing is kept between calls.
class ModelImportService {
 public:
  struct Configuration {
    std::set<std::string> textureExtensions;      ///< Lower-case extensions of image resources, for every format.
    std::set<std::string> usdResourceExtensions;  ///< Further ones of a USD stage.
    /// Folders beside the model that hold its resources, by exact name.
    std::vector<std::string> knownAssetDirectoryNames;
    /// Reading the ".fbm" folder of an FBX model falls back on file coordination.
    bool usesRelatedItemCoordination = false;
    /// An articulation report is looked for, for FBX and GLB models.
    bool discoversArticulationReports = false;
  };

  /// What the host grants; the members given are never null.
  struct Host {
    std::shared_ptr<SecurityScope> securityScope = std::make_shared<SecurityScope>();
    std::shared_ptr<FileCoordinator> fileCoordinator = std::make_shared<FileCoordinator>();
  };

  explicit ModelImportService(Configuration configuration);
  ModelImportService(Configuration configuration, Host host);

  /// The settings of the command-line tool.
  static Configuration commandLineConfiguration();

  const Configuration& configuration() const noexcept { return configuration_; }

  /// Stages `sources`, the model (the first that has a model's extension) and whatever was selected with it, and then
  /// the resources near the model and in `additionalAssetDirectories`. Creates `importRoot` (mode 0700) with its
  /// parents; it belongs to the caller, also when this throws. `allowsDiscoveredArticulationReport` is false where
  /// several selected models share a base name, so that a report found by name would be ambiguous. Throws
  /// `ModelImportError`, `SystemError`, `JSONError`.
  ImportedModel importModel(const std::vector<FileURL>& sources, const FileURL& importRoot,
                            const std::vector<FileURL>& additionalAssetDirectories,
                            bool allowsDiscoveredArticulationReport = true) const;

  /// The SHA-256 of a file as 64 lower-case hexadecimal digits, read in pieces of 1 MiB. Throws `SystemError` and
  /// `CancellationError`.
  static std::string sha256(const FileURL& url, const CancellationToken& cancellation = {});

  /// The name of a model's articulation report, "<stem>.articulation.json"; nothing for anything but FBX and GLB, which
  /// alone keep an authored hierarchy that a report can address.
  static std::optional<std::string> articulationReportFileName(const FileURL& url);

 private:
  Configuration configuration_;
  Host host_;
};

}  // namespace ornolith
