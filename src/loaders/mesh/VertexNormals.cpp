#include "loaders/mesh/VertexNormals.h"

#include <algorithm>
#include <array>
#include <bit>
#include <cmath>
#include <numeric>

#include "foundation/LinearAlgebra.h"
#include "foundation/Math.h"

namespace ornolith {

namespace {

constexpr double creaseCosine = 0.5;  // 60 degrees.

simd_double3 unit(simd_double3 v) {
  const double size = length(v);
  return size > 0 && std::isfinite(size) ? v / size : simd_double3{};
}

/// How many groups of a place are looked through for one that a facet belongs to. No more than some dozen facets fit
/// around a place that lie further apart than the crease angle; only files of smoothing groups alone come beyond.
constexpr std::size_t groupsSearched = 64;

/// The triangles of one place that share a normal.
struct Group {
  std::uint32_t smoothingGroup;
  simd_double3 firstFacet;
  simd_double3 sum;
};

class Creasing {
 public:
  Creasing(std::span<const float> positions, std::span<const std::uint32_t> triangles,
           std::span<const std::uint32_t> smoothingGroups)
      : positions_(positions), triangles_(triangles), smoothingGroups_(smoothingGroups) {}

  CreasedMesh run() {
    sortVerticesByPlace();
    listCornersOfVertices();
    result_.indices.resize(triangles_.size());
    groupOfCorner_.resize(triangles_.size());
    for (std::size_t begin = 0, end = 0; begin < order_.size(); begin = end) {
      end = begin + 1;
      while (end < order_.size() && placeOf(order_[end]) == placeOf(order_[begin])) ++end;
      groupCorners(begin, end);
      emitVertices(begin, end);
    }
    return std::move(result_);
  }

 private:
  using Place = std::array<std::uint32_t, 3>;

  // The bits of a position, in which equal numbers are equal and what is no number is orderly too.
  Place placeOf(std::uint32_t vertex) const {
    const float* position = positions_.data() + std::size_t{vertex} * 3;
    const auto bits = [](float value) { return std::bit_cast<std::uint32_t>(value == 0 ? 0.0F : value); };
    return {bits(position[0]), bits(position[1]), bits(position[2])};
  }

  simd_double3 positionOf(std::uint32_t vertex) const {
    const float* position = positions_.data() + std::size_t{vertex} * 3;
    return {position[0], position[1], position[2]};
  }

  void sortVerticesByPlace() {
    order_.resize(positions_.size() / 3);
    std::iota(order_.begin(), order_.end(), 0U);
    std::sort(order_.begin(), order_.end(), [&](std::uint32_t a, std::uint32_t b) {
      const Place placeA = placeOf(a);
      const Place placeB = placeOf(b);
      return placeA != placeB ? placeA < placeB : a < b;
    });
  }

  void listCornersOfVertices() {
    firstCorner_.assign(order_.size() + 1, 0);
    for (const std::uint32_t vertex : triangles_) ++firstCorner_[vertex + 1];
    std::partial_sum(firstCorner_.begin(), firstCorner_.end(), firstCorner_.begin());
    corners_.resize(triangles_.size());
    std::vector<std::size_t> next(firstCorner_.begin(), firstCorner_.end() - 1);
    for (std::size_t corner = 0; corner < triangles_.size(); ++corner) corners_[next[triangles_[corner]]++] = corner;
  }

  std::span<const std::size_t> cornersOf(std::uint32_t vertex) const {
    return std::span(corners_).subspan(firstCorner_[vertex], firstCorner_[vertex + 1] - firstCorner_[vertex]);
  }

  void groupCorners(std::size_t begin, std::size_t end) {
    groups_.clear();
    for (std::size_t i = begin; i < end; ++i) {
      for (const std::size_t corner : cornersOf(order_[i])) addCorner(corner);
    }
  }

  void addCorner(std::size_t corner) {
    const std::size_t first = corner - corner % 3;
    const simd_double3 here = positionOf(triangles_[corner]);
    const simd_double3 toNext = positionOf(triangles_[first + (corner + 1) % 3]) - here;
    const simd_double3 toLast = positionOf(triangles_[first + (corner + 2) % 3]) - here;
    const simd_double3 areaNormal = cross(toNext, toLast);
    const simd_double3 facet = unit(areaNormal);
    const bool hasFacet = facet != simd_double3{};
    const std::uint32_t smoothingGroup = smoothingGroups_.empty() ? creasedByAngle : smoothingGroups_[corner / 3];
    const std::size_t group = groupOf(smoothingGroup, facet, hasFacet);
    if (hasFacet) {
      const double cosine = std::clamp(dot(unit(toNext), unit(toLast)), -1.0, 1.0);
      groups_[group].sum = groups_[group].sum + areaNormal * math::acos(cosine);
    }
    groupOfCorner_[corner] = static_cast<std::uint32_t>(group);
  }

  std::size_t groupOf(std::uint32_t smoothingGroup, simd_double3 facet, bool hasFacet) {
    std::size_t group = groups_.size() > groupsSearched ? groups_.size() - groupsSearched : 0;
    if (smoothingGroup == flatFacet) group = groups_.size();
    for (; group < groups_.size(); ++group) {
      if (groups_[group].smoothingGroup != smoothingGroup) continue;
      if (smoothingGroup != creasedByAngle || !hasFacet || dot(groups_[group].firstFacet, facet) >= creaseCosine) break;
    }
    if (group == groups_.size()) groups_.push_back({smoothingGroup, facet, {}});
    return group;
  }

  void emitVertices(std::size_t begin, std::size_t end) {
    for (std::size_t i = begin; i < end; ++i) {
      if (newVertices_.size() < groups_.size()) newVertices_.resize(groups_.size(), noVertex);
      for (const std::size_t corner : cornersOf(order_[i])) {
        std::uint32_t& vertex = newVertices_[groupOfCorner_[corner]];
        if (vertex == noVertex) vertex = emitVertex(order_[i], groups_[groupOfCorner_[corner]].sum);
        result_.indices[corner] = vertex;
      }
      for (const std::size_t corner : cornersOf(order_[i])) newVertices_[groupOfCorner_[corner]] = noVertex;
    }
  }

  std::uint32_t emitVertex(std::uint32_t source, simd_double3 sum) {
    simd_double3 normal = unit(sum);
    if (normal == simd_double3{}) normal = {0, 0, 1};  // Of triangles without an area alone, which show nothing.
    for (std::size_t axis = 0; axis < 3; ++axis) result_.normals.push_back(static_cast<float>(normal[axis]));
    result_.sourceVertices.push_back(source);
    return static_cast<std::uint32_t>(result_.sourceVertices.size() - 1);
  }

  static constexpr std::uint32_t noVertex = 0xFFFFFFFF;

  std::span<const float> positions_;
  std::span<const std::uint32_t> triangles_;
  std::span<const std::uint32_t> smoothingGroups_;
  std::vector<std::uint32_t> order_;
  std::vector<std::size_t> firstCorner_;  // For each vertex where its corners begin in `corners_`, and the end.
  std::vector<std::size_t> corners_;
  std::vector<std::uint32_t> groupOfCorner_;
  std::vector<Group> groups_;
  std::vector<std::uint32_t> newVertices_;  // For each group of the place, the current vertex's new one.
  CreasedMesh result_;
};

}  // namespace

CreasedMesh creasedMesh(std::span<const float> positions, std::span<const std::uint32_t> triangles,
                        std::span<const std::uint32_t> smoothingGroups) {
  return Creasing(positions, triangles, smoothingGroups).run();
}

}  // namespace ornolith
