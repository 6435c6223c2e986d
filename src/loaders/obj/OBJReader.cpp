#include "loaders/obj/OBJReader.h"

#include <map>
#include <string>
#include <string_view>
#include <utility>

#include "foundation/ByteOrderMark.h"
#include "foundation/FileMapping.h"
#include "foundation/Text.h"
#include "loaders/mesh/MeshGeometry.h"
#include "loaders/mesh/MeshReadError.h"
#include "loaders/obj/OBJGeometry.h"
#include "loaders/obj/OBJStatements.h"

namespace ornolith {

namespace {

using MaterialList = std::vector<std::shared_ptr<SCNMaterial>>;

std::string_view textOf(std::span<const std::byte> bytes) {
  const std::string_view text(reinterpret_cast<const char*>(bytes.data()), bytes.size());
  if (text.starts_with("\xFF\xFE") || text.starts_with("\xFE\xFF")) {
    throwMalformedMesh("The OBJ file is written in UTF-16; only ASCII and UTF-8 can be read.");
  }
  return withoutByteOrderMark(text);
}

/// The libraries' material that the rest of a "usemtl" line names, or nothing.
std::shared_ptr<SCNMaterial> knownMaterial(std::string_view rest, const OBJMaterials& known) {
  for (const std::string& name : {objMaterialName(rest), objMaterialNameBeforeComment(rest)}) {
    if (const auto found = known.find(name); found != known.end()) return found->second;
  }
  return nullptr;
}

/// The material of each name: the libraries' or the default one.
MaterialList materialsFor(const std::vector<std::string_view>& names, const OBJMaterials& known, bool hasColors) {
  MaterialList list;
  OBJMaterials defaults;
  for (const std::string_view rest : names) {
    if (std::shared_ptr<SCNMaterial> material = knownMaterial(rest, known)) {
      list.push_back(std::move(material));
      continue;
    }
    const std::string name = objMaterialName(rest);
    std::shared_ptr<SCNMaterial>& material = defaults[name];
    if (!material) {
      material = defaultMeshMaterial(hasColors);
      material->name = name;
    }
    list.push_back(material);
  }
  return list;
}

/// Makes the nodes of parts, of which no two have the same object and group.
class NodeTree {
 public:
  explicit NodeTree(SCNNode::Pointer root) : root_(std::move(root)) {}

  SCNNode::Pointer nodeOf(const OBJPart& part) {
    if (part.object.empty()) return addChild(*root_, part.group);
    SCNNode::Pointer& object = objects_[part.object];
    if (!object) object = addChild(*root_, part.object);
    return part.group.empty() ? object : addChild(*object, part.group);
  }

 private:
  static SCNNode::Pointer addChild(SCNNode& parent, std::string_view name) {
    SCNNode::Pointer node = SCNNode::node();
    if (!name.empty()) node->setName(repairingUTF8(name));
    parent.addChildNode(node);
    return node;
  }

  SCNNode::Pointer root_;
  std::map<std::string_view, SCNNode::Pointer> objects_;
};

}  // namespace

std::shared_ptr<SCNScene> readOBJ(std::span<const std::byte> bytes, const OBJMaterials& materials,
                                  const BytesRead& whenRead) {
  OBJStatements statements = readOBJStatements(textOf(bytes), whenRead);
  const OBJParts parts = sortIntoParts(statements);
  const bool hasColors = !statements.colors.empty();
  auto scene = SCNScene::scene();
  if (parts.parts.empty() && !statements.positions.empty()) {
    auto points = objPointCloud(std::move(statements), defaultMeshMaterial(hasColors));
    scene->rootNode()->addChildNode(SCNNode::nodeWithGeometry(std::move(points)));
    return scene;
  }
  OBJGeometryBuilder builder(statements, parts);
  const MaterialList list = materialsFor(parts.materialNames, materials, hasColors);
  NodeTree tree(scene->rootNode());
  for (const OBJPart& part : parts.parts) {
    const SCNNode::Pointer node = tree.nodeOf(part);
    node->geometry = builder.build(part, list);
    node->geometry->name = node->name().value_or("");
  }
  return scene;
}

std::shared_ptr<SCNScene> loadOBJScene(const FileURL& url, const std::vector<FileURL>& assetDirectories) {
  const auto prepared = SceneKitOBJMaterialNormalization::prepare(url, assetDirectories);
  const FileMapping file(url);
  std::shared_ptr<SCNScene> scene =
      readOBJ(file.bytes(), readOBJMaterials(prepared), [&](std::span<const std::byte> part) { file.forget(part); });
  if (scene->rootNode()->childCount() == 0) throwMalformedMesh("The OBJ file holds nothing that can be drawn.");
  SceneKitOBJMaterialNormalization::apply(prepared, *scene);
  return scene;
}

}  // namespace ornolith
