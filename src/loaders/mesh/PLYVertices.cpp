#include "loaders/mesh/PLYVertices.h"

#include <algorithm>
#include <cstring>
#include <optional>
#include <span>
#include <type_traits>
#include <utility>
#include <vector>

#include "foundation/Parallel.h"
#include "imaging/Color.h"
#include "loaders/mesh/FreshPages.h"
#include "loaders/mesh/MeshReadError.h"

namespace ornolith {

namespace {

bool isFraction(PLYType type) noexcept {
  return type == PLYType::float32 || type == PLYType::float64;
}

/// Values of all vertices, of which each has some components.
struct Stream {
  LargeVector<float>* values = nullptr;
  std::size_t firstComponent = 0;
  std::size_t componentCount = 0;
};

/// A component of a stream: where its values come from and where they go.
struct Component {
  PLYSlot slot = plySlotCount;
  std::size_t property = 0;
  float* first = nullptr;  ///< Of the first vertex.
  std::size_t stride = 0;  ///< Floats from one vertex to the next.
};

class VertexReader {
 public:
  VertexReader(PLYRows& rows, const PLYElement& element, const PLYColorLevels& levels)
      : rows_(rows), element_(element), levels_(levels) {}

  void read(IndexedMesh& mesh) {
    findProperties();
    if (!has({plyX, plyY, plyZ})) throwMalformedMesh("The PLY file's vertices have no x, y and z.");
    const bool isFixed = !rows_.isText() && !hasLists(element_);
    if (isFixed && rows_.rest().size() / rowSizeOf(element_) < element_.count) {
      rows_.enter(element_, rows_.rest().size() / rowSizeOf(element_));
      rows_.fail("ends");
    }
    makeStreams(mesh);
    if (isFixed) {
      readFixedRows();
    } else {
      readRows();
    }
  }

 private:
  // Of several properties with one meaning the last one counts.
  void findProperties() {
    for (std::size_t i = 0; i < element_.properties.size(); ++i) {
      const PLYProperty& property = element_.properties[i];
      if (!property.countType) propertyOf_[plySlotOf(property)] = i;
    }
  }

  bool has(std::initializer_list<PLYSlot> slots) const {
    return std::all_of(slots.begin(), slots.end(), [&](PLYSlot slot) { return propertyOf_[slot].has_value(); });
  }

  void makeStreams(IndexedMesh& mesh) {
    makeStream(mesh.positions, {plyX, plyY, plyZ});
    makeStream(mesh.normals, {plyNormalX, plyNormalY, plyNormalZ});
    makeStream(mesh.texcoords, {plyTextureU, plyTextureV});
    mesh.colorComponents = has({plyAlpha}) ? 4 : 3;
    if (mesh.colorComponents == 4) {
      makeStream(mesh.colors, {plyRed, plyGreen, plyBlue, plyAlpha});
    } else {
      makeStream(mesh.colors, {plyRed, plyGreen, plyBlue});
    }
  }

  void makeStream(LargeVector<float>& stream, std::initializer_list<PLYSlot> slots) {
    if (!has(slots)) return;
    stream.resize(element_.count * slots.size());
    streams_.push_back({&stream, components_.size(), slots.size()});
    std::size_t place = 0;
    for (const PLYSlot slot : slots) {
      components_.push_back({slot, *propertyOf_[slot], stream.data() + place++, slots.size()});
    }
  }

  std::span<const Component> componentsOf(const Stream& stream) const {
    return std::span(components_).subspan(stream.firstComponent, stream.componentCount);
  }

  float finished(PLYSlot slot, PLYType type, float value) const noexcept {
    if (slot == plyTextureV) return 1 - value;
    if (slot == plyAlpha) return PLYColorLevels::fraction(value, type);
    return slot >= plyRed && slot <= plyBlue ? levels_.linear(value, type) : value;
  }

  // Rows of one size: column by column, in blocks that stay in the processor's memory.
  void readFixedRows() {
    constexpr std::size_t rowsOfABlock = 2048;
    const std::size_t rowSize = rowSizeOf(element_);
    const std::byte* first = rows_.rest().data();
    std::vector<std::size_t> offsets(element_.properties.size() + 1);
    for (std::size_t i = 0; i < element_.properties.size(); ++i) {
      offsets[i + 1] = offsets[i] + sizeOf(element_.properties[i].type);
    }
    const std::size_t blockCount = (element_.count + rowsOfABlock - 1) / rowsOfABlock;
    const std::size_t blocksOfAPart = bytesOfAPart / (rowsOfABlock * rowSize) + 1;
    for (std::size_t firstBlock = 0; firstBlock < blockCount; firstBlock += blocksOfAPart) {
      const std::size_t end = std::min((firstBlock + blocksOfAPart) * rowsOfABlock, std::size_t{element_.count});
      parallelFor(std::min(blocksOfAPart, blockCount - firstBlock), 8, [&](std::size_t block) {
        const std::size_t begin = (firstBlock + block) * rowsOfABlock;
        const std::size_t count = std::min(rowsOfABlock, end - begin);
        for (const Stream& stream : streams_) {
          float* const values = stream.values->data() + begin * stream.componentCount;
          provideFreshPages(stream.values->data(), stream.values->size() * sizeof(float), values,
                            count * stream.componentCount * sizeof(float));
          const auto components = componentsOf(stream);
          const auto placeOf = [&](const Component& component) {
            return first + begin * rowSize + offsets[component.property];
          };
          if (standsReady(stream)) {
            copyRows(placeOf(components.front()), rowSize, count, stream.componentCount * sizeof(float), values);
            continue;
          }
          for (const Component& component : components) {
            readColumn(component, placeOf(component), rowSize, begin, count);
          }
        }
      });
      rows_.advance((end - firstBlock * rowsOfABlock) * rowSize);
      rows_.notePart();
    }
  }

  static bool isPlain(PLYSlot slot) noexcept { return slot < plyRed || slot == plyTextureU; }

  /// Whether the components stand side by side in each row, just as they are wanted.
  bool standsReady(const Stream& stream) const {
    if (rows_.byteOrder() != PLYByteOrder::native) return false;
    const auto components = componentsOf(stream);
    return std::all_of(components.begin(), components.end(), [&](const Component& component) {
      const auto place = static_cast<std::size_t>(&component - components.data());
      return isPlain(component.slot) && element_.properties[component.property].type == PLYType::float32 &&
             component.property == components.front().property + place;
    });
  }

  static void copyRows(const std::byte* place, std::size_t rowSize, std::size_t count, std::size_t size, float* out) {
    if (size == rowSize) {
      std::memcpy(out, place, count * size);
      return;
    }
    for (std::size_t row = 0; row < count; ++row) {
      std::memcpy(out + row * (size / sizeof(float)), place + row * rowSize, size);
    }
  }

  void readColumn(const Component& component, const std::byte* place, std::size_t rowSize, std::size_t begin,
                  std::size_t count) const {
    const PLYType type = element_.properties[component.property].type;
    float* out = component.first + begin * component.stride;
    withValueType(type, rows_.byteOrder(), [&]<typename Value, PLYByteOrder order>() {
      const auto fill = [&](const auto& convert) {
        for (std::size_t row = 0; row < count; ++row) {
          out[row * component.stride] = convert(valueAt<Value, order>(place + row * rowSize));
        }
      };
      if (isPlain(component.slot)) {
        fill([](Value value) { return static_cast<float>(value); });
      } else {
        fill([&](Value value) {
          if constexpr (std::is_same_v<Value, std::uint8_t>) {
            if (component.slot >= plyRed && component.slot <= plyBlue) return levels_.linear(value);
          }
          return finished(component.slot, type, static_cast<float>(value));
        });
      }
    });
  }

  void readRows() {
    std::sort(components_.begin(), components_.end(),
              [](const Component& a, const Component& b) { return a.property < b.property; });
    for (std::uint64_t row = 0; row < element_.count; ++row) {
      rows_.enter(element_, row);
      auto component = components_.begin();
      for (std::size_t i = 0; i < element_.properties.size(); ++i) {
        const PLYProperty& property = element_.properties[i];
        if (component == components_.end() || component->property != i) {
          rows_.skip(property);
          continue;
        }
        component->first[row * component->stride] =
            finished(component->slot, property.type, rows_.nextFloat(property.type));
        ++component;
      }
    }
  }

  PLYRows& rows_;
  const PLYElement& element_;
  const PLYColorLevels& levels_;
  std::array<std::optional<std::size_t>, plySlotCount + 1> propertyOf_;
  std::vector<Component> components_;
  std::vector<Stream> streams_;
};

}  // namespace

PLYSlot plySlotOf(const PLYProperty& property) noexcept {
  constexpr std::array<std::pair<std::string_view, PLYSlot>, 27> names{{
      {"x", plyX},
      {"y", plyY},
      {"z", plyZ},
      {"nx", plyNormalX},
      {"ny", plyNormalY},
      {"nz", plyNormalZ},
      {"normal_x", plyNormalX},
      {"normal_y", plyNormalY},
      {"normal_z", plyNormalZ},
      {"red", plyRed},
      {"green", plyGreen},
      {"blue", plyBlue},
      {"alpha", plyAlpha},
      {"r", plyRed},
      {"g", plyGreen},
      {"b", plyBlue},
      {"a", plyAlpha},
      {"diffuse_red", plyRed},
      {"diffuse_green", plyGreen},
      {"diffuse_blue", plyBlue},
      {"diffuse_alpha", plyAlpha},
      {"s", plyTextureU},
      {"t", plyTextureV},
      {"u", plyTextureU},
      {"v", plyTextureV},
      {"texture_u", plyTextureU},
      {"texture_v", plyTextureV},
  }};
  for (const auto& [name, slot] : names) {
    if (name == property.name) return slot;
  }
  return plySlotCount;
}

PLYColorLevels::PLYColorLevels() noexcept {
  for (std::size_t i = 0; i < levels_.size(); ++i) levels_[i] = linearFromSRGB8(static_cast<std::uint8_t>(i));
}

float PLYColorLevels::fraction(float value, PLYType type) noexcept {
  const float most = isFraction(type) ? 1.0F : type == PLYType::uint16 ? 65535.0F : 255.0F;
  return value >= 0 ? std::min(value / most, 1.0F) : 0.0F;
}

float PLYColorLevels::linear(float value, PLYType type) const noexcept {
  const bool isByte = !isFraction(type) && type != PLYType::uint16;
  if (isByte && value >= 0 && value <= 255 && value == static_cast<float>(static_cast<std::uint8_t>(value))) {
    return levels_[static_cast<std::uint8_t>(value)];
  }
  return linearFromSRGB(fraction(value, type));
}

void readPLYVertices(PLYRows& rows, const PLYElement& element, const PLYColorLevels& levels, IndexedMesh& mesh) {
  VertexReader(rows, element, levels).read(mesh);
}

}  // namespace ornolith
