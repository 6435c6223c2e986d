#include "loaders/mesh/VertexNormals.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <utility>
#include <vector>

#include "foundation/LargeVector.h"
#include "foundation/LinearAlgebra.h"
#include "foundation/Math.h"
#include "foundation/Parallel.h"
#include "loaders/mesh/MeshReadError.h"
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
  std::uint32_t next;  // Of a place's first group the latest one, of the others the one before; `none` ends.
  std::uint32_t firstCorner;
};

/// A new vertex: a given one as it is in a group.
struct SplitVertex {
  std::uint32_t group;
  std::uint32_t firstCorner;
  std::uint32_t nextOfSource;  // The one before of the same given vertex.
};

/// How many threads look through the triangles at once. Each has a range of the places and takes from all triangles, in
/// their order, the corners that lie there; so what comes out does not depend on the number.
std::size_t shareCount(std::size_t cornerCount) {
  constexpr std::size_t cornersWorthAThread = std::size_t{1} << 14;
  constexpr std::size_t mostShares = 8;
  return std::clamp<std::size_t>(cornerCount / cornersWorthAThread, 1, std::min(availableThreadCount(), mostShares));
}

class Creasing {
 public:
  Creasing(std::span<const float> positions, std::span<const std::uint32_t> triangles,
           std::span<const std::uint32_t> smoothingGroups, VertexPlaces vertexPlaces)
      : positions_(positions),
        triangles_(triangles.first(triangles.size() / 3 * 3)),
        smoothingGroups_(smoothingGroups),
        placeCount_(positions.size() / 3),
        vertexPlaces_(vertexPlaces),
        shares_(shareCount(triangles.size())) {
    // Numbers of groups and corners have 32 bits.
    if (triangles_.size() > mostWeldedCorners || placeCount_ > mostWeldedCorners) {
      throwMalformedMesh("The mesh has too many triangles without normals.");
    }
  }

  CreasedMesh run() {
    numberPlaces();
    makeShares();
    result_.indices.resize(triangles_.size());
    forEachShare([&](Share& share) { groupCorners(share); });
    places_ = {};
    const LargeVector<std::uint32_t> firstCorners = numberedByFirstCorners(result_.indices);
    result_.sourceVertices.resize(firstCorners.size());
    result_.normals.resize(firstCorners.size() * 3);
    forEachShare([&](const Share& share) { emitVertices(share); });
    return std::move(result_);
  }

 private:
  /// A range of the places, and what one thread finds there.
  struct Share {
    std::uint32_t firstPlace;
    std::uint32_t placeCount;
    LargeVector<Group> laterGroups;     // Of places with several, numbered after all places.
    LargeVector<SplitVertex> vertices;  // Where several vertices may stand at one place.
  };

  template <typename Body>
  void forEachShare(const Body& body) {
    parallelFor(shares_.size(), 1, [&](std::size_t share) { body(shares_[share]); });
  }

  /// Vertices with equal coordinates stand at one place.
  void numberPlaces() {
    if (vertexPlaces_ == VertexPlaces::differ) return;
    WeldedCorners welded = weldedCorners(PackedCorners{std::as_bytes(positions_)});
    if (welded.firstCorners.size() == placeCount_) {
      vertexPlaces_ = VertexPlaces::differ;
      return;
    }
    placeCount_ = welded.firstCorners.size();
    places_ = std::move(welded.vertices);
    lastOfSource_.resize(places_.size());
    std::fill(lastOfSource_.begin(), lastOfSource_.end(), none);
  }

  void makeShares() {
    firstGroups_.resize(placeCount_);
    std::size_t end = 0;
    for (std::size_t i = 0; i < shares_.size(); ++i) {
      const std::size_t begin = std::exchange(end, placeCount_ * (i + 1) / shares_.size());
      shares_[i].firstPlace = static_cast<std::uint32_t>(begin);
      shares_[i].placeCount = static_cast<std::uint32_t>(end - begin);
    }
  }

  std::uint32_t placeOf(std::uint32_t vertex) const {
    return vertexPlaces_ == VertexPlaces::differ ? vertex : places_[vertex];
  }

  simd_double3 positionOf(std::uint32_t vertex) const {
    const float* position = positions_.data() + std::size_t{vertex} * 3;
    return {position[0], position[1], position[2]};
  }

  void groupCorners(Share& share) {
    for (std::uint32_t i = 0; i < share.placeCount; ++i) firstGroups_[share.firstPlace + i].firstCorner = none;
    for (std::size_t first = 0; first < triangles_.size(); first += 3) {
      std::array<std::uint32_t, 3> places;
      bool isOfShare = false;
      for (std::size_t i = 0; i < 3; ++i) {
        places[i] = placeOf(triangles_[first + i]);
        isOfShare |= places[i] - share.firstPlace < share.placeCount;
      }
      if (!isOfShare) continue;
      const Facet facet = facetOf(
          {positionOf(triangles_[first]), positionOf(triangles_[first + 1]), positionOf(triangles_[first + 2])});
      const std::uint32_t smoothingGroup = smoothingGroups_.empty() ? creasedByAngle : smoothingGroups_[first / 3];
      for (std::size_t i = 0; i < 3; ++i) {
        if (places[i] - share.firstPlace >= share.placeCount) continue;
        const auto corner = static_cast<std::uint32_t>(first + i);
        const std::uint32_t number = groupAt(share, places[i], smoothingGroup, facet, corner);
        Group& group = groupOf(share, number);
        if (facet.hasArea) group.sum = group.sum + facet.areaNormal * facet.angles[i];
        result_.indices[corner] =
            vertexPlaces_ == VertexPlaces::differ ? group.firstCorner : firstCornerOf(share, corner, number);
      }
    }
  }

  Group& groupOf(Share& share, std::uint32_t number) {
    return number < placeCount_ ? firstGroups_[number] : share.laterGroups[number - placeCount_];
  }
  const Group& groupOf(const Share& share, std::uint32_t number) const {
    return number < placeCount_ ? firstGroups_[number] : share.laterGroups[number - placeCount_];
  }

  /// The latest group of the place that the facet belongs to, or a new one.
  std::uint32_t groupAt(Share& share, std::uint32_t place, std::uint32_t smoothingGroup, const Facet& facet,
                        std::uint32_t corner) {
    Group& first = firstGroups_[place];
    const Group added{.sum = {},
                      .firstFacet = {static_cast<float>(facet.normal.x), static_cast<float>(facet.normal.y),
                                     static_cast<float>(facet.normal.z)},
                      .smoothingGroup = smoothingGroup,
                      .next = first.next,
                      .firstCorner = corner};
    if (first.firstCorner == none) {
      first = added;
      first.next = none;
      return place;
    }
    if (smoothingGroup != flatFacet) {
      int searched = 0;
      for (std::uint32_t number = first.next; number != none; number = share.laterGroups[number - placeCount_].next) {
        if (searched++ == mostSearched) break;
        if (isOf(share.laterGroups[number - placeCount_], smoothingGroup, facet)) return number;
      }
      if (searched < mostSearched && isOf(first, smoothingGroup, facet)) return place;
    }
    first.next = static_cast<std::uint32_t>(placeCount_ + share.laterGroups.size());
    share.laterGroups.push_back(added);
    return first.next;
  }

  /// A triangle without an area, which shows nothing, belongs anywhere.
  static bool isOf(const Group& group, std::uint32_t smoothingGroup, const Facet& facet) {
    if (group.smoothingGroup != smoothingGroup) return false;
    if (smoothingGroup != creasedByAngle || !facet.hasArea) return true;
    const simd_double3 first = {group.firstFacet.x, group.firstFacet.y, group.firstFacet.z};
    return dot(first, facet.normal) >= creaseCosine;
  }

  /// The first corner with the same given vertex and group.
  std::uint32_t firstCornerOf(Share& share, std::uint32_t corner, std::uint32_t group) {
    std::uint32_t& last = lastOfSource_[triangles_[corner]];
    std::uint32_t vertex = last;
    for (int i = 0; i < mostSearched && vertex != none; ++i, vertex = share.vertices[vertex].nextOfSource) {
      if (share.vertices[vertex].group == group) return share.vertices[vertex].firstCorner;
    }
    share.vertices.push_back({.group = group, .firstCorner = corner, .nextOfSource = last});
    last = static_cast<std::uint32_t>(share.vertices.size() - 1);
    return corner;
  }

  void emitVertices(const Share& share) {
    if (vertexPlaces_ == VertexPlaces::mayCoincide) {
      for (const SplitVertex& vertex : share.vertices) emitVertex(vertex.firstCorner, groupOf(share, vertex.group));
      return;
    }
    for (std::uint32_t i = 0; i < share.placeCount; ++i) {
      const Group& group = firstGroups_[share.firstPlace + i];
      if (group.firstCorner != none) emitVertex(group.firstCorner, group);
    }
    for (const Group& group : share.laterGroups) emitVertex(group.firstCorner, group);
  }

  void emitVertex(std::uint32_t firstCorner, const Group& group) {
    const std::uint32_t vertex = result_.indices[firstCorner];
    result_.sourceVertices[vertex] = triangles_[firstCorner];
    const double size = length(group.sum);
    // Of triangles without an area alone.
    const simd_double3 normal = size > 0 && std::isfinite(size) ? group.sum / size : simd_double3{0, 0, 1};
    for (std::size_t axis = 0; axis < 3; ++axis) {
      result_.normals[std::size_t{vertex} * 3 + axis] = static_cast<float>(normal[axis]);
    }
  }

  std::span<const float> positions_;
  std::span<const std::uint32_t> triangles_;
  std::span<const std::uint32_t> smoothingGroups_;
  std::size_t placeCount_;
  VertexPlaces vertexPlaces_;
  LargeVector<std::uint32_t> places_;        // Of each vertex, where several may stand at one.
  LargeVector<std::uint32_t> lastOfSource_;  // The latest new vertex of each given one, likewise.
  LargeVector<Group> firstGroups_;           // Of each place.
  std::vector<Share> shares_;
  CreasedMesh result_;
};

}  // namespace

CreasedMesh creasedMesh(std::span<const float> positions, std::span<const std::uint32_t> triangles,
                        std::span<const std::uint32_t> smoothingGroups, VertexPlaces vertexPlaces) {
  return Creasing(positions, triangles, smoothingGroups, vertexPlaces).run();
}

}  // namespace ornolith
