#include "loaders_fbx/FbxScript.h"

#include <array>
#include <charconv>

namespace ornolith::test {

namespace {

std::string numberText(double value) {
  std::array<char, 32> buffer{};
  const auto result = std::to_chars(buffer.data(), buffer.data() + buffer.size(), value);
  return {buffer.data(), result.ptr};
}

template <typename Number>
std::string arrayNode(std::string_view name, const std::vector<Number>& values) {
  std::string text = std::string(name) + ": *" + std::to_string(values.size()) + " {\na: ";
  for (std::size_t index = 0; index < values.size(); ++index) {
    if (index > 0) text += index % 64 == 0 ? ",\n" : ",";
    text += numberText(static_cast<double>(values[index]));
  }
  return text + "\n}\n";
}

std::string layerElement(std::string_view kind, std::size_t index, std::string_view name, std::string_view mapping,
                         std::string_view data) {
  return std::string(kind) + ": " + std::to_string(index) + " {\nVersion: 101\nName: \"" + std::string(name) +
         "\"\nMappingInformationType: \"" + std::string(mapping) + "\"\n" + std::string(data) + "}\n";
}

std::string base64(std::span<const std::byte> data) {
  static constexpr std::string_view digits = "ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz0123456789+/";
  std::string text;
  for (std::size_t index = 0; index < data.size(); index += 3) {
    std::uint32_t bits = 0;
    const std::size_t count = std::min<std::size_t>(3, data.size() - index);
    for (std::size_t byte = 0; byte < 3; ++byte) {
      bits = (bits << 8) | (byte < count ? std::to_integer<std::uint32_t>(data[index + byte]) : 0);
    }
    for (std::size_t digit = 0; digit < 4; ++digit) {
      text += digit <= count ? digits[(bits >> (18 - 6 * digit)) & 63] : '=';
    }
  }
  return text;
}

std::string properties70(std::string_view lines) {
  return "Properties70: {\n" + std::string(lines) + "}\n";
}

}  // namespace

FbxScript::Identifier FbxScript::object(std::string_view objectClass, std::string_view name, std::string_view subclass,
                                        std::string_view body) {
  const std::string prefix = objectClass == "NodeAttribute"        ? "NodeAttribute"
                             : objectClass == "AnimationStack"     ? "AnimStack"
                             : objectClass == "AnimationLayer"     ? "AnimLayer"
                             : objectClass == "AnimationCurve"     ? "AnimCurve"
                             : objectClass == "AnimationCurveNode" ? "AnimCurveNode"
                                                                   : std::string(objectClass);
  const Identifier identifier = next_++;
  objects_ += std::string(objectClass) + ": " + std::to_string(identifier) + ", \"" + prefix +
              "::" + std::string(name) + "\", \"" + std::string(subclass) + "\" {\n" + std::string(body) + "}\n";
  return identifier;
}

FbxScript::Identifier FbxScript::model(std::string_view name, std::string_view type, std::string_view properties) {
  return object("Model", name, type, "Version: 232\n" + properties70(properties));
}

FbxScript::Identifier FbxScript::geometry(const FbxMesh& mesh, std::string_view name) {
  std::string body = arrayNode("Vertices", mesh.vertices) + arrayNode("PolygonVertexIndex", mesh.polygons);
  for (std::size_t set = 0; set < mesh.uvSets.size(); ++set) {
    body += layerElement("LayerElementUV", set, "UV" + std::to_string(set), "ByPolygonVertex",
                         "ReferenceInformationType: \"Direct\"\n" + arrayNode("UV", mesh.uvSets[set]));
  }
  if (!mesh.normals.empty()) {
    body += layerElement("LayerElementNormal", 0, "", "ByPolygonVertex",
                         "ReferenceInformationType: \"Direct\"\n" + arrayNode("Normals", mesh.normals));
  }
  if (!mesh.tangents.empty()) {
    body += layerElement("LayerElementTangent", 0, "UV0", "ByPolygonVertex",
                         "ReferenceInformationType: \"Direct\"\n" + arrayNode("Tangents", mesh.tangents));
  }
  if (!mesh.colors.empty()) {
    body += layerElement("LayerElementColor", 0, "", "ByPolygonVertex",
                         "ReferenceInformationType: \"Direct\"\n" + arrayNode("Colors", mesh.colors));
  }
  if (!mesh.materials.empty()) {
    body += layerElement("LayerElementMaterial", 0, "", "ByPolygon",
                         "ReferenceInformationType: \"IndexToDirect\"\n" + arrayNode("Materials", mesh.materials));
  }
  std::string layer;
  const auto entry = [&layer](std::string_view type, std::size_t index) {
    layer += "LayerElement: {\nType: \"" + std::string(type) + "\"\nTypedIndex: " + std::to_string(index) + "\n}\n";
  };
  if (!mesh.normals.empty()) entry("LayerElementNormal", 0);
  if (!mesh.tangents.empty()) entry("LayerElementTangent", 0);
  if (!mesh.colors.empty()) entry("LayerElementColor", 0);
  if (!mesh.materials.empty()) entry("LayerElementMaterial", 0);
  if (!mesh.uvSets.empty()) entry("LayerElementUV", 0);
  body += "Layer: 0 {\nVersion: 100\n" + layer + "}\n";
  for (std::size_t set = 1; set < mesh.uvSets.size(); ++set) {
    layer.clear();
    entry("LayerElementUV", set);
    body += "Layer: " + std::to_string(set) + " {\nVersion: 100\n" + layer + "}\n";
  }
  return object("Geometry", name, "Mesh", body);
}

FbxScript::Identifier FbxScript::attribute(std::string_view type) {
  return object("NodeAttribute", "", type, "TypeFlags: \"" + std::string(type) + "\"\n");
}

FbxScript::Identifier FbxScript::material(std::string_view name, std::string_view properties) {
  return object("Material", name, "", "Version: 102\nShadingModel: \"phong\"\n" + properties70(properties));
}

FbxScript::Identifier FbxScript::texture(std::string_view name, std::string_view body, std::string_view properties) {
  return object("Texture", name, "",
                "Type: \"TextureVideoClip\"\nVersion: 202\n" + std::string(body) + properties70(properties));
}

FbxScript::Identifier FbxScript::video(std::span<const std::byte> content) {
  return object("Video", "Clip", "Clip", "Type: \"Clip\"\nContent: , \"" + base64(content) + "\"\n");
}

FbxScript::Identifier FbxScript::animationStack(std::string_view name, std::string_view properties) {
  return object("AnimationStack", name, "", properties70(properties));
}

void FbxScript::animate(Identifier model, std::string_view stackName) {
  const Identifier stack = animationStack(stackName);
  const Identifier layer = object("AnimationLayer", "Base", "", "");
  const Identifier node = object("AnimationCurveNode", "T", "", properties70(numberProperty("d|X", 0)));
  const Identifier curve = object("AnimationCurve", "", "",
                                  "Default: 0\nKeyVer: 4009\nKeyTime: *2 {\na: 0,46186158000\n}\n"
                                  "KeyValueFloat: *2 {\na: 0,0\n}\nKeyAttrFlags: *1 {\na: 260\n}\n"
                                  "KeyAttrDataFloat: *4 {\na: 0,0,0,0\n}\nKeyAttrRefCount: *1 {\na: 2\n}\n");
  connect(layer, stack);
  connect(node, layer);
  connect(node, model, "Lcl Translation");
  connect(curve, node, "d|X");
}

void FbxScript::connect(Identifier child, Identifier parent) {
  connections_ += "C: \"OO\"," + std::to_string(child) + "," + std::to_string(parent) + "\n";
}

void FbxScript::connect(Identifier child, Identifier parent, std::string_view property) {
  connections_ +=
      "C: \"OP\"," + std::to_string(child) + "," + std::to_string(parent) + ", \"" + std::string(property) + "\"\n";
}

std::string FbxScript::text() const {
  const auto axis = [](std::string_view name, int value) {
    return "P: \"" + std::string(name) + "\", \"int\", \"Integer\", \"\"," + std::to_string(value) + "\n";
  };
  // y up: front z; z up: front -y. Both have x to the right.
  const std::string axes = axis("UpAxis", upAxis) + axis("UpAxisSign", 1) + axis("FrontAxis", upAxis == 1 ? 2 : 1) +
                           axis("FrontAxisSign", upAxis == 1 ? 1 : -1) + axis("CoordAxis", 0) +
                           axis("CoordAxisSign", 1);
  return "; FBX 7.5.0 project file\nFBXHeaderExtension: {\nFBXHeaderVersion: 1003\nFBXVersion: 7500\n}\n"
         "GlobalSettings: {\nVersion: 1000\n" +
         properties70(axes + settings) + "}\nObjects: {\n" + objects_ + "}\nConnections: {\n" + connections_ + "}\n";
}

std::string colorProperty(std::string_view name, double red, double green, double blue) {
  return "P: \"" + std::string(name) + "\", \"Color\", \"\", \"A\"," + numberText(red) + "," + numberText(green) + "," +
         numberText(blue) + "\n";
}

std::string numberProperty(std::string_view name, double value) {
  return "P: \"" + std::string(name) + "\", \"Number\", \"\", \"A\"," + numberText(value) + "\n";
}

}  // namespace ornolith::test
