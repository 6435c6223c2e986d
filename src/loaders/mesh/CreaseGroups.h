#pragma once

#include <array>
#include <cstddef>
#include <cstdint>
#include <span>
#include <vector>

#include "foundation/LargeVector.h"
#include "foundation/LinearAlgebra.h"
#include "loaders/mesh/FacetKernels.h"
#include "loaders/mesh/FacetSums.h"
#include "loaders/mesh/MeshPlaces.h"

namespace ornolith {

/// What creases make of the vertices of a range: some stay where they are, with a normal of their own, and others come
/// behind the given ones.
struct SplitVertices {
  struct MovedCorner {
    std::uint32_t corner;
    std::uint32_t vertex;
  };
  LargeVector<std::uint32_t> sources;  ///< The given vertex that each further one repeats.
  LargeVector<float> normals;          ///< Three components for each further one.
  LargeVector<MovedCorner> moved;      ///< The corners that are further vertices now, numbered from 0.
  LargeVector<std::uint32_t> unused;   ///< Given vertices of the range without a triangle.
};

/// Sorts the corners at some places into groups, and gives each group a normal: those that VertexNormals.h speaks of.
/// It is the long way, for places that creases part.
class CreaseGroups {
 public:
  /// The places are the range's of which `beginAt` is called. `smoothingGroups` has one for each triangle, or one for
  /// all, or is empty where all are creased by angle. In `used` (`vertex_use`; empty where all vertices stand apart),
  /// those that keep their number get their own normal. Normals of given vertices are written to `normals`.
  CreaseGroups(const MeshPlaces& places, const PlaceRange& range, std::span<const std::uint32_t> smoothingGroups,
               std::span<std::uint8_t> used, float* normals)
      : places_(places),
        range_(range),
        smoothingGroups_(smoothingGroups),
        used_(used),
        normals_(normals),
        latestGroups_(range.count + std::size_t{1}, notBegun),
        areBegun_(range.count + std::size_t{1}, 0) {}

  void beginAt(std::uint32_t number) {
    latestGroups_[number] = none;
    areBegun_[number] = 1;
  }

  /// Takes the corners of triangles that lie at the places, in their order; the first one has the number given.
  void add(std::span<const std::uint32_t> triangles, std::size_t firstTriangle, CornersLie cornersLie);

  /// Gives what has been found, behind what is there. Places without a corner are not looked at.
  void finish(SplitVertices& result);

 private:
  static constexpr std::uint32_t none = 0xFFFFFFFF;
  static constexpr std::uint32_t notBegun = none - 1;  // The place of a corner that is left alone.

  /// A given vertex as it is in a group.
  struct Member {
    std::uint32_t source;
    std::uint32_t further;  // Its number behind the given ones; `none` where it stays.
    std::uint32_t next;
  };

  /// The triangles of one place that share a normal.
  struct Group {
    simd_double3 sum;
    simd_float3 firstFacet;
    std::uint32_t smoothingGroup;
    std::uint32_t previous;  // Of the same place.
    std::uint32_t lastMember;
  };

  template <CornersLie cornersLie>
  void addAll(std::span<const std::uint32_t> triangles, std::size_t firstTriangle);
  template <CornersLie cornersLie>
  std::uint64_t wantedOf(std::span<const std::uint32_t> triangles) const;
  void addFacet(const std::uint32_t* corners, std::size_t firstCorner);
  void finishBatch();
  std::uint32_t smoothingGroupOf(std::size_t triangle) const;
  std::uint32_t groupAt(std::uint32_t& latest, std::uint32_t smoothingGroup, std::size_t facet);
  bool isOf(const Group& group, std::uint32_t smoothingGroup, std::size_t facet) const;
  bool keepsItsNumber(const Group& firstGroup, std::uint32_t source) const;
  std::uint32_t memberOf(Group& group, std::uint32_t source);

  const MeshPlaces& places_;
  PlaceRange range_;
  std::span<const std::uint32_t> smoothingGroups_;
  std::span<std::uint8_t> used_;
  float* normals_;

  std::vector<std::uint32_t> latestGroups_;  // Of each place, and behind them one for what lies outside.
  std::vector<std::uint8_t> areBegun_;       // Whether these are those of `beginAt`, in less memory.
  std::vector<Group> groups_;
  std::vector<Member> members_;
  std::uint32_t furtherCount_ = 0;
  LargeVector<SplitVertices::MovedCorner> moved_;

  FacetBatch batch_;
  std::array<std::uint32_t, FacetBatch::capacity> firstCorners_{};
  std::array<std::array<std::uint32_t, FacetBatch::capacity>, 3> sources_{};
  std::size_t count_ = 0;
};

}  // namespace ornolith
