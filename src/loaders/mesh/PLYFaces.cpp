#include "loaders/mesh/PLYFaces.h"

#include <algorithm>
#include <array>
#include <optional>
#include <vector>

#include "loaders/mesh/FreshPages.h"
#include "loaders/mesh/MeshReadError.h"
#include "loaders/mesh/PLYTriangleRows.h"
#include "scenegraph/PolygonTriangulation.h"

namespace ornolith {

namespace {

bool isIndexList(const PLYProperty& property) {
  return property.countType && (property.name == "vertex_indices" || property.name == "vertex_index");
}

class FaceReader {
 public:
  FaceReader(PLYRows& rows, const PLYElement& element, const PLYColorLevels& levels, IndexedMesh& mesh,
             PLYCorners& corners)
      : rows_(rows),
        element_(element),
        levels_(levels),
        mesh_(mesh),
        corners_(corners),
        vertexCount_(mesh.vertexCount()) {}

  void read() {
    const PLYProperty& first = element_.properties.front();
    const bool isIndicesAlone = element_.properties.size() == 1 && isIndexList(first) && element_.name == "face";
    const bool isCommon = isIndicesAlone && first.countType == PLYType::uint8 &&
                          (first.type == PLYType::int32 || first.type == PLYType::uint32);
    if (!rows_.isText() && isCommon) {
      readCommonRows();
    } else {
      readRows();
    }
  }

 private:
  // Rows of a byte that counts and as many indices of 32 bits, most of them triangles. Where some thousand are not all
  // triangles that name vertices that are there, they are read one by one.
  void readCommonRows() {
    const std::size_t mostTriangles = std::min<std::size_t>(element_.count, rows_.rest().size() / plyTriangleRowSize);
    mesh_.triangles.reserve(mesh_.triangles.size() + mostTriangles * 3);
    for (std::uint64_t row = 0; row < element_.count;) {
      rows_.enter(element_, row);
      const std::size_t read = readTriangles(element_.count - row);
      const std::uint64_t end = read > 0 ? row : std::min<std::uint64_t>(row + mostRowsAtOnce, element_.count);
      for (row += read; row < end; ++row) {
        rows_.enter(element_, row);
        readIndices(element_.properties.front());
        addPolygon();
      }
    }
  }

  /// Reads some thousand of the next rows, where these are all triangles; tells how many.
  std::size_t readTriangles(std::uint64_t rowsLeft) {
    const auto count = static_cast<std::size_t>(
        std::min({rowsLeft, std::uint64_t{rows_.rest().size() / plyTriangleRowSize}, mostRowsAtOnce}));
    LargeVector<std::uint32_t>& triangles = mesh_.triangles;
    const std::size_t before = triangles.size();
    triangles.resize(before + count * 3);
    std::uint32_t* const corners = triangles.data() + before;
    provideFreshPages(triangles.data(), triangles.capacity() * sizeof(std::uint32_t), corners,
                      count * 3 * sizeof(std::uint32_t));
    if (!copyPLYTriangleRows(rows_.rest().data(), count, rows_.byteOrder(), vertexCount_, corners)) {
      triangles.resize(before);
      return 0;
    }
    rows_.advance(count * plyTriangleRowSize);
    return count;
  }

  void readRows() {
    const bool isStrips = element_.name == "tristrips";
    findCornerProperties();
    for (std::uint64_t row = 0; row < element_.count; ++row) {
      rows_.enter(element_, row);
      indices_.clear();
      texcoords_.clear();
      for (std::size_t i = 0; i < element_.properties.size(); ++i) {
        const PLYProperty& property = element_.properties[i];
        if (isIndexList(property)) {
          if (isStrips) {
            readStrip(property);
          } else {
            readIndices(property);
          }
        } else if (i == texcoordProperty_) {
          readTexcoords(property);
        } else if (hasColors_ && isColor(property)) {
          readColor(property);
        } else {
          rows_.skip(property);
        }
      }
      if (isStrips) {
        addStrip();
      } else {
        addPolygon();
      }
    }
  }

  static bool isColor(const PLYProperty& property) {
    const PLYSlot slot = plySlotOf(property);
    return !property.countType && slot >= plyRed && slot <= plyAlpha;
  }

  // Colours of vertices come before those of faces, texture coordinates of faces before those of vertices: the one says
  // more, and the other is written by programs for which a vertex has several.
  void findCornerProperties() {
    for (std::size_t i = 0; i < element_.properties.size(); ++i) {
      const PLYProperty& property = element_.properties[i];
      if (property.countType && property.name == "texcoord") texcoordProperty_ = i;
    }
    hasColors_ = mesh_.colors.empty() && hasPLYFaceColors(element_);
    const std::size_t known = mesh_.triangles.size();
    if (hasColors_) corners_.colors.resize(known * 4, 1.0F);
    if (texcoordProperty_) corners_.texcoords.resize(known * 2, 0.0F);
    hasColors_ = hasColors_ || !corners_.colors.empty();
    hasTexcoords_ = texcoordProperty_ || !corners_.texcoords.empty();
  }

  std::uint32_t vertexOf(double value) const {
    if (!(value >= 0 && value < static_cast<double>(vertexCount_)) ||
        value != static_cast<double>(static_cast<std::uint32_t>(value))) {
      rows_.fail("names a vertex that is not there");
    }
    return static_cast<std::uint32_t>(value);
  }

  void readIndices(const PLYProperty& list) {
    indices_.resize(rows_.nextCount(list));
    if (rows_.isText() || list.type == PLYType::float32 || list.type == PLYType::float64) {
      for (std::uint32_t& index : indices_) index = vertexOf(rows_.next(list.type));
      return;
    }
    const std::byte* place = rows_.rest().data();
    withValueType(list.type, rows_.byteOrder(), [&]<typename Value, PLYByteOrder order>() {
      for (std::uint32_t& index : indices_) {
        // NOLINTNEXTLINE(bugprone-signed-char-misuse): a negative number becomes one that is too large.
        const auto value = static_cast<std::uint64_t>(valueAt<Value, order>(place));
        if (value >= vertexCount_) rows_.fail("names a vertex that is not there");
        index = static_cast<std::uint32_t>(value);
        place += sizeof(Value);
      }
    });
    rows_.advance(indices_.size() * sizeOf(list.type));
  }

  // -1, in whatever type, begins a new strip.
  void readStrip(const PLYProperty& list) {
    indices_.clear();
    for (std::size_t count = rows_.nextCount(list); count > 0; --count) {
      const double value = rows_.next(list.type);
      const bool cuts = value == -1 || (list.type == PLYType::uint32 && value == static_cast<double>(cut));
      indices_.push_back(cuts ? cut : vertexOf(value));
    }
  }

  void readTexcoords(const PLYProperty& list) {
    texcoords_.resize(rows_.nextCount(list));
    for (float& value : texcoords_) value = rows_.nextFloat(list.type);
  }

  void readColor(const PLYProperty& property) {
    const float value = rows_.nextFloat(property.type);
    const PLYSlot slot = plySlotOf(property);
    color_[slot - plyRed] =
        slot == plyAlpha ? PLYColorLevels::fraction(value, property.type) : levels_.linear(value, property.type);
  }

  // Corners are those of the row, by their places in it.
  void addTriangle(std::size_t a, std::size_t b, std::size_t c) {
    for (const std::size_t corner : {a, b, c}) {
      mesh_.triangles.push_back(indices_[corner]);
      if (hasColors_) corners_.colors.insert(corners_.colors.end(), color_.begin(), color_.end());
      if (!hasTexcoords_) continue;
      const bool isThere = corner * 2 + 1 < texcoords_.size();
      corners_.texcoords.push_back(isThere ? texcoords_[corner * 2] : 0);
      corners_.texcoords.push_back(isThere ? 1 - texcoords_[corner * 2 + 1] : 0);
    }
  }

  void addPolygon() {
    if (indices_.size() == 3) return addTriangle(0, 1, 2);
    if (indices_.size() < 3) return;
    points_.clear();
    local_.clear();
    for (const std::uint32_t corner : indices_) {
      const float* p = mesh_.positions.data() + std::size_t{corner} * 3;
      points_.push_back({p[0], p[1], p[2]});
    }
    triangulator_.triangulate(points_, local_);
    for (std::size_t i = 0; i + 2 < local_.size(); i += 3) addTriangle(local_[i], local_[i + 1], local_[i + 2]);
  }

  // Every second triangle of a strip turns the other way.
  void addStrip() {
    std::size_t begin = 0;
    for (std::size_t i = 0; i < indices_.size(); ++i) {
      if (indices_[i] == cut) {
        begin = i + 1;
      } else if (i >= begin + 2) {
        const bool turns = (i - begin) % 2 != 0;
        addTriangle(turns ? i - 1 : i - 2, turns ? i - 2 : i - 1, i);
      }
    }
  }

  static constexpr std::uint32_t cut = 0xFFFFFFFF;
  static constexpr std::uint64_t mostRowsAtOnce = 4096;

  PLYRows& rows_;
  const PLYElement& element_;
  const PLYColorLevels& levels_;
  IndexedMesh& mesh_;
  PLYCorners& corners_;
  std::size_t vertexCount_;
  std::optional<std::size_t> texcoordProperty_;
  bool hasColors_ = false;
  bool hasTexcoords_ = false;

  // Of the current row.
  std::vector<std::uint32_t> indices_;
  std::vector<float> texcoords_;
  std::array<float, 4> color_{1, 1, 1, 1};

  PolygonTriangulator triangulator_;
  std::vector<simd_double3> points_;
  std::vector<std::uint32_t> local_;
};

}  // namespace

bool isPLYFaces(const PLYElement& element) noexcept {
  return element.name == "face" || element.name == "tristrips";
}

bool hasPLYFaceColors(const PLYElement& element) noexcept {
  std::array<bool, plySlotCount + 1> has{};
  for (const PLYProperty& property : element.properties) {
    if (!property.countType) has[plySlotOf(property)] = true;
  }
  return isPLYFaces(element) && has[plyRed] && has[plyGreen] && has[plyBlue];
}

void readPLYFaces(PLYRows& rows, const PLYElement& element, const PLYColorLevels& levels, IndexedMesh& mesh,
                  PLYCorners& corners) {
  if (element.properties.empty()) return;
  FaceReader(rows, element, levels, mesh, corners).read();
}

}  // namespace ornolith
