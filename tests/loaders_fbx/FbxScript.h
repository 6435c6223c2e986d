#pragma once

#include <cstddef>
#include <cstdint>
#include <span>
#include <string>
#include <string_view>
#include <vector>

namespace ornolith::test {

/// A mesh as an FBX file holds it.
struct FbxMesh {
  std::vector<double> vertices = {};
  std::vector<int> polygons = {};                ///< Vertex numbers; the last of each polygon as -1 - number.
  std::vector<std::vector<double>> uvSets = {};  ///< One (u, v) for each polygon corner.
  std::vector<double> normals = {};              ///< One (x, y, z) for each polygon corner, or empty.
  std::vector<double> tangents = {};             ///< The same.
  std::vector<double> colors = {};               ///< One (r, g, b, a) for each polygon corner, or empty.
  std::vector<int> materials = {};               ///< One for each polygon, or empty.

  static FbxMesh triangle() { return {.vertices = {0, 0, 0, 1, 0, 0, 0, 1, 0}, .polygons = {0, 1, -3}}; }
  /// A unit square and a triangle beside it.
  static FbxMesh quadAndTriangle() {
    return {.vertices = {0, 0, 0, 1, 0, 0, 1, 1, 0, 0, 1, 0, 2, 0, 0}, .polygons = {0, 1, 2, -4, 1, 4, -3}};
  }
};

/// Composes a small FBX file in its text form, version 7.5.
///
///     FbxScript script;
///     const auto node = script.model("Box", "Mesh");
///     script.connect(node, FbxScript::root);
///     script.connect(script.geometry(FbxMesh::triangle()), node);
class FbxScript {
 public:
  using Identifier = std::int64_t;
  static constexpr Identifier root = 0;

  /// Lines of `P: ...` for the file's global settings, beside the axes (y up, right-handed).
  std::string settings;
  int upAxis = 1;

  /// `properties` are lines of `P: ...`.
  Identifier model(std::string_view name, std::string_view type, std::string_view properties = "");
  Identifier geometry(const FbxMesh& mesh, std::string_view name = "");
  /// A camera or light node's attribute, or a null's.
  Identifier attribute(std::string_view type);
  Identifier material(std::string_view name, std::string_view properties = "");
  /// `body` are lines such as `RelativeFilename: "a.png"`, `properties` lines of `P: ...`.
  Identifier texture(std::string_view name, std::string_view body, std::string_view properties = "");
  /// A clip with an image inside it.
  Identifier video(std::span<const std::byte> content);
  Identifier animationStack(std::string_view name, std::string_view properties = "");
  /// A curve that moves `model` along x, in a stack of its own.
  void animate(Identifier model, std::string_view stackName = "Take");
  /// Any object: `Class: id, "Class::name", "subclass" { body }`.
  Identifier object(std::string_view objectClass, std::string_view name, std::string_view subclass,
                    std::string_view body);

  void connect(Identifier child, Identifier parent);
  void connect(Identifier child, Identifier parent, std::string_view property);

  std::string text() const;

 private:
  Identifier next_ = 1000;
  std::string objects_;
  std::string connections_;
};

/// `P: "name", "Color", "", "A", r, g, b`.
std::string colorProperty(std::string_view name, double red, double green, double blue);
std::string numberProperty(std::string_view name, double value);

}  // namespace ornolith::test
