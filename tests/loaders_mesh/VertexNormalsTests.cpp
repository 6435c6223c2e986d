#include <gtest/gtest.h>

#include <cmath>

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

}  // namespace
}  // namespace ornolith
