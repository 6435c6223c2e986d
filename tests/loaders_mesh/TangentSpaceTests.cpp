#include <gtest/gtest.h>

#include <cmath>
#include <limits>
#include <numbers>

#include "foundation/LinearAlgebra.h"
#include "loaders/mesh/TangentSpace.h"

namespace ornolith {
namespace {

struct TestMesh {
  std::vector<float> positions;
  std::vector<float> normals;
  std::vector<float> texcoords;
  std::vector<std::uint32_t> triangles;

  std::uint32_t add(simd_float3 position, simd_float3 normal, float u, float v) {
    positions.insert(positions.end(), {position.x, position.y, position.z});
    normals.insert(normals.end(), {normal.x, normal.y, normal.z});
    texcoords.insert(texcoords.end(), {u, v});
    return static_cast<std::uint32_t>(positions.size() / 3 - 1);
  }
  TangentMesh tangents() const { return generateTangents({positions, normals, texcoords}, triangles); }
};

constexpr simd_float3 front{0, 0, 1};

simd_float4 tangentAt(const TangentMesh& mesh, std::size_t vertex) {
  const float* t = mesh.tangents.data() + vertex * 4;
  return {t[0], t[1], t[2], t[3]};
}

simd_float4 tangentOfCorner(const TangentMesh& mesh, std::size_t corner) {
  return tangentAt(mesh, mesh.indices[corner]);
}

void expectNear(simd_float4 actual, simd_float4 expected) {
  for (std::size_t i = 0; i < 4; ++i) EXPECT_NEAR(actual[i], expected[i], 1e-6) << "component " << i;
}

/// What holds for whatever comes in.
void expectSound(const TestMesh& given, const TangentMesh& mesh) {
  const std::size_t givenCount = given.positions.size() / 3;
  ASSERT_GE(mesh.sourceVertices.size(), givenCount);
  ASSERT_EQ(mesh.tangents.size(), mesh.sourceVertices.size() * 4);
  ASSERT_EQ(mesh.indices.size(), given.triangles.size());
  for (std::size_t i = 0; i < givenCount; ++i) EXPECT_EQ(mesh.sourceVertices[i], i);
  for (std::size_t corner = 0; corner < mesh.indices.size(); ++corner) {
    ASSERT_LT(mesh.indices[corner], mesh.sourceVertices.size());
    EXPECT_EQ(mesh.sourceVertices[mesh.indices[corner]], given.triangles[corner]);
  }
  for (std::size_t vertex = 0; vertex < mesh.sourceVertices.size(); ++vertex) {
    const simd_float4 t = tangentAt(mesh, vertex);
    EXPECT_NEAR(t.x * t.x + t.y * t.y + t.z * t.z, 1, 1e-5) << vertex;
    EXPECT_EQ(std::abs(t.w), 1) << vertex;
  }
}

/// A unit square that faces the viewer and shows the whole image upright.
TestMesh square() {
  TestMesh mesh;
  mesh.add({0, 0, 0}, front, 0, 1);
  mesh.add({1, 0, 0}, front, 1, 1);
  mesh.add({1, 1, 0}, front, 1, 0);
  mesh.add({0, 1, 0}, front, 0, 0);
  mesh.triangles = {0, 1, 2, 0, 2, 3};
  return mesh;
}

TEST(TangentSpace, PointsAlongTheImageWithItsTopAboveThePositiveSide) {
  const TestMesh mesh = square();
  const TangentMesh result = mesh.tangents();
  expectSound(mesh, result);
  EXPECT_EQ(result.indices, mesh.triangles);
  EXPECT_EQ(result.sourceVertices.size(), 4U);
  for (std::size_t vertex = 0; vertex < 4; ++vertex) expectNear(tangentAt(result, vertex), {1, 0, 0, 1});
}

TEST(TangentSpace, FollowsTheImageWhenItIsTurned) {
  TestMesh mesh = square();
  mesh.texcoords = {0, 0, 0, 1, 1, 1, 1, 0};  // A quarter turn: u grows upwards.
  const TangentMesh result = mesh.tangents();
  expectSound(mesh, result);
  for (std::size_t vertex = 0; vertex < 4; ++vertex) expectNear(tangentAt(result, vertex), {0, 1, 0, 1});
}

TEST(TangentSpace, OfAMirroredImageIsLeftHandedAndSplitAtTheSeam) {
  TestMesh mesh = square();
  mesh.add({2, 0, 0}, front, 0, 1);
  mesh.add({2, 1, 0}, front, 0, 0);
  mesh.triangles.insert(mesh.triangles.end(), {1, 4, 5, 1, 5, 2});
  const TangentMesh result = mesh.tangents();
  expectSound(mesh, result);
  EXPECT_EQ(result.sourceVertices.size(), 8U);  // Both vertices of the seam are in two spaces.
  for (std::size_t corner = 0; corner < 6; ++corner) expectNear(tangentOfCorner(result, corner), {1, 0, 0, 1});
  for (std::size_t corner = 6; corner < 12; ++corner) expectNear(tangentOfCorner(result, corner), {-1, 0, 0, -1});
}

TEST(TangentSpace, IsAMeanWeightedByAngleInThePlaneOfTheNormal) {
  // Two triangles that share the edge from 0 to 1; at 0 the first spans 90 degrees and the second 45, and their images
  // are turned against each other.
  TestMesh mesh;
  mesh.add({0, 0, 0}, front, 0, 0);
  mesh.add({0, 1, 0}, front, 0, -1);
  mesh.add({1, 0, 0}, front, 1, 0);
  mesh.add({-1, 1, 0}, front, -2, 0);
  mesh.triangles = {0, 2, 1, 0, 1, 3};
  const TangentMesh result = mesh.tangents();
  expectSound(mesh, result);
  EXPECT_EQ(result.sourceVertices.size(), 4U);
  // The second triangle's edges (0, 1) and (-1, 1) go one up and two to the left in the image: u grows along (1, -1).
  const double second[2] = {std::numbers::sqrt2 / 2, -std::numbers::sqrt2 / 2};
  const double x = 1 * (std::numbers::pi / 2) + second[0] * (std::numbers::pi / 4);
  const double y = second[1] * (std::numbers::pi / 4);
  const double size = std::hypot(x, y);
  const simd_float4 shared = tangentAt(result, 0);
  EXPECT_NEAR(shared.x, x / size, 1e-6);
  EXPECT_NEAR(shared.y, y / size, 1e-6);
  EXPECT_EQ(shared.w, 1);
  expectNear(tangentAt(result, 2), {1, 0, 0, 1});
}

TEST(TangentSpace, LiesInThePlaneOfATiltedNormal) {
  TestMesh mesh = square();
  for (std::size_t vertex = 0; vertex < 4; ++vertex) {
    mesh.normals[vertex * 3] = 3;  // Of any length.
    mesh.normals[vertex * 3 + 2] = 4;
  }
  const TangentMesh result = mesh.tangents();
  expectSound(mesh, result);
  expectNear(tangentAt(result, 0), {0.8F, 0, -0.6F, 1});
}

TEST(TangentSpace, IsOneForVerticesThatAgreeInEverything) {
  TestMesh mesh = square();
  mesh.add({0, 0, 0}, front, 0, 1);
  mesh.add({1, 1, -0.0F}, front, 1, 0);
  mesh.triangles = {0, 1, 2, 4, 5, 3};
  mesh.positions[3 * 3 + 1] = 0.5F;  // The second triangle shows its image askew.
  const TangentMesh result = mesh.tangents();
  expectSound(mesh, result);
  EXPECT_EQ(result.sourceVertices.size(), 6U);
  EXPECT_EQ(tangentAt(result, 0), tangentAt(result, 4));
  EXPECT_EQ(tangentAt(result, 2), tangentAt(result, 5));
  EXPECT_NE(tangentAt(result, 1), tangentAt(result, 3));
}

TEST(TangentSpace, OfATriangleWithoutAnAreaInTheImageIsItsNeighbours) {
  TestMesh mesh = square();
  mesh.add({2, 0.5F, 0}, front, 1, 1);
  mesh.texcoords[2 * 2 + 1] = 1;  // Corners 1, 4 and 2 all show one point or line.
  mesh.texcoords[2 * 2] = 1;
  mesh.triangles = {0, 1, 3, 1, 4, 2, 1, 2, 3};
  const TangentMesh result = mesh.tangents();
  expectSound(mesh, result);
  EXPECT_EQ(tangentOfCorner(result, 3), tangentOfCorner(result, 1));
}

TEST(TangentSpace, OfATriangleWithoutAnAreaIsThatOfItsVertices) {
  TestMesh mesh = square();
  mesh.triangles.insert(mesh.triangles.end(), {0, 0, 1, 3, 2, 2});
  const TangentMesh result = mesh.tangents();
  expectSound(mesh, result);
  EXPECT_EQ(result.sourceVertices.size(), 4U);
  for (std::size_t corner = 6; corner < 12; ++corner) expectNear(tangentOfCorner(result, corner), {1, 0, 0, 1});
}

TEST(TangentSpace, OfVerticesWithNothingToGoByIsAcrossTheNormal) {
  TestMesh mesh;
  mesh.add({0, 0, 0}, {1, 0, 0}, 0, 0);
  mesh.add({1, 0, 0}, {0, 0, 0}, 0, 0);
  mesh.add({2, 1, 0}, {0, 0, 2}, 0, 0);
  mesh.triangles = {0, 1, 2};
  const TangentMesh result = mesh.tangents();
  expectSound(mesh, result);
  EXPECT_EQ(tangentAt(result, 0).x, 0);
  EXPECT_EQ(tangentAt(result, 2).z, 0);
}

TEST(TangentSpace, IsFiniteWhateverTheNumbersAre) {
  const float bad[] = {std::numeric_limits<float>::quiet_NaN(), std::numeric_limits<float>::infinity(), 3e38F, -3e38F,
                       1e-45F};
  for (const float value : bad) {
    for (std::size_t place = 0; place < 32; ++place) {
      TestMesh mesh = square();
      if (place < 12) mesh.positions[place] = value;
      if (place >= 12 && place < 24) mesh.normals[place - 12] = value;
      if (place >= 24) mesh.texcoords[place - 24] = value;
      expectSound(mesh, mesh.tangents());
    }
  }
}

TEST(TangentSpace, OfNoTrianglesLeavesTheVertices) {
  TestMesh mesh = square();
  mesh.triangles.clear();
  expectSound(mesh, mesh.tangents());
  expectSound(TestMesh(), TestMesh().tangents());
}

TEST(TangentSpace, OfASphereFollowsItsCircles) {
  constexpr std::uint32_t rings = 24;
  constexpr std::uint32_t segments = 48;
  TestMesh mesh;
  for (std::uint32_t ring = 0; ring <= rings; ++ring) {
    for (std::uint32_t segment = 0; segment <= segments; ++segment) {
      const double latitude = std::numbers::pi * (0.5 - static_cast<double>(ring) / rings);
      const double longitude = 2 * std::numbers::pi * segment / segments;
      const simd_float3 p{static_cast<float>(std::cos(latitude) * std::sin(longitude)),
                          static_cast<float>(std::sin(latitude)),
                          static_cast<float>(std::cos(latitude) * std::cos(longitude))};
      mesh.add(p, p, static_cast<float>(segment) / segments, static_cast<float>(ring) / rings);
    }
  }
  for (std::uint32_t ring = 0; ring < rings; ++ring) {
    for (std::uint32_t segment = 0; segment < segments; ++segment) {
      const std::uint32_t a = ring * (segments + 1) + segment;
      const std::uint32_t b = a + segments + 1;
      mesh.triangles.insert(mesh.triangles.end(), {a, b, b + 1, a, b + 1, a + 1});
    }
  }
  const TangentMesh result = mesh.tangents();
  expectSound(mesh, result);
  for (std::uint32_t ring = 2; ring + 2 < rings; ++ring) {
    for (std::uint32_t segment = 0; segment <= segments; ++segment) {
      const double longitude = 2 * std::numbers::pi * segment / segments;
      const simd_float4 t = tangentAt(result, ring * (segments + 1) + segment);
      EXPECT_GT(t.x * std::cos(longitude) - t.z * std::sin(longitude), 0.99) << ring << ' ' << segment;
      EXPECT_EQ(t.w, 1);
    }
  }
}

TEST(TangentSpace, TakesLittleTimeWhereManyTrianglesMeet) {
  // Triangles that share one vertex and no edge, each in a space of its own, and a closed fan beside them.
  constexpr std::uint32_t count = 200'000;
  TestMesh mesh;
  mesh.add({0, 0, 0}, front, 0, 0);
  for (std::uint32_t i = 0; i < count; ++i) {
    const auto x = static_cast<float>(i);
    const std::uint32_t first = mesh.add({x, 1, 0}, front, x, -1);
    mesh.add({x + 0.5F, 1, 0}, front, x + 0.5F, -1);
    mesh.triangles.insert(mesh.triangles.end(), {0, first + 1, first});
  }
  mesh.add({0, 0, 5}, front, 0, 0);
  const auto hub = static_cast<std::uint32_t>(mesh.positions.size() / 3 - 1);
  for (std::uint32_t i = 0; i < count; ++i) mesh.triangles.insert(mesh.triangles.end(), {hub, i + 2, i + 1});
  const TangentMesh result = mesh.tangents();
  EXPECT_EQ(result.indices.size(), mesh.triangles.size());
  EXPECT_GT(result.sourceVertices.size(), std::size_t{count} * 3);
}

}  // namespace
}  // namespace ornolith
