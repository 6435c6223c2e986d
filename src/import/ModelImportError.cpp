#include "import/ModelImportError.h"

#include "import/formats/ModelFormat.h"

namespace ornolith {

std::string ModelImportError::describe(const model_import_error::UnsupportedFile& error) {
  return "Die Datei " + error.url.lastPathComponent() + " wird nicht unterstützt.";
}

std::string ModelImportError::describe(const model_import_error::ImportFolderUnreadable& error) {
  return "Der Ordner " + error.url.lastPathComponent() + " konnte nicht gelesen werden.";
}

std::string ModelImportError::describe(const model_import_error::UnsafeResourcePath& error) {
  return "Die Ressource " + error.path + " liegt außerhalb des erlaubten Asset-Ordners.";
}

std::string ModelImportError::describe(const model_import_error::SymbolicLinkNotAllowed& error) {
  return "Symbolic links cannot be imported: " + error.path;
}

std::string ModelImportError::describe(const model_import_error::InvalidGLTFManifest& error) {
  return "Die glTF-Ressourcen in " + error.url.lastPathComponent() + " konnten nicht gelesen werden.";
}

std::string ModelImportError::describe(const model_import_error::InvalidArticulationReport& error) {
  return "The articulation report " + error.url.lastPathComponent() + " is not a readable regular file.";
}

std::string ModelImportError::describe(const model_import_error::ArticulationReportTooLarge& error) {
  return "The articulation report " + error.url.lastPathComponent() + " exceeds the limit of " +
         std::to_string(error.maximumByteCount) + " bytes.";
}

std::string ModelImportError::describe(const model_import_error::MissingModelFile&) {
  return "Keine unterstützte 3D-Datei gefunden. Unterstützt: " + supportedFileListDescription() + ".";
}

std::string ModelImportError::describe(const model_import_error::ImportDirectoryUnavailable&) {
  return "Der Import-Ordner konnte nicht erstellt werden.";
}

}  // namespace ornolith
