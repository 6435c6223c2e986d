#include "loaders/gltf/GLTFAccessors.h"

#include <algorithm>
#include <cstring>
#include <limits>
#include <numeric>
#include <string>

#include "loaders/gltf/GLTFReadError.h"

namespace ornolith {

struct GLTFAccessors::Layout {
  GLTFBytes bytes;  ///< From the first element to the end of the last.
  std::size_t stride = 0;
  std::size_t count = 0;
  std::size_t components = 1;
  GLTFComponentType type = GLTFComponentType::floatingPoint;
  bool isNormalized = false;
};

namespace {

[[noreturn]] void refuse(GLTFIndex accessor, const char* fault) {
  throwMalformedGLTF("The accessor " + std::to_string(accessor) + " " + fault);
}

std::size_t componentSize(GLTFComponentType type) noexcept {
  switch (type) {
    case GLTFComponentType::signedByte:
    case GLTFComponentType::unsignedByte:
      return 1;
    case GLTFComponentType::signedShort:
    case GLTFComponentType::unsignedShort:
      return 2;
    case GLTFComponentType::unsignedInt:
    case GLTFComponentType::floatingPoint:
      return 4;
  }
  return 4;
}

bool isMatrix(GLTFElementType type) noexcept {
  return type == GLTFElementType::mat2 || type == GLTFElementType::mat3 || type == GLTFElementType::mat4;
}

/// `count` elements of `elementSize` bytes within `view`, from `offset` on.
GLTFBytes elementBytes(const GLTFBytes& view, std::uint64_t offset, std::uint64_t count, std::size_t stride,
                       std::size_t elementSize, GLTFIndex accessor) {
  if (count == 0) return {{}, view.owner};
  const std::size_t size = view.bytes.size();
  const bool fits =
      offset <= size && elementSize <= size - offset && (count - 1) <= (size - offset - elementSize) / stride;
  if (!fits) refuse(accessor, "lies outside its buffer view.");
  return {
      view.bytes.subspan(static_cast<std::size_t>(offset), static_cast<std::size_t>(count - 1) * stride + elementSize),
      view.owner};
}

template <typename Component>
Component read(const std::byte* place) noexcept {
  Component value;
  std::memcpy(&value, place, sizeof value);
  return value;
}

/// A component as the float that it stands for.
template <typename Component, bool isNormalized>
float asFloat(Component value) noexcept {
  if constexpr (!isNormalized) {
    return static_cast<float>(value);
  } else {
    constexpr auto most = static_cast<float>(std::numeric_limits<Component>::max());
    return std::max(static_cast<float>(value) / most, -1.0F);
  }
}

template <typename Component, bool isNormalized>
void convert(const std::byte* from, std::size_t stride, std::size_t count, std::size_t components, float* to) noexcept {
  for (std::size_t element = 0; element < count; ++element) {
    const std::byte* place = from + element * stride;
    for (std::size_t c = 0; c < components; ++c) {
      *to++ = asFloat<Component, isNormalized>(read<Component>(place + c * sizeof(Component)));
    }
  }
}

template <typename Component>
void convert(const std::byte* from, std::size_t stride, std::size_t count, std::size_t components, bool isNormalized,
             float* to) noexcept {
  if (isNormalized) {
    convert<Component, true>(from, stride, count, components, to);
  } else {
    convert<Component, false>(from, stride, count, components, to);
  }
}

/// Writes `count` elements as floats.
void convertElements(GLTFComponentType type, bool isNormalized, const std::byte* from, std::size_t stride,
                     std::size_t count, std::size_t components, float* to) noexcept {
  switch (type) {
    case GLTFComponentType::signedByte:
      return convert<std::int8_t>(from, stride, count, components, isNormalized, to);
    case GLTFComponentType::unsignedByte:
      return convert<std::uint8_t>(from, stride, count, components, isNormalized, to);
    case GLTFComponentType::signedShort:
      return convert<std::int16_t>(from, stride, count, components, isNormalized, to);
    case GLTFComponentType::unsignedShort:
      return convert<std::uint16_t>(from, stride, count, components, isNormalized, to);
    case GLTFComponentType::unsignedInt:
      return convert<std::uint32_t>(from, stride, count, components, isNormalized, to);
    case GLTFComponentType::floatingPoint:
      if (stride == components * sizeof(float)) {
        std::memcpy(to, from, count * stride);
      } else {
        convert<float, false>(from, stride, count, components, to);
      }
  }
}

/// Writes `count` unsigned integers that stand `stride` bytes apart with 32 bits; gives the largest.
template <typename Index>
std::uint32_t widen(const std::byte* from, std::size_t stride, std::size_t count, std::uint32_t* to) noexcept {
  std::uint32_t largest = 0;
  if (stride == sizeof(Index)) {
    for (std::size_t i = 0; i < count; ++i) {
      const auto index = static_cast<std::uint32_t>(read<Index>(from + i * sizeof(Index)));
      largest = std::max(largest, index);
      to[i] = index;
    }
    return largest;
  }
  for (std::size_t i = 0; i < count; ++i) {
    to[i] = read<Index>(from + i * stride);
    largest = std::max(largest, to[i]);
  }
  return largest;
}

/// Widens unsigned integers of any type; false for a type that no index has.
bool widenAny(GLTFComponentType type, const std::byte* from, std::size_t stride, std::size_t count, std::uint32_t* to,
              std::uint32_t& largest) noexcept {
  switch (type) {
    case GLTFComponentType::unsignedByte:
      largest = widen<std::uint8_t>(from, stride, count, to);
      return true;
    case GLTFComponentType::unsignedShort:
      largest = widen<std::uint16_t>(from, stride, count, to);
      return true;
    case GLTFComponentType::unsignedInt:
      largest = widen<std::uint32_t>(from, stride, count, to);
      return true;
    default:
      return false;
  }
}

std::uint32_t largestOf(std::span<const std::uint32_t> values) noexcept {
  std::uint32_t largest = 0;
  for (const std::uint32_t value : values) largest = std::max(largest, value);
  return largest;
}

bool isAligned(const void* place) noexcept {
  return reinterpret_cast<std::uintptr_t>(place) % alignof(float) == 0;
}

}  // namespace

std::size_t GLTFAccessors::componentCount(GLTFElementType type) noexcept {
  switch (type) {
    case GLTFElementType::scalar:
      return 1;
    case GLTFElementType::vec2:
      return 2;
    case GLTFElementType::vec3:
      return 3;
    case GLTFElementType::vec4:
    case GLTFElementType::mat2:
      return 4;
    case GLTFElementType::mat3:
      return 9;
    case GLTFElementType::mat4:
      return 16;
  }
  return 1;
}

// Floats.

/// The accessor's base elements, without the sparse ones. Without a buffer view the layout has no bytes.
GLTFAccessors::Layout GLTFAccessors::baseLayout(GLTFIndex accessor) {
  const GLTFAccessor& source = record(accessor);
  // Smaller components would be padded to whole words at the end of each column; no attribute has such.
  if (isMatrix(source.type) && source.componentType != GLTFComponentType::floatingPoint) {
    refuse(accessor, "holds matrices of integers.");
  }
  Layout layout;
  layout.components = componentCount(source.type);
  layout.type = source.componentType;
  layout.isNormalized = source.isNormalized;
  const std::size_t elementSize = layout.components * componentSize(source.componentType);
  layout.stride = elementSize;
  if (source.count > std::numeric_limits<std::uint32_t>::max()) refuse(accessor, "has too many elements.");
  layout.count = static_cast<std::size_t>(source.count);
  if (!source.bufferView) return layout;
  const std::uint64_t stride = document_.bufferViews[*source.bufferView].byteStride;
  if (stride != 0) {
    if (stride < elementSize || stride > std::numeric_limits<std::uint32_t>::max()) {
      refuse(accessor, "has elements that do not fit the stride of its buffer view.");
    }
    layout.stride = static_cast<std::size_t>(stride);
  }
  layout.bytes = elementBytes(buffers_.bytesOfView(*source.bufferView), source.byteOffset, source.count, layout.stride,
                              elementSize, accessor);
  return layout;
}

LargeVector<float> GLTFAccessors::floats(GLTFIndex accessor) {
  const Layout base = baseLayout(accessor);
  budget_.take(base.count, base.components * sizeof(float));
  LargeVector<float> values(base.count * base.components);
  if (base.bytes.bytes.empty()) {
    std::fill(values.begin(), values.end(), 0.0F);
  } else {
    convertElements(base.type, base.isNormalized, base.bytes.bytes.data(), base.stride, base.count, base.components,
                    values.data());
  }
  if (record(accessor).sparse) addSparseValues(accessor, values);
  return values;
}

template <typename Put>
void GLTFAccessors::forEachSparseElement(GLTFIndex accessor, const Put& put) {
  const GLTFAccessor& target = record(accessor);
  const GLTFSparse& sparse = *target.sparse;
  if (sparse.count > target.count) refuse(accessor, "has more sparse values than elements.");
  const auto count = static_cast<std::size_t>(sparse.count);
  const std::size_t indexSize = componentSize(sparse.indicesType);
  const std::size_t elementSize = componentCount(target.type) * componentSize(target.componentType);
  const GLTFBytes indices = elementBytes(buffers_.bytesOfView(sparse.indicesView), sparse.indicesOffset, count,
                                         indexSize, indexSize, accessor);
  const GLTFBytes elements = elementBytes(buffers_.bytesOfView(sparse.valuesView), sparse.valuesOffset, count,
                                          elementSize, elementSize, accessor);
  for (std::size_t i = 0; i < count; ++i) {
    std::uint32_t index = 0;
    std::uint32_t largest = 0;
    if (!widenAny(sparse.indicesType, indices.bytes.data() + i * indexSize, indexSize, 1, &index, largest)) {
      refuse(accessor, "has sparse indices of a type that is not allowed.");
    }
    if (index >= target.count) refuse(accessor, "has a sparse index that is out of range.");
    put(index, elements.bytes.data() + i * elementSize);
  }
}

void GLTFAccessors::addSparseValues(GLTFIndex accessor, std::span<float> values) {
  const GLTFAccessor& target = record(accessor);
  const std::size_t components = componentCount(target.type);
  const std::size_t elementSize = components * componentSize(target.componentType);
  forEachSparseElement(accessor, [&](std::size_t index, const std::byte* element) {
    convertElements(target.componentType, target.isNormalized, element, elementSize, 1, components,
                    values.data() + index * components);
  });
}

std::shared_ptr<const SCNGeometrySource> GLTFAccessors::source(GLTFIndex accessor, SCNGeometrySourceSemantic semantic) {
  const auto [entry, isNew] = sources_.try_emplace({accessor, semantic});
  if (!isNew) return entry->second;
  const Layout base = baseLayout(accessor);
  const auto make = [&](SharedBytes data, std::size_t stride) {
    return SCNGeometrySource::geometrySourceWithData(std::move(data), semantic, base.count, true, base.components,
                                                     sizeof(float), 0, stride);
  };
  const bool isInPlace = base.type == GLTFComponentType::floatingPoint && !record(accessor).sparse &&
                         !base.bytes.bytes.empty() && base.stride % sizeof(float) == 0 &&
                         isAligned(base.bytes.bytes.data());
  if (isInPlace) return entry->second = make(base.bytes.shared(), base.stride);
  SharedBytes& converted = convertedSources_[accessor];
  if (!converted) converted = SharedBytes::takingOver(floats(accessor));
  return entry->second = make(converted, base.components * sizeof(float));
}

// Indices.

const GLTFAccessors::Indices& GLTFAccessors::indices(GLTFIndex accessor) {
  const auto found = indices_.find(accessor);
  return found != indices_.end() ? found->second : indices_.emplace(accessor, makeIndices(accessor)).first->second;
}

GLTFAccessors::Indices GLTFAccessors::makeIndices(GLTFIndex accessor) {
  const GLTFAccessor& record = this->record(accessor);
  if (record.type != GLTFElementType::scalar || record.isNormalized) refuse(accessor, "does not hold indices.");
  if (!hasData(accessor)) refuse(accessor, "holds indices in a way that is not allowed.");
  const Layout layout = baseLayout(accessor);
  const std::span<const std::byte> bytes = layout.bytes.bytes;
  Indices indices;
  indices.count = layout.count;
  const bool isInPlace = layout.type == GLTFComponentType::unsignedInt && !record.sparse &&
                         layout.stride == sizeof(std::uint32_t) && isAligned(bytes.data());
  if (isInPlace) {
    indices.largest = largestOf({reinterpret_cast<const std::uint32_t*>(bytes.data()), layout.count});
    indices.data = layout.bytes.shared();
  } else {
    budget_.take(layout.count, sizeof(std::uint32_t));
    LargeVector<std::uint32_t> widened(layout.count);
    const std::size_t given = record.bufferView ? layout.count : 0;
    if (!widenAny(layout.type, bytes.data(), layout.stride, given, widened.data(), indices.largest)) {
      refuse(accessor, "has indices of a type that is not allowed.");
    }
    if (record.sparse) {
      std::fill(widened.begin() + static_cast<std::ptrdiff_t>(given), widened.end(), 0U);
      forEachSparseElement(accessor, [&](std::size_t index, const std::byte* element) {
        std::uint32_t largest = 0;
        widenAny(layout.type, element, componentSize(layout.type), 1, &widened[index], largest);
      });
      indices.largest = largestOf(widened);
    }
    indices.data = SharedBytes::takingOver(std::move(widened));
  }
  const std::uint32_t restart = std::numeric_limits<std::uint32_t>::max() >> (32 - 8 * componentSize(layout.type));
  if (indices.count > 0 && indices.largest == restart) refuse(accessor, "holds an index that restarts a primitive.");
  return indices;
}

GLTFAccessors::Indices GLTFAccessors::sequence(std::uint64_t count) {
  if (count > sequence_.count) {
    budget_.take(count, sizeof(std::uint32_t));
    LargeVector<std::uint32_t> values(static_cast<std::size_t>(count));
    std::iota(values.begin(), values.end(), 0U);
    sequence_.data = SharedBytes::takingOver(std::move(values));
    sequence_.count = static_cast<std::size_t>(count);
  }
  Indices indices = sequence_;
  indices.count = static_cast<std::size_t>(count);
  indices.largest = count > 0 ? static_cast<std::uint32_t>(count - 1) : 0;
  return indices;
}

}  // namespace ornolith
