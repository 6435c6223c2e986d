#include <gtest/gtest.h>

#include <array>
#include <cmath>
#include <map>
#include <numbers>
#include <set>

#include "SceneFixtures.h"
#include "scenegraph/SCNBox.h"
#include "scenegraph/SCNCone.h"
#include "scenegraph/SCNCylinder.h"
#include "scenegraph/SCNSphere.h"
#include "scenegraph/SCNTorus.h"
#include "scenegraph/SceneCheck.h"

namespace ornolith {
namespace {

constexpr double pi = std::numbers::pi;
using Place = std::array<double, 3>;

Place place(const SCNGeometrySource& source, std::uint32_t index) {
  return {source.component(index, 0), source.component(index, 1), source.component(index, 2)};
}

SCNVector3 vector(const Place& p) {
  return {p[0], p[1], p[2]};
}

// What a closed, outward-facing surface must satisfy; returns the volume inside.
double checkSurface(const SCNGeometry& geometry) {
  const SCNGeometrySource& positions = *geometry.firstSourceForSemantic(SCNGeometrySourceSemantic::vertex);
  const SCNGeometrySource& normals = *geometry.firstSourceForSemantic(SCNGeometrySourceSemantic::normal);
  const SCNGeometrySource& texcoords = *geometry.firstSourceForSemantic(SCNGeometrySourceSemantic::texcoord);
  EXPECT_EQ(geometry.geometryElements().size(), 1U);
  const SCNGeometryElement& element = *geometry.geometryElements()[0];
  EXPECT_EQ(element.primitiveCount() * 3, element.indexCount());

  for (std::uint32_t i = 0; i < normals.vectorCount(); ++i) {
    EXPECT_NEAR(length(vector(place(normals, i))), 1, 1e-6);
    for (std::size_t c = 0; c < 2; ++c) {
      EXPECT_GE(texcoords.component(i, c), 0);
      EXPECT_LE(texcoords.component(i, c), 1);
    }
  }
  std::map<std::pair<Place, Place>, int> edges;
  double volume = 0;
  for (std::size_t first = 0; first < element.indexCount(); first += 3) {
    std::array<Place, 3> corners;
    SCNVector3 normalSum{};
    for (std::size_t c = 0; c < 3; ++c) {
      corners[c] = place(positions, element.index(first + c));
      normalSum = normalSum + vector(place(normals, element.index(first + c)));
    }
    for (std::size_t c = 0; c < 3; ++c) ++edges[{corners[c], corners[(c + 1) % 3]}];
    const SCNVector3 a = vector(corners[0]);
    const SCNVector3 facet = cross(vector(corners[1]) - a, vector(corners[2]) - a);
    EXPECT_GT(dot(facet, normalSum), 0) << "triangle " << first / 3;
    volume += dot(a, cross(vector(corners[1]), vector(corners[2]))) / 6;
  }
  for (const auto& [edge, count] : edges) {
    EXPECT_EQ(count, 1);
    EXPECT_EQ((edges.count({edge.second, edge.first})), 1U);
  }
  return volume;
}

TEST(ReadyShapes, EachHasOneDefaultMaterialAndKeepsThePromisesOfAGeometry) {
  const std::shared_ptr<SCNGeometry> shapes[] = {
      SCNBox::boxWithWidth(1, 2, 3, 0),      SCNBox::boxWithWidth(1, 2, 3, 0.2), SCNCone::coneWithTopRadius(0, 1, 2),
      SCNCylinder::cylinderWithRadius(1, 2), SCNSphere::sphereWithRadius(1),     SCNTorus::torusWithRingRadius(2, 0.5)};
  for (const auto& shape : shapes) {
    EXPECT_EQ(shape->materials().size(), 1U);
    SCNScene scene;
    scene.rootNode()->geometry = shape;
    EXPECT_EQ(checkScene(scene).brokenPromise, std::nullopt);
  }
}

TEST(ReadyShapes, ASharpBoxIsExact) {
  const auto box = SCNBox::boxWithWidth(2, 4, 6, 0);
  EXPECT_EQ(checkSurface(*box), 48);
  EXPECT_EQ(box->boundingBox(), (SCNBoundingBox{{-1, -2, -3}, {1, 2, 3}}));
  EXPECT_EQ(box->geometryElements()[0]->primitiveCount(), 12U);
}

TEST(ReadyShapes, ARoundedBoxKeepsItsSizeAndLosesItsCorners) {
  const double r = 0.5;
  const auto box = SCNBox::boxWithWidth(2, 4, 6, r);
  const double volume = checkSurface(*box);
  EXPECT_EQ(box->boundingBox(), (SCNBoundingBox{{-1, -2, -3}, {1, 2, 3}}));
  const double a = 2 - 2 * r;
  const double b = 4 - 2 * r;
  const double c = 6 - 2 * r;
  const double exact =
      a * b * c + 2 * r * (a * b + b * c + c * a) + pi * r * r * (a + b + c) + 4.0 / 3 * pi * r * r * r;
  EXPECT_LT(volume, exact);
  EXPECT_NEAR(volume, exact, exact * 0.005);
}

TEST(ReadyShapes, TheChamferIsHeldToHalfTheShortestSide) {
  const auto box = SCNBox::boxWithWidth(2, 2, 2, 9);
  const double volume = checkSurface(*box);
  EXPECT_NEAR(volume, 4.0 / 3 * pi, 0.13);
  box->setChamferRadius(0);
  EXPECT_EQ(checkSurface(*box), 8);
  box->setChamferRadius(-1);
  EXPECT_EQ(checkSurface(*box), 8);
}

// The volume of a prism or pyramid over a regular polygon in place of the circle.
double polygonFactor(std::size_t segments) {
  const double n = static_cast<double>(segments);
  return n / (2 * pi) * std::sin(2 * pi / n);
}

TEST(ReadyShapes, ConesAreCentredAlongY) {
  const auto cone = SCNCone::coneWithTopRadius(0, 1.5, 4);
  EXPECT_NEAR(checkSurface(*cone), pi * 1.5 * 1.5 * 4 / 3 * polygonFactor(48), 1e-5);
  EXPECT_EQ(cone->boundingBox(), (SCNBoundingBox{{-1.5, -2, -1.5}, {1.5, 2, 1.5}}));
  for (const std::size_t segments : {3U, 5U, 32U}) {
    cone->setRadialSegmentCount(segments);
    EXPECT_NEAR(checkSurface(*cone), pi * 1.5 * 1.5 * 4 / 3 * polygonFactor(segments), 1e-5);
  }
  const auto inverted = SCNCone::coneWithTopRadius(1, 0, 2);
  EXPECT_NEAR(checkSurface(*inverted), pi * 2 / 3 * polygonFactor(48), 1e-5);
  const auto frustum = SCNCone::coneWithTopRadius(1, 2, 3);
  EXPECT_NEAR(checkSurface(*frustum), pi * 3 / 3 * (1 + 2 + 4) * polygonFactor(48), 1e-4);
}

TEST(ReadyShapes, CylindersAreCentredAlongY) {
  const auto cylinder = SCNCylinder::cylinderWithRadius(0.5, 3);
  EXPECT_NEAR(checkSurface(*cylinder), pi * 0.25 * 3 * polygonFactor(48), 1e-6);
  EXPECT_EQ(cylinder->boundingBox(), (SCNBoundingBox{{-0.5, -1.5, -0.5}, {0.5, 1.5, 0.5}}));
  cylinder->setRadialSegmentCount(16);
  EXPECT_EQ(cylinder->radialSegmentCount(), 16U);
  EXPECT_NEAR(checkSurface(*cylinder), pi * 0.25 * 3 * polygonFactor(16), 1e-6);
  cylinder->setRadialSegmentCount(0);
  EXPECT_EQ(cylinder->radialSegmentCount(), 3U);
  checkSurface(*cylinder);
}

TEST(ReadyShapes, SpheresLieOnTheirRadius) {
  const auto sphere = SCNSphere::sphereWithRadius(2);
  EXPECT_NEAR(checkSurface(*sphere), 4.0 / 3 * pi * 8, 0.4);
  EXPECT_EQ(sphere->boundingBox(), (SCNBoundingBox{{-2, -2, -2}, {2, 2, 2}}));
  const SCNGeometrySource& positions = *sphere->firstSourceForSemantic(SCNGeometrySourceSemantic::vertex);
  const SCNGeometrySource& normals = *sphere->firstSourceForSemantic(SCNGeometrySourceSemantic::normal);
  for (std::uint32_t i = 0; i < positions.vectorCount(); ++i) {
    testing::expectNear(vector(place(positions, i)), vector(place(normals, i)) * 2.0, 1e-6);
  }
  sphere->setSegmentCount(5);
  checkSurface(*sphere);
}

TEST(ReadyShapes, ATorusIsARingAboutY) {
  const auto torus = SCNTorus::torusWithRingRadius(2, 0.5);
  const double exact = 2 * pi * pi * 2 * 0.25;
  EXPECT_NEAR(checkSurface(*torus), exact * polygonFactor(48) * polygonFactor(24), 1e-4);
  EXPECT_EQ(torus->boundingBox(), (SCNBoundingBox{{-2.5, -0.5, -2.5}, {2.5, 0.5, 2.5}}));
  torus->setRingSegmentCount(7);
  torus->setPipeSegmentCount(5);
  EXPECT_NEAR(checkSurface(*torus), exact * polygonFactor(7) * polygonFactor(5), 1e-4);
}

TEST(ReadyShapes, ASetterReplacesTheGeometrysSources) {
  const auto sphere = SCNSphere::sphereWithRadius(1);
  const auto before = sphere->geometrySources();
  sphere->setSegmentCount(8);
  EXPECT_NE(sphere->geometrySources(), before);
  EXPECT_EQ(sphere->boundingBox().maximum.y, 1);
}

}  // namespace
}  // namespace ornolith
