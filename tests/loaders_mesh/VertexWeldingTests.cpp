#include <gtest/gtest.h>

#include <cstring>
#include <limits>
#include <map>
#include <random>
#include <string>
#include <vector>

#include "MeshFiles.h"
#include "foundation/Parallel.h"
#include "loaders/mesh/VertexWelding.h"

namespace ornolith {
namespace {

using namespace mesh_files;

std::vector<std::uint32_t> copied(const LargeVector<std::uint32_t>& values) {
  return {values.begin(), values.end()};
}

WeldedCorners welded(const std::vector<float>& positions) {
  return weldedCorners(PackedCorners{std::as_bytes(std::span(positions))});
}

/// Facets with corners on a small grid; the word is one of two.
std::string facets(std::size_t count) {
  std::mt19937 random(11);
  std::string bytes;
  for (std::size_t facet = 0; facet < count; ++facet) {
    for (int i = 0; i < 3; ++i) bytes += packed(1.5F);
    for (int i = 0; i < 9; ++i) bytes += packed(static_cast<float>(random() % 50));
    bytes += packed(static_cast<std::uint16_t>(random() % 2));
  }
  return bytes;
}

/// The same by an ordered map.
WeldedCorners expectedOf(const std::string& bytes, bool wordCounts) {
  WeldedCorners result;
  std::map<std::string, std::uint32_t> known;
  for (std::size_t corner = 0; corner < bytes.size() / 50 * 3; ++corner) {
    std::string key = bytes.substr(corner / 3 * 50 + 12 + corner % 3 * 12, 12);
    if (wordCounts) key += bytes.substr(corner / 3 * 50 + 48, 2);
    const auto [place, isNew] = known.emplace(key, known.size());
    if (isNew) result.firstCorners.push_back(static_cast<std::uint32_t>(corner));
    result.vertices.push_back(place->second);
  }
  return result;
}

TEST(VertexWelding, NumbersPlacesAsTheyFirstOccur) {
  const WeldedCorners corners = welded({5, 0, 0, 1, 0, 0, 5, 0, 0, 1, 0, 1, 1, 0, 0});
  EXPECT_EQ(copied(corners.vertices), (std::vector<std::uint32_t>{0, 1, 0, 2, 1}));
  EXPECT_EQ(copied(corners.firstCorners), (std::vector<std::uint32_t>{0, 1, 3}));
}

TEST(VertexWelding, TakesBothZerosAsOneAndWhatIsNoNumberByItsBits) {
  const float none = std::numeric_limits<float>::quiet_NaN();
  const WeldedCorners corners = welded({0, 1, 2, -0.0F, 1, 2, none, 1, 2, none, 1, 2});
  EXPECT_EQ(copied(corners.vertices), (std::vector<std::uint32_t>{0, 0, 1, 1}));
}

TEST(VertexWelding, OfNothingIsNothing) {
  EXPECT_TRUE(welded({}).vertices.empty());
  EXPECT_TRUE(weldedCorners(FacetCorners{}).firstCorners.empty());
}

TEST(VertexWelding, DoesNotDependOnTheThreads) {
  const std::string bytes = facets(25'000);
  for (const bool wordCounts : {false, true}) {
    const WeldedCorners expected = expectedOf(bytes, wordCounts);
    for (const std::size_t threads : {1U, 2U, 3U, 7U}) {
      WeldedCorners corners;
      withThreadLimit(threads, [&] { corners = weldedCorners(FacetCorners{bytesOf(bytes), wordCounts}); });
      EXPECT_EQ(corners.vertices, expected.vertices) << threads;
      EXPECT_EQ(corners.firstCorners, expected.firstCorners) << threads;
    }
  }
}

}  // namespace
}  // namespace ornolith
