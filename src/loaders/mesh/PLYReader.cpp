#include "loaders/mesh/PLYReader.h"

#include <algorithm>
#include <cstdint>
#include <limits>
#include <numeric>
#include <string>
#include <utility>
#include <vector>

#include "foundation/FileSystem.h"
#include "foundation/RelativeResourcePath.h"
#include "loaders/mesh/IndexedMesh.h"
#include "loaders/mesh/MeshReadError.h"
#include "loaders/mesh/PLYFaces.h"
#include "loaders/mesh/PLYHeader.h"
#include "loaders/mesh/PLYRows.h"
#include "loaders/mesh/PLYVertices.h"
#include "loaders/mesh/SelectedVectors.h"

namespace ornolith {

namespace {

constexpr std::size_t mostVertices = std::numeric_limits<std::int32_t>::max();

class MeshReader {
 public:
  MeshReader(std::span<const std::byte> bytes, const PLYHeader& header, const BytesRead& whenRead)
      : header_(header), rows_(bytes.subspan(header.size), header.format, whenRead) {}

  IndexedMesh read() {
    readElements();
    giveCornersVerticesOfTheirOwn();
    dropAlphasThatSayNothing();
    return std::move(mesh_);
  }

 private:
  // Faces that come before the vertices are read when these are known.
  void readElements() {
    std::vector<std::pair<const PLYElement*, PLYRows>> earlyFaces;
    bool hasVertices = false;
    for (const PLYElement& element : header_.elements) {
      const bool isVertices = element.name == "vertex" && !hasVertices;
      if (isVertices) {
        hasVertices = true;
        if (element.count > mostVertices) throwMalformedMesh("The PLY file has too many vertices.");
        if (element.count > 0) readPLYVertices(rows_, element, levels_, mesh_);
        dropWhiteThatSaysNothing();
      } else if (isPLYFaces(element) && hasVertices) {
        readPLYFaces(rows_, element, levels_, mesh_, corners_);
      } else {
        if (isPLYFaces(element)) earlyFaces.emplace_back(&element, rows_);
        rows_.skip(element);
      }
    }
    for (auto& [element, rows] : earlyFaces) {
      readPLYFaces(rows, *element, levels_, mesh_, corners_);
      rows.notePart();
    }
    rows_.notePart();
  }

  // Some programs write white for all vertices of a mesh whose faces have colours.
  void dropWhiteThatSaysNothing() {
    const bool facesHaveColors = std::any_of(header_.elements.begin(), header_.elements.end(), hasPLYFaceColors);
    const bool isWhite =
        std::all_of(mesh_.colors.begin(), mesh_.colors.end(), [](float component) { return component == 1; });
    if (facesHaveColors && isWhite) mesh_.colors.clear();
  }

  // A vertex that its faces say different things about is several.
  void giveCornersVerticesOfTheirOwn() {
    if (corners_.colors.empty() && corners_.texcoords.empty()) return;
    if (mesh_.triangles.size() > mostVertices) throwMalformedMesh("The PLY file has too many corners.");
    mesh_.positions = selectedVectors(mesh_.positions, 3, mesh_.triangles);
    mesh_.normals = selectedVectors(mesh_.normals, 3, mesh_.triangles);
    if (corners_.colors.empty()) {
      mesh_.colors = selectedVectors(mesh_.colors, mesh_.colorComponents, mesh_.triangles);
    } else {
      mesh_.colors = std::move(corners_.colors);
      mesh_.colorComponents = 4;
    }
    mesh_.texcoords = corners_.texcoords.empty() ? selectedVectors(mesh_.texcoords, 2, mesh_.triangles)
                                                 : std::move(corners_.texcoords);
    std::iota(mesh_.triangles.begin(), mesh_.triangles.end(), 0U);
  }

  // Programs that know no alpha write 0 or the most for all; nobody means an object that is not to be seen at all.
  void dropAlphasThatSayNothing() {
    if (mesh_.colorComponents != 4 || mesh_.colors.empty()) return;
    const std::size_t count = mesh_.colors.size() / 4;
    bool someVisible = false;
    bool someTransparent = false;
    for (std::size_t i = 0; i < count; ++i) {
      someVisible = someVisible || mesh_.colors[i * 4 + 3] > 0;
      someTransparent = someTransparent || mesh_.colors[i * 4 + 3] < 1;
    }
    if (someVisible && someTransparent) return;
    for (std::size_t i = 0; i < count; ++i) {
      std::copy_n(mesh_.colors.begin() + static_cast<std::ptrdiff_t>(i * 4), 3,
                  mesh_.colors.begin() + static_cast<std::ptrdiff_t>(i * 3));
    }
    mesh_.colors.resize(count * 3);
    mesh_.colorComponents = 3;
  }

  const PLYHeader& header_;
  PLYRows rows_;
  PLYColorLevels levels_;
  IndexedMesh mesh_;
  PLYCorners corners_;
};

/// The file of the texture that the header names, where it is one below the folder.
std::optional<FileURL> textureOf(const PLYHeader& header, const std::optional<FileURL>& folder) {
  if (!folder || header.textureFiles.empty()) return std::nullopt;
  const std::optional<std::string> path = relativeResourcePathOfFileName(header.textureFiles.front());
  if (!path) return std::nullopt;
  const FileURL url = folder->appendingPathComponent(*path);
  const auto attributes = attributesOfItemIfReadable(url);
  if (!attributes || attributes->type != FileType::regular) return std::nullopt;
  return url;
}

}  // namespace

std::shared_ptr<SCNScene> readPLY(std::span<const std::byte> bytes, const std::optional<FileURL>& resourceFolder,
                                  const BytesRead& whenRead) {
  const PLYHeader header = readPLYHeader(bytes);
  IndexedMesh mesh = MeshReader(bytes, header, whenRead).read();
  std::shared_ptr<SCNScene> scene = SCNScene::scene();
  if (!canBeSeen(mesh)) return scene;
  addMissingNormals(mesh);
  const bool hasTexcoords = !mesh.texcoords.empty();
  const bool hasAlpha = !mesh.colors.empty() && mesh.colorComponents == 4;
  const auto geometry = geometryOfMesh(std::move(mesh));
  const auto material = geometry->firstMaterial();
  if (hasAlpha) material->blendMode = SCNBlendMode::alpha;
  if (const auto texture = textureOf(header, resourceFolder); texture && hasTexcoords) {
    material->diffuse.contents = *texture;
    material->diffuse.wrapS = SCNWrapMode::repeat;
    material->diffuse.wrapT = SCNWrapMode::repeat;
  }
  scene->rootNode()->addChildNode(SCNNode::nodeWithGeometry(geometry));
  return scene;
}

}  // namespace ornolith
