#include "loaders/mesh/VertexNormals.h"

#include <algorithm>
#include <atomic>
#include <utility>
#include <vector>

#include "foundation/Parallel.h"
#include "loaders/mesh/CreaseGroups.h"
#include "loaders/mesh/FacetKernels.h"
#include "loaders/mesh/MeshReadError.h"
#include "loaders/mesh/VertexWelding.h"

namespace ornolith {

namespace {

constexpr std::size_t cornersOfABlock = std::size_t{3} << 11;
constexpr std::size_t placesOfARange = std::size_t{1} << 13;  // Half a megabyte of sums.
// Triangles in no order meet every range, which each looks at all of them.
constexpr std::size_t rangesWithoutOrder = 2;

/// Triangles one after the other, and between which places all their corners lie.
struct Block {
  std::size_t firstCorner = 0;
  std::size_t cornerCount = 0;
  std::uint32_t lowest = 0;
  std::uint32_t highest = 0;

  bool meets(const PlaceRange& range) const noexcept {
    return lowest < range.first + range.count && highest >= range.first;
  }
};

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
      : places_{.positions = positions, .firstThere = {}},
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
    makeBlocks();
    makeRanges();
    normals_.resize(vertexCount_ * 3);
    finishRanges();
    giveNormalsOfPlaces();
    moveCorners();
    dropUnusedVertices();
    addFurtherVertices();
    return std::move(result_);
  }

 private:
  bool mayCoincide() const noexcept { return !places_.firstThere.empty(); }

  void findPlaces() {
    firstThere_ = firstVerticesThere(places_.positions);
    places_.firstThere = firstThere_;
    if (mayCoincide()) used_.assign(vertexCount_, vertex_use::none);
  }

  void makeBlocks() {
    blocks_.resize((triangles_.size() + cornersOfABlock - 1) / cornersOfABlock);
    parallelFor(blocks_.size(), 16, [&](std::size_t i) {
      Block& block = blocks_[i];
      block.firstCorner = i * cornersOfABlock;
      block.cornerCount = std::min(cornersOfABlock, triangles_.size() - block.firstCorner);
      block.lowest = places_.placeOf(triangles_[block.firstCorner]);
      block.highest = block.lowest;
      for (const std::uint32_t vertex : cornersOf(block)) {
        const std::uint32_t place = places_.placeOf(vertex);
        block.lowest = std::min(block.lowest, place);
        block.highest = std::max(block.highest, place);
      }
    });
  }

  std::span<const std::uint32_t> cornersOf(const Block& block) const {
    return triangles_.subspan(block.firstCorner, block.cornerCount);
  }

  /// Small ranges where most blocks meet one or two of them, else few.
  void makeRanges() {
    std::size_t meetings = 0;
    for (const Block& block : blocks_) meetings += block.highest / placesOfARange - block.lowest / placesOfARange + 1;
    const std::size_t rangeCount = (vertexCount_ + placesOfARange - 1) / placesOfARange;
    const bool hasOrder = meetings <= blocks_.size() * 2 + rangeCount;
    const std::size_t size =
        hasOrder ? placesOfARange
                 : std::max((vertexCount_ + rangesWithoutOrder - 1) / rangesWithoutOrder, placesOfARange);
    for (std::size_t first = 0; first < vertexCount_; first += size) {
      const std::size_t count = std::min(size, vertexCount_ - first);
      ranges_.push_back({static_cast<std::uint32_t>(first), static_cast<std::uint32_t>(count)});
    }
    splits_.resize(ranges_.size());
  }

  /// What a thread needs for a range, one after the other.
  struct Scratch {
    std::vector<PlaceSum> sums;
    LargeVector<std::uint32_t> others;
    LargeVector<float> normals;
  };

  void finishRanges() {
    const Smoothing smoothing = smoothingOf(smoothingGroups_);
    std::atomic<std::size_t> next = 0;
    parallelFor(std::min(availableThreadCount(), ranges_.size()), 1, [&](std::size_t /*thread*/) {
      Scratch scratch;
      for (std::size_t i = next++; i < ranges_.size(); i = next++) finishRange(i, smoothing, scratch);
    });
  }

  template <typename Body>
  void forEachBlockOf(const PlaceRange& range, const Body& body) const {
    for (const Block& block : blocks_) {
      if (block.meets(range)) body(block);
    }
  }

  void finishRange(std::size_t index, Smoothing smoothing, Scratch& scratch) {
    const PlaceRange& range = ranges_[index];
    scratch.sums.assign(range.count + std::size_t{1}, PlaceSum{});
    scratch.others.resize(range.count);
    forEachBlockOf(range,
                   [&](const Block& block) { addFacets(places_, cornersOf(block), range, scratch.sums, used_); });
    const bool isSmooth = smoothing == Smoothing::oneGroup;
    if (mayCoincide()) scratch.normals.resize(std::size_t{range.count} * 3);
    float* const normals = mayCoincide() ? scratch.normals.data() : normals_.data() + std::size_t{range.first} * 3;
    const std::size_t otherCount =
        finishNormals(std::span(scratch.sums).first(range.count),
                      isSmooth ? Smoothness::everywhere : Smoothness::byAngle, normals, scratch.others.data());
    if (mayCoincide()) copyNormalsOfPlaces(range, normals);
    if (smoothing != Smoothing::severalGroups) {
      return finishOtherPlaces(index, std::span(scratch.others).first(otherCount), scratch.sums);
    }
    for (std::uint32_t i = 0; i < range.count; ++i) scratch.others[i] = i;
    finishOtherPlaces(index, scratch.others, scratch.sums);
  }

  /// The range's other vertices stand at places that may be of other ranges, whose threads write their normals.
  void copyNormalsOfPlaces(const PlaceRange& range, const float* normals) {
    for (std::size_t i = 0; i < range.count; ++i) {
      const std::size_t vertex = range.first + i;
      if (firstThere_[vertex] == vertex) std::copy_n(normals + i * 3, 3, normals_.data() + vertex * 3);
    }
  }

  void finishOtherPlaces(std::size_t index, std::span<const std::uint32_t> others, std::span<const PlaceSum> sums) {
    if (others.empty()) return;
    const PlaceRange& range = ranges_[index];
    SplitVertices& splits = splits_[index];
    CreaseGroups groups(places_, range, smoothingGroups_, used_, normals_.data());
    bool some = false;
    for (const std::uint32_t number : others) {
      const bool hasFacets = sums[number].directions[3] > 0;
      some = some || hasFacets;
      if (hasFacets) {
        groups.beginAt(number);
      } else if (!mayCoincide()) {
        splits.unused.push_back(range.first + number);
      }
    }
    if (!some) return;
    forEachBlockOf(range, [&](const Block& block) { groups.add(cornersOf(block), block.firstCorner / 3); });
    groups.finish(splits);
  }

  /// Vertices at a place without creases have the normal that stands at its first vertex.
  void giveNormalsOfPlaces() {
    for (std::size_t vertex = 0; vertex < firstThere_.size(); ++vertex) {
      if (firstThere_[vertex] == vertex || used_[vertex] == vertex_use::withOwnNormal) continue;
      std::copy_n(normals_.data() + std::size_t{firstThere_[vertex]} * 3, 3, normals_.data() + vertex * 3);
    }
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
    for (std::uint32_t vertex = 0; vertex < used_.size(); ++vertex) {
      if (used_[vertex] == vertex_use::none) unused.push_back(vertex);
    }
    for (SplitVertices& splits : splits_) unused.insert(unused.end(), splits.unused.begin(), splits.unused.end());
    if (unused.empty()) return;
    LargeVector<std::uint32_t>& left = result_.keptVertices.emplace();
    LargeVector<std::uint32_t> newNumbers(vertexCount_);
    left.reserve(vertexCount_ - unused.size());
    auto dropped = unused.begin();
    for (std::uint32_t vertex = 0; vertex < vertexCount_; ++vertex) {
      newNumbers[vertex] = static_cast<std::uint32_t>(left.size());
      if (dropped != unused.end() && *dropped == vertex) {
        ++dropped;
      } else {
        left.push_back(vertex);
      }
    }
    for (std::uint32_t& vertex : triangles_) {
      vertex = vertex < vertexCount_ ? newNumbers[vertex] : vertex - static_cast<std::uint32_t>(unused.size());
    }
    for (std::size_t i = 0; i < left.size(); ++i) {
      std::copy_n(normals_.data() + std::size_t{left[i]} * 3, 3, normals_.data() + i * 3);
    }
    normals_.resize(left.size() * 3);
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
  LargeVector<std::uint32_t> firstThere_;  // Empty where all vertices stand apart.
  LargeVector<std::uint8_t> used_;         // How the vertices are (`vertex_use`), where some do not.
  std::vector<Block> blocks_;
  std::vector<PlaceRange> ranges_;
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
