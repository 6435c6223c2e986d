#include "loaders/gltf/GLTFSceneLoader.h"

#include <algorithm>
#include <exception>
#include <iterator>
#include <optional>
#include <utility>
#include <variant>

#include "foundation/Error.h"
#include "foundation/FileMapping.h"
#include "loaders/gltf/GLTFAccessors.h"
#include "loaders/gltf/GLTFBuffers.h"
#include "loaders/gltf/GLTFDocument.h"
#include "loaders/gltf/GLTFHierarchy.h"
#include "loaders/gltf/GLTFImages.h"
#include "loaders/gltf/GLTFLimits.h"
#include "loaders/gltf/GLTFManifestPreflight.h"
#include "loaders/gltf/GLTFMaterials.h"
#include "loaders/gltf/GLTFMeshes.h"
#include "scenegraph/SCNSubtreeWalk.h"

namespace ornolith {

const std::set<std::string> unsupportedPluginExtensions{"KHR_draco_mesh_compression", "KHR_texture_basisu"};

namespace {

/// What was made of a file.
struct Asset {
  std::shared_ptr<SCNScene> scene;
  std::size_t animationCount = 0;
};

/// Runs `step`; any failure in it becomes `LoadFailed`.
template <typename Step>
auto failingAsLoad(const FileURL& url, const Step& step) {
  try {
    return step();
  } catch (const Error&) {
    throw GLTFSceneLoaderError(gltf_scene_loader_error::LoadFailed{url, std::current_exception()});
  }
}

Asset makeAsset(const JSONElement& manifest, const SharedBytes& contents, const FileURL& resourceFolder,
                ModelFormat format) {
  GLTFMemoryBudget budget(contents->size());
  const GLTFDocument document = readGLTFDocument(manifest, budget);
  std::optional<GLTFBytes> binaryChunk;
  if (format == ModelFormat::glb) {
    if (const auto chunk = GLTFManifestPreflight::binaryChunk(*contents)) {
      binaryChunk = GLTFBytes{*chunk, std::make_shared<const SharedBytes>(contents)};
    }
  }
  GLTFBuffers buffers(document, std::move(binaryChunk), resourceFolder, budget);
  GLTFAccessors accessors(document, buffers, budget);
  GLTFImages images(manifest, buffers);
  GLTFMaterials materials(manifest, images);
  GLTFMeshes meshes(document, accessors, materials, budget);
  Asset asset{makeGLTFScene(document, accessors, meshes, budget), document.animationCount};
  GLTFSceneLoader::normalizeMaterials(*asset.scene->rootNode());
  // An unlit surface stays one.
  materials.restoreLightingModels();
  return asset;
}

std::vector<std::string> thoseUnsupported(const std::set<std::string>& extensions) {
  std::vector<std::string> names;
  std::set_intersection(extensions.begin(), extensions.end(), unsupportedPluginExtensions.begin(),
                        unsupportedPluginExtensions.end(), std::back_inserter(names));
  return names;
}

std::vector<ModelLoadDiagnostic> findings(const GLTFInspection& inspection, std::size_t animationCount,
                                          const FileURL& url, ModelFormat format) {
  std::vector<ModelLoadDiagnostic> diagnostics;
  for (const std::string& name : thoseUnsupported(inspection.extensionsUsed)) {
    if (inspection.extensionsRequired.contains(name)) continue;
    diagnostics.push_back({.severity = ModelDiagnosticSeverity::warning,
                           .code = "gltf.extension-ignored",
                           .format = format,
                           .message = "Optional glTF extension '" + name + "' is not rendered.",
                           .resourcePath = url.path()});
  }
  if (animationCount > 0) {
    diagnostics.push_back({.severity = ModelDiagnosticSeverity::info,
                           .code = "gltf.animation-static-frame",
                           .format = format,
                           .message = "glTF animations were loaded as a static render frame.",
                           .resourcePath = url.path()});
  }
  return diagnostics;
}

template <typename Visit>
void forEachMaterial(SCNNode& top, const Visit& visit) {
  for (SCNSubtreeWalk walk(top); !walk.isAtEnd(); walk.next()) {
    if (!walk.node().geometry) continue;
    for (const std::shared_ptr<SCNMaterial>& material : walk.node().geometry->materials()) visit(material);
  }
}

}  // namespace

GLTFSceneLoader::Result GLTFSceneLoader::loadScene(const FileURL& url, const std::vector<FileURL>& assetDirectories,
                                                   ModelFormat format) {
  const auto mapping = failingAsLoad(url, [&] { return std::make_shared<const FileMapping>(url); });
  return loadSceneFromContents(SharedBytes(mapping, mapping->bytes()), url, assetDirectories, format);
}

GLTFSceneLoader::Result GLTFSceneLoader::loadSceneFromContents(const SharedBytes& contents, const FileURL& url,
                                                               const std::vector<FileURL>& assetDirectories,
                                                               ModelFormat format) {
  const JSONDocument manifest = failingAsLoad(url, [&] { return GLTFManifestPreflight::manifest(*contents, format); });
  const GLTFInspection inspection = GLTFManifestPreflight::inspection(manifest.root());
  std::vector<std::string> blocked = thoseUnsupported(inspection.extensionsRequired);
  if (!blocked.empty()) {
    throw GLTFSceneLoaderError(gltf_scene_loader_error::UnsupportedRequiredExtensions{std::move(blocked)});
  }

  const FileURL folder = assetDirectories.empty() ? url.deletingLastPathComponent() : assetDirectories.front();
  Asset asset = failingAsLoad(url, [&] { return makeAsset(manifest.root(), contents, folder, format); });
  if (!containsRenderableGeometry(*asset.scene->rootNode())) {
    throw GLTFSceneLoaderError(gltf_scene_loader_error::EmptyScene{url});
  }
  return {std::move(asset.scene), findings(inspection, asset.animationCount, url, format)};
}

bool GLTFSceneLoader::containsRenderableGeometry(SCNNode& node) {
  for (SCNSubtreeWalk walk(node); !walk.isAtEnd(); walk.next()) {
    if (walk.node().geometry) return true;
  }
  return false;
}

void GLTFSceneLoader::normalizeMaterials(SCNNode& node) {
  forEachMaterial(node, [](const std::shared_ptr<SCNMaterial>& material) {
    const auto isEmpty = [](const SCNMaterialProperty& property) {
      return std::holds_alternative<std::monostate>(property.contents);
    };
    material->lightingModelName = SCNLightingModelPhysicallyBased;
    if (isEmpty(material->roughness)) material->roughness.contents = 1.0;
    if (isEmpty(material->metalness)) material->metalness.contents = 0.0;
  });
}

}  // namespace ornolith
