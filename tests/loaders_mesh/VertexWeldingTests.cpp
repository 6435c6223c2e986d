#include <gtest/gtest.h>

#include <algorithm>
#include <array>
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
  return weldedCorners({.bytes = std::as_bytes(std::span(positions))});
}

constexpr float nan = std::numeric_limits<float>::quiet_NaN();

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

FacetCorners cornersOf(const std::string& bytes, bool wordCounts) {
  const FacetWords words = wordCounts ? FacetWords::counted : FacetWords::noted;
  return {.bytes = bytesOf(bytes), .facetSize = 50, .firstCorner = 12, .words = words};
}

/// The same by an ordered map.
WeldedCorners expectedOf(const std::string& bytes, bool wordCounts) {
  WeldedCorners result;
  std::map<std::string, std::uint32_t> known;
  for (std::size_t corner = 0; corner < bytes.size() / 50 * 3; ++corner) {
    const std::string position = bytes.substr(corner / 3 * 50 + 12 + corner % 3 * 12, 12);
    const std::string word = bytes.substr(corner / 3 * 50 + 48, 2);
    const auto [place, isNew] = known.emplace(wordCounts ? position + word : position, known.size());
    if (isNew) {
      std::array<float, 3> components{};
      std::memcpy(components.data(), position.data(), position.size());
      result.positions.insert(result.positions.end(), components.begin(), components.end());
      if (wordCounts) std::memcpy(&result.words.emplace_back(), word.data(), word.size());
    }
    result.vertices.push_back(place->second);
  }
  return result;
}

TEST(VertexWelding, NumbersPlacesAsTheyFirstOccur) {
  const WeldedCorners corners = welded({5, 0, 0, 1, 0, 0, 5, 0, 0, 1, 0, 1, 1, 0, 0, 5, 0, 0});
  EXPECT_EQ(copied(corners.vertices), (std::vector<std::uint32_t>{0, 1, 0, 2, 1, 0}));
  EXPECT_EQ(corners.positions, (LargeVector<float>{5, 0, 0, 1, 0, 0, 1, 0, 1}));
}

TEST(VertexWelding, TakesBothZerosAsOneAndWhatIsNoNumberByItsBits) {
  const WeldedCorners corners = welded({0, 1, 2, -0.0F, 1, 2, nan, 1, 2, nan, 1, 2, 1, -0.0F, -0.0F, 1, 0, 0});
  EXPECT_EQ(copied(corners.vertices), (std::vector<std::uint32_t>{0, 0, 1, 1, 2, 2}));
}

TEST(VertexWelding, OfNothingIsNothing) {
  EXPECT_TRUE(welded({}).vertices.empty());
  EXPECT_TRUE(weldedCorners(FacetCorners{}).positions.empty());
}

TEST(VertexWelding, DoesNotDependOnTheThreads) {
  const std::string bytes = facets(65'000);
  for (const bool wordCounts : {false, true}) {
    const WeldedCorners expected = expectedOf(bytes, wordCounts);
    for (const std::size_t threads : {1U, 2U, 3U, 7U}) {
      WeldedCorners corners;
      withThreadLimit(threads, [&] { corners = weldedCorners(cornersOf(bytes, wordCounts)); });
      EXPECT_EQ(corners.vertices, expected.vertices) << threads;
      EXPECT_EQ(corners.positions, expected.positions) << threads;
      EXPECT_EQ(corners.words, expected.words) << threads;
      EXPECT_EQ(corners.bitsOfWords, 1);
    }
  }
}

TEST(VertexWelding, OfFacetsInPartsIsThatOfAllAtOnce) {
  std::mt19937 random(13);
  std::vector<float> corners;
  for (int i = 0; i < 9 * 20'000; ++i) corners.push_back(static_cast<float>(random() % 30));
  const WeldedCorners expected = weldedCorners({.bytes = std::as_bytes(std::span(corners))});
  for (const std::size_t facetsOfAPart : {std::size_t{1'000}, CornerWelding::facetsAtOnce, std::size_t{20'000}}) {
    for (const std::size_t expectedFacets : {1U, 20'000U}) {
      CornerWelding welding(expectedFacets, 20'000);
      for (std::size_t first = 0; first < corners.size(); first += facetsOfAPart * 9) {
        welding.add(std::span(corners).subspan(first, std::min(facetsOfAPart * 9, corners.size() - first)));
      }
      const WeldedCorners found = welding.finish();
      EXPECT_EQ(found.vertices, expected.vertices);
      EXPECT_EQ(found.positions, expected.positions);
    }
  }
}

}  // namespace
}  // namespace ornolith
