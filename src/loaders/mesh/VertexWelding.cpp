#include "loaders/mesh/VertexWelding.h"

#include <algorithm>
#include <array>
#include <cstring>
#include <utility>
#include <vector>

#include "foundation/Parallel.h"
#include "loaders/mesh/FreshPages.h"
#include "loaders/mesh/PlaceTable.h"

namespace ornolith {

namespace {

constexpr std::size_t positionSize = 12;
constexpr std::size_t cornersOfAFacet = 3;
constexpr std::size_t prefetchDistance = 16;

// Corners of facets. A block of them is welded by itself first, in a table that stays in the processor's own memory, as
// most facets share their vertices with near ones; what is left, a sixth, is looked for among the vertices of all
// blocks before, in order.

/// The different corners of a block of facets.
struct WeldedBlock {
  std::vector<PlaceKey> keys;
  std::vector<std::uint32_t> hashes;
  std::vector<std::uint32_t> vertices;  // What they are among those of all blocks.
  std::uint16_t bitsOfWords = 0;
};

class BlockWelding {
 public:
  static constexpr std::size_t facetsOfABlock = 4096;

  explicit BlockWelding(const FacetCorners& facets, const PlaceHash& hash) : facets_(facets), hash_(hash) {}

  /// Gives the corners of the facets from `first` to `end` the numbers of their keys in the block.
  void weld(std::size_t first, std::size_t end, WeldedBlock& block, std::uint32_t* corners) const {
    constexpr std::size_t slotBits = 14;
    std::array<std::uint16_t, std::size_t{1} << slotBits> slots{};  // More than corners; the key's number plus one.
    block.keys.clear();
    block.hashes.clear();
    block.bitsOfWords = 0;
    for (std::size_t facet = first; facet < end; ++facet) {
      const std::byte* position = facets_.bytes.data() + facet * facets_.facetSize + facets_.firstCorner;
      std::uint16_t word = 0;
      if (facets_.words != FacetWords::none) {
        std::memcpy(&word, position + cornersOfAFacet * positionSize, sizeof word);
        block.bitsOfWords |= word;
        if (facets_.words != FacetWords::counted) word = 0;
      }
      for (std::size_t i = 0; i < cornersOfAFacet; ++i, position += positionSize) {
        const PlaceKey key = PlaceKey::at(position, word);
        const std::uint32_t hash = hash_(key);
        std::size_t place = hash >> (32 - slotBits);
        while (slots[place] != 0 && block.keys[slots[place] - 1U] != key) place = (place + 1) % slots.size();
        if (slots[place] == 0) {
          block.keys.push_back(key);
          block.hashes.push_back(hash);
          slots[place] = static_cast<std::uint16_t>(block.keys.size());
        }
        *corners++ = slots[place] - 1U;
      }
    }
  }

 private:
  const FacetCorners& facets_;
  const PlaceHash& hash_;
};

/// The vertices of all blocks, as they are told one after the other.
class VertexCollection {
 public:
  VertexCollection(std::size_t expectedCount, std::size_t mostCount, bool wordsCount)
      : table_(expectedCount, static_cast<std::uint32_t>(mostCount)), wordsCount_(wordsCount) {
    positions_.reserve(expectedCount * 3);
    if (wordsCount_) words_.reserve(expectedCount);
  }

  void takeIn(WeldedBlock& block) {
    const std::size_t before = count_;
    const std::size_t count = block.keys.size();
    block.vertices.resize(count);
    positions_.resize((before + count) * 3);
    if (wordsCount_) words_.resize(before + count);
    for (std::size_t i = 0; i < std::min(prefetchDistance, count); ++i) table_.prefetch(block.hashes[i]);
    for (std::size_t i = 0; i < count; ++i) {
      if (i + prefetchDistance < count) table_.prefetch(block.hashes[i + prefetchDistance]);
      const PlaceKey& key = block.keys[i];
      const auto added = static_cast<std::uint32_t>(count_);
      block.vertices[i] = table_.find(
          block.hashes[i], added, [&](std::uint32_t vertex) { return keyOf(vertex) == key; },
          [&](std::uint32_t vertex) { return hash_(vertex == added ? key : keyOf(vertex)); });
      if (block.vertices[i] != added) continue;
      key.copyPosition(positions_.data() + count_ * 3);
      if (wordsCount_) words_[count_] = static_cast<std::uint16_t>(key.word());
      ++count_;
    }
    positions_.resize(count_ * 3);
    if (wordsCount_) words_.resize(count_);
  }

  const PlaceHash& hash() const noexcept { return hash_; }

  /// Hands them over.
  void giveTo(WeldedCorners& result) {
    result.positions = std::move(positions_);
    result.words = std::move(words_);
  }

 private:
  PlaceKey keyOf(std::uint32_t vertex) const {
    return PlaceKey::at(positions_.data() + std::size_t{vertex} * 3, wordsCount_ ? words_[vertex] : 0);
  }

  PlaceHash hash_;
  PlaceTable table_;
  bool wordsCount_;
  std::size_t count_ = 0;
  LargeVector<float> positions_;
  LargeVector<std::uint16_t> words_;
};

void translate(const WeldedBlock& block, std::span<std::uint32_t> corners) {
  for (std::uint32_t& corner : corners) corner = block.vertices[corner];
}

/// Vertices to be expected of facets that make a surface.
std::size_t expectedVertices(std::size_t facetCount) noexcept {
  return facetCount / 2 + facetCount / 64;
}

class FacetWelding {
 public:
  FacetWelding(const FacetCorners& facets, const BytesRead& whenRead)
      : facets_(facets),
        whenRead_(whenRead),
        facetCount_(facets.bytes.size() / facets.facetSize),
        blockCount_((facetCount_ + BlockWelding::facetsOfABlock - 1) / BlockWelding::facetsOfABlock),
        vertices_(expectedVertices(facetCount_), facetCount_ * cornersOfAFacet, facets.words == FacetWords::counted) {}

  WeldedCorners run() {
    result_.vertices.resize(facetCount_ * cornersOfAFacet);
    weldInWaves();
    vertices_.giveTo(result_);
    return std::move(result_);
  }

 private:
  // While a wave of blocks is welded, one thread takes in the vertices of the wave before, and the corners of the one
  // before that get theirs.
  void weldInWaves() {
    const std::size_t threads = availableThreadCount();
    const std::size_t blocksOfAWave = threads == 1 ? 1 : threads * 2;
    const std::size_t waveCount = (blockCount_ + blocksOfAWave - 1) / blocksOfAWave;
    std::size_t firstFacetNotNoted = 0;
    std::array<std::vector<WeldedBlock>, 3> waves;
    for (std::vector<WeldedBlock>& wave : waves) wave.resize(blocksOfAWave);
    const BlockWelding welding(facets_, vertices_.hash());
    for (std::size_t step = 0; step < waveCount + 2; ++step) {
      const auto forBlockOf = [&](std::size_t wave, std::size_t i, const auto& body) {
        const std::size_t block = wave * blocksOfAWave + i;
        if (wave < waveCount && block < blockCount_) body(block, waves[wave % waves.size()][i]);
      };
      const auto weld = [&](std::size_t i) {
        forBlockOf(step, i, [&](std::size_t block, WeldedBlock& welded) {
          const std::span<std::uint32_t> corners = cornersOf(block);
          provideFreshPages(result_.vertices.data(), result_.vertices.size() * sizeof(std::uint32_t), corners.data(),
                            corners.size_bytes());
          welding.weld(firstFacetOf(block), firstFacetOf(block + 1), welded, corners.data());
        });
      };
      const auto takeIn = [&] {
        for (std::size_t i = 0; i < blocksOfAWave && step >= 1; ++i) {
          forBlockOf(step - 1, i, [&](std::size_t /*block*/, WeldedBlock& welded) {
            result_.bitsOfWords |= welded.bitsOfWords;
            vertices_.takeIn(welded);
          });
        }
      };
      const auto number = [&](std::size_t i) {
        if (step < 2) return;
        forBlockOf(step - 2, i, [&](std::size_t block, WeldedBlock& welded) { translate(welded, cornersOf(block)); });
      };
      parallelFor(1 + 2 * blocksOfAWave, 1, [&](std::size_t task) {
        if (task == 0) return takeIn();
        task % 2 == 0 ? number(task / 2 - 1) : weld(task / 2);
      });
      const std::size_t firstFacetNotRead = firstFacetOf((step + 1) * blocksOfAWave);
      if ((firstFacetNotRead - firstFacetNotNoted) * facets_.facetSize < bytesOfAPart) continue;
      noteFacetsRead(std::exchange(firstFacetNotNoted, firstFacetNotRead), firstFacetNotRead);
    }
    noteFacetsRead(firstFacetNotNoted, facetCount_);
  }

  void noteFacetsRead(std::size_t first, std::size_t end) const {
    noteBytesRead(whenRead_, facets_.bytes.subspan(first * facets_.facetSize, (end - first) * facets_.facetSize));
  }

  std::size_t firstFacetOf(std::size_t block) const {
    return std::min(block * BlockWelding::facetsOfABlock, facetCount_);
  }
  std::span<std::uint32_t> cornersOf(std::size_t block) {
    const std::size_t first = firstFacetOf(block) * cornersOfAFacet;
    return std::span(result_.vertices).subspan(first, firstFacetOf(block + 1) * cornersOfAFacet - first);
  }

  const FacetCorners& facets_;
  const BytesRead& whenRead_;
  std::size_t facetCount_;
  std::size_t blockCount_;
  VertexCollection vertices_;
  WeldedCorners result_;
};

}  // namespace

struct CornerWelding::State {
  VertexCollection vertices;
  WeldedBlock block;
  WeldedCorners result;
};

CornerWelding::CornerWelding(std::size_t expectedFacets, std::size_t mostFacets)
    : state_(
          new State{.vertices = VertexCollection(expectedVertices(expectedFacets), mostFacets * cornersOfAFacet, false),
                    .block = {},
                    .result = {}}) {
  state_->result.vertices.reserve(expectedFacets * cornersOfAFacet);
}

CornerWelding::~CornerWelding() = default;

void CornerWelding::add(std::span<const float> corners) {
  static_assert(facetsAtOnce == BlockWelding::facetsOfABlock);
  const FacetCorners facets{.bytes = std::as_bytes(corners)};
  const BlockWelding welding(facets, state_->vertices.hash());
  const std::size_t facetCount = facets.bytes.size() / facets.facetSize;
  LargeVector<std::uint32_t>& vertices = state_->result.vertices;
  for (std::size_t first = 0; first < facetCount; first += facetsAtOnce) {
    const std::size_t end = std::min(first + facetsAtOnce, facetCount);
    const std::size_t before = vertices.size();
    vertices.resize(before + (end - first) * cornersOfAFacet);
    const auto added = std::span(vertices).subspan(before);
    welding.weld(first, end, state_->block, added.data());
    state_->vertices.takeIn(state_->block);
    translate(state_->block, added);
  }
}

WeldedCorners CornerWelding::finish() {
  state_->vertices.giveTo(state_->result);
  return std::move(state_->result);
}

WeldedCorners weldedCorners(const FacetCorners& facets, const BytesRead& whenRead) {
  return FacetWelding(facets, whenRead).run();
}

}  // namespace ornolith
