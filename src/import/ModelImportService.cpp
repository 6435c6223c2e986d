#include "import/ModelImportService.h"

#include <algorithm>
#include <cerrno>
#include <cstdint>
#include <utility>

#include "foundation/Directory.h"
#include "foundation/FileSystem.h"
#include "foundation/SHA256.h"
#include "foundation/Text.h"
#include "import/ResourceCollector.h"
#include "import/StagingArea.h"
#include "parts/RigidArticulationReportAdapter.h"

namespace ornolith {

namespace {

constexpr std::int64_t maximumReportByteCount = 4'194'304;

constexpr const char* invalidReportCode = "articulation.report-invalid";

/// Access to the selected files, which ends when this object goes, on whatever way.
class ScopedAccess {
 public:
  ScopedAccess(const std::vector<FileURL>& urls, SecurityScope& scope) : scope_(scope) {
    scopedURLs_.reserve(urls.size());
    for (const FileURL& url : urls) scopedURLs_.emplace_back(url, scope);
  }
  ScopedAccess(const ScopedAccess&) = delete;
  ScopedAccess& operator=(const ScopedAccess&) = delete;
  ~ScopedAccess() {
    for (const ScopedURL& scopedURL : scopedURLs_) {
      if (scopedURL.isAccessing) scope_.stopAccessingSecurityScopedResource(scopedURL.url);
    }
  }

 private:
  SecurityScope& scope_;
  std::vector<ScopedURL> scopedURLs_;
};

const FileURL& choosePrimary(const std::vector<FileURL>& sources) {
  const auto primary = std::find_if(sources.begin(), sources.end(), [](const FileURL& source) {
    return modelFormat(source.lowercasedPathExtension()).has_value();
  });
  if (primary == sources.end()) throw ModelImportError(model_import_error::MissingModelFile{});
  return *primary;
}

ModelFormat requireModelFormat(const FileURL& url) {
  const std::optional<ModelFormat> format = modelFormat(url.lowercasedPathExtension());
  if (!format) throw ModelImportError(model_import_error::UnsupportedFile{url});
  return *format;
}

/// Every selected file lands flat in the import root. A selected report waits for its own step.
void stageSelection(const std::vector<FileURL>& sources, StagingArea& stagingArea) {
  for (const FileURL& source : sources) {
    if (source.hasDirectoryPath() || source.lowercasedPathExtension() == "json") continue;
    const DirectoryCursor folder = DirectoryCursor::open(source.deletingLastPathComponent(), FinalLink::follow);
    const std::string name = source.lastPathComponent();
    stagingArea.copyItemIfNeeded(folder, name, {}, name);
  }
}

/// The entry of exactly this name. A listing is searched, so that on a file system that ignores case a file whose name
/// differs in case is not taken for it. Never fails: every error yields nothing.
std::optional<FileURL> exactEntry(const std::string& name, const FileURL& directory) {
  try {
    const DirectoryCursor cursor = DirectoryCursor::open(directory, FinalLink::refuse);
    for (const DirectoryEntry& entry : cursor.entries()) {
      if (!entry.isHidden() && canonicallyEqual(entry.name, name)) return directory.appendingPathComponent(entry.name);
    }
  } catch (const Error&) {
    // Yields nothing.
  }
  return std::nullopt;
}

/// Brings a report into the import root under its canonical name. The bytes are written, not copied as a file, so that
/// nothing of the source's links or attributes comes along.
FileURL copyArticulationReport(const FileURL& source, const std::string& name, StagingArea& stagingArea) {
  const FileAttributes attributes = attributesOfItem(source);
  if (attributes.type == FileType::symbolicLink) {
    throw ModelImportError(model_import_error::SymbolicLinkNotAllowed{source.path()});
  }
  if (attributes.type != FileType::regular) {
    throw ModelImportError(model_import_error::InvalidArticulationReport{source});
  }
  const auto requireSize = [&source](std::uint64_t size) {
    if (size <= static_cast<std::uint64_t>(maximumReportByteCount)) return;
    throw ModelImportError(model_import_error::ArticulationReportTooLarge{source, maximumReportByteCount});
  };
  // Twice, since the file may grow in between: the first keeps an oversized file out of memory.
  requireSize(attributes.size);
  const FileBytes bytes = readFile(source, static_cast<std::size_t>(maximumReportByteCount) + 1, FinalLink::refuse);
  requireSize(bytes.size());
  return stagingArea.write(name, bytes);
}

void warn(ImportedModel& model, const char* code, std::string message, const FileURL& file) {
  model.diagnostics.push_back({.severity = ModelDiagnosticSeverity::warning,
                               .code = code,
                               .format = model.format,
                               .message = std::move(message),
                               .resourcePath = file.lastPathComponent()});
}

/// Tries the reports that were found by name, one after the other, and stages the first good one.
void stageDiscoveredReport(const std::string& name, const std::vector<FileURL>& searchRoots, bool isAllowed,
                           StagingArea& stagingArea, ImportedModel& model) {
  std::vector<FileURL> hits;
  for (const FileURL& root : searchRoots) {
    if (std::optional<FileURL> hit = exactEntry(name, root)) hits.push_back(std::move(*hit));
  }
  if (hits.empty()) return;
  if (!isAllowed) {
    warn(model, "articulation.report-ambiguous",
         "The articulation report was ignored because multiple selected models have the same base name.", hits.front());
    model.blocksRigidArticulationInference = true;
    return;
  }
  model.blocksRigidArticulationInference = true;
  for (std::size_t i = 0; i < hits.size(); ++i) {
    try {
      model.articulationReportURL = copyArticulationReport(hits[i], name, stagingArea);
      model.blocksRigidArticulationInference = i > 0;
      return;
    } catch (const Error& error) {
      warn(model, invalidReportCode, error.errorDescription(), hits[i]);
    }
  }
}

void stageReport(const std::vector<FileURL>& sources, const FileURL& primary, const std::vector<FileURL>& searchRoots,
                 bool allowsDiscovered, StagingArea& stagingArea, ImportedModel& model) {
  const std::optional<std::string> name = ModelImportService::articulationReportFileName(primary);
  if (!name) return;
  const auto selected = std::find_if(sources.begin(), sources.end(), [&](const FileURL& source) {
    return source != primary && canonicallyEqual(source.lastPathComponent(), *name);
  });
  if (selected != sources.end()) {
    // The caller chose this file by hand, so its faults end the import.
    model.articulationReportURL = copyArticulationReport(*selected, *name, stagingArea);
    return;
  }
  stageDiscoveredReport(*name, searchRoots, allowsDiscovered, stagingArea, model);
}

/// Binds the staged report to the staged model. A report that does not fit never stops a model from loading.
void decodeStagedReport(ImportedModel& model) {
  if (!model.articulationReportURL) return;
  model.modelSHA256 = ModelImportService::sha256(model.modelURL);
  try {
    const FileBytes bytes = readFile(*model.articulationReportURL);
    model.rigidArticulationDescriptor = RigidArticulationReportAdapter::decode(bytes, *model.modelSHA256);
    model.blocksRigidArticulationInference = false;
  } catch (const Error&) {
    model.blocksRigidArticulationInference = true;
    warn(model, invalidReportCode, "The articulation report is invalid or does not match the model.",
         *model.articulationReportURL);
  }
}

}  // namespace

ModelImportService::ModelImportService(Configuration configuration)
    : ModelImportService(std::move(configuration), Host()) {}

ModelImportService::ModelImportService(Configuration configuration, Host host)
    : configuration_(std::move(configuration)), host_(std::move(host)) {}

ModelImportService::Configuration ModelImportService::commandLineConfiguration() {
  return {.textureExtensions = {"png", "jpg", "jpeg", "tif", "tiff", "tga", "bmp", "heic", "exr"},
          .usdResourceExtensions = {"usd", "usda", "usdc", "usdz", "mdl", "mtlx"},
          .knownAssetDirectoryNames = {"textures", "Textures", "materials", "Materials"},
          .usesRelatedItemCoordination = false,
          .discoversArticulationReports = false};
}

ImportedModel ModelImportService::importModel(const std::vector<FileURL>& sources, const FileURL& importRoot,
                                              const std::vector<FileURL>& additionalAssetDirectories,
                                              bool allowsDiscoveredArticulationReport) const {
  const FileURL& primary = choosePrimary(sources);
  ImportedModel model;
  model.format = requireModelFormat(primary);
  model.importRoot = importRoot;
  model.modelURL = importRoot.appendingPathComponent(primary.lastPathComponent());

  StagingArea stagingArea(importRoot);
  const ScopedAccess access(sources, *host_.securityScope);
  stageSelection(sources, stagingArea);

  ResourceCollector collector(configuration_, *host_.fileCoordinator, stagingArea, model.diagnostics);
  collector.copyNearbyAssets(primary, model.format, additionalAssetDirectories);

  if (configuration_.discoversArticulationReports) {
    std::vector<FileURL> searchRoots{primary.deletingLastPathComponent()};
    searchRoots.insert(searchRoots.end(), additionalAssetDirectories.begin(), additionalAssetDirectories.end());
    stageReport(sources, primary, searchRoots, allowsDiscoveredArticulationReport, stagingArea, model);
  }

  model.assetDirectories = stagingArea.collectAssetDirectories();
  model.assetDirectories.insert(model.assetDirectories.begin(), importRoot);
  decodeStagedReport(model);
  return model;
}

std::string ModelImportService::sha256(const FileURL& url, const CancellationToken& cancellation) {
  return ornolith::sha256(url, cancellation);
}

std::optional<std::string> ModelImportService::articulationReportFileName(const FileURL& url) {
  const std::optional<ModelFormat> format = modelFormat(url.lowercasedPathExtension());
  if (format != ModelFormat::fbx && format != ModelFormat::glb) return std::nullopt;
  return url.lastPathComponentWithoutExtension() + ".articulation.json";
}

}  // namespace ornolith
