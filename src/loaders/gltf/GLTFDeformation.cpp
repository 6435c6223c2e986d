#include "loaders/gltf/GLTFDeformation.h"

#include <algorithm>
#include <cmath>
#include <string>

#include "loaders/gltf/GLTFReadError.h"

namespace ornolith {

namespace {

double weightAt(std::span<const double> weights, std::size_t target) noexcept {
  return target < weights.size() ? weights[target] : 0;
}

bool isSkinned(const GLTFPrimitive& primitive) {
  return accessorOfAttribute(primitive.attributes, "JOINTS_0") &&
         accessorOfAttribute(primitive.attributes, "WEIGHTS_0");
}

/// One set of four joints and their weights for each vertex.
struct Influences {
  LargeVector<float> joints;
  LargeVector<float> weights;
};

LargeVector<float> influenceValues(GLTFIndex accessor, std::size_t vertexCount, GLTFAccessors& accessors) {
  const GLTFAccessor& record = accessors.record(accessor);
  if (record.type != GLTFElementType::vec4 || record.count != vertexCount) {
    throwMalformedGLTF("The accessor " + std::to_string(accessor) + " does not hold four joints or weights a vertex.");
  }
  return accessors.floats(accessor);
}

std::vector<Influences> readInfluences(const GLTFPrimitive& primitive, std::size_t vertexCount, std::size_t jointCount,
                                       GLTFAccessors& accessors) {
  std::vector<Influences> sets;
  while (true) {
    const std::string number = std::to_string(sets.size());
    const auto joints = accessorOfAttribute(primitive.attributes, "JOINTS_" + number);
    const auto weights = accessorOfAttribute(primitive.attributes, "WEIGHTS_" + number);
    if (!joints || !weights) return sets;
    sets.push_back(
        {influenceValues(*joints, vertexCount, accessors), influenceValues(*weights, vertexCount, accessors)});
    for (const float joint : sets.back().joints) {
      if (!(joint >= 0 && joint < static_cast<float>(jointCount))) {
        throwMalformedGLTF("The accessor " + std::to_string(*joints) + " names a joint that the skin has not got.");
      }
    }
  }
}

/// The upper three rows of a sum of matrices.
struct BlendedMatrix {
  simd_double3 x, y, z, translation;
};

simd_double3 upper(const simd_double4& column) noexcept {
  return {column.x, column.y, column.z};
}

BlendedMatrix blendedMatrix(const std::vector<Influences>& sets, std::size_t vertex,
                            std::span<const simd_double4x4> jointMatrices) {
  BlendedMatrix sum{};
  double total = 0;
  const auto add = [&](const Influences& set, std::size_t place, double weight) {
    const simd_double4x4& matrix = jointMatrices[static_cast<std::size_t>(set.joints[place])];
    sum.x = sum.x + upper(matrix.columns[0]) * weight;
    sum.y = sum.y + upper(matrix.columns[1]) * weight;
    sum.z = sum.z + upper(matrix.columns[2]) * weight;
    sum.translation = sum.translation + upper(matrix.columns[3]) * weight;
    total += weight;
  };
  for (const Influences& set : sets) {
    for (std::size_t place = vertex * 4; place < vertex * 4 + 4; ++place) {
      const auto weight = double{set.weights[place]};
      if (weight != 0) add(set, place, weight);
    }
  }
  if (total == 0) {
    sum = {};
    add(sets.front(), vertex * 4, 1);
    total = 1;
  }
  return {sum.x / total, sum.y / total, sum.z / total, sum.translation / total};
}

simd_double3 vectorAt(std::span<const float> values, std::size_t place) noexcept {
  return {double{values[place]}, double{values[place + 1]}, double{values[place + 2]}};
}

void put(std::span<float> values, std::size_t place, simd_double3 vector) noexcept {
  for (std::size_t c = 0; c < 3; ++c) values[place + c] = static_cast<float>(vector[c]);
}

simd_double3 ofUnitLength(simd_double3 vector) noexcept {
  const double size = length(vector);
  return size > 0 && std::isfinite(size) ? vector / size : vector;
}

}  // namespace

bool GLTFDeformation::changes(std::string_view name, const GLTFPrimitive& primitive) const {
  if (!jointMatrices.empty() && isSkinned(primitive) && (name == "POSITION" || name == "NORMAL" || name == "TANGENT")) {
    return true;
  }
  for (std::size_t target = 0; target < primitive.targets.size(); ++target) {
    if (weightAt(weights, target) != 0 && accessorOfAttribute(primitive.targets[target], name)) return true;
  }
  return false;
}

LargeVector<float> morphedValues(std::string_view name, GLTFIndex accessor, const GLTFPrimitive& primitive,
                                 std::span<const double> weights, GLTFAccessors& accessors) {
  LargeVector<float> values = accessors.floats(accessor);
  const std::size_t components = GLTFAccessors::componentCount(accessors.record(accessor).type);
  for (std::size_t target = 0; target < primitive.targets.size(); ++target) {
    const double weight = weightAt(weights, target);
    const auto changed = accessorOfAttribute(primitive.targets[target], name);
    if (weight == 0 || !changed) continue;
    const std::size_t changedComponents = GLTFAccessors::componentCount(accessors.record(*changed).type);
    if (accessors.record(*changed).count != accessors.record(accessor).count || changedComponents > components) {
      throwMalformedGLTF("The accessor " + std::to_string(*changed) + " does not match the attribute that it morphs.");
    }
    const LargeVector<float> changes = accessors.floats(*changed);
    for (std::size_t i = 0; i < changes.size(); ++i) {
      float& value = values[i / changedComponents * components + i % changedComponents];
      value = static_cast<float>(double{value} + weight * double{changes[i]});
    }
  }
  return values;
}

void skinVertices(const GLTFSkinnedStreams& streams, const GLTFPrimitive& primitive,
                  std::span<const simd_double4x4> jointMatrices, GLTFAccessors& accessors) {
  if (jointMatrices.empty() || !isSkinned(primitive)) return;
  const std::size_t vertexCount = streams.positions.size() / 3;
  const std::vector<Influences> sets = readInfluences(primitive, vertexCount, jointMatrices.size(), accessors);
  for (std::size_t vertex = 0; vertex < vertexCount; ++vertex) {
    const BlendedMatrix m = blendedMatrix(sets, vertex, jointMatrices);
    const auto turned = [&](simd_double3 v) { return m.x * v.x + m.y * v.y + m.z * v.z; };
    put(streams.positions, vertex * 3, turned(vectorAt(streams.positions, vertex * 3)) + m.translation);
    if (!streams.normals.empty()) {
      // The cofactors are the inverse transpose times the determinant, of which only the sign counts here.
      const simd_double3 cofactors = cross(m.y, m.z);
      const simd_double3 normal = vectorAt(streams.normals, vertex * 3);
      const simd_double3 moved = cofactors * normal.x + cross(m.z, m.x) * normal.y + cross(m.x, m.y) * normal.z;
      put(streams.normals, vertex * 3, ofUnitLength(dot(m.x, cofactors) < 0 ? -moved : moved));
    }
    if (!streams.tangents.empty()) {
      put(streams.tangents, vertex * 4, ofUnitLength(turned(vectorAt(streams.tangents, vertex * 4))));
    }
  }
}

}  // namespace ornolith
