#include "loaders/mesh/VertexNormals.h"

#include <algorithm>
#include <array>
#include <atomic>
#include <optional>
#include <utility>
#include <vector>

#include "foundation/Parallel.h"
#include "loaders/mesh/CoincidingVertices.h"
#include "loaders/mesh/CreaseGroups.h"
#include "loaders/mesh/FacetSums.h"
#include "loaders/mesh/FreshPages.h"
#include "loaders/mesh/MeshReadError.h"
#include "loaders/mesh/TriangleBlocks.h"
#include "loaders/mesh/UnusedVertices.h"
#include "loaders/mesh/VertexWelding.h"

namespace ornolith {

namespace {

/// What the triangles' smoothing groups say for all of them.
enum class Smoothing { byAngle, oneGroup, severalGroups };

Smoothing smoothingOf(std::span<const std::uint32_t> groups) {
  if (groups.empty()) return Smoothing::byAngle;
  const std::uint32_t first = groups.front();
  const bool areSame = std::all_of(groups.begin(), groups.end(), [&](std::uint32_t group) { return group == first; });
  if (!areSame || first == flatFacet) return Smoothing::severalGroups;
  return first == creasedByAngle ? Smoothing::byAngle : Smoothing::oneGroup;
}

/// The places are cut into ranges, and a thread takes one at a time: it adds up the facets of all triangles there,
/// finds the places that no crease can pass through, which are most, and goes the long way for the others. So the sums
/// are few enough to stay in the processor's own memory. The ranges depend on the mesh alone.
class Creasing {
 public:
  Creasing(std::span<const float> positions, std::span<std::uint32_t> triangles,
           std::span<const std::uint32_t> smoothingGroups)
      : places_{.positions = positions, .stepsToFirst = {}},
        triangles_(triangles.first(triangles.size() / 3 * 3)),
        smoothingGroups_(smoothingGroups),
        vertexCount_(positions.size() / 3) {
    // Numbers of groups and corners have 32 bits.
    if (triangles_.size() > mostWeldedCorners || vertexCount_ > mostWeldedCorners) {
      throwMalformedMesh("The mesh has too many triangles without normals.");
    }
  }

  CreasedMesh run(VertexPlaces vertexPlaces) {
    if (vertexPlaces == VertexPlaces::mayCoincide) findPlaces();
    blocks_.emplace(places_, triangles_, coinciding_);
    splits_.resize(blocks_->ranges().size());
    normals_.resize(vertexCount_ * 3);
    finishRanges();
    giveNormalsOfPlaces();
    moveCorners();
    dropUnusedVertices();
    addFurtherVertices();
    return std::move(result_);
  }

 private:
  void findPlaces() {
    coinciding_ = CoincidingVertices(places_.positions);
    places_.stepsToFirst = coinciding_.stepsToFirst();
    if (coinciding_.areThere()) used_ = LazyZeros<std::uint8_t>(vertexCount_);
  }

  /// What a thread needs for a range, one after the other.
  struct Scratch {
    std::vector<PlaceSum> sums;
    LargeVector<std::uint32_t> others;
    std::array<float, CoincidingVertices::verticesOfAPage * 3> normals{};
  };

  void finishRanges() {
    const Smoothing smoothing = smoothingOf(smoothingGroups_);
    const std::size_t rangeCount = blocks_->ranges().size();
    std::atomic<std::size_t> next = 0;
    parallelFor(std::min(availableThreadCount(), rangeCount), 1, [&](std::size_t /*thread*/) {
      Scratch scratch;
      for (std::size_t i = next++; i < rangeCount; i = next++) finishRange(i, smoothing, scratch);
    });
  }

  std::span<const std::uint32_t> cornersOf(const TriangleBlock& block) const {
    return triangles_.subspan(block.firstCorner, block.cornerCount);
  }

  void finishRange(std::size_t index, Smoothing smoothing, Scratch& scratch) {
    const PlaceRange& range = blocks_->ranges()[index];
    scratch.sums.assign(range.count + sumsBehindTheLast, PlaceSum{});
    scratch.others.resize(range.count);
    blocks_->forEachOf(index, [&](const TriangleBlock& block) {
      addFacets(places_, cornersOf(block), blocks_->cornersOf(block, range), range, scratch.sums, used_.values());
    });
    scratch.sums[range.count] = {};  // What lies outside.
    const std::size_t otherCount =
        finishPages(range, smoothing == Smoothing::oneGroup ? Smoothness::everywhere : Smoothness::byAngle, scratch);
    if (smoothing != Smoothing::severalGroups) {
      return finishOtherPlaces(index, std::span(scratch.others).first(otherCount), scratch.sums);
    }
    for (std::uint32_t i = 0; i < range.count; ++i) scratch.others[i] = i;
    finishOtherPlaces(index, scratch.others, scratch.sums);
  }

  /// Writes the normals of the range's vertices, but not of those that stand at other vertices' places: these may be of
  /// other ranges, whose threads write their normals. Gives the number of other places.
  std::size_t finishPages(const PlaceRange& range, Smoothness smoothness, Scratch& scratch) {
    constexpr std::size_t pageSize = CoincidingVertices::verticesOfAPage;
    std::size_t otherCount = 0;
    provideFreshPages(normals_.data(), normals_.size() * sizeof(float), normals_.data() + std::size_t{range.first} * 3,
                      std::size_t{range.count} * 3 * sizeof(float));
    const auto finish = [&](std::size_t begin, std::size_t end, float* normals) {
      otherCount += finishNormals(scratch.sums.data() + begin, end - begin, smoothness, normals,
                                  static_cast<std::uint32_t>(begin), scratch.others.data() + otherCount);
    };
    for (std::size_t begin = 0; begin < range.count;) {
      float* const normals = normals_.data() + (range.first + begin) * 3;
      std::size_t end = begin;
      while (end < range.count && !coinciding_.areOn((range.first + end) / pageSize)) end += pageSize;
      end = std::min<std::size_t>(end, range.count);
      finish(begin, end, normals);
      begin = std::exchange(end, std::min<std::size_t>(end + pageSize, range.count));
      if (begin == end) break;
      finish(begin, end, scratch.normals.data());
      for (std::size_t i = begin; i < end; ++i) {
        const std::size_t vertex = range.first + i;
        if (places_.stepsToFirst[vertex] != 0) continue;
        std::copy_n(scratch.normals.data() + (i - begin) * 3, 3, normals_.data() + vertex * 3);
      }
      begin = end;
    }
    return otherCount;
  }

  void finishOtherPlaces(std::size_t index, std::span<const std::uint32_t> others, std::span<const PlaceSum> sums) {
    if (others.empty()) return;
    const PlaceRange& range = blocks_->ranges()[index];
    SplitVertices& splits = splits_[index];
    CreaseGroups groups(places_, range, smoothingGroups_, used_.values(), normals_.data());
    bool some = false;
    for (const std::uint32_t number : others) {
      const bool hasFacets = sums[number].hasFacets();
      some = some || hasFacets;
      if (hasFacets) {
        groups.beginAt(number);
      } else if (!coinciding_.areOn((range.first + number) / CoincidingVertices::verticesOfAPage)) {
        splits.unused.push_back(range.first + number);
      }
    }
    if (!some) return;
    blocks_->forEachOf(index, [&](const TriangleBlock& block) {
      groups.add(cornersOf(block), block.firstCorner / 3, blocks_->cornersOf(block, range));
    });
    groups.finish(splits);
  }

  template <typename Body>
  void forEachOnPagesWithSeveral(const Body& body) const {
    constexpr std::size_t pageSize = CoincidingVertices::verticesOfAPage;
    for (std::size_t first = 0; first < vertexCount_; first += pageSize) {
      if (!coinciding_.areOn(first / pageSize)) continue;
      for (std::size_t vertex = first; vertex < std::min(first + pageSize, vertexCount_); ++vertex) body(vertex);
    }
  }

  /// Vertices at a place without creases have the normal that stands at its first vertex.
  void giveNormalsOfPlaces() {
    forEachOnPagesWithSeveral([&](std::size_t vertex) {
      const std::size_t steps = places_.stepsToFirst[vertex];
      if (steps == 0 || used_.values()[vertex] == vertex_use::withOwnNormal) return;
      std::copy_n(normals_.data() + (vertex - steps) * 3, 3, normals_.data() + vertex * 3);
    });
  }

  void moveCorners() {
    std::size_t first = vertexCount_;
    for (SplitVertices& splits : splits_) {
      for (const auto& [corner, vertex] : splits.moved) triangles_[corner] = static_cast<std::uint32_t>(first + vertex);
      splits.moved = {};
      first += splits.sources.size();
    }
  }

  void dropUnusedVertices() {
    LargeVector<std::uint32_t> unused;
    for (SplitVertices& splits : splits_) unused.insert(unused.end(), splits.unused.begin(), splits.unused.end());
    const auto middle = static_cast<std::ptrdiff_t>(unused.size());
    forEachOnPagesWithSeveral([&](std::size_t vertex) {
      if (used_.values()[vertex] == vertex_use::none) unused.push_back(static_cast<std::uint32_t>(vertex));
    });
    std::inplace_merge(unused.begin(), unused.begin() + middle, unused.end());
    if (!unused.empty()) result_.keptVertices = dropVertices(unused, vertexCount_, triangles_, normals_);
  }

  void addFurtherVertices() {
    LargeVector<std::uint32_t>& further = result_.furtherVertices;
    std::size_t count = 0;
    for (const SplitVertices& splits : splits_) count += splits.sources.size();
    further.reserve(count);
    normals_.reserve(normals_.size() + count * 3);
    for (SplitVertices& splits : splits_) {
      further.insert(further.end(), splits.sources.begin(), splits.sources.end());
      normals_.insert(normals_.end(), splits.normals.begin(), splits.normals.end());
      splits = {};
    }
    result_.normals = std::move(normals_);
  }

  MeshPlaces places_;
  std::span<std::uint32_t> triangles_;
  std::span<const std::uint32_t> smoothingGroups_;
  std::size_t vertexCount_;
  CoincidingVertices coinciding_;
  LazyZeros<std::uint8_t> used_;  // How the vertices on pages with coinciding ones are (`vertex_use`).
  std::optional<TriangleBlocks> blocks_;
  std::vector<SplitVertices> splits_;  // Of each range.
  LargeVector<float> normals_;         // Of the given vertices, and in the end of the new ones.
  CreasedMesh result_;
};

}  // namespace

CreasedMesh creaseMesh(std::span<const float> positions, std::span<std::uint32_t> triangles,
                       std::span<const std::uint32_t> smoothingGroups, VertexPlaces vertexPlaces) {
  return Creasing(positions, triangles, smoothingGroups).run(vertexPlaces);
}

}  // namespace ornolith
