#include <gtest/gtest.h>

#include <cmath>
#include <cstdint>
#include <limits>

#include "SceneFixtures.h"
#include "scenegraph/SCNGeometry.h"

namespace ornolith {
namespace {

using testing::bytesOf;
using testing::elementOf;
using Semantic = SCNGeometrySourceSemantic;

TEST(SCNGeometrySource, ReadsFloatsOfFourAndEightBytes) {
  const auto floats = SCNGeometrySource::geometrySourceWithData(bytesOf(std::vector<float>{9, 1, 2, 3, 9, 4, 5, 6}),
                                                                Semantic::normal, 2, true, 3, 4, 4, 16);
  EXPECT_EQ(floats->vectorCount(), 2U);
  EXPECT_EQ(floats->component(0, 0), 1);
  EXPECT_EQ(floats->component(1, 2), 6);
  EXPECT_EQ(floats->component(1, 3), 0);
  const auto doubles = SCNGeometrySource::geometrySourceWithData(bytesOf(std::vector<double>{0.1, 0.2, 0.3}),
                                                                 Semantic::vertex, 1, true, 3, 8, 0, 24);
  EXPECT_EQ(doubles->component(0, 1), 0.2);
}

TEST(SCNGeometrySource, IntegersAreNormalised) {
  const auto bytes = SCNGeometrySource::geometrySourceWithData(bytesOf(std::vector<std::uint8_t>{0, 51, 255}),
                                                               Semantic::color, 1, false, 3, 1, 0, 3);
  EXPECT_EQ(bytes->component(0, 1), 0.2);
  EXPECT_EQ(bytes->component(0, 2), 1);
  const auto shorts = SCNGeometrySource::geometrySourceWithData(bytesOf(std::vector<std::uint16_t>{65535, 13107}),
                                                                Semantic::texcoord, 1, false, 2, 2, 0, 4);
  EXPECT_EQ(shorts->component(0, 0), 1);
  EXPECT_EQ(shorts->component(0, 1), 0.2);
}

TEST(SCNGeometrySource, CountsOnlyVectorsThatLieWhollyInsideTheData) {
  const auto data = bytesOf(std::vector<float>(10));  // 40 bytes: three packed vectors and a third of another.
  const auto count = [&](std::size_t wanted, std::size_t components, std::size_t offset, std::size_t stride) {
    return SCNGeometrySource::geometrySourceWithData(data, Semantic::vertex, wanted, true, components, 4, offset,
                                                     stride)
        ->vectorCount();
  };
  constexpr std::size_t huge = std::numeric_limits<std::size_t>::max();
  EXPECT_EQ(count(2, 3, 0, 12), 2U);
  EXPECT_EQ(count(4, 3, 0, 12), 3U);
  EXPECT_EQ(count(huge, 3, 0, 12), 3U);
  EXPECT_EQ(count(huge, 3, 4, 12), 3U);
  EXPECT_EQ(count(huge, 3, 5, 12), 2U);
  EXPECT_EQ(count(huge, 3, 28, 12), 1U);
  EXPECT_EQ(count(huge, 3, 29, 12), 0U);
  EXPECT_EQ(count(huge, 3, huge, 12), 0U);
  EXPECT_EQ(count(huge, 3, 0, huge), 1U);
  EXPECT_EQ(count(huge, 3, 0, 0), 3U);
  EXPECT_EQ(count(huge, 3, 0, 1), 29U);
  EXPECT_EQ(count(huge, 0, 0, 12), 0U);
  EXPECT_EQ(count(huge, huge / 4 + 1, 0, 12), 0U);
}

TEST(SCNGeometrySource, UnknownFormatsAndMissingDataHaveNoVectors) {
  const auto data = bytesOf(std::vector<float>(10));
  EXPECT_EQ(SCNGeometrySource::geometrySourceWithData(data, Semantic::vertex, 1, true, 3, 2, 0, 12)->vectorCount(), 0U);
  EXPECT_EQ(SCNGeometrySource::geometrySourceWithData(data, Semantic::vertex, 1, false, 3, 4, 0, 12)->vectorCount(),
            0U);
  EXPECT_EQ(SCNGeometrySource::geometrySourceWithData(nullptr, Semantic::vertex, 1, true, 3, 4, 0, 12)->vectorCount(),
            0U);
}

TEST(SCNGeometrySource, VerticesBecomePackedFloats) {
  const std::vector<SCNVector3> points{{1, 2, 3}, {0.1, 0, 0}};
  const auto source = SCNGeometrySource::geometrySourceWithVertices(points);
  EXPECT_EQ(source->semantic(), Semantic::vertex);
  EXPECT_EQ(source->vectorCount(), 2U);
  EXPECT_EQ(source->dataStride(), 12U);
  EXPECT_EQ(source->component(1, 0), double{0.1F});
}

TEST(SCNGeometryElement, ReadsIndicesOfEveryWidth) {
  const auto type = SCNGeometryPrimitiveType::triangles;
  const auto bytes =
      SCNGeometryElement::geometryElementWithData(bytesOf(std::vector<std::uint8_t>{1, 2, 200}), type, 1, 1);
  const auto shorts =
      SCNGeometryElement::geometryElementWithData(bytesOf(std::vector<std::uint16_t>{1, 2, 60000}), type, 1, 2);
  const auto words = elementOf(type, 1, {1, 2, 4'000'000'000U});
  EXPECT_EQ(bytes->indexCount(), 3U);
  EXPECT_EQ(bytes->index(2), 200U);
  EXPECT_EQ(shorts->index(2), 60000U);
  EXPECT_EQ(words->index(2), 4'000'000'000U);
}

TEST(SCNGeometryElement, IndexCountFollowsTheTypeAndNeverExceedsTheData) {
  using Type = SCNGeometryPrimitiveType;
  const std::vector<std::uint32_t> ten(10, 0);
  EXPECT_EQ(elementOf(Type::triangles, 2, ten)->indexCount(), 6U);
  EXPECT_EQ(elementOf(Type::triangles, 4, ten)->indexCount(), 10U);
  EXPECT_EQ(elementOf(Type::triangleStrip, 2, ten)->indexCount(), 4U);
  EXPECT_EQ(elementOf(Type::triangleStrip, 0, ten)->indexCount(), 0U);
  EXPECT_EQ(elementOf(Type::line, 3, ten)->indexCount(), 6U);
  EXPECT_EQ(elementOf(Type::point, 7, ten)->indexCount(), 7U);
  EXPECT_EQ(elementOf(Type::polygon, 2, {3, 4, 0, 1, 2, 0, 1, 2, 3, 9, 9})->indexCount(), 9U);
  EXPECT_EQ(elementOf(Type::polygon, 2, {3, 4'000'000'000U, 0, 1})->indexCount(), 4U);
  constexpr std::size_t huge = std::numeric_limits<std::size_t>::max();
  EXPECT_EQ(elementOf(Type::triangles, huge, ten)->indexCount(), 10U);
  EXPECT_EQ(elementOf(Type::triangles, huge, ten)->primitiveCount(), huge);
  EXPECT_EQ(SCNGeometryElement::geometryElementWithData(bytesOf(ten), Type::point, 1, 3)->indexCount(), 0U);
  EXPECT_EQ(SCNGeometryElement::geometryElementWithData(nullptr, Type::point, 5, 4)->indexCount(), 0U);
}

TEST(SCNGeometryElement, PrimitiveTypesHaveThePlatformsNumbers) {
  EXPECT_EQ(static_cast<int>(SCNGeometryPrimitiveType::triangles), 0);
  EXPECT_EQ(static_cast<int>(SCNGeometryPrimitiveType::triangleStrip), 1);
  EXPECT_EQ(static_cast<int>(SCNGeometryPrimitiveType::line), 2);
  EXPECT_EQ(static_cast<int>(SCNGeometryPrimitiveType::point), 3);
  EXPECT_EQ(static_cast<int>(SCNGeometryPrimitiveType::polygon), 4);
}

TEST(SCNGeometry, SourcesAreFoundByTheirKind) {
  const auto vertices = SCNGeometrySource::geometrySourceWithVertices(std::vector<SCNVector3>{{1, 2, 3}});
  const auto uv = [] {
    return SCNGeometrySource::geometrySourceWithData(bytesOf(std::vector<float>{0, 1}), Semantic::texcoord, 1, true, 2,
                                                     4, 0, 8);
  };
  const auto first = uv();
  const auto second = uv();
  const auto geometry = SCNGeometry::geometryWithSources({vertices, first, second}, {});
  EXPECT_EQ(geometry->geometrySourcesForSemantic(Semantic::texcoord), (SCNGeometry::Sources{first, second}));
  EXPECT_EQ(geometry->firstSourceForSemantic(Semantic::texcoord), first.get());
  EXPECT_EQ(geometry->firstSourceForSemantic(Semantic::normal), nullptr);
}

TEST(SCNGeometry, MaterialsRepeatOverTheElements) {
  const auto geometry = testing::triangleGeometry();
  const auto a = SCNMaterial::material();
  const auto b = SCNMaterial::material();
  geometry->setMaterials({a, b});
  EXPECT_EQ(geometry->materialForElement(0), a);
  EXPECT_EQ(geometry->materialForElement(1), b);
  EXPECT_EQ(geometry->materialForElement(2), a);
  EXPECT_EQ(geometry->firstMaterial(), a);
  geometry->setFirstMaterial(b);
  EXPECT_EQ(geometry->materials(), (SCNGeometry::Materials{b, b}));
  geometry->setMaterials({});
  EXPECT_EQ(geometry->materialForElement(0), nullptr);
  EXPECT_EQ(geometry->firstMaterial(), nullptr);
  geometry->setFirstMaterial(a);
  EXPECT_EQ(geometry->materials(), (SCNGeometry::Materials{a}));
}

TEST(SCNGeometry, TheBoundingBoxHoldsTheFinitePositionsOfTheFirstVertexSource) {
  const double nan = std::nan("");
  const auto geometry = SCNGeometry::geometryWithSources(
      {SCNGeometrySource::geometrySourceWithVertices(std::vector<SCNVector3>{{nan, 50, 50}, {-1, 2, 3}, {4, -5, 6}}),
       SCNGeometrySource::geometrySourceWithVertices(std::vector<SCNVector3>{{100, 100, 100}})},
      {});
  EXPECT_TRUE(geometry->hasExtent());
  EXPECT_EQ(geometry->boundingBox(), (SCNBoundingBox{{-1, -5, 3}, {4, 2, 6}}));
}

TEST(SCNGeometry, TheBoundingBoxReadsEveryFormat) {
  const auto doubles = SCNGeometrySource::geometrySourceWithData(bytesOf(std::vector<double>{0.1, 0.2, 0.3, 1, 2, 3}),
                                                                 Semantic::vertex, 2, true, 3, 8, 0, 24);
  EXPECT_EQ(SCNGeometry::geometryWithSources({doubles}, {})->boundingBox(),
            (SCNBoundingBox{{0.1, 0.2, 0.3}, {1, 2, 3}}));
  const auto flat = SCNGeometrySource::geometrySourceWithData(bytesOf(std::vector<float>{1, 2, 3, 4}), Semantic::vertex,
                                                              2, true, 2, 4, 0, 8);
  EXPECT_EQ(SCNGeometry::geometryWithSources({flat}, {})->boundingBox(), (SCNBoundingBox{{1, 2, 0}, {3, 4, 0}}));
}

TEST(SCNGeometry, WithoutPositionsThereIsNoExtent) {
  const auto geometry = SCNGeometry::geometryWithSources({}, {});
  EXPECT_FALSE(geometry->hasExtent());
  EXPECT_EQ(geometry->boundingBox(), SCNBoundingBox{});
}

TEST(SCNGeometry, NullSourcesAndElementsAreLeftOut) {
  const auto geometry = SCNGeometry::geometryWithSources({nullptr}, {nullptr});
  EXPECT_TRUE(geometry->geometrySources().empty());
  EXPECT_TRUE(geometry->geometryElements().empty());
}

}  // namespace
}  // namespace ornolith
