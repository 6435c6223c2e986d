#include "loaders/mesh/VertexNormals.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <numeric>

#include "foundation/LargeVector.h"
#include "foundation/LinearAlgebra.h"
#include "foundation/Math.h"
#include "loaders/mesh/VertexWelding.h"

namespace ornolith {

namespace {

constexpr double creaseCosine = 0.5;  // 60 degrees.
constexpr std::uint32_t none = 0xFFFFFFFF;

/// How many groups of a place are looked through for one that a facet belongs to, and how many vertices of a source for
/// one with a group. No more than some dozen facets fit around a place that lie further apart than the crease angle;
/// only files of ever new smoothing groups come beyond, and get groups or vertices that could be one.
constexpr int mostSearched = 64;

/// acos(x) for x in 0..1, within 2e-8 (M. Abramowitz and I. Stegun, "Handbook of mathematical functions", 4.4.46).
double arcCosineOfPositive(double x) {
  constexpr double c[] = {1.5707963050, -0.2145988016, 0.0889789874, -0.0501743046,
                          0.0308918810, -0.0170881256, 0.0066700901, -0.0012624911};
  const double series = c[0] + x * (c[1] + x * (c[2] + x * (c[3] + x * (c[4] + x * (c[5] + x * (c[6] + x * c[7]))))));
  return std::sqrt(1 - x) * series;
}

/// The angle whose cosine is given.
double arcCosine(double cosine) {
  const double angle = arcCosineOfPositive(std::min(std::abs(cosine), 1.0));
  return cosine < 0 ? math::pi - angle : angle;
}

/// What a triangle adds to the normals at its corners.
struct Facet {
  bool hasArea = false;
  simd_double3 normal;      // Of unit length.
  simd_double3 areaNormal;  // As long as twice the area.
  std::array<double, 3> angles{};
};

Facet facetOf(const std::array<simd_double3, 3>& corners) {
  const simd_double3 a = corners[1] - corners[0];
  const simd_double3 b = corners[2] - corners[0];
  const simd_double3 c = corners[2] - corners[1];
  Facet facet;
  facet.areaNormal = cross(a, b);
  const double area = length(facet.areaNormal);
  if (!(area > 0) || !std::isfinite(area)) return facet;
  const double squareA = dot(a, a);
  facet.hasArea = true;
  facet.normal = facet.areaNormal * (1 / area);
  facet.angles[0] = arcCosine(dot(a, b) / std::sqrt(squareA * dot(b, b)));
  facet.angles[1] = arcCosine(-dot(a, c) / std::sqrt(squareA * dot(c, c)));
  facet.angles[2] = std::max(math::pi - facet.angles[0] - facet.angles[1], 0.0);
  return facet;
}

/// The triangles of one place that share a normal.
struct Group {
  simd_double3 sum;
  simd_float3 firstFacet;
  std::uint32_t smoothingGroup;
  std::uint32_t nextOfPlace;
};

class Creasing {
 public:
  Creasing(std::span<const float> positions, std::span<const std::uint32_t> triangles,
           std::span<const std::uint32_t> smoothingGroups)
      : positions_(positions), triangles_(triangles), smoothingGroups_(smoothingGroups) {}

  CreasedMesh run() {
    numberPlaces();
    groupCorners();
    emitVertices();
    return std::move(result_);
  }

 private:
  simd_double3 positionOf(std::uint32_t vertex) const {
    const float* position = positions_.data() + std::size_t{vertex} * 3;
    return {position[0], position[1], position[2]};
  }

  /// Vertices with equal coordinates stand at one place.
  void numberPlaces() {
    const std::size_t vertexCount = positions_.size() / 3;
    if (vertexCount <= mostWeldedCorners) {
      places_ = weldedCorners(PackedCorners{std::as_bytes(positions_)}).vertices;
    } else {
      places_.resize(vertexCount);
      std::iota(places_.begin(), places_.end(), 0U);
    }
  }

  void groupCorners() {
    lastGroupOfPlace_.assign(places_.size(), none);
    groups_.reserve(places_.size());
    groupOfCorner_.resize(triangles_.size());
    for (std::size_t first = 0; first + 2 < triangles_.size(); first += 3) {
      const Facet facet = facetOf(
          {positionOf(triangles_[first]), positionOf(triangles_[first + 1]), positionOf(triangles_[first + 2])});
      const std::uint32_t smoothingGroup = smoothingGroups_.empty() ? creasedByAngle : smoothingGroups_[first / 3];
      for (std::size_t i = 0; i < 3; ++i) {
        const std::uint32_t group = groupAt(places_[triangles_[first + i]], smoothingGroup, facet);
        if (facet.hasArea) groups_[group].sum = groups_[group].sum + facet.areaNormal * facet.angles[i];
        groupOfCorner_[first + i] = group;
      }
    }
  }

  std::uint32_t groupAt(std::uint32_t place, std::uint32_t smoothingGroup, const Facet& facet) {
    std::uint32_t& last = lastGroupOfPlace_[place];
    if (smoothingGroup != flatFacet) {
      std::uint32_t group = last;
      for (int i = 0; i < mostSearched && group != none; ++i, group = groups_[group].nextOfPlace) {
        if (isOf(groups_[group], smoothingGroup, facet)) return group;
      }
    }
    const auto added = static_cast<std::uint32_t>(groups_.size());
    groups_.push_back({.sum = {},
                       .firstFacet = {static_cast<float>(facet.normal.x), static_cast<float>(facet.normal.y),
                                      static_cast<float>(facet.normal.z)},
                       .smoothingGroup = smoothingGroup,
                       .nextOfPlace = last});
    last = added;
    return added;
  }

  /// A triangle without an area, which shows nothing, belongs anywhere.
  static bool isOf(const Group& group, std::uint32_t smoothingGroup, const Facet& facet) {
    if (group.smoothingGroup != smoothingGroup) return false;
    if (smoothingGroup != creasedByAngle || !facet.hasArea) return true;
    const simd_double3 first = {group.firstFacet.x, group.firstFacet.y, group.firstFacet.z};
    return dot(first, facet.normal) >= creaseCosine;
  }

  /// One vertex for each given vertex and group.
  void emitVertices() {
    lastGroupOfPlace_ = {};
    LargeVector<std::uint32_t> lastOfSource(places_.size());
    std::fill(lastOfSource.begin(), lastOfSource.end(), none);
    result_.indices.resize(triangles_.size());
    result_.sourceVertices.reserve(places_.size());
    for (std::size_t corner = 0; corner < triangles_.size(); ++corner) {
      const std::uint32_t source = triangles_[corner];
      const std::uint32_t group = groupOfCorner_[corner];
      std::uint32_t vertex = lastOfSource[source];
      for (int i = 0; vertex != none && groupOfVertex_[vertex] != group; ++i) {
        vertex = i < mostSearched ? nextOfSource_[vertex] : none;
      }
      if (vertex == none) {
        vertex = static_cast<std::uint32_t>(result_.sourceVertices.size());
        result_.sourceVertices.push_back(source);
        groupOfVertex_.push_back(group);
        nextOfSource_.push_back(lastOfSource[source]);
        lastOfSource[source] = vertex;
      }
      result_.indices[corner] = vertex;
    }
    result_.normals.resize(result_.sourceVertices.size() * 3);
    for (std::size_t vertex = 0; vertex < groupOfVertex_.size(); ++vertex) setNormal(vertex);
  }

  void setNormal(std::size_t vertex) {
    const simd_double3 sum = groups_[groupOfVertex_[vertex]].sum;
    const double size = length(sum);
    // Of triangles without an area alone.
    const simd_double3 normal = size > 0 && std::isfinite(size) ? sum / size : simd_double3{0, 0, 1};
    for (std::size_t axis = 0; axis < 3; ++axis) {
      result_.normals[vertex * 3 + axis] = static_cast<float>(normal[axis]);
    }
  }

  std::span<const float> positions_;
  std::span<const std::uint32_t> triangles_;
  std::span<const std::uint32_t> smoothingGroups_;
  LargeVector<std::uint32_t> places_;  // Of each vertex.
  LargeVector<std::uint32_t> lastGroupOfPlace_;
  LargeVector<Group> groups_;
  LargeVector<std::uint32_t> groupOfCorner_;
  LargeVector<std::uint32_t> groupOfVertex_;
  LargeVector<std::uint32_t> nextOfSource_;  // For each new vertex the one before of the same given vertex.
  CreasedMesh result_;
};

}  // namespace

CreasedMesh creasedMesh(std::span<const float> positions, std::span<const std::uint32_t> triangles,
                        std::span<const std::uint32_t> smoothingGroups) {
  return Creasing(positions, triangles, smoothingGroups).run();
}

}  // namespace ornolith
