#include "loaders/fbx/FbxMeshStreams.h"

#include <algorithm>
#include <cstdint>
#include <cstring>
#include <limits>
#include <memory>
#include <stdexcept>

#include "loaders/fbx/FbxSceneReading.h"

namespace ornolith {

namespace {

using Bytes = std::vector<std::byte>;

/// The corners of all triangles in drawing order, as indices into the mesh's attributes, and which go to which group.
struct Triangles {
  std::vector<std::uint32_t> corners;
  std::vector<std::pair<std::size_t, SCNGeometryElement::Data>> groups;
};

void charge(FbxMemoryBudget& budget, std::size_t count, std::size_t bytesEach) {
  if (count > std::numeric_limits<std::size_t>::max() / bytesEach || !budget.take(count * bytesEach)) {
    throwFbxMemoryLimitExceeded("geometry");
  }
}

std::size_t triangleCount(const ufbx_face& face) {
  return face.num_indices < 3 ? 0 : face.num_indices - 2;
}

std::size_t groupOfFace(const ufbx_mesh& mesh, std::size_t face, std::size_t groupCount) {
  const std::size_t group = face < mesh.face_material.count ? mesh.face_material[face] : 0;
  return group < groupCount ? group : 0;
}

/// The library promises that faces and attributes agree; a program that runs on would read foreign memory.
void requireConsistent(bool holds) {
  if (!holds) throw std::logic_error("an FBX mesh has indices outside its attributes");
}

/// Cuts every face into triangles, and numbers their corners as vertices.
Triangles triangulate(const ufbx_mesh& mesh, std::size_t groupCount, FbxMemoryBudget& budget) {
  // Count first, so that every buffer has its size from the start.
  std::vector<std::size_t> groupTriangles(groupCount);
  std::size_t total = 0;
  for (std::size_t face = 0; face < mesh.faces.count; ++face) {
    const ufbx_face& range = mesh.faces[face];
    requireConsistent(range.index_begin <= mesh.num_indices &&
                      range.num_indices <= mesh.num_indices - range.index_begin);
    groupTriangles[groupOfFace(mesh, face, groupCount)] += triangleCount(range);
    total += triangleCount(range);
  }
  if (total > std::numeric_limits<std::uint32_t>::max() / 3) throwFbxMemoryLimitExceeded("geometry");
  charge(budget, total, std::size_t{2} * 3 * sizeof(std::uint32_t));

  Triangles triangles;
  triangles.corners.reserve(total * 3);
  std::vector<Bytes> groupIndices(groupCount);
  for (std::size_t group = 0; group < groupCount; ++group) {
    groupIndices[group].reserve(groupTriangles[group] * 3 * sizeof(std::uint32_t));
  }

  std::vector<std::uint32_t> scratch(std::max<std::size_t>(mesh.max_face_triangles, 1) * 3);
  for (std::size_t face = 0; face < mesh.faces.count; ++face) {
    const ufbx_face& range = mesh.faces[face];
    requireConsistent(triangleCount(range) * 3 <= scratch.size());
    const std::size_t count = ufbx_triangulate_face(scratch.data(), scratch.size(), &mesh, range) * std::size_t{3};
    Bytes& indices = groupIndices[groupOfFace(mesh, face, groupCount)];
    for (std::size_t corner = 0; corner < count; ++corner) {
      const auto vertex = static_cast<std::uint32_t>(triangles.corners.size());
      requireConsistent(scratch[corner] < mesh.num_indices);
      triangles.corners.push_back(scratch[corner]);
      const auto* bytes = reinterpret_cast<const std::byte*>(&vertex);
      indices.insert(indices.end(), bytes, bytes + sizeof(vertex));
    }
  }

  for (std::size_t group = 0; group < groupCount; ++group) {
    if (groupIndices[group].empty()) continue;
    triangles.groups.emplace_back(group, std::make_shared<const Bytes>(std::move(groupIndices[group])));
  }
  return triangles;
}

/// The value of `attribute` at mesh index `corner`; zero where the file has a gap.
template <typename Value, typename Attribute>
Value valueAt(const Attribute& attribute, std::uint32_t corner) {
  const std::uint32_t index = attribute.indices.data[corner];
  return index < attribute.values.count ? attribute.values.data[index] : Value{};
}

/// One source of `components` floats a vertex. `write(corner, floats)` gives the vertex of a corner.
template <std::size_t components, typename Write>
std::shared_ptr<const SCNGeometrySource> makeSource(SCNGeometrySourceSemantic semantic,
                                                    const std::vector<std::uint32_t>& corners, FbxMemoryBudget& budget,
                                                    const Write& write) {
  constexpr std::size_t stride = components * sizeof(float);
  charge(budget, corners.size(), stride);
  auto data = std::make_shared<Bytes>(corners.size() * stride);
  std::byte* place = data->data();
  for (const std::uint32_t corner : corners) {
    float vertex[components];
    write(corner, vertex);
    std::memcpy(place, vertex, stride);
    place += stride;
  }
  return SCNGeometrySource::geometrySourceWithData(std::move(data), semantic, corners.size(), true, components,
                                                   sizeof(float), 0, stride);
}

void put(float* place, const ufbx_vec3& value) {
  place[0] = static_cast<float>(value.x);
  place[1] = static_cast<float>(value.y);
  place[2] = static_cast<float>(value.z);
}

template <typename Attribute>
void requireIndexed(const ufbx_mesh& mesh, const Attribute& attribute) {
  requireConsistent(!attribute.exists || attribute.indices.count >= mesh.num_indices);
}

std::shared_ptr<const SCNGeometrySource> makePositions(const ufbx_node& node, FbxVertexSpace space,
                                                       const std::vector<std::uint32_t>& corners,
                                                       FbxMemoryBudget& budget) {
  const ufbx_mesh& mesh = *node.mesh;
  const bool isDeformed = space == FbxVertexSpace::world && mesh.skinned_position.exists;
  const ufbx_vertex_vec3& positions = isDeformed ? mesh.skinned_position : mesh.vertex_position;
  const bool isInWorld = isDeformed && !mesh.skinned_is_local;
  const ufbx_matrix& matrix = space == FbxVertexSpace::node ? node.geometry_to_node : node.geometry_to_world;
  requireIndexed(mesh, positions);
  return makeSource<3>(SCNGeometrySourceSemantic::vertex, corners, budget, [&](std::uint32_t corner, float* vertex) {
    const auto position = valueAt<ufbx_vec3>(positions, corner);
    put(vertex, isInWorld ? position : ufbx_transform_position(&matrix, position));
  });
}

std::shared_ptr<const SCNGeometrySource> makeNormals(const ufbx_node& node, FbxVertexSpace space,
                                                     const std::vector<std::uint32_t>& corners,
                                                     FbxMemoryBudget& budget) {
  const ufbx_mesh& mesh = *node.mesh;
  const bool isDeformed = space == FbxVertexSpace::world && mesh.skinned_normal.exists;
  const ufbx_vertex_vec3& normals = isDeformed ? mesh.skinned_normal : mesh.vertex_normal;
  const bool isInWorld = isDeformed && !mesh.skinned_is_local;
  const ufbx_matrix normalMatrix = ufbx_matrix_for_normals(&node.geometry_to_node);
  requireIndexed(mesh, normals);
  return makeSource<3>(SCNGeometrySourceSemantic::normal, corners, budget, [&](std::uint32_t corner, float* vertex) {
    const ufbx_vec3 normal = normals.exists ? valueAt<ufbx_vec3>(normals, corner) : ufbx_vec3{{{0, 1, 0}}};
    if (space == FbxVertexSpace::node) {
      put(vertex, ufbx_vec3_normalize(ufbx_transform_direction(&normalMatrix, normal)));
    } else {
      put(vertex, isInWorld ? normal : ufbx_transform_direction(&node.geometry_to_world, normal));
    }
  });
}

std::shared_ptr<const SCNGeometrySource> makeTangents(const ufbx_node& node, FbxVertexSpace space,
                                                      const std::vector<std::uint32_t>& corners,
                                                      FbxMemoryBudget& budget) {
  const ufbx_vertex_vec3& tangents = node.mesh->vertex_tangent;
  requireIndexed(*node.mesh, tangents);
  return makeSource<3>(SCNGeometrySourceSemantic::tangent, corners, budget, [&](std::uint32_t corner, float* vertex) {
    const auto tangent = valueAt<ufbx_vec3>(tangents, corner);
    if (space == FbxVertexSpace::node) {
      put(vertex, ufbx_vec3_normalize(ufbx_transform_direction(&node.geometry_to_node, tangent)));
    } else {
      put(vertex, ufbx_transform_direction(&node.geometry_to_world, tangent));
    }
  });
}

std::shared_ptr<const SCNGeometrySource> makeColors(const ufbx_mesh& mesh, const std::vector<std::uint32_t>& corners,
                                                    FbxMemoryBudget& budget) {
  requireIndexed(mesh, mesh.vertex_color);
  return makeSource<4>(SCNGeometrySourceSemantic::color, corners, budget, [&](std::uint32_t corner, float* vertex) {
    const auto color = valueAt<ufbx_vec4>(mesh.vertex_color, corner);
    vertex[0] = static_cast<float>(color.x);
    vertex[1] = static_cast<float>(color.y);
    vertex[2] = static_cast<float>(color.z);
    vertex[3] = static_cast<float>(color.w);
  });
}

/// FBX counts v from the bottom of the image, the scene from its top.
std::shared_ptr<const SCNGeometrySource> makeTextureCoordinates(const ufbx_mesh& mesh, const ufbx_vertex_vec2& uvs,
                                                                const std::vector<std::uint32_t>& corners,
                                                                FbxMemoryBudget& budget) {
  requireIndexed(mesh, uvs);
  return makeSource<2>(SCNGeometrySourceSemantic::texcoord, corners, budget, [&](std::uint32_t corner, float* vertex) {
    const ufbx_vec2 uv = uvs.exists ? valueAt<ufbx_vec2>(uvs, corner) : ufbx_vec2{};
    vertex[0] = static_cast<float>(uv.x);
    vertex[1] = static_cast<float>(1 - uv.y);
  });
}

}  // namespace

FbxMeshStreams makeMeshStreams(const ufbx_node& node, FbxVertexSpace space, std::size_t groupCount,
                               FbxMemoryBudget& budget) {
  const ufbx_mesh& mesh = *node.mesh;
  Triangles triangles = triangulate(mesh, groupCount, budget);
  FbxMeshStreams streams;
  if (triangles.corners.empty()) return streams;

  const std::vector<std::uint32_t>& corners = triangles.corners;
  streams.sources.push_back(makePositions(node, space, corners, budget));
  streams.sources.push_back(makeNormals(node, space, corners, budget));
  if (mesh.vertex_tangent.exists) streams.sources.push_back(makeTangents(node, space, corners, budget));
  if (mesh.vertex_color.exists) streams.sources.push_back(makeColors(mesh, corners, budget));
  for (const ufbx_uv_set& set : mesh.uv_sets) {
    streams.sources.push_back(makeTextureCoordinates(mesh, set.vertex_uv, corners, budget));
  }
  if (mesh.uv_sets.count == 0) {
    streams.sources.push_back(makeTextureCoordinates(mesh, mesh.vertex_uv, corners, budget));
  }
  streams.groups = std::move(triangles.groups);
  return streams;
}

}  // namespace ornolith
