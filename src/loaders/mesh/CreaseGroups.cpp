#include "loaders/mesh/CreaseGroups.h"

#include <algorithm>
#include <bit>
#include <cmath>
#include <utility>

#include "loaders/mesh/VertexNormals.h"

namespace ornolith {

namespace {

constexpr double creaseCosine = 0.5;  // 60 degrees.

/// How many groups of a place are looked through for one that a facet belongs to, and how many vertices of a group for
/// a given one. No more than some dozen facets fit around a place that lie further apart than the crease angle; only
/// files of ever new smoothing groups come beyond, and get groups or vertices that could be one.
constexpr int mostSearched = 64;

}  // namespace

void CreaseGroups::add(std::span<const std::uint32_t> triangles, std::size_t firstTriangle, CornersLie cornersLie) {
  switch (cornersLie) {
    case CornersLie::inside:
      return addAll<CornersLie::inside>(triangles, firstTriangle);
    case CornersLie::apart:
      return addAll<CornersLie::apart>(triangles, firstTriangle);
    case CornersLie::anywhere:
      return addAll<CornersLie::anywhere>(triangles, firstTriangle);
  }
}

template <CornersLie cornersLie>
void CreaseGroups::addAll(std::span<const std::uint32_t> triangles, std::size_t firstTriangle) {
  constexpr std::size_t cornersOfAWord = std::size_t{3} * 64;
  for (std::size_t first = 0; first < triangles.size(); first += cornersOfAWord) {
    const auto some = triangles.subspan(first, std::min(cornersOfAWord, triangles.size() - first));
    for (std::uint64_t left = wantedOf<cornersLie>(some); left != 0; left &= left - 1) {
      const std::size_t corner = static_cast<std::size_t>(std::countr_zero(left)) * 3;
      addFacet(&some[corner], firstTriangle * 3 + first + corner);
    }
  }
}

/// A bit for each of up to 64 triangles: whether it has a corner at one of the places.
template <CornersLie cornersLie>
std::uint64_t CreaseGroups::wantedOf(std::span<const std::uint32_t> triangles) const {
  const auto isWanted = [&](std::uint32_t vertex) {
    if constexpr (cornersLie == CornersLie::inside) return std::uint64_t{areBegun_[vertex - range_.first]};
    const std::uint32_t place = cornersLie == CornersLie::apart ? vertex : places_.placeOf(vertex);
    return std::uint64_t{areBegun_[range_.numberOf(place)]};
  };
  std::uint64_t wanted = 0;
  for (std::size_t i = 0; i < triangles.size(); i += 3) {
    wanted |= (isWanted(triangles[i]) | isWanted(triangles[i + 1]) | isWanted(triangles[i + 2])) << i / 3;
  }
  return wanted;
}

void CreaseGroups::addFacet(const std::uint32_t* corners, std::size_t firstCorner) {
  for (std::size_t i = 0; i < 3; ++i) {
    const std::uint32_t source = corners[i];
    const float* position = places_.positions.data() + std::size_t{source} * 3;
    batch_.corners[i][count_] = {position[0], position[1], position[2], 0};
    sources_[i][count_] = source;
  }
  firstCorners_[count_] = static_cast<std::uint32_t>(firstCorner);
  if (++count_ == FacetBatch::capacity) finishBatch();
}

void CreaseGroups::finishBatch() {
  measureFacets(batch_);
  for (std::size_t facet = 0; facet < count_; ++facet) {
    const auto& [x, y, z, unused] = batch_.areaNormals[facet];
    const simd_double3 areaNormal = {x, y, z};
    for (std::size_t i = 0; i < 3; ++i) {
      const std::uint32_t source = sources_[i][facet];
      std::uint32_t& latest = latestGroups_[range_.numberOf(places_.placeOf(source))];
      if (latest == notBegun) continue;
      const auto corner = static_cast<std::uint32_t>(firstCorners_[facet] + i);
      Group& group = groups_[groupAt(latest, smoothingGroupOf(corner / 3), facet)];
      if (batch_.hasArea(facet)) group.sum = group.sum + areaNormal * batch_.angles[i][facet];
      const bool isOnly = group.previous == none && &groups_[latest] == &group;
      const std::uint32_t vertex = isOnly && keepsItsNumber(group, source) ? none : memberOf(group, source);
      if (vertex != none) moved_.push_back({corner, vertex});
    }
  }
  count_ = 0;
}

std::uint32_t CreaseGroups::smoothingGroupOf(std::size_t triangle) const {
  if (smoothingGroups_.empty()) return creasedByAngle;
  return smoothingGroups_.size() == 1 ? smoothingGroups_.front() : smoothingGroups_[triangle];
}

/// The latest group of the place that the facet belongs to, or a new one.
std::uint32_t CreaseGroups::groupAt(std::uint32_t& latest, std::uint32_t smoothingGroup, std::size_t facet) {
  if (smoothingGroup != flatFacet) {
    std::uint32_t number = latest;
    for (int i = 0; i < mostSearched && number != none; ++i, number = groups_[number].previous) {
      if (isOf(groups_[number], smoothingGroup, facet)) return number;
    }
  }
  const auto added = static_cast<std::uint32_t>(groups_.size());
  const auto& [x, y, z, unused] = batch_.directions[facet];
  groups_.push_back(
      {.sum = {}, .firstFacet = {x, y, z}, .smoothingGroup = smoothingGroup, .previous = latest, .lastMember = none});
  latest = added;
  return added;
}

/// A triangle without an area, which shows nothing, belongs anywhere.
bool CreaseGroups::isOf(const Group& group, std::uint32_t smoothingGroup, std::size_t facet) const {
  if (group.smoothingGroup != smoothingGroup) return false;
  if (smoothingGroup != creasedByAngle || !batch_.hasArea(facet)) return true;
  const auto& [x, y, z, inverse] = batch_.areaNormals[facet];
  const simd_double3 first = {group.firstFacet.x, group.firstFacet.y, group.firstFacet.z};
  return dot(first, simd_double3{x, y, z} * inverse) >= creaseCosine;
}

/// True for a vertex that stays what it is in some group of its place.
bool CreaseGroups::keepsItsNumber(const Group& firstGroup, std::uint32_t source) const {
  return used_.empty() ? firstGroup.lastMember != none : used_[source] == vertex_use::withOwnNormal;
}

/// The number behind the given vertices that a given one has in the group; `none` where it stays what it is, as it does
/// in the first of its groups.
std::uint32_t CreaseGroups::memberOf(Group& group, std::uint32_t source) {
  std::uint32_t number = group.lastMember;
  for (int i = 0; i < mostSearched && number != none; ++i, number = members_[number].next) {
    if (members_[number].source == source) return members_[number].further;
  }
  const bool isFirst = used_.empty()
                           ? group.previous == none && group.lastMember == none
                           : std::exchange(used_[source], vertex_use::withOwnNormal) != vertex_use::withOwnNormal;
  const std::uint32_t further = isFirst ? none : furtherCount_++;
  members_.push_back({source, further, group.lastMember});
  group.lastMember = static_cast<std::uint32_t>(members_.size() - 1);
  return further;
}

void CreaseGroups::finish(SplitVertices& result) {
  finishBatch();
  result.sources.resize(furtherCount_);
  result.normals.resize(std::size_t{furtherCount_} * 3);
  for (const Group& group : groups_) {
    const double size = length(group.sum);
    // Of triangles without an area alone.
    const simd_double3 normal = size > 0 && std::isfinite(size) ? group.sum * (1 / size) : simd_double3{0, 0, 1};
    for (std::uint32_t number = group.lastMember; number != none; number = members_[number].next) {
      const Member& member = members_[number];
      const bool stays = member.further == none;
      float* place =
          stays ? normals_ + std::size_t{member.source} * 3 : &result.normals[std::size_t{member.further} * 3];
      for (std::size_t axis = 0; axis < 3; ++axis) place[axis] = static_cast<float>(normal[axis]);
      if (!stays) result.sources[member.further] = member.source;
    }
  }
  result.moved = std::move(moved_);
}

}  // namespace ornolith
