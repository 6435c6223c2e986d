#include <gtest/gtest.h>

#include <array>
#include <cmath>
#include <cstring>
#include <map>
#include <random>
#include <utility>
#include <vector>

#include "foundation/LinearAlgebra.h"
#include "foundation/Parallel.h"
#include "loaders/mesh/VertexNormals.h"

namespace ornolith {
namespace {

/// Two triangles that share the edge along z, the second one folded up by `height` over a width of 1.
CreasedMesh foldedBy(float height) {
  const std::vector<float> positions{0, 0, 0, 0, 0, 1, -1, 0, 0, 1, height, 0};
  return creasedMesh(positions, std::vector<std::uint32_t>{0, 2, 1, 0, 1, 3});
}

TEST(VertexNormals, AreSharedAcrossAnEdgeFlatterThanTheCrease) {
  const CreasedMesh mesh = foldedBy(0.5F);
  EXPECT_EQ(mesh.sourceVertices.size(), 4U);
  EXPECT_EQ(mesh.indices[0], mesh.indices[3]);
}

TEST(VertexNormals, AreSplitAtAnEdgeSharperThanTheCrease) {
  const CreasedMesh mesh = foldedBy(3);
  EXPECT_EQ(mesh.sourceVertices.size(), 6U);
  EXPECT_NE(mesh.indices[0], mesh.indices[3]);
  EXPECT_EQ(std::abs(mesh.normals[mesh.indices[0] * 3 + 1]), 1);
}

TEST(VertexNormals, WeighFacetsByArea) {
  const CreasedMesh folded = foldedBy(0.5F);
  const float* shared = folded.normals.data() + folded.indices[0] * 3;
  // The facets' area normals are (0, 1, 0) and (-0.5, 1, 0), up to a common sign; both angles are right.
  EXPECT_NEAR(shared[0] / shared[1], -0.25, 1e-6);
}

TEST(VertexNormals, WeighFacetsByTheAngleAtTheCorner) {
  // The same area normals, but the folded facet has half a right angle at the corner: (0, 1, 0) * 2 + (-0.5, 1, 0).
  const float height = 0.5F;
  const std::vector<float> positions{0, 0, 0, 0, 0, 1, -1, 0, 0, 1, height, std::sqrt(1 + height * height)};
  const CreasedMesh mesh = creasedMesh(positions, std::vector<std::uint32_t>{0, 2, 1, 0, 1, 3});
  const float* shared = mesh.normals.data() + mesh.indices[0] * 3;
  EXPECT_NEAR(shared[0] / shared[1], -0.5 / 3, 1e-6);
}

TEST(VertexNormals, DropVerticesWithoutATriangle) {
  const std::vector<float> positions{0, 0, 0, 0, 0, 1, -1, 0, 0, 2, 0, 0, 0, 0, -1};
  const CreasedMesh mesh = creasedMesh(positions, std::vector<std::uint32_t>{0, 2, 1, 0, 1, 3});
  EXPECT_EQ(mesh.sourceVertices.size(), 4U);
}

TEST(VertexNormals, SmoothAcrossVerticesAtOnePlace) {
  const std::vector<float> positions{0, 0, 0, 0, 0, 1, -1, 0, 0, 0, 0, 0, 0, 0, 1, 1, 0.5F, 0};
  const CreasedMesh mesh = creasedMesh(positions, std::vector<std::uint32_t>{0, 2, 1, 3, 4, 5});
  ASSERT_EQ(mesh.sourceVertices.size(), 6U);
  for (std::size_t axis = 0; axis < 3; ++axis) {
    EXPECT_EQ(mesh.normals[mesh.indices[0] * 3 + axis], mesh.normals[mesh.indices[3] * 3 + axis]);
  }
}

TEST(VertexNormals, OfATriangleWithoutAnAreaAreOfUnitLength) {
  const CreasedMesh mesh = creasedMesh(std::vector<float>(9, 0.0F), std::vector<std::uint32_t>{0, 1, 2});
  ASSERT_EQ(mesh.normals.size(), 9U);
  EXPECT_EQ(mesh.normals[2], 1);
}

struct Mesh {
  std::vector<float> positions;
  std::vector<std::uint32_t> triangles;
  std::vector<std::uint32_t> smoothingGroups;
};

/// Triangles over places on a small grid, more vertices than places where `several` is set; some without an area.
Mesh randomMesh(std::size_t triangleCount, bool several, bool hasSmoothingGroups) {
  constexpr std::uint32_t edge = 12;
  constexpr std::uint32_t places = edge * edge * edge;
  std::mt19937 random(7);
  Mesh mesh;
  for (std::uint32_t vertex = 0; vertex < (several ? 2 * places : places); ++vertex) {
    const std::uint32_t place = vertex % places;
    for (const std::uint32_t component : {place % edge, place / edge % edge, place / edge / edge}) {
      mesh.positions.push_back(static_cast<float>(component) - 5);
    }
  }
  for (std::size_t triangle = 0; triangle < triangleCount; ++triangle) {
    for (int i = 0; i < 3; ++i)
      mesh.triangles.push_back(static_cast<std::uint32_t>(random() % (mesh.positions.size() / 3)));
    const std::array<std::uint32_t, 4> groups{flatFacet, 1, 2, creasedByAngle};
    if (hasSmoothingGroups) mesh.smoothingGroups.push_back(groups[random() % 4]);
  }
  return mesh;
}

/// What the vertices must be, corner by corner: a straightforward search through the groups of each place.
CreasedMesh expectedOf(const Mesh& mesh) {
  struct Group {
    simd_double3 sum;
    simd_float3 firstFacet;
    std::uint32_t smoothingGroup;
  };
  std::vector<Group> groups;
  std::map<std::array<float, 3>, std::vector<std::size_t>> groupsOfPlace;
  std::map<std::pair<std::uint32_t, std::size_t>, std::uint32_t> vertexOf;
  std::vector<std::size_t> groupOfVertex;
  CreasedMesh result;
  for (std::size_t first = 0; first < mesh.triangles.size(); first += 3) {
    std::array<std::array<float, 3>, 3> places;
    std::array<simd_double3, 3> corners;
    for (std::size_t i = 0; i < 3; ++i) {
      const float* position = &mesh.positions[mesh.triangles[first + i] * 3];
      places[i] = {position[0], position[1], position[2]};
      corners[i] = {position[0], position[1], position[2]};
    }
    const simd_double3 areaNormal = cross(corners[1] - corners[0], corners[2] - corners[0]);
    const double area = length(areaNormal);
    const simd_double3 normal = area > 0 ? areaNormal * (1 / area) : simd_double3{};
    const std::uint32_t smoothing = mesh.smoothingGroups.empty() ? creasedByAngle : mesh.smoothingGroups[first / 3];
    for (std::size_t i = 0; i < 3; ++i) {
      std::vector<std::size_t>& here = groupsOfPlace[places[i]];
      auto found = here.rbegin();
      for (; found != here.rend(); ++found) {
        const Group& group = groups[*found];
        const simd_double3 facet = {group.firstFacet.x, group.firstFacet.y, group.firstFacet.z};
        const bool isNear = smoothing != creasedByAngle || !(area > 0) || dot(facet, normal) >= 0.5;
        if (smoothing != flatFacet && group.smoothingGroup == smoothing && isNear) break;
      }
      const std::size_t group = found == here.rend() ? groups.size() : *found;
      if (group == groups.size()) {
        groups.push_back({{}, vectorCast<float>(normal), smoothing});
        here.push_back(group);
      }
      if (area > 0) {
        const simd_double3 a = corners[(i + 1) % 3] - corners[i];
        const simd_double3 b = corners[(i + 2) % 3] - corners[i];
        groups[group].sum = groups[group].sum + areaNormal * std::acos(dot(a, b) / std::sqrt(dot(a, a) * dot(b, b)));
      }
      const std::uint32_t source = mesh.triangles[first + i];
      const auto [vertex, isNew] = vertexOf.emplace(std::pair(source, group), vertexOf.size());
      if (isNew) {
        result.sourceVertices.push_back(source);
        groupOfVertex.push_back(group);
      }
      result.indices.push_back(vertex->second);
    }
  }
  for (const std::size_t group : groupOfVertex) {
    const simd_double3 sum = groups[group].sum;
    const simd_double3 normal = length(sum) > 0 ? sum / length(sum) : simd_double3{0, 0, 1};
    for (std::size_t axis = 0; axis < 3; ++axis) result.normals.push_back(static_cast<float>(normal[axis]));
  }
  return result;
}

std::size_t differentNormals(const CreasedMesh& found, const CreasedMesh& expected) {
  if (found.normals.size() != expected.normals.size()) return found.normals.size() + 1;
  std::size_t different = 0;
  for (std::size_t i = 0; i < found.normals.size(); ++i) {
    different += std::abs(found.normals[i] - expected.normals[i]) > 1e-4F ? 1 : 0;
  }
  return different;
}

TEST(VertexNormals, AreThoseOfAPlainSearchOnAnyNumberOfThreads) {
  for (const bool several : {false, true}) {
    for (const bool hasSmoothingGroups : {false, true}) {
      const Mesh mesh = randomMesh(30'000, several, hasSmoothingGroups);
      const CreasedMesh expected = expectedOf(mesh);
      LargeVector<float> normalsOfOneThread;
      for (const std::size_t threads : {1U, 2U, 3U, 7U}) {
        CreasedMesh found;
        withThreadLimit(threads, [&] { found = creasedMesh(mesh.positions, mesh.triangles, mesh.smoothingGroups); });
        EXPECT_EQ(found.sourceVertices, expected.sourceVertices) << threads;
        EXPECT_EQ(found.indices, expected.indices) << threads;
        // Where facets cancel each other out, rounding is all that is left.
        EXPECT_LT(differentNormals(found, expected), 10U) << threads;
        if (normalsOfOneThread.empty()) normalsOfOneThread = found.normals;
        EXPECT_EQ(std::memcmp(found.normals.data(), normalsOfOneThread.data(), found.normals.size() * sizeof(float)),
                  0);
      }
    }
  }
}

TEST(VertexNormals, AreTheSameWhereTheCallerKnowsThatVerticesStandApart) {
  const Mesh mesh = randomMesh(5'000, false, false);
  const CreasedMesh found = creasedMesh(mesh.positions, mesh.triangles, {}, VertexPlaces::differ);
  const CreasedMesh expected = creasedMesh(mesh.positions, mesh.triangles);
  EXPECT_EQ(found.sourceVertices, expected.sourceVertices);
  EXPECT_EQ(found.indices, expected.indices);
  EXPECT_EQ(found.normals, expected.normals);
}

// A search through all that stands at one place would take hours for these.

TEST(VertexNormals, TakeManyTrianglesAroundOneVertex) {
  constexpr std::uint32_t count = 1'000'000;
  std::mt19937 random(3);
  Mesh mesh{.positions = {0, 0, 0}, .triangles = {}, .smoothingGroups = {}};
  for (std::uint32_t i = 0; i < count; ++i) {
    for (int axis = 0; axis < 3; ++axis) mesh.positions.push_back(static_cast<float>(random() % 4096) - 2048);
    mesh.triangles.insert(mesh.triangles.end(), {0, i + 1, (i + 1) % count + 1});
  }
  const CreasedMesh creased = creasedMesh(mesh.positions, mesh.triangles);
  EXPECT_EQ(creased.indices.size(), mesh.triangles.size());
  // Each triangle in a smoothing group of its own, with many groups and vertices at the place.
  for (std::uint32_t i = 0; i < count; ++i) mesh.smoothingGroups.push_back(i + 1);
  EXPECT_EQ(creasedMesh(mesh.positions, mesh.triangles, mesh.smoothingGroups).sourceVertices.size(), 3 * count);
}

TEST(VertexNormals, TakeManyVerticesAtOnePlace) {
  constexpr std::uint32_t count = 1'000'000;
  const std::vector<float> positions(std::size_t{3} * count, 1.0F);
  std::vector<std::uint32_t> triangles;
  for (std::uint32_t i = 0; i < count; ++i) triangles.insert(triangles.end(), {i, (i + 1) % count, (i + 2) % count});
  const CreasedMesh creased = creasedMesh(positions, triangles);
  EXPECT_EQ(creased.sourceVertices.size(), count);
  EXPECT_EQ(creased.indices[3], 1U);
}

}  // namespace
}  // namespace ornolith
