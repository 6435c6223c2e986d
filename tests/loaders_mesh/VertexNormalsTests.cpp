#include <gtest/gtest.h>
#include <hwy/highway.h>

#include <array>
#include <cmath>
#include <cstring>
#include <map>
#include <optional>
#include <random>
#include <span>
#include <utility>
#include <vector>

#include "foundation/LinearAlgebra.h"
#include "foundation/Parallel.h"
#include "loaders/mesh/VertexNormals.h"

namespace ornolith {
namespace {

/// A creased mesh with its triangles, and for each new vertex the given one that it is.
struct Creased : CreasedMesh {
  std::vector<std::uint32_t> indices;
  LargeVector<std::uint32_t> sourceVertices;
};

Creased creasedMesh(std::span<const float> positions, std::vector<std::uint32_t> triangles,
                    std::span<const std::uint32_t> smoothingGroups = {},
                    VertexPlaces vertexPlaces = VertexPlaces::mayCoincide) {
  Creased result;
  static_cast<CreasedMesh&>(result) = creaseMesh(positions, triangles, smoothingGroups, vertexPlaces);
  result.indices = std::move(triangles);
  for (std::uint32_t vertex = 0; vertex < positions.size() / 3; ++vertex) result.sourceVertices.push_back(vertex);
  splitVectors(result.sourceVertices, 1, result);
  return result;
}

/// Two triangles that share the edge along z, the second one folded up by `height` over a width of 1.
Creased foldedBy(float height) {
  const std::vector<float> positions{0, 0, 0, 0, 0, 1, -1, 0, 0, 1, height, 0};
  return creasedMesh(positions, std::vector<std::uint32_t>{0, 2, 1, 0, 1, 3});
}

TEST(VertexNormals, AreSharedAcrossAnEdgeFlatterThanTheCrease) {
  const Creased mesh = foldedBy(0.5F);
  EXPECT_EQ(mesh.sourceVertices.size(), 4U);
  EXPECT_EQ(mesh.indices[0], mesh.indices[3]);
}

TEST(VertexNormals, AreSplitAtAnEdgeSharperThanTheCrease) {
  const Creased mesh = foldedBy(3);
  EXPECT_EQ(mesh.sourceVertices.size(), 6U);
  EXPECT_NE(mesh.indices[0], mesh.indices[3]);
  EXPECT_EQ(std::abs(mesh.normals[mesh.indices[0] * 3 + 1]), 1);
}

TEST(VertexNormals, WeighFacetsByArea) {
  const Creased folded = foldedBy(0.5F);
  const float* shared = folded.normals.data() + folded.indices[0] * 3;
  // The facets' area normals are (0, 1, 0) and (-0.5, 1, 0), up to a common sign; both angles are right.
  EXPECT_NEAR(shared[0] / shared[1], -0.25, 1e-6);
}

TEST(VertexNormals, WeighFacetsByTheAngleAtTheCorner) {
  // The same area normals, but the folded facet has half a right angle at the corner: (0, 1, 0) * 2 + (-0.5, 1, 0).
  const float height = 0.5F;
  const std::vector<float> positions{0, 0, 0, 0, 0, 1, -1, 0, 0, 1, height, std::sqrt(1 + height * height)};
  const Creased mesh = creasedMesh(positions, std::vector<std::uint32_t>{0, 2, 1, 0, 1, 3});
  const float* shared = mesh.normals.data() + mesh.indices[0] * 3;
  EXPECT_NEAR(shared[0] / shared[1], -0.5 / 3, 1e-6);
}

TEST(VertexNormals, DropVerticesWithoutATriangle) {
  const std::vector<float> positions{0, 0, 0, 0, 0, 1, -1, 0, 0, 2, 0, 0, 0, 0, -1};
  const Creased mesh = creasedMesh(positions, std::vector<std::uint32_t>{0, 2, 1, 0, 1, 3});
  EXPECT_EQ(mesh.sourceVertices.size(), 4U);
}

TEST(VertexNormals, SmoothAcrossVerticesAtOnePlace) {
  const std::vector<float> positions{0, 0, 0, 0, 0, 1, -1, 0, 0, 0, 0, 0, 0, 0, 1, 1, 0.5F, 0};
  const Creased mesh = creasedMesh(positions, std::vector<std::uint32_t>{0, 2, 1, 3, 4, 5});
  ASSERT_EQ(mesh.sourceVertices.size(), 6U);
  for (std::size_t axis = 0; axis < 3; ++axis) {
    EXPECT_EQ(mesh.normals[mesh.indices[0] * 3 + axis], mesh.normals[mesh.indices[3] * 3 + axis]);
  }
}

TEST(VertexNormals, OfATriangleWithoutAnAreaAreOfUnitLength) {
  const Creased mesh = creasedMesh(std::vector<float>(9, 0.0F), std::vector<std::uint32_t>{0, 1, 2});
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

/// A straightforward search through the groups of each place, corner by corner: for each corner the number of its
/// vertex, which stands for a given one in a group, and the vertices' normals.
struct Expected {
  std::vector<std::uint32_t> vertices;
  std::vector<simd_double3> normals;
};

Expected expectedOf(const Mesh& mesh) {
  struct Group {
    simd_double3 sum;
    simd_float3 firstFacet;
    std::uint32_t smoothingGroup;
  };
  std::vector<Group> groups;
  std::map<std::array<float, 3>, std::vector<std::size_t>> groupsOfPlace;
  std::map<std::pair<std::uint32_t, std::size_t>, std::uint32_t> vertexOf;
  std::vector<std::size_t> groupOfVertex;
  Expected result;
  for (std::size_t first = 0; first < mesh.triangles.size(); first += 3) {
    std::array<std::array<float, 3>, 3> places;
    std::array<simd_double3, 3> corners;
    for (std::size_t i = 0; i < 3; ++i) {
      const float* position = &mesh.positions[std::size_t{mesh.triangles[first + i]} * 3];
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
        groups[group].sum = groups[group].sum + areaNormal * std::atan2(area, dot(a, b));
      }
      const auto [vertex, isNew] = vertexOf.emplace(std::pair(mesh.triangles[first + i], group), vertexOf.size());
      if (isNew) groupOfVertex.push_back(group);
      result.vertices.push_back(vertex->second);
    }
  }
  for (const std::size_t group : groupOfVertex) {
    const simd_double3 sum = groups[group].sum;
    result.normals.push_back(length(sum) > 0 ? sum / length(sum) : simd_double3{0, 0, 1});
  }
  return result;
}

/// Looks whether the corners share their new vertices as they must, and these have the normals that they must have, but
/// for a few where facets cancel each other out and rounding is all that is left.
void expectCreasedAs(const Expected& expected, const Creased& found, const Mesh& mesh) {
  ASSERT_EQ(found.normals.size(), expected.normals.size() * 3);
  ASSERT_EQ(found.sourceVertices.size(), expected.normals.size());
  std::map<std::uint32_t, std::uint32_t> expectedOfFound;
  std::size_t differences = 0;
  for (std::size_t corner = 0; corner < mesh.triangles.size(); ++corner) {
    const std::uint32_t vertex = found.indices[corner];
    ASSERT_LT(vertex, found.sourceVertices.size());
    EXPECT_EQ(found.sourceVertices[vertex], mesh.triangles[corner]);
    const auto [pair, isNew] = expectedOfFound.emplace(vertex, expected.vertices[corner]);
    ASSERT_EQ(pair->second, expected.vertices[corner]) << corner;
    const simd_double3& normal = expected.normals[expected.vertices[corner]];
    for (std::size_t axis = 0; isNew && axis < 3; ++axis) {
      differences += std::abs(found.normals[std::size_t{vertex} * 3 + axis] - normal[axis]) > 1e-4 ? 1 : 0;
    }
  }
  EXPECT_EQ(expectedOfFound.size(), expected.normals.size());
  EXPECT_LT(differences, 10U);
}

bool areSame(const Creased& a, const Creased& b) {
  return a.indices == b.indices && a.sourceVertices == b.sourceVertices && a.normals.size() == b.normals.size() &&
         std::memcmp(a.normals.data(), b.normals.data(), a.normals.size() * sizeof(float)) == 0;
}

TEST(VertexNormals, AreThoseOfAPlainSearchOnAnyNumberOfThreads) {
  for (const bool several : {false, true}) {
    for (const bool hasSmoothingGroups : {false, true}) {
      const Mesh mesh = randomMesh(30'000, several, hasSmoothingGroups);
      const Expected expected = expectedOf(mesh);
      std::optional<Creased> ofOneThread;
      for (const std::size_t threads : {1U, 2U, 3U, 7U}) {
        Creased found;
        withThreadLimit(threads, [&] { found = creasedMesh(mesh.positions, mesh.triangles, mesh.smoothingGroups); });
        expectCreasedAs(expected, found, mesh);
        if (!ofOneThread) ofOneThread = found;
        EXPECT_TRUE(areSame(found, *ofOneThread)) << threads;
      }
    }
  }
}

/// A sheet of `side` by `side` vertices, rougher and rougher from one edge to the other, with a hole, some triangles
/// that stand on it, some that lie there twice, turned or not, and some without an area. Where `several`, the two
/// triangles of a square have vertices of their own. Vertices between have no triangle.
Mesh roughSheet(std::uint32_t side, bool several) {
  std::mt19937 random(5);
  std::uniform_real_distribution<float> noise(-1, 1);
  Mesh mesh;
  for (std::uint32_t vertex = 0; vertex < side * side; ++vertex) {
    const auto x = static_cast<float>(vertex % side);
    mesh.positions.insert(mesh.positions.end(),
                          {x, static_cast<float>(vertex / side), noise(random) * x / static_cast<float>(side)});
  }
  if (several) mesh.positions.insert(mesh.positions.end(), mesh.positions.begin(), mesh.positions.end());
  const std::uint32_t second = several ? side * side : 0;
  for (std::uint32_t y = 0; y + 1 < side; ++y) {
    for (std::uint32_t x = 0; x + 1 < side; ++x) {
      const std::uint32_t a = y * side + x;
      const std::uint32_t chance = random() % 64;
      if (chance == 0 || (x > side / 3 && x < side / 2 && y > side / 3 && y < side / 2)) continue;
      mesh.triangles.insert(mesh.triangles.end(), {a, a + 1, a + side + 1});
      if (chance == 1) mesh.triangles.insert(mesh.triangles.end(), {a, a + 1, a + side + 1});
      if (chance == 2) mesh.triangles.insert(mesh.triangles.end(), {a + 1, a, a + side + 1});
      if (chance == 3) mesh.triangles.insert(mesh.triangles.end(), {a, a + 1, a});
      if (chance == 4) mesh.triangles.insert(mesh.triangles.end(), {a, a + side, (a * 7) % (side * side)});
      mesh.triangles.insert(mesh.triangles.end(), {second + a, second + a + side + 1, second + a + side});
    }
  }
  return mesh;
}

TEST(VertexNormals, OfManyPlacesAreThoseOfAPlainSearch) {
  for (const bool several : {false, true}) {
    const Mesh mesh = roughSheet(180, several);
    const Expected expected = expectedOf(mesh);
    for (const std::size_t threads : {1U, 2U, 7U}) {
      SCOPED_TRACE(threads);
      withThreadLimit(threads, [&] { expectCreasedAs(expected, creasedMesh(mesh.positions, mesh.triangles), mesh); });
    }
  }
}

TEST(VertexNormals, OfAnyTrianglesInAnyOrderAreThoseOfAPlainSearch) {
  Mesh mesh = roughSheet(180, true);
  std::mt19937 random(9);
  for (std::size_t triangle = mesh.triangles.size() / 3; triangle > 1; --triangle) {
    std::swap_ranges(&mesh.triangles[(triangle - 1) * 3], &mesh.triangles[(triangle - 1) * 3] + 3,
                     &mesh.triangles[random() % triangle * 3]);
  }
  expectCreasedAs(expectedOf(mesh), creasedMesh(mesh.positions, mesh.triangles), mesh);
}

/// The same vertices with normals that lie so near that no picture tells.
void expectSameButForRounding(const Creased& a, const Creased& b) {
  EXPECT_EQ(a.indices, b.indices);
  EXPECT_EQ(a.sourceVertices, b.sourceVertices);
  ASSERT_EQ(a.normals.size(), b.normals.size());
  for (std::size_t i = 0; i < a.normals.size(); ++i) ASSERT_NEAR(a.normals[i], b.normals[i], 3e-5) << i;
}

TEST(VertexNormals, AreTheSameByTheShortWayAndByTheLong) {
  for (const bool several : {false, true}) {
    Mesh mesh = roughSheet(180, several);
    const auto firstAdded = static_cast<std::uint32_t>(mesh.positions.size() / 3);
    mesh.positions.insert(mesh.positions.end(), {-9, 0, 0, -8, 0, 0, -8, 1, 0});
    mesh.triangles.insert(mesh.triangles.end(), {firstAdded, firstAdded + 1, firstAdded + 2});
    const Creased byTheShortWay = creasedMesh(mesh.positions, mesh.triangles);
    // Where not all triangles are of one smoothing group, none goes the short way.
    mesh.smoothingGroups.resize(mesh.triangles.size() / 3, creasedByAngle);
    mesh.smoothingGroups.back() = 1;
    const Creased byTheLongWay = creasedMesh(mesh.positions, mesh.triangles, mesh.smoothingGroups);
    ASSERT_EQ(byTheShortWay.furtherVertices.empty(), byTheLongWay.furtherVertices.empty());
    expectSameButForRounding(byTheShortWay, byTheLongWay);
  }
}

TEST(VertexNormals, AreThoseOfAnySizeAndForm) {
  const Mesh mesh = roughSheet(60, false);
  const Creased plain = creasedMesh(mesh.positions, mesh.triangles);
  // Beyond where the fourth power of a length is a float.
  for (const float size : {0x1p-40F, 0x1p-30F, 0x1p-20F, 0x1p20F, 0x1p30F, 0x1p40F}) {
    Mesh scaled = mesh;
    for (float& component : scaled.positions) component *= size;
    SCOPED_TRACE(size);
    expectSameButForRounding(creasedMesh(scaled.positions, scaled.triangles), plain);
  }
  // All triangles slivers, which floats are too coarse for.
  Mesh narrow = mesh;
  for (std::size_t i = 0; i < narrow.positions.size(); i += 3) narrow.positions[i] *= 1e4F;
  const Expected expected = expectedOf(narrow);
  expectCreasedAs(expected, creasedMesh(narrow.positions, narrow.triangles), narrow);
}

TEST(VertexNormals, OfOneSmoothingGroupWhoseFacetsNearlyCancelEachOtherOutAreExact) {
  // A large facet, and many above it that look the other way and together are a little larger.
  Mesh mesh{.positions = {0, 0, 0, 64, 0, 0, 0, 64, 0}, .triangles = {0, 1, 2}, .smoothingGroups = {1}};
  constexpr std::uint32_t count = 64;
  for (std::uint32_t i = 0; i <= count; ++i) {
    const double turn = 1.5707963267948966 * (i + 0.01) / count;
    const double size = 64.0002;
    mesh.positions.insert(mesh.positions.end(),
                          {static_cast<float>(size * std::cos(turn)), static_cast<float>(size * std::sin(turn)),
                           static_cast<float>(i % 3) * 0.01F});
    if (i == 0) continue;
    mesh.triangles.insert(mesh.triangles.end(), {0, 3 + i, 2 + i});
    mesh.smoothingGroups.push_back(1);
  }
  const Creased found = creasedMesh(mesh.positions, mesh.triangles, mesh.smoothingGroups);
  const Expected expected = expectedOf(mesh);
  const simd_double3& normal = expected.normals[expected.vertices[0]];
  for (std::size_t axis = 0; axis < 3; ++axis) {
    EXPECT_NEAR(found.normals[std::size_t{found.indices[0]} * 3 + axis], normal[axis], 3e-5);
  }
}

TEST(VertexNormals, AreTheSameBitsByEveryInstructionSet) {
  const Mesh mesh = roughSheet(60, false);
  std::optional<Creased> first;
  for (std::int64_t targets = hwy::SupportedTargets(); targets != 0; targets &= targets - 1) {
    hwy::SetSupportedTargetsForTest(targets & -targets);
    const Creased found = creasedMesh(mesh.positions, mesh.triangles);
    hwy::SetSupportedTargetsForTest(0);
    if (!first) first = found;
    EXPECT_TRUE(areSame(found, *first)) << hwy::TargetName(targets & -targets);
  }
}

TEST(VertexNormals, OfOneSmoothingGroupAreSharedAcrossEveryEdge) {
  const std::vector<float> positions{0, 0, 0, 0, 0, 1, -1, 0, 0, 1, 3, 0};
  const std::vector<std::uint32_t> groups{1, 1};
  const Creased mesh = creasedMesh(positions, std::vector<std::uint32_t>{0, 2, 1, 0, 1, 3}, groups);
  EXPECT_EQ(mesh.sourceVertices.size(), 4U);
  EXPECT_EQ(mesh.indices[0], mesh.indices[3]);
}

TEST(VertexNormals, AreTheSameForOneSmoothingGroupGivenOnce) {
  const Mesh mesh = randomMesh(5'000, true, false);
  for (const std::uint32_t group : {flatFacet, 3U, creasedByAngle}) {
    const std::vector<std::uint32_t> ofEach(mesh.triangles.size() / 3, group);
    const Creased found = creasedMesh(mesh.positions, mesh.triangles, std::vector<std::uint32_t>{group});
    EXPECT_TRUE(areSame(found, creasedMesh(mesh.positions, mesh.triangles, ofEach))) << group;
  }
}

TEST(VertexNormals, KeepTheGivenVerticesInTheirOrderBeforeFurtherOnes) {
  const std::vector<float> positions{9, 9, 9, 0, 0, 0, 0, 0, 1, -1, 0, 0, 1, 3, 0};
  const Creased mesh = creasedMesh(positions, std::vector<std::uint32_t>{1, 3, 2, 1, 2, 4});
  EXPECT_EQ(mesh.sourceVertices, (LargeVector<std::uint32_t>{1, 2, 3, 4, 1, 2}));
  EXPECT_EQ(mesh.indices, (std::vector<std::uint32_t>{0, 2, 1, 4, 5, 3}));
}

TEST(VertexNormals, OfNoTrianglesAreNone) {
  const Creased mesh = creasedMesh(std::vector<float>(9, 0.0F), {});
  EXPECT_TRUE(mesh.normals.empty());
  EXPECT_TRUE(mesh.sourceVertices.empty());
}

TEST(VertexNormals, AreTheSameWhereTheCallerKnowsThatVerticesStandApart) {
  const Mesh mesh = randomMesh(5'000, false, false);
  const Creased found = creasedMesh(mesh.positions, mesh.triangles, {}, VertexPlaces::differ);
  EXPECT_TRUE(areSame(found, creasedMesh(mesh.positions, mesh.triangles)));
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
  const Creased creased = creasedMesh(mesh.positions, mesh.triangles);
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
  const Creased creased = creasedMesh(positions, triangles);
  EXPECT_EQ(creased.sourceVertices.size(), count);
  EXPECT_EQ(creased.indices[3], 1U);
}

}  // namespace
}  // namespace ornolith
