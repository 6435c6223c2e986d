#include "loaders/gltf/GLTFDocument.h"

#include <algorithm>
#include <limits>
#include <string_view>

#include "foundation/Rotation.h"
#include "loaders/gltf/GLTFReadError.h"
#include "loaders/gltf/GLTFStrictValues.h"
#include "scenegraph/Transforms.h"

namespace ornolith {

namespace {

using Elements = std::vector<JSONElement>;

constexpr Named<GLTFMeshoptMode> meshoptModes[] = {{"ATTRIBUTES", GLTFMeshoptMode::attributes},
                                                   {"TRIANGLES", GLTFMeshoptMode::triangles},
                                                   {"INDICES", GLTFMeshoptMode::indices}};
constexpr Named<GLTFMeshoptFilter> meshoptFilters[] = {{"NONE", GLTFMeshoptFilter::none},
                                                       {"OCTAHEDRAL", GLTFMeshoptFilter::octahedral},
                                                       {"QUATERNION", GLTFMeshoptFilter::quaternion},
                                                       {"EXPONENTIAL", GLTFMeshoptFilter::exponential}};
constexpr Named<GLTFElementType> elementTypes[] = {{"SCALAR", GLTFElementType::scalar}, {"VEC2", GLTFElementType::vec2},
                                                   {"VEC3", GLTFElementType::vec3},     {"VEC4", GLTFElementType::vec4},
                                                   {"MAT2", GLTFElementType::mat2},     {"MAT3", GLTFElementType::mat3},
                                                   {"MAT4", GLTFElementType::mat4}};
constexpr Named<GLTFLightType> lightTypes[] = {
    {"directional", GLTFLightType::directional}, {"point", GLTFLightType::point}, {"spot", GLTFLightType::spot}};

GLTFComponentType asComponentType(const JSONElement& value) {
  switch (const std::uint64_t number = asSize(value); number) {
    case 5120:
    case 5121:
    case 5122:
    case 5123:
    case 5125:
    case 5126:
      return static_cast<GLTFComponentType>(number);
    default:
      throw value.fault("The component type " + std::to_string(number) + " is not known.");
  }
}

/// Reads the lists of a manifest, each after those that its indices point into are counted.
class DocumentReader {
 public:
  DocumentReader(const JSONElement& root, GLTFMemoryBudget& budget) : root_(root), budget_(budget) {}

  GLTFDocument read() {
    requireVersion();
    lights_ = listUnder(strictExtension(root_, "KHR_lights_punctual"), "lights");
    const auto readEach = [&](auto& records, const Elements& elements, const auto& readOne) {
      budget_.take(elements.size(), sizeof(records[0]));
      records.reserve(elements.size());
      for (const JSONElement& element : elements) records.push_back((this->*readOne)(element));
    };
    readEach(document_.buffers, list("buffers"), &DocumentReader::buffer);
    readEach(document_.bufferViews, list("bufferViews"), &DocumentReader::bufferView);
    readEach(document_.accessors, list("accessors"), &DocumentReader::accessor);
    readEach(document_.meshes, list("meshes"), &DocumentReader::mesh);
    readEach(document_.cameras, list("cameras"), &DocumentReader::camera);
    readEach(document_.lights, lights_, &DocumentReader::light);
    const Elements nodes = list("nodes");
    nodeCount_ = nodes.size();
    readEach(document_.skins, list("skins"), &DocumentReader::skin);
    readEach(document_.nodes, nodes, &DocumentReader::node);
    linkParents();
    document_.topNodes = topNodes();
    document_.animationCount = list("animations").size();
    return std::move(document_);
  }

 private:
  Elements list(std::string_view key) const { return listUnder(root_, key); }

  /// What a file needs at least counts before what it was written for (glTF 2.0, section 3.2).
  void requireVersion() const {
    const std::optional<JSONElement> asset = root_.optionalValue("asset");
    if (!asset) return;
    const auto require = [&](std::string_view key, const auto& isKnown) {
      const std::optional<JSONElement> version = asset->optionalValue(key);
      if (!version) return false;
      const std::string text = version->asString();
      if (!isKnown(text)) throw version->fault("The glTF version \"" + text + "\" cannot be read.");
      return true;
    };
    if (require("minVersion", [](const std::string& text) { return text == "2.0"; })) return;
    require("version", [](const std::string& text) { return text.starts_with("2."); });
  }

  GLTFBuffer buffer(const JSONElement& element) const {
    GLTFBuffer buffer;
    if (const auto uri = element.optionalValue("uri")) buffer.uri = uri->asString();
    buffer.byteLength = asSize(element.value("byteLength"));
    return buffer;
  }

  GLTFBufferView bufferView(const JSONElement& element) const {
    GLTFBufferView view;
    view.buffer = asIndex(element.value("buffer"), document_.buffers.size());
    view.byteOffset = sizeUnder(element, "byteOffset");
    view.byteLength = asSize(element.value("byteLength"));
    view.byteStride = sizeUnder(element, "byteStride");
    if (const auto extension = strictExtension(element, "EXT_meshopt_compression")) {
      view.compression = meshopt(*extension);
    }
    return view;
  }

  GLTFMeshoptCompression meshopt(const JSONElement& element) const {
    GLTFMeshoptCompression compression;
    compression.buffer = asIndex(element.value("buffer"), document_.buffers.size());
    compression.byteOffset = sizeUnder(element, "byteOffset");
    compression.byteLength = asSize(element.value("byteLength"));
    compression.byteStride = asSize(element.value("byteStride"));
    compression.count = asSize(element.value("count"));
    compression.mode = asOneOf<GLTFMeshoptMode>(element.value("mode"), meshoptModes);
    if (const auto filter = element.optionalValue("filter")) {
      compression.filter = asOneOf<GLTFMeshoptFilter>(*filter, meshoptFilters);
    }
    return compression;
  }

  GLTFAccessor accessor(const JSONElement& element) const {
    GLTFAccessor accessor;
    accessor.bufferView = indexUnder(element, "bufferView", document_.bufferViews.size());
    accessor.byteOffset = sizeUnder(element, "byteOffset");
    accessor.componentType = asComponentType(element.value("componentType"));
    if (const auto normalized = element.optionalValue("normalized")) accessor.isNormalized = normalized->asBool();
    accessor.count = asSize(element.value("count"));
    accessor.type = asOneOf<GLTFElementType>(element.value("type"), elementTypes);
    if (const auto sparse = element.optionalValue("sparse")) accessor.sparse = this->sparse(*sparse);
    return accessor;
  }

  GLTFSparse sparse(const JSONElement& element) const {
    const JSONElement indices = element.value("indices");
    const JSONElement values = element.value("values");
    GLTFSparse sparse;
    sparse.count = asSize(element.value("count"));
    sparse.indicesView = asIndex(indices.value("bufferView"), document_.bufferViews.size());
    sparse.indicesOffset = sizeUnder(indices, "byteOffset");
    sparse.indicesType = asComponentType(indices.value("componentType"));
    sparse.valuesView = asIndex(values.value("bufferView"), document_.bufferViews.size());
    sparse.valuesOffset = sizeUnder(values, "byteOffset");
    return sparse;
  }

  GLTFAttributes attributes(const JSONElement& element) const {
    GLTFAttributes attributes;
    for (auto& [name, accessor] : element.members()) {
      attributes.emplace_back(std::move(name), asIndex(accessor, document_.accessors.size()));
    }
    return attributes;
  }

  GLTFPrimitive primitive(const JSONElement& element) const {
    GLTFPrimitive primitive;
    primitive.attributes = attributes(element.value("attributes"));
    primitive.indices = indexUnder(element, "indices", document_.accessors.size());
    primitive.material = indexUnder(element, "material", std::numeric_limits<GLTFIndex>::max());
    if (const auto mode = element.optionalValue("mode")) {
      constexpr std::size_t modeCount = 7;
      primitive.mode = static_cast<GLTFPrimitiveMode>(asIndex(*mode, modeCount));
    }
    for (const JSONElement& target : listUnder(element, "targets")) primitive.targets.push_back(attributes(target));
    primitive.isDracoCompressed = strictExtension(element, "KHR_draco_mesh_compression").has_value();
    return primitive;
  }

  GLTFMesh mesh(const JSONElement& element) const {
    GLTFMesh mesh;
    if (const auto name = element.optionalValue("name")) mesh.name = name->asString();
    const Elements primitives = element.value("primitives").elements();
    budget_.take(primitives.size(), sizeof(GLTFPrimitive));
    for (const JSONElement& entry : primitives) mesh.primitives.push_back(primitive(entry));
    mesh.weights = numbersUnder(element, "weights");
    return mesh;
  }

  GLTFSkin skin(const JSONElement& element) const {
    GLTFSkin skin;
    skin.inverseBindMatrices = indexUnder(element, "inverseBindMatrices", document_.accessors.size());
    skin.joints = indicesUnder(element, "joints", nodeCount_);
    if (skin.joints.empty()) throw element.fault("A skin needs at least one joint.");
    skin.skeleton = indexUnder(element, "skeleton", nodeCount_);
    return skin;
  }

  GLTFCamera camera(const JSONElement& element) const {
    GLTFCamera camera;
    camera.isOrthographic = element.value("type").asString() == "orthographic";
    const auto values = element.optionalValue(camera.isOrthographic ? "orthographic" : "perspective");
    if (!values) return camera;
    camera.verticalFieldOfView = numberUnder(*values, "yfov", camera.verticalFieldOfView);
    camera.verticalMagnification = numberUnder(*values, "ymag", camera.verticalMagnification);
    camera.zNear = numberUnder(*values, "znear", camera.zNear);
    camera.zFar = numberUnder(*values, "zfar", camera.zFar);
    return camera;
  }

  GLTFLight light(const JSONElement& element) const {
    GLTFLight light;
    light.type = asOneOf<GLTFLightType>(element.value("type"), lightTypes);
    if (const auto color = tupleUnder<3>(element, "color")) light.color = *color;
    light.intensity = numberUnder(element, "intensity", light.intensity);
    return light;
  }

  static GLTFTransform transform(const JSONElement& element) {
    GLTFTransform transform;
    if (const auto matrix = tupleUnder<16>(element, "matrix")) {
      simd_double4x4& columns = transform.matrix.emplace();
      for (std::size_t i = 0; i < matrix->size(); ++i) columns.columns[i / 4][i % 4] = (*matrix)[i];
    }
    if (const auto t = tupleUnder<3>(element, "translation")) transform.translation = {(*t)[0], (*t)[1], (*t)[2]};
    if (const auto r = tupleUnder<4>(element, "rotation")) transform.rotation = {(*r)[0], (*r)[1], (*r)[2], (*r)[3]};
    if (const auto s = tupleUnder<3>(element, "scale")) transform.scale = {(*s)[0], (*s)[1], (*s)[2]};
    return transform;
  }

  GLTFNode node(const JSONElement& element) const {
    GLTFNode node;
    if (const auto name = element.optionalValue("name")) node.name = name->asString();
    node.transform = transform(element);
    node.children = indicesUnder(element, "children", nodeCount_);
    node.mesh = indexUnder(element, "mesh", document_.meshes.size());
    node.skin = indexUnder(element, "skin", document_.skins.size());
    node.camera = indexUnder(element, "camera", document_.cameras.size());
    node.weights = numbersUnder(element, "weights");
    if (const auto lit = strictExtension(element, "KHR_lights_punctual")) {
      node.light = indexUnder(*lit, "light", lights_.size());
    }
    if (const auto visibility = strictExtension(element, "KHR_node_visibility")) {
      if (const auto visible = visibility->optionalValue("visible")) node.isVisible = visible->asBool();
    }
    if (const auto instancing = strictExtension(element, "EXT_mesh_gpu_instancing")) {
      if (const auto attributes = instancing->optionalValue("attributes")) {
        node.instances = this->attributes(*attributes);
      }
    }
    return node;
  }

  // Hierarchy.

  void linkParents() {
    for (std::size_t index = 0; index < document_.nodes.size(); ++index) {
      for (const GLTFIndex child : document_.nodes[index].children) {
        std::optional<GLTFIndex>& parent = document_.nodes[child].parent;
        if (parent) throwMalformedGLTF("The node " + std::to_string(child) + " has more than one parent.");
        parent = static_cast<GLTFIndex>(index);
      }
    }
  }

  /// The nodes without a parent. With one parent at most to a node, whatever they do not lead to goes round in circles.
  std::vector<GLTFIndex> rootNodes() const {
    std::vector<GLTFIndex> roots;
    for (std::size_t index = 0; index < document_.nodes.size(); ++index) {
      if (!document_.nodes[index].parent) roots.push_back(static_cast<GLTFIndex>(index));
    }
    std::vector<GLTFIndex> reached = roots;
    for (std::size_t at = 0; at < reached.size(); ++at) {
      const std::vector<GLTFIndex>& children = document_.nodes[reached[at]].children;
      reached.insert(reached.end(), children.begin(), children.end());
    }
    if (reached.size() < document_.nodes.size()) throwMalformedGLTF("The nodes of the file form a cycle.");
    return roots;
  }

  std::vector<GLTFIndex> topNodes() const {
    const std::vector<GLTFIndex> roots = rootNodes();
    const Elements scenes = list("scenes");
    const std::optional<GLTFIndex> scene = indexUnder(root_, "scene", scenes.size());
    return scene ? outermost(indicesUnder(scenes[*scene], "nodes", nodeCount_), roots) : roots;
  }

  /// Those of `listed`, each once, that stand below no other of them: a node is not to be shown twice.
  std::vector<GLTFIndex> outermost(const std::vector<GLTFIndex>& listed, const std::vector<GLTFIndex>& roots) const {
    struct Place {
      GLTFIndex node;
      bool isBelowListed;
    };
    std::vector<bool> isListed(nodeCount_);
    for (const GLTFIndex node : listed) isListed[node] = true;
    std::vector<bool> isTop(nodeCount_);
    std::vector<Place> pending;
    pending.reserve(roots.size());
    for (const GLTFIndex root : roots) pending.push_back({root, false});
    while (!pending.empty()) {
      const Place place = pending.back();
      pending.pop_back();
      isTop[place.node] = isListed[place.node] && !place.isBelowListed;
      const bool isBelow = isListed[place.node] || place.isBelowListed;
      for (const GLTFIndex child : document_.nodes[place.node].children) pending.push_back({child, isBelow});
    }
    std::vector<GLTFIndex> tops;
    for (const GLTFIndex node : listed) {
      if (isTop[node]) tops.push_back(node);
      isTop[node] = false;
    }
    return tops;
  }

  const JSONElement root_;
  GLTFMemoryBudget& budget_;
  Elements lights_;
  std::size_t nodeCount_ = 0;
  GLTFDocument document_;
};

}  // namespace

std::optional<GLTFIndex> accessorOfAttribute(const GLTFAttributes& attributes, std::string_view name) {
  const auto found = std::find_if(attributes.begin(), attributes.end(),
                                  [&](const auto& attribute) { return attribute.first == name; });
  return found != attributes.end() ? std::optional(found->second) : std::nullopt;
}

simd_double4x4 GLTFTransform::asMatrix() const {
  return matrix ? *matrix : matrixFromComponents({translation, normalized(rotation), scale});
}

GLTFDocument readGLTFDocument(const JSONElement& root, GLTFMemoryBudget& budget) {
  return DocumentReader(root, budget).read();
}

}  // namespace ornolith
