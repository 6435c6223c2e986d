#include "loaders/mesh/TangentSpace.h"

#include <algorithm>
#include <array>
#include <bit>
#include <cmath>
#include <cstddef>
#include <limits>
#include <numeric>

#include "foundation/LinearAlgebra.h"
#include "foundation/Math.h"

namespace ornolith {

namespace {

constexpr std::uint32_t none = std::numeric_limits<std::uint32_t>::max();

simd_double3 unit(simd_double3 v) {
  const double size = length(v);
  return size > 0 && std::isfinite(size) ? v / size : simd_double3{};
}

simd_double3 withoutPart(simd_double3 v, simd_double3 along) {
  return v - along * dot(along, v);
}

/// Some direction across `normal`, which is unit length or zero: the one nearest to x, or to y where that is too near.
simd_double3 directionAcross(simd_double3 normal) {
  const simd_double3 x = withoutPart({1, 0, 0}, normal);
  return unit(dot(x, x) > 0.01 ? x : withoutPart({0, 1, 0}, normal));
}

std::size_t nextCorner(std::size_t corner) {
  return corner % 3 == 2 ? corner - 2 : corner + 1;
}
std::size_t previousCorner(std::size_t corner) {
  return corner % 3 == 0 ? corner + 2 : corner - 1;
}

/// What a triangle says about the directions of the texture on it.
struct Facet {
  simd_float3 along;          ///< Unit length, the way u grows.
  bool isUsable = false;      ///< Its corners lie at three places.
  bool hasDirection = false;  ///< It has an area in the texture too.
  bool isMirrored =
      false;  ///< The texture shows reversed. Without a direction: as the first group has it that takes it.
};

/// Corners at one place that share a tangent.
struct Group {
  simd_double3 sum;
  bool isMirrored = false;
};

class TangentGeneration {
 public:
  TangentGeneration(const TangentInput& input, std::span<const std::uint32_t> triangles)
      : input_(input), triangles_(triangles.first(triangles.size() - triangles.size() % 3)) {}

  TangentMesh run() {
    weldVertices();
    describeFacets();
    pairEdges();
    growGroups();
    joinLooseCorners();
    emitVertices();
    return std::move(result_);
  }

 private:
  using VertexKey = std::array<std::uint32_t, 8>;

  std::size_t vertexCount() const { return input_.positions.size() / 3; }

  static simd_double3 triple(std::span<const float> values, std::uint32_t vertex) {
    const float* first = values.data() + std::size_t{vertex} * 3;
    return {first[0], first[1], first[2]};
  }
  simd_double3 positionOf(std::size_t corner) const { return triple(input_.positions, triangles_[corner]); }
  simd_double3 normalOf(std::uint32_t vertex) const { return unit(triple(input_.normals, vertex)); }

  // The bits of all attributes, in which equal numbers are equal and what is no number is orderly too.
  VertexKey keyOf(std::uint32_t vertex) const {
    const auto bits = [](float value) { return std::bit_cast<std::uint32_t>(value == 0 ? 0.0F : value); };
    const float* p = input_.positions.data() + std::size_t{vertex} * 3;
    const float* n = input_.normals.data() + std::size_t{vertex} * 3;
    const float* t = input_.texcoords.data() + std::size_t{vertex} * 2;
    return {bits(p[0]), bits(p[1]), bits(p[2]), bits(n[0]), bits(n[1]), bits(n[2]), bits(t[0]), bits(t[1])};
  }

  // Numbers the vertices so that those with the same attributes have the same number. They are sorted by a hash first,
  // which spares most comparisons, and by the attributes where hashes agree.
  void weldVertices() {
    struct Hashed {
      std::uint64_t hash;
      std::uint32_t vertex;
    };
    std::vector<Hashed> order(vertexCount());
    for (std::uint32_t vertex = 0; vertex < order.size(); ++vertex) {
      std::uint64_t hash = 0;
      for (const std::uint32_t word : keyOf(vertex)) hash = (std::rotl(hash, 23) ^ word) * 0x9E3779B97F4A7C15U;
      order[vertex] = {hash, vertex};
    }
    std::sort(order.begin(), order.end(), [&](const Hashed& a, const Hashed& b) {
      if (a.hash != b.hash) return a.hash < b.hash;
      const VertexKey keyA = keyOf(a.vertex);
      const VertexKey keyB = keyOf(b.vertex);
      return keyA != keyB ? keyA < keyB : a.vertex < b.vertex;
    });
    welded_.resize(order.size());
    for (std::size_t i = 0; i < order.size(); ++i) {
      const bool isRepeat =
          i > 0 && order[i].hash == order[i - 1].hash && keyOf(order[i].vertex) == keyOf(order[i - 1].vertex);
      welded_[order[i].vertex] = isRepeat ? welded_[order[i - 1].vertex] : order[i].vertex;
    }
  }

  std::uint32_t weldedOf(std::size_t corner) const { return welded_[triangles_[corner]]; }

  void describeFacets() {
    facets_.resize(triangles_.size() / 3);
    for (std::size_t i = 0; i < facets_.size(); ++i) facets_[i] = facetAt(i * 3);
  }

  Facet facetAt(std::size_t first) const {
    Facet facet;
    const std::array<simd_double3, 3> p{positionOf(first), positionOf(first + 1), positionOf(first + 2)};
    const simd_double3 e1 = p[1] - p[0];
    const simd_double3 e2 = p[2] - p[0];
    facet.isUsable = isFinite(e1) && isFinite(e2) && p[0] != p[1] && p[1] != p[2] && p[2] != p[0];
    if (!facet.isUsable) return facet;
    const auto texcoord = [&](std::size_t corner) { return &input_.texcoords[std::size_t{triangles_[corner]} * 2]; };
    const float* t0 = texcoord(first);
    const float* t1 = texcoord(first + 1);
    const float* t2 = texcoord(first + 2);
    // The second coordinate counts upwards here, as the green axis of normal maps does.
    const double u1 = double{t1[0]} - t0[0];
    const double u2 = double{t2[0]} - t0[0];
    const double v1 = double{t0[1]} - t1[1];
    const double v2 = double{t0[1]} - t2[1];
    const double area = u1 * v2 - u2 * v1;
    if (!(area != 0) || !std::isfinite(area)) return facet;
    const double sign = area < 0 ? -1.0 : 1.0;
    const simd_double3 along = unit((e1 * v2 - e2 * v1) * sign);
    const simd_double3 upwards = unit((e2 * u1 - e1 * u2) * sign);
    facet.hasDirection = along != simd_double3{} && upwards != simd_double3{};
    facet.isMirrored = area < 0;
    facet.along = vectorCast<float>(along);
    return facet;
  }

  // For each corner, the corner at the start of the edge that runs against the one from it to the next; `none` at a
  // border. Where more than two triangles meet in an edge they are paired in their order.
  void pairEdges() {
    struct Edge {
      std::uint32_t otherEnd;
      std::uint32_t corner;
      bool isForward;
    };
    opposite_.assign(triangles_.size(), none);
    std::vector<std::size_t> firstEdge(vertexCount() + 1, 0);
    const auto forEachEdge = [&](const auto& visit) {
      for (std::size_t corner = 0; corner < triangles_.size(); ++corner) {
        if (!facets_[corner / 3].isUsable) continue;
        const std::uint32_t from = weldedOf(corner);
        const std::uint32_t to = weldedOf(nextCorner(corner));
        visit(std::min(from, to), Edge{std::max(from, to), static_cast<std::uint32_t>(corner), from < to});
      }
    };
    forEachEdge([&](std::uint32_t end, const Edge&) { ++firstEdge[end + 1]; });
    std::partial_sum(firstEdge.begin(), firstEdge.end(), firstEdge.begin());
    std::vector<Edge> edges(firstEdge.back());
    std::vector<std::size_t> place(firstEdge.begin(), firstEdge.end() - 1);
    forEachEdge([&](std::uint32_t end, const Edge& edge) { edges[place[end]++] = edge; });
    for (std::size_t end = 0; end + 1 < firstEdge.size(); ++end) {
      const std::span<Edge> here = std::span(edges).subspan(firstEdge[end], firstEdge[end + 1] - firstEdge[end]);
      std::sort(here.begin(), here.end(), [](const Edge& a, const Edge& b) {
        return a.otherEnd != b.otherEnd ? a.otherEnd < b.otherEnd : a.corner < b.corner;
      });
      for (std::size_t begin = 0, after = 0; begin < here.size(); begin = after) {
        after = begin + 1;
        while (after < here.size() && here[after].otherEnd == here[begin].otherEnd) ++after;
        std::size_t forward = begin;
        std::size_t backward = begin;
        while (true) {
          while (forward < after && !here[forward].isForward) ++forward;
          while (backward < after && here[backward].isForward) ++backward;
          if (forward == after || backward == after) break;
          opposite_[here[forward].corner] = here[backward].corner;
          opposite_[here[backward].corner] = here[forward].corner;
          ++forward;
          ++backward;
        }
      }
    }
  }

  void growGroups() {
    groupOf_.assign(triangles_.size(), none);
    firstGroup_.assign(vertexCount(), none);
    std::vector<std::uint32_t> pending;
    for (std::size_t seed = 0; seed < triangles_.size(); ++seed) {
      const Facet& facet = facets_[seed / 3];
      if (!facet.isUsable || !facet.hasDirection || groupOf_[seed] != none) continue;
      const auto number = static_cast<std::uint32_t>(groups_.size());
      groups_.push_back({{}, facet.isMirrored});
      std::uint32_t& first = firstGroup_[weldedOf(seed)];
      if (first == none) first = number;
      pending.assign(1, static_cast<std::uint32_t>(seed));
      while (!pending.empty()) {
        const std::uint32_t corner = pending.back();
        pending.pop_back();
        if (!takesCorner(number, corner)) continue;
        const std::uint32_t outward = opposite_[corner];
        const std::uint32_t inward = opposite_[previousCorner(corner)];
        if (inward != none) pending.push_back(inward);
        if (outward != none) pending.push_back(static_cast<std::uint32_t>(nextCorner(outward)));
      }
    }
  }

  bool takesCorner(std::uint32_t number, std::uint32_t corner) {
    if (groupOf_[corner] != none) return false;
    Facet& facet = facets_[corner / 3];
    Group& group = groups_[number];
    if (!facet.hasDirection) {
      const std::size_t first = corner - corner % 3;
      const bool isFree = groupOf_[first] == none && groupOf_[first + 1] == none && groupOf_[first + 2] == none;
      if (isFree) facet.isMirrored = group.isMirrored;
    }
    if (facet.isMirrored != group.isMirrored) return false;
    groupOf_[corner] = number;
    if (facet.hasDirection) group.sum = group.sum + weightedTangent(facet, corner);
    return true;
  }

  simd_double3 weightedTangent(const Facet& facet, std::size_t corner) const {
    const simd_double3 normal = normalOf(triangles_[corner]);
    const simd_double3 here = positionOf(corner);
    const simd_double3 toNext = unit(withoutPart(positionOf(nextCorner(corner)) - here, normal));
    const simd_double3 toPrevious = unit(withoutPart(positionOf(previousCorner(corner)) - here, normal));
    const double angle = math::acos(std::clamp(dot(toNext, toPrevious), -1.0, 1.0));
    return unit(withoutPart(vectorCast<double>(facet.along), normal)) * angle;
  }

  // Corners that no group reached go with the first group of their vertex, where there is one.
  void joinLooseCorners() {
    for (std::size_t corner = 0; corner < triangles_.size(); ++corner) {
      if (groupOf_[corner] == none) groupOf_[corner] = firstGroup_[weldedOf(corner)];
    }
  }

  // Group by group, so that a vertex needs to know only its newest copy.
  void emitVertices() {
    const std::size_t given = vertexCount();
    result_.sourceVertices.resize(given);
    std::iota(result_.sourceVertices.begin(), result_.sourceVertices.end(), 0U);
    result_.tangents.reserve(given * 4);
    for (std::uint32_t vertex = 0; vertex < given; ++vertex) appendTangent({}, false, vertex);
    result_.indices.resize(triangles_.size());
    std::vector<std::uint32_t> newestGroup(given, none);
    std::vector<std::uint32_t> newestCopy(given, none);
    for (const std::uint32_t corner : cornersByGroup()) {
      const std::uint32_t vertex = triangles_[corner];
      const std::uint32_t group = groupOf_[corner];
      if (newestCopy[vertex] == none) {
        newestCopy[vertex] = vertex;
        if (group != none) setTangent(vertex, groups_[group].sum, groups_[group].isMirrored, vertex);
      } else if (group != none && newestGroup[vertex] != group && result_.sourceVertices.size() < none) {
        newestCopy[vertex] = static_cast<std::uint32_t>(result_.sourceVertices.size());
        result_.sourceVertices.push_back(vertex);
        appendTangent(groups_[group].sum, groups_[group].isMirrored, vertex);
      }
      newestGroup[vertex] = group;
      result_.indices[corner] = newestCopy[vertex];
    }
  }

  // Corners of no group last.
  std::vector<std::uint32_t> cornersByGroup() const {
    std::vector<std::size_t> place(groups_.size() + 2, 0);
    const auto bucket = [&](std::uint32_t group) { return std::min<std::size_t>(group, groups_.size()); };
    for (const std::uint32_t group : groupOf_) ++place[bucket(group) + 1];
    std::partial_sum(place.begin(), place.end(), place.begin());
    std::vector<std::uint32_t> corners(groupOf_.size());
    for (std::size_t corner = 0; corner < groupOf_.size(); ++corner) {
      corners[place[bucket(groupOf_[corner])]++] = static_cast<std::uint32_t>(corner);
    }
    return corners;
  }

  void appendTangent(simd_double3 sum, bool isMirrored, std::uint32_t source) {
    const std::size_t index = result_.tangents.size() / 4;
    result_.tangents.resize(result_.tangents.size() + 4);
    setTangent(index, sum, isMirrored, source);
  }

  void setTangent(std::size_t index, simd_double3 sum, bool isMirrored, std::uint32_t source) {
    simd_double3 tangent = unit(sum);
    if (tangent == simd_double3{}) tangent = directionAcross(normalOf(source));
    for (std::size_t axis = 0; axis < 3; ++axis) result_.tangents[index * 4 + axis] = static_cast<float>(tangent[axis]);
    result_.tangents[index * 4 + 3] = isMirrored ? -1.0F : 1.0F;
  }

  TangentInput input_;
  std::span<const std::uint32_t> triangles_;
  std::vector<std::uint32_t> welded_;    // For each vertex the first one with the same attributes, or one of them.
  std::vector<Facet> facets_;            // By triangle.
  std::vector<std::uint32_t> opposite_;  // By corner.
  std::vector<Group> groups_;
  std::vector<std::uint32_t> groupOf_;     // By corner.
  std::vector<std::uint32_t> firstGroup_;  // By welded vertex.
  TangentMesh result_;
};

}  // namespace

TangentMesh generateTangents(const TangentInput& input, std::span<const std::uint32_t> triangles) {
  return TangentGeneration(input, triangles).run();
}

}  // namespace ornolith
