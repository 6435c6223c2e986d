#include "loaders/mesh/PLYReader.h"

#include <algorithm>
#include <array>
#include <bit>
#include <cstdint>
#include <limits>
#include <optional>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include "imaging/ByteOrder.h"
#include "imaging/Color.h"
#include "loaders/mesh/MeshGeometry.h"
#include "loaders/mesh/MeshReadError.h"
#include "loaders/mesh/PLYHeader.h"
#include "loaders/mesh/TextScanner.h"
#include "loaders/mesh/VertexNormals.h"
#include "scenegraph/PolygonTriangulation.h"

namespace ornolith {

namespace {

using Bytes = std::span<const std::byte>;

/// The values of the rows, one after the other.
class ValueReader {
 public:
  ValueReader(Bytes rows, PLYFormat format) : rows_(rows), format_(format), scanner_(rows) {}

  double next(PLYType type) {
    if (format_ == PLYFormat::ascii) {
      const std::optional<double> value = numberOf<double>(scanner_.nextToken());
      if (!value) fail("has no number");
      return *value;
    }
    const std::size_t size = sizeOf(type);
    if (rows_.size() - position_ < size) fail("ends");
    const std::size_t place = std::exchange(position_, position_ + size);
    switch (type) {
      case PLYType::int8:
        return static_cast<std::int8_t>(byteAt(rows_, place));
      case PLYType::uint8:
        return byteAt(rows_, place);
      case PLYType::int16:
        return static_cast<std::int16_t>(next16(place));
      case PLYType::uint16:
        return next16(place);
      case PLYType::int32:
        return static_cast<std::int32_t>(next32(place));
      case PLYType::uint32:
        return next32(place);
      case PLYType::float32:
        return std::bit_cast<float>(next32(place));
      case PLYType::float64:
        return std::bit_cast<double>(next64(place));
    }
    return 0;
  }

  /// How many values the list has whose count stands next.
  std::size_t nextCount(PLYType countType) {
    const double count = next(countType);
    const auto room = static_cast<double>(rows_.size());
    if (!(count >= 0 && count <= room) || count != static_cast<double>(static_cast<std::size_t>(count))) {
      fail("has an impossible list length");
    }
    return static_cast<std::size_t>(count);
  }

  void enter(const PLYElement& element, std::uint64_t row) {
    element_ = &element;
    row_ = row;
  }

  [[noreturn]] void fail(const std::string& fault) const {
    throwMalformedMesh("The PLY file " + fault + " in row " + std::to_string(row_) + " of the element \"" +
                       element_->name + "\".");
  }

 private:
  bool isBig() const noexcept { return format_ == PLYFormat::binaryBigEndian; }
  std::uint16_t next16(std::size_t place) const {
    return isBig() ? bigEndian16(rows_, place) : littleEndian16(rows_, place);
  }
  std::uint32_t next32(std::size_t place) const {
    return isBig() ? bigEndian32(rows_, place) : littleEndian32(rows_, place);
  }
  std::uint64_t next64(std::size_t place) const {
    const std::uint64_t first = next32(place);
    const std::uint64_t second = next32(place + 4);
    return isBig() ? first << 32 | second : second << 32 | first;
  }

  Bytes rows_;
  PLYFormat format_;
  TextScanner scanner_;
  std::size_t position_ = 0;
  const PLYElement* element_ = nullptr;
  std::uint64_t row_ = 0;
};

/// What a vertex's values mean, in the order in which they are kept.
enum Slot : std::size_t { x, y, z, normalX, normalY, normalZ, red, green, blue, textureU, textureV, slotCount };

Slot slotOf(std::string_view name) {
  constexpr std::array<std::pair<std::string_view, Slot>, 24> names{{
      {"x", x},
      {"y", y},
      {"z", z},
      {"nx", normalX},
      {"ny", normalY},
      {"nz", normalZ},
      {"normal_x", normalX},
      {"normal_y", normalY},
      {"normal_z", normalZ},
      {"red", red},
      {"green", green},
      {"blue", blue},
      {"r", red},
      {"g", green},
      {"b", blue},
      {"diffuse_red", red},
      {"diffuse_green", green},
      {"diffuse_blue", blue},
      {"s", textureU},
      {"t", textureV},
      {"u", textureU},
      {"v", textureV},
      {"texture_u", textureU},
      {"texture_v", textureV},
  }};
  for (const auto& [known, slot] : names) {
    if (known == name) return slot;
  }
  return slotCount;
}

/// A colour's part as a fraction of its type's range.
float colorFraction(double value, PLYType type) {
  const double most = type == PLYType::uint8 ? 255 : type == PLYType::uint16 ? 65535 : 1;
  return static_cast<float>(value >= 0 ? std::min(value / most, 1.0) : 0.0);
}

struct Mesh {
  std::vector<float> positions;
  std::vector<float> normals;    // Empty where the file has none; so are colours and texture coordinates.
  std::vector<float> colors;     // Linear.
  std::vector<float> texcoords;  // From the top left.
  std::vector<std::uint32_t> triangles;
};

class MeshReader {
 public:
  MeshReader(Bytes bytes, const PLYHeader& header)
      : header_(header), values_(bytes.subspan(header.size), header.format) {}

  Mesh read() {
    for (const PLYElement& element : header_.elements) {
      if (element.name == "vertex") vertexCount_ = element.count;
    }
    if (vertexCount_ > std::numeric_limits<std::int32_t>::max())
      throwMalformedMesh("The PLY file has too many vertices.");
    for (const PLYElement& element : header_.elements) {
      if (element.properties.empty()) continue;
      if (element.name == "vertex" && mesh_.positions.empty()) {
        readVertices(element);
      } else {
        readFacesOrSkip(element);
      }
    }
    if (mesh_.positions.size() != vertexCount_ * 3) throwMalformedMesh("The PLY file's vertices have no x, y and z.");
    triangulate();
    return std::move(mesh_);
  }

 private:
  void readVertices(const PLYElement& element) {
    std::vector<Slot> slots;
    std::array<bool, slotCount + 1> has{};
    for (const PLYProperty& property : element.properties) {
      slots.push_back(property.countType ? slotCount : slotOf(property.name));
      has[slots.back()] = true;
    }
    if (!(has[x] && has[y] && has[z])) throwMalformedMesh("The PLY file's vertices have no x, y and z.");
    const bool hasNormals = has[normalX] && has[normalY] && has[normalZ];
    const bool hasColors = has[red] && has[green] && has[blue];
    const bool hasTexcoords = has[textureU] && has[textureV];
    mesh_.positions.reserve(element.count * 3);
    for (std::uint64_t row = 0; row < element.count; ++row) {
      values_.enter(element, row);
      std::array<float, slotCount + 1> value{};
      for (std::size_t i = 0; i < slots.size(); ++i) {
        const PLYProperty& property = element.properties[i];
        if (property.countType) {
          skipList(property);
          continue;
        }
        const double number = values_.next(property.type);
        const bool isColor = slots[i] >= red && slots[i] <= blue;
        value[slots[i]] = isColor ? linearFromSRGB(colorFraction(number, property.type)) : static_cast<float>(number);
      }
      mesh_.positions.insert(mesh_.positions.end(), {value[x], value[y], value[z]});
      if (hasNormals) mesh_.normals.insert(mesh_.normals.end(), {value[normalX], value[normalY], value[normalZ]});
      if (hasColors) mesh_.colors.insert(mesh_.colors.end(), {value[red], value[green], value[blue]});
      if (hasTexcoords) mesh_.texcoords.insert(mesh_.texcoords.end(), {value[textureU], 1 - value[textureV]});
    }
  }

  void skipList(const PLYProperty& property) {
    for (std::size_t count = values_.nextCount(*property.countType); count > 0; --count) values_.next(property.type);
  }

  void readFacesOrSkip(const PLYElement& element) {
    const bool isFaces = element.name == "face";
    const bool isStrips = element.name == "tristrips";
    for (std::uint64_t row = 0; row < element.count; ++row) {
      values_.enter(element, row);
      for (const PLYProperty& property : element.properties) {
        const bool isIndices = property.name == "vertex_indices" || property.name == "vertex_index";
        if (!property.countType) {
          values_.next(property.type);
        } else if (isIndices && isFaces) {
          readPolygon(property);
        } else if (isIndices && isStrips) {
          readStrip(property);
        } else {
          skipList(property);
        }
      }
    }
  }

  std::uint32_t checkedIndex(double value) const {
    if (!(value >= 0 && value < static_cast<double>(vertexCount_)) ||
        value != static_cast<double>(static_cast<std::uint32_t>(value))) {
      values_.fail("names a vertex that is not there");
    }
    return static_cast<std::uint32_t>(value);
  }

  void readPolygon(const PLYProperty& property) {
    const std::size_t count = values_.nextCount(*property.countType);
    for (std::size_t i = 0; i < count; ++i) corners_.push_back(checkedIndex(values_.next(property.type)));
    cornerCounts_.push_back(static_cast<std::uint32_t>(count));
  }

  /// Every second triangle of a strip turns the other way; -1 begins a new one.
  void readStrip(const PLYProperty& property) {
    const std::size_t count = values_.nextCount(*property.countType);
    std::array<std::uint32_t, 2> last{};
    std::size_t length = 0;
    for (std::size_t i = 0; i < count; ++i) {
      const double value = values_.next(property.type);
      if (value == -1) {
        length = 0;
        continue;
      }
      const std::uint32_t corner = checkedIndex(value);
      if (length >= 2) addTriangle(last[length % 2], last[1 - length % 2], corner);
      last = {last[1], corner};
      ++length;
    }
  }

  void addTriangle(std::uint32_t a, std::uint32_t b, std::uint32_t c) {
    mesh_.triangles.insert(mesh_.triangles.end(), {a, b, c});
  }

  void triangulate() {
    PolygonTriangulator triangulator;
    std::vector<simd_double3> points;
    std::vector<std::uint32_t> triangles;
    std::span<const std::uint32_t> rest = corners_;
    for (const std::uint32_t count : cornerCounts_) {
      const std::span<const std::uint32_t> polygon = rest.first(count);
      rest = rest.subspan(count);
      if (count == 3) addTriangle(polygon[0], polygon[1], polygon[2]);
      if (count <= 3) continue;
      points.clear();
      triangles.clear();
      for (const std::uint32_t corner : polygon) {
        const float* p = mesh_.positions.data() + std::size_t{corner} * 3;
        points.push_back({p[0], p[1], p[2]});
      }
      triangulator.triangulate(points, triangles);
      for (const std::uint32_t corner : triangles) mesh_.triangles.push_back(polygon[corner]);
    }
  }

  const PLYHeader& header_;
  ValueReader values_;
  Mesh mesh_;
  std::uint64_t vertexCount_ = 0;
  std::vector<std::uint32_t> cornerCounts_;  // Of the polygons, whose corners stand one after the other.
  std::vector<std::uint32_t> corners_;
};

std::vector<float> selected(const std::vector<float>& values, std::size_t components,
                            const std::vector<std::uint32_t>& vertices) {
  std::vector<float> result;
  if (values.empty()) return result;
  result.reserve(vertices.size() * components);
  for (const std::uint32_t vertex : vertices) {
    const float* first = values.data() + vertex * components;
    result.insert(result.end(), first, first + components);
  }
  return result;
}

void addMissingNormals(Mesh& mesh) {
  if (mesh.triangles.empty() || !mesh.normals.empty()) return;
  CreasedMesh creased = creasedMesh(mesh.positions, mesh.triangles);
  mesh.positions = selected(mesh.positions, 3, creased.sourceVertices);
  mesh.colors = selected(mesh.colors, 3, creased.sourceVertices);
  mesh.texcoords = selected(mesh.texcoords, 2, creased.sourceVertices);
  mesh.normals = std::move(creased.normals);
  mesh.triangles = std::move(creased.indices);
}

std::shared_ptr<SCNGeometryElement> elementOf(const Mesh& mesh) {
  if (!mesh.triangles.empty()) return triangleElement(mesh.triangles);
  auto points = SCNGeometryElement::geometryElementWithData(nullptr, SCNGeometryPrimitiveType::point,
                                                            mesh.positions.size() / 3, 4);
  points->minimumPointScreenSpaceRadius = 2;
  points->maximumPointScreenSpaceRadius = 2;
  return points;
}

std::shared_ptr<SCNGeometry> geometryOf(const Mesh& mesh) {
  SCNGeometry::Sources sources{floatSource(mesh.positions, SCNGeometrySourceSemantic::vertex, 3)};
  if (!mesh.normals.empty()) sources.push_back(floatSource(mesh.normals, SCNGeometrySourceSemantic::normal, 3));
  if (!mesh.colors.empty()) sources.push_back(floatSource(mesh.colors, SCNGeometrySourceSemantic::color, 3));
  if (!mesh.texcoords.empty()) sources.push_back(floatSource(mesh.texcoords, SCNGeometrySourceSemantic::texcoord, 2));
  auto geometry = SCNGeometry::geometryWithSources(std::move(sources), {elementOf(mesh)});
  geometry->setFirstMaterial(defaultMeshMaterial(!mesh.colors.empty()));
  return geometry;
}

}  // namespace

std::shared_ptr<SCNScene> readPLY(std::span<const std::byte> bytes) {
  const PLYHeader header = readPLYHeader(bytes);
  Mesh mesh = MeshReader(bytes, header).read();
  std::shared_ptr<SCNScene> scene = SCNScene::scene();
  if (mesh.positions.empty()) return scene;
  addMissingNormals(mesh);
  scene->rootNode()->addChildNode(SCNNode::nodeWithGeometry(geometryOf(mesh)));
  return scene;
}

}  // namespace ornolith
